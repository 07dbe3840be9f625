// SPDX-License-Identifier: MIT
#pragma once

#include "wire/error_info.h"

#include <exception>
#include <string>
#include <utility>

namespace appserver {

/// Thrown where a command or a request cannot be carried out; becomes an error frame of the answer.
class CommandFailure : public std::exception
{
public:
    explicit CommandFailure(wire::ErrorInfo error) : m_error(std::move(error)) {}

    explicit CommandFailure(const wire::ErrorKind &kind, std::string description = {})
        : m_error(wire::makeError(kind, std::move(description)))
    {}

    [[nodiscard]] const wire::ErrorInfo &error() const { return m_error; }

    [[nodiscard]] const char *what() const noexcept override { return m_error.description.c_str(); }

private:
    wire::ErrorInfo m_error;
};

} // namespace appserver
