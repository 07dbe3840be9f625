// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/HttpPeer.h"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

/// An HTTP answer that is not that of an application server.
struct BadAnswer
{
    std::string className;
    std::string name;
    /// Gives the answer; false: the connection is closed then.
    std::function<bool(const LoopbackSocket &socket)> give;
};

/// All of them.
[[nodiscard]] std::vector<BadAnswer> badAnswers();

/// When and how a bad answer is given.
struct Manner
{
    const char *name;
    bool isLasting;    ///< from then on; else once
    bool isCarriedOut; ///< the server's answer is replaced; else it never gets the request
    bool isEarly;      ///< behind the header of the request; the connection is closed
};

inline constexpr Manner manners[] = {{"once", false, false, false},
                                     {"once, carried out", false, true, false},
                                     {"once, early", false, false, true},
                                     {"from then on", true, false, false}};

/// Stands before a server and answers some requests in its place.
class BadGateway
{
public:
    BadGateway(int serverPort, std::size_t position, const Manner &manner, const BadAnswer *bad)
        : m_serverPort(serverPort), m_position(position), m_manner(manner), m_bad(bad),
          m_peer([this](PeerRequest &request, LoopbackSocket &socket) { return answer(request, socket); })
    {}

    [[nodiscard]] int port() const { return m_peer.port(); }

    [[nodiscard]] std::size_t requests() const { return m_requests; }

private:
    bool answer(PeerRequest &request, const LoopbackSocket &socket)
    {
        const std::size_t number = ++m_requests;
        const bool isBad =
            m_bad != nullptr && (m_manner.isLasting ? number >= m_position : number == m_position);
        if (isBad && m_manner.isEarly) {
            m_bad->give(socket);
            return false;
        }
        const std::string body = request.readAll();
        const std::string frames =
            isBad && !m_manner.isCarriedOut ? std::string() : HttpPeer::askServer(m_serverPort, body);
        return isBad ? m_bad->give(socket) : socket.send(HttpPeer::answer(frames));
    }

    const int m_serverPort;
    const std::size_t m_position;
    const Manner m_manner;
    const BadAnswer *m_bad;
    std::atomic<std::size_t> m_requests = 0;
    HttpPeer m_peer;
};
