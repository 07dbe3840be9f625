// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/AnswerReader.h"
#include "vrc/LocalFile.h"
#include "vrc/SocketLog.h"
#include "vrc/Transport.h"
#include "vrc/connection_string.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vrc {

/// What one request sends: frames, and behind them the contents of a local file as data frames.
struct OutgoingBody
{
    std::string frames;
    std::optional<FileSlice> file;
    /// At the end of the frames: the contents of a file that fits into one data frame.
    std::size_t blockBytes = 0;

    [[nodiscard]] std::uint64_t bytes() const;
};

/// The requests of one session, one at a time: whole ones, and one that stays open while commands are queued.
/// Takes the transport from the pool when it is first needed and gives it back at the end. Throws what the
/// transport throws; an open stream is gone then.
class Channel
{
public:
    explicit Channel(const ConnectionSettings &settings);
    ~Channel();
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    /// Sends a body of known length and waits for its answer. `what` is for the log.
    [[nodiscard]] Answer exchange(const OutgoingBody &body, const Expectation &expectation, Patience patience,
                                  std::string_view what);

    [[nodiscard]] bool isStreaming() const { return m_isStreaming; }

    /// Starts a chunked request with these frames, which go with the first that are streamed.
    void openStream(std::string_view frames, const Expectation &expectation);

    /// Returns when the bytes are in the socket. The patience is that with a
    /// server which takes no bytes.
    void stream(const OutgoingBody &body, const Expectation &expectation, Patience patience,
                std::string_view what);

    /// Sends the last bytes, ends the request and waits for its answer.
    [[nodiscard]] Answer finishStream(const OutgoingBody &body, const Expectation &expectation,
                                      Patience patience, std::string_view what);

    /// What the server has said so far: of an exchange that failed, or of the open stream.
    [[nodiscard]] const Answer *partialAnswer() const { return m_reader ? &m_reader->answer() : nullptr; }

    /// Drops the exchange and its connection.
    void abandon() noexcept;

    /// True when the exchange that failed had been given a connection that was lost since it was last used.
    [[nodiscard]] bool hadLostConnection() const { return m_transport && m_transport->wasReused(); }

private:
    Transport &transport();
    void write(const OutgoingBody &body);
    void writeFile(const FileSlice &file);
    [[nodiscard]] Answer finish(Patience patience);

    template <class Action>
    void guarded(Action action);

    const ConnectionSettings &m_settings;
    SocketLog m_log;
    std::unique_ptr<Transport> m_transport;
    std::unique_ptr<AnswerReader> m_reader;
    std::string m_held; ///< first frames of the open stream, which go in one piece with the next
    bool m_isStreaming = false;
    Patience m_sendPatience = Patience::stall;
    bool m_hasSession = false;
};

} // namespace vrc
