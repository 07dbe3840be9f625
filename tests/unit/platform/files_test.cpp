// SPDX-License-Identifier: MIT
#include "vrp/platform/files.h"

#include "tests/support/file_bytes.h"
#include "vrp/platform/system.h"
#include "vrp/platform/text.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

fs::path onDisk(const std::wstring &path)
{
    return wtoUTF8(path);
}

/// While it lives, no file grows beyond this size.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : m_signal(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_signal);
    }

    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    void (*m_signal)(int);
    rlimit m_before{};
};

class Files : public testing::Test
{
protected:
    std::wstring at(const std::wstring &name) const
    {
        return QString2StdWString(m_folder.path()) + L"/" + name;
    }

    static void write(const std::wstring &path, const std::string &content)
    {
        std::ofstream(onDisk(path), std::ios::binary) << content;
    }

    static std::string read(const std::wstring &path) { return fileBytes(onDisk(path)); }

    static std::string patterned(std::size_t size)
    {
        std::string content(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            content[i] = static_cast<char>(i * 31 + i / 251);
        }
        return content;
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(Files, a_directory_is_found_with_and_without_a_trailing_separator)
{
    fs::create_directory(onDisk(at(L"dir")));
    write(at(L"file"), "x");
    EXPECT_TRUE(VrpsDirExist(at(L"dir").c_str()));
    EXPECT_TRUE(VrpsDirExist(at(L"dir/").c_str()));
    EXPECT_TRUE(VrpsDirExist(at(L"dir\\").c_str()));
    EXPECT_TRUE(VrpsDirExist(at(L"dir\\/").c_str()));
    EXPECT_FALSE(VrpsDirExist(at(L"dir/\\\\").c_str()));
    EXPECT_FALSE(VrpsDirExist(at(L"file").c_str()));
    EXPECT_FALSE(VrpsDirExist(at(L"missing").c_str()));
}

TEST_F(Files, a_path_that_is_empty_without_its_separators_is_no_directory)
{
    for (const wchar_t *path : {static_cast<const wchar_t *>(nullptr), L"", L"/", L"\\", L"\\/"}) {
        EXPECT_FALSE(VrpsDirExist(path));
    }
}

TEST_F(Files, a_long_directory_path_is_read_whole)
{
    std::wstring path = at(L"");
    for (int i = 0; i < 1500; ++i) {
        path += L"./";
    }
    EXPECT_TRUE(VrpsDirExist(path.c_str()));
    EXPECT_FALSE(VrpsDirExist((path + std::wstring(100000, L'x')).c_str()));
}

TEST_F(Files, only_the_last_level_is_created)
{
    fs::create_directory(onDisk(at(L"a")));
    EXPECT_FALSE(VrpsCreateDir(at(L"a/b/c").c_str(), false));
    EXPECT_FALSE(fs::exists(onDisk(at(L"a/b"))));
    EXPECT_TRUE(VrpsCreateDir(at(L"a/b").c_str(), false));
    EXPECT_TRUE(VrpsCreateDir(at(L"a/b/c").c_str(), false));
    EXPECT_TRUE(fs::is_directory(onDisk(at(L"a/b/c"))));
}

TEST_F(Files, a_new_directory_is_as_open_as_the_users_mask_allows)
{
    const mode_t before = umask(0022);
    EXPECT_TRUE(VrpsCreateDir(at(L"masked").c_str(), true));
    umask(0);
    EXPECT_TRUE(VrpsCreateDir(at(L"single").c_str(), true));
    EXPECT_TRUE(VrpsCreateDir(at(L"last").c_str(), false));
    umask(before);
    EXPECT_EQ(fs::status(onDisk(at(L"masked"))).permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(onDisk(at(L"single"))).permissions(), fs::perms(0777));
    EXPECT_EQ(fs::status(onDisk(at(L"last"))).permissions(), fs::perms(0777));
}

TEST_F(Files, an_existing_directory_counts_as_created)
{
    EXPECT_TRUE(VrpsCreateDir(at(L"").c_str(), false));
    EXPECT_TRUE(VrpsCreateDir(at(L"").c_str(), true));
}

TEST_F(Files, a_new_directory_with_a_trailing_slash_is_not_created)
{
    EXPECT_FALSE(VrpsCreateDir(at(L"new/").c_str(), false));
    EXPECT_FALSE(fs::exists(onDisk(at(L"new"))));
}

TEST_F(Files, backslashes_separate_levels_and_blanks_are_cleaned)
{
    fs::create_directory(onDisk(at(L"a b")));
    EXPECT_TRUE(VrpsCreateDir(at(L"a  b\\c ").c_str(), false));
    EXPECT_TRUE(fs::is_directory(onDisk(at(L"a b/c"))));
}

TEST_F(Files, a_single_level_is_made_by_the_name_as_it_stands)
{
    EXPECT_TRUE(VrpsCreateDir(at(L" x\\y").c_str(), true));
    EXPECT_TRUE(fs::is_directory(onDisk(at(L" x\\y"))));
    EXPECT_FALSE(VrpsCreateDir(at(L"no/such").c_str(), true));
    write(at(L"file"), "");
    EXPECT_FALSE(VrpsCreateDir(at(L"file").c_str(), true));
    EXPECT_FALSE(VrpsCreateDir(at(L"file").c_str(), false));
}

TEST_F(Files, creating_nothing_succeeds_only_level_by_level)
{
    EXPECT_FALSE(VrpsCreateDir(nullptr, false));
    EXPECT_FALSE(VrpsCreateDir(nullptr, true));
    EXPECT_TRUE(VrpsCreateDir(L"", false));
    EXPECT_TRUE(VrpsCreateDir(L"  ", false));
    EXPECT_TRUE(VrpsCreateDir(L"/", false));
    EXPECT_TRUE(VrpsCreateDir(L"\\", false));
    EXPECT_FALSE(VrpsCreateDir(L"", true));
    EXPECT_FALSE(VrpsCreateDir(L"/", true));
}

TEST_F(Files, a_relative_path_is_created_below_the_working_directory)
{
    const fs::path before = fs::current_path();
    fs::current_path(onDisk(at(L"")));
    EXPECT_TRUE(VrpsCreateDir(L"one", false));
    EXPECT_TRUE(VrpsCreateDir(L"one/two", false));
    EXPECT_FALSE(VrpsCreateDir(L"three/two", false));
    fs::current_path(before);
    EXPECT_TRUE(fs::is_directory(onDisk(at(L"one/two"))));
}

TEST_F(Files, the_directory_suffix_is_added_once)
{
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"", L""}, {L"a", L"a/"}, {L"a/", L"a/"}, {L"/", L"/"}, {L"a\\", L"a\\/"}};
    for (auto [path, expected] : cases) {
        VrpsAddDirSuffix(path);
        EXPECT_EQ(path, expected);
    }
}

TEST_F(Files, a_file_is_seen_and_removed)
{
    std::setlocale(LC_ALL, "C.UTF-8"); // Qt 5 names files in the encoding of the locale
    const std::wstring path = at(L"\u00e9\U0001F5A8.txt");
    EXPECT_FALSE(VrpsFileExist(path));
    EXPECT_FALSE(VrpsRemoveFile(path));
    write(path, "x");
    EXPECT_TRUE(VrpsFileExist(path));
    EXPECT_TRUE(VrpsRemoveFile(path));
    EXPECT_FALSE(fs::exists(onDisk(path)));
    EXPECT_FALSE(VrpsFileExist(L""));
    EXPECT_FALSE(VrpsRemoveFile(L""));
}

TEST_F(Files, the_temporary_directory_is_the_toolkits)
{
    EXPECT_EQ(VrpsGetTempPath(), QDir::tempPath().toStdWString());
}

TEST_F(Files, a_copy_has_the_same_bytes)
{
    for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 32768U, 100000U}) {
        write(at(L"from"), patterned(size));
        write(at(L"to"), "longer than nothing");
        EXPECT_TRUE(CopyFileEx(at(L"from"), at(L"to"))) << size;
        EXPECT_EQ(read(at(L"to")), patterned(size)) << size;
    }
}

TEST_F(Files, a_copy_does_not_take_over_permissions)
{
    write(at(L"from"), "x");
    fs::permissions(onDisk(at(L"from")), fs::perms::owner_all);
    EXPECT_TRUE(CopyFileEx(at(L"from"), at(L"to")));
    EXPECT_EQ(fs::status(onDisk(at(L"to"))).permissions() & fs::perms::owner_exec, fs::perms::none);
}

TEST_F(Files, copying_a_file_onto_itself_empties_it)
{
    write(at(L"same"), "content");
    EXPECT_TRUE(CopyFileEx(at(L"same"), at(L"same")));
    EXPECT_EQ(read(at(L"same")), "");
}

TEST_F(Files, a_missing_source_leaves_the_destination_alone)
{
    write(at(L"to"), "kept");
    VrpsSetLastError(0);
    EXPECT_FALSE(CopyFileEx(at(L"missing"), at(L"to")));
    std::wstring text;
    EXPECT_EQ(VrpsGetLastSystemError(text), ENOENT);
    EXPECT_EQ(text, L"No such file or directory");
    EXPECT_EQ(read(at(L"to")), "kept");
}

TEST_F(Files, a_copy_that_cannot_be_made_fails_with_its_error)
{
    write(at(L"from"), "x");

    const struct
    {
        std::wstring from, to;
        int error;
    } cases[] = {
        {at(L"from"), at(L"no/such/folder"), ENOENT},
        {at(L"from"), at(L""), EISDIR},
        {L"", at(L"to"), 0},
        {at(L"from"), L"", 0},
    };

    for (const auto &c : cases) {
        VrpsSetLastError(5);
        EXPECT_FALSE(CopyFileEx(c.from, c.to));
        std::wstring text;
        EXPECT_EQ(VrpsGetLastSystemError(text), c.error) << wtoUTF8(c.from) << " -> " << wtoUTF8(c.to);
    }
}

/// Which error reading a folder gives is the file system's choice.
TEST_F(Files, a_folder_cannot_be_copied)
{
    VrpsSetLastError(0);
    EXPECT_FALSE(CopyFileEx(at(L""), at(L"to")));
    std::wstring text;
    EXPECT_NE(VrpsGetLastSystemError(text), 0);
}

TEST_F(Files, a_write_that_is_cut_short_fails)
{
    const FileSizeLimit limit(20000);
    for (const std::size_t size : {20001U, 40000U}) {
        const std::string content = patterned(size);
        EXPECT_FALSE(writeFile(at(L"to"), content));
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(read(at(L"to")), content.substr(0, 20000));
    }
    EXPECT_TRUE(writeFile(at(L"to"), patterned(20000)));
}

TEST_F(Files, a_copy_that_is_cut_short_fails)
{
    write(at(L"from"), patterned(20001));
    const FileSizeLimit limit(20000);
    EXPECT_FALSE(CopyFileEx(at(L"from"), at(L"to")));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(read(at(L"to")), patterned(20000));
}

TEST_F(Files, a_file_is_written_anew)
{
    write(at(L"file"), "longer than before");
    EXPECT_TRUE(writeFile(at(L"file"), std::string("a\0b", 3)));
    EXPECT_EQ(read(at(L"file")), std::string("a\0b", 3));
    EXPECT_TRUE(writeFile(at(L"file"), ""));
    EXPECT_EQ(read(at(L"file")), "");
    EXPECT_FALSE(writeFile(at(L""), "x"));
}
