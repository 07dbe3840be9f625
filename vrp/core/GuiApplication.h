// SPDX-License-Identifier: MIT
#pragma once

#include <QTranslator>

#include <memory>

class QApplication;

/// The toolkit's application object, which every run mode has for as long as it runs: with the program's icon
/// and with the toolkit's own buttons in the user's language. It is given a fixed argument instead of the
/// program's.
///
/// Where windows cannot be shown the program says so in one line on standard error and ends with status 1,
/// unless the mode shows none: then it runs without a display.
class GuiApplication
{
public:
    enum class Windows
    {
        shown,
        none, ///< this run shows no window
    };
    /// Whether the end of the last window is the end of the event loop.
    enum class LastWindow
    {
        endsLoop,
        isIgnored
    };

    explicit GuiApplication(LastWindow lastWindow, Windows windows = Windows::shown);
    ~GuiApplication();
    GuiApplication(const GuiApplication &) = delete;
    GuiApplication &operator=(const GuiApplication &) = delete;

    /// Runs the event loop and returns its exit value.
    static int run();

private:
    void useSystemLanguage();

    int m_argumentCount = 1;
    char m_programName[8] = "vrp.exe";
    char *m_arguments[2] = {m_programName, nullptr};
    std::unique_ptr<QApplication> m_application; ///< null when the process has one already
    QTranslator m_translator;
};
