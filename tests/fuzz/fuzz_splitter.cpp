// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "vrp/core/command_line.h"
#include "vrp/platform/text.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

// The splitter of command lines beside a model that is written from its rules, character by character: a
// space after an even number of quotes ends an argument, an argument without a character is none, what no
// space follows is dropped, and one quote goes from the front, then one from the back.

namespace {

struct Model
{
    explicit Model(const std::wstring &line)
    {
        for (const wchar_t c : line) {
            take(c);
        }
        take(L' ');
    }

    void take(wchar_t c)
    {
        quotes += c == L'"' ? 1 : 0;
        if (c == L' ' && quotes % 2 == 0) {
            endArgument();
        } else {
            characters.push_back(c);
        }
    }

    void endArgument()
    {
        if (characters.empty()) {
            return;
        }
        if (characters.front() == L'"') {
            characters.erase(characters.begin());
        }
        if (!characters.empty() && characters.back() == L'"') {
            characters.pop_back();
        }
        arguments.emplace_back(characters.begin(), characters.end());
        characters.clear();
    }

    std::size_t quotes = 0;
    std::vector<wchar_t> characters;
    std::vector<std::wstring> arguments;
};

std::wstring lineOf(const std::uint8_t *data, std::size_t size)
{
    // Quotes and blanks often, since they alone matter.
    constexpr wchar_t letters[] = {L'"',  L' ',  L'a',  L'-',  L'"',      L' ',
                                   L'\t', L'\n', L'\r', L'\\', L'\x1F600'};
    std::wstring line;
    for (std::size_t i = 0; i < size; ++i) {
        line += data[i] < 128 ? letters[data[i] % std::size(letters)] : static_cast<wchar_t>(data[i]);
    }
    return line;
}

void compare(const std::wstring &line)
{
    std::vector<std::wstring> words{L"before"};
    const int count = VrpsparseCmdLine(line.c_str(), words);
    ensure(words.front() == L"before" && count == static_cast<int>(words.size()));
    words.erase(words.begin());
    ensure(words == Model(line).arguments);
}

} // namespace

/// First byte odd: the rest is UTF-8; even: each byte of the rest stands for one of a few characters.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    std::wstring line = (data[0] & 1U) != 0
                            ? UTF8tow(std::string(reinterpret_cast<const char *>(data + 1), size - 1))
                            : lineOf(data + 1, size - 1);
    line.resize(std::min(line.size(), line.find(L'\0')));
    compare(line);
    return 0;
}
