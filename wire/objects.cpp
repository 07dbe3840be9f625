// SPDX-License-Identifier: MIT
#include "wire/objects.h"

#include "wire/byte_io.h"
#include "wire/limits.h"
#include "wire/utf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace wire {
namespace {

constexpr std::array<std::pair<ObjectType, std::string_view>, 6> typeNames = {{
    {ObjectType::string, "STRING"},
    {ObjectType::integer, "INTEGER"},
    {ObjectType::file, "FILE"},
    {ObjectType::stringList, "STRINGLIST"},
    {ObjectType::indStringList, "INDSTRINGLIST"},
    {ObjectType::table, "TABLE"},
}};

template <class... Callables>
struct Overloaded : Callables...
{
    using Callables::operator()...;
};
template <class... Callables>
Overloaded(Callables...) -> Overloaded<Callables...>;

std::optional<Value> decodeStringList(ByteReader reader)
{
    StringList list;
    while (reader.ok() && !reader.atEnd() && list.size() <= maxEntries) {
        list.emplace_back(reader.text(maxTextBytes));
    }
    if (!reader.complete() || list.size() > maxEntries) {
        return std::nullopt;
    }
    return list;
}

std::optional<Value> decodeIndStringList(ByteReader reader)
{
    IndStringList list;
    while (reader.ok() && !reader.atEnd() && list.size() <= maxEntries) {
        std::string key(reader.text(maxTextBytes));
        list.push_back({std::move(key), std::string(reader.text(maxTextBytes))});
    }
    if (!reader.complete() || list.size() > maxEntries) {
        return std::nullopt;
    }
    return list;
}

std::optional<Value> decodeTable(ByteReader reader)
{
    Table table;
    table.columns = reader.u32();
    if (table.columns > maxColumns) {
        return std::nullopt;
    }
    const std::size_t maxCells = maxEntries * table.columns;
    while (reader.ok() && !reader.atEnd() && table.cells.size() <= maxCells) {
        table.cells.emplace_back(reader.text(maxTextBytes));
    }
    const bool isWhole = table.columns == 0 ? table.cells.empty() : table.cells.size() % table.columns == 0;
    if (!reader.complete() || !isWhole || table.cells.size() > maxCells) {
        return std::nullopt;
    }
    return table;
}

std::string encodeTexts(std::string bytes, const StringList &texts)
{
    for (const std::string &text : texts) {
        appendText(bytes, text);
    }
    return bytes;
}

bool areTexts(const StringList &texts)
{
    return std::all_of(texts.begin(), texts.end(),
                       [](const std::string &t) { return t.size() <= maxTextBytes; });
}

std::size_t bytesOf(const StringList &texts)
{
    std::size_t sum = 0;
    for (const std::string &text : texts) {
        sum += 4 + text.size();
    }
    return sum;
}

bool isListWithinLimits(const IndStringList &list)
{
    std::size_t sum = 0;
    for (const Field &entry : list) {
        if (entry.key.size() > maxTextBytes || entry.value.size() > maxTextBytes) {
            return false;
        }
        sum += 8 + entry.key.size() + entry.value.size();
    }
    return list.size() <= maxEntries && sum <= maxValueBytes;
}

} // namespace

ObjectType typeOf(const Value &value)
{
    return std::visit(Overloaded{[](const std::string &) { return ObjectType::string; },
                                 [](std::int64_t) { return ObjectType::integer; },
                                 [](const StringList &) { return ObjectType::stringList; },
                                 [](const IndStringList &) { return ObjectType::indStringList; },
                                 [](const Table &) { return ObjectType::table; }},
                      value);
}

Value emptyValue(ObjectType type)
{
    switch (type) {
    case ObjectType::integer:
        return std::int64_t{0};
    case ObjectType::stringList:
        return StringList{};
    case ObjectType::indStringList:
        return IndStringList{};
    case ObjectType::table:
        return Table{};
    case ObjectType::string:
    case ObjectType::file:
        break;
    }
    return std::string{};
}

std::string_view typeName(ObjectType type)
{
    const auto found = std::find_if(typeNames.begin(), typeNames.end(),
                                    [type](const auto &row) { return row.first == type; });
    return found == typeNames.end() ? std::string_view{} : found->second;
}

std::optional<ObjectType> typeFromName(std::string_view name)
{
    const auto found = std::find_if(typeNames.begin(), typeNames.end(),
                                    [name](const auto &row) { return row.second == name; });
    return found == typeNames.end() ? std::nullopt : std::optional(found->first);
}

std::optional<ObjectType> typeFromNumber(std::uint8_t number)
{
    if (number < 1 || number > typeNames.size()) {
        return std::nullopt;
    }
    return static_cast<ObjectType>(number);
}

std::string encodeValue(const Value &value)
{
    return std::visit(Overloaded{[](const std::string &text) { return text; },
                                 [](std::int64_t number) { return std::to_string(number); },
                                 [](const StringList &list) { return encodeTexts({}, list); },
                                 [](const IndStringList &list) {
                                     std::string bytes;
                                     for (const Field &entry : list) {
                                         appendText(bytes, entry.key);
                                         appendText(bytes, entry.value);
                                     }
                                     return bytes;
                                 },
                                 [](const Table &table) {
                                     std::string bytes;
                                     appendNumber(bytes, table.columns, 4);
                                     return encodeTexts(std::move(bytes), table.cells);
                                 }},
                      value);
}

std::optional<Value> decodeValue(ObjectType type, std::string_view bytes)
{
    if (bytes.size() > maxValueBytes) {
        return std::nullopt;
    }
    switch (type) {
    case ObjectType::string:
        return bytes.size() <= maxTextBytes && isText(bytes) ? std::optional<Value>(std::string(bytes))
                                                             : std::nullopt;
    case ObjectType::integer: {
        const std::optional<std::int64_t> number = parseInteger(bytes);
        return number ? std::optional<Value>(*number) : std::nullopt;
    }
    case ObjectType::stringList:
        return decodeStringList(ByteReader(bytes));
    case ObjectType::indStringList:
        return decodeIndStringList(ByteReader(bytes));
    case ObjectType::table:
        return decodeTable(ByteReader(bytes));
    case ObjectType::file:
        break;
    }
    return std::nullopt;
}

bool isWithinLimits(const Value &value)
{
    return std::visit(Overloaded{[](const std::string &text) { return text.size() <= maxTextBytes; },
                                 [](std::int64_t) { return true; },
                                 [](const StringList &list) {
                                     return list.size() <= maxEntries && areTexts(list) &&
                                            bytesOf(list) <= maxValueBytes;
                                 },
                                 [](const IndStringList &list) { return isListWithinLimits(list); },
                                 [](const Table &table) {
                                     return table.columns <= maxColumns && table.rows() <= maxEntries &&
                                            areTexts(table.cells) &&
                                            4 + bytesOf(table.cells) <= maxValueBytes;
                                 }},
                      value);
}

std::optional<std::string> rowText(const Table &table, std::int64_t row)
{
    if (row < 1 || static_cast<std::uint64_t>(row) > table.rows()) {
        return std::nullopt;
    }
    const std::size_t first = (static_cast<std::size_t>(row) - 1) * table.columns;
    std::string text;
    for (std::size_t i = 0; i < table.columns; ++i) {
        text.append(i == 0 ? "" : ";").append(table.cells[first + i]);
    }
    return text;
}

} // namespace wire
