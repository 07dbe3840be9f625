// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// How a case of a sweep ended.
struct Verdict
{
    bool isCompleted = false;            ///< else it was refused with an error
    std::string error;                   ///< then: SERVICE/CLASS/CODE
    std::vector<std::string> violations; ///< of the invariants; each a sentence
};

struct SweepCase
{
    std::string className;
    std::string name; ///< within its class
    std::function<Verdict()> run;
};

/// What a sweep's command line says.
struct SweepOptions
{
    bool isEvery = false;  ///< --every: all cases, not the fixed selection
    std::string onlyClass; ///< --class TEXT: only classes that hold this text
    std::string onlyCase;  ///< --case TEXT: only cases of this name
    std::size_t share = 1; ///< --share K/N: every Nth case of a class, from the Kth on
    std::size_t shares = 1;

    /// Ends the program when the command line is wrong.
    static SweepOptions parse(int argc, char **argv);

    /// `position` within its class, from 0.
    [[nodiscard]] bool selects(const SweepCase &one, std::size_t position) const;
};

/// Runs cases and counts, by class, how they ended. A case that takes longer than its limit is a violation;
/// one that does not end at all ends the program, with its name.
class SweepTable
{
public:
    explicit SweepTable(SweepOptions options) : m_options(std::move(options)) {}

    static constexpr std::chrono::seconds caseLimit{30};
    static constexpr std::chrono::seconds hangLimit{120};

    /// So many cases at a time; returns when all have ended.
    void run(const std::vector<SweepCase> &cases, unsigned workers);

    /// Something that is wrong with no case of its own: what is left behind at the end, for instance.
    void violation(const std::string &className, const std::string &text);

    /// Prints a line a class, and how fast it went; the exit status of the program.
    [[nodiscard]] int print() const;

    [[nodiscard]] const SweepOptions &options() const { return m_options; }

private:
    struct Count
    {
        std::size_t cases = 0;
        std::size_t completed = 0;
        std::size_t refused = 0;
        std::size_t violations = 0;
    };

    void judge(const SweepCase &one);

    SweepOptions m_options;
    mutable std::mutex m_mutex;
    std::map<std::string, Count> m_counts;
    std::chrono::milliseconds m_elapsed{0};
    std::size_t m_cases = 0;
};

/// So many of the elements, spread evenly; all of them when there are fewer.
template <typename Element>
std::vector<Element> spread(const std::vector<Element> &all, std::size_t count)
{
    if (all.size() <= count) {
        return all;
    }
    std::vector<Element> chosen;
    for (std::size_t i = 0; i < count; ++i) {
        chosen.push_back(all[i * (all.size() - 1) / (count > 1 ? count - 1 : 1)]);
    }
    return chosen;
}
