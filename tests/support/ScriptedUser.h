// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

/// Stands in for the windows, boxes and dialogs and for the browser: records each call in the Transcript and
/// answers from the script. One may live at a time.
///
/// Lines: "window <text> <number>", "refresh", "update window", "window on top", "hide window", "close
/// window", "box <icon> <buttons> <text>", "dialog identifier", "dialog proxy", "dialog print mode", "dialog
/// service", "dialog update", "browser <address>".
class ScriptedUser
{
public:
    ScriptedUser();
    ~ScriptedUser();
    ScriptedUser(const ScriptedUser &) = delete;
    ScriptedUser &operator=(const ScriptedUser &) = delete;

    /// Presses the cancel button while the progress window is refreshed for the nth time, counted from 1.
    void cancelAtRefresh(int number) { m_cancelAt = number; }

    [[nodiscard]] int refreshCount() const { return m_refreshCount; }

    // What the user does in a dialog, and what it returns.
    std::function<int()> inIdentifierDialog;
    std::function<int()> inProxyDialog;
    std::function<int()> inPrintModeDialog; ///< without: the standard mode
    std::function<int()> inServiceDialog;
    std::function<void()> inUpdatePrompt;
    bool browserStarts = true;

    void refresh();

private:
    int m_cancelAt = 0;
    int m_refreshCount = 0;
};
