// SPDX-License-Identifier: MIT
#pragma once

#include "bench/link/LinkDirection.h"
#include "bench/link/PacketWatch.h"
#include "bench/link/TunDevice.h"
#include "bench/link/link_settings.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

/// Carries packets between two devices, and obeys the lines of the standard input: `set SETTING ...` changes
/// settings, `stats` and `reset` print the counters as JSON, the latter before it zeroes them.
class LinkEmulator
{
public:
    /// The devices outlive the emulator.
    LinkEmulator(const TunDevice &near, const TunDevice &far, const LinkPair &settings);

    /// Until the end of the standard input.
    void run();

private:
    using Clock = std::chrono::steady_clock;

    /// One direction with the devices at its ends.
    struct Lane
    {
        const TunDevice &from;
        const TunDevice &to;
        PacketWatch::Direction direction;
        LinkDirection link;
    };

    void waitForWork(std::array<pollfd, 3> &waiting) const;
    void takeArrivals(Lane &lane);
    void deliverDue(Lane &lane);
    /// False at the end of the input.
    [[nodiscard]] bool readInput();
    void obey(const std::string &line);
    void applySettings();
    void resetCounters();
    void printCounters() const;

    LinkPair m_settings;
    Lane m_up;
    Lane m_down;
    PacketWatch m_watch;
    Clock::duration m_latest{};
    std::uint64_t m_lateByMillisecond = 0;
    std::string m_input;
};
