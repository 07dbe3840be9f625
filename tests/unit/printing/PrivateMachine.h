// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>

/// Gives the test program file systems of its own, with an empty backend folder of CUPS: nothing that it
/// installs reaches the machine.
class PrivateMachine : public testing::Environment
{
public:
    void SetUp() override;
};

/// A small file system in a folder, for as long as it lives.
class SmallDisk
{
public:
    SmallDisk(std::string folder, int kibibytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    /// Takes all the room but `freeBytes`, rounded to whole pages.
    void fill(int freeBytes = 0) const;

    void makeReadOnly() const;

private:
    std::string m_folder;
};
