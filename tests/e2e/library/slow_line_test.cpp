// SPDX-License-Identifier: MIT
#include "tests/support/FaultRelay.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/frame_text.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t blockBytes = 65536;
constexpr int relayBuffer = 4096; ///< the system takes twice as much, and may double that once more
constexpr std::uint64_t inRelay = 4 * relayBuffer; ///< at most, beside what has passed

/// A line that carries 50 kB/s to the server, each of its connections.
class SlowLine : public testing::Test
{
protected:
    static constexpr int blocks = 6;

    SlowLine()
        : m_relay(m_server.plainPort(),
                  std::vector<Fault>(4, Fault{Fault::Kind::drip, Fault::Way::toServer, 0, 10, 0, 500}),
                  relayBuffer),
          m_path(m_folder.write("document", incompressibleText(blocks * blockBytes)))
    {}

    void begin(LibraryRequest &request) const
    {
        const std::string create = "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|";
        ASSERT_TRUE(request.command("VR_CMD=|MISC:NOP| " + m_server.login()));
        ASSERT_TRUE(request.command(create + "DOC| FILENAME=|" + m_path + "|"));
        ASSERT_TRUE(request.command(create + "B| PERSIST=|0| FILENAME=|" + m_path + ".b|"));
        ASSERT_TRUE(request.command("VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|R| REPLACE=|YES|"));
    }

    /// The commands of a block; the most bytes that passed while one of them was waited for.
    std::uint64_t sendBlock(LibraryRequest &request, int number) const
    {
        std::uint64_t most = 0;
        for (const std::string &line :
             {"VR_CMD=|LOCAL:OBJECT:COPY| NAME=|B| SNAME=|DOC| NUM_BYTES=|65536| OFFSET=|" +
                  std::to_string(blockBytes * static_cast<std::uint64_t>(number)) + "|",
              std::string("VR_CMD=|OBJECT:REMOVE| NAME=|B|"), std::string("VR_CMD=|OBJECT:SEND| NAME=|B|"),
              std::string("VR_CMD=|OBJECT:FILE_APPEND| NAME=|R| SNAME=|B|")}) {
            const std::uint64_t before = m_relay.bytesToServer();
            EXPECT_TRUE(request.command(line)) << request.description();
            most = std::max(most, m_relay.bytesToServer() - before);
        }
        return most;
    }

    void waitForConnectionsToEnd(std::size_t count) const
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (m_relay.endedConnections() < count && std::chrono::steady_clock::now() < limit) {
            ::poll(nullptr, 0, 5);
        }
        EXPECT_GE(m_relay.endedConnections(), count);
    }

    ServerProcess m_server;
    FaultRelay m_relay;
    TemporaryFolder m_folder;
    std::string m_path;
};

} // namespace

/// Counted in bytes, not in time: a cancel waits for the command that is under way, and what has been handed
/// over to the system when the session is closed goes nowhere.
TEST_F(SlowLine, a_session_close_within_the_block_loop_takes_effect_within_a_block)
{
    LibraryRequest request(plainConnection(m_relay.port()));
    begin(request);
    ASSERT_FALSE(HasFatalFailure());
    for (int i = 0; i < blocks; ++i) {
        EXPECT_LE(sendBlock(request, i), blockBytes + inRelay) << "block " << i;
    }
    const std::uint64_t before = m_relay.bytesToServer();
    ASSERT_LT(before, blocks * blockBytes - blockBytes / 2) << "hardly anything is left to be dropped";
    EXPECT_TRUE(request.command("VR_CLOSE_SESSION=|YES|")) << request.description();
    waitForConnectionsToEnd(1);
    EXPECT_LT(m_relay.bytesToServer() - before, blockBytes / 2);
    EXPECT_EQ(m_relay.connections(), 2U);
}
