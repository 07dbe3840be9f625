// SPDX-License-Identifier: MIT
#include "vrp/platform/queue_commands.h"

namespace queue_commands {

std::wstring createQueue(const std::wstring &printer, const std::wstring &monitor,
                         const std::wstring &ppdFile)
{
    return L"lpadmin -p \"" + printer + L"\" -E -v \"" + monitor + L":127.0.0.1\" -P \"" + ppdFile +
           L"\" -D \"" + printer + L"\"";
}

std::wstring deleteQueue(const std::wstring &printer)
{
    return L"lpadmin -x \"" + printer + L"\"";
}

std::wstring protectBackend(const std::wstring &monitor)
{
    return L"chmod 700 " + (backendFolder + monitor);
}

std::wstring makeExecutable(const std::wstring &file)
{
    return L"chmod ugoa+x \"" + file + L"\"";
}

std::wstring launcherScript(const std::wstring &program, const std::wstring &printer)
{
    return L"#!/bin/sh\nexec \"${0%/*}/" + program + L"\" -m configure -p \"" + printer + L"\"";
}

} // namespace queue_commands
