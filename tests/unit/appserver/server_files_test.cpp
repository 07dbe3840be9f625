// SPDX-License-Identifier: MIT
#include "appserver/server_files.h"

#include "appserver/Database.h"
#include "appserver/DocumentStore.h"
#include "appserver/FileObject.h"
#include "appserver/document_format.h"
#include "appserver/secrets.h"
#include "appserver/server_log.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <xxhash.h>

#include <system_error>

namespace appserver {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class ServerFiles : public ::testing::Test
{
protected:
    ServerFiles() { initialiseSecrets(); }

    [[nodiscard]] std::filesystem::path path(const std::string &name) const { return m_folder.path() / name; }

    [[nodiscard]] std::size_t entries() const
    {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(m_folder.path()), {}));
    }

    TemporaryFolder m_folder;
};

/// The error of a call that fails, with its text; no error is a failure of the test.
template <typename Call>
std::pair<int, std::string> systemErrorOf(Call call)
{
    try {
        call();
    } catch (const std::system_error &error) {
        return {error.code().value(), error.what()};
    }
    ADD_FAILURE() << "no error";
    return {};
}

template <typename Call>
std::string errorOf(Call call)
{
    try {
        call();
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    ADD_FAILURE() << "no error";
    return {};
}

int modeOf(const std::filesystem::path &path)
{
    struct stat status = {};
    ::lstat(path.c_str(), &status);
    return static_cast<int>(status.st_mode & 07777U);
}

void executeSql(const std::filesystem::path &path, const std::string &sql)
{
    sqlite3 *database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
}

} // namespace

TEST_F(ServerFiles, a_file_is_written_whole_or_not_at_all_and_leaves_nothing_beside_it)
{
    writeFileAtomically(path("file"), "old");
    writeFileAtomically(path("file"), "new");
    EXPECT_EQ(m_folder.read("file"), "new");
    EXPECT_EQ(modeOf(path("file")), 0600);
    writeFileAtomically(path("file"), "new", true);
    EXPECT_EQ(modeOf(path("file")), 0644);
    std::filesystem::create_directories(path("folder/inside"));
    const auto [code, text] = systemErrorOf([this] { writeFileAtomically(path("folder"), "x"); });
    EXPECT_TRUE(code == EISDIR || code == ENOTEMPTY) << text;
    EXPECT_EQ(entries(), 2U);
}

TEST_F(ServerFiles, a_folder_goes_with_all_that_is_in_it_but_not_with_what_a_link_in_it_points_to)
{
    m_folder.write("kept", "");
    std::filesystem::create_directories(path("folder/inside"));
    m_folder.write("folder/inside/file", "");
    std::filesystem::create_symlink(path("kept"), path("folder/link"));
    EXPECT_THAT(namesIn(path("folder")), ::testing::UnorderedElementsAre("inside", "link"));
    removeFolder(path("folder"));
    EXPECT_THAT(namesIn(m_folder.path()), ::testing::ElementsAre("kept"));
    removeFolder(path("folder"));
    EXPECT_EQ(systemErrorOf([this] { static_cast<void>(namesIn(path("folder"))); }).first, ENOENT);
}

TEST_F(ServerFiles, what_cannot_be_opened_is_named)
{
    m_folder.write("file", "");
    std::filesystem::create_symlink(path("file"), path("link"));
    const auto missing = systemErrorOf([this] { static_cast<void>(openForReading(path("missing"))); });
    EXPECT_EQ(missing.first, ENOENT);
    EXPECT_THAT(missing.second, HasSubstr("cannot open " + path("missing").string()));
    EXPECT_EQ(systemErrorOf([this] { static_cast<void>(openForReading(path("link"))); }).first, ELOOP);
    const auto existing = systemErrorOf([this] { static_cast<void>(createExclusively(path("file"))); });
    EXPECT_EQ(existing.first, EEXIST);
    EXPECT_THAT(existing.second, HasSubstr("cannot create " + path("file").string()));
    EXPECT_EQ(systemErrorOf([this] { syncFolder(path("missing")); }).first, ENOENT);
    EXPECT_EQ(systemErrorOf([this] { createPrivateFolder(path("file/folder")); }).first, ENOTDIR);
    EXPECT_EQ(systemErrorOf([this] { AccessLog log(path("missing/access.log")); }).first, ENOENT);
}

TEST_F(ServerFiles, a_full_disk_is_an_error)
{
    const UniqueFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(full);
    EXPECT_EQ(systemErrorOf([&] { writeAll(full.get(), "x"); }).first, ENOSPC);
    EXPECT_EQ(systemErrorOf([&] { writeAllAt(full.get(), "x", 0); }).first, ENOSPC);
    EXPECT_EQ(systemErrorOf([&] { syncFile(full.get()); }).first, EINVAL);
}

TEST_F(ServerFiles, a_file_is_read_up_to_its_limit)
{
    m_folder.write("file", std::string(40'000, 'x'));
    EXPECT_EQ(readWholeFile(path("file"), 40'000).size(), 40'000U);
    EXPECT_THAT(errorOf([this] { static_cast<void>(readWholeFile(path("file"), 39'999)); }),
                HasSubstr("is too long"));
    const auto folder = systemErrorOf([this] { static_cast<void>(readWholeFile(m_folder.path(), 1)); });
    EXPECT_EQ(folder.first, EISDIR);
    EXPECT_THAT(folder.second, HasSubstr("cannot read "));
}

TEST_F(ServerFiles, a_descriptor_that_is_assigned_closes_the_one_before)
{
    UniqueFd held(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int before = held.get();
    held = UniqueFd(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(::fcntl(before, F_GETFD), -1);
    EXPECT_NE(::fcntl(held.get(), F_GETFD), -1);
}

TEST_F(ServerFiles, an_object_that_no_longer_fits_into_memory_goes_to_a_private_file_that_goes_with_it)
{
    {
        FileObject file(m_folder.path());
        file.append(std::string(FileObject::memoryBytes, 'a'));
        EXPECT_EQ(entries(), 0U);
        file.append("b");
        EXPECT_EQ(entries(), 1U);
        EXPECT_EQ(modeOf(std::filesystem::directory_iterator(m_folder.path())->path()), 0600);
        EXPECT_EQ(file.read(FileObject::memoryBytes - 1, 10), "ab");
        EXPECT_THAT(file.read(FileObject::memoryBytes + 1, 10), IsEmpty());
    }
    EXPECT_EQ(entries(), 0U);
}

TEST_F(ServerFiles, the_hash_of_an_object_is_that_of_all_its_bytes_in_memory_and_in_a_file)
{
    std::string bytes;
    FileObject whole(m_folder.path());
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{30'000},
                                    FileObject::memoryBytes - 30'001, std::size_t{1}, std::size_t{200'000}}) {
        const std::string block(count, static_cast<char>('a' + bytes.size() % 23));
        FileObject source(m_folder.path());
        source.append(block);
        whole.append(source);
        bytes += block;
        XXH128_canonical_t expected;
        XXH128_canonicalFromHash(&expected, XXH3_128bits(bytes.data(), bytes.size()));
        EXPECT_THAT(whole.hash(), ElementsAreArray(expected.digest)) << bytes.size();
    }
    EXPECT_EQ(entries(), 1U);
    EXPECT_EQ(whole.size(), bytes.size());
}

TEST_F(ServerFiles, an_object_whose_folder_is_gone_is_an_error)
{
    FileObject file(path("missing"));
    file.append("in memory");
    EXPECT_EQ(systemErrorOf([&] { file.append(std::string(FileObject::memoryBytes, 'x')); }).first, ENOENT);
    EXPECT_EQ(systemErrorOf([&] { file.moveTo(path("target")); }).first, ENOENT);
    EXPECT_EQ(file.size(), 9U);
}

TEST_F(ServerFiles, an_object_whose_file_was_cut_short_is_an_error)
{
    FileObject file(m_folder.path());
    file.append(std::string(100'000, 'x'));
    std::filesystem::resize_file(std::filesystem::directory_iterator(m_folder.path())->path(), 10);
    EXPECT_EQ(file.read(0, 65536).size(), 10U);
    EXPECT_THAT(systemErrorOf([&] { static_cast<void>(file.read(10, 65536)); }).second,
                HasSubstr("cannot read "));
}

TEST_F(ServerFiles, a_log_whose_folder_is_gone_goes_on_in_the_old_file)
{
    std::filesystem::create_directory(path("logs"));
    AccessLog log(path("logs/access.log"));
    std::filesystem::rename(path("logs"), path("moved"));
    log.reopen();
    log.write({"192.0.2.1", "GET", "/vrc", 204, 1, 2, 3});
    EXPECT_THAT(m_folder.read("moved/access.log"),
                HasSubstr(" 192.0.2.1 GET \"/vrc\" 204 in=1 out=2 ms=3\n"));
}

TEST_F(ServerFiles, a_log_that_was_moved_away_begins_anew)
{
    AccessLog log(path("access.log"));
    log.write({"192.0.2.1", "GET", "/first", 200, 0, 0, 0});
    std::filesystem::rename(path("access.log"), path("access.log.1"));
    log.reopen();
    log.write({"192.0.2.1", "GET", "/second", 200, 0, 0, 0});
    EXPECT_THAT(m_folder.read("access.log.1"), HasSubstr("/first"));
    EXPECT_THAT(m_folder.read("access.log"), HasSubstr("/second"));
}

TEST_F(ServerFiles, a_database_that_is_none_is_an_error)
{
    EXPECT_THAT(errorOf([this] { Database database(path("missing/vrserver.db")); }), HasSubstr("database: "));
    m_folder.write("vrserver.db", std::string(4096, 'x'));
    EXPECT_THAT(errorOf([this] { Database database(path("vrserver.db")); }), HasSubstr("database: "));
}

TEST_F(ServerFiles, a_database_without_its_tables_fails_at_the_statement)
{
    Database database(path("vrserver.db"));
    DocumentStore documents(database, path("documents"));
    executeSql(path("vrserver.db"), "DROP TABLE documents");
    EXPECT_THAT(errorOf([&] { static_cast<void>(documents.find("id")); }), HasSubstr("no such table"));
}

TEST_F(ServerFiles, a_value_for_a_parameter_that_a_statement_does_not_have_is_an_error)
{
    Database database(path("vrserver.db"));
    EXPECT_THAT(errorOf([&] { Statement(database, "SELECT 1").bind(1, "text"); }), HasSubstr("database: "));
    EXPECT_THAT(errorOf([&] { Statement(database, "SELECT 1").bind(1, std::int64_t{1}); }),
                HasSubstr("database: "));
}

TEST_F(ServerFiles, a_document_that_the_database_refuses_leaves_no_file)
{
    Database database(path("vrserver.db"));
    DocumentStore documents(database, path("documents"));
    executeSql(path("vrserver.db"), "CREATE TRIGGER refuse BEFORE INSERT ON documents BEGIN "
                                    "SELECT RAISE(ABORT, 'refused'); END");
    FileObject contents(m_folder.path());
    contents.append("text");
    EXPECT_THAT(errorOf([&] { documents.store(contents, {}); }), HasSubstr("refused"));
    EXPECT_TRUE(std::filesystem::is_empty(path("documents")));
    EXPECT_THAT(documents.all(), IsEmpty());
}

TEST_F(ServerFiles, postscript_is_recognised_behind_what_printer_drivers_put_before_it)
{
    const std::pair<std::string, std::optional<DocumentFormat>> cases[]{
        {"\x04%!PS-Adobe-3.0\n", DocumentFormat::postScript},
        {"\x1B%-12345X@PJL JOB\n@PJL ENTER LANGUAGE=POSTSCRIPT\n%!PS-Adobe-3.0\n",
         DocumentFormat::postScript},
        {"\x1B%-12345X@PJL JOB\n@PJL ENTER LANGUAGE=PCL\n\x1B"
         "E",
         std::nullopt},
        {"junk before\n%PDF-1.7\n", DocumentFormat::pdf},
        {std::string(1020, 'x') + "%PDF-1.7\n", DocumentFormat::text},
    };
    for (const auto &[contents, format] : cases) {
        FileObject file(m_folder.path());
        file.append(contents);
        EXPECT_EQ(recogniseFormat(file), format) << contents;
    }
    EXPECT_EQ(formatFromName("docx"), std::nullopt);
}

TEST_F(ServerFiles, only_the_first_megabyte_tells_text_from_other_formats)
{
    FileObject file(m_folder.path());
    file.append(std::string(1024 * 1024, 'x'));
    file.append(std::string(1, '\0'));
    EXPECT_EQ(recogniseFormat(file), DocumentFormat::text);
    FileObject binary(m_folder.path());
    binary.append(std::string(500'000, 'x') + std::string(1, '\0') + std::string(500'000, 'x'));
    EXPECT_EQ(recogniseFormat(binary), std::nullopt);
}

} // namespace appserver
