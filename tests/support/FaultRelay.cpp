// SPDX-License-Identifier: MIT
#include "tests/support/FaultRelay.h"

#include <algorithm>

FaultRelay::FaultRelay(int targetPort, std::vector<Fault> faults, int receiveBuffer)
    : m_targetPort(targetPort), m_faults(std::move(faults)),
      m_listener(LoopbackSocket::listener(receiveBuffer)), m_port(m_listener.port()),
      m_acceptor([this] { acceptAll(); })
{}

FaultRelay::~FaultRelay()
{
    m_isEnding = true;
    m_wake[0].shutDown();
    m_listener.shutDown();
    m_acceptor.join();
    for (Pair &pair : m_pairs) {
        pair.thread.join();
    }
}

void FaultRelay::acceptAll()
{
    while (!m_isEnding) {
        LoopbackSocket client = m_listener.accept();
        if (!client.isOpen()) {
            return;
        }
        const std::size_t number = m_connections++;
        const std::lock_guard lock(m_mutex);
        Pair &pair = m_pairs.emplace_back();
        pair.client = std::move(client);
        pair.server = LoopbackSocket::connection(m_targetPort);
        pair.fault = number < m_faults.size() ? m_faults[number] : Fault{};
        pair.thread = std::thread([this, &pair] { relay(pair); });
    }
}

void FaultRelay::relay(Pair &pair)
{
    bool isAlive = pair.server.isOpen();
    while (isAlive && !m_isEnding) {
        std::array<pollfd, 3> entries = {{{pair.client.descriptor(), POLLIN, 0},
                                          {pair.server.descriptor(), POLLIN, 0},
                                          {m_wake[1].descriptor(), POLLIN, 0}}};
        ::poll(entries.data(), entries.size(), -1);
        if (entries[0].revents != 0) {
            isAlive = pass(pair, Fault::Way::toServer);
        }
        if (isAlive && entries[1].revents != 0) {
            isAlive = pass(pair, Fault::Way::toClient);
        }
    }
    pair.client.close();
    pair.server.close();
    ++m_ended;
}

/// Moves what has arrived one way. False when the connection is over.
bool FaultRelay::pass(Pair &pair, Fault::Way way)
{
    const bool toServer = way == Fault::Way::toServer;
    const LoopbackSocket &from = toServer ? pair.client : pair.server;
    const LoopbackSocket &to = toServer ? pair.server : pair.client;
    std::string bytes = from.receive();
    std::uint64_t &passed = toServer ? pair.toServer : pair.toClient;
    const bool isHurt = pair.fault.kind != Fault::Kind::none && pair.fault.way == way &&
                        passed + bytes.size() > pair.fault.afterBytes;
    if (bytes.empty()) {
        return false;
    }
    note(way, bytes);
    if (isHurt) {
        const std::uint64_t harmless = pair.fault.afterBytes > passed ? pair.fault.afterBytes - passed : 0;
        passed += bytes.size();
        return hurt(pair, to, bytes, static_cast<std::size_t>(harmless));
    }
    passed += bytes.size();
    return to.send(bytes);
}

bool FaultRelay::hurt(Pair &pair, const LoopbackSocket &to, std::string &bytes, std::size_t harmless)
{
    switch (pair.fault.kind) {
    case Fault::Kind::cut:
        to.send(std::string_view(bytes).substr(0, harmless));
        return false;
    case Fault::Kind::reset:
        to.send(std::string_view(bytes).substr(0, harmless));
        pair.client.reset();
        pair.server.reset();
        return false;
    case Fault::Kind::stall:
        to.send(std::string_view(bytes).substr(0, harmless));
        waitForEnd(-1);
        return false;
    case Fault::Kind::drip:
        return drip(pair, to, bytes);
    case Fault::Kind::corrupt:
        bytes[harmless] = static_cast<char>(bytes[harmless] ^ pair.fault.mask);
        pair.fault.kind = Fault::Kind::none;
        return to.send(bytes);
    case Fault::Kind::none:
        break;
    }
    return to.send(bytes);
}

bool FaultRelay::drip(const Pair &pair, const LoopbackSocket &to, const std::string &bytes) const
{
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const std::string_view piece = rest.substr(0, pair.fault.dripBytes);
        if (waitForEnd(pair.fault.dripMs) || !to.send(piece)) {
            return false;
        }
        rest.remove_prefix(piece.size());
    }
    return true;
}

void FaultRelay::note(Fault::Way way, const std::string &bytes)
{
    (way == Fault::Way::toServer ? m_toServer : m_toClient) += bytes.size();
    if (m_isRecording) {
        const std::lock_guard lock(m_mutex);
        (way == Fault::Way::toServer ? m_recordedToServer : m_recordedToClient) += bytes;
    }
}

/// True when the relay is being ended; otherwise after that time. Negative: no limit.
bool FaultRelay::waitForEnd(int milliseconds) const
{
    pollfd entry = {m_wake[1].descriptor(), POLLIN, 0};
    ::poll(&entry, 1, milliseconds);
    return m_isEnding;
}
