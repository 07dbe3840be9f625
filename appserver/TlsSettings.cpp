// SPDX-License-Identifier: MIT
#include "appserver/TlsSettings.h"

#include "appserver/openssl_error.h"

namespace appserver {

namespace {

constexpr std::size_t readBufferBytes = 64 * 1024;

void require(bool succeeded, const std::string &what)
{
    requireOpenSsl(succeeded, "TLS: " + what);
}

std::shared_ptr<SSL_CTX> newContext(const CertificateFiles &files)
{
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    require(context != nullptr, "no context");
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_CIPHER_SERVER_PREFERENCE |
                                           SSL_OP_NO_COMPRESSION | SSL_OP_IGNORE_UNEXPECTED_EOF);
    // With TLS 1.3 they go out after the handshake, where nobody waits for them: a proxy that collects small
    // packets then holds the answer back until they are acknowledged. A resumption would save no round trip.
    require(SSL_CTX_set_num_tickets(context.get(), 0) == 1, "cannot do without tickets");
    // A record at a time would take two calls of the system for each 16 KiB.
    SSL_CTX_set_read_ahead(context.get(), 1);
    SSL_CTX_set_default_read_buffer_len(context.get(), readBufferBytes);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER |
                                        SSL_MODE_RELEASE_BUFFERS);
    require(SSL_CTX_set_cipher_list(context.get(), "ECDHE+AESGCM:ECDHE+CHACHA20") == 1, "no ciphers");
    require(SSL_CTX_use_certificate_chain_file(context.get(), files.certificate.c_str()) == 1,
            "cannot use the certificate " + files.certificate.string());
    require(SSL_CTX_use_PrivateKey_file(context.get(), files.key.c_str(), SSL_FILETYPE_PEM) == 1,
            "cannot use the key " + files.key.string());
    require(SSL_CTX_check_private_key(context.get()) == 1, "the key does not belong to the certificate");
    return context;
}

} // namespace

TlsSettings::TlsSettings(const CertificateFiles &files) : m_context(newContext(files))
{}

void TlsSettings::reload(const CertificateFiles &files)
{
    auto next = newContext(files);
    const std::scoped_lock lock(m_mutex);
    m_context.swap(next);
}

std::shared_ptr<SSL_CTX> TlsSettings::context() const
{
    const std::scoped_lock lock(m_mutex);
    return m_context;
}

} // namespace appserver
