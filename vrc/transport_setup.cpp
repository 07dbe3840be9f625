// SPDX-License-Identifier: MIT
#include "vrc/transport_setup.h"

#include "vrc/TrustStore.h"
#include "wire/limits.h"

namespace vrc {
namespace {

constexpr long uploadBufferBytes = 65536 + 4096; ///< a block with its frames goes in one piece

void setUpServer(const EasyHandle &easy, const ConnectionSettings &settings)
{
    easy.set(CURLOPT_URL, serverAddress(settings).c_str());
    easy.set(CURLOPT_PROTOCOLS_STR, "http,https");
    easy.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    easy.set(CURLOPT_USERAGENT, "libvrc/1.0");
    easy.set(CURLOPT_NOSIGNAL, 1L);
    easy.set(CURLOPT_TCP_NODELAY, 1L);
    easy.set(CURLOPT_UPLOAD_BUFFERSIZE, uploadBufferBytes);
    setConnectTimeout(easy, settings.connectTimeout);
    if (settings.singleSignOn) {
        const std::string service = settings.principal.substr(0, settings.principal.find('/'));
        easy.set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NEGOTIATE));
        easy.set(CURLOPT_USERPWD, ":");
        easy.set(CURLOPT_SERVICE_NAME, service.empty() ? "HTTP" : service.c_str());
    }
}

/// There is no way to turn verification off.
void setUpTrust(const EasyHandle &easy, const ConnectionSettings &settings)
{
    easy.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    easy.set(CURLOPT_SSL_VERIFYPEER, 1L);
    easy.set(CURLOPT_SSL_VERIFYHOST, 2L);
    TrustStore trust = settings.ssl ? installedTrust() : TrustStore();
    if (!trust.folder.empty()) {
        // The bundle holds the same, and reading all of it takes 10 ms.
        easy.set(CURLOPT_CAINFO, static_cast<const char *>(nullptr));
        easy.set(CURLOPT_CAPATH, trust.folder.c_str());
    }
    if (!trust.certificates.empty()) {
        curl_blob blob = {trust.certificates.data(), trust.certificates.size(), CURL_BLOB_COPY};
        easy.set(CURLOPT_CAINFO_BLOB, &blob);
    }
}

/// Proxies are the caller's affair alone: the environment has no say, with or without one.
void setUpProxy(const EasyHandle &easy, const ConnectionSettings &settings)
{
    easy.set(CURLOPT_NOPROXY, "");
    if (!settings.proxy) {
        easy.set(CURLOPT_PROXY, "");
        return;
    }
    easy.set(CURLOPT_PROXY,
             ("http://" + settings.proxy->host + ":" + std::to_string(settings.proxy->port)).c_str());
    easy.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!settings.proxy->user.empty()) {
        easy.set(CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
        easy.set(CURLOPT_PROXYUSERNAME, settings.proxy->user.c_str());
        easy.set(CURLOPT_PROXYPASSWORD, settings.proxy->password.c_str());
    }
}

} // namespace

void setUpTransport(const EasyHandle &easy, const ConnectionSettings &settings)
{
    setUpServer(easy, settings);
    setUpTrust(easy, settings);
    setUpProxy(easy, settings);
}

void setConnectTimeout(const EasyHandle &easy, std::chrono::seconds timeout)
{
    easy.set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(timeout.count()));
}

bool needsSettling(const ConnectionSettings &settings)
{
    const bool hasProxyCredentials = settings.proxy && !settings.proxy->user.empty();
    return settings.singleSignOn || (hasProxyCredentials && !settings.ssl);
}

std::string serverAddress(const ConnectionSettings &settings)
{
    return std::string(settings.ssl ? "https://" : "http://") + settings.host + ":" +
           std::to_string(settings.port) + wire::resourcePath;
}

} // namespace vrc
