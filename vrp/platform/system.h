// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The login name; always empty on these platforms.
std::wstring VrpsGetUserName();
std::wstring MacGetUserName();

/// The last system error: its number, and its description in `text`.
int VrpsGetLastSystemError(std::wstring &text);
int MacGetLastSystemError(std::wstring &text);

/// Forgets the last system error; the code is ignored.
void VrpsSetLastError(int code);
void MacSetLastError(int code);

/// Asks the system for the proxy to use for an address. These platforms always answer: none,
/// defaultProxyPort.
bool VrpsGetProxy(std::wstring &host, int &port, bool ssl, const std::wstring &url);
bool MacGetProxy(std::wstring &host, int &port, bool ssl, const std::wstring &url);
