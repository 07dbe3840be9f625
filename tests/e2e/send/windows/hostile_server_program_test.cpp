// SPDX-License-Identifier: MIT
#include "tests/e2e/program/RunningProgram.h"
#include "tests/e2e/send/SendTest.h"
#include "tests/support/WildServer.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <sys/resource.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// The real program, in real windows, with servers and settings that mean harm. Every program that a desktop
/// opens addresses with is a script that records them.
class HostileServerProgram : public SendTest
{
protected:
    HostileServerProgram()
    {
        std::filesystem::create_directory(path("bin"));
        for (const char *opener : {"xdg-open", "gio", "kde-open", "kfmclient", "gnome-open", "firefox",
                                   "chromium", "x-www-browser", "sensible-browser"}) {
            const std::string script = path("bin/") + opener;
            std::ofstream(script) << "#!/bin/sh\nprintf '%s %s\\n' \"${0##*/}\" \"$*\" >>'" << path("opened")
                                  << "'\n";
            std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        }
        offerModes("STANDARD");
        // An installation says once more where its settings are.
        VrpsSetCompanyRegistryKey(L"Software", L"Company", L"Company", false);
        VrpsSetCompanyRegistryKey(L"Software", L"Name", L"Software", false);
        main->ident = UTF8tow(server.user());
        main->password = UTF8tow(server.password());
        VrpsSetIdentPasswordToRegistry();
    }

    [[nodiscard]] RunningProgram start(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), {"-l", path("log.txt") + ";" + path("socket.txt")});
        return RunningProgram(arguments, folder.path().toStdString(),
                              {{"PATH", path("bin") + ":" + std::getenv("PATH")}, {"BROWSER", ""}});
    }

    [[nodiscard]] RunningProgram startSend(const std::string &document) const
    {
        return start({"-m", "send", "-s", "-k", "-p", "Queue", "-d", "Title", "-f", document});
    }

    void openPage(const std::string &address)
    {
        VrpsSetCompanyRegistryKey(L"Help", L"Main", UTF8tow(address).c_str(), true);
        RunningProgram program = start({"-m", "help", "-p", "Queue"});
        EXPECT_EQ(program.exitStatus(), 0) << program.output();
    }

    /// What was opened up to now. An address that may be opened goes behind all others, and is waited for.
    [[nodiscard]] std::vector<std::string> opened()
    {
        const std::string last = "http://localhost/last";
        openPage(last);
        const auto deadline = Clock::now() + std::chrono::seconds(30);
        while (contents(path("opened")).find(last) == std::string::npos && Clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        std::ifstream file(path("opened"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// Every line ends in CR LF and holds nothing that a terminal would obey.
    void expectWholeLog() const
    {
        const std::string text = log();
        const auto lines = std::count(text.begin(), text.end(), '\n');
        EXPECT_GT(lines, 5);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), lines);
        for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) {
            ASSERT_EQ(text[at - 1], '\r');
        }
        EXPECT_EQ(text.find('\x1B'), std::string::npos);
        EXPECT_EQ(text.find(server.password()), std::string::npos);
    }

    static long peakKiBOfPrograms()
    {
        rusage usage = {};
        ::getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_maxrss;
    }

    static constexpr long mostKiB = 1024 * 1024; // sanitizers included
};

TEST_F(HostileServerProgram, no_help_address_starts_anything_but_a_page)
{
    for (const char *address : {"file:///Applications/x.app", "file:///bin/sh", "/bin/sh",
                                "javascript:alert(1)", "-option", "--help", "data:text/html,x", "x-app:go",
                                "$(touch pwned)", "http:", "; touch pwned", "file:///etc/passwd"}) {
        openPage(address);
    }
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
    EXPECT_FALSE(std::filesystem::exists(path("pwned")));
}

TEST_F(HostileServerProgram, no_portal_address_starts_anything_but_a_page)
{
    const std::string document = makeDocument("text\n");
    for (const std::string address :
         {"file:///Applications/x.app", "javascript:alert(1)//", "-option", "/bin/sh #"}) {
        useParameters(
            "SERVER_UPLOAD_ADDRESS=127.0.0.1\nSERVER_UPLOAD_PORT=" + std::to_string(server.port()) +
            "\nSERVER_PORTAL_ADDRESS=127.0.0.1\nSERVER_PORTAL_APPLICATION=portal\nSERVER_PORTAL_PORT=" +
            std::to_string(server.port()) +
            "\nSERVER_UPLOAD_PROCEDURE=ProcessFile\nSERVER_UPLOAD_PARAM=QUEUE=|demo|\nPORTAL_URL=" + address);
        RunningProgram program = startSend(document);
        EXPECT_EQ(program.exitStatus(), 0) << program.output();
        EXPECT_THAT(log(), testing::HasSubstr("Open portal\r\n")) << address;
    }
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
}

TEST_F(HostileServerProgram, no_update_address_starts_anything_but_a_page)
{
    const std::string document = makeDocument("text\n");
    for (const std::string address : {"file:///bin/sh", "-option"}) {
        useParameters("LAST_VERSION_CHECK=YES\nLAST_VERSION=99.99.999\nLAST_VERSION_DOWNLOAD=" + address);
        RunningProgram program = startSend(document);
        program.press(program.window("Varek print - update"), "Return");
        EXPECT_EQ(program.exitStatus(), 0) << program.output();
    }
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
}

TEST_F(HostileServerProgram, texts_of_a_directory_stay_texts)
{
    offerModes(
        "TUNNEL\nTunnelMode=SINGLE\nTunnelServiceName=<b>%s%n</b>\x1b[2J\nTunnelServiceProfile=-option");
    useParameters(
        "SERVER_UPLOAD_ADDRESS=127.0.0.1\nSERVER_UPLOAD_PORT=" + std::to_string(server.port()) +
        "\nSERVER_UPLOAD_USER=\nSERVER_UPLOAD_PARAM=QUEUE=|demo|\nSERVER_UPLOAD_PROCEDURE=ProcessFile"
        "\n<h1>%n%n\x1b]0;x\x07=<img src=x>\nA_PASSWORD=seen by nobody"
        "\nSERVER_PORTAL_APPLICATION=x\" SocketLog=\"" +
        path("planted"));
    RunningProgram program = startSend(makeDocument("text\n"));
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_EQ(storedCount(), 1U) << log();
    EXPECT_EQ(storedDescription()["tunnel_service"], "<b>%s%n</b>\x1b[2J");
    EXPECT_EQ(log().find("seen by nobody"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path("planted")));
    expectWholeLog();
}

TEST_F(HostileServerProgram, a_server_cannot_have_a_file_of_the_user_written)
{
    useParameters("SERVER_UPLOAD_ADDRESS=127.0.0.1\nSERVER_UPLOAD_PORT=" + std::to_string(server.port()) +
                  "\nSERVER_UPLOAD_OPEN_SESSION_PROC=x\" SocketLog=\"" + path("planted"));
    RunningProgram program(
        {"-m", "send", "-s", "-k", "-p", "Queue", "-f", makeDocument("text\n"), "-l", path("log.txt")},
        folder.path().toStdString(), {{"PATH", path("bin") + ":" + std::getenv("PATH")}});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_THAT(log(), testing::HasSubstr("SocketLog"));
    EXPECT_FALSE(std::filesystem::exists(path("planted")));
}

TEST_F(HostileServerProgram, sends_to_a_server_that_has_lost_its_mind_end)
{
    const WildServer wild(20261121);
    useParameters("SERVER_UPLOAD_ADDRESS=127.0.0.1\nSERVER_UPLOAD_PROTOCOL=HTTP\nSERVER_UPLOAD_PORT=" +
                  std::to_string(wild.port()));
    const std::string document = makeDocument("text\n");
    for (int run = 1; run <= 6; ++run) {
        SCOPED_TRACE(run);
        main->ident = UTF8tow(server.user());
        main->password = UTF8tow(server.password());
        VrpsSetIdentPasswordToRegistry(); // a failed login has cleared it
        RunningProgram program = startSend(document);
        EXPECT_EQ(program.exitStatus(), 0) << program.output();
        expectWholeLog();
    }
    EXPECT_GE(wild.connections(), 6);
    EXPECT_EQ(contents(document), "text\n");
    EXPECT_LT(peakKiBOfPrograms(), mostKiB);
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
}

} // namespace
