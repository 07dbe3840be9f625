// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ServerConfiguration.h"
#include "appserver/certificates.h"
#include "appserver/server_files.h"

#include <filesystem>
#include <string>
#include <vector>

namespace appserver {

/// The folder that holds everything of a server: configuration, certificates, database, documents, access
/// log.
class DataFolder
{
public:
    explicit DataFolder(const std::filesystem::path &path);

    /// Creates the folder and the configuration where they are missing. True when this was the first start.
    bool prepare(const ListenSettings &firstSettings);
    /// Two servers in one folder would damage it: throws std::runtime_error when another process has it.
    void lockForServer();

    [[nodiscard]] ServerConfiguration readConfiguration() const;
    /// Creates the certificates where they are missing or too old; they name the server's addresses.
    void prepareCertificates(const ListenSettings &listen) const;

    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }

    [[nodiscard]] CertificateFiles certificates() const { return certificateFilesIn(m_path); }

    [[nodiscard]] std::filesystem::path configurationFile() const { return m_path / "vrserver.ini"; }

    [[nodiscard]] std::filesystem::path accessLog() const { return m_path / "access.log"; }

private:
    std::filesystem::path m_path;
    UniqueFd m_lock;
};

} // namespace appserver
