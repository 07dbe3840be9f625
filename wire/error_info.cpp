// SPDX-License-Identifier: MIT
#include "wire/error_info.h"

#include <utility>

namespace wire {

ErrorInfo makeError(const ErrorKind &kind, std::string description, std::string info)
{
    if (description.empty()) {
        description = kind.meaning;
    }
    return {std::string(kind.service), std::string(kind.errorClass), kind.code, std::move(description),
            std::move(info)};
}

bool isError(const ErrorInfo &error, const ErrorKind &kind)
{
    return error.service == kind.service && error.errorClass == kind.errorClass && error.code == kind.code;
}

std::span<const ErrorKind> allErrorKinds()
{
    using namespace errors;
    static constexpr ErrorKind kinds[] = {
        CannotConnect,    Network,
        ProxyCredentials, Certificate,
        MalformedCommand, UnknownObject,
        WrongType,        ResultTooLong,
        FileRead,         FileWrite,
        UnknownVariable,  IndexOutOfRange,
        BadNumber,        LimitExceeded,
        StrangeAnswer,    SingleSignOn,
        OutOfMemory,      ObjectExists,
        UnknownUser,      LoginFirst,
        WrongPassword,    ApplicationRefused,
        TooManyLogins,    UnknownSession,
        SequenceSkipped,  TooManySessions,
        MalformedRequest, NoCommonVersion,
        UnknownCommand,   ServerUnknownVariable,
        ServerBadNumber,  ServerUnknownObject,
        ServerWrongType,  ServerObjectExists,
        TooManyObjects,   DamagedData,
        WrongOffset,      UnknownContainer,
        UnknownProcedure, BadArgument,
        CannotStore,      UnprintableFormat,
        DocumentMissing,  DocumentSize,
    };
    return kinds;
}

} // namespace wire
