// SPDX-License-Identifier: MIT
#include "tests/support/ScriptedLibrary.h"

#include "tests/support/Transcript.h"

#include <gtest/gtest.h>
#include <vrc.h>

#include <algorithm>
#include <cstring>

namespace {

ScriptedLibrary *current = nullptr;

constexpr char errorInfoStart[] = "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|";

void copyResult(const std::string &text, char *result, int capacity)
{
    if (result && capacity > 0) {
        const std::size_t length = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
        std::memcpy(result, text.data(), length);
        result[length] = '\0';
    }
}

} // namespace

ScriptedLibrary::ScriptedLibrary()
{
    EXPECT_EQ(current, nullptr);
    current = this;
}

ScriptedLibrary::~ScriptedLibrary()
{
    EXPECT_TRUE(m_open.empty()) << "a request was not closed";
    for (void *request : m_open) {
        delete static_cast<int *>(request);
    }
    current = nullptr;
}

void ScriptedLibrary::answer(const std::string &command, const std::string &result, int times)
{
    m_rules.push_front({command, true, result, {}, times});
}

void ScriptedLibrary::fail(const std::string &command, const Error &error, int times,
                           const std::string &result)
{
    m_rules.push_front({command, false, result, error, times});
}

void ScriptedLibrary::failCommand(int number, const Error &error, int times)
{
    m_failingCommand = number;
    m_failingTimes = times;
    m_numberedError = error;
}

void ScriptedLibrary::answerCommand(int number, const std::string &result)
{
    m_answeredCommand = number;
    m_numberedAnswer = result;
}

void ScriptedLibrary::before(const std::string &command, const std::function<void()> &action)
{
    m_actions.emplace_back(command, action);
}

int ScriptedLibrary::capacityOf(const std::string &command) const
{
    const auto call = std::find_if(m_calls.rbegin(), m_calls.rend(),
                                   [&](const Call &made) { return made.command.starts_with(command); });
    return call == m_calls.rend() ? -1 : call->capacity;
}

void *ScriptedLibrary::open(const char *connection)
{
    m_connections.emplace_back(connection);
    Transcript::add("open " + m_connections.back());
    if (m_refusesToOpen) {
        return nullptr;
    }
    return *m_open.insert(new int).first;
}

int ScriptedLibrary::command(void *request, const char *command, char *result, int capacity)
{
    EXPECT_TRUE(m_open.contains(request)) << "not an open request, for " << command;
    Transcript::add(std::string("> ") + command);
    m_calls.push_back({command, capacity});
    const std::string text = command;
    if (text.starts_with(errorInfoStart)) {
        copyResult(errorInfo(text), result, capacity);
        return 1;
    }
    for (const auto &[start, action] : m_actions) {
        if (text.starts_with(start)) {
            action();
        }
    }
    std::string answer;
    const int status = answerCounted(text, answer);
    copyResult(answer, result, capacity);
    return status;
}

void ScriptedLibrary::close(void *request)
{
    Transcript::add("close");
    EXPECT_EQ(m_open.erase(request), 1U) << "not an open request";
    delete static_cast<int *>(request);
}

int ScriptedLibrary::answerCounted(const std::string &command, std::string &result)
{
    ++m_commandCount;
    if (m_commandCount >= m_failingCommand && m_commandCount < m_failingCommand + m_failingTimes) {
        return failWith(m_numberedError);
    }
    if (m_commandCount == m_answeredCommand) {
        result = m_numberedAnswer;
        return 1;
    }
    return answerFromRules(command, result);
}

int ScriptedLibrary::answerFromRules(const std::string &command, std::string &result)
{
    const auto rule = std::find_if(m_rules.begin(), m_rules.end(), [&](const Rule &candidate) {
        return candidate.times != 0 && command.starts_with(candidate.command);
    });
    if (rule == m_rules.end()) {
        return 1;
    }
    if (rule->times > 0) {
        --rule->times;
    }
    result = rule->result;
    return rule->succeeds ? 1 : failWith(rule->error);
}

int ScriptedLibrary::failWith(const Error &error)
{
    m_lastError = error;
    return 0;
}

std::string ScriptedLibrary::errorInfo(const std::string &command) const
{
    const std::string field = command.substr(sizeof errorInfoStart - 1);
    const std::pair<const char *, const std::string &> fields[] = {{"SERVICE|", m_lastError.service},
                                                                   {"CLASS|", m_lastError.errorClass},
                                                                   {"CODE|", m_lastError.code},
                                                                   {"DESCRIPTION|", m_lastError.description},
                                                                   {"INFO|", m_lastError.info}};
    for (const auto &[name, value] : fields) {
        if (field == name) {
            return value;
        }
    }
    ADD_FAILURE() << "no such error field: " << command;
    return {};
}

extern "C" {

void *VrOpenRequest(const char *connection)
{
    return current->open(connection);
}

int VrCommand(void *request, const char *command, char *result, int capacity, int *extra)
{
    EXPECT_EQ(extra, current->expectedExtra);
    return current->command(request, command, result, capacity);
}

void VrCloseRequest(void *request)
{
    current->close(request);
}
}
