// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// The errors of both sides: a triple of service, class and code, with a description and an info text.
namespace wire {

struct ErrorInfo
{
    std::string service;
    std::string errorClass;
    std::uint32_t code = 0;
    std::string description; ///< for a person
    std::string info;        ///< for support

    bool operator==(const ErrorInfo &) const = default;
};

/// One row of the tables in docs/protocol.md.
struct ErrorKind
{
    std::string_view service;
    std::string_view errorClass;
    std::uint32_t code;
    std::string_view meaning; ///< the description where the caller has nothing better to say
};

[[nodiscard]] ErrorInfo makeError(const ErrorKind &kind, std::string description = {}, std::string info = {});
[[nodiscard]] bool isError(const ErrorInfo &error, const ErrorKind &kind);

/// Every kind below, once.
[[nodiscard]] std::span<const ErrorKind> allErrorKinds();

namespace errors {

#define VAREK_LOCAL_ERROR(name, code, meaning)                                                               \
    inline constexpr ErrorKind name                                                                          \
    {                                                                                                        \
        "LOCAL", "REQUEST", code, meaning                                                                    \
    }

VAREK_LOCAL_ERROR(cannotConnect, 103, "cannot connect");
VAREK_LOCAL_ERROR(network, 104, "network error on an established connection");
VAREK_LOCAL_ERROR(proxyCredentials, 113, "the proxy wants credentials");
VAREK_LOCAL_ERROR(certificate, 120, "the server's certificate does not verify");
VAREK_LOCAL_ERROR(malformedCommand, 121, "malformed command");
VAREK_LOCAL_ERROR(unknownObject, 122, "unknown object");
VAREK_LOCAL_ERROR(wrongType, 123, "wrong type of object");
VAREK_LOCAL_ERROR(resultTooLong, 124, "the result does not fit into the buffer");
VAREK_LOCAL_ERROR(fileRead, 125, "a local file cannot be read");
VAREK_LOCAL_ERROR(fileWrite, 126, "a local file cannot be written");
VAREK_LOCAL_ERROR(unknownVariable, 127, "unknown variable");
VAREK_LOCAL_ERROR(indexOutOfRange, 128, "index out of range");
VAREK_LOCAL_ERROR(badNumber, 129, "a number is malformed or out of range");
VAREK_LOCAL_ERROR(limitExceeded, 130, "a limit is exceeded");
VAREK_LOCAL_ERROR(strangeAnswer, 131, "the answer is not that of an application server");
VAREK_LOCAL_ERROR(singleSignOn, 132, "single sign-on failed");
VAREK_LOCAL_ERROR(outOfMemory, 133, "out of memory");
VAREK_LOCAL_ERROR(objectExists, 134, "the object exists already");

#undef VAREK_LOCAL_ERROR

inline constexpr ErrorKind unknownUser{"SYSTEM", "SECURITY", 101, "unknown user"};
inline constexpr ErrorKind loginFirst{"SYSTEM", "SECURITY", 102, "log in first"};
inline constexpr ErrorKind wrongPassword{"SYSTEM", "SECURITY", 103, "wrong password"};
inline constexpr ErrorKind applicationRefused{"SYSTEM", "SECURITY", 104,
                                              "unknown application, or its user or password is refused"};
inline constexpr ErrorKind tooManyLogins{"SYSTEM", "SECURITY", 105,
                                         "too many failed logins, try again later"};
inline constexpr ErrorKind unknownSession{"SYSTEM", "SESSION", 101, "unknown or expired session"};
inline constexpr ErrorKind sequenceSkipped{"SYSTEM", "SESSION", 102, "a sequence number was skipped"};
inline constexpr ErrorKind tooManySessions{"SYSTEM", "SESSION", 103, "too many sessions"};
inline constexpr ErrorKind malformedRequest{"SYSTEM", "PROTOCOL", 101, "malformed request"};
inline constexpr ErrorKind noCommonVersion{"SYSTEM", "PROTOCOL", 102, "no common version"};
inline constexpr ErrorKind unknownCommand{"SYSTEM", "COMMAND", 101, "malformed or unknown command"};
inline constexpr ErrorKind serverUnknownVariable{"SYSTEM", "COMMAND", 102, "unknown variable"};
inline constexpr ErrorKind serverBadNumber{"SYSTEM", "COMMAND", 103, "a number is malformed or out of range"};
inline constexpr ErrorKind serverUnknownObject{"SYSTEM", "OBJECT", 101, "unknown object"};
inline constexpr ErrorKind serverWrongType{"SYSTEM", "OBJECT", 102, "wrong type of object"};
inline constexpr ErrorKind serverObjectExists{"SYSTEM", "OBJECT", 103, "the object exists already"};
inline constexpr ErrorKind tooManyObjects{"SYSTEM", "OBJECT", 104,
                                          "too many or too large objects in this session"};
inline constexpr ErrorKind damagedData{"SYSTEM", "OBJECT", 105,
                                       "the compressed data is damaged, or is not what the client sent"};
inline constexpr ErrorKind wrongOffset{"SYSTEM", "OBJECT", 106, "a block arrived at the wrong offset"};
inline constexpr ErrorKind unknownContainer{"SYSTEM", "OBJECT", 107, "unknown container"};
inline constexpr ErrorKind unknownProcedure{"SYSTEM", "PROCEDURE", 101, "unknown procedure"};
inline constexpr ErrorKind badArgument{"SYSTEM", "PROCEDURE", 102,
                                       "an argument of the procedure is missing or unknown"};
inline constexpr ErrorKind cannotStore{"SYSTEM", "STORAGE", 101, "the server cannot store the data"};
inline constexpr ErrorKind unprintableFormat{"POD", "INPUT", 101,
                                             "the document is of no format that can be printed"};
inline constexpr ErrorKind documentMissing{"POD", "INPUT", 102, "the document or its description is missing"};
inline constexpr ErrorKind documentSize{"POD", "INPUT", 103,
                                        "the document has not the size that its description says"};

} // namespace errors
} // namespace wire
