// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// What a test has seen happen, one event a line and in order: connections, commands, progress texts, boxes
/// and dialogs. The stand-ins write it, a test compares it as a whole.
class Transcript
{
public:
    static void add(std::string_view line);
    static void clear();

    /// All lines, each ended by a line feed.
    [[nodiscard]] static const std::string &text();

    /// The lines that begin so.
    [[nodiscard]] static std::string linesFrom(std::string_view start);

    /// How many lines begin so.
    [[nodiscard]] static int count(std::string_view start);
};
