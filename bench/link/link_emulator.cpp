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

#include "bench/link/LinkEmulator.h"

#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <exception>
#include <iostream>
#include <string>

namespace {

/// A late emulator measures the machine's other work, so it goes before everything else where it may, and its
/// timers are not rounded. It sleeps between packets: about a tenth of a core at 100 Mbit/s.
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

/// False when a word is not understood or a namespace is missing.
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
    LinkEmulator(near, far, arguments.settings).run();
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
