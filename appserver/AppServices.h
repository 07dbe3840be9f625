// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/Database.h"
#include "appserver/DocumentStore.h"
#include "appserver/LoginThrottle.h"
#include "appserver/PortalSessions.h"
#include "appserver/PortalVisitors.h"
#include "appserver/ServerConfiguration.h"
#include "appserver/SessionTable.h"
#include "appserver/UserStore.h"

#include <filesystem>
#include <memory>
#include <mutex>

namespace appserver {

/// What the services of one data folder share. Everything in it is safe on several threads.
class AppServices
{
public:
    AppServices(const std::filesystem::path &dataFolder, ServerConfiguration configuration);

    /// Stays valid and unchanged while it is held, whatever is reloaded meanwhile.
    [[nodiscard]] std::shared_ptr<const ServerConfiguration> configuration() const;
    void setConfiguration(ServerConfiguration configuration);

    [[nodiscard]] OwnAddresses addresses() const;
    void setAddresses(OwnAddresses addresses);

    /// Ends sessions that nobody uses, deletes documents that are too old.
    void tidyUp();

    Database database;
    /// A file: the tickets of single sign-on that have come lately.
    const std::filesystem::path replayCache;
    UserStore users;
    DocumentStore documents;
    LoginThrottle throttle;
    SessionTable sessions;
    PortalSessions pages;
    PortalVisitors visitors;

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<const ServerConfiguration> m_configuration;
    OwnAddresses m_addresses;
};

} // namespace appserver
