// SPDX-License-Identifier: MIT
#include "tests/support/ScopedVariable.h"
#include "tests/unit/server/SendWorkflowTest.h"
#include "vrp/platform/files.h"

namespace {

using SendWorkflow = SendWorkflowTest;

TEST_F(SendWorkflow, a_whole_send_in_standard_mode)
{
    const std::wstring document = makeDocument();
    EXPECT_EQ(send({L"-m", L"send", L"-p", L"Queue", L"-d", L"A title", L"-n", L"2", L"-f", document, L"-c",
                    L"machine", L"-u", L"login"}),
              0);
    EXPECT_EQ(steps(), "Mode=Send\n"
                       "Arguments:\n"
                       "\t/opt/vrp\n\t-m\n\tsend\n\t-p\n\tQueue\n\t-d\n\tA title\n\t-n\n\t2\n\t-f\n\t" +
                           wtoUTF8(document) +
                           "\n\t-c\n\tmachine\n\t-u\n\tlogin\n"
                           "Get parameters from server directory\n"
                           "Check version\n"
                           "Get user credentials\n"
                           "Send file\n"
                           "File has been sent to the upload server\n"
                           "Open portal\n");
    EXPECT_EQ(sentFile(), wtoUTF8(document));
    EXPECT_EQ(described("PRINTER_NAME"), "Queue");
    EXPECT_EQ(described("FILE_NAME"), "A title");
    EXPECT_EQ(described("WIN_MACHINE"), "machine");
    EXPECT_EQ(described("WIN_USER"), "login");
    EXPECT_EQ(Transcript::count("> VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=|FILE-7|"), 1);
    EXPECT_EQ(Transcript::count("browser http://portal/?x&VR_SESSION_ID=S1&CTRL="), 1);
    EXPECT_EQ(std::wstring(main->printerTitle), L"The printer");
    EXPECT_FALSE(VrpsFileExist(document));
    EXPECT_EQ(boxes(), "");
    EXPECT_EQ(logText().find("secret"), std::string::npos);
}

TEST_F(SendWorkflow, the_steps_come_in_their_order)
{
    send({L"-p", L"Queue", L"-f", makeDocument()});
    const std::string text = Transcript::text();
    std::size_t at = 0;
    for (const char *step :
         {"window Connecting the directory...", "hide window", "dialog identifier",
          "window Connecting the server...", "dialog print mode", "window Sending file... 0",
          "window Processing file...", "window Connecting the server...", "window Opening browser...",
          "browser ", "close window"}) {
        at = text.find(step, at);
        ASSERT_NE(at, text.npos) << step;
    }
}

// Arguments.

TEST_F(SendWorkflow, a_missing_printer_name_is_told_and_the_document_kept)
{
    const std::wstring document = makeDocument();
    EXPECT_EQ(send({L"-f", document}), 1);
    EXPECT_EQ(Transcript::text(), "box critical ok No printer name given.\n");
    EXPECT_TRUE(logText().ends_with("Error: No printer name given\n"));
    EXPECT_TRUE(VrpsFileExist(document));
}

TEST_F(SendWorkflow, an_unknown_printer_is_told_and_the_document_kept)
{
    const std::wstring document = makeDocument();
    EXPECT_EQ(send({L"-p", L"Other", L"-f", document}), 1);
    EXPECT_EQ(Transcript::text(), "box critical ok The printer is not installed correctly.\n");
    EXPECT_TRUE(logText().ends_with("Error: Printer not installed\n"));
    EXPECT_TRUE(VrpsFileExist(document));
}

TEST_F(SendWorkflow, a_missing_file_name_is_told)
{
    EXPECT_EQ(send({L"-p", L"Queue"}), 1);
    EXPECT_EQ(Transcript::text(), "box critical ok No file name given.\n");
    EXPECT_TRUE(logText().ends_with("Error: No file name\n"));
}

TEST_F(SendWorkflow, a_silent_run_only_logs_what_is_wrong_with_its_arguments)
{
    main->silent = true;
    EXPECT_EQ(send({}), 1);
    EXPECT_EQ(send({L"-p", L"Other"}), 1);
    EXPECT_EQ(send({L"-p", L"Queue"}), 1);
    EXPECT_EQ(Transcript::text(), "");
    EXPECT_NE(steps().find("Error: No printer name given\n"), std::string::npos);
    EXPECT_NE(steps().find("Error: Printer not installed\n"), std::string::npos);
    EXPECT_NE(steps().find("Error: No file name\n"), std::string::npos);
}

TEST_F(SendWorkflow, an_option_without_its_value_at_the_end_is_ignored)
{
    EXPECT_EQ(send({L"-p", L"Queue", L"-f"}), 1);
    EXPECT_EQ(boxes(), "box critical ok No file name given.\n");
    EXPECT_NE(steps().find("\t-f\nError: No file name\n"), std::string::npos);
}

TEST_F(SendWorkflow, the_number_of_copies_may_be_anything)
{
    for (const wchar_t *copies : {L"-5", L"0", L"many", L"99999999999"}) {
        scriptUpload(library, 31, 40);
        EXPECT_EQ(send({L"-n", copies, L"-p", L"Queue", L"-f", makeDocument()}), 0);
    }
    scriptUpload(library, 31, 40);
    EXPECT_EQ(send({L"-p", L"Queue", L"-f", makeDocument(), L"-n"}), 0);
}

TEST_F(SendWorkflow, the_value_of_an_option_is_no_option)
{
    EXPECT_EQ(send({L"-d", L"-p", L"-p", L"Queue", L"-f", makeDocument()}), 0);
    EXPECT_EQ(described("FILE_NAME"), "-p");
}

TEST_F(SendWorkflow, an_option_that_is_given_twice_counts_with_its_last_value)
{
    EXPECT_EQ(send({L"-p", L"Other", L"-p", L"Queue", L"-f", L"/none", L"-f", makeDocument(), L"-d", L"a",
                    L"-d", L"b"}),
              0);
    EXPECT_EQ(described("PRINTER_NAME"), "Queue");
    EXPECT_EQ(described("FILE_NAME"), "b");
}

// Single sign-on.

TEST_F(SendWorkflow, no_credentials_are_asked_when_both_servers_take_single_sign_on)
{
    main->ident = L"old";
    main->password = L"old";
    scriptParameters(
        {{"SERVER_UPLOAD_SSO", " yes "}, {"SERVER_PORTAL_SSO", "Yes"}, {"PORTAL_URL", "http://p/?"}});
    EXPECT_EQ(send({L"-p", L"Queue", L"-f", makeDocument()}), 0);
    EXPECT_EQ(Transcript::count("dialog identifier"), 0);
    EXPECT_EQ(steps().find("Get user credentials"), std::string::npos);
    EXPECT_EQ(Transcript::count("> VR_CMD=|MISC:NOP| POD_USER"), 0);
    EXPECT_EQ(main->ident, L"");
    EXPECT_EQ(main->password, L"");
}

TEST_F(SendWorkflow, credentials_are_asked_when_only_one_server_takes_single_sign_on)
{
    scriptParameters({{"SERVER_UPLOAD_SSO", "YES"}});
    EXPECT_EQ(send({L"-p", L"Queue", L"-f", makeDocument()}), 0);
    scriptUpload(library, 31, 40);
    scriptParameters({{"SERVER_PORTAL_SSO", "YES"}});
    EXPECT_EQ(send({L"-p", L"Queue", L"-f", makeDocument()}), 0);
    EXPECT_EQ(Transcript::count("dialog identifier"), 2);
}

// The portal.

TEST_F(SendWorkflow, only_the_standard_mode_opens_the_portal)
{
    for (const int mode : {printModeAsync, printModeTunnel}) {
        scriptUpload(library, 31, 40);
        library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_NAME|", "Service");
        user.inPrintModeDialog = [this, mode] {
            main->printMode = mode;
            return 0;
        };
        const std::wstring document = makeDocument();
        EXPECT_EQ(send({L"-p", L"Queue", L"-f", document}), 0);
        EXPECT_FALSE(VrpsFileExist(document));
    }
    EXPECT_EQ(steps().find("Open portal"), std::string::npos);
    EXPECT_EQ(Transcript::count("browser"), 0);
}

// Test modes.

TEST_F(SendWorkflow, test_mode_sends_a_document_of_its_own_and_removes_it)
{
    useTestMode(runTest);
    QByteArray content;
    library.before("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS|", [&content] {
        QFile file(QString::fromStdString(sentFile()));
        if (file.open(QIODevice::ReadOnly)) {
            content = file.readAll();
        }
    });
    EXPECT_EQ(send({L"-p", L"Queue"}), 0);
    EXPECT_EQ(sentFile(), wtoUTF8(VrpsGetTempPath()) + "/vrptmp.txt");
    EXPECT_EQ(content, QByteArray("Varek virtual printer test file"));
    EXPECT_EQ(content.size(), 31);
    EXPECT_EQ(Transcript::count("> VR_PROC=||"), 0);
    EXPECT_EQ(Transcript::count("browser"), 0);
    EXPECT_FALSE(VrpsFileExist(VrpsGetTempPath() + L"/vrptmp.txt"));
}

TEST_F(SendWorkflow, test_mode_makes_no_document_for_a_printer_that_is_missing_or_unknown)
{
    useTestMode(runTest);
    for (const std::vector<std::wstring> &arguments : {std::vector<std::wstring>{}, {L"-p", L"Other"}}) {
        EXPECT_EQ(send(arguments), 1);
        EXPECT_FALSE(VrpsFileExist(VrpsGetTempPath() + L"/vrptmp.txt"));
    }
}

TEST_F(SendWorkflow, testb_mode_opens_the_portal_without_a_document)
{
    useTestMode(runTestWithPortal);
    EXPECT_EQ(send({L"-p", L"Queue"}), 0);
    EXPECT_EQ(Transcript::count("> VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=||"), 1);
    EXPECT_EQ(Transcript::count("browser"), 1);
}

TEST_F(SendWorkflow, a_failed_upload_has_no_line_of_its_own_in_the_log)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|", "0");
    EXPECT_EQ(send({L"-p", L"Queue", L"-f", makeDocument()}), 1);
    EXPECT_TRUE(steps().ends_with("Send file\n"));
    EXPECT_EQ(logText().find("Failed to send file"), std::string::npos);
}

TEST_F(SendWorkflow, a_test_document_that_cannot_be_written_is_left_to_the_upload)
{
    useTestMode(runTest);
    const ScopedVariable missingFolder("TMPDIR", "/no/such/folder");
    EXPECT_EQ(send({L"-p", L"Queue"}), 0); // the scripted server takes what there is not
    EXPECT_FALSE(sentFile().empty());
    EXPECT_EQ(boxes(), "");
}

} // namespace
