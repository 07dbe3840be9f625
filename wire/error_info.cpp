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
        cannotConnect,    network,
        proxyCredentials, certificate,
        malformedCommand, unknownObject,
        wrongType,        resultTooLong,
        fileRead,         fileWrite,
        unknownVariable,  indexOutOfRange,
        badNumber,        limitExceeded,
        strangeAnswer,    singleSignOn,
        outOfMemory,      objectExists,
        unknownUser,      loginFirst,
        wrongPassword,    applicationRefused,
        tooManyLogins,    unknownSession,
        sequenceSkipped,  tooManySessions,
        malformedRequest, noCommonVersion,
        unknownCommand,   serverUnknownVariable,
        serverBadNumber,  serverUnknownObject,
        serverWrongType,  serverObjectExists,
        tooManyObjects,   damagedData,
        wrongOffset,      unknownContainer,
        unknownProcedure, badArgument,
        cannotStore,      unprintableFormat,
        documentMissing,  documentSize,
    };
    return kinds;
}

} // namespace wire
