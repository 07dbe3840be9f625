// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

/// Returns when the condition holds. Throws std::runtime_error, with what was waited for, after a minute.
template <typename Condition>
void waitFor(const std::string &what, Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("waited in vain for " + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}
