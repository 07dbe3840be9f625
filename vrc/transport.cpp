// SPDX-License-Identifier: MIT
#include "vrc/transport.h"

#include "vrc/failure.h"
#include "vrc/trust_store.h"
#include "wire/limits.h"

#include <algorithm>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <utility>
#ifdef __linux__
#include <linux/sockios.h>
#endif

namespace vrc {
namespace {

constexpr std::size_t maxHeaderBytes = 256 * 1024;
constexpr long uploadBufferBytes = 65536 + 4096; ///< a block with its frames goes in one piece
constexpr int unsentLowWaterBytes = 128 * 1024;  ///< TCP_NOTSENT_LOWAT: in the socket's own buffer
constexpr int pollMs = 250;

void initialiseOnce()
{
    static const CURLcode status = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (status != CURLE_OK) {
        fail(wire::errors::outOfMemory, "the transport library does not start");
    }
}

/// Bytes that the system has not got rid of yet: they shrink while a slow line drains.
std::uint64_t unsentBytes(curl_socket_t socket)
{
    int bytes = 0;
#if defined(SIOCOUTQ)
    if (socket == CURL_SOCKET_BAD || ioctl(socket, SIOCOUTQ, &bytes) != 0) {
        return 0;
    }
#elif defined(SO_NWRITE)
    socklen_t size = sizeof bytes;
    if (socket == CURL_SOCKET_BAD || getsockopt(socket, SOL_SOCKET, SO_NWRITE, &bytes, &size) != 0) {
        return 0;
    }
#else
    (void)socket;
#endif
    return static_cast<std::uint64_t>(std::max(bytes, 0));
}

std::string serverAddress(const ConnectionSettings &settings)
{
    return std::string(settings.ssl ? "https://" : "http://") + settings.host + ":" +
           std::to_string(settings.port) + wire::resourcePath;
}

} // namespace

template <class Value>
void Transport::set(CURLoption option, Value value)
{
    const CURLcode status = curl_easy_setopt(m_easy.get(), option, value);
    if (status == CURLE_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != CURLE_OK) {
        fail(wire::errors::cannotConnect,
             std::string("the transport cannot be set up: ") + curl_easy_strerror(status));
    }
}

Transport::Transport(const ConnectionSettings &settings) : m_key(keyOf(settings))
{
    initialiseOnce();
    m_multi.reset(curl_multi_init());
    m_easy.reset(curl_easy_init());
    const std::string type = std::string("Content-Type: ") + wire::mediaType;
    const std::string accept = std::string("Accept: ") + wire::mediaType;
    for (Headers *headers : {&m_plainHeaders, &m_chunkedHeaders}) {
        for (const char *line : {type.c_str(), accept.c_str(), "Expect:"}) {
            headers->reset(curl_slist_append(headers->release(), line));
        }
    }
    m_chunkedHeaders.reset(curl_slist_append(m_chunkedHeaders.release(), "Transfer-Encoding: chunked"));
    if (!m_multi || !m_easy || !m_plainHeaders || !m_chunkedHeaders) {
        throw std::bad_alloc();
    }
    setUpServer(settings);
    setUpTrust(settings);
    setUpProxy(settings);
    setUpCallbacks();
}

Transport::~Transport()
{
    abandon();
}

void Transport::setUpServer(const ConnectionSettings &settings)
{
    set(CURLOPT_URL, serverAddress(settings).c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_USERAGENT, "libvrc/1.0");
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_TCP_NODELAY, 1L);
    set(CURLOPT_UPLOAD_BUFFERSIZE, uploadBufferBytes);
    setConnectTimeout(settings.connectTimeout);
    m_isSingleSignOn = settings.singleSignOn;
    if (m_isSingleSignOn) {
        const std::string service = settings.principal.substr(0, settings.principal.find('/'));
        set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NEGOTIATE));
        set(CURLOPT_USERPWD, ":");
        set(CURLOPT_SERVICE_NAME, service.empty() ? "HTTP" : service.c_str());
        m_needsSettling = true;
    }
}

/// There is no way to turn verification off.
void Transport::setUpTrust(const ConnectionSettings &settings)
{
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    TrustStore trust = settings.ssl ? installedTrust() : TrustStore();
    if (!trust.folder.empty()) {
        // The bundle holds the same, and reading all of it takes 10 ms.
        set(CURLOPT_CAINFO, static_cast<const char *>(nullptr));
        set(CURLOPT_CAPATH, trust.folder.c_str());
    }
    if (!trust.certificates.empty()) {
        curl_blob blob = {trust.certificates.data(), trust.certificates.size(), CURL_BLOB_COPY};
        set(CURLOPT_CAINFO_BLOB, &blob);
    }
}

/// Proxies are the caller's affair alone: the environment has no say, with or without one.
void Transport::setUpProxy(const ConnectionSettings &settings)
{
    set(CURLOPT_NOPROXY, "");
    if (!settings.proxy) {
        set(CURLOPT_PROXY, "");
        return;
    }
    m_usesProxy = true;
    set(CURLOPT_PROXY,
        ("http://" + settings.proxy->host + ":" + std::to_string(settings.proxy->port)).c_str());
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!settings.proxy->user.empty()) {
        set(CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
        set(CURLOPT_PROXYUSERNAME, settings.proxy->user.c_str());
        set(CURLOPT_PROXYPASSWORD, settings.proxy->password.c_str());
        m_needsSettling = m_needsSettling || !settings.ssl;
    }
}

void Transport::setUpCallbacks()
{
    set(CURLOPT_ERRORBUFFER, m_errorText);
    set(CURLOPT_READFUNCTION, &Transport::readBody);
    set(CURLOPT_READDATA, this);
    set(CURLOPT_WRITEFUNCTION, &Transport::writeAnswer);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, &Transport::readHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_PREREQFUNCTION, &Transport::noteConnection);
    set(CURLOPT_PREREQDATA, this);
    set(CURLOPT_SOCKOPTFUNCTION, &Transport::tuneSocket);
    set(CURLOPT_SOCKOPTDATA, this);
}

void Transport::setConnectTimeout(std::chrono::seconds timeout)
{
    set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(timeout.count()));
}

std::string Transport::keyOf(const ConnectionSettings &settings)
{
    const ProxySettings proxy = settings.proxy.value_or(ProxySettings{});
    std::string key = serverAddress(settings);
    for (const std::string &part : {proxy.host, std::to_string(proxy.port), proxy.user, proxy.password,
                                    settings.singleSignOn ? settings.principal + "*" : std::string()}) {
        key.append(1, '\n').append(part);
    }
    return key;
}

void Transport::begin(AnswerSink &sink, std::optional<std::uint64_t> bodyBytes, bool isSessionOpen)
{
    abandon();
    if (m_needsSettling) {
        settleAuthentication();
    }
    m_sink = &sink;
    m_isPost = true;
    m_isChunked = !bodyBytes;
    set(CURLOPT_POST, 1L);
    set(CURLOPT_POSTFIELDSIZE_LARGE, bodyBytes ? static_cast<curl_off_t>(*bodyBytes) : curl_off_t{-1});
    set(CURLOPT_HTTPHEADER, m_isChunked ? m_chunkedHeaders.get() : m_plainHeaders.get());
    start();
    m_end.isSessionOpen = isSessionOpen;
}

/// A proxy's 407, or a server's 401, is answered on a request without a body: a body would have to be sent
/// again.
void Transport::settleAuthentication()
{
    m_isPost = false;
    set(CURLOPT_HTTPGET, 1L);
    set(CURLOPT_HTTPHEADER, static_cast<curl_slist *>(nullptr));
    start();
    pump([] { return false; }, Patience::stall);
    conclude();
    m_needsSettling = false;
}

void Transport::start()
{
    m_pending = {};
    m_sinkFailure = nullptr;
    m_end = {};
    m_end.usesProxy = m_usesProxy;
    m_end.isSingleSignOn = m_isSingleSignOn;
    m_figures = {};
    m_lastMoved = 0;
    m_lastFrames = 0;
    m_lastProgress = m_lastFrame = Clock::now();
    m_headerBytes = 0;
    m_isBodyComplete = m_isPaused = m_hasTaken = m_isDone = m_wasReused = false;
    m_errorText[0] = '\0';
    if (curl_multi_add_handle(m_multi.get(), m_easy.get()) != CURLM_OK) {
        throw std::bad_alloc();
    }
    m_isBusy = true;
}

void Transport::send(std::string_view bytes, Patience patience)
{
    m_pending = bytes;
    if (m_isPaused) {
        m_isPaused = false;
        curl_easy_pause(m_easy.get(), CURLPAUSE_CONT);
    }
    // A paused chunked body has been asked for more after everything before went into the socket.
    pump([this] { return m_pending.empty() && (m_isPaused || !m_isChunked); }, patience);
    if (m_isDone) {
        conclude();
        // An answer in the middle of the body: whatever it says, the rest of the body went nowhere.
        fail(wire::errors::network, "network error: the server ended the request before its end");
    }
}

void Transport::finish(Patience patience)
{
    m_isBodyComplete = true;
    if (m_isPaused) {
        m_isPaused = false;
        curl_easy_pause(m_easy.get(), CURLPAUSE_CONT);
    }
    pump([] { return false; }, patience);
    conclude();
}

void Transport::abandon() noexcept
{
    m_pending = {};
    if (m_isBusy) {
        noteFigures();
        curl_multi_remove_handle(m_multi.get(), m_easy.get());
        m_isBusy = false;
    }
}

/// Lets the transport work until the condition is reached or the exchange is over.
template <class Condition>
void Transport::pump(Condition isReached, Patience patience)
{
    try {
        m_lastProgress = m_lastFrame = Clock::now();
        while (true) {
            int running = 0;
            if (curl_multi_perform(m_multi.get(), &running) != CURLM_OK) {
                throw std::bad_alloc();
            }
            takeMessages();
            if (m_isDone || isReached()) {
                return;
            }
            if (std::exchange(m_hasTaken, false)) {
                continue; // mostly they are in the socket already
            }
            checkProgress(patience);
            curl_multi_poll(m_multi.get(), nullptr, 0, pollMs, nullptr);
        }
    } catch (...) {
        abandon();
        m_wasReused = false; // silence, not a connection that had gone
        throw;
    }
}

/// While connecting the transport minds the time itself.
void Transport::checkProgress(Patience patience)
{
    const Clock::time_point now = Clock::now();
    const std::uint64_t moved = movedBytes();
    const std::uint64_t frames = m_sink != nullptr && m_isPost ? m_sink->framesTaken() : 0;
    if (moved != m_lastMoved || !m_end.isConnected) {
        m_lastMoved = moved;
        m_lastProgress = now;
    }
    if (frames != m_lastFrames || !m_isBodyComplete) {
        m_lastFrames = frames;
        m_lastFrame = now;
    }
    const Timeouts limits = timeouts();
    const auto stall = patience == Patience::procedure ? std::max(limits.answer, limits.stall) : limits.stall;
    if (now - m_lastProgress >= stall || now - m_lastFrame >= std::max(limits.answer, limits.stall)) {
        fail(wire::errors::network, "network error: the server is silent");
    }
}

std::uint64_t Transport::movedBytes() const
{
    curl_off_t sent = 0;
    curl_off_t received = 0;
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_DOWNLOAD_T, &received);
    curl_easy_getinfo(m_easy.get(), CURLINFO_ACTIVESOCKET, &socket);
    return static_cast<std::uint64_t>(sent) + static_cast<std::uint64_t>(received) + m_headerBytes -
           unsentBytes(socket);
}

void Transport::takeMessages()
{
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi.get(), &left)) {
        if (message->msg == CURLMSG_DONE) {
            m_isDone = true;
            m_end.code = message->data.result;
        }
    }
}

/// Judges an exchange that is over.
void Transport::conclude()
{
    CURL *easy = m_easy.get();
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &m_end.status);
    curl_easy_getinfo(easy, CURLINFO_HTTP_CONNECTCODE, &m_end.connectStatus);
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &m_end.systemError);
    m_end.isAnswerOfServer = isFrames();
    m_end.detail = m_errorText[0] != '\0' ? m_errorText : curl_easy_strerror(m_end.code);
    abandon();
    if (m_sinkFailure) {
        std::rethrow_exception(m_sinkFailure);
    }
    if (isAnswered(m_end, m_isPost)) {
        return;
    }
    if (m_isPost && isBodyRefused(m_end)) {
        throw BodyRefused{m_end.status};
    }
    if (m_end.status == 407) {
        m_needsSettling = m_usesProxy;
    }
    throw Failure(errorOf(m_end));
}

void Transport::noteFigures()
{
    curl_off_t sent = 0;
    curl_off_t received = 0;
    curl_off_t elapsed = 0;
    long connections = 0;
    CURL *easy = m_easy.get();
    curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &sent);
    curl_easy_getinfo(easy, CURLINFO_SIZE_DOWNLOAD_T, &received);
    curl_easy_getinfo(easy, CURLINFO_TOTAL_TIME_T, &elapsed);
    curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &connections);
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &m_figures.status);
    m_figures.sentBytes = static_cast<std::uint64_t>(sent);
    m_figures.receivedBytes = static_cast<std::uint64_t>(received);
    m_figures.elapsed = std::chrono::microseconds(elapsed);
    m_figures.isNewConnection = connections > 0;
    // The transport library starts over by itself when a kept connection is gone, but cannot read the body
    // once more.
    m_wasReused = m_end.isConnected && (connections == 0 || m_end.code == CURLE_SEND_FAIL_REWIND);
}

/// Status 200 and the media type of frames, parameters aside.
bool Transport::isFrames() const
{
    long status = 0;
    const char *type = nullptr;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(m_easy.get(), CURLINFO_CONTENT_TYPE, &type);
    const std::size_t length = std::strlen(wire::mediaType);
    return status == 200 && type != nullptr && strncasecmp(type, wire::mediaType, length) == 0 &&
           (type[length] == '\0' || type[length] == ';' || type[length] == ' ');
}

std::size_t Transport::readBody(char *buffer, std::size_t size, std::size_t count, void *self)
{
    auto &transport = *static_cast<Transport *>(self);
    const std::size_t bytes = std::min(size * count, transport.m_pending.size());
    if (bytes == 0 && !transport.m_isBodyComplete) {
        transport.m_isPaused = true;
        return CURL_READFUNC_PAUSE;
    }
    std::copy_n(transport.m_pending.data(), bytes, buffer);
    transport.m_pending.remove_prefix(bytes);
    transport.m_hasTaken = bytes > 0;
    return bytes;
}

/// Nothing of an answer that is not the server's is taken: returning 0 ends the exchange.
std::size_t Transport::writeAnswer(char *bytes, std::size_t size, std::size_t count, void *self)
{
    auto &transport = *static_cast<Transport *>(self);
    if (!transport.m_isPost || !transport.isFrames()) {
        return 0;
    }
    try {
        transport.m_sink->take({bytes, size * count});
    } catch (...) {
        transport.m_sinkFailure = std::current_exception();
        return 0;
    }
    return size * count;
}

std::size_t Transport::readHeader(char *bytes, std::size_t size, std::size_t count, void *self)
{
    auto &transport = *static_cast<Transport *>(self);
    transport.m_headerBytes += size * count;
    const std::string_view line(bytes, size * count);
    transport.m_end.isHeaderComplete = line == "\r\n" || line == "\n";
    transport.m_end.hasAnswerTooLong = transport.m_headerBytes > maxHeaderBytes;
    return transport.m_end.hasAnswerTooLong ? 0 : size * count;
}

int Transport::noteConnection(void *self, char *, char *, int, int)
{
    static_cast<Transport *>(self)->m_end.isConnected = true;
    return CURL_PREREQFUNC_OK;
}

/// A small unsent backlog in the socket: what has been sent is on its way, and a cancel takes effect at once.
int Transport::tuneSocket(void *, curl_socket_t socket, curlsocktype purpose)
{
#ifdef TCP_NOTSENT_LOWAT
    if (purpose == CURLSOCKTYPE_IPCXN) {
        (void)setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &unsentLowWaterBytes,
                         sizeof unsentLowWaterBytes);
    }
#endif
    return CURL_SOCKOPT_OK;
}

} // namespace vrc
