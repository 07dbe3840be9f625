// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace appserver {

/// The digest that proves, in the portal address, that its opener knows the password: upper-case hexadecimal
/// MD5 of "session::identifier::password", upper-cased as docs/protocol.md says. All texts are UTF-8.
[[nodiscard]] std::string controlDigest(std::string_view session, std::string_view identifier,
                                        std::string_view password);

/// The bytes that are digested; bytes that are no UTF-8 count as one code point each.
[[nodiscard]] std::string upperCasedForDigest(std::string_view text);

} // namespace appserver
