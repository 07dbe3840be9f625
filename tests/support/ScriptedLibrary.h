// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <list>
#include <set>
#include <string>
#include <vector>

/// Stands in for the three functions of the client library: records every connection string and command in
/// the Transcript ("open ...", "> ...", "close") and answers from a script. Every command succeeds with an
/// empty result until the script says otherwise; of two rules for a command the later one counts.
///
/// One may live at a time. A handle that is used after it was closed, and one that is never closed, is a
/// failure.
class ScriptedLibrary
{
public:
    struct Error
    {
        std::string service;
        std::string errorClass;
        std::string code;
        std::string description = "description";
        std::string info = "info";
    };

    static constexpr int always = -1;

    ScriptedLibrary();
    ~ScriptedLibrary();
    ScriptedLibrary(const ScriptedLibrary &) = delete;
    ScriptedLibrary &operator=(const ScriptedLibrary &) = delete;

    /// Answers commands that begin with `command`, `times` times.
    void answer(const std::string &command, const std::string &result, int times = always);
    /// Lets commands that begin with `command` fail; `result` is left in the buffer all the same.
    void fail(const std::string &command, const Error &error, int times = always,
              const std::string &result = {});
    /// Lets the nth command of all, counted from 1 and without the questions for an error, fail, and the ones
    /// that follow it until `times` have failed.
    void failCommand(int number, const Error &error, int times = 1);
    /// Answers the nth command of all, counted in the same way, whatever it is.
    void answerCommand(int number, const std::string &result);
    /// Calls `action` before commands that begin with `command` are answered.
    void before(const std::string &command, const std::function<void()> &action);

    /// Lets every connection string be one that cannot be parsed.
    void refuseToOpen() { m_refusesToOpen = true; }

    /// The connection strings, as they were given.
    [[nodiscard]] const std::vector<std::string> &connections() const { return m_connections; }

    /// How many commands were given, the questions for an error not counted.
    [[nodiscard]] int commandCount() const { return m_commandCount; }

    /// The size in bytes of the buffer that was given with the last command that begins so; -1 for none.
    [[nodiscard]] int capacityOf(const std::string &command) const;

    /// The integer that every command is expected to bring along: none, but where a test passes one.
    int *expectedExtra = nullptr;

    // What the three functions do.
    void *open(const char *connection);
    int command(void *request, const char *command, char *result, int capacity);
    void close(void *request);

private:
    struct Rule
    {
        std::string command;
        bool succeeds;
        std::string result;
        Error error;
        int times;
    };

    struct Call
    {
        std::string command;
        int capacity;
    };

    int answerCounted(const std::string &command, std::string &result);
    int answerFromRules(const std::string &command, std::string &result);
    int failWith(const Error &error);
    [[nodiscard]] std::string errorInfo(const std::string &command) const;

    std::list<Rule> m_rules; ///< the latest first
    std::vector<std::pair<std::string, std::function<void()>>> m_actions;
    std::vector<std::string> m_connections;
    std::vector<Call> m_calls;
    std::set<void *> m_open;
    Error m_lastError;
    Error m_numberedError;
    int m_failingCommand = 0;
    int m_failingTimes = 0;
    int m_answeredCommand = 0;
    std::string m_numberedAnswer;
    int m_commandCount = 0;
    bool m_refusesToOpen = false;
};
