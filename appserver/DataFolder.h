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

    /// Creates the folder where it is missing. Two servers in one would damage it: throws std::runtime_error
    /// when another process has it.
    void lockForServer();
    /// Creates the configuration where it is missing. True from the first start on until endFirstStart(): a
    /// first start that fails, however late, is repeated by the next one.
    [[nodiscard]] bool prepare(const ListenSettings &firstSettings) const;
    void endFirstStart() const;

    [[nodiscard]] ServerConfiguration readConfiguration() const;
    /// Creates the certificates where they are missing or too old; they name the server's addresses.
    void prepareCertificates(const ListenSettings &listen) const;

    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }

    [[nodiscard]] CertificateFiles certificates() const { return certificateFilesIn(m_path); }

    [[nodiscard]] std::filesystem::path configurationFile() const { return m_path / "vrserver.ini"; }

    [[nodiscard]] std::filesystem::path accessLog() const { return m_path / "access.log"; }

private:
    [[nodiscard]] std::filesystem::path firstStartMark() const { return m_path / "first-start"; }

    std::filesystem::path m_path;
    UniqueFd m_lock;
};

} // namespace appserver
