// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/// Sets an environment variable for as long as it lives.
class ScopedVariable
{
public:
    ScopedVariable(const char *name, const std::string &value) : m_name(name)
    {
        if (const char *previous = std::getenv(name); previous != nullptr) {
            m_previous = previous;
        }
        ::setenv(name, value.c_str(), 1);
    }

    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;

    ~ScopedVariable() { m_previous ? ::setenv(m_name, m_previous->c_str(), 1) : ::unsetenv(m_name); }

private:
    const char *m_name;
    std::optional<std::string> m_previous;
};
