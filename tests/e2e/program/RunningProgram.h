// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

using Variables = std::map<std::string, std::string>;

/// The program under test as a process of its own. It never outlives the object.
class RunningProgram
{
public:
    /// Starts the program with arguments of any bytes, a working directory that also takes what it prints,
    /// and changes to the environment: an empty value removes a variable.
    RunningProgram(const std::vector<std::string> &arguments, const std::string &folder,
                   const Variables &variables);
    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    [[nodiscard]] pid_t id() const { return m_process; }

    /// The exit status; 128 plus the signal that ended it; -1 when it did not end in time.
    [[nodiscard]] int exitStatus();

    /// The most memory that it had, once it has ended.
    [[nodiscard]] long peakKiB() const { return m_peakKiB; }

    /// What it wrote to standard output and standard error so far.
    [[nodiscard]] std::string output() const;

    /// The number of its visible window of that title, as the window system knows it; empty when none
    /// appeared in time or the program ended.
    [[nodiscard]] std::string window(const std::string &title) const;

    /// What the window system takes a window's program for, as xprop prints it.
    [[nodiscard]] std::string windowClass(const std::string &window) const;

    /// Gives a window the keyboard and presses a key, named as in the X key table.
    void press(const std::string &window, const std::string &key) const;

    /// Asks a window to close, as its frame does.
    void close(const std::string &window) const;

private:
    [[nodiscard]] bool hasEnded(std::chrono::milliseconds limit) const;

    std::string m_outputFile;
    pid_t m_process = -1;
    int m_status = -1;
    long m_peakKiB = 0;
};
