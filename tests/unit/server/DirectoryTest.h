// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerTest.h"
#include "vrp/server/directory_parameters.h"

#include <string>
#include <utility>
#include <vector>

/// The fetch of the directory parameters from a scripted directory.
class DirectoryTest : public ServerTest
{
protected:
    static constexpr char parameterCount[] = "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|parameters|";
    static constexpr char parameterKey[] =
        "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|";
    static constexpr char parameterValue[] =
        "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|";

    DirectoryTest()
    {
        writeDirectories({L"host:2000;app:dir"}, true);
        setParameters({{"A", "1"}, {"B_PASSWORD", "secret"}});
        setList("directories", {"one;a:d", "two;a:d"});
        setList("Topics", {"Main=http://host/help"});
    }

    static void writeDirectories(const std::vector<std::wstring> &list, bool perUser)
    {
        VrpsWriteServerDirectoriesToRegistry(list, perUser);
    }

    void setParameters(const std::vector<std::pair<std::string, std::string>> &list)
    {
        library.answer(parameterCount, std::to_string(list.size()));
        int index = 0;
        for (const auto &[key, value] : list) {
            library.answer(parameterKey + std::to_string(++index) + "|", key);
            library.answer(parameterValue + key + "|", value);
        }
    }

    void setList(const std::string &name, const std::vector<std::string> &values)
    {
        library.answer("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|" + name + "|",
                       std::to_string(values.size()));
        for (std::size_t i = 0; i < values.size(); ++i) {
            library.answer("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|" + name + "| INDEX=|" +
                               std::to_string(i + 1) + "|",
                           values[i]);
        }
    }

    int run() { return VrpsGetParametersFromServerDirectory(parameters); }

    using Servers = std::vector<std::string>;

    /// The servers that were connected to, as host:port.
    [[nodiscard]] Servers servers() const
    {
        Servers found;
        for (const std::string &connection : library.connections()) {
            const std::string key = "Server=\"";
            const std::size_t start = connection.find(key) + key.size();
            found.push_back(connection.substr(start, connection.find('"', start) - start));
        }
        return found;
    }

    static std::vector<std::wstring> storedDirectories(bool perUser)
    {
        std::vector<std::wstring> list;
        VrpsGetServerDirectoriesFromRegistry(list, perUser);
        return list;
    }

    ParameterMap parameters;
};
