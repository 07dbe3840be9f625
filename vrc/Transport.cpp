// SPDX-License-Identifier: MIT
#include "vrc/Transport.h"

#include "vrc/Failure.h"
#include "vrc/frames_type.h"
#include "vrc/socket_backlog.h"
#include "wire/limits.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <new>
#include <utility>

namespace vrc {
namespace {

constexpr std::size_t maxHeaderBytes = 256 * 1024;
constexpr int unsentLowWaterBytes = 128 * 1024; ///< TCP_NOTSENT_LOWAT: in the socket's own buffer
constexpr int pollMs = 250;

} // namespace

Transport::Transport(const ConnectionSettings &settings)
    : m_key(keyOf(settings)), m_usesProxy(settings.proxy.has_value()),
      m_isSingleSignOn(settings.singleSignOn), m_needsSettling(needsSettling(settings))
{
    m_multi.reset(curl_multi_init());
    const std::string type = std::string("Content-Type: ") + wire::mediaType;
    const std::string accept = std::string("Accept: ") + wire::mediaType;
    for (Headers *headers : {&m_plainHeaders, &m_chunkedHeaders}) {
        for (const char *line : {type.c_str(), accept.c_str(), "Expect:"}) {
            headers->reset(curl_slist_append(headers->release(), line));
        }
    }
    m_chunkedHeaders.reset(curl_slist_append(m_chunkedHeaders.release(), "Transfer-Encoding: chunked"));
    if (!m_multi || !m_plainHeaders || !m_chunkedHeaders) {
        throw std::bad_alloc();
    }
    setUpTransport(m_easy, settings);
    setUpCallbacks();
}

Transport::~Transport()
{
    abandon();
}

void Transport::setUpCallbacks()
{
    m_easy.set(CURLOPT_ERRORBUFFER, m_errorText);
    m_easy.set(CURLOPT_READFUNCTION, &Transport::readBody);
    m_easy.set(CURLOPT_READDATA, this);
    m_easy.set(CURLOPT_WRITEFUNCTION, &Transport::writeAnswer);
    m_easy.set(CURLOPT_WRITEDATA, this);
    m_easy.set(CURLOPT_HEADERFUNCTION, &Transport::readHeader);
    m_easy.set(CURLOPT_HEADERDATA, this);
    m_easy.set(CURLOPT_PREREQFUNCTION, &Transport::noteConnection);
    m_easy.set(CURLOPT_PREREQDATA, this);
    m_easy.set(CURLOPT_SOCKOPTFUNCTION, &Transport::tuneSocket);
    m_easy.set(CURLOPT_SOCKOPTDATA, this);
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
    m_easy.set(CURLOPT_POST, 1L);
    m_easy.set(CURLOPT_POSTFIELDSIZE_LARGE, bodyBytes ? static_cast<curl_off_t>(*bodyBytes) : curl_off_t{-1});
    m_easy.set(CURLOPT_HTTPHEADER, m_isChunked ? m_chunkedHeaders.get() : m_plainHeaders.get());
    start();
    m_end.isSessionOpen = isSessionOpen;
}

/// A proxy's 407, or a server's 401, is answered on a request without a body: a body would have to be sent
/// again.
void Transport::settleAuthentication()
{
    m_isPost = false;
    m_easy.set(CURLOPT_HTTPGET, 1L);
    m_easy.set(CURLOPT_HTTPHEADER, static_cast<curl_slist *>(nullptr));
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
    m_watch.start(Clock::now());
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
        m_watch.resume(Clock::now());
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
            requireProgress(patience);
            curl_multi_poll(m_multi.get(), nullptr, 0, pollMs, nullptr);
        }
    } catch (...) {
        abandon();
        m_wasReused = false; // silence, not a connection that had gone
        throw;
    }
}

void Transport::requireProgress(Patience patience)
{
    const std::uint64_t frames = m_sink != nullptr && m_isPost ? m_sink->framesTaken() : 0;
    const StallWatch::Signs signs{m_end.isConnected, m_isBodyComplete, movedBytes(), frames};
    if (m_watch.isSilent(signs, patience, timeouts(), Clock::now())) {
        fail(wire::errors::network, "network error: the server is silent");
    }
}

std::uint64_t Transport::movedBytes() const
{
    const auto sent = m_easy.info<curl_off_t>(CURLINFO_SIZE_UPLOAD_T);
    const auto received = m_easy.info<curl_off_t>(CURLINFO_SIZE_DOWNLOAD_T);
    return static_cast<std::uint64_t>(sent) + static_cast<std::uint64_t>(received) + m_headerBytes -
           unsentBytes(activeSocket());
}

curl_socket_t Transport::activeSocket() const
{
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(m_easy.get(), CURLINFO_ACTIVESOCKET, &socket);
    return socket;
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
    m_end.status = m_easy.info<long>(CURLINFO_RESPONSE_CODE);
    m_end.connectStatus = m_easy.info<long>(CURLINFO_HTTP_CONNECTCODE);
    m_end.systemError = m_easy.info<long>(CURLINFO_OS_ERRNO);
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
    const auto connections = m_easy.info<long>(CURLINFO_NUM_CONNECTS);
    m_figures.status = m_easy.info<long>(CURLINFO_RESPONSE_CODE);
    m_figures.sentBytes = static_cast<std::uint64_t>(m_easy.info<curl_off_t>(CURLINFO_SIZE_UPLOAD_T));
    m_figures.receivedBytes = static_cast<std::uint64_t>(m_easy.info<curl_off_t>(CURLINFO_SIZE_DOWNLOAD_T));
    m_figures.elapsed = std::chrono::microseconds(m_easy.info<curl_off_t>(CURLINFO_TOTAL_TIME_T));
    m_figures.isNewConnection = connections > 0;
    // The transport library starts over by itself when a kept connection is gone, but cannot read the body
    // once more.
    m_wasReused = m_end.isConnected && (connections == 0 || m_end.code == CURLE_SEND_FAIL_REWIND);
}

bool Transport::isFrames() const
{
    const auto status = m_easy.info<long>(CURLINFO_RESPONSE_CODE);
    return status == 200 && isFramesType(m_easy.info<const char *>(CURLINFO_CONTENT_TYPE));
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
    if (purpose == CURLSOCKTYPE_IPCXN) {
        (void)setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &unsentLowWaterBytes,
                         sizeof unsentLowWaterBytes);
    }
    return CURL_SOCKOPT_OK;
}

} // namespace vrc
