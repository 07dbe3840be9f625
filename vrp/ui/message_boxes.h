// SPDX-License-Identifier: MIT
#pragma once

/// Modal boxes titled with the installed printer's title. Texts are shown as plain text. Callers decide
/// whether to call at all: a silent run shows no box.

/// Icons and buttons have the toolkit's values; buttons are combined by bitwise or.
enum MessageBoxIcon
{
    iconNone = 0,
    iconInformation = 1,
    iconWarning = 2,
    iconCritical = 3,
    iconQuestion = 4
};

enum MessageBoxButton
{
    buttonOk = 0x400,
    buttonYes = 0x4000,
    buttonNo = 0x10000
};

/// Shows a text and returns the pressed button.
int VrpsMessageBox(const wchar_t *text, int icon, int buttons);

/// The same for a resource identifier.
int VrpsMessageBoxFromId(const wchar_t *id, int icon, int buttons);

/// Shows a resource text as an error, its "%d" filled with `code`; code -1 means the last system error, whose
/// description is then added on a line of its own. Returns 1.
int VrpsErrorMessage(const wchar_t *id, int code);
