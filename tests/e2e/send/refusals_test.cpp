// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SendTest.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/stored_credentials.h"

namespace {

class Refusals : public SendTest
{
protected:
    void useCredentials(const std::wstring &ident, const std::wstring &password)
    {
        user.inIdentifierDialog = [this, ident, password] {
            main->ident = ident;
            main->password = password;
            VrpsSetIdentPasswordToRegistry();
            return 0;
        };
    }

    /// Expects a send that fails with one box, removes the document and stores none.
    void expectFailure(const std::string &box)
    {
        const std::string document = makeDocument("text\n");
        EXPECT_NE(send(document, {}), 0);
        EXPECT_EQ(boxes(), box);
        EXPECT_FALSE(std::filesystem::exists(document));
        EXPECT_EQ(storedCount(), 0U);
    }
};

TEST_F(Refusals, an_unknown_user_is_told_and_the_password_forgotten)
{
    useCredentials(L"nobody", L"pass-word-1");
    expectFailure("box critical ok Bad user name.\n");
    EXPECT_NE(log().find("Bad user\r\n"), std::string::npos);
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"Password", L"(absent)", true), L"");
}

TEST_F(Refusals, a_wrong_password_is_told_and_forgotten)
{
    useCredentials(UTF8tow(server.user()), L"pass-word-1");
    expectFailure("box critical ok Bad password.\n");
    EXPECT_NE(log().find("Bad password\r\n"), std::string::npos);
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"Password", L"(absent)", true), L"");
}

TEST_F(Refusals, a_user_without_a_print_mode_is_not_authorized)
{
    offerModes("");
    expectFailure("box critical ok You are not authorized to perform the operation.\n");
}

TEST_F(Refusals, an_unreachable_directory_is_told)
{
    setDirectories({"127.0.0.1:1;directory:demo"});
    expectFailure("box critical ok Cannot connect the server.\n");
}

TEST_F(Refusals, directories_that_do_not_answer_are_passed_over)
{
    const std::string port = std::to_string(server.port());
    setDirectories({"127.0.0.1:1;directory:demo", "127.0.0.1:" + port + ";directory:unknown",
                    "127.0.0.1:" + port + ";nothing:demo", server.directory()});
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    EXPECT_EQ(storedCount(), 1U);
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"Sdir", L"", true), UTF8tow(server.directory()));
}

TEST_F(Refusals, a_server_that_is_not_trusted_gets_nothing)
{
    std::filesystem::remove(std::filesystem::path(std::getenv("VAREK_LIBRARY_FOLDER")) / "vrc-ca.pem");
    expectFailure("box critical ok Cannot connect the server.\n");
    EXPECT_NE(log().find("Varek error: LOCAL:REQUEST:120:"), std::string::npos) << log();
}

TEST_F(Refusals, an_unprintable_document_is_told)
{
    const std::string document = makeDocument(std::string("\0\1\2\3", 4));
    EXPECT_NE(send(document), 0);
    EXPECT_EQ(boxes(), "box critical ok Invalid format file.\n");
    EXPECT_EQ(storedCount(), 0U);
}

TEST_F(Refusals, a_missing_document_is_a_bad_file)
{
    EXPECT_NE(send(path("missing")), 0);
    EXPECT_EQ(boxes(), "box critical ok Bad file.\n");
}

TEST_F(Refusals, a_processing_error_is_told)
{
    useParameters("SERVER_UPLOAD_PROCEDURE=Unknown");
    EXPECT_NE(send(makeDocument("text\n")), 0);
    EXPECT_EQ(boxes(), "box critical ok Error processing sent file.\n");
}

// Cancelling.

TEST_F(Refusals, a_cancel_between_blocks_stops_within_a_block_and_leaves_nothing)
{
    const std::string document = makeDocument(incompressibleDocument(20 * 65536));
    // before the third block: directory 6, connection 2, then one refresh a block
    user.cancelAtRefresh(6 + 2 + 3);
    EXPECT_NE(send(document), 0);
    EXPECT_EQ(boxes(), "box information ok Operation canceled by user.\n");
    EXPECT_NE(log().find("OFFSET=|65536| NUM_BYTES=|65536|"), std::string::npos);
    EXPECT_EQ(log().find("OFFSET=|131072|"), std::string::npos);
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_TRUE(std::filesystem::is_empty(server.data() / "documents"));
    EXPECT_TRUE(std::filesystem::is_empty(server.data() / "sessions"));
    EXPECT_FALSE(std::filesystem::exists(document + ".tmp"));
    EXPECT_FALSE(std::filesystem::exists(document + ".tmpc"));
}

TEST_F(Refusals, a_cancel_after_the_description_has_no_effect)
{
    chooseMode(printModeAsync);
    const std::string document = makeDocument("text\n");
    // directory 6, connection 2, one block, and one refresh each behind blocks, decompression, clean-up, size
    // check and description; the next one does not exist
    user.cancelAtRefresh(6 + 2 + 1 + 5 + 1);
    EXPECT_EQ(send(document), 0) << log();
    EXPECT_EQ(user.refreshCount(), 6 + 2 + 1 + 5);
    EXPECT_TRUE(storedEquals(document));
}

TEST_F(Refusals, no_password_reaches_the_log_or_the_socket_log)
{
    server.configure("[Application upload]\nUser=appuser\nPassword=app-secret-1");
    useParameters("SERVER_UPLOAD_PROCEDURE=ProcessFile\nSERVER_UPLOAD_USER=appuser\n"
                  "SERVER_UPLOAD_PASSWORD=app-secret-1");
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    ASSERT_NE(log().find("File has been sent"), std::string::npos);
    ASSERT_FALSE(socketLog().empty());
    for (const std::string &secret : {server.password(), std::string("app-secret-1")}) {
        EXPECT_EQ(log().find(secret), std::string::npos);
        EXPECT_EQ(socketLog().find(secret), std::string::npos);
    }
    EXPECT_NE(log().find("KEY=|SERVER_UPLOAD_PASSWORD| - Result buffer: ****"), std::string::npos);
}

} // namespace
