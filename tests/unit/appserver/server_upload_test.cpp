// SPDX-License-Identifier: MIT
#include "appserver/decompression.h"
#include "tests/support/file_bytes.h"
#include "tests/unit/appserver/AppServerTest.h"

#include <xxhash.h>
#include <zstd.h>

#include <fstream>
#include <sstream>

namespace appserver {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const std::string pdf = "%PDF-1.7\n" + std::string(200'000, 'p') + "\n%%EOF\n";

std::string compressed(const std::string &text)
{
    std::string out(ZSTD_compressBound(text.size()), '\0');
    ZSTD_CCtx *context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
    out.resize(ZSTD_compress2(context, out.data(), out.size(), text.data(), text.size()));
    ZSTD_freeCCtx(context);
    return out;
}

/// A few bytes whose decompression needs a window of 2 to the power of `windowLog`.
std::string compressedWithWindow(int windowLog)
{
    std::string out(1024, '\0');
    ZSTD_CCtx *context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_windowLog, windowLog);
    ZSTD_outBuffer output{out.data(), out.size(), 0};
    ZSTD_inBuffer input{"text", 4, 0};
    // The length is not told at first: the whole window is asked for.
    ZSTD_compressStream2(context, &output, &input, ZSTD_e_flush);
    ZSTD_compressStream2(context, &output, &input, ZSTD_e_end);
    ZSTD_freeCCtx(context);
    out.resize(output.pos);
    return out;
}

wire::Hash hashOf(const std::string &bytes)
{
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
    wire::Hash hash;
    std::copy(std::begin(canonical.digest), std::end(canonical.digest), hash.begin());
    return hash;
}

wire::Value fileInfo(std::size_t bytes, const std::string &mode = "STANDARD")
{
    return wire::IndStringList{{"PRINT_MODE", mode},        {"PRINTER_NAME", "Queue"},
                               {"FILE_NAME", "Letter.pdf"}, {"FILE_SIZE", std::to_string(bytes)},
                               {"WIN_MACHINE", "desk"},     {"WIN_USER", "ada"},
                               {"TUNNEL_SERVICE", ""},      {"TUNNEL_PROFILE", ""}};
}

} // namespace

class Upload : public AppServerTest
{
protected:
    /// The block loop and the decompression; the next number is returned.
    std::uint64_t sendFile(const std::string &id, const std::string &bytes, std::optional<wire::Hash> hash,
                           std::string &result)
    {
        RequestText request = RequestText().session(id, 1);
        std::uint64_t number = 2;
        request.command(number++, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|");
        request.command(number++, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|PACKED| REPLACE=|YES|");
        for (std::size_t at = 0; at < bytes.size(); at += 65536) {
            request.queued(number++, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|");
            request.queued(number++, "VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|")
                .file("BLOCK_FILE", bytes.substr(at, 65536));
            request.queued(number++, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|PACKED| SNAME=|BLOCK_FILE|", at);
        }
        request.add(wire::CommandFrame{
            number, false, {}, hash, "VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|PACKED| DNAME=|RECEIVED_FILE|"});
        const AnswerText answer = ask(request);
        result = answer.lines.at(answer.lines.size() - 2);
        return number + 1;
    }

    AnswerText process(const std::string &id, std::uint64_t number, const wire::Value &info)
    {
        return ask(RequestText()
                       .session(id, number - 1)
                       .command(number, "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|")
                       .value("FILE_INFO", info)
                       .command(number + 1, "VR_PROC=|ProcessFile| QUEUE=|demo|"));
    }

    AnswerText upload(const std::string &contents, const wire::Value &info)
    {
        const std::string id = openUpload();
        std::string result;
        const std::string packed = compressed(contents);
        const std::uint64_t number = sendFile(id, packed, hashOf(packed), result);
        EXPECT_EQ(result, "R " + std::to_string(number - 1));
        return process(id, number, info);
    }
};

TEST_F(Upload, a_document_is_stored_with_its_description)
{
    const AnswerText answer = upload(pdf, fileInfo(pdf.size()));
    EXPECT_THAT(answer.lines, Contains("O FILE_ID 32"));
    const auto document = services->documents.find(answer.data);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->owner, "ada");
    EXPECT_EQ(document->fileName, "Letter.pdf");
    EXPECT_EQ(document->state, "waiting");
    EXPECT_EQ(document->queue, "demo");
    EXPECT_EQ(document->format, DocumentFormat::pdf);
    EXPECT_EQ(fileBytes(services->documents.fileOf(*document)), pdf);
}

TEST_F(Upload, a_tunnel_document_is_released_at_once)
{
    const AnswerText answer = upload(pdf, fileInfo(pdf.size(), "TUNNEL"));
    EXPECT_EQ(services->documents.find(answer.data)->state, "released");
}

TEST_F(Upload, the_size_travels_through_a_variable)
{
    const std::string id = openUpload();
    const AnswerText answer =
        ask(RequestText()
                .session(id, 1)
                .command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|")
                .file("F", std::string(123, 'x'))
                .command(3, "VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SIZE| REPLACE=|YES|")
                .command(4, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|F| VR_VAR=|SIZE|")
                .command(5, "VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SIZE| VALUE=|##SIZE| VR_KEEP_VAR=|YES|")
                .command(6, "VR_CMD=|OBJECT:GET| NAME=|SIZE|")
                .command(7, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|none| VR_VAR=|SIZE|")
                .command(8, "VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SIZE| VALUE=|##SIZE|"));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "R 4 123", "R 5", "R 6", "O SIZE 3",
                                          "X 7 SYSTEM/OBJECT/101", "X 8 SYSTEM/COMMAND/102", "Z 8"));
    EXPECT_EQ(answer.data, "123");
}

TEST_F(Upload, a_block_at_the_wrong_offset_is_refused)
{
    const std::string id = openUpload();
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                                      .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                      .file("B", "xyz")
                                      .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0)
                                      .queued(5, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "A 4", "X 5 SYSTEM/OBJECT/106", "Z 5"));
}

TEST_F(Upload, another_hash_than_the_clients_removes_the_target)
{
    const std::string id = openUpload();
    std::string result;
    const std::string packed = compressed(pdf);
    const auto number = sendFile(id, packed, hashOf("something else"), result);
    EXPECT_EQ(result, "X " + std::to_string(number - 1) + " SYSTEM/OBJECT/105");
    EXPECT_THAT(process(id, number, fileInfo(pdf.size())).lines,
                Contains("X " + std::to_string(number + 1) + " POD/INPUT/102"));
    EXPECT_THAT(services->documents.all(), IsEmpty());
}

TEST_F(Upload, damaged_or_cut_data_removes_the_target)
{
    const std::string whole = compressed(pdf);
    std::string flipped = whole;
    flipped[flipped.size() / 2] = static_cast<char>(flipped[flipped.size() / 2] ^ 1);
    std::uint8_t nonce = 10;
    for (const std::string &packed :
         {flipped, whole.substr(0, whole.size() - 1), std::string("no zstd at all")}) {
        const std::string id = openUpload(nonce++);
        std::string result;
        const auto number = sendFile(id, packed, std::nullopt, result);
        EXPECT_EQ(result, "X " + std::to_string(number - 1) + " SYSTEM/OBJECT/105");
        EXPECT_THAT(ask(RequestText()
                            .session(id, number - 1)
                            .command(number, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|RECEIVED_FILE|"))
                        .lines,
                    Contains("X " + std::to_string(number) + " SYSTEM/OBJECT/101"));
    }
}

TEST_F(Upload, a_decompression_bomb_stops_at_the_limit)
{
    configure("[Limits]\nFileBytes=1000000\n");
    const std::string id = openUpload();
    std::string result;
    const std::string packed = compressed(std::string(1'000'001, '\0'));
    const auto number = sendFile(id, packed, std::nullopt, result);
    EXPECT_EQ(result, "X " + std::to_string(number - 1) + " SYSTEM/OBJECT/104");
}

TEST_F(Upload, a_window_of_more_than_eight_mebibytes_is_refused)
{
    std::string result;
    for (const auto &[windowLog, expected] : {std::pair{23, "R 7"}, std::pair{24, "X 7 SYSTEM/OBJECT/105"}}) {
        const std::string packed = compressedWithWindow(windowLog);
        sendFile(openUpload(static_cast<std::uint8_t>(windowLog)), packed, hashOf(packed), result);
        EXPECT_EQ(result, expected);
    }
}

TEST_F(Upload, several_and_skippable_frames_decompress_to_their_joined_contents)
{
    FileObject source(folder);
    FileObject target(folder);
    std::string skippable("\x50\x2A\x4D\x18\x03\x00\x00\x00xyz", 11);
    source.append(compressed(std::string(131072, 'a')) + skippable + compressed("b"));
    EXPECT_EQ(decompress(source, target, 1 << 20), Decompression::done);
    EXPECT_EQ(target.size(), 131073U);
    EXPECT_EQ(target.read(131072, 10), "b");
}

TEST_F(Upload, a_description_with_another_size_is_refused)
{
    EXPECT_THAT(upload(pdf, fileInfo(pdf.size() - 1)).lines, Contains(::testing::HasSubstr("POD/INPUT/103")));
    EXPECT_THAT(services->documents.all(), IsEmpty());
}

TEST_F(Upload, other_formats_are_refused)
{
    for (const std::string &contents : {std::string("PK\x03\x04 zip"),
                                        std::string("\x7f"
                                                    "ELF\0\0",
                                                    6),
                                        std::string("a\0b", 3), std::string("<html></html>")}) {
        const AnswerText answer = upload(contents, fileInfo(contents.size()));
        EXPECT_THAT(answer.lines, Contains(::testing::HasSubstr("POD/INPUT/101"))) << contents;
        services->sessions.removeIdle(std::chrono::seconds(0));
    }
    EXPECT_THAT(services->documents.all(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(folder / "documents"));
}

TEST_F(Upload, pdf_postscript_png_jpeg_and_text_are_recognised)
{
    const std::pair<std::string, DocumentFormat> cases[]{
        {"%PDF-1.4", DocumentFormat::pdf},
        {"%!PS-Adobe-3.0\n", DocumentFormat::postScript},
        {"\x89PNG\r\n\x1A\n", DocumentFormat::png},
        {"\xFF\xD8\xFF\xE0", DocumentFormat::jpeg},
        {"Gr\xC3\xBC\xC3\x9F"
         "e\n",
         DocumentFormat::text},
        {"Gr\xFC\xDF"
         "e\n",
         DocumentFormat::text},
    };
    for (const auto &[contents, format] : cases) {
        FileObject file(folder);
        file.append(contents);
        EXPECT_EQ(recogniseFormat(file), format) << contents;
    }
    EXPECT_EQ(recogniseFormat(FileObject(folder)), std::nullopt);
}

TEST_F(Upload, names_that_look_like_paths_stay_names)
{
    const std::string id = openUpload();
    std::uint64_t number = 2;
    for (const std::string name :
         {"../../../etc/passwd", "/etc/passwd", "..", "a/b", "documents/x.pdf", "C:\\x"}) {
        const AnswerText answer =
            ask(RequestText()
                    .session(id, number - 1)
                    .command(number, "VR_CMD=|OBJECT:SEND| NAME=|" + name + "|")
                    .file(name, std::string(100'000, 'x'))
                    .command(number + 1, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|" + name + "|"));
        EXPECT_THAT(answer.lines, Contains("R " + std::to_string(number + 1) + " 100000")) << name;
        number += 2;
    }
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        EXPECT_THAT(entry.path().filename().string(), ::testing::Not(::testing::HasSubstr("passwd")));
    }
}

TEST_F(Upload, the_limits_of_a_session_are_kept)
{
    configure(
        "[Limits]\nSessionObjects=2\nSessionMemoryBytes=65536\nSessionFileBytes=1000\nSessionVariables=1\n");
    const std::string id = openUpload();
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .command(2, "VR_CMD=|OBJECT:SEND| NAME=|A|")
                                      .file("A", std::string(1001, 'x'))
                                      .command(3, "VR_CMD=|OBJECT:SEND| NAME=|A|")
                                      .value("A", wire::StringList(3000, "x"))
                                      .command(4, "VR_CMD=|OBJECT:SEND| NAME=|A|")
                                      .file("A", std::string(600, 'x'))
                                      .command(5, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|B|")
                                      .command(6, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|C|")
                                      .command(7, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|B| SNAME=|A|")
                                      .command(8, "VR_CMD=|MISC:NOP| VR_VAR=|V|")
                                      .command(9, "VR_CMD=|MISC:NOP| VR_VAR=|W|"));
    EXPECT_THAT(answer.lines, ElementsAre("X 2 SYSTEM/OBJECT/104", "X 3 SYSTEM/OBJECT/104", "R 4", "R 5",
                                          "X 6 SYSTEM/OBJECT/104", "X 7 SYSTEM/OBJECT/104", "R 8",
                                          "X 9 SYSTEM/OBJECT/104", "Z 9"));
}

TEST_F(Upload, an_object_fetched_back_is_the_one_that_was_sent)
{
    const std::string id = openUpload();
    const std::string bytes(150'000, 'q');
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|")
                                      .file("F", bytes)
                                      .command(3, "VR_CMD=|OBJECT:GET| NAME=|F|")
                                      .command(4, "VR_CMD=|MISC:NOP|"));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "O F 150000", "R 4", "Z 4"));
    EXPECT_EQ(answer.data, bytes);
}

TEST_F(Upload, values_of_the_wrong_kind_are_refused)
{
    const std::string id = openUpload();
    const AnswerText answer =
        ask(RequestText()
                .session(id, 1)
                .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|I|")
                .command(3, "VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|I| VALUE=|99999999999999999999|")
                .command(4, "VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|I| VALUE=|12x|")
                .command(5, "VR_CMD=|OBJECT:STRING_SET_VALUE| NAME=|I| VALUE=|x|")
                .command(6, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|I|")
                .command(7, "VR_CMD=|OBJECT:GET| NAME=|x| VR_CONTAINER=|none|")
                .command(8, "VR_CMD=|OBJECT:GET| NAME=|x| VR_CONTAINER=|demo| VR_NO_ERROR=|YES|")
                .command(9, "VR_PROC=|Explode|")
                .command(10, "VR_PROC=|GetData| DIRECTORY=|none| KEY=|Settings| ENTRIES=|Parameters|"));
    EXPECT_THAT(answer.lines,
                ElementsAre("R 2", "X 3 SYSTEM/COMMAND/103", "X 4 SYSTEM/COMMAND/103",
                            "X 5 SYSTEM/OBJECT/102", "X 6 SYSTEM/OBJECT/102", "X 7 SYSTEM/OBJECT/107", "R 8",
                            "O x 0", "X 9 SYSTEM/PROCEDURE/101", "X 10 SYSTEM/PROCEDURE/102", "Z 10"));
}

} // namespace appserver
