// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/message_boxes.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// A box that would have been shown.
struct Box
{
    std::string text; ///< text or resource identifier
    int icon = iconCritical;
    int buttons = buttonOk;
    int error = 0; ///< of an error box: its code, or for -1 the system's last error

    bool operator==(const Box &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Box &box);

/// Stands in for the message boxes while it lives: records them and presses a button.
class RecordedBoxes
{
public:
    RecordedBoxes();
    ~RecordedBoxes();
    RecordedBoxes(const RecordedBoxes &) = delete;
    RecordedBoxes &operator=(const RecordedBoxes &) = delete;

    int answer = buttonYes;
    std::function<void()> whileShown = [] {}; ///< what happens while a box is open
    std::vector<Box> shown;
};

/// Stands in for the printers of the machine while it lives.
class MachinePrinters
{
public:
    explicit MachinePrinters(std::vector<std::wstring> names);
    ~MachinePrinters();
    MachinePrinters(const MachinePrinters &) = delete;
    MachinePrinters &operator=(const MachinePrinters &) = delete;

    std::vector<std::wstring> names;
};
