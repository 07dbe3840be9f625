// SPDX-License-Identifier: MIT
#include "tests/support/LibraryUpload.h"
#include "tests/support/MeddlingPeer.h"
#include "tests/support/SharedServerTest.h"
#include "tests/support/file_bytes.h"

#include <gtest/gtest.h>

namespace {

/// The numbers with which this command passed.
std::vector<std::uint64_t> numbersOf(const std::string &line, const MeddlingPeer &peer)
{
    std::vector<std::uint64_t> numbers;
    for (const PassedCommand &command : peer.passed()) {
        if (command.line == line) {
            numbers.push_back(command.number);
        }
    }
    return numbers;
}

/// The server carries a request out, and its answer never arrives.
class LostAnswers : public SharedServerTest
{
protected:
    LostAnswers() : m_text(incompressibleText(200'000)), m_path(m_folder.write("document", m_text)) {}

    /// The number of the procedure in an upload that loses nothing.
    std::uint64_t procedureNumber()
    {
        if (m_procedureNumber == 0) {
            MeddlingPeer peer(s_server->plainPort());
            LibraryUpload print(plainConnection(peer.port()), s_server->login(), m_path);
            EXPECT_TRUE(print.run()) << print.description();
            m_procedureNumber = numbersOf(procedure, peer).at(0);
        }
        return m_procedureNumber;
    }

    /// An upload that loses answers to the request with this command still stores one document.
    void expectStoredOnce(std::uint64_t number, int times, bool losesWhatFollows)
    {
        MeddlingPeer peer(s_server->plainPort());
        losesWhatFollows ? peer.loseAnswersFrom(number, times) : peer.loseAnswersTo(number, times);
        const std::size_t before = s_server->documents().size();
        LibraryUpload print(plainConnection(peer.port()), s_server->login(), m_path);
        EXPECT_TRUE(print.run()) << print.error() << print.description() << print.failedCommand();
        EXPECT_EQ(peer.lossesLeft(), 0);
        EXPECT_EQ(s_server->documents().size(), before + 1);
        EXPECT_TRUE(s_server->storedText(print.identifier()) == m_text);
    }

    static constexpr const char *procedure = "VR_PROC=|ProcessFile| QUEUE=|demo|";

    std::uint64_t m_procedureNumber = 0;
    TemporaryFolder m_folder;
    std::string m_text;
    std::string m_path;
};

/// A session with a block for the object "0", whose name stands in the variable TARGET.
void openWithBlock(LibraryRequest &request, const std::string &login, const std::string &path)
{
    for (const std::string &line :
         {"VR_CMD=|MISC:NOP| " + login,
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|DOC| FILENAME=|" + path + "|",
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|B| PERSIST=|0| FILENAME=|" + path + ".b|",
          std::string("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|B| SNAME=|DOC| OFFSET=|0| NUM_BYTES=|65536|"),
          std::string("VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|0|"),
          std::string("VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|0| VR_VAR=|TARGET|"),
          std::string("VR_CMD=|OBJECT:SEND| NAME=|B|")}) {
        ASSERT_TRUE(request.command(line)) << line << request.description();
    }
}

} // namespace

/// Of the appends of the block loop, and of everything else that an upload sends. The second loss is the one
/// that the program hears of, but for the first request: its connection was not kept from an earlier one.
TEST_F(LostAnswers, to_any_request_of_an_upload_store_one_document)
{
    MeddlingPeer peer(s_server->plainPort());
    LibraryUpload print(plainConnection(peer.port()), s_server->login(), m_path);
    ASSERT_TRUE(print.run()) << print.description();
    for (const PassedCommand &command : peer.passed()) {
        if (command.isQueued) {
            continue;
        }
        SCOPED_TRACE(std::to_string(command.number) + ' ' + command.line);
        expectStoredOnce(command.number, 1, false);
        if (command.number > 1) {
            expectStoredOnce(command.number, 2, false);
            expectStoredOnce(command.number, 2, true);
        }
    }
}

/// Without an offset, since the library does not know the object: its number alone keeps it from being
/// appended twice.
TEST_F(LostAnswers, to_an_append_that_is_repeated_append_once)
{
    MeddlingPeer peer(s_server->plainPort());
    peer.loseAnswersTo(5, 2);
    LibraryRequest request(plainConnection(peer.port()));
    openWithBlock(request, s_server->login(), m_path);
    const std::string line = "VR_CMD=|OBJECT:FILE_APPEND| NAME=|##TARGET| SNAME=|B| VR_KEEP_VAR=|YES|";
    EXPECT_FALSE(request.command(line));
    EXPECT_EQ(request.error(), "LOCAL/REQUEST/104");
    EXPECT_TRUE(request.command(line)) << request.error() << request.description();
    EXPECT_EQ(numbersOf(line, peer), std::vector<std::uint64_t>(3, 5));
    const std::string fetched = (m_folder.path() / "fetched").string();
    ASSERT_TRUE(
        request.command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|0| FILENAME=|" + fetched + "|"));
    ASSERT_TRUE(request.command("VR_CMD=|OBJECT:GET| NAME=|0|")) << request.description();
    EXPECT_TRUE(fileBytes(fetched) == m_text.substr(0, 65536));
    EXPECT_TRUE(request.command("VR_CMD=|OBJECT:FILE_APPEND| NAME=|##TARGET| SNAME=|B| VR_KEEP_VAR=|YES|"));
    ASSERT_TRUE(request.command("VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|0|"));
    EXPECT_EQ(request.result(), "131072") << "the same text later is a command of its own";
    EXPECT_TRUE(request.command("VR_CLOSE_SESSION=|YES|"));
}

TEST_F(LostAnswers, to_the_procedure_that_is_repeated_store_one_document)
{
    for (const bool isRepeated : {true, false}) {
        MeddlingPeer peer(s_server->plainPort());
        peer.loseAnswersTo(procedureNumber(), 3);
        const std::size_t before = s_server->documents().size();
        std::string identifier;
        LibraryUpload print(plainConnection(peer.port()), s_server->login(), m_path);
        print.beforeClose = [&](LibraryRequest &request) {
            // Another command in its place asks what became of it.
            EXPECT_TRUE(request.command(isRepeated ? procedure : "VR_CMD=|MISC:NOP|"))
                << request.description();
            EXPECT_TRUE(request.command("VR_CMD=|OBJECT:GET| NAME=|FILE_ID|")) << request.description();
            EXPECT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|"));
            identifier = request.result();
        };
        EXPECT_FALSE(print.run());
        EXPECT_EQ(print.error(), "LOCAL/REQUEST/104") << print.description();
        EXPECT_EQ(print.failedCommand(), procedure);
        EXPECT_EQ(numbersOf(procedure, peer),
                  std::vector<std::uint64_t>(isRepeated ? 4 : 3, procedureNumber()));
        EXPECT_EQ(s_server->documents().size(), before + 1);
        EXPECT_TRUE(s_server->storedText(identifier) == m_text);
    }
}
