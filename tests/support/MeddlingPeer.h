// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/HttpPeer.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// A command as it passed on its way to the server.
struct PassedCommand
{
    std::uint64_t number = 0;
    bool isQueued = false;
    std::string line;

    /// "OBJECT:SEND"; empty of a procedure.
    [[nodiscard]] std::string name() const;
};

/// Stands before a server without TLS: knows every command that passes, makes the server fail one of them,
/// loses answers, and takes no chunked bodies where that is wanted. Set up before its first request.
class MeddlingPeer
{
public:
    explicit MeddlingPeer(int serverPort);

    /// The command of this number reaches the server with an object that no server has. Once: a later session
    /// passes unharmed.
    void spoil(std::uint64_t number);

    /// So many answers to requests with the command of this number are lost, after the server has carried
    /// everything out: the connection ends instead.
    void loseAnswersTo(std::uint64_t number, int times);

    /// Like loseAnswersTo(), but the answers behind the first that is lost are lost whatever the request was.
    void loseAnswersFrom(std::uint64_t number, int times);

    /// 411 for every chunked body.
    void refuseChunks();

    [[nodiscard]] int port() const { return m_peer.port(); }

    /// Every command that has passed, in order; one that was sent again stands there again.
    [[nodiscard]] std::vector<PassedCommand> passed() const;

    /// What the server answered, also where the answer was lost, as AnswerText has it.
    [[nodiscard]] std::vector<std::string> answered() const;

    /// The descriptions of the errors among that.
    [[nodiscard]] std::vector<std::string> descriptions() const;

    /// Answers that are still to be lost.
    [[nodiscard]] int lossesLeft() const;

private:
    bool serve(PeerRequest &request, const LoopbackSocket &socket);
    std::string read(std::string_view body, std::vector<PassedCommand> &commands);
    bool isLost(const std::vector<PassedCommand> &commands);

    int m_serverPort;
    std::uint64_t m_spoilt = 0;
    std::uint64_t m_lostNumber = 0;
    int m_losses = 0;
    bool m_losesWhatFollows = false;
    bool m_isLosing = false;
    bool m_refusesChunks = false;
    mutable std::mutex m_mutex;
    std::vector<PassedCommand> m_passed;
    std::vector<std::string> m_answered;
    std::vector<std::string> m_descriptions;
    HttpPeer m_peer; ///< the last one: its thread uses the others
};
