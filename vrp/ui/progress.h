// SPDX-License-Identifier: MIT
#pragma once

/// The progress window as the rest of the program sees it. All calls but RefreshMessageWindow do nothing when
/// there is no window.

/// Shows the text of a resource identifier; a number other than -1 replaces its first "%d".
void VrpsSetMessageWindow(const wchar_t *id, int number);
/// Repaints the text and serves all pending events once, so that the cancel button works during server calls.
void RefreshMessageWindow();
void HideMessageWindow();
/// Hides the window as well: it lives until the process ends.
void CloseMessageWindow();
void VrpsSetMessageWindowOnTop();
/// Hooks that the workflow and the clean-up call; they do nothing.
void UpdateMessageWindow();
void VrpsCleanupUi();
