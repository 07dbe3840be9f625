// SPDX-License-Identifier: MIT
#include "tests/support/MeddlingPeer.h"

#include "tests/support/frame_text.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view nameField = " NAME=|";

/// The command with a variable that does not exist in the place of its object.
std::string spoiltLine(std::string line)
{
    const std::size_t start = line.find(nameField);
    if (start == std::string::npos) {
        ADD_FAILURE() << "nothing in this command can be spoilt: " << line;
        return line;
    }
    const std::size_t value = start + nameField.size();
    return line.replace(value, line.find('|', value) - value, "##NO_SUCH_VARIABLE");
}

void appendFrame(std::string &out, wire::FrameType type, std::string_view payload)
{
    out += static_cast<char>(type);
    for (int shift = 24; shift >= 0; shift -= 8) {
        out += static_cast<char>(payload.size() >> shift & 0xff);
    }
    out += payload;
}

} // namespace

std::string PassedCommand::name() const
{
    constexpr std::string_view start = "VR_CMD=|";
    return line.starts_with(start) ? line.substr(start.size(), line.find('|', start.size()) - start.size())
                                   : std::string();
}

MeddlingPeer::MeddlingPeer(int serverPort)
    : m_serverPort(serverPort),
      m_peer([this](PeerRequest &request, LoopbackSocket &socket) { return serve(request, socket); })
{}

void MeddlingPeer::spoil(std::uint64_t number)
{
    const std::lock_guard lock(m_mutex);
    m_spoilt = number;
}

void MeddlingPeer::loseAnswersTo(std::uint64_t number, int times)
{
    const std::lock_guard lock(m_mutex);
    m_lostNumber = number;
    m_losses = times;
}

void MeddlingPeer::loseAnswersFrom(std::uint64_t number, int times)
{
    const std::lock_guard lock(m_mutex);
    m_lostNumber = number;
    m_losses = times;
    m_losesWhatFollows = true;
}

void MeddlingPeer::refuseChunks()
{
    const std::lock_guard lock(m_mutex);
    m_refusesChunks = true;
}

std::vector<PassedCommand> MeddlingPeer::passed() const
{
    const std::lock_guard lock(m_mutex);
    return m_passed;
}

std::vector<std::string> MeddlingPeer::answered() const
{
    const std::lock_guard lock(m_mutex);
    return m_answered;
}

std::vector<std::string> MeddlingPeer::descriptions() const
{
    const std::lock_guard lock(m_mutex);
    return m_descriptions;
}

int MeddlingPeer::lossesLeft() const
{
    const std::lock_guard lock(m_mutex);
    return m_losses;
}

bool MeddlingPeer::serve(PeerRequest &request, const LoopbackSocket &socket)
{
    const std::string body = request.readAll();
    const std::lock_guard lock(m_mutex);
    if (m_refusesChunks && request.isChunked()) {
        socket.send("HTTP/1.1 411 Length Required\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
        return false;
    }
    std::vector<PassedCommand> commands;
    const std::string frames = HttpPeer::askServer(m_serverPort, read(body, commands));
    std::copy(commands.begin(), commands.end(), std::back_inserter(m_passed));
    const AnswerText answer = decodeAnswer(frames);
    m_answered.insert(m_answered.end(), answer.lines.begin(), answer.lines.end());
    m_descriptions.insert(m_descriptions.end(), answer.errors.begin(), answer.errors.end());
    return !isLost(commands) && socket.send(HttpPeer::answer(frames));
}

/// The body as the server shall see it, and the commands in it.
std::string MeddlingPeer::read(std::string_view body, std::vector<PassedCommand> &commands)
{
    std::string out;
    wire::FrameReader reader(wire::Direction::request);
    while (!body.empty() && reader.take(body) == wire::FrameReader::Status::frame) {
        if (reader.type() != wire::FrameType::command) {
            appendFrame(out, reader.type(), reader.payload());
            continue;
        }
        wire::CommandFrame command = wire::decodeCommand(reader.payload()).value();
        commands.push_back({command.number, command.isQueued, command.line});
        if (m_spoilt != 0 && command.number == m_spoilt) {
            command.line = spoiltLine(command.line);
            m_spoilt = 0;
        }
        wire::append(out, command);
    }
    EXPECT_TRUE(body.empty() && reader.isBetweenFrames()) << "the request is no sequence of frames";
    return out;
}

bool MeddlingPeer::isLost(const std::vector<PassedCommand> &commands)
{
    const bool isAbout = std::any_of(commands.begin(), commands.end(), [this](const PassedCommand &command) {
        return command.number == m_lostNumber;
    });
    if (m_losses == 0 || !(isAbout || m_isLosing)) {
        return false;
    }
    m_isLosing = m_losesWhatFollows;
    --m_losses;
    return true;
}
