// SPDX-License-Identifier: MIT
#include "tests/support/UploadTest.h"
#include "vrp/server/upload_blocks.h"

#include <algorithm>
#include <limits>

namespace {

constexpr char connection[] = R"(window Connecting the server... -1
refresh
open Unicode="YES" Server="upload:2000" Application="app" User="user" Password="session-secret" Ssl="YES" ConnectionTimeOut="5"
> VR_CMD=|MISC:NOP| POD_USER=|ident| POD_PASSWORD=|ident-secret|
refresh
window Checking security... -1
> VR_CMD=|OBJECT:GET| NAME=|PRINTING_MODES| VR_CONTAINER=|PROFILE|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|PRINTING_MODES|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|1|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|2|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|3|
dialog print mode
)";

constexpr char twoBlocksSent[] = R"(window Sending file... 0
> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|SEND_FILE| PERSIST=|-1| FILENAME=|/spool/job 1.pdf|
> VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|SEND_FILE|
> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|COMPRESSED_FILE| PERSIST=|0| FILENAME=|/spool/job 1.pdf.tmpc|
> VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|SEND_FILE| DNAME=|COMPRESSED_FILE|
> VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|
> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|BLOCK_FILE| PERSIST=|0| FILENAME=|/spool/job 1.pdf.tmp|
> VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|
> VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|
refresh
> VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|0| NUM_BYTES=|65536|
> VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|
> VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|
> VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|
window Sending file... 50
refresh
> VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|65536| NUM_BYTES=|10|
> VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|
> VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|
> VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|
window Sending file... 100
refresh
> VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SERVER_FILE_SIZE| REPLACE=|YES|
> VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|RECEIVED_COMPRESSED_FILE| VR_VAR=|SERVER_FILE_SIZE|
> VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SERVER_FILE_SIZE| VALUE=|##SERVER_FILE_SIZE| VR_KEEP_VAR=|YES|
> VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|
> VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|
> VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|
> VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|
refresh
> VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|BLOCK_FILE|
> VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|COMPRESSED_FILE|
> VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|
> VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|
refresh
> VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SERVER_FILE_SIZE| REPLACE=|YES|
> VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|RECEIVED_FILE| VR_VAR=|SERVER_FILE_SIZE|
> VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SERVER_FILE_SIZE| VALUE=|##SERVER_FILE_SIZE| VR_KEEP_VAR=|YES|
> VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|
> VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|
> VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|
refresh
> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|FILE_INFO| REPLACE=|YES|
)";

constexpr char standardDescription[] = R"(KEY=|PRINT_MODE| VALUE=|STANDARD|
KEY=|PRINTER_NAME| VALUE=|Queue|
KEY=|FILE_NAME| VALUE=|A document|
KEY=|FILE_SIZE| VALUE=|200000|
KEY=|WIN_MACHINE| VALUE=|machine|
KEY=|WIN_USER| VALUE=|login|
KEY=|TUNNEL_SERVICE| VALUE=||
KEY=|TUNNEL_PROFILE| VALUE=||
)";

constexpr char processed[] = R"(> VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|
refresh
window Processing file... -1
> VR_PROC=|ProcessFile| QUEUE=|main| KEEP=|no|
> VR_CMD=|OBJECT:GET| NAME=|FILE_ID|
> VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|
> VR_CLOSE_SESSION=|YES|
close
)";

std::string asCommands(const std::string &fields)
{
    std::string text;
    for (std::size_t start = 0; start < fields.size(); start = fields.find('\n', start) + 1) {
        text += "> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| " +
                fields.substr(start, fields.find('\n', start) + 1 - start);
    }
    return text;
}

TEST_F(UploadTest, the_whole_exchange_in_standard_mode)
{
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(Transcript::text(),
              std::string(connection) + twoBlocksSent + asCommands(standardDescription) + processed);
    EXPECT_EQ(fileId, L"FILE-7");
    EXPECT_EQ(main->printMode, printModeStandard);
}

TEST_F(UploadTest, a_silent_upload_is_the_same)
{
    main->silent = true;
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(Transcript::text(),
              std::string(connection) + twoBlocksSent + asCommands(standardDescription) + processed);
}

TEST_F(UploadTest, no_password_reaches_the_log)
{
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(logText().find("secret"), std::string::npos);
    EXPECT_NE(logText().find("Password=\"****\""), std::string::npos);
    EXPECT_NE(logText().find("POD_PASSWORD=|****|"), std::string::npos);
}

TEST_F(UploadTest, asynchronous_mode_is_described_as_such)
{
    chooseMode(printModeAsync);
    EXPECT_EQ(upload(), 0);
    EXPECT_TRUE(description().starts_with("KEY=|PRINT_MODE| VALUE=|ASYNC|\nKEY=|PRINTER_NAME|"));
}

TEST_F(UploadTest, tunnel_mode_sends_the_print_mode_twice)
{
    chooseMode(printModeTunnel);
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_NAME|", "Service");
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_SERVICE_PROFILE|", "Profile");
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(description(), R"(KEY=|PRINT_MODE| VALUE=|STANDARD|
KEY=|PRINT_MODE| VALUE=|TUNNEL|
KEY=|PRINTER_NAME| VALUE=|Queue|
KEY=|FILE_NAME| VALUE=|A document|
KEY=|FILE_SIZE| VALUE=|200000|
KEY=|WIN_MACHINE| VALUE=|machine|
KEY=|WIN_USER| VALUE=|login|
KEY=|TUNNEL_SERVICE| VALUE=|Service|
KEY=|TUNNEL_PROFILE| VALUE=|Profile|
)");
}

TEST_F(UploadTest, values_of_the_description_are_sent_as_they_are)
{
    VrpsSendFile(L"/f", L"Q|x", L"a=|b| \"c\"", L"\u00E9", L"", parameters, fileId);
    EXPECT_TRUE(description().starts_with("KEY=|PRINT_MODE| VALUE=|STANDARD|\n"
                                          "KEY=|PRINTER_NAME| VALUE=|Q|x|\n"
                                          "KEY=|FILE_NAME| VALUE=|a=|b| \"c\"|\n"));
    EXPECT_NE(description().find("KEY=|WIN_MACHINE| VALUE=|\xC3\xA9|\nKEY=|WIN_USER| VALUE=||\n"),
              std::string::npos);
}

TEST_F(UploadTest, test_modes_stop_before_processing_and_keep_the_file_identifier)
{
    main->testMode = true;
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(Transcript::text(), std::string(connection) + twoBlocksSent + asCommands(standardDescription) +
                                      "> VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|\nrefresh\n"
                                      "> VR_CLOSE_SESSION=|YES|\nclose\n");
    EXPECT_EQ(fileId, L"before");
}

TEST_F(UploadTest, an_empty_procedure_and_parameter_are_sent_as_they_are)
{
    parameters.erase(L"SERVER_UPLOAD_PROCEDURE");
    parameters.erase(L"SERVER_UPLOAD_PARAM");
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(Transcript::linesFrom("> VR_PROC="), "> VR_PROC=|| \n");
}

TEST_F(UploadTest, an_absent_parameter_is_inserted_empty)
{
    ParameterMap none;
    scriptUpload(library, 1, 1);
    VrpsSendFile(L"/f", L"", L"", L"", L"", none, fileId);
    EXPECT_TRUE(none.contains(L"SERVER_UPLOAD_SSO_PRINCIPAL"));
    EXPECT_EQ(none.size(), 13U);
}

struct BlockCase
{
    int compressedBytes;
    const char *copies; ///< OFFSET and NUM_BYTES of each block
    const char *progress;
};

TEST_F(UploadTest, a_document_is_divided_into_blocks_of_65536_bytes)
{
    const BlockCase cases[] = {
        {1, "OFFSET=|0| NUM_BYTES=|1|\n", "0 100 "},
        {65535, "OFFSET=|0| NUM_BYTES=|65535|\n", "0 100 "},
        {65537, "OFFSET=|0| NUM_BYTES=|65536|\nOFFSET=|65536| NUM_BYTES=|1|\n", "0 50 100 "},
        {131071, "OFFSET=|0| NUM_BYTES=|65536|\nOFFSET=|65536| NUM_BYTES=|65535|\n", "0 50 100 "},
        {131073,
         "OFFSET=|0| NUM_BYTES=|65536|\nOFFSET=|65536| NUM_BYTES=|65536|\n"
         "OFFSET=|131072| NUM_BYTES=|1|\n",
         "0 33 66 100 "},
    };
    const std::string copy = "> VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| ";
    const std::string window = "window Sending file... ";
    for (const BlockCase &each : cases) {
        Transcript::clear();
        scriptUpload(library, plainBytes, each.compressedBytes);
        EXPECT_EQ(upload(), 0) << each.compressedBytes;
        std::string copies = Transcript::linesFrom(copy);
        std::string progress = Transcript::linesFrom(window);
        for (std::size_t at = 0; (at = copies.find(copy)) != copies.npos;) {
            copies.erase(at, copy.size());
        }
        for (std::size_t at = 0; (at = progress.find(window)) != progress.npos;) {
            progress.erase(at, window.size());
        }
        std::replace(progress.begin(), progress.end(), '\n', ' ');
        EXPECT_EQ(copies, each.copies);
        EXPECT_EQ(progress, each.progress);
    }
}

TEST_F(UploadTest, an_exact_multiple_of_the_block_size_sends_an_empty_last_block_and_fails_the_size_check)
{
    const std::string copy = "> VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| ";
    scriptUpload(library, plainBytes, 131072);
    library.answer("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|", "65536");
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(Transcript::linesFrom(copy),
              copy + "OFFSET=|0| NUM_BYTES=|65536|\n" + copy + "OFFSET=|65536| NUM_BYTES=|0|\n");
    EXPECT_EQ(boxes(), "box critical ok Error sending file to server.\n");
}

TEST(BlockPlan, the_last_block_of_an_exact_multiple_is_empty)
{
    EXPECT_EQ(planBlocks(65536).count, 1);
    EXPECT_EQ(planBlocks(65536).lastBytes, 0);
    EXPECT_EQ(planBlocks(131072).count, 2);
    EXPECT_EQ(planBlocks(131072).lastBytes, 0);
}

TEST(BlockPlan, the_largest_size_is_divided)
{
    const BlockPlan plan = planBlocks(std::numeric_limits<int>::max());
    EXPECT_EQ(plan.count, 32768);
    EXPECT_EQ(plan.lastBytes, 65535);
}

} // namespace
