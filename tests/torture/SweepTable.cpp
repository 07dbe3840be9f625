// SPDX-License-Identifier: MIT
#include "tests/torture/SweepTable.h"

#include <atomic>
#include <charconv>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// Ends the program when no case ends for too long.
class Watchdog
{
public:
    Watchdog() : m_thread([this] { watch(); }) {}

    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

    ~Watchdog()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

    void started(const SweepCase &one)
    {
        const std::lock_guard lock(m_mutex);
        m_running[&one] = Clock::now();
    }

    void ended(const SweepCase &one)
    {
        const std::lock_guard lock(m_mutex);
        m_running.erase(&one);
    }

private:
    void watch()
    {
        std::unique_lock lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_isEnding; })) {
            for (const auto &[one, start] : m_running) {
                if (Clock::now() - start > SweepTable::hangLimit) {
                    std::fprintf(stderr, "%s: %s hangs\n", one->className.c_str(), one->name.c_str());
                    std::abort();
                }
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::map<const SweepCase *, Clock::time_point> m_running;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace

namespace {

bool readShare(std::string_view text, SweepOptions &options)
{
    const char *end = text.data() + text.size();
    const auto share = std::from_chars(text.data(), end, options.share);
    if (share.ec != std::errc() || share.ptr == end || *share.ptr != '/') {
        return false;
    }
    const auto shares = std::from_chars(share.ptr + 1, end, options.shares);
    return shares.ec == std::errc() && shares.ptr == end && options.share >= 1 &&
           options.share <= options.shares;
}

} // namespace

SweepOptions SweepOptions::parse(int argc, char **argv)
{
    SweepOptions options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--every") {
            options.isEvery = true;
        } else if (word == "--class" && i + 1 < argc) {
            options.onlyClass = argv[++i];
        } else if (word == "--case" && i + 1 < argc) {
            options.onlyCase = argv[++i];
        } else if (word == "--share" && i + 1 < argc && readShare(argv[i + 1], options)) {
            ++i;
        } else {
            std::fprintf(stderr, "usage: %s [--every] [--class TEXT] [--case TEXT] [--share K/N]\n", argv[0]);
            std::exit(2);
        }
    }
    return options;
}

bool SweepOptions::selects(const SweepCase &one, std::size_t position) const
{
    return position % shares == share - 1 && one.className.find(onlyClass) != std::string::npos &&
           (onlyCase.empty() || one.name == onlyCase);
}

void SweepTable::run(const std::vector<SweepCase> &cases, unsigned workers)
{
    const Clock::time_point start = Clock::now();
    {
        Watchdog watchdog;
        std::atomic<std::size_t> next = 0;
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < workers; ++i) {
            threads.emplace_back([&] {
                for (std::size_t at = next++; at < cases.size(); at = next++) {
                    if (m_options.selects(cases[at], at)) {
                        watchdog.started(cases[at]);
                        judge(cases[at]);
                        watchdog.ended(cases[at]);
                    }
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
    m_elapsed += std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    if (m_options.isEvery && !cases.empty()) {
        std::fprintf(stderr, "%zu cases so far, %lld s; last: %s, %zu cases\n", m_cases,
                     static_cast<long long>(m_elapsed.count() / 1000), cases.back().className.c_str(),
                     cases.size());
    }
}

void SweepTable::judge(const SweepCase &one)
{
    const Clock::time_point start = Clock::now();
    Verdict verdict;
    try {
        verdict = one.run();
    } catch (const std::exception &error) {
        verdict.violations.push_back(std::string("the case could not be run: ") + error.what());
    }
    const auto took = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start);
    if (took > caseLimit) {
        verdict.violations.push_back("it took " + std::to_string(took.count()) + " s");
    }
    for (const std::string &text : verdict.violations) {
        violation(one.className, one.name + ": " + text);
    }
    const std::lock_guard lock(m_mutex);
    Count &count = m_counts[one.className];
    ++count.cases;
    ++m_cases;
    ++(verdict.isCompleted ? count.completed : count.refused);
}

void SweepTable::violation(const std::string &className, const std::string &text)
{
    std::fprintf(stderr, "%s: %s\n", className.c_str(), text.c_str());
    const std::lock_guard lock(m_mutex);
    ++m_counts[className].violations;
}

int SweepTable::print() const
{
    std::size_t violations = 0;
    for (const auto &[name, count] : m_counts) {
        std::printf("sweep|%s|%zu|%zu|%zu|%zu\n", name.c_str(), count.cases, count.completed, count.refused,
                    count.violations);
        violations += count.violations;
    }
    const double seconds = static_cast<double>(m_elapsed.count()) / 1000;
    std::printf("%zu cases in %.1f s, %.1f a second\n", m_cases, seconds,
                static_cast<double>(m_cases) / (seconds > 0 ? seconds : 1));
    return violations == 0 && m_cases > 0 ? 0 : 1;
}
