// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "vrc/connection_string.h"
#include "vrp/core/command_line.h"
#include "vrp/core/error_text.h"
#include "vrp/core/resource_strings.h"
#include "vrp/platform/text.h"
#include "vrp/server/connection_text.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

std::vector<std::wstring> split(const std::wstring &line)
{
    std::vector<std::wstring> words;
    ensure(VrpsparseCmdLine(line.c_str(), words) == static_cast<int>(words.size()));
    return words;
}

/// Words without quotes of their own survive being joined in quotes.
void checkCommandLine(const std::wstring &text)
{
    const std::vector<std::wstring> words = split(text);
    std::wstring joined;
    for (const std::wstring &word : words) {
        joined += (joined.empty() ? L"\"" : L" \"") + word + L'"';
    }
    if (text.find(L'"') == std::wstring::npos) {
        ensure(split(joined) == words);
    }
}

/// What a server names is one value of the connection string, whatever it holds.
void checkConnectionString(const std::wstring &text)
{
    ConnectionParameters parameters;
    parameters.server = L"host";
    parameters.port = 1082;
    parameters.application = text.substr(0, text.size() / 2);
    parameters.openProcedure = text.substr(text.size() / 2);
    const std::string real = wtoUTF8(buildConnectionString(parameters, {}, {}).real);
    const auto settings = vrc::parseConnectionString(real);
    ensure(settings && settings->host == "host" && settings->ssl && settings->socketLog.empty() &&
           !settings->proxy);
    ensure(settings->closeProcedure.empty() && settings->user.empty());
    if (text.find(L'"') == std::wstring::npos) {
        ensure(settings->application == wtoUTF8(parameters.application) &&
               settings->openProcedure == wtoUTF8(parameters.openProcedure));
    }
}

/// An identifier that has all its fields is made of them alone.
void checkResourceId(const std::wstring &text)
{
    if (const auto id = splitResourceId(text)) {
        ensure(id->section + L';' + id->key + L';' + id->defaultText == text);
        ensure(id->section.find(L';') == std::wstring::npos && id->key.find(L';') == std::wstring::npos);
    }
}

void checkErrorText(const std::wstring &text)
{
    const std::wstring filled = fillErrorCode(text, -2147483647);
    ensure(filled.size() <= maxErrorText);
    if (text.find(L'%') == std::wstring::npos) {
        ensure(filled == text.substr(0, maxErrorText));
    }
}

} // namespace

/// A text of the command line, of a configuration file or of a server.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::wstring text = UTF8tow(std::string(reinterpret_cast<const char *>(data), size));
    text.resize(std::min(text.size(), text.find(L'\0')));
    checkCommandLine(text);
    checkResourceId(text);
    checkErrorText(text);
    checkConnectionString(text);
    return 0;
}
