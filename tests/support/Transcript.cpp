// SPDX-License-Identifier: MIT
#include "tests/support/Transcript.h"

#include <algorithm>
#include <sstream>

namespace {

std::string &store()
{
    static std::string text;
    return text;
}

} // namespace

void Transcript::add(std::string_view line)
{
    store().append(line).append("\n");
}

void Transcript::clear()
{
    store().clear();
}

const std::string &Transcript::text()
{
    return store();
}

std::string Transcript::linesFrom(std::string_view start)
{
    std::string found;
    std::istringstream lines(store());
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(start)) {
            found += line + "\n";
        }
    }
    return found;
}

int Transcript::count(std::string_view start)
{
    const std::string found = linesFrom(start);
    return static_cast<int>(std::count(found.begin(), found.end(), '\n'));
}
