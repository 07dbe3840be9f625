// SPDX-License-Identifier: MIT
#include "appserver/control_digest.h"
#include "tests/support/FrameClient.h"
#include "tests/support/file_bytes.h"
#include "tests/support/sample_documents.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <fstream>
#include <random>
#include <thread>

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// A plain connection on which a test sends what it likes.
class RawConnection
{
public:
    explicit RawConnection(int port) : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const void *raw = &address;
        if (::connect(m_socket, static_cast<const sockaddr *>(raw), sizeof address) != 0) {
            throw std::runtime_error("cannot connect");
        }
        const timeval limit{60, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }

    ~RawConnection() { ::close(m_socket); }

    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    /// False when the other side does not take any more.
    bool send(const std::string &bytes)
    {
        return ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }

    /// Everything until the other side closes.
    std::string readAll()
    {
        std::string all;
        std::array<char, 4096> buffer;
        for (ssize_t count = 0; (count = ::recv(m_socket, buffer.data(), buffer.size(), 0)) > 0;) {
            all.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return all;
    }

    /// The other side has closed, or said something.
    bool isAnswered() const
    {
        pollfd entry{m_socket, POLLIN, 0};
        return ::poll(&entry, 1, 0) > 0;
    }

    /// Up to the end of one answer with an empty body, or of what there is.
    std::string readSome()
    {
        std::array<char, 4096> buffer;
        const ssize_t count = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

private:
    int m_socket;
};

const std::string postHead =
    "POST /vrc HTTP/1.1\r\nHost: x\r\nContent-Type: application/vnd.varek.frames\r\n";

} // namespace

class HostileClient : public ::testing::Test
{
protected:
    std::string ask(const std::string &request) const
    {
        RawConnection connection(m_server.plainPort());
        connection.send(request);
        return connection.readAll();
    }

    /// The server still works for everybody else.
    void expectAlive(std::uint8_t nonce = 200)
    {
        FrameClient client(m_server);
        EXPECT_THAT(client.ask(RequestText().hello("directory", nonce)).lines,
                    ::testing::ElementsAre("W", "Z 0"));
    }

    std::string sessionOf(FrameClient &client, std::uint8_t nonce)
    {
        return client
            .ask(RequestText()
                     .hello("upload", nonce)
                     .command(1, loginLine(m_server.user(), m_server.password())))
            .session;
    }

    ServerProcess m_server;
};

TEST_F(HostileClient, requests_that_do_not_belong_here_are_refused_and_the_connection_is_closed)
{
    const std::pair<std::string, std::string> cases[]{
        {"nonsense\r\n\r\n", "HTTP/1.1 400"},
        {"DELETE /vrc HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 405"},
        {"POST /elsewhere HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nhello", "HTTP/1.1 404"},
        {"GET /vrc HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nhello", "HTTP/1.1 400"},
        {"POST /vrc HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 411"},
        {postHead + "Content-Length: 5\r\nContent-Length: 6\r\n\r\nhello!", "HTTP/1.1 400"},
        {postHead + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "HTTP/1.1 400"},
        {postHead + "Content-Length: 5\r\nContent-Encoding: gzip\r\n\r\nhello", "HTTP/1.1 415"},
        {"POST /vrc HTTP/1.1\r\nHost: x\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello",
         "HTTP/1.1 415"},
        {postHead + "Content-Length: 99999999999999999999999\r\n\r\n", "HTTP/1.1 413"},
    };
    for (const auto &[request, status] : cases) {
        EXPECT_THAT(ask(request), StartsWith(status)) << request;
    }
    expectAlive();
}

TEST_F(HostileClient, a_header_without_end_is_cut_off)
{
    m_server.configure("[Limits]\nHeaderSeconds=1\n");
    RawConnection endless(m_server.plainPort());
    endless.send("GET /vrc HTTP/1.1\r\n");
    const auto begin = std::chrono::steady_clock::now();
    bool taken = true;
    while (taken && std::chrono::steady_clock::now() - begin < std::chrono::seconds(30)) {
        taken = endless.send("X-Filler: " + std::string(1000, 'x') + "\r\n");
    }
    EXPECT_FALSE(taken);

    RawConnection slow(m_server.plainPort());
    const auto start = std::chrono::steady_clock::now();
    slow.send("GET /vrc HTTP/1.1\r\nHost: ");
    slow.readAll();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    expectAlive();
}

TEST_F(HostileClient, a_body_over_the_limit_is_cut_off_whether_announced_or_not)
{
    m_server.configure("[Limits]\nRequestBytes=100000\n");
    EXPECT_THAT(ask(postHead + "Content-Length: 100001\r\n\r\n"), StartsWith("HTTP/1.1 413"));
    RawConnection chunked(m_server.plainPort());
    chunked.send(postHead + "Transfer-Encoding: chunked\r\n\r\n");
    const std::string frames =
        RequestText().hello("directory").command(1, "VR_PROC=|Nothing|" + std::string(60'000, ' ')).text;
    std::string chunk = "EA60\r\n" + frames.substr(0, 60'000) + "\r\n";
    chunked.send(chunk);
    chunked.send(chunk);
    chunked.send(chunk);
    EXPECT_THAT(chunked.readAll(), ::testing::ContainsRegex("HTTP/1.1 (413|200)"));
    expectAlive();
}

TEST_F(HostileClient, more_connections_than_allowed_are_told_so)
{
    m_server.configure("[Limits]\nConnections=5\n");
    std::vector<std::unique_ptr<RawConnection>> idle;
    for (int i = 0; i < 5; ++i) {
        idle.push_back(std::make_unique<RawConnection>(m_server.plainPort()));
        idle.back()->send("GET /vrc HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_THAT(idle.back()->readSome(), StartsWith("HTTP/1.1 204"));
    }
    RawConnection refused(m_server.plainPort());
    EXPECT_THAT(refused.readAll(), StartsWith("HTTP/1.1 503"));
    idle.clear();
    m_server.configure("[Limits]\nConnections=100\n");
    expectAlive();
}

TEST_F(HostileClient, garbage_instead_of_frames_is_a_malformed_request)
{
    std::mt19937 random(4711);
    FrameClient client(m_server);
    for (int round = 0; round < 50; ++round) {
        RequestText garbage;
        if (round % 2 == 1) {
            garbage.hello("directory", 1);
        }
        for (int i = 0; i < 200; ++i) {
            garbage.text += static_cast<char>(random());
        }
        EXPECT_THAT(client.ask(garbage).lines, ::testing::Contains("X 0 SYSTEM/PROTOCOL/101"));
    }
    expectAlive();
}

TEST_F(HostileClient, forged_sessions_and_replayed_numbers_get_nowhere)
{
    FrameClient client(m_server);
    const std::string id = sessionOf(client, 1);
    std::string forged = id;
    forged.back() = forged.back() == '0' ? '1' : '0';
    for (const std::string &other :
         {forged, std::string(), std::string(64, '0'), id + "0", std::string("../../etc")}) {
        EXPECT_THAT(client.ask(RequestText().session(other).command(2, "VR_CMD=|MISC:NOP|")).lines,
                    ::testing::ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
    }
    const std::string append = "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|";
    const auto upload = RequestText()
                            .session(id, 1)
                            .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                            .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                            .file("B", "12345")
                            .queued(4, append);
    client.ask(upload);
    client.ask(upload);
    client.ask(upload);
    EXPECT_THAT(
        client.ask(RequestText().session(id, 1).command(5, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|T|")).lines,
        ::testing::Contains("R 5 5"));
}

TEST_F(HostileClient, a_later_request_supersedes_one_that_is_still_arriving)
{
    FrameClient client(m_server);
    const std::string id = sessionOf(client, 1);
    RawConnection open(m_server.plainPort());
    const std::string frames = RequestText()
                                   .session(id, 1)
                                   .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                                   .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                   .file("B", "12345")
                                   .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0)
                                   .text;
    open.send(postHead + "Content-Length: 1000000\r\n\r\n" + frames);
    // What has arrived is carried out and stays.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::vector<std::string> lines;
    // A query that comes before the frames does not cut them off, one that comes between them does.
    while (lines != std::vector<std::string>{"P 4 5", "Z 4"} && !open.isAnswered() &&
           std::chrono::steady_clock::now() < deadline) {
        lines = client.ask(RequestText().session(id, 1).query("T")).lines;
    }
    EXPECT_THAT(open.readAll(), Not(HasSubstr("200 OK")));
    EXPECT_THAT(client.ask(RequestText().session(id, 1).end()).lines.size(), 1U);
}

TEST_F(HostileClient, a_large_object_comes_back_whole_over_the_network)
{
    FrameClient client(m_server);
    const std::string id = sessionOf(client, 1);
    std::string bytes(3'000'000, '\0');
    std::mt19937 random(1);
    std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
    const AnswerText answer = client.ask(RequestText()
                                             .session(id, 1)
                                             .command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|")
                                             .file("F", bytes)
                                             .command(3, "VR_CMD=|OBJECT:GET| NAME=|F|"));
    EXPECT_THAT(answer.lines, ::testing::ElementsAre("R 2", "R 3", "O F 3000000", "Z 3"));
    EXPECT_EQ(answer.data, bytes);
}

TEST_F(HostileClient, paths_sql_and_markup_in_every_field_stay_text)
{
    const std::string evil = "../../../tmp/x'; DROP TABLE documents; --<script>alert(1)</script>\"&";
    FrameClient client(m_server);
    const std::string id = sessionOf(client, 1);
    const std::string pdf = samplePdf("x");
    const AnswerText answer =
        client.ask(RequestText()
                       .session(id, 1)
                       .command(2, "VR_CMD=|OBJECT:SEND| NAME=|RECEIVED_FILE|")
                       .file("RECEIVED_FILE", pdf)
                       .command(3, "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|")
                       .value("FILE_INFO", wire::IndStringList{{"PRINT_MODE", evil},
                                                               {"PRINTER_NAME", evil},
                                                               {"FILE_NAME", evil},
                                                               {"FILE_SIZE", std::to_string(pdf.size())},
                                                               {"WIN_MACHINE", evil},
                                                               {"WIN_USER", evil},
                                                               {"TUNNEL_SERVICE", evil},
                                                               {"TUNNEL_PROFILE", evil}})
                       .command(4, "VR_PROC=|ProcessFile| QUEUE=|" + evil + "|"));
    ASSERT_THAT(answer.lines, ::testing::Contains("O FILE_ID 32"));
    const auto documents = m_server.documents();
    ASSERT_EQ(documents.size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(m_server.documentFile(documents[0])));
    const std::string session = openPortalSession(client, m_server.user(), m_server.password(), answer.data);
    httplib::SSLClient browser(m_server.host(), m_server.portalPort());
    browser.set_ca_cert_path(m_server.authority());
    const auto opened = browser.Get("/portal?x=1&VR_SESSION_ID=" + session + "&CTRL=" +
                                    appserver::controlDigest(session, m_server.user(), m_server.password()));
    ASSERT_TRUE(opened);
    ASSERT_EQ(opened->status, 303);
    const std::string cookie = opened->get_header_value("Set-Cookie");
    const auto page =
        browser.Get(opened->get_header_value("Location"), {{"Cookie", cookie.substr(0, cookie.find(';'))}});
    ASSERT_TRUE(page);
    EXPECT_THAT(page->body, HasSubstr("&lt;script&gt;"));
    EXPECT_THAT(page->body, Not(HasSubstr("<script")));
    EXPECT_THAT(page->get_header_value("Content-Security-Policy"), HasSubstr("default-src 'none'"));
    EXPECT_EQ(page->get_header_value("Referrer-Policy"), "no-referrer");
    EXPECT_THAT(cookie, HasSubstr("HttpOnly; SameSite=Strict; Secure"));
}

TEST_F(HostileClient, the_portal_wants_the_digest_the_cookie_and_the_token)
{
    FrameClient client(m_server);
    const std::string id = uploadDocument(client, m_server.user(), m_server.password(), "text\n", "a.txt");
    const std::string session = openPortalSession(client, m_server.user(), m_server.password(), id);
    const std::string digest = appserver::controlDigest(session, m_server.user(), m_server.password());
    httplib::SSLClient browser(m_server.host(), m_server.portalPort());
    browser.set_ca_cert_path(m_server.authority());
    const std::string address = "/portal?x=1&VR_SESSION_ID=";
    EXPECT_EQ(browser.Get(address + session + "&CTRL=" + std::string(32, 'A'))->status, 403);
    EXPECT_EQ(browser.Get(address + session)->status, 403);
    EXPECT_EQ(browser.Get(address + std::string(64, 'a') + "&CTRL=" + digest)->status, 403);
    EXPECT_EQ(browser.Head(address + session + "&CTRL=" + digest)->status, 403);
    const auto opened = browser.Get(address + session + "&CTRL=" + digest);
    ASSERT_EQ(opened->status, 303);
    EXPECT_EQ(browser.Get(address + session + "&CTRL=" + digest)->status, 403);

    const std::string path = opened->get_header_value("Location");
    const std::string cookie = opened->get_header_value("Set-Cookie");
    const httplib::Headers headers{{"Cookie", cookie.substr(0, cookie.find(';'))}};
    EXPECT_EQ(browser.Get(path)->status, 403);
    EXPECT_EQ(browser.Get(path + "/document")->status, 403);
    const std::string page = browser.Get(path, headers)->body;
    const auto at = page.find("name=\"token\" value=\"") + 20;
    const std::string token = page.substr(at, 64);
    const std::string form = "&copies=1&paper=A4&colour=grey&duplex=one-sided&staple=none&note=";
    const auto post = [&](const httplib::Headers &sent, const std::string &body) {
        return browser.Post(path + "/confirm", sent, body, "application/x-www-form-urlencoded")->status;
    };
    EXPECT_EQ(post(headers, form), 403);
    EXPECT_EQ(post(headers, "token=" + std::string(64, '0') + form), 403);
    EXPECT_EQ(post({}, "token=" + token + form), 403);
    httplib::Headers foreign = headers;
    foreign.emplace("Sec-Fetch-Site", "cross-site");
    EXPECT_EQ(post(foreign, "token=" + token + form), 403);
    EXPECT_EQ(
        post(headers, "token=" + token + "&copies=1&paper=Poster&colour=grey&duplex=one-sided&staple=none"),
        422);
    EXPECT_EQ(post(headers, "token=" + token + form + std::string(20'000, 'x')), 413);
    EXPECT_EQ(m_server.documents()[0][1], "waiting");
    EXPECT_EQ(post(headers, "token=" + token + form), 303);
    EXPECT_EQ(m_server.documents()[0][1], "confirmed");
}

TEST_F(HostileClient, no_secret_reaches_a_log)
{
    FrameClient client(m_server);
    const std::string id = uploadDocument(client, m_server.user(), m_server.password(), "text\n", "a.txt");
    const std::string session = openPortalSession(client, m_server.user(), m_server.password(), id);
    const std::string digest = appserver::controlDigest(session, m_server.user(), m_server.password());
    httplib::SSLClient browser(m_server.host(), m_server.portalPort());
    browser.set_ca_cert_path(m_server.authority());
    ASSERT_EQ(browser.Get("/portal?x=1&VR_SESSION_ID=" + session + "&CTRL=" + digest)->status, 303);
    const std::string logs = m_server.accessLog() + m_server.log();
    EXPECT_THAT(logs, HasSubstr("GET \"/portal\" 303"));
    EXPECT_THAT(logs, Not(HasSubstr(session)));
    EXPECT_THAT(logs, Not(HasSubstr(digest)));
    EXPECT_THAT(logs, Not(HasSubstr(m_server.password())));
}

TEST_F(HostileClient, documents_and_users_survive_a_power_failure)
{
    FrameClient client(m_server);
    const std::string id =
        uploadDocument(client, m_server.user(), m_server.password(), samplePdf("kept"), "kept.pdf");
    const std::string half = sessionOf(client, 50);
    client.ask(RequestText()
                   .session(half, 1)
                   .command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|")
                   .file("F", std::string(200'000, 'x')));
    m_server.kill();
    m_server.start();
    ASSERT_EQ(m_server.documents().size(), 1U);
    EXPECT_EQ(m_server.documents()[0][0], id);
    EXPECT_TRUE(std::filesystem::is_empty(m_server.data() / "sessions"));
    FrameClient again(m_server);
    EXPECT_FALSE(sessionOf(again, 51).empty());
    EXPECT_EQ(m_server.terminate(), 0);
    m_server.start();
}

TEST_F(HostileClient, many_clients_at_once_each_get_their_document_stored_whole)
{
    constexpr std::size_t clients = 16;
    std::vector<std::string> contents;
    std::vector<std::string> ids(clients);
    for (std::size_t i = 0; i < clients; ++i) {
        std::mt19937 random(static_cast<unsigned int>(i));
        contents.push_back("%PDF-1.4\n");
        for (int k = 0; k < 300'000; ++k) {
            contents.back() += static_cast<char>(random());
        }
    }
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < clients; ++i) {
            threads.emplace_back([&, i] {
                FrameClient client(m_server);
                ids[i] = uploadDocument(client, m_server.user(), m_server.password(), contents[i], "x.pdf",
                                        static_cast<std::uint8_t>(i + 1));
            });
        }
        m_server.configure("[Limits]\nSessions=500\n"); // while they upload
    }
    EXPECT_EQ(m_server.documents().size(), clients);
    for (const auto &document : m_server.documents()) {
        const auto found = std::ranges::find(ids, document[0]);
        ASSERT_NE(found, ids.end());
        EXPECT_TRUE(fileBytes(m_server.documentFile(document)) ==
                    contents[static_cast<std::size_t>(found - ids.begin())]);
    }
}

TEST_F(HostileClient, requests_of_one_session_on_many_connections_are_carried_out_one_after_the_other)
{
    FrameClient opener(m_server);
    const std::string id = sessionOf(opener, 1);
    opener.ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|"));
    constexpr int clients = 6;
    std::vector<std::jthread> threads;
    threads.reserve(clients);
    for (int thread = 0; thread < clients; ++thread) {
        threads.emplace_back([&] {
            FrameClient client(m_server);
            for (int round = 0; round < 20; ++round) {
                try {
                    client.ask(RequestText()
                                   .session(id, 1)
                                   .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                   .file("B", std::string(1000, 'x'))
                                   .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0));
                } catch (const std::exception &) {
                    continue; // superseded by another thread's request
                }
            }
        });
    }
    threads.clear();
    opener.ask(RequestText()
                   .session(id, 1)
                   .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                   .file("B", std::string(1000, 'x'))
                   .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0));
    EXPECT_THAT(opener.ask(RequestText().session(id, 1).query("T")).lines,
                ::testing::ElementsAre("P 4 1000", "Z 4"));
}
