// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The server errors that the program reacts to, each a triple of service, class and code.
enum class ServerError
{
    other,
    cannotConnect,         ///< LOCAL / REQUEST / 103
    network,               ///< LOCAL / REQUEST / 104
    proxyWantsCredentials, ///< LOCAL / REQUEST / 113
    badUser,               ///< SYSTEM / SECURITY / 101
    badPassword,           ///< SYSTEM / SECURITY / 103
};

/// Service or class of an error as they are compared and reported: in upper case, then without blanks.
[[nodiscard]] std::wstring errorKeyword(std::wstring text);

/// Finds the error of a triple as the server told it; letter case and blanks of service and class do not
/// count.
[[nodiscard]] ServerError classifyServerError(std::wstring service, std::wstring errorClass,
                                              const std::wstring &code);

/// The command that asks for one field of the last error: SERVICE, CLASS, CODE, DESCRIPTION or INFO.
[[nodiscard]] std::wstring errorInfoCommand(const wchar_t *field);

/// Asks for one field of the last error without a log line; `capacity` is the answer's limit in bytes. Empty
/// when the library does not tell.
[[nodiscard]] std::wstring askErrorInfo(void *request, const wchar_t *field, int capacity);
