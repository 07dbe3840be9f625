// SPDX-License-Identifier: MIT
#include "vrc/Request.h"

#include "vrc/Failure.h"
#include "wire/limits.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace vrc {
namespace {

/// Its texts are so short that a string holds them within itself: making it needs no memory.
wire::ErrorInfo outOfMemory()
{
    return {"LOCAL", "REQUEST", wire::errors::outOfMemory.code, "out of memory", {}};
}

} // namespace

Request::Request(ConnectionSettings settings)
    : m_settings(std::move(settings)), m_session(m_settings, m_state)
{}

bool Request::command(std::string_view line, std::span<char> result) noexcept
{
    if (!result.empty()) {
        result.front() = '\0';
    }
    bool isQuery = false; // asking about an error changes nothing of it, not even by failing
    try {
        std::string problem;
        const std::optional<wire::Command> parsed = wire::parseCommand(line, problem);
        if (!parsed) {
            const bool isTooLong = line.size() > wire::maxCommandBytes;
            fail(isTooLong ? wire::errors::limitExceeded : wire::errors::malformedCommand,
                 "malformed command: " + problem);
        }
        isQuery = isErrorQuery(*parsed);
        deliver(run(*parsed, line), result);
        return true;
    } catch (const Failure &failure) {
        noteError(failure.error(), isQuery);
    } catch (const std::exception &) { // as good as always std::bad_alloc
        noteError(outOfMemory(), isQuery);
    }
    return false;
}

std::string Request::run(const wire::Command &command, std::string_view line)
{
    return command.isLocal() ? runLocalCommand(m_state, command) : m_session.run(command, line);
}

/// A result is whole or absent.
void Request::deliver(std::string_view text, std::span<char> result) const
{
    if (result.data() == nullptr) {
        return;
    }
    if (text.size() >= result.size()) {
        fail(wire::errors::resultTooLong, "the result of " + std::to_string(text.size()) +
                                              " bytes does not fit into a buffer of " +
                                              std::to_string(result.size()));
    }
    std::copy(text.begin(), text.end(), result.begin());
    result[text.size()] = '\0';
}

void Request::noteError(const wire::ErrorInfo &error, bool isQuery) noexcept
{
    if (isQuery) {
        return;
    }
    try {
        m_state.lastError = error;
    } catch (const std::bad_alloc &) {
        m_state.lastError = outOfMemory();
    }
}

} // namespace vrc
