// SPDX-License-Identifier: MIT
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"
#include "vrc/Failure.h"
#include "vrc/LocalFile.h"
#include "vrc/Timeouts.h"
#include "vrc/file_access.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

template <typename Call>
wire::ErrorInfo failureOf(Call call)
{
    try {
        call();
    } catch (const vrc::Failure &failure) {
        EXPECT_EQ(failure.what(), failure.error().description);
        return failure.error();
    }
    ADD_FAILURE() << "no failure";
    return {};
}

class LocalFiles : public testing::Test
{
protected:
    TemporaryFolder m_folder;
};

} // namespace

TEST_F(LocalFiles, a_temporary_file_goes_with_its_object_and_with_the_one_that_takes_its_place)
{
    const std::string first = m_folder.write("first", "1");
    const std::string second = m_folder.write("second", "2");
    const std::string kept = m_folder.write("kept", "3");
    {
        vrc::LocalFile file(first, true);
        file = vrc::LocalFile(second, true);
        EXPECT_FALSE(std::filesystem::exists(first));
        EXPECT_EQ(file.path(), second);
        EXPECT_EQ(file.size(), 1U);
        const vrc::LocalFile moved(std::move(file));
        EXPECT_TRUE(std::filesystem::exists(second));
        const vrc::LocalFile lasting(kept, false);
    }
    EXPECT_FALSE(std::filesystem::exists(second));
    EXPECT_TRUE(std::filesystem::exists(kept));
}

TEST_F(LocalFiles, what_is_missing_or_no_file_cannot_be_read)
{
    const std::pair<std::string, std::string> cases[]{{m_folder.file("missing"), "No such file"},
                                                      {m_folder.path().string(), "it is not a file"}};
    for (const auto &entry : cases) {
        const auto &path = entry.first;
        for (const wire::ErrorInfo &error :
             {failureOf([&] { static_cast<void>(vrc::LocalFile(path, false).size()); }),
              failureOf([&] { const vrc::FileReader reader(path); })}) {
            EXPECT_EQ(error.code, 125);
            EXPECT_NE(error.description.find(path + " cannot be read: "), std::string::npos)
                << error.description;
            EXPECT_NE(error.description.find(entry.second), std::string::npos) << error.description;
        }
    }
}

TEST_F(LocalFiles, a_file_of_two_gibibytes_is_too_long)
{
    const std::string path = m_folder.write("long", "");
    std::filesystem::resize_file(path, 0x7fffffff);
    EXPECT_EQ(vrc::LocalFile(path, false).size(), 0x7fffffffU);
    std::filesystem::resize_file(path, 0x80000000);
    EXPECT_EQ(failureOf([&] { static_cast<void>(vrc::LocalFile(path, false).size()); }).code, 130);
}

TEST_F(LocalFiles, a_copy_holds_the_bytes_asked_for_and_remembers_where_they_came_from)
{
    const vrc::LocalFile source(m_folder.write("source", "0123456789"), false);
    vrc::LocalFile copy(m_folder.file("copy"), true);
    copy.copyFrom(source, 3, 4);
    EXPECT_EQ(m_folder.read("copy"), "3456");
    ASSERT_TRUE(copy.copiedFrom());
    EXPECT_EQ(copy.copiedFrom()->offset, 3U);
    EXPECT_EQ(failureOf([&] { copy.copyFrom(source, 8, 3); }).code, 125);
    EXPECT_EQ(failureOf([&] { copy.copyFrom(source, 11, 0); }).code, 125);
    EXPECT_FALSE(copy.copiedFrom()) << "a copy that failed is no copy";
    EXPECT_EQ(failureOf([&] { vrc::LocalFile(source.path(), false).copyFrom(source, 0, 1); }).code, 126);
    EXPECT_EQ(m_folder.read("source"), "0123456789");
}

TEST_F(LocalFiles, a_file_that_becomes_shorter_while_it_is_read_is_an_error)
{
    const vrc::FileReader reader(m_folder.write("file", std::string(100, 'x')));
    std::filesystem::resize_file(m_folder.file("file"), 50);
    std::string bytes;
    reader.read(0, bytes, 50);
    EXPECT_EQ(bytes, std::string(50, 'x'));
    const wire::ErrorInfo error = failureOf([&] { reader.read(0, bytes, 100); });
    EXPECT_EQ(error.code, 125);
    EXPECT_NE(error.description.find("it has become shorter"), std::string::npos);
}

TEST_F(LocalFiles, a_place_that_cannot_be_written_is_an_error)
{
    std::filesystem::create_symlink(m_folder.write("target", "kept"), m_folder.file("link"));
    for (const std::string &path :
         {m_folder.file("missing/file"), m_folder.path().string(), m_folder.file("link")}) {
        const wire::ErrorInfo error = failureOf([&] { const vrc::FileWriter writer(path); });
        EXPECT_EQ(error.code, 126) << path;
        EXPECT_NE(error.description.find(path + " cannot be written: "), std::string::npos)
            << error.description;
    }
    EXPECT_EQ(m_folder.read("target"), "kept");
    vrc::FileWriter full("/dev/full");
    EXPECT_EQ(failureOf([&] { full.write("x"); }).code, 126);
}

TEST_F(LocalFiles, temporary_files_are_private_and_stand_where_the_system_wants_them)
{
    {
        const ScopedVariable folder("TMPDIR", m_folder.path().string());
        const std::string path = vrc::createTemporaryFile();
        EXPECT_EQ(std::filesystem::path(path).parent_path(), m_folder.path());
        struct stat status = {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
    }
    const ScopedVariable folder("TMPDIR", m_folder.file("missing"));
    EXPECT_EQ(failureOf([] { static_cast<void>(vrc::createTemporaryFile()); }).code, 126);
    const ScopedVariable empty("TMPDIR", "");
    const std::string path = vrc::createTemporaryFile();
    EXPECT_TRUE(path.starts_with("/tmp/vrc-")) << path;
    std::filesystem::remove(path);
}

TEST(TimeOuts, can_be_shortened_but_neither_lengthened_nor_switched_off)
{
    const vrc::Timeouts usual = vrc::timeouts();
    EXPECT_EQ(usual.stall, std::chrono::seconds(30));
    EXPECT_EQ(usual.answer, std::chrono::minutes(10));
    for (const char *text : {"0", "-5", "soon", "", "999999999"}) {
        const ScopedVariable stall("VRC_STALL_TIMEOUT_MS", text);
        EXPECT_EQ(vrc::timeouts().stall, usual.stall) << text;
    }
    const ScopedVariable stall("VRC_STALL_TIMEOUT_MS", "300");
    EXPECT_EQ(vrc::timeouts().stall, std::chrono::milliseconds(300));
    EXPECT_EQ(vrc::timeouts().answer, usual.answer);
}
