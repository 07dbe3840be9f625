// SPDX-License-Identifier: MIT
#include "tests/support/LibraryUpload.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/WildServer.h"
#include "tests/support/sanitizers.h"
#include "wire/error_info.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char *lists[] = {"parameters", "PRINTING_MODES", "TUNNEL_SERVICES", "FILE_ID"};

/// Everything that the program asks an object for, whatever type the server gave it.
void readEverything(LibraryRequest &request, const std::string &name)
{
    for (const char *query : {"STRING_GET_VALUE", "INTEGER_GET_VALUE", "STRINGLIST_GET_SIZE",
                              "INDSTRINGLIST_GET_SIZE", "TABLE_GET_NUM_ROWS", "FILE_GET_SIZE"}) {
        request.command("VR_CMD=|LOCAL:OBJECT:" + std::string(query) + "| NAME=|" + name + "|");
        const std::string text = request.result();
        if (std::string_view(query).find("_GET_SIZE") != std::string_view::npos && !text.empty() &&
            std::string_view(query) != "FILE_GET_SIZE") {
            ASSERT_LE(std::stoll(text), 10'000);
        }
    }
    for (const char *index : {"0", "1", "10000", "9223372036854775808", "-1"}) {
        const std::string rest = "| NAME=|" + name + "| INDEX=|" + index + "|";
        request.command("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE" + rest);
        request.command("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY" + rest);
        request.command("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|" + name + "| KEY=|" +
                        request.result() + "|");
        request.command("VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|" + name + "| ROW=|" + index +
                        "| MODE=|STRING|");
    }
}

/// The errors of the library, as SERVICE/CLASS/CODE; what a server says of itself may be anything else.
std::set<std::string> libraryErrors()
{
    std::set<std::string> names;
    for (const wire::ErrorKind &kind : wire::allErrorKinds()) {
        names.insert(std::string(kind.service) + "/" + std::string(kind.errorClass) + "/" +
                     std::to_string(kind.code));
    }
    return names;
}

class WildServers : public testing::Test
{
protected:
    ScopedVariable stallTimeout{"VRC_STALL_TIMEOUT_MS", "2000"};
    ScopedVariable answerTimeout{"VRC_ANSWER_TIMEOUT_MS", "2000"};
    TemporaryFolder folder;
    const std::string document = folder.write("document", incompressibleText(100'000));
};

TEST_F(WildServers, let_an_upload_end_in_bounded_time_and_memory_and_touch_no_file)
{
    const long before = peakKiB();
    int taken = 0;
    std::set<std::string> errors;
    std::set<std::string> failures;
    for (std::uint64_t seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const WildServer server(seed);
        const auto start = Clock::now();
        LibraryUpload upload(plainConnection(server.port()), "POD_USER=|ada| POD_PASSWORD=|lovelace|",
                             document);
        taken += upload.run() ? 1 : 0;
        errors.insert(upload.error());
        failures.insert(upload.failedCommand());
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(15));
        EXPECT_GE(server.connections(), 1);
    }
    EXPECT_LT(peakKiB() - before, memoryLimitKiB(64 * 1024));
    EXPECT_LT(taken, 500);
    EXPECT_TRUE(errors.contains("LOCAL/REQUEST/131")) << "no answer was too strange";
    // Commands that are queued fail at the next one that waits: there are few places to fail at.
    EXPECT_GE(failures.size(), 3U) << "hardly any conversation got anywhere";
    EXPECT_EQ(folder.read("document").size(), 100'000U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1)
        << "temporary files stayed behind";
    EXPECT_TRUE(std::filesystem::exists("/etc/passwd"));
}

TEST_F(WildServers, give_objects_that_answer_every_question_with_a_value_or_a_known_error)
{
    const long before = peakKiB();
    const std::set<std::string> known = libraryErrors();
    int fetched = 0;
    for (std::uint64_t seed = 1001; seed <= 1100; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const WildServer server(seed);
        LibraryRequest request(plainConnection(server.port()));
        for (const char *name : lists) {
            fetched += request.command("VR_CMD=|OBJECT:GET| NAME=|" + std::string(name) + "|") ? 1 : 0;
            readEverything(request, name);
            request.command("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|missing|");
            EXPECT_TRUE(known.contains(request.error())) << request.error();
        }
    }
    EXPECT_GT(fetched, 100) << "hardly any conversation got anywhere";
    EXPECT_LT(peakKiB() - before, memoryLimitKiB(64 * 1024));
}

} // namespace
