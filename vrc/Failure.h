// SPDX-License-Identifier: MIT
#pragma once

#include "wire/error_info.h"

#include <exception>
#include <string>
#include <utility>

namespace vrc {

/// Carries the error of a command from where it happens to VrCommand, which alone catches it.
class Failure : public std::exception
{
public:
    explicit Failure(wire::ErrorInfo error) : m_error(std::move(error)) {}

    [[nodiscard]] const wire::ErrorInfo &error() const { return m_error; }

    [[nodiscard]] const char *what() const noexcept override { return m_error.description.c_str(); }

private:
    wire::ErrorInfo m_error;
};

[[noreturn]] inline void fail(const wire::ErrorKind &kind, std::string description, std::string info = {})
{
    throw Failure(wire::makeError(kind, std::move(description), std::move(info)));
}

} // namespace vrc
