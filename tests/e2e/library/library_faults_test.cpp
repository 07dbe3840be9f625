// SPDX-License-Identifier: MIT
#include "tests/support/FaultRelay.h"
#include "tests/support/HttpPeer.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SharedServerTest.h"

#include <gtest/gtest.h>

namespace {

/// Each upload is a document of its own.
class UploadFaults : public SharedServerTest
{
protected:
    static void SetUpTestSuite()
    {
        SharedServerTest::SetUpTestSuite();
        s_stored = 0;
    }

    struct Traffic
    {
        std::uint64_t toServer = 0;
        std::uint64_t toClient = 0;
    };

    /// Uploads through a relay with these faults and checks what holds for every one of them.
    Traffic upload(const std::vector<Fault> &faults, const std::string &name)
    {
        const std::string text = incompressibleText(200'000, ++m_seed);
        const std::string path = m_folder.write("document", text);
        FaultRelay relay(s_server->plainPort(), faults);
        std::string identifier;
        {
            LibraryUpload print(plainConnection(relay.port()), s_server->login(), path);
            m_isDone = print.run();
            m_error = print.error();
            identifier = print.identifier();
            EXPECT_TRUE(m_isDone || m_error == "LOCAL/REQUEST/104")
                << name << ": " << m_error << print.description() << print.failedCommand();
        }
        m_connections = relay.connections();
        const std::size_t before = std::exchange(s_stored, s_server->documents().size());
        EXPECT_EQ(s_stored - before, m_isDone ? 1U : 0U) << name;
        EXPECT_TRUE(!m_isDone || s_server->storedText(identifier) == text) << name;
        EXPECT_FALSE(std::filesystem::exists(path + ".tmp")) << name;
        EXPECT_FALSE(std::filesystem::exists(path + ".tmpc")) << name;
        return {relay.bytesToServer(), relay.bytesToClient()};
    }

    /// The same fault at points spread over the whole upload, both ways, on the first connection.
    void sweep(Fault::Kind kind, int points)
    {
        const Traffic whole = upload({}, "without a fault");
        ASSERT_TRUE(m_isDone) << m_error;
        for (const Fault::Way way : {Fault::Way::toServer, Fault::Way::toClient}) {
            const std::uint64_t bytes = way == Fault::Way::toServer ? whole.toServer : whole.toClient;
            for (int point = 0; point < points; ++point) {
                const std::uint64_t after =
                    bytes * static_cast<std::uint64_t>(point) / static_cast<std::uint64_t>(points);
                const std::string name =
                    std::string(way == Fault::Way::toServer ? "to server" : "to client") + " after " +
                    std::to_string(after);
                upload({{kind, way, after, 0}}, name);
                EXPECT_TRUE(m_isDone) << name << ": " << m_error;
            }
        }
    }

    static inline std::size_t s_stored; ///< documents on the server
    ScopedVariable m_stallTimeout{"VRC_STALL_TIMEOUT_MS", "3000"};
    ScopedVariable m_answerTimeout{"VRC_ANSWER_TIMEOUT_MS", "3000"};
    TemporaryFolder m_folder;
    std::uint32_t m_seed = 0;
    bool m_isDone = false;
    std::string m_error;
    std::size_t m_connections = 0;
};

} // namespace

TEST_F(UploadFaults, one_connection_does_for_an_upload)
{
    upload({}, "without a fault");
    EXPECT_TRUE(m_isDone) << m_error;
    EXPECT_EQ(m_connections, 1U);
}

TEST_F(UploadFaults, a_cut_anywhere_is_got_over)
{
    sweep(Fault::Kind::cut, 14);
}

TEST_F(UploadFaults, a_reset_anywhere_is_got_over)
{
    sweep(Fault::Kind::reset, 14);
}

TEST_F(UploadFaults, a_stall_anywhere_is_got_over)
{
    sweep(Fault::Kind::stall, 4);
}

TEST_F(UploadFaults, a_line_that_drips_is_slow_but_good)
{
    upload({{Fault::Kind::drip, Fault::Way::toServer, 150'000, 0}}, "dripping");
    EXPECT_TRUE(m_isDone) << m_error;
    EXPECT_EQ(m_connections, 1U);
}

TEST_F(UploadFaults, a_line_that_closes_every_time_still_gets_the_document_through)
{
    for (const std::uint64_t bytes : {70'000U, 100'000U, 150'000U}) {
        const std::vector<Fault> faults(40, Fault{Fault::Kind::cut, Fault::Way::toServer, bytes, 0});
        upload(faults, "each connection closes after " + std::to_string(bytes));
        EXPECT_TRUE(m_isDone) << bytes << ": " << m_error;
    }
}

/// A reset also takes what has arrived and was not read yet: such a line may carry nothing at all.
TEST_F(UploadFaults, a_line_that_resets_every_time_gets_the_document_through_or_says_so)
{
    for (const std::uint64_t bytes : {70'000U, 100'000U, 150'000U}) {
        const std::vector<Fault> faults(40, Fault{Fault::Kind::reset, Fault::Way::toServer, bytes, 0});
        upload(faults, "each connection breaks after " + std::to_string(bytes));
    }
}

TEST_F(UploadFaults, a_line_that_never_carries_anything_is_a_network_error)
{
    upload(std::vector<Fault>(40, Fault{Fault::Kind::cut, Fault::Way::toClient, 0, 0}), "dead");
    EXPECT_FALSE(m_isDone);
}

/// Without TLS nothing else notices: the sizes are right, the contents are not.
TEST_F(UploadFaults, a_corrupted_block_is_never_stored)
{
    const std::string path = m_folder.write("document", incompressibleText(200'000, 77));
    FaultRelay relay(s_server->plainPort(), {{Fault::Kind::corrupt, Fault::Way::toServer, 100'000, 0}});
    LibraryUpload print(plainConnection(relay.port()), s_server->login(), path);
    EXPECT_FALSE(print.run());
    EXPECT_EQ(print.error(), "SYSTEM/OBJECT/105") << print.failedCommand();
    EXPECT_EQ(s_server->documents().size(), s_stored);
}

TEST_F(UploadFaults, closing_within_the_block_loop_does_not_wait_for_it)
{
    const std::string path = m_folder.write("document", incompressibleText(2'000'000, 5));
    FaultRelay relay(s_server->plainPort(), {{Fault::Kind::stall, Fault::Way::toServer, 300'000, 0}});
    LibraryRequest request(plainConnection(relay.port()));
    ASSERT_TRUE(request.command("VR_CMD=|MISC:NOP| " + s_server->login()));
    ASSERT_TRUE(
        request.command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|DOC| FILENAME=|" + path + "|"));
    ASSERT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|B| PERSIST=|0| FILENAME=|" +
                                path + ".b|"));
    ASSERT_TRUE(request.command("VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|R| REPLACE=|YES|"));
    for (int i = 0; i < 4; ++i) {
        const std::string copy = "VR_CMD=|LOCAL:OBJECT:COPY| NAME=|B| SNAME=|DOC| NUM_BYTES=|65536| OFFSET=|";
        ASSERT_TRUE(request.command(copy + std::to_string(65536 * i) + "|"));
        ASSERT_TRUE(request.command("VR_CMD=|OBJECT:SEND| NAME=|B|")) << request.description();
        ASSERT_TRUE(request.command("VR_CMD=|OBJECT:FILE_APPEND| NAME=|R| SNAME=|B|"));
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(request.command("VR_CLOSE_SESSION=|YES|")) << request.description();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1400));
    EXPECT_EQ(relay.connections(), 2U);
}

/// What a send does: directory, upload and portal, one after the other.
TEST_F(UploadFaults, requests_to_the_same_server_share_a_connection)
{
    const std::string path = m_folder.write("document", incompressibleText(200'000, 9));
    FaultRelay relay(s_server->plainPort(), {});
    for (int i = 0; i < 3; ++i) {
        LibraryUpload print(plainConnection(relay.port()), s_server->login(), path);
        EXPECT_TRUE(print.run()) << print.description();
        ++s_stored;
    }
    EXPECT_EQ(relay.connections(), 1U);
}

namespace {

/// Stands before a server and takes no chunked bodies, or none that are longer than so many bytes.
class StrictGateway
{
public:
    StrictGateway(int serverPort, bool takesChunks, std::size_t maxBytes)
        : m_peer([=, this](PeerRequest &request, LoopbackSocket &socket) {
              const std::string body = request.readAll();
              m_longest = std::max(m_longest.load(), request.isChunked() ? 0 : body.size());
              if (request.isChunked() && !takesChunks) {
                  return refuse(socket, "411 Length Required");
              }
              return body.size() > maxBytes
                         ? refuse(socket, "413 Content Too Large")
                         : socket.send(HttpPeer::answer(HttpPeer::askServer(serverPort, body)));
          })
    {}

    [[nodiscard]] int port() const { return m_peer.port(); }

    [[nodiscard]] int refusals() const { return m_refusals; }

    /// Of the bodies of known length.
    [[nodiscard]] std::size_t longestBody() const { return m_longest; }

private:
    bool refuse(const LoopbackSocket &socket, const std::string &status)
    {
        ++m_refusals;
        socket.send("HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
        return false;
    }

    std::atomic<int> m_refusals = 0;
    std::atomic<std::size_t> m_longest = 0;
    HttpPeer m_peer;
};

} // namespace

TEST_F(UploadFaults, where_chunked_bodies_are_refused_bodies_of_known_length_go)
{
    const std::string path = m_folder.write("document", incompressibleText(900'000, 10));
    StrictGateway gateway(s_server->plainPort(), false, 10'000'000);
    LibraryUpload print(plainConnection(gateway.port()), s_server->login(), path);
    EXPECT_TRUE(print.run()) << print.description() << print.failedCommand();
    ++s_stored;
    EXPECT_EQ(gateway.refusals(), 1);
    EXPECT_LE(gateway.longestBody(), 256U * 1024 + 1024);
    EXPECT_TRUE(s_server->storedText(print.identifier()) == incompressibleText(900'000, 10));
}

TEST_F(UploadFaults, where_long_bodies_are_refused_shorter_ones_go)
{
    const std::string path = m_folder.write("document", incompressibleText(900'000, 11));
    StrictGateway gateway(s_server->plainPort(), true, 100'000);
    LibraryUpload print(plainConnection(gateway.port()), s_server->login(), path);
    EXPECT_TRUE(print.run()) << print.description() << print.failedCommand();
    ++s_stored;
    EXPECT_TRUE(s_server->storedText(print.identifier()) == incompressibleText(900'000, 11));
}

TEST_F(UploadFaults, where_not_even_a_block_passes_the_upload_fails)
{
    const std::string path = m_folder.write("document", incompressibleText(200'000, 12));
    StrictGateway gateway(s_server->plainPort(), true, 20'000);
    LibraryUpload print(plainConnection(gateway.port()), s_server->login(), path);
    EXPECT_FALSE(print.run());
    EXPECT_EQ(print.error(), "LOCAL/REQUEST/131") << print.description();
    EXPECT_EQ(s_server->documents().size(), s_stored);
}
