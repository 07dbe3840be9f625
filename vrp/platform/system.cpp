// SPDX-License-Identifier: MIT
#include "vrp/platform/system.h"

#include "vrp/platform/default_ports.h"
#include "vrp/platform/text.h"

#include <cerrno>
#include <cstring>

std::wstring VrpsGetUserName()
{
    return MacGetUserName();
}

std::wstring MacGetUserName()
{
    return {};
}

int VrpsGetLastSystemError(std::wstring &text)
{
    return MacGetLastSystemError(text);
}

int MacGetLastSystemError(std::wstring &text)
{
    const int error = errno;
    text = UTF8tow(std::strerror(error));
    return error;
}

void VrpsSetLastError(int code)
{
    MacSetLastError(code);
}

void MacSetLastError(int /*code*/)
{
    errno = 0;
}

bool VrpsGetProxy(std::wstring &host, int &port, bool ssl, const std::wstring &url)
{
    return MacGetProxy(host, port, ssl, url);
}

bool MacGetProxy(std::wstring &host, int &port, bool /*ssl*/, const std::wstring & /*url*/)
{
    host.clear();
    port = defaultProxyPort;
    return true;
}
