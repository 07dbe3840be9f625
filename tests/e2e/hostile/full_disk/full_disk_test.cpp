// SPDX-License-Identifier: MIT
#include "tests/support/FrameClient.h"
#include "tests/support/sample_documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <fstream>
#include <random>

using ::testing::Contains;
using ::testing::HasSubstr;

namespace {

constexpr std::size_t diskBytes = 6 * 1024 * 1024;

/// A mount namespace of this process's own, with a small file system on the folder for temporary files.
void enterSmallDisk(const std::filesystem::path &folder)
{
    const std::string size = "mode=0700,size=" + std::to_string(diskBytes);
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, size.c_str()) != 0) {
        throw std::runtime_error("cannot mount a small file system: run as root");
    }
}

std::string incompressible(std::size_t bytes)
{
    std::mt19937 random(7);
    std::string text(bytes, '\0');
    std::ranges::generate(text, [&] { return static_cast<char>(random()); });
    return text;
}

} // namespace

TEST(FullDisk, fails_the_upload_with_a_description_and_the_server_goes_on)
{
    std::string name = (std::filesystem::temp_directory_path() / "full-disk-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    enterSmallDisk(name);
    ::setenv("TMPDIR", name.c_str(), 1);
    {
        ServerProcess server;
        FrameClient client(server);
        const std::string contents = incompressible(64 * 1024);
        RequestText request;
        request.hello("upload").command(1, loginLine(server.user(), server.password()));
        request.command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|");
        std::uint64_t number = 3;
        for (std::size_t at = 0; at < 2 * diskBytes; at += contents.size()) {
            request.queued(number++, "VR_CMD=|OBJECT:SEND| NAME=|B|").file("B", contents);
            request.queued(number++, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", at);
        }
        request.command(number, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|T|");
        const AnswerText full = client.ask(request);
        EXPECT_THAT(full.lines, Contains(HasSubstr("SYSTEM/STORAGE/101")));
        ASSERT_FALSE(full.errors.empty());
        EXPECT_THAT(full.errors.front(), HasSubstr("No space left on device"));

        // The end of the session gives the space back, and a smaller document is stored.
        client.ask(RequestText().session(full.session).end());
        const std::string pdf = samplePdf("small");
        uploadDocument(client, server.user(), server.password(), pdf, "small.pdf", 9);
        ASSERT_EQ(server.documents().size(), 1U);
        EXPECT_EQ(std::filesystem::file_size(server.documentFile(server.documents()[0])), pdf.size());
        EXPECT_EQ(server.terminate(), 0);
    }
    ::umount(name.c_str());
    std::filesystem::remove(name);
}
