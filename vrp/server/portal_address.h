// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The control digest that proves to the portal page who opens it: 32 upper-case hexadecimal digits, the MD5
/// of the UTF-8 form of session::identifier::password after VrpsMakeUpper. It does not depend on letter case.
[[nodiscard]] std::wstring controlDigest(const std::wstring &sessionId, const std::wstring &identifier,
                                         const std::wstring &password);

/// The portal's address as it stands, which holds a query already, with session and digest appended. Nothing
/// is encoded.
[[nodiscard]] std::wstring portalAddress(const std::wstring &portalUrl, const std::wstring &sessionId,
                                         const std::wstring &digest);
