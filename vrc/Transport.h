// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/EasyHandle.h"
#include "vrc/StallWatch.h"
#include "vrc/connection_string.h"
#include "vrc/transport_errors.h"
#include "vrc/transport_setup.h"

#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vrc {

/// Takes the body of an answer as it arrives. May throw Failure, which ends the exchange.
class AnswerSink
{
public:
    AnswerSink() = default;
    AnswerSink(const AnswerSink &) = delete;
    AnswerSink &operator=(const AnswerSink &) = delete;
    virtual ~AnswerSink() = default;

    virtual void take(std::string_view bytes) = 0;

    /// Complete frames so far: an answer that goes on forever without one is given up.
    [[nodiscard]] virtual std::uint64_t framesTaken() const = 0;
};

/// Thrown when something on the way takes no body of this kind or length (411, 413).
struct BodyRefused
{
    long status = 0;
};

/// Sizes and times of an exchange, for the socket log.
struct ExchangeFigures
{
    std::uint64_t sentBytes = 0;
    std::uint64_t receivedBytes = 0;
    std::chrono::microseconds elapsed{0};
    long status = 0;
    bool isNewConnection = false;
};

/// HTTP exchanges with one server over one kept-alive connection, one at a time. Everything that can go wrong
/// is thrown as Failure, or as BodyRefused; the exchange is over then, and its connection closed unless it
/// was answered.
class Transport
{
public:
    explicit Transport(const ConnectionSettings &settings);
    ~Transport();
    Transport(const Transport &) = delete;
    Transport &operator=(const Transport &) = delete;

    /// Starts a POST whose body has this length, or is chunked. The sink has to outlive the exchange.
    void begin(AnswerSink &sink, std::optional<std::uint64_t> bodyBytes, bool isSessionOpen);

    /// Returns when the bytes are in the socket (chunked), or handed to the transport (known length).
    void send(std::string_view bytes, Patience patience);

    /// Ends the body and waits for the whole answer.
    void finish(Patience patience);

    /// Drops the exchange, if there is one, and its connection.
    void abandon() noexcept;

    /// True when the last exchange went over a connection that earlier ones had used.
    [[nodiscard]] bool wasReused() const { return m_wasReused; }

    [[nodiscard]] const ExchangeFigures &figures() const { return m_figures; }

    /// Requests with equal keys may share a transport one after the other.
    [[nodiscard]] static std::string keyOf(const ConnectionSettings &settings);

    [[nodiscard]] const std::string &key() const { return m_key; }

    void setConnectTimeout(std::chrono::seconds timeout) { vrc::setConnectTimeout(m_easy, timeout); }

private:
    struct FreeMulti
    {
        void operator()(CURLM *multi) const { curl_multi_cleanup(multi); }
    };

    struct FreeList
    {
        void operator()(curl_slist *list) const { curl_slist_free_all(list); }
    };

    using Headers = std::unique_ptr<curl_slist, FreeList>;
    using Clock = std::chrono::steady_clock;

    void setUpCallbacks();
    void settleAuthentication();
    void start();
    template <class Condition>
    void pump(Condition isReached, Patience patience);
    void requireProgress(Patience patience);
    [[nodiscard]] std::uint64_t movedBytes() const;
    [[nodiscard]] curl_socket_t activeSocket() const;
    void takeMessages();
    void conclude();
    void noteFigures();
    [[nodiscard]] bool isFrames() const;

    static std::size_t readBody(char *buffer, std::size_t size, std::size_t count, void *self);
    static std::size_t writeAnswer(char *bytes, std::size_t size, std::size_t count, void *self);
    static std::size_t readHeader(char *bytes, std::size_t size, std::size_t count, void *self);
    static int noteConnection(void *self, char *, char *, int, int);
    static int tuneSocket(void *self, curl_socket_t socket, curlsocktype purpose);

    std::string m_key;
    std::unique_ptr<CURLM, FreeMulti> m_multi; ///< outlives the easy handle that is in it
    EasyHandle m_easy;
    Headers m_plainHeaders;
    Headers m_chunkedHeaders;
    bool m_usesProxy = false;
    bool m_isSingleSignOn = false;
    bool m_needsSettling = false; ///< credentials have to be agreed on before a body is sent
    char m_errorText[CURL_ERROR_SIZE] = {};

    // Of the current or last exchange.
    AnswerSink *m_sink = nullptr;
    std::string_view m_pending; ///< bytes of the caller that are not handed over yet
    std::exception_ptr m_sinkFailure;
    ExchangeEnd m_end;
    ExchangeFigures m_figures;
    StallWatch m_watch;
    std::size_t m_headerBytes = 0;
    bool m_isBusy = false;
    bool m_isChunked = false;
    bool m_isPost = false;
    bool m_isBodyComplete = false;
    bool m_isPaused = false;
    bool m_hasTaken = false; ///< the transport library has taken bytes of m_pending
    bool m_isDone = false;
    bool m_wasReused = false;
};

} // namespace vrc
