// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// The errors of both sides: a triple of service, class and code, with a description and an info text.
namespace wire {

struct ErrorInfo
{
    std::string service;
    std::string errorClass;
    std::uint32_t code = 0;
    std::string description; // for a person
    std::string info;        // for support

    bool operator==(const ErrorInfo &) const = default;
};

// One row of the tables in docs/protocol.md.
struct ErrorKind
{
    std::string_view service;
    std::string_view errorClass;
    std::uint32_t code;
    std::string_view meaning; // the description where the caller has nothing better to say
};

[[nodiscard]] ErrorInfo makeError(const ErrorKind &kind, std::string description = {}, std::string info = {});
[[nodiscard]] bool isError(const ErrorInfo &error, const ErrorKind &kind);

// Every kind below, once.
[[nodiscard]] std::span<const ErrorKind> allErrorKinds();

namespace errors {

#define VAREK_LOCAL_ERROR(name, code, meaning)                                                               \
    inline constexpr ErrorKind name                                                                          \
    {                                                                                                        \
        "LOCAL", "REQUEST", code, meaning                                                                    \
    }

VAREK_LOCAL_ERROR(CannotConnect, 103, "cannot connect");
VAREK_LOCAL_ERROR(Network, 104, "network error on an established connection");
VAREK_LOCAL_ERROR(ProxyCredentials, 113, "the proxy wants credentials");
VAREK_LOCAL_ERROR(Certificate, 120, "the server's certificate does not verify");
VAREK_LOCAL_ERROR(MalformedCommand, 121, "malformed command");
VAREK_LOCAL_ERROR(UnknownObject, 122, "unknown object");
VAREK_LOCAL_ERROR(WrongType, 123, "wrong type of object");
VAREK_LOCAL_ERROR(ResultTooLong, 124, "the result does not fit into the buffer");
VAREK_LOCAL_ERROR(FileRead, 125, "a local file cannot be read");
VAREK_LOCAL_ERROR(FileWrite, 126, "a local file cannot be written");
VAREK_LOCAL_ERROR(UnknownVariable, 127, "unknown variable");
VAREK_LOCAL_ERROR(IndexOutOfRange, 128, "index out of range");
VAREK_LOCAL_ERROR(BadNumber, 129, "a number is malformed or out of range");
VAREK_LOCAL_ERROR(LimitExceeded, 130, "a limit is exceeded");
VAREK_LOCAL_ERROR(StrangeAnswer, 131, "the answer is not that of an application server");
VAREK_LOCAL_ERROR(SingleSignOn, 132, "single sign-on failed");
VAREK_LOCAL_ERROR(OutOfMemory, 133, "out of memory");
VAREK_LOCAL_ERROR(ObjectExists, 134, "the object exists already");

#undef VAREK_LOCAL_ERROR

inline constexpr ErrorKind UnknownUser{"SYSTEM", "SECURITY", 101, "unknown user"};
inline constexpr ErrorKind LoginFirst{"SYSTEM", "SECURITY", 102, "log in first"};
inline constexpr ErrorKind WrongPassword{"SYSTEM", "SECURITY", 103, "wrong password"};
inline constexpr ErrorKind ApplicationRefused{"SYSTEM", "SECURITY", 104,
                                              "unknown application, or its user or password is refused"};
inline constexpr ErrorKind TooManyLogins{"SYSTEM", "SECURITY", 105,
                                         "too many failed logins, try again later"};
inline constexpr ErrorKind UnknownSession{"SYSTEM", "SESSION", 101, "unknown or expired session"};
inline constexpr ErrorKind SequenceSkipped{"SYSTEM", "SESSION", 102, "a sequence number was skipped"};
inline constexpr ErrorKind TooManySessions{"SYSTEM", "SESSION", 103, "too many sessions"};
inline constexpr ErrorKind MalformedRequest{"SYSTEM", "PROTOCOL", 101, "malformed request"};
inline constexpr ErrorKind NoCommonVersion{"SYSTEM", "PROTOCOL", 102, "no common version"};
inline constexpr ErrorKind UnknownCommand{"SYSTEM", "COMMAND", 101, "malformed or unknown command"};
inline constexpr ErrorKind ServerUnknownVariable{"SYSTEM", "COMMAND", 102, "unknown variable"};
inline constexpr ErrorKind ServerBadNumber{"SYSTEM", "COMMAND", 103, "a number is malformed or out of range"};
inline constexpr ErrorKind ServerUnknownObject{"SYSTEM", "OBJECT", 101, "unknown object"};
inline constexpr ErrorKind ServerWrongType{"SYSTEM", "OBJECT", 102, "wrong type of object"};
inline constexpr ErrorKind ServerObjectExists{"SYSTEM", "OBJECT", 103, "the object exists already"};
inline constexpr ErrorKind TooManyObjects{"SYSTEM", "OBJECT", 104,
                                          "too many or too large objects in this session"};
inline constexpr ErrorKind DamagedData{"SYSTEM", "OBJECT", 105,
                                       "the compressed data is damaged, or is not what the client sent"};
inline constexpr ErrorKind WrongOffset{"SYSTEM", "OBJECT", 106, "a block arrived at the wrong offset"};
inline constexpr ErrorKind UnknownContainer{"SYSTEM", "OBJECT", 107, "unknown container"};
inline constexpr ErrorKind UnknownProcedure{"SYSTEM", "PROCEDURE", 101, "unknown procedure"};
inline constexpr ErrorKind BadArgument{"SYSTEM", "PROCEDURE", 102,
                                       "an argument of the procedure is missing or unknown"};
inline constexpr ErrorKind CannotStore{"SYSTEM", "STORAGE", 101, "the server cannot store the data"};
inline constexpr ErrorKind UnprintableFormat{"POD", "INPUT", 101,
                                             "the document is of no format that can be printed"};
inline constexpr ErrorKind DocumentMissing{"POD", "INPUT", 102, "the document or its description is missing"};
inline constexpr ErrorKind DocumentSize{"POD", "INPUT", 103,
                                        "the document has not the size that its description says"};

} // namespace errors
} // namespace wire
