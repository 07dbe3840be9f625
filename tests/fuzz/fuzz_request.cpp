// SPDX-License-Identifier: MIT
#include "appserver/AppServices.h"
#include "appserver/RequestProcessor.h"
#include "appserver/default_configuration.h"
#include "appserver/secrets.h"
#include "tests/fuzz/fuzz_entry.h"
#include "wire/FrameReader.h"
#include "wire/limits.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

// Request bodies as a hostile client sends them: as they are, or (first byte odd) as the rest of a request of
// a session whose person has logged in. The answer is well formed, ends with its last frame, and nothing
// stays behind.

namespace {

using namespace appserver;

class Server
{
public:
    Server()
    {
        initialiseSecrets();
        std::string name = (std::filesystem::temp_directory_path() / "fuzz-request-XXXXXX").string();
        ensure(::mkdtemp(name.data()) != nullptr);
        m_folder = name;
        services = std::make_unique<AppServices>(
            m_folder,
            ServerConfiguration::parse(defaultConfiguration({}) + "\n[Limits]\nFileBytes=1048576\n"));
    }

    ~Server()
    {
        services.reset();
        std::filesystem::remove_all(m_folder);
    }

    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    [[nodiscard]] bool keepsSessionFiles() const { return !std::filesystem::is_empty(m_folder / "sessions"); }

    std::unique_ptr<AppServices> services;

private:
    std::filesystem::path m_folder;
};

std::shared_ptr<ServerSession> openSession(AppServices &services)
{
    wire::HelloFrame hello;
    hello.application = "upload";
    auto session = services.sessions.open(hello, 100);
    session->wantsLogin = session->opened = true;
    session->person = Person{"ada", std::string(32, 'A')};
    session->hasPerson = true;
    return session;
}

void checkAnswer(std::string_view bytes)
{
    wire::FrameReader reader(wire::Direction::answer);
    bool complete = false;
    while (!bytes.empty()) {
        ensure(!complete);
        ensure(reader.take(bytes) == wire::FrameReader::Status::frame);
        complete = reader.type() == wire::FrameType::complete;
    }
    ensure(complete && reader.isBetweenFrames());
}

void carryOut(AppServices &services, std::string_view body, std::size_t pieceBytes)
{
    RequestProcessor processor(services, nullptr, "192.0.2.1");
    while (!body.empty() && processor.take(body.substr(0, pieceBytes))) {
        body.remove_prefix(std::min(pieceBytes, body.size()));
    }
    RequestAnswer &answer = processor.finish();
    std::string bytes;
    for (std::size_t part = 0; answer.writePart(part,
                                                [&](std::string_view text) {
                                                    bytes += text;
                                                    return true;
                                                });
         ++part) {
    }
    checkAnswer(bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Server server;
    if (size == 0) {
        return 0;
    }
    const std::string input(data + 1, data + size);
    const std::size_t pieceBytes = 1 + data[0] / 2;
    AppServices &services = *server.services;
    std::string body = input;
    if ((data[0] & 1U) != 0) {
        body.clear();
        wire::append(body, wire::SessionFrame{wire::protocolVersion, openSession(services)->id, 0});
        body += input;
    }
    carryOut(services, body, pieceBytes);
    services.sessions.removeIdle(std::chrono::seconds(0));
    ensure(services.sessions.count() == 0 && !server.keepsSessionFiles());
    return 0;
}
