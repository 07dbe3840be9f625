// SPDX-License-Identifier: MIT

// What stands between a program and the server at a port without TLS, as sweeps of whole programs need it:
// bad_server PORT prints the authority that its certificate comes from (PEM), a line for each way to be bad,
//     answer|CLASS|NAME           what is no HTTP answer, behind a good certificate
//     impostor|NAME|ERROR         a certificate that must be refused, before a good server
// and an empty line. For each line "WAY REQUEST" that it reads it stands there anew and prints its port: bad
// in that way (counted from 0; -1: in none) at that request. "stop" ends this; it prints how many requests
// and how many bytes within TLS have come.

#include "tests/torture/Impostors.h"
#include "tests/torture/bad_answers.h"

#include <charconv>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

namespace {

/// A way to be bad; without an answer and without an impostor: none.
struct Way
{
    std::optional<BadAnswer> answer;
    Manner manner = manners[0];
    std::optional<Impostor> impostor;
};

std::vector<Way> allWays(const Impostors &impostors)
{
    std::vector<Way> ways;
    for (const BadAnswer &answer : badAnswers()) {
        for (const Manner &manner : manners) {
            ways.push_back({answer, manner, {}});
        }
    }
    for (const Impostor &impostor : impostors.all()) {
        ways.push_back({{}, manners[0], impostor});
    }
    return ways;
}

void print(const Way &way)
{
    if (way.impostor) {
        std::cout << "impostor|" << way.impostor->name << '|' << way.impostor->error << '\n';
    } else {
        std::cout << "answer|" << way.answer->className << '|' << way.answer->name << ", " << way.manner.name
                  << '\n';
    }
}

class BadServer
{
public:
    BadServer(int serverPort, std::size_t position, const Way &way, const TlsTerminator::Identity &good)
        : m_gateway(serverPort, position, way.manner, way.answer ? &*way.answer : nullptr),
          m_tls(way.impostor ? way.impostor->identity : good, m_gateway.port())
    {}

    [[nodiscard]] int port() const { return m_tls.port(); }

    [[nodiscard]] std::size_t requests() const { return m_gateway.requests(); }

    [[nodiscard]] std::size_t receivedBytes() const { return m_tls.receivedBytes(); }

private:
    BadGateway m_gateway;
    TlsTerminator m_tls;
};

void obey(int serverPort, const std::vector<Way> &ways, const TlsTerminator::Identity &good)
{
    const Way harmless;
    std::unique_ptr<BadServer> server;
    for (std::string line; std::getline(std::cin, line);) {
        if (line == "stop" && server) {
            std::cout << server->requests() << ' ' << server->receivedBytes() << std::endl;
            server.reset();
            continue;
        }
        int way = -1;
        std::size_t position = 0;
        std::istringstream(line) >> way >> position;
        server = std::make_unique<BadServer>(
            serverPort, position, way < 0 ? harmless : ways.at(static_cast<std::size_t>(way)), good);
        std::cout << server->port() << std::endl;
    }
}

} // namespace

int main(int argc, char **argv)
{
    ::signal(SIGPIPE, SIG_IGN); // OpenSSL writes to whoever has gone
    const std::string_view port = argc == 2 ? argv[1] : "";
    int serverPort = 0;
    if (std::from_chars(port.data(), port.data() + port.size(), serverPort).ec != std::errc()) {
        std::cerr << "usage: bad_server PORT\n";
        return 2;
    }
    const Impostors impostors;
    const std::vector<Way> ways = allWays(impostors);
    std::cout << impostors.root();
    for (const Way &way : ways) {
        print(way);
    }
    std::cout << std::endl;
    obey(serverPort, ways, impostors.good());
    return 0;
}
