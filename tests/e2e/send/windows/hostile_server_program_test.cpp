// SPDX-License-Identifier: MIT
#include "tests/e2e/send/windows/HostileServerProgram.h"
#include "tests/support/WildServer.h"
#include "tests/support/file_bytes.h"

#include <gmock/gmock.h>

namespace {

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
        storeCredentials();
        RunningProgram program = startSend(document);
        EXPECT_EQ(program.exitStatus(), 0) << program.output();
        EXPECT_LT(program.peakKiB(), mostKiB);
        expectWholeLog();
    }
    EXPECT_GE(wild.connections(), 6);
    EXPECT_EQ(fileBytes(document), "text\n");
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
}

} // namespace
