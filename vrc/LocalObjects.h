// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/LocalFile.h"
#include "wire/objects.h"

#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace vrc {

using LocalObject = std::variant<wire::Value, LocalFile>;

/// The named objects of one request. Everything here throws Failure.
class LocalObjects
{
public:
    /// LOCAL/REQUEST/134 when the name is taken and may not be replaced, 130 when there are too many.
    void create(const std::string &name, LocalObject object, bool mayReplace);

    void put(const std::string &name, LocalObject object) { create(name, std::move(object), true); }

    /// Removing what is not there succeeds.
    void remove(std::string_view name);

    [[nodiscard]] bool holds(std::string_view name) const { return m_objects.find(name) != m_objects.end(); }

    /// LOCAL/REQUEST/122 when there is no such object, 123 when it is of another type.
    [[nodiscard]] LocalObject &find(std::string_view name);
    [[nodiscard]] LocalFile &file(std::string_view name);

    template <class Type>
    [[nodiscard]] Type &value(std::string_view name)
    {
        auto *held = std::get_if<wire::Value>(&find(name));
        auto *wanted = held == nullptr ? nullptr : std::get_if<Type>(held);
        if (wanted == nullptr) {
            failWrongType(name);
        }
        return *wanted;
    }

private:
    [[noreturn]] static void failWrongType(std::string_view name);

    std::map<std::string, LocalObject, std::less<>> m_objects;
};

} // namespace vrc
