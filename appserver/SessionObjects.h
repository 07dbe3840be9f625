// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/FileObject.h"
#include "wire/objects.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace appserver {

struct ServerLimits;

using FilePtr = std::shared_ptr<FileObject>;
using ServerObject = std::variant<wire::Value, FilePtr>;

/// The objects and variables of one session, within its limits. Not safe on several threads. Functions throw
/// CommandFailure: the error that the command has failed with.
class SessionObjects
{
public:
    /// The folder holds the longer files; it is created at the first of them and removed with this object.
    explicit SessionObjects(std::filesystem::path folder);
    ~SessionObjects();
    SessionObjects(const SessionObjects &) = delete;
    SessionObjects &operator=(const SessionObjects &) = delete;

    [[nodiscard]] FilePtr newFile();
    void put(const std::string &name, ServerObject object, const ServerLimits &limits);
    /// A missing object is no error.
    void remove(const std::string &name);

    [[nodiscard]] const ServerObject *find(const std::string &name) const;
    [[nodiscard]] FilePtr file(const std::string &name) const;
    [[nodiscard]] const wire::Value &value(const std::string &name) const;

    /// How many bytes a file of the session may still take, by the limits of a file and of a session.
    [[nodiscard]] std::uint64_t roomForFile(const FileObject &file, const ServerLimits &limits) const;
    /// How many bytes a value that replaces the one of that name may take.
    [[nodiscard]] std::uint64_t roomForValue(const std::string &name, const ServerLimits &limits) const;

    void setVariable(const std::string &name, std::string value, const ServerLimits &limits);

    void removeVariable(const std::string &name) { m_variables.erase(name); }

    [[nodiscard]] const std::string &variable(std::string_view name) const;

private:
    [[nodiscard]] std::uint64_t memoryBytes() const;
    [[nodiscard]] std::uint64_t fileBytes() const;

    std::filesystem::path m_folder;
    std::map<std::string, ServerObject, std::less<>> m_objects;
    std::map<std::string, std::string, std::less<>> m_variables;
};

} // namespace appserver
