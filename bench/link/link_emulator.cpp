// SPDX-License-Identifier: MIT
//
// Joins two network namespaces by a link with a delay, a rate and a queue for each direction: a TUN device in
// each, and this program between them. TCP on both sides is the kernel's own, so that slow start, losses and
// congestion control are real. bench/harness/link.py sets the namespaces up; docs/performance.md says how
// exact the result is.
//
//   link_emulator near=NAMESPACE far=NAMESPACE [SETTING ...]
//
// Writes "ready" when both devices (named `vlink`) exist. Then it reads lines: `set SETTING ...` changes
// settings, `stats` and `reset` print the counters, the latter before it zeroes them. The end of its input
// ends it.

#include "bench/link/link_direction.h"
#include "bench/link/link_settings.h"
#include "bench/link/packet_watch.h"
#include "bench/link/tun_device.h"

#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

// One direction with the devices at its ends.
struct Lane
{
    const TunDevice &from;
    const TunDevice &to;
    PacketWatch::Direction direction;
    LinkDirection link;
};

class Emulator
{
public:
    Emulator(const TunDevice &near, const TunDevice &far, const LinkPair &settings)
        : m_settings(settings), m_up{near, far, PacketWatch::Direction::Up, {}},
          m_down{far, near, PacketWatch::Direction::Down, {}}
    {
        applySettings();
    }

    // Until the end of the standard input.
    void run()
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

private:
    void waitForWork(std::array<pollfd, 3> &waiting) const
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

    void takeArrivals(Lane &lane)
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

    void deliverDue(Lane &lane)
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

    // False at the end of the input.
    bool readInput()
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

    void obey(const std::string &line)
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
            m_up.link.resetCounters();
            m_down.link.resetCounters();
            m_watch.resetCounters();
            m_latest = {};
            m_lateByMillisecond = 0;
        }
    }

    void applySettings()
    {
        m_up.link.setSettings(m_settings.up);
        m_down.link.setSettings(m_settings.down);
    }

    static void printDirection(const char *name, const LinkDirection::Counters &counters)
    {
        std::cout << '"' << name << "\": {\"packets\": " << counters.packets
                  << ", \"bytes\": " << counters.bytes << ", \"dropped\": " << counters.dropped
                  << ", \"peakQueueBytes\": " << counters.peakQueueBytes << "}, ";
    }

    // Lateness is how long after its time a packet was handed over: what a loaded machine does to the
    // emulation.
    void printCounters() const
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

    LinkPair m_settings;
    Lane m_up;
    Lane m_down;
    PacketWatch m_watch;
    Clock::duration m_latest{};
    std::uint64_t m_lateByMillisecond = 0;
    std::string m_input;
};

// A late emulator measures the machine's other work, so it goes before everything else where it may, and its
// timers are not rounded. It sleeps between packets: about a tenth of a core at 100 Mbit/s.
void askForPunctuality()
{
    ::prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    const sched_param priority{10};
    if (::sched_setscheduler(0, SCHED_FIFO, &priority) != 0 && ::setpriority(PRIO_PROCESS, 0, -20) != 0) {
        std::cerr << "link_emulator: runs at ordinary priority; load on this machine delays packets\n";
    }
    if (::mlockall(MCL_CURRENT | MCL_FUTURE) != 0) {
        std::cerr << "link_emulator: its memory can be paged out\n";
    }
}

struct Arguments
{
    std::string near;
    std::string far;
    LinkPair settings;
};

// False when a word is not understood or a namespace is missing.
bool parseArguments(int count, char **words, Arguments &arguments)
{
    for (int index = 1; index < count; ++index) {
        const std::string word = words[index];
        if (word.starts_with("near=")) {
            arguments.near = word.substr(5);
        } else if (word.starts_with("far=")) {
            arguments.far = word.substr(4);
        } else if (!applyLinkSetting(word, arguments.settings)) {
            return false;
        }
    }
    return !arguments.near.empty() && !arguments.far.empty();
}

int runEmulator(const Arguments &arguments)
{
    const TunDevice near(arguments.near, "vlink");
    const TunDevice far(arguments.far, "vlink");
    askForPunctuality();
    std::cout << "ready" << std::endl;
    Emulator(near, far, arguments.settings).run();
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    Arguments arguments;
    if (!parseArguments(argc, argv, arguments)) {
        std::cerr
            << "usage: link_emulator near=NAMESPACE far=NAMESPACE [[up.|down.]delay-us=N] [rate-kbit=N] "
               "[queue-bytes=N] [queue-packets=N]\n";
        return 2;
    }
    try {
        return runEmulator(arguments);
    } catch (const std::exception &problem) {
        std::cerr << "link_emulator: " << problem.what() << '\n';
        return 1;
    }
}
