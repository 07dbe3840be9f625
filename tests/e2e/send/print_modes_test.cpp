// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SendTest.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

using PrintModes = SendTest;

TEST_F(PrintModes, standard_mode_stores_the_document_with_its_description_and_opens_the_portal)
{
    const std::string document = makeDocument("Dear reader,\nthis is a letter.\n");
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_TRUE(storedEquals(document));
    auto stored = storedDescription();
    EXPECT_EQ(stored["owner"], server.user());
    EXPECT_EQ(stored["queue"], "demo");
    EXPECT_EQ(stored["print_mode"], "STANDARD");
    EXPECT_EQ(stored["printer_name"], "Queue");
    EXPECT_EQ(stored["file_name"], "Title \xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(stored["bytes"], "31");
    EXPECT_EQ(stored["client_machine"], "machine");
    EXPECT_EQ(stored["client_user"], "login");
    EXPECT_EQ(stored["tunnel_service"], "");
    EXPECT_EQ(stored["tunnel_profile"], "");
    EXPECT_THAT(Transcript::linesFrom("browser "), HasSubstr("/portal?client=vrp&VR_SESSION_ID="));
    EXPECT_EQ(boxes(), "");
    EXPECT_FALSE(std::filesystem::exists(document + ".tmp"));
    EXPECT_FALSE(std::filesystem::exists(document + ".tmpc"));
}

TEST_F(PrintModes, asynchronous_mode_leaves_the_document_waiting)
{
    chooseMode(printModeAsync);
    const std::string document = makeDocument("text\n");
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_TRUE(storedEquals(document));
    EXPECT_EQ(storedDescription()["print_mode"], "ASYNC");
    EXPECT_EQ(storedDescription()["state"], "waiting");
    EXPECT_EQ(Transcript::count("browser"), 0);
}

TEST_F(PrintModes, tunnel_mode_tells_the_service_that_the_user_chose)
{
    chooseMode(printModeTunnel);
    std::vector<std::wstring> offered;
    user.inServiceDialog = [&] {
        offered = main->services;
        main->service = main->services.back();
        return 0;
    };
    const std::string document = makeDocument("text\n");
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_TRUE(storedEquals(document));
    EXPECT_EQ(offered,
              (std::vector<std::wstring>{L"archive;Archive;long-term", L"fax;Fax gateway;standard"}));
    EXPECT_EQ(storedDescription()["print_mode"], "TUNNEL");
    EXPECT_EQ(storedDescription()["state"], "released");
    EXPECT_EQ(storedDescription()["tunnel_service"], "fax");
    EXPECT_EQ(storedDescription()["tunnel_profile"], "standard");
}

TEST_F(PrintModes, tunnel_mode_with_a_single_service_does_not_ask)
{
    server.configure("[Profile demo]\nTunnelMode=SINGLE");
    chooseMode(printModeTunnel);
    const std::string document = makeDocument("text\n");
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_EQ(Transcript::count("dialog service"), 0);
    EXPECT_EQ(storedDescription()["tunnel_service"], "archive");
    EXPECT_EQ(storedDescription()["tunnel_profile"], "long-term");
}

TEST_F(PrintModes, the_server_decides_on_the_offered_modes)
{
    offerModes("ASYNC,TUNNEL");
    chooseMode(printModeAsync);
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    EXPECT_FALSE(main->standardModeOffered);
    EXPECT_TRUE(main->asyncModeOffered);
    EXPECT_TRUE(main->tunnelModeOffered);
}

TEST_F(PrintModes, the_directory_is_remembered)
{
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    const std::wstring directory = UTF8tow(server.directory());
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"Sdir", L"", true), directory);
    std::vector<std::wstring> list;
    VrpsGetServerDirectoriesFromRegistry(list, false);
    EXPECT_EQ(list, std::vector<std::wstring>{directory});
}

TEST_F(PrintModes, testb_mode_opens_the_portal_and_stores_nothing)
{
    main->runMode = runTestWithPortal;
    main->testMode = true;
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_EQ(Transcript::count("browser https://"), 1);
}

} // namespace
