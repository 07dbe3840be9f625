// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

/// The entry that libFuzzer, or the replay of a corpus, calls with one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// What has to hold for every input; ends the program loudly in every build.
inline void ensure(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Ends the program where the target itself cannot work: that says nothing about the input, so that libFuzzer
/// must not keep it, and nothing about the inputs to come, so that the run counts as failed.
[[noreturn]] inline void cannotGoOn(const char *what)
{
    std::fprintf(stderr, "the target cannot go on: %s: %s\n", what, std::strerror(errno));
    std::fflush(stderr);
    std::_Exit(75); // EX_TEMPFAIL
}

/// What a target that stores something needs on its disk, now and after an expectation that does not hold.
inline void requireRoom(const std::filesystem::path &folder)
{
    constexpr std::uintmax_t neededBytes = 16 * 1024 * 1024;
    std::error_code problem;
    const std::filesystem::space_info space = std::filesystem::space(folder, problem);
    if (problem || space.available < neededBytes) {
        errno = problem ? problem.value() : ENOSPC;
        cannotGoOn(folder.c_str());
    }
}
