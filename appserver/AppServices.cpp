// SPDX-License-Identifier: MIT
#include "appserver/AppServices.h"

#include "appserver/server_files.h"

#include <ctime>
#include <stdexcept>

namespace appserver {

namespace {

constexpr std::int64_t daySeconds = 24 * 3600;

/// Files of sessions that ended with an earlier process are of no use.
std::filesystem::path emptySessionFolder(const std::filesystem::path &dataFolder)
{
    std::filesystem::path folder = dataFolder / "sessions";
    removeFolder(folder);
    if (std::filesystem::exists(folder)) {
        throw std::runtime_error("cannot empty " + folder.string());
    }
    createPrivateFolder(folder);
    return folder;
}

} // namespace

AppServices::AppServices(const std::filesystem::path &dataFolder, ServerConfiguration configuration)
    : database(databaseFileIn(dataFolder)), replayCache(std::filesystem::absolute(dataFolder / "tickets")),
      users(database), documents(database, dataFolder / "documents"),
      sessions(emptySessionFolder(dataFolder)),
      m_configuration(std::make_shared<const ServerConfiguration>(std::move(configuration)))
{}

std::shared_ptr<const ServerConfiguration> AppServices::configuration() const
{
    const std::scoped_lock lock(m_mutex);
    return m_configuration;
}

void AppServices::setConfiguration(ServerConfiguration configuration)
{
    auto next = std::make_shared<const ServerConfiguration>(std::move(configuration));
    const std::scoped_lock lock(m_mutex);
    m_configuration.swap(next);
}

OwnAddresses AppServices::addresses() const
{
    const std::scoped_lock lock(m_mutex);
    return m_addresses;
}

void AppServices::setAddresses(OwnAddresses addresses)
{
    const std::scoped_lock lock(m_mutex);
    m_addresses = std::move(addresses);
}

void AppServices::tidyUp()
{
    const auto current = configuration();
    sessions.removeIdle(current->limits.sessionIdle);
    pages.removeIdle(current->limits.sessionIdle);
    visitors.removeIdle(current->limits.sessionIdle);
    documents.removeOlderThan(std::time(nullptr) - current->keepDocumentDays * daySeconds);
}

} // namespace appserver
