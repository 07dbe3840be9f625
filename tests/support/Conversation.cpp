// SPDX-License-Identifier: MIT
#include "tests/support/Conversation.h"

#include "tests/support/conversation_tokens.h"
#include "wire/limits.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace conversation {
namespace {

using wire::FrameType;
using Texts = std::vector<std::string>;

[[noreturn]] void failLine(const Line &line, const std::string &problem)
{
    throw std::runtime_error("line " + std::to_string(line.number) + ": " + problem);
}

std::string hex(const std::array<std::uint8_t, 16> &bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text.append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    return text;
}

std::array<std::uint8_t, 16> fromHex(const std::string &text)
{
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(std::stoi(text.substr(2 * i, 2), nullptr, 16));
    }
    return bytes;
}

std::uint64_t number(const std::string &text)
{
    return std::stoull(text);
}

std::string flagsOf(const wire::CommandFrame &frame)
{
    return frame.isQueued ? "queued" : "waiting";
}

template <class Frame>
Frame whole(const std::optional<Frame> &frame)
{
    if (!frame) {
        throw std::runtime_error("a malformed frame");
    }
    return *frame;
}

/// The words that a line has for this frame, its letter aside.
Texts textsOf(FrameType type, std::string_view payload)
{
    switch (type) {
    case FrameType::hello: {
        const auto f = whole(wire::decodeHello(payload));
        return {std::to_string(f.lowestVersion),
                std::to_string(f.highestVersion),
                hex(f.nonce),
                f.application,
                f.user,
                f.password,
                f.openProcedure,
                f.closeProcedure,
                f.singleSignOn ? "1" : "0"};
    }
    case FrameType::session: {
        const auto f = whole(wire::decodeSession(payload));
        return {std::to_string(f.version), f.id, std::to_string(f.acknowledged)};
    }
    case FrameType::command: {
        const auto f = whole(wire::decodeCommand(payload));
        return {std::to_string(f.number), flagsOf(f), f.offset ? std::to_string(*f.offset) : "-",
                f.hash ? hex(*f.hash) : "-", f.line};
    }
    case FrameType::object: {
        const auto f = whole(wire::decodeObject(payload));
        return {std::string(wire::typeName(f.type)), f.name, std::to_string(f.bytes)};
    }
    case FrameType::data:
        return {std::string(payload)};
    case FrameType::query:
        return {whole(wire::decodeQuery(payload)).objectName};
    case FrameType::end:
        return {};
    case FrameType::welcome: {
        const auto f = whole(wire::decodeWelcome(payload));
        return {std::to_string(f.version), f.sessionId, std::to_string(f.idleSeconds),
                f.wantsLogin ? "1" : "0"};
    }
    case FrameType::result: {
        const auto f = whole(wire::decodeResult(payload));
        return {std::to_string(f.number), f.text};
    }
    case FrameType::acknowledged:
        return {std::to_string(whole(wire::decodeAcknowledged(payload)).number)};
    case FrameType::error: {
        const auto f = whole(wire::decodeError(payload));
        return {std::to_string(f.number),     f.error.service,     f.error.errorClass,
                std::to_string(f.error.code), f.error.description, f.error.info};
    }
    case FrameType::progress: {
        const auto f = whole(wire::decodeProgress(payload));
        return {std::to_string(f.lastNumber), f.objectBytes ? std::to_string(*f.objectBytes) : "-"};
    }
    case FrameType::complete:
        return {std::to_string(whole(wire::decodeComplete(payload)).lastNumber)};
    }
    return {};
}

std::string encodedRequestFrame(FrameType type, const Texts &t)
{
    std::string out;
    if (type == FrameType::hello) {
        const auto low = static_cast<std::uint16_t>(number(t.at(0)));
        const auto high = static_cast<std::uint16_t>(number(t.at(1)));
        wire::append(out, wire::HelloFrame{low, high, fromHex(t.at(2)), t.at(3), t.at(4), t.at(5), t.at(6),
                                           t.at(7), t.at(8) == "1"});
    } else if (type == FrameType::session) {
        const auto version = static_cast<std::uint16_t>(number(t.at(0)));
        wire::append(out, wire::SessionFrame{version, t.at(1), number(t.at(2))});
    } else if (type == FrameType::command) {
        wire::CommandFrame frame{number(t.at(0)), t.at(1) == "queued", {}, {}, t.at(4)};
        frame.offset = t.at(2) == "-" ? std::nullopt : std::optional(number(t.at(2)));
        frame.hash = t.at(3) == "-" ? std::nullopt : std::optional(fromHex(t.at(3)));
        wire::append(out, frame);
    } else if (type == FrameType::query) {
        wire::append(out, wire::QueryFrame{t.at(0)});
    } else {
        wire::appendEnd(out);
    }
    return out;
}

std::string encodedAnswerFrame(FrameType type, const Texts &t)
{
    std::string out;
    if (type == FrameType::welcome) {
        const auto version = static_cast<std::uint16_t>(number(t.at(0)));
        const auto idle = static_cast<std::uint32_t>(number(t.at(2)));
        wire::append(out, wire::WelcomeFrame{version, t.at(1), idle, t.at(3) == "1"});
    } else if (type == FrameType::result) {
        wire::append(out, wire::ResultFrame{number(t.at(0)), t.at(1)});
    } else if (type == FrameType::acknowledged) {
        wire::append(out, wire::AcknowledgedFrame{number(t.at(0))});
    } else if (type == FrameType::error) {
        const auto code = static_cast<std::uint32_t>(number(t.at(3)));
        wire::append(out, wire::ErrorFrame{number(t.at(0)), {t.at(1), t.at(2), code, t.at(4), t.at(5)}});
    } else if (type == FrameType::progress) {
        const auto bytes = t.at(1) == "-" ? std::nullopt : std::optional(number(t.at(1)));
        wire::append(out, wire::ProgressFrame{number(t.at(0)), bytes});
    } else {
        wire::append(out, wire::CompleteFrame{number(t.at(0))});
    }
    return out;
}

FrameType typeOf(const Line &line)
{
    const auto direction = line.kind == '>' ? wire::Direction::request : wire::Direction::answer;
    const std::string letter = line.tokens.empty() ? "" : line.tokens.front().text;
    const auto type = letter.size() == 1 ? wire::frameTypeOf(letter[0], direction) : std::nullopt;
    if (!type) {
        failLine(line, "no frame of this direction");
    }
    return *type;
}

Script read(const std::filesystem::path &path)
{
    Script script{path.stem().string(), {}};
    std::ifstream file(path);
    int number = 0;
    for (std::string text; std::getline(file, text);) {
        ++number;
        if (text.empty() || text[0] == '#') {
            continue;
        }
        const bool isCommand = text[0] == '!';
        const std::string rest = text.size() > 2 ? text.substr(2) : "";
        script.lines.push_back(
            {text[0], isCommand ? std::vector<Token>{{rest, true}} : tokensOf(rest), number});
    }
    return script;
}

} // namespace

bool Script::isForClients() const
{
    return std::any_of(lines.begin(), lines.end(), [](const Line &line) { return line.kind == '!'; });
}

bool Script::isForServers() const
{
    return std::none_of(lines.begin(), lines.end(),
                        [](const Line &line) { return line.kind == '~' || line.kind == 'c'; });
}

std::vector<Script> readAll(const std::filesystem::path &folder)
{
    std::vector<Script> scripts;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".txt") {
            scripts.push_back(read(entry.path()));
        }
    }
    std::sort(scripts.begin(), scripts.end(), [](const auto &a, const auto &b) { return a.name < b.name; });
    return scripts;
}

std::vector<Exchange> exchangesOf(const Script &script)
{
    std::vector<Exchange> exchanges;
    bool isAnswering = true;
    for (const Line &line : script.lines) {
        if (line.kind == '>') {
            if (isAnswering) {
                exchanges.emplace_back();
            }
            isAnswering = false;
            exchanges.back().request.push_back(line);
        } else if (line.kind == '<' || line.kind == '-' || line.kind == '~') {
            isAnswering = true;
            exchanges.back().isLost = line.kind != '<';
            if (line.kind == '<') {
                exchanges.back().answer.push_back(line);
            }
        }
    }
    return exchanges;
}

std::string expanded(const Token &token, const Variables &variables)
{
    std::string text = token.text;
    if (!token.isQuoted && text.size() > 1 && text[0] == '$') {
        return variables.at(text.substr(1));
    }
    for (std::size_t at = text.find("${"); at != std::string::npos; at = text.find("${", at)) {
        const std::size_t end = text.find('}', at);
        const std::string &value = variables.at(text.substr(at + 2, end - at - 2));
        text.replace(at, end - at + 1, value);
        at += value.size();
    }
    return text;
}

std::string encoded(const Line &line, const Variables &variables)
{
    const FrameType type = typeOf(line);
    Texts texts;
    for (auto token = line.tokens.begin() + 1; token != line.tokens.end(); ++token) {
        texts.push_back(expanded(*token, variables));
    }
    std::string out;
    if (type == FrameType::object) {
        const auto objectType = wire::typeFromName(texts.at(0)).value();
        wire::append(out, wire::ObjectFrame{objectType, texts.at(1), number(texts.at(2))});
    } else if (type == FrameType::data) {
        wire::appendDataHeader(out, texts.at(0).size());
        out += texts.at(0);
    } else if (line.kind == '>') {
        out = encodedRequestFrame(type, texts);
    } else {
        out = encodedAnswerFrame(type, texts);
    }
    return out;
}

std::string difference(const Line &line, FrameType type, std::string_view payload, Variables &variables)
{
    const std::string where = "line " + std::to_string(line.number) + ": ";
    const Texts texts = textsOf(type, payload);
    if (type != typeOf(line) || texts.size() + 1 != line.tokens.size()) {
        return where + "expected a frame " + line.tokens.front().text + ", got " + static_cast<char>(type) +
               (texts.empty() ? "" : " " + texts.back());
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const Token &token = line.tokens[i + 1];
        const bool isVariable = !token.isQuoted && token.text.starts_with('$');
        if (isVariable && variables.find(token.text.substr(1)) == variables.end()) {
            variables[token.text.substr(1)] = texts[i];
        }
        const bool isAnything = !token.isQuoted && token.text == "*";
        if (!isAnything && expanded(token, variables) != texts[i]) {
            return where + "expected " + expanded(token, variables).substr(0, 200) + ", got " +
                   texts[i].substr(0, 200);
        }
    }
    return {};
}

} // namespace conversation
