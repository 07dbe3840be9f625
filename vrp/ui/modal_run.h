// SPDX-License-Identifier: MIT
#pragma once

class QDialog;

/// Runs a dialog of a send modally, with the progress window brought to the front first: 0 when it was
/// accepted, 1 when the user cancelled, which is logged.
[[nodiscard]] int runModally(QDialog &dialog);
