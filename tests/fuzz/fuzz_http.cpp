// SPDX-License-Identifier: MIT
#include "appserver/AppServices.h"
#include "appserver/ClientConnection.h"
#include "appserver/FileObject.h"
#include "appserver/HttpSite.h"
#include "appserver/default_configuration.h"
#include "appserver/portal_service.h"
#include "appserver/secrets.h"
#include "appserver/server_log.h"
#include "appserver/vrc_service.h"
#include "tests/fuzz/fuzz_entry.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// Bytes that a browser or a client sends to the server's HTTP ports: header lines, queries, cookies, forms.
// One portal page with a document is open; {page}, {cookie} and {token} stand for what it is opened by. Every
// answer is a whole header, and no input makes the server fail.

namespace {

using namespace appserver;

std::unique_ptr<FileObject> contents(const std::filesystem::path &folder)
{
    auto file = std::make_unique<FileObject>(folder);
    file->append("A short text.\n");
    return file;
}

class Server
{
public:
    Server()
    {
        initialiseSecrets();
        std::string name = (std::filesystem::temp_directory_path() / "fuzz-http-XXXXXX").string();
        ensure(::mkdtemp(name.data()) != nullptr);
        m_folder = name;
        m_services =
            std::make_unique<AppServices>(m_folder, ServerConfiguration::parse(defaultConfiguration({})));
        addVrcService(vrc, *m_services);
        addPortalService(portal, *m_services);
        openPage();
    }

    ~Server()
    {
        m_services.reset();
        std::filesystem::remove_all(m_folder);
    }

    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    [[nodiscard]] std::string filledIn(std::string text) const
    {
        const std::pair<std::string_view, const std::string &> values[] = {
            {"{page}", m_page.id}, {"{cookie}", m_page.cookie}, {"{token}", m_page.formToken}};
        for (const auto &[name, value] : values) {
            for (auto at = text.find(name); at != std::string::npos;
                 at = text.find(name, at + value.size())) {
                text.replace(at, name.size(), value);
            }
        }
        return text;
    }

private:
    void openPage()
    {
        Document document;
        document.owner = "ada";
        document.fileName = "<b>title</b>";
        const auto file = contents(m_folder / "sessions");
        const std::string id = m_services->documents.store(*file, document);
        wire::HelloFrame hello;
        hello.application = "portal";
        const auto session = m_services->sessions.open(hello, 100);
        session->person = Person{"ada", std::string(32, 'A')};
        session->hasPerson = true;
        const auto page = m_services->pages.open(session, session->person->digest, 100);
        ensure(page.has_value() && !id.empty());
        m_page = *page;
    }

    std::filesystem::path m_folder;
    std::unique_ptr<AppServices> m_services;
    AccessLog m_log{"/dev/null"};
    PortalPage m_page;

public:
    HttpSite vrc{m_log, isVrcPath};
    HttpSite portal{m_log, isPortalPostPath};
};

std::string readAll(int socket)
{
    std::string text;
    std::array<char, 65536> buffer;
    for (ssize_t count = 0; (count = ::recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0;) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

void checkAnswer(std::string_view answer)
{
    ensure(answer.empty() || answer.starts_with("HTTP/1.1 "));
    ensure(answer.find("HTTP/1.1 500") == std::string_view::npos);
    ensure(answer.find("<b>title") == std::string_view::npos);
}

void serve(HttpSite &site, const std::string &request)
{
    std::array<int, 2> ends{};
    ensure(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0);
    const UniqueFd client(ends[0]);
    const int room = 1 << 22;
    ::setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    ensure(::send(client.get(), request.data(), request.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(request.size()));
    ::shutdown(client.get(), SHUT_WR);
    ConnectionLimits limits;
    limits.headerTime = limits.idleTime = std::chrono::seconds(2);
    ClientConnection connection(UniqueFd(ends[1]), limits);
    for (int left = 4; left > 0 && connection.awaitRequest() && site.serve(connection, left == 1); --left) {
        checkAnswer(readAll(client.get()));
    }
    checkAnswer(readAll(client.get()));
}

} // namespace

/// First byte odd: the port of the clients; even: the portal.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Server server;
    if (size == 0) {
        return 0;
    }
    const std::string request(reinterpret_cast<const char *>(data + 1), size - 1);
    serve((data[0] & 1U) != 0 ? server.vrc : server.portal, server.filledIn(request));
    return 0;
}
