// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// The server's private certificate authority and its own certificate (X.509, ECDSA P-256).
namespace appserver {

struct CertificateFiles
{
    std::filesystem::path authority;    ///< vrc-ca.pem: clients trust this file
    std::filesystem::path authorityKey; ///< ca-key.pem, mode 0600
    std::filesystem::path certificate;  ///< server.pem; an authority that is no root follows in it
    std::filesystem::path key;          ///< server-key.pem, mode 0600
};

[[nodiscard]] CertificateFiles certificateFilesIn(const std::filesystem::path &dataFolder);

/// Creates what is missing, and the server's certificate anew when it ends within 30 days or does not name
/// all of the names. A name may be a host name or an IP address. Throws std::runtime_error.
void ensureCertificates(const CertificateFiles &files, const std::vector<std::string> &names);

} // namespace appserver
