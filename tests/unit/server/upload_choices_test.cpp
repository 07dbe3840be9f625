// SPDX-License-Identifier: MIT
#include "vrp/server/upload_choices.h"

#include "tests/support/UploadTest.h"

namespace {

const ScriptedLibrary::Error someError{"SYSTEM", "OBJECT", "7"};
constexpr char noService[] =
    "box critical ok No service name or profile has been defined for the tunnel mode.\n";
constexpr char sessionEnd[] = "> VR_CLOSE_SESSION=|YES|\nclose\n";

/// The service and the profile that the server was told, as name/profile.
std::string toldService(const std::string &description)
{
    const auto value = [&](const std::string &key) {
        const std::string start = "KEY=|" + key + "| VALUE=|";
        const std::size_t from = description.find(start) + start.size();
        return description.substr(from, description.find("|\n", from) - from);
    };
    return value("TUNNEL_SERVICE") + "/" + value("TUNNEL_PROFILE");
}

class TunnelUpload : public UploadTest
{
protected:
    TunnelUpload() { chooseMode(printModeTunnel); }

    void chooseService(const wchar_t *service)
    {
        user.inServiceDialog = [this, service] {
            main->service = service;
            return 0;
        };
    }
};

// The offered modes.

struct OfferCase
{
    std::initializer_list<const char *> modes;
    bool standard;
    bool async;
    bool tunnel;
};

TEST_F(UploadTest, the_servers_list_decides_on_the_offered_modes)
{
    const OfferCase cases[] = {
        {{"STANDARD"}, true, false, false},
        {{" tunnel\t"}, false, false, true},
        {{"Async", "other"}, false, true, false},
        {{"TUNNEL", "STANDARD", "ASYNC"}, true, true, true},
    };
    for (const OfferCase &each : cases) {
        main->standardModeOffered = main->asyncModeOffered = main->tunnelModeOffered = false;
        scriptUpload(library, plainBytes, twoBlocks, each.modes);
        EXPECT_EQ(upload(), 0);
        EXPECT_EQ(main->standardModeOffered, each.standard);
        EXPECT_EQ(main->asyncModeOffered, each.async);
        EXPECT_EQ(main->tunnelModeOffered, each.tunnel);
    }
}

TEST_F(UploadTest, an_unreadable_mode_is_not_offered)
{
    library.fail("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|1|", someError);
    EXPECT_EQ(upload(), 0);
    EXPECT_FALSE(main->standardModeOffered);
    EXPECT_TRUE(main->asyncModeOffered);
}

TEST_F(UploadTest, outside_tunnel_mode_no_tunnel_is_asked_for)
{
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(commands().find("NAME=|TUNNEL_"), std::string::npos);
}

// One service.

TEST_F(TunnelUpload, a_single_service_is_read_from_the_profile)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_NAME|", "Name");
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_PROFILE|", "Profile");
    EXPECT_EQ(upload(), 0);
    EXPECT_NE(Transcript::text().find(
                  "dialog print mode\n"
                  "> VR_CMD=|OBJECT:GET| NAME=|TUNNEL_MODE| VR_CONTAINER=|PROFILE| VR_NO_ERROR=|YES|\n"
                  "> VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_MODE| VR_NO_ERROR=|YES|\n"
                  "> VR_CMD=|OBJECT:GET| NAME=|TUNNEL_SERVICE_NAME| VR_CONTAINER=|PROFILE|\n"
                  "> VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_NAME|\n"
                  "> VR_CMD=|OBJECT:GET| NAME=|TUNNEL_SERVICE_PROFILE| VR_CONTAINER=|PROFILE|\n"
                  "> VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_PROFILE|\n"
                  "window Sending file... 0\n"),
              std::string::npos);
    EXPECT_EQ(toldService(description()), "Name/Profile");
}

TEST_F(TunnelUpload, any_mode_but_multiple_means_a_single_service)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_NAME|", "Name");
    for (const char *mode : {"", "SINGLE", "MULTIPLES", "0"}) {
        scriptUpload(library, plainBytes, twoBlocks);
        library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_MODE| VR_NO_ERROR=|YES|", mode);
        EXPECT_EQ(upload(), 0);
    }
    EXPECT_EQ(commands().find("TUNNEL_SERVICES"), std::string::npos);
}

TEST_F(TunnelUpload, the_name_or_the_profile_alone_is_accepted_whatever_the_message_says)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_NAME|", "Name", 1);
    EXPECT_EQ(upload(), 0);
    scriptUpload(library, plainBytes, twoBlocks);
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_PROFILE|", "Profile", 1);
    EXPECT_EQ(upload(), 0);
}

TEST_F(TunnelUpload, neither_name_nor_profile_is_refused)
{
    EXPECT_EQ(upload(), 1);
    EXPECT_TRUE(Transcript::text().ends_with(
        "> VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_PROFILE|\n" + std::string(sessionEnd) +
        noService + "close window\n"));
}

TEST_F(TunnelUpload, neither_name_nor_profile_is_refused_without_a_box_in_a_silent_run)
{
    main->silent = true;
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(boxes(), "");
}

// Several services.

TEST_F(TunnelUpload, the_user_chooses_among_several_services)
{
    scriptServices(library, {"A;Label A;P1", "", "B;Label B;P2"});
    std::vector<std::wstring> offered;
    user.inServiceDialog = [&] {
        offered = main->services;
        main->service = L"B;Label B;P2";
        return 0;
    };
    EXPECT_EQ(upload(), 0);
    EXPECT_NE(Transcript::text().find(
                  "> VR_CMD=|OBJECT:GET| NAME=|TUNNEL_MODE| VR_CONTAINER=|PROFILE| VR_NO_ERROR=|YES|\n"
                  "> VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_MODE| VR_NO_ERROR=|YES|\n"
                  "> VR_CMD=|OBJECT:GET| NAME=|TUNNEL_SERVICES| VR_CONTAINER=|PROFILE|\n"
                  "> VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|TUNNEL_SERVICES|\n"
                  "> VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|TUNNEL_SERVICES| ROW=|1| MODE=|STRING|\n"
                  "> VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|TUNNEL_SERVICES| ROW=|2| MODE=|STRING|\n"
                  "> VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|TUNNEL_SERVICES| ROW=|3| MODE=|STRING|\n"
                  "dialog service\n"
                  "window Sending file... 0\n"),
              std::string::npos);
    EXPECT_EQ(offered, (std::vector<std::wstring>{L"A;Label A;P1", L"B;Label B;P2"}));
    EXPECT_EQ(toldService(description()), "B/P2");
    EXPECT_EQ(main->service, L"Label B;P2");
}

TEST_F(TunnelUpload, letter_case_and_blanks_of_the_mode_do_not_count)
{
    scriptServices(library, {"A;B;C"});
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_MODE| VR_NO_ERROR=|YES|",
                   " Multiple ");
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(toldService(description()), "A/C");
}

TEST_F(TunnelUpload, a_single_row_is_taken_without_asking)
{
    scriptServices(library, {"A;B;C"});
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(Transcript::count("dialog service"), 0);
    EXPECT_EQ(toldService(description()), "A/C");
}

TEST_F(TunnelUpload, services_of_an_earlier_upload_are_forgotten)
{
    main->services = {L"old", L"older"};
    main->service = L"old";
    scriptServices(library, {"A;B"});
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(main->services, std::vector<std::wstring>{L"A;B"});
    EXPECT_EQ(toldService(description()), "A/");
}

TEST_F(TunnelUpload, no_rows_are_refused)
{
    for (const char *rows : {"0", "-3", "", "many"}) {
        Transcript::clear();
        scriptServices(library, {});
        library.answer("VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|TUNNEL_SERVICES|", rows);
        EXPECT_EQ(upload(), 1);
        EXPECT_TRUE(Transcript::text().ends_with(
            "> VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|TUNNEL_SERVICES|\n" + std::string(sessionEnd) +
            noService + "close window\n"));
    }
}

TEST_F(TunnelUpload, rows_that_are_all_empty_are_refused)
{
    scriptServices(library, {"", ""});
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(Transcript::count("dialog service"), 0);
    EXPECT_EQ(boxes(), noService);
}

TEST_F(TunnelUpload, a_row_without_a_semicolon_is_refused)
{
    scriptServices(library, {"A"});
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(boxes(), noService);
}

TEST_F(TunnelUpload, a_cancelled_service_dialog_shows_no_box)
{
    scriptServices(library, {"A;B;C", "D;E;F"});
    user.inServiceDialog = [] { return 1; };
    EXPECT_EQ(upload(), 1);
    EXPECT_TRUE(
        Transcript::text().ends_with("dialog service\n" + std::string(sessionEnd) + "close window\n"));
    EXPECT_EQ(boxes(), "");
}

struct RowCase
{
    const wchar_t *row;
    const wchar_t *name;
    const wchar_t *profile;
    const wchar_t *rest;
};

TEST(ServiceRow, a_row_is_split_at_its_first_two_semicolons)
{
    const RowCase cases[] = {
        {L"A;B;C", L"A", L"C", L"B;C"}, {L"A;B", L"A", L"", L"B"},
        {L"A", L"", L"", L"A"},         {L"A;;", L"A", L"", L";"},
        {L";B;C", L"", L"C", L"B;C"},   {L"A;B;C;D", L"A", L"C;D", L"B;C;D"},
        {L"", L"", L"", L""},           {L" A ; B ;C ", L" A ", L"C ", L" B ;C "},
    };
    for (const RowCase &each : cases) {
        std::wstring row = each.row;
        const TunnelService service = splitServiceRow(row);
        EXPECT_EQ(service.name, each.name);
        EXPECT_EQ(service.profile, each.profile);
        EXPECT_EQ(row, each.rest);
    }
}

} // namespace
