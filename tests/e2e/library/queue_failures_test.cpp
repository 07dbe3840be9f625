// SPDX-License-Identifier: MIT
#include "tests/support/LibraryUpload.h"
#include "tests/support/MeddlingPeer.h"
#include "tests/support/SharedServerTest.h"
#include "tests/support/frame_text.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using Commands = std::vector<PassedCommand>;

/// What else happens to an upload of which a queued command fails.
enum class Line
{
    good,
    knownLengths,   ///< no chunked body passes
    answerLost,     ///< the answer that tells of the failure is lost once
    answerLostTwice ///< and once more, so that the program hears of a network error
};

std::string nameOf(Line line)
{
    switch (line) {
    case Line::good:
        return "on_a_good_line";
    case Line::knownLengths:
        return "in_bodies_of_known_length";
    case Line::answerLost:
        return "with_a_lost_answer";
    case Line::answerLostTwice:
        return "with_two_lost_answers";
    }
    return {};
}

/// Every queued command of a whole upload fails once, each in an upload of its own.
class QueueFailures : public SharedServerTest, public testing::WithParamInterface<Line>
{
protected:
    QueueFailures() : m_text(incompressibleText(400'000)), m_path(m_folder.write("document", m_text)) {}

    /// The commands of an upload that nothing happens to.
    Commands commandsOfUpload()
    {
        MeddlingPeer peer(s_server->plainPort());
        LibraryUpload print(plainConnection(peer.port()), s_server->login(), m_path);
        EXPECT_TRUE(print.run()) << print.description() << print.failedCommand();
        return peer.passed();
    }

    void failOne(const Commands &commands, const PassedCommand &spoilt);
    void expectFailure(const Commands &commands, const PassedCommand &culprit, const MeddlingPeer &peer,
                       const LibraryUpload &print);
    static void expectStaysFailed(LibraryRequest &request, const MeddlingPeer &peer);

    TemporaryFolder m_folder;
    std::string m_text;
    std::string m_path;
};

/// The command that fails the session when this one fails: itself; for a creation the first that needs the
/// object, if there is one.
const PassedCommand *culpritOf(const Commands &commands, const PassedCommand &spoilt)
{
    if (spoilt.name() != "OBJECT:CREATE") {
        return &spoilt;
    }
    const std::size_t start = spoilt.line.find(" NAME=|");
    const std::string name = spoilt.line.substr(start, spoilt.line.find('|', start + 7) + 1 - start);
    for (auto command = commands.begin() + static_cast<long>(spoilt.number); command != commands.end();
         ++command) {
        if (command->line.find(" D" + name.substr(1)) != std::string::npos) {
            return nullptr; // it is made anew
        }
        if (command->line.find(name) != std::string::npos) {
            return &*command;
        }
    }
    return nullptr;
}

/// The number of the first command from this one on that waits.
std::uint64_t nextWaiting(const Commands &commands, std::uint64_t number)
{
    while (commands.at(number - 1).isQueued) {
        ++number;
    }
    return number;
}

std::string lineOfError(const std::vector<std::string> &answered, std::uint64_t number)
{
    const std::string start = "X " + std::to_string(number) + ' ';
    for (const std::string &line : answered) {
        if (line.starts_with(start)) {
            return line.substr(start.size());
        }
    }
    return "no error for command " + std::to_string(number);
}

/// Nothing reaches the server any more, and each command has the error of the one that failed first.
void QueueFailures::expectStaysFailed(LibraryRequest &request, const MeddlingPeer &peer)
{
    const std::string error = request.error();
    const std::string description = request.description();
    const std::size_t passed = peer.passed().size();
    for (const std::string line :
         {"VR_CMD=|MISC:NOP|", "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|",
          "VR_CMD=|OBJECT:CREATE| TYPE=|STRING| NAME=|LATER|", "VR_CMD=|OBJECT:GET| NAME=|FILE_ID|",
          "VR_PROC=|ProcessFile| QUEUE=|demo|"}) {
        EXPECT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|NOTE| REPLACE=|YES|"));
        EXPECT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|NOTE| VALUE=|kept|"));
        EXPECT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|NOTE|"));
        EXPECT_EQ(request.result(), "kept");
        EXPECT_FALSE(request.command(line)) << line;
        EXPECT_EQ(request.error(), error) << line;
        EXPECT_EQ(request.description(), description) << line;
    }
    EXPECT_EQ(peer.passed().size(), passed);
}

void QueueFailures::expectFailure(const Commands &commands, const PassedCommand &culprit,
                                  const MeddlingPeer &peer, const LibraryUpload &print)
{
    EXPECT_EQ(print.error(), lineOfError(peer.answered(), culprit.number));
    EXPECT_TRUE(print.description().starts_with(culprit.name() + " (number " +
                                                std::to_string(culprit.number) + ") failed: "))
        << print.description();
    // A body of known length may have been full, so that a command that does not wait heard of it.
    const std::uint64_t waiting = nextWaiting(commands, culprit.number);
    std::set<std::string> told = {commands.at(waiting - 1).line};
    for (std::uint64_t n = culprit.number + 1; GetParam() == Line::knownLengths && n < waiting; ++n) {
        told.insert(commands.at(n - 1).line);
    }
    EXPECT_EQ(told.count(print.failedCommand()), 1U) << print.failedCommand();
    // The failure is the last thing that the server has carried out.
    for (const std::string &line : peer.answered()) {
        const bool counts = line.starts_with("A ") || line.starts_with("Z ") || line.starts_with("R ");
        EXPECT_TRUE(!counts || std::stoull(line.substr(2)) <= culprit.number) << line;
    }
}

void QueueFailures::failOne(const Commands &commands, const PassedCommand &spoilt)
{
    const PassedCommand *culprit = culpritOf(commands, spoilt);
    MeddlingPeer peer(s_server->plainPort());
    peer.spoil(spoilt.number);
    if (GetParam() == Line::knownLengths) {
        peer.refuseChunks();
    } else if (GetParam() != Line::good) {
        peer.loseAnswersFrom(spoilt.number, GetParam() == Line::answerLost ? 1 : 2);
    }
    const std::size_t before = s_server->documents().size();
    {
        LibraryUpload print(plainConnection(peer.port()), s_server->login(), m_path);
        if (culprit != nullptr) {
            print.beforeClose = [&peer](LibraryRequest &request) { expectStaysFailed(request, peer); };
        }
        EXPECT_EQ(print.run(), culprit == nullptr) << print.error() << print.description();
        EXPECT_NE(lineOfError(peer.answered(), spoilt.number).find("SYSTEM/COMMAND/10"), std::string::npos);
        EXPECT_EQ(s_server->documents().size(), before + (culprit == nullptr ? 1U : 0U));
        if (culprit != nullptr) {
            expectFailure(commands, *culprit, peer, print);
        } else {
            EXPECT_TRUE(s_server->storedText(print.identifier()) == m_text);
        }
        EXPECT_EQ(peer.lossesLeft(), 0);
        EXPECT_TRUE(print.isSessionClosed());
        const AnswerText left = decodeAnswer(HttpPeer::askServer(
            s_server->plainPort(), RequestText().session(print.sessionId()).query({}).text));
        EXPECT_EQ(left.lines.at(0), "X 0 SYSTEM/SESSION/101");
    }
    LibraryUpload next(plainConnection(peer.port()), s_server->login(), m_path);
    EXPECT_TRUE(next.run()) << next.error() << next.description();
    EXPECT_TRUE(s_server->storedText(next.identifier()) == m_text);
}

} // namespace

TEST_P(QueueFailures, at_every_position_are_reported_once_and_for_all)
{
    const Commands commands = commandsOfUpload();
    std::set<std::string> names;
    int cases = 0;
    for (const PassedCommand &command : commands) {
        if (command.isQueued) {
            SCOPED_TRACE(std::to_string(command.number) + ' ' + command.line);
            names.insert(command.name());
            failOne(commands, command);
            ++cases;
        }
    }
    const std::set<std::string> all = {
        "OBJECT:CREATE",        "OBJECT:FILE_APPEND",       "OBJECT:FILE_DECOMPRESS",
        "OBJECT:FILE_GET_SIZE", "OBJECT:INTEGER_SET_VALUE", "OBJECT:REMOVE",
        "OBJECT:SEND",
    };
    EXPECT_EQ(names, all);
    RecordProperty("cases", cases);
}

INSTANTIATE_TEST_SUITE_P(Lines, QueueFailures,
                         testing::Values(Line::good, Line::knownLengths, Line::answerLost,
                                         Line::answerLostTwice),
                         [](const auto &line) { return nameOf(line.param); });
