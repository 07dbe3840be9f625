// SPDX-License-Identifier: MIT
#pragma once

#include "wire/fields.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The fields of a LOCAL: command. Everything here throws Failure: LOCAL/REQUEST/121 for a field that is
/// missing or malformed, 129 for what is no number or out of its range.
namespace vrc {

[[noreturn]] void failMalformed(const wire::Command &command, const std::string &problem);

[[nodiscard]] const std::string &argument(const wire::Command &command, std::string_view key);

/// The name of an object.
[[nodiscard]] const std::string &nameArgument(const wire::Command &command, std::string_view key);

[[nodiscard]] std::int64_t numberArgument(const wire::Command &command, std::string_view key);

/// A number that is not negative.
[[nodiscard]] std::uint64_t countArgument(const wire::Command &command, std::string_view key);

/// YES or NO; NO when the field is missing.
[[nodiscard]] bool switchArgument(const wire::Command &command, std::string_view key);

/// INDEX, which counts from 1, as a position in a list of that many entries. LOCAL/REQUEST/128 where there is
/// no such entry.
[[nodiscard]] std::size_t indexArgument(const wire::Command &command, std::size_t entries);

} // namespace vrc
