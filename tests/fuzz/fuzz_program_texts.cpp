// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "vrp/core/command_line.h"
#include "vrp/core/error_text.h"
#include "vrp/core/resource_strings.h"
#include "vrp/platform/text.h"

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

// A text of the command line or of a configuration file.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::wstring text = UTF8tow(std::string(reinterpret_cast<const char *>(data), size));
    text.resize(std::min(text.size(), text.find(L'\0')));
    checkCommandLine(text);
    checkResourceId(text);
    checkErrorText(text);
    return 0;
}
