// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/LoopbackSocket.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What a relay does to one connection, after so many bytes in one direction.
struct Fault
{
    enum class Kind
    {
        none,
        cut,     ///< both sides see an orderly end
        reset,   ///< both sides see a reset
        stall,   ///< nothing moves any more, in either direction
        drip,    ///< the rest goes through in pieces of dripBytes, one each dripMs
        corrupt, ///< the next byte is changed by the mask; the rest passes
    };
    enum class Way
    {
        toServer,
        toClient
    };

    Kind kind = Kind::none;
    Way way = Way::toServer;
    std::uint64_t afterBytes = 0;
    int dripMs = 1;
    unsigned char mask = 0x55;
    std::size_t dripBytes = 1;
};

/// A TCP relay on the loopback interface that hurts connections as told: the first fault is for the first
/// connection, and so on; the others pass unharmed. It ends at once, whatever its connections do.
class FaultRelay
{
public:
    /// With a receive buffer of so many bytes, little waits within the relay; 0: the system's.
    FaultRelay(int targetPort, std::vector<Fault> faults, int receiveBuffer = 0);
    ~FaultRelay();
    FaultRelay(const FaultRelay &) = delete;
    FaultRelay &operator=(const FaultRelay &) = delete;

    [[nodiscard]] int port() const { return m_port; }

    [[nodiscard]] std::size_t connections() const { return m_connections; }

    /// Connections that are over: nothing passes there any more.
    [[nodiscard]] std::size_t endedConnections() const { return m_ended; }

    /// Bytes of all connections so far.
    [[nodiscard]] std::uint64_t bytesToServer() const { return m_toServer; }

    [[nodiscard]] std::uint64_t bytesToClient() const { return m_toClient; }

    /// From here on what passes is kept for recorded().
    void record() { m_isRecording = true; }

    /// The bytes of all connections one way.
    [[nodiscard]] std::string recorded(Fault::Way way) const
    {
        const std::lock_guard lock(m_mutex);
        return way == Fault::Way::toServer ? m_recordedToServer : m_recordedToClient;
    }

private:
    struct Pair
    {
        LoopbackSocket client;
        LoopbackSocket server;
        Fault fault;
        std::uint64_t toServer = 0;
        std::uint64_t toClient = 0;
        std::thread thread;
    };

    void acceptAll();
    void relay(Pair &pair);
    bool pass(Pair &pair, Fault::Way way);
    bool hurt(Pair &pair, const LoopbackSocket &to, std::string &bytes, std::size_t harmless);
    bool drip(const Pair &pair, const LoopbackSocket &to, const std::string &bytes) const;
    void note(Fault::Way way, const std::string &bytes);
    bool waitForEnd(int milliseconds) const;

    int m_targetPort;
    std::vector<Fault> m_faults;
    LoopbackSocket m_listener;
    int m_port = 0;
    std::atomic<bool> m_isEnding = false;
    std::atomic<std::size_t> m_connections = 0;
    std::atomic<std::size_t> m_ended = 0;
    std::atomic<std::uint64_t> m_toServer = 0;
    std::atomic<std::uint64_t> m_toClient = 0;
    std::atomic<bool> m_isRecording = false;
    std::string m_recordedToServer;
    std::string m_recordedToClient;
    mutable std::mutex m_mutex;
    /// Readable at one end when the relay ends.
    std::array<LoopbackSocket, 2> m_wake = LoopbackSocket::pair();
    std::list<Pair> m_pairs;
    std::thread m_acceptor;
};
