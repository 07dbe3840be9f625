// SPDX-License-Identifier: MIT
#include "tests/e2e/send/windows/SendProgram.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/file_bytes.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

TEST_F(SendProgram, a_document_is_sent_with_typed_credentials_and_its_page_opens_in_the_browser)
{
    const std::string document = makeDocument(fileBytes(VAREK_SOURCE_DIR "/tests/data/documents/report.pdf"));
    RunningProgram program =
        start({"-m", "send", "-p", "Queue", "-d", "Yearly report.pdf", "-f", document, "-k"});
    const std::string credentials = program.window("Varek print - identifier");
    program.press(credentials, "ctrl+a");
    type(server.user() + "\t" + server.password());
    program.press(credentials, "Return");
    program.press(program.window("Varek print - mode"), "Return");
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_TRUE(storedEquals(document));
    EXPECT_EQ(storedDescription()["print_mode"], "STANDARD");
    EXPECT_EQ(storedDescription()["file_name"], "Yearly report.pdf");

    const std::string address = openedAddress();
    ASSERT_THAT(address, HasSubstr("/portal?client=vrp&VR_SESSION_ID="));
    const std::string page = pageInBrowser(address);
    EXPECT_THAT(page, HasSubstr("<title>Yearly report.pdf"));
    EXPECT_EQ(log().find(server.password()), std::string::npos);
    EXPECT_EQ(socketLog().find(server.password()), std::string::npos);
}

TEST_F(SendProgram, a_send_with_stored_credentials_asks_nothing_and_removes_the_document)
{
    offerModes("ASYNC");
    storeCredentials(server.password());
    const std::string document = makeDocument("text\n");
    RunningProgram program = start({"-m", "send", "-p", "Queue", "-f", document});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_EQ(storedCount(), 1U) << log();
    EXPECT_FALSE(std::filesystem::exists(document));
}

TEST_F(SendProgram, a_silent_send_with_a_wrong_password_ends_without_a_window)
{
    offerModes("ASYNC");
    storeCredentials("wrong");
    const std::string document = makeDocument("text\n");
    RunningProgram program = start({"-m", "send", "-s", "-p", "Queue", "-f", document});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_FALSE(std::filesystem::exists(document));
    EXPECT_THAT(log(), HasSubstr("Bad password\r\n"));
}

TEST_F(SendProgram, test_mode_sends_a_document_of_its_own_and_stores_nothing)
{
    offerModes("ASYNC");
    storeCredentials(server.password());
    const ScopedVariable temporaryFolder("TMPDIR", folder.path().toStdString());
    RunningProgram program = start({"-m", "test", "-p", "Queue"});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_THAT(log(), HasSubstr("File has been sent to the upload server\r\n"));
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_FALSE(std::filesystem::exists(path("vrptmp.txt")));
}

} // namespace
