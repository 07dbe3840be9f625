// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/certificates.h"

#include <openssl/ssl.h>

#include <memory>
#include <mutex>

namespace appserver {

/// TLS 1.2 or newer with the server's certificate; can be loaded anew while connections are open.
class TlsSettings
{
public:
    explicit TlsSettings(const CertificateFiles &files);

    /// Throws std::runtime_error; the settings in use stay then.
    void reload(const CertificateFiles &files);
    [[nodiscard]] std::shared_ptr<SSL_CTX> context() const;

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<SSL_CTX> m_context;
};

} // namespace appserver
