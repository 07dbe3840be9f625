// SPDX-License-Identifier: MIT
#pragma once

#include <ctime>
#include <string>

class QFile;

/// The first line of a log: "dd/mm/yyyy - hh:mm:ss".
[[nodiscard]] std::wstring logTimeStamp(const std::tm &local);

/// The activity log of one run: a UTF-8 text file whose lines end in "\r\n" and whose first line is the local
/// date and time. Without a name every operation does nothing; failures to open or write are silent.
/// Everything is flushed at once, and the file is readable by its owner alone.
class VrpLog
{
public:
    VrpLog() = default;
    virtual ~VrpLog();
    VrpLog(const VrpLog &) = delete;
    VrpLog &operator=(const VrpLog &) = delete;

    /// Whether this run has a log: without, what would be written need not be made.
    [[nodiscard]] bool isWanted() const { return !fileName.empty(); }

    /// Opens and empties the file and stamps it, when a name is set and it is not open yet.
    void Open();

    /// Appends `text`, which may be null, without a line end; opens the file at the first call of a run.
    void Write(const wchar_t *text);

    /// Appends `text` and "\r\n".
    void WriteLn(const wchar_t *text);

    /// Closes the file. A later write opens, and therefore empties, it again.
    void Close();

    /// Deletes the file of that name, so that no line of an earlier run survives.
    void Remove();

    std::wstring fileName;
    QFile *file = nullptr;
};
