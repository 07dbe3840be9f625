// SPDX-License-Identifier: MIT
#include "vrp/server/portal_address.h"

#include "vrp/md5.h"
#include "vrp/platform/text.h"

std::wstring controlDigest(const std::wstring &sessionId, const std::wstring &identifier,
                           const std::wstring &password)
{
    std::wstring text = sessionId + L"::" + identifier + L"::" + password;
    VrpsMakeUpper(text);
    std::wstring digest = UTF8tow(MD5_string(wtoUTF8(text)));
    VrpsMakeUpper(digest);
    return digest;
}

std::wstring portalAddress(const std::wstring &portalUrl, const std::wstring &sessionId,
                           const std::wstring &digest)
{
    return portalUrl + L"&VR_SESSION_ID=" + sessionId + L"&CTRL=" + digest;
}
