// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/HttpPeer.h"

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

/// Makes up the answers of a server that has lost its mind, the same ones for the same seed: what a good
/// server would say, with values, errors and whole frames of its own choice among it, bits turned and ends
/// missing.
class WildAnswers
{
public:
    explicit WildAnswers(std::uint64_t seed) : m_random(seed) {}

    /// The frames that answer a request's frames.
    [[nodiscard]] std::string to(std::string_view request);

private:
    [[nodiscard]] bool happens(unsigned percent) { return number(100) < percent; }

    [[nodiscard]] std::uint64_t number(std::uint64_t below) { return m_random() % below; }

    [[nodiscard]] std::uint64_t anyNumber();
    [[nodiscard]] std::string text();
    [[nodiscard]] std::string value(std::string_view name);
    void answerCommand(std::string &frames, std::uint64_t commandNumber, std::string_view line);
    void addObject(std::string &frames, const std::string &name);
    void addAnyFrame(std::string &frames);
    void damage(std::string &frames);

    std::mt19937_64 m_random;
};

/// A server of such answers, without TLS.
class WildServer
{
public:
    explicit WildServer(std::uint64_t seed)
        : m_answers(seed), m_peer([this](PeerRequest &request, LoopbackSocket &socket) {
              socket.send(HttpPeer::answer(m_answers.to(request.readAll())));
              return false;
          })
    {}

    [[nodiscard]] int port() const { return m_peer.port(); }

    [[nodiscard]] int connections() const { return m_peer.connections(); }

private:
    WildAnswers m_answers;
    HttpPeer m_peer;
};
