// SPDX-License-Identifier: MIT
#include "tests/support/UploadTest.h"

namespace {

constexpr char sessionEnd[] = "> VR_CLOSE_SESSION=|YES|\nclose\n";
constexpr char append[] = "VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|";
constexpr char serverSize[] = "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|";

/// Refreshes: 1 in the connection, 2 behind it, 3 and 4 before the blocks, 5 behind them, 6 behind
/// the decompression, 7 behind the clean-up, 8 behind the size check, 9 behind the description.
constexpr int lastRefresh = 9;

class CancelledUpload : public UploadTest, public testing::WithParamInterface<int>
{
protected:
    std::string lastCommand()
    {
        const std::string sent = commands();
        const std::string beforeEnd = sent.substr(0, sent.rfind("> VR_CLOSE_SESSION"));
        return beforeEnd.substr(beforeEnd.rfind("> ", beforeEnd.size() - 2));
    }
};

constexpr const char *lastBefore[lastRefresh + 1] = {
    nullptr,
    nullptr,
    "> VR_CMD=|MISC:NOP|",
    "> VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE|",
    "> VR_CMD=|OBJECT:FILE_APPEND|",
    "> VR_CMD=|OBJECT:FILE_APPEND|",
    "> VR_CMD=|OBJECT:FILE_DECOMPRESS|",
    "> VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|",
    "> VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE|",
    "> VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|",
};

TEST_P(CancelledUpload, ends_the_session_and_is_told)
{
    user.cancelAtRefresh(GetParam());
    EXPECT_EQ(upload(), 1);
    EXPECT_TRUE(Transcript::text().ends_with(std::string(sessionEnd) +
                                             "box information ok Operation canceled by user.\n"
                                             "close window\n"));
    EXPECT_EQ(Transcript::count("box"), 1);
    EXPECT_TRUE(lastCommand().starts_with(lastBefore[GetParam()])) << lastCommand();
    EXPECT_EQ(fileId, L"before");
    EXPECT_EQ(main->password, L"ident-secret");
}

TEST_P(CancelledUpload, is_not_told_in_a_silent_run)
{
    main->silent = true;
    user.cancelAtRefresh(GetParam());
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(Transcript::text().ends_with(std::string(sessionEnd) + "close window\n"));
}

INSTANTIATE_TEST_SUITE_P(AtRefresh, CancelledUpload, testing::Range(2, lastRefresh + 1));

TEST_F(UploadTest, a_cancel_in_the_connection_is_logged_and_shows_no_box)
{
    user.cancelAtRefresh(1);
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(Transcript::text(), "window Connecting the server... -1\nrefresh\nclose window\n");
    EXPECT_TRUE(logText().ends_with("User canceled the operation\n"));
}

TEST_F(UploadTest, after_the_description_a_cancel_has_no_effect)
{
    library.before("VR_PROC=|ProcessFile|", [this] { main->cancelled = true; });
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(user.refreshCount(), lastRefresh);
    EXPECT_EQ(fileId, L"FILE-7");
}

TEST_F(UploadTest, a_cancel_counts_before_the_size_check_does)
{
    library.answer(serverSize, "1");
    library.answer(serverSize, std::to_string(twoBlocks), 1);
    user.cancelAtRefresh(8);
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(boxes(), "box information ok Operation canceled by user.\n");
}

TEST_F(UploadTest, a_failed_block_counts_before_a_cancel_does)
{
    library.fail(append, {"SYSTEM", "OBJECT", "7"});
    library.before(append, [this] { main->cancelled = true; });
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(boxes(), "box critical ok Error sending file to server.\n");
}

} // namespace
