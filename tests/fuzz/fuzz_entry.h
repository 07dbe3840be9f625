// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// The entry that libFuzzer, or the replay of a corpus, calls with one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

// What has to hold for every input; ends the program loudly in every build.
inline void ensure(bool condition)
{
    if (!condition) {
        std::abort();
    }
}
