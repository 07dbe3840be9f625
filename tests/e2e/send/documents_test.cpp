// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SendTest.h"
#include "tests/support/file_bytes.h"

#include <fstream>

namespace {

class Documents : public SendTest
{
protected:
    Documents() { chooseMode(printModeAsync); }

    void sendAndCompare(const std::string &document)
    {
        ASSERT_EQ(send(document), 0) << log();
        EXPECT_TRUE(storedEquals(document));
        EXPECT_EQ(storedDescription()["bytes"], std::to_string(std::filesystem::file_size(document)));
    }
};

TEST_F(Documents, an_empty_document_is_no_printable_one)
{
    EXPECT_NE(send(makeDocument("")), 0);
    EXPECT_EQ(boxes(), "box critical ok Invalid format file.\n");
}

TEST_F(Documents, a_document_of_one_byte_arrives)
{
    sendAndCompare(makeDocument("x"));
}

/// Documents whose compressed form is a byte shorter or longer than whole blocks.
class BlockEdges : public Documents, public testing::WithParamInterface<int>
{};

TEST_P(BlockEdges, arrive)
{
    // What does not compress grows by the same few bytes at every size near by.
    const int near = GetParam() - 100;
    ASSERT_EQ(send(makeDocument(incompressibleDocument(static_cast<std::size_t>(near)), "probe")), 0);
    const int overhead = compressedBytes() - near;
    const std::string document =
        makeDocument(incompressibleDocument(static_cast<std::size_t>(GetParam() - overhead)));
    chooseMode(printModeAsync);
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_EQ(compressedBytes(), GetParam());
    EXPECT_EQ(storedCount(), 2U);
}

INSTANTIATE_TEST_SUITE_P(OfOneAndTwoBlocks, BlockEdges, testing::Values(65535, 65537, 131071, 131073));

TEST_F(Documents, a_document_of_several_blocks_arrives)
{
    sendAndCompare(makeDocument(incompressibleDocument(1'000'000)));
    EXPECT_GT(compressedBytes(), 15 * 65536);
}

TEST_F(Documents, a_real_pdf_document_arrives)
{
    sendAndCompare(makeDocument(fileBytes(VAREK_SOURCE_DIR "/tests/data/documents/report.pdf")));
    EXPECT_EQ(storedDescription()["format"], "pdf");
}

TEST_F(Documents, a_real_postscript_document_arrives)
{
    sendAndCompare(makeDocument(fileBytes(VAREK_SOURCE_DIR "/tests/data/documents/letter.ps")));
    EXPECT_EQ(storedDescription()["format"], "ps");
}

TEST_F(Documents, a_document_of_300_megabytes_arrives)
{
    main->log.fileName.clear();
    main->socketLogFile.clear();
    const std::string block = incompressibleDocument(3'000'000);
    std::ofstream out(path("large"), std::ios::binary);
    for (int i = 0; i < 100; ++i) {
        out << block << i;
    }
    out.close();
    sendAndCompare(path("large"));
}

} // namespace
