// SPDX-License-Identifier: MIT
#include "vrc/Timeouts.h"

#include "wire/fields.h"

#include <cstdlib>

namespace vrc {
namespace {

void shorten(std::chrono::milliseconds &time, const char *variable)
{
    const char *text = std::getenv(variable);
    const std::optional<std::int64_t> number = text == nullptr ? std::nullopt : wire::parseInteger(text);
    if (number && *number > 0 && *number < time.count()) {
        time = std::chrono::milliseconds(*number);
    }
}

} // namespace

Timeouts timeouts()
{
    Timeouts result;
    shorten(result.stall, "VRC_STALL_TIMEOUT_MS");
    shorten(result.answer, "VRC_ANSWER_TIMEOUT_MS");
    return result;
}

} // namespace vrc
