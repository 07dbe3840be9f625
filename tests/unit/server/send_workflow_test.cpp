// SPDX-License-Identifier: MIT
#include "tests/support/ServerTest.h"
#include "tests/support/UploadScript.h"
#include "vrp/platform/files.h"

#include <sstream>
#include <utility>
#include <vector>

namespace {

const ScriptedLibrary::Error someError{"SYSTEM", "OBJECT", "7"};
constexpr char nop[] = "VR_CMD=|MISC:NOP|";
constexpr char parameterValue[] = "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|";

/// Runs of the workflow from the command line on, against a directory, an upload server and a portal.
class SendWorkflow : public ServerTest
{
    ScopedVariable temporaryFolder{"TMPDIR", folder.path().toLocal8Bit()};

protected:
    SendWorkflow()
    {
        SettingsFolder::registerPrinter(QStringLiteral("Queue"), QStringLiteral("Company"),
                                        QStringLiteral("Software"));
        VrpsSetCompanyRegistryKey(L"Printer", L"Title", L"The printer", false);
        VrpsWriteServerDirectoriesToRegistry({L"host;app:dir"}, true);
        scriptUpload(library, 31, 40);
        library.answer("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|", "S1");
        user.inIdentifierDialog = [this] {
            main->ident = L"ident";
            main->password = L"secret";
            return 0;
        };
        main->runMode = runSend;
        scriptParameters({{"SERVER_UPLOAD_APPLICATION", "app"}, {"PORTAL_URL", "http://portal/?x"}});
    }

    void scriptParameters(std::initializer_list<std::pair<const char *, const char *>> parameters)
    {
        library.answer("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|parameters|",
                       std::to_string(parameters.size()));
        int index = 0;
        for (const auto &[key, value] : parameters) {
            library.answer("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|" +
                               std::to_string(++index) + "|",
                           key);
            library.answer(parameterValue + std::string(key) + "|", value);
        }
    }

    void useTestMode(int mode)
    {
        main->runMode = mode;
        main->testMode = true;
    }

    /// A document in the test's folder; its path.
    std::wstring makeDocument()
    {
        std::wstring document = path("document.pdf");
        SettingsFolder::write(QString::fromStdWString(document), "data");
        return document;
    }

    int send(std::vector<std::wstring> arguments)
    {
        FreshMain::setArguments(std::move(arguments));
        return main->DoSend();
    }

    /// The names of the file that the server was told to read.
    static std::string sentFile()
    {
        const std::string start =
            "> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|SEND_FILE| PERSIST=|-1| FILENAME=|";
        const std::string line = Transcript::linesFrom(start);
        return line.empty() ? "" : line.substr(start.size(), line.size() - start.size() - 2);
    }

    /// The log without the lines of the command channel.
    [[nodiscard]] std::string steps() const
    {
        std::string found;
        std::istringstream lines(logText());
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("Varek ") && line != " SUCCESS" && line != " FAILED") {
                found += line + "\n";
            }
        }
        return found;
    }

    static std::string described(const std::string &key)
    {
        const std::string start =
            "> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| KEY=|" + key + "| VALUE=|";
        const std::string line = Transcript::linesFrom(start);
        return line.empty() ? "" : line.substr(start.size(), line.size() - start.size() - 2);
    }
};

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

TEST_F(SendWorkflow, testb_mode_opens_the_portal_without_a_document)
{
    useTestMode(runTestWithPortal);
    EXPECT_EQ(send({L"-p", L"Queue"}), 0);
    EXPECT_EQ(Transcript::count("> VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=||"), 1);
    EXPECT_EQ(Transcript::count("browser"), 1);
}

// What becomes of the document.

enum class Failing
{
    nothing,
    directory,
    version,
    credentials,
    upload,
    portal
};

struct RemovalCase
{
    const char *name;
    int mode;
    bool named; ///< with "-f"
    bool kept;  ///< with "-k"
    Failing failing;
    int result;
    bool removed;
};

class DocumentRemoval : public SendWorkflow, public testing::WithParamInterface<RemovalCase>
{
protected:
    void arrange(Failing failing)
    {
        switch (failing) {
        case Failing::nothing:
            break;
        case Failing::directory:
            library.fail(nop, someError);
            break;
        case Failing::version:
            scriptParameters({{"LAST_VERSION_CHECK", "YES"},
                              {"LAST_VERSION", "9.00.000"},
                              {"LAST_VERSION_DOWNLOAD", "http://host/"}});
            user.inUpdatePrompt = [this] { main->updateAnswer = 2; };
            break;
        case Failing::credentials:
            user.inIdentifierDialog = [] { return 1; };
            break;
        case Failing::upload:
            library.answer("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|", "0");
            break;
        case Failing::portal:
            user.browserStarts = false;
            break;
        }
    }
};

TEST_P(DocumentRemoval, follows_the_mode_and_the_outcome)
{
    const RemovalCase &each = GetParam();
    if (each.mode != runSend) {
        useTestMode(each.mode);
    }
    main->removeFile = !each.kept;
    const std::wstring document = each.named ? makeDocument() : VrpsGetTempPath() + L"/vrptmp.txt";
    arrange(each.failing);
    std::vector<std::wstring> arguments{L"-p", L"Queue"};
    if (each.named) {
        arguments.insert(arguments.end(), {L"-f", document});
    }
    EXPECT_EQ(send(arguments), each.result);
    EXPECT_EQ(VrpsFileExist(document), !each.removed);
}

constexpr RemovalCase removalCases[] = {
    {"send", runSend, true, false, Failing::nothing, 0, true},
    {"send_k", runSend, true, true, Failing::nothing, 0, false},
    {"send_directory_fails", runSend, true, false, Failing::directory, 1, true},
    {"send_directory_fails_k", runSend, true, true, Failing::directory, 1, false},
    {"send_version_stops", runSend, true, false, Failing::version, 1, true},
    {"send_version_stops_k", runSend, true, true, Failing::version, 1, false},
    {"send_credentials_cancelled", runSend, true, false, Failing::credentials, 1, true},
    {"send_credentials_cancelled_k", runSend, true, true, Failing::credentials, 1, false},
    {"send_upload_fails", runSend, true, false, Failing::upload, 1, true},
    {"send_upload_fails_k", runSend, true, true, Failing::upload, 1, false},
    {"send_portal_fails", runSend, true, false, Failing::portal, 1, true},
    {"send_portal_fails_k", runSend, true, true, Failing::portal, 1, false},
    {"test_own", runTest, false, false, Failing::nothing, 0, true},
    {"test_own_k", runTest, false, true, Failing::nothing, 0, false},
    {"test_own_directory_fails", runTest, false, false, Failing::directory, 1, true},
    {"test_own_upload_fails", runTest, false, false, Failing::upload, 1, true},
    {"test_own_upload_fails_k", runTest, false, true, Failing::upload, 1, false},
    {"test_named", runTest, true, false, Failing::nothing, 0, false},
    {"test_named_directory_fails", runTest, true, false, Failing::directory, 1, false},
    {"test_named_version_stops", runTest, true, false, Failing::version, 1, false},
    {"test_named_credentials_cancelled", runTest, true, false, Failing::credentials, 1, false},
    {"test_named_upload_fails", runTest, true, false, Failing::upload, 1, false},
    {"testb_own", runTestWithPortal, false, false, Failing::nothing, 0, true},
    {"testb_named", runTestWithPortal, true, false, Failing::nothing, 0, false},
    {"testb_own_portal_fails", runTestWithPortal, false, false, Failing::portal, 1, true},
    {"testb_named_is_removed_when_the_portal_fails", runTestWithPortal, true, false, Failing::portal, 1,
     true},
    {"testb_named_portal_fails_k", runTestWithPortal, true, true, Failing::portal, 1, false},
};

INSTANTIATE_TEST_SUITE_P(Of, DocumentRemoval, testing::ValuesIn(removalCases),
                         [](const auto &tested) { return std::string(tested.param.name); });

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
