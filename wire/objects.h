// SPDX-License-Identifier: MIT
#pragma once

#include "wire/fields.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// Typed objects and their bytes between client and server.
namespace wire {

enum class ObjectType : std::uint8_t
{
    string = 1,
    integer,
    file,
    stringList,
    indStringList,
    table
};

using StringList = std::vector<std::string>;
using IndStringList = std::vector<Field>; ///< in the order in which the keys were first set

struct Table
{
    std::uint32_t columns = 0;
    std::vector<std::string> cells; ///< row after row; a multiple of columns

    [[nodiscard]] std::size_t rows() const { return columns == 0 ? 0 : cells.size() / columns; }

    bool operator==(const Table &) const = default;
};

/// Every type but FILE, whose bytes never stand in memory as a whole.
using Value = std::variant<std::string, std::int64_t, StringList, IndStringList, Table>;

[[nodiscard]] ObjectType typeOf(const Value &value);
[[nodiscard]] Value emptyValue(ObjectType type); ///< not for File

/// "STRING", "INTEGER", ...
[[nodiscard]] std::string_view typeName(ObjectType type);
[[nodiscard]] std::optional<ObjectType> typeFromName(std::string_view name);
[[nodiscard]] std::optional<ObjectType> typeFromNumber(std::uint8_t number);

[[nodiscard]] std::string encodeValue(const Value &value);

/// No value when the bytes are malformed, or exceed a limit of limits.h. Not for File.
[[nodiscard]] std::optional<Value> decodeValue(ObjectType type, std::string_view bytes);

/// True when the value may travel: texts, entries, rows, columns and the whole within limits.h.
[[nodiscard]] bool isWithinLimits(const Value &value);

/// The cells of a row, counted from 1, joined by semicolons. No value when there is no such row.
[[nodiscard]] std::optional<std::string> rowText(const Table &table, std::int64_t row);

} // namespace wire
