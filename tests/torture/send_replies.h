// SPDX-License-Identifier: MIT
#pragma once

#include "tests/torture/SendModel.h"

#include <string>

/// What the library says to a command of a modelled send, and how such a command is written.

enum class Error
{
    none,
    other,
    network,
    cannotConnect,
    proxyCredentials,
    badUser,
    badPassword,
    badFormat
};

struct Reply
{
    Error error = Error::none;
    std::string text;

    [[nodiscard]] bool succeeded() const { return error == Error::none; }
};

/// The answer to a command that a fault befalls.
inline Reply faulty(Fault fault)
{
    switch (fault) {
    case Fault::serverError:
        return {Error::other, {}};
    case Fault::networkOnce:
    case Fault::networkTwice:
        return {Error::network, {}};
    case Fault::cannotConnect:
        return {Error::cannotConnect, {}};
    case Fault::proxyCredentials:
        return {Error::proxyCredentials, {}};
    case Fault::badUser:
        return {Error::badUser, {}};
    case Fault::badPassword:
        return {Error::badPassword, {}};
    case Fault::badFormat:
        return {Error::badFormat, {}};
    case Fault::nonsenseAnswer:
        return {Error::none, nonsense};
    case Fault::none:
    case Fault::emptyAnswer:
        break;
    }
    return {};
}

/// A built-in operation with its fields.
inline std::string command(const std::string &name, const std::string &fields)
{
    return "VR_CMD=|" + name + "| " + fields;
}
