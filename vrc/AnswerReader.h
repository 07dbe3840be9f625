// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/LocalFile.h"
#include "vrc/Transport.h"
#include "vrc/file_access.h"
#include "wire/FrameReader.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vrc {

/// What the answer to one request may hold.
struct Expectation
{
    bool isHello = false;
    bool isQuery = false;
    std::uint64_t firstNumber = 1; ///< of the commands in the request
    std::uint64_t lastNumber = 0;
    std::uint64_t waiting = 0;           ///< the command whose result is waited for; 0: none
    std::vector<std::uint64_t> forgiven; ///< queued commands whose failure is no failure of the queue
    std::string fetchedName;             ///< the object that it fetches; empty: none
    std::string fetchedPath; ///< where the bytes go when it is a file; empty: a new temporary file
    bool mayTravel = false;  ///< small objects may follow the result, as they do for a procedure
};

struct ReceivedObject
{
    wire::ObjectType type = wire::ObjectType::string;
    std::string name;
    std::string bytes;             ///< empty for a fetched file
    std::optional<LocalFile> file; ///< a fetched file that has no path of the caller's
};

struct Answer
{
    std::optional<wire::WelcomeFrame> welcome;
    std::optional<wire::ErrorInfo> requestError;  ///< of the request as a whole
    std::optional<wire::ErrorInfo> queuedError;   ///< of the first queued command that failed
    std::optional<wire::ErrorInfo> forgivenError; ///< of the first one whose failure is forgiven
    std::optional<wire::ErrorInfo> error;         ///< of the command that is waited for
    std::optional<std::string> result;            ///< of that command
    std::optional<wire::ProgressFrame> progress;
    std::uint64_t acknowledged = 0;
    std::vector<ReceivedObject> objects;
    bool isComplete = false;
};

/// Reads the frames of one answer, which may arrive in any pieces, in bounded memory, and refuses whatever
/// the request did not ask for (LOCAL/REQUEST/131).
class AnswerReader : public AnswerSink
{
public:
    explicit AnswerReader(Expectation expectation);

    /// The command that is waited for may become known while the request is still being written.
    void expect(const Expectation &expectation) { m_expectation = expectation; }

    void take(std::string_view bytes) override;

    [[nodiscard]] std::uint64_t framesTaken() const override { return m_frames; }

    /// To be called when the transport says that the answer is over; an answer cut short is
    /// LOCAL/REQUEST/104.
    void finish();

    [[nodiscard]] Answer &answer() { return m_answer; }

private:
    void takeFrame(wire::FrameType type, std::string_view payload);
    void takeWelcome(std::string_view payload);
    void takeResult(std::string_view payload);
    void takeAcknowledged(std::string_view payload);
    void takeError(std::string_view payload);
    void takeProgress(std::string_view payload);
    void takeComplete(std::string_view payload);
    void startObject(std::string_view payload);
    void openFile();
    void takeData(std::string_view bytes);
    void finishObject();
    [[nodiscard]] bool isForgiven(std::uint64_t number) const;
    [[nodiscard]] bool isFetched(const wire::ObjectFrame &object) const;

    Expectation m_expectation;
    wire::FrameReader m_reader{wire::Direction::answer};
    Answer m_answer;
    std::uint64_t m_frames = 0;
    std::uint64_t m_missingBytes = 0; ///< of the object that is being received
    std::size_t m_travellingBytes = 0;
    std::size_t m_forgivenErrors = 0;
    std::unique_ptr<FileWriter> m_file;
};

} // namespace vrc
