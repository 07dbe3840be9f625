// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/SessionObjects.h"
#include "wire/frames.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace appserver {

/// The frames of an answer, in order. Files travel from where they are and never stand in memory as a whole.
class RequestAnswer
{
public:
    template <typename Frame>
    void add(const Frame &frame)
    {
        wire::append(text(), frame);
    }

    void addFrames(std::string_view frames) { text().append(frames); }

    void addObject(const std::string &name, const ServerObject &object);

    /// Adds the parts of another answer.
    void join(RequestAnswer other);

    [[nodiscard]] std::size_t memoryBytes() const;

    [[nodiscard]] bool holdsFiles() const { return m_parts.size() > 1; }

    /// Of an answer without files.
    [[nodiscard]] std::string takeText();
    /// Writes part number `part` (from 0); false when there is none, or the writer refused.
    [[nodiscard]] bool writePart(std::size_t part, const std::function<bool(std::string_view)> &write) const;

private:
    struct FilePart
    {
        FilePtr file;
        std::uint64_t bytes; ///< the size that was announced
    };

    std::string &text();

    std::vector<std::variant<std::string, FilePart>> m_parts;
};

} // namespace appserver
