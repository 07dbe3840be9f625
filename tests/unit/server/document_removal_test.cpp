// SPDX-License-Identifier: MIT
#include "tests/unit/server/SendWorkflowTest.h"
#include "vrp/platform/files.h"

namespace {

const ScriptedLibrary::Error someError{"SYSTEM", "OBJECT", "7"};
constexpr char nop[] = "VR_CMD=|MISC:NOP|";

/// The step that fails.
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

class DocumentRemoval : public SendWorkflowTest, public testing::WithParamInterface<RemovalCase>
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

} // namespace
