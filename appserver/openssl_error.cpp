// SPDX-License-Identifier: MIT
#include "appserver/openssl_error.h"

#include <openssl/err.h>

#include <stdexcept>
#include <system_error>

namespace appserver {

namespace {

/// OpenSSL has no text for an error of the system, nor for none.
std::string oldestReason()
{
    const unsigned long code = ERR_get_error();
    if (ERR_SYSTEM_ERROR(code)) {
        return std::generic_category().message(ERR_GET_REASON(code));
    }
    const char *reason = ERR_reason_error_string(code);
    return reason != nullptr ? reason : "no reason given";
}

} // namespace

void requireOpenSsl(bool succeeded, const std::string &what)
{
    if (!succeeded) {
        const std::string reason = oldestReason();
        ERR_clear_error();
        throw std::runtime_error(what + ": " + reason);
    }
}

} // namespace appserver
