// SPDX-License-Identifier: MIT
#include "bench/link/LinkEmulator.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <utility>

namespace {

void printDirection(const char *name, const LinkDirection::Counters &counters)
{
    std::cout << '"' << name << "\": {\"packets\": " << counters.packets << ", \"bytes\": " << counters.bytes
              << ", \"dropped\": " << counters.dropped << ", \"peakQueueBytes\": " << counters.peakQueueBytes
              << "}, ";
}

} // namespace

LinkEmulator::LinkEmulator(const TunDevice &near, const TunDevice &far, const LinkPair &settings)
    : m_settings(settings), m_up{near, far, PacketWatch::Direction::up, {}},
      m_down{far, near, PacketWatch::Direction::down, {}}
{
    applySettings();
}

void LinkEmulator::run()
{
    std::array<pollfd, 3> waiting{{{m_up.from.descriptor(), POLLIN, 0},
                                   {m_down.from.descriptor(), POLLIN, 0},
                                   {STDIN_FILENO, POLLIN, 0}}};
    while (true) {
        waitForWork(waiting);
        for (Lane *lane : {&m_up, &m_down}) {
            takeArrivals(*lane);
            deliverDue(*lane);
        }
        if (waiting[2].revents != 0 && !readInput()) {
            return;
        }
    }
}

void LinkEmulator::waitForWork(std::array<pollfd, 3> &waiting) const
{
    const auto up = m_up.link.nextDelivery();
    const auto down = m_down.link.nextDelivery();
    if (!up && !down) {
        ::ppoll(waiting.data(), waiting.size(), nullptr, nullptr);
        return;
    }
    const auto next =
        std::min(up.value_or(Clock::time_point::max()), down.value_or(Clock::time_point::max()));
    const auto left = std::max(next - Clock::now(), Clock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    const timespec timeout{seconds.count(), (left - seconds).count()};
    ::ppoll(waiting.data(), waiting.size(), &timeout, nullptr);
}

void LinkEmulator::takeArrivals(Lane &lane)
{
    // Bounded, so that a flood in one direction does not hold up the other.
    constexpr int batch = 64;
    for (int count = 0; count < batch; ++count) {
        auto packet = lane.from.read();
        if (!packet) {
            return;
        }
        m_watch.see(*packet, lane.direction);
        lane.link.arrive(std::move(*packet), Clock::now());
    }
}

void LinkEmulator::deliverDue(Lane &lane)
{
    while (const auto due = lane.link.nextDelivery()) {
        const auto now = Clock::now();
        const auto packet = lane.link.takeDue(now);
        if (!packet) {
            return;
        }
        lane.to.write(*packet);
        m_latest = std::max(m_latest, now - *due);
        m_lateByMillisecond += now - *due > std::chrono::milliseconds(1) ? 1U : 0U;
    }
}

bool LinkEmulator::readInput()
{
    std::array<char, 4096> buffer{};
    const auto length = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (length <= 0) {
        return false;
    }
    m_input.append(buffer.data(), static_cast<std::size_t>(length));
    for (auto end = m_input.find('\n'); end != std::string::npos; end = m_input.find('\n')) {
        obey(m_input.substr(0, end));
        m_input.erase(0, end + 1);
    }
    return true;
}

void LinkEmulator::obey(const std::string &line)
{
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (word == "set") {
        bool good = true;
        while (words >> word) {
            good = applyLinkSetting(word, m_settings) && good;
        }
        applySettings();
        std::cout << (good ? "{\"ok\": true}" : "{\"ok\": false}") << std::endl;
        return;
    }
    printCounters();
    if (word == "reset") {
        resetCounters();
    }
}

void LinkEmulator::applySettings()
{
    m_up.link.setSettings(m_settings.up);
    m_down.link.setSettings(m_settings.down);
}

void LinkEmulator::resetCounters()
{
    m_up.link.resetCounters();
    m_down.link.resetCounters();
    m_watch.resetCounters();
    m_latest = {};
    m_lateByMillisecond = 0;
}

/// Lateness is how long after its time a packet was handed over: what a loaded machine does to the emulation.
void LinkEmulator::printCounters() const
{
    std::cout << '{';
    printDirection("up", m_up.link.counters());
    printDirection("down", m_down.link.counters());
    const auto &seen = m_watch.counters();
    const auto latestUs = std::chrono::duration_cast<std::chrono::microseconds>(m_latest).count();
    std::cout << "\"connections\": " << seen.connections << ", \"clientHellos\": " << seen.clientHellos
              << ", \"turns\": " << seen.turns << ", \"latestUs\": " << latestUs
              << ", \"lateByMillisecond\": " << m_lateByMillisecond << '}' << std::endl;
}
