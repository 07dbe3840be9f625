// SPDX-License-Identifier: MIT
#include "appserver/DataFolder.h"

#include "appserver/Database.h"
#include "appserver/default_configuration.h"
#include "appserver/host_names.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <stdexcept>

namespace appserver {

namespace {

constexpr std::size_t configurationMaxBytes = 1024 * 1024;

} // namespace

DataFolder::DataFolder(const std::filesystem::path &path) : m_path(std::filesystem::absolute(path))
{}

void DataFolder::lockForServer()
{
    createPrivateFolder(m_path);
    m_lock =
        UniqueFd(::open((m_path / "vrserver.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!m_lock) {
        throwSystemError("cannot open " + (m_path / "vrserver.lock").string());
    }
    if (::flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0) {
        throw std::runtime_error("another server is running in " + m_path.string());
    }
}

bool DataFolder::prepare(const ListenSettings &firstSettings) const
{
    if (!std::filesystem::exists(configurationFile())) {
        // A configuration that is only made anew leaves the users alone.
        if (!std::filesystem::exists(databaseFileIn(m_path))) {
            writeFileAtomically(firstStartMark(), {});
        }
        writeFileAtomically(configurationFile(), defaultConfiguration(firstSettings));
    }
    return std::filesystem::exists(firstStartMark());
}

void DataFolder::endFirstStart() const
{
    std::filesystem::remove(firstStartMark());
    syncFolder(m_path);
}

ServerConfiguration DataFolder::readConfiguration() const
{
    try {
        return ServerConfiguration::parse(readWholeFile(configurationFile(), configurationMaxBytes));
    } catch (const ConfigurationError &error) {
        throw ConfigurationError(configurationFile().string() + ": " + error.what());
    }
}

void DataFolder::prepareCertificates(const ListenSettings &listen) const
{
    std::vector<std::string> names{"localhost", "127.0.0.1", "::1"};
    for (const std::string &name : {hostName(), listen.publicName, listen.address}) {
        if (!name.empty() && !isAnyAddress(name) && std::ranges::find(names, name) == names.end()) {
            names.push_back(name);
        }
    }
    ensureCertificates(certificates(), names);
}

} // namespace appserver
