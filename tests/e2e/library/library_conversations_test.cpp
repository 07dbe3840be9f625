// SPDX-License-Identifier: MIT
#include "tests/support/Conversation.h"
#include "tests/support/HttpPeer.h"
#include "tests/support/LibraryRequest.h"
#include "tests/support/TemporaryFolder.h"
#include "wire/FrameReader.h"

#include <gtest/gtest.h>

#include <mutex>

namespace {

using conversation::Exchange;
using conversation::Line;
using conversation::Script;
using conversation::Variables;

std::vector<Script> clientScripts()
{
    std::vector<Script> scripts = conversation::readAll(VAREK_SOURCE_DIR "/tests/data/conversations");
    std::erase_if(scripts, [](const Script &script) { return !script.isForClients(); });
    return scripts;
}

/// Plays the server's part of a conversation and notes what the client did otherwise.
class ScriptedServer
{
public:
    ScriptedServer(const Script &script, Variables variables)
        : m_exchanges(conversation::exchangesOf(script)), m_variables(std::move(variables)),
          m_peer([this](PeerRequest &request, LoopbackSocket &socket) { return answer(request, socket); })
    {}

    [[nodiscard]] int port() const { return m_peer.port(); }

    /// Empty when the client said its whole part, and nothing else.
    [[nodiscard]] std::string complaint() const
    {
        const std::lock_guard lock(m_mutex);
        const bool isWhole = m_next == m_exchanges.size();
        return m_complaint.empty() && !isWhole ? "the client did not say everything" : m_complaint;
    }

    [[nodiscard]] Variables variables() const
    {
        const std::lock_guard lock(m_mutex);
        return m_variables;
    }

private:
    bool answer(PeerRequest &request, LoopbackSocket &socket)
    {
        const Exchange *part = nextPart();
        if (part == nullptr || !hear(request, *part)) {
            return false;
        }
        const Exchange &exchange = *part;
        if (exchange.isLost) {
            socket.reset();
            return false;
        }
        std::string frames;
        const Variables known = variables();
        for (const Line &line : exchange.answer) {
            frames += conversation::encoded(line, known);
        }
        return socket.send(HttpPeer::answer(frames));
    }

    const Exchange *nextPart()
    {
        const std::lock_guard lock(m_mutex);
        if (m_next == m_exchanges.size()) {
            m_complaint = "the client said more than its part";
            return nullptr;
        }
        return &m_exchanges[m_next++];
    }

    /// Reads frames until the part is said, and the body is over unless the connection is to be lost there.
    bool hear(PeerRequest &request, const Exchange &exchange)
    {
        wire::FrameReader reader(wire::Direction::request);
        std::size_t heard = 0;
        while (heard < exchange.request.size() || !exchange.isLost) {
            const std::string body = request.readBody();
            std::string_view piece = body;
            if (body.empty()) {
                break;
            }
            while (!piece.empty() && reader.take(piece) == wire::FrameReader::Status::frame) {
                note(exchange, heard++, reader);
            }
        }
        const std::lock_guard lock(m_mutex);
        if (heard != exchange.request.size() && m_complaint.empty()) {
            m_complaint = "line " + std::to_string(exchange.request.front().number) + ": heard " +
                          std::to_string(heard) + " frames of " + std::to_string(exchange.request.size());
        }
        return m_complaint.empty();
    }

    void note(const Exchange &exchange, std::size_t index, const wire::FrameReader &reader)
    {
        const std::lock_guard lock(m_mutex);
        const std::string problem =
            index < exchange.request.size()
                ? conversation::difference(exchange.request[index], reader.type(), reader.payload(),
                                           m_variables)
                : std::string("one frame too many: ") + static_cast<char>(reader.type());
        if (m_complaint.empty()) {
            m_complaint = problem;
        }
    }

    const std::vector<Exchange> m_exchanges;
    mutable std::mutex m_mutex;
    Variables m_variables;
    std::size_t m_next = 0;
    std::string m_complaint;
    HttpPeer m_peer;
};

class LibraryConversation : public testing::TestWithParam<Script>
{
protected:
    Variables variables() const
    {
        return {{"APPLICATION", "upload"},        {"USER", "demo"},
                {"PASSWORD", "secret"},           {"IDLE", "1800"},
                {"DIR", m_folder.path()},         {"SESSION", std::string(64, 'a')},
                {"FILE_ID", std::string(32, 'b')}};
    }

    void expectOutcome(const Line &line, bool isDone, LibraryRequest &request, const ScriptedServer &server)
    {
        const std::string where = "line " + std::to_string(line.number) + " " + server.complaint();
        EXPECT_EQ(isDone, line.tokens.at(0).text == "1") << where << request.description();
        if (isDone) {
            EXPECT_EQ(request.result(), conversation::expanded(line.tokens.at(1), server.variables()))
                << where;
        } else {
            const std::vector<conversation::Token> &tokens = line.tokens;
            const std::string expected =
                tokens.size() == 4 ? tokens[1].text + "/" + tokens[2].text + "/" + tokens[3].text : "success";
            EXPECT_EQ(request.error(), expected) << where;
        }
    }

    TemporaryFolder m_folder;
};

} // namespace

TEST_P(LibraryConversation, is_held_word_for_word)
{
    ScriptedServer server(GetParam(), variables());
    LibraryRequest request(plainConnection(server.port()));
    bool isDone = false;
    for (const Line &line : GetParam().lines) {
        if (line.kind == 'f') {
            m_folder.write(line.tokens.at(0).text, line.tokens.at(1).text);
        } else if (line.kind == '!') {
            isDone = request.command(conversation::expanded(line.tokens.at(0), server.variables()));
        } else if (line.kind == '=') {
            expectOutcome(line, isDone, request, server);
        }
    }
    EXPECT_EQ(server.complaint(), "");
}

INSTANTIATE_TEST_SUITE_P(Golden, LibraryConversation, testing::ValuesIn(clientScripts()),
                         [](const auto &script) { return script.param.name; });
