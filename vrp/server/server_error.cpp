// SPDX-License-Identifier: MIT
#include "vrp/server/server_error.h"

#include "vrp/platform/text.h"
#include "vrp/server/library_call.h"

#include <utility>

namespace {

struct KnownError
{
    const wchar_t *service;
    const wchar_t *errorClass;
    int code;
    ServerError error;
};

constexpr KnownError knownErrors[] = {
    {L"LOCAL", L"REQUEST", 103, ServerError::cannotConnect},
    {L"LOCAL", L"REQUEST", 104, ServerError::network},
    {L"LOCAL", L"REQUEST", 113, ServerError::proxyWantsCredentials},
    {L"SYSTEM", L"SECURITY", 101, ServerError::badUser},
    {L"SYSTEM", L"SECURITY", 103, ServerError::badPassword},
};

} // namespace

std::wstring errorKeyword(std::wstring text)
{
    VrpsMakeUpper(text);
    VrpsCleanString(text, true);
    return text;
}

ServerError classifyServerError(std::wstring service, std::wstring errorClass, const std::wstring &code)
{
    service = errorKeyword(std::move(service));
    errorClass = errorKeyword(std::move(errorClass));
    const int number = decimalPrefix(code);
    for (const KnownError &known : knownErrors) {
        if (known.code == number && service == known.service && errorClass == known.errorClass) {
            return known.error;
        }
    }
    return ServerError::other;
}

std::wstring errorInfoCommand(const wchar_t *field)
{
    return std::wstring(L"VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|") + field + L"|";
}

std::wstring askErrorInfo(void *request, const wchar_t *field, int capacity)
{
    return callLibrary(request, wtoUTF8(errorInfoCommand(field)), capacity, nullptr).text;
}
