// SPDX-License-Identifier: MIT
#include "backend/backend_run.h"

#include "backend/cancel_signal.h"
#include "backend/job_ticket.h"
#include "backend/spool_names.h"
#include "tests/unit/backend/files_on_disk.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <functional>
#include <sstream>
#include <vector>

namespace fs = std::filesystem;
using backend::AccountLookup;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr char localOptions[] = "job-originating-host-name=localhost";
constexpr char wholePdf[] = "%PDF-1.7\ncontents\n%%EOF\n";

/// As root the backend becomes this user; otherwise it can only be the one who runs the test.
uid_t recipientUid()
{
    return ::geteuid() == 0 ? 54321 : ::geteuid();
}

AccountLookup findAlice(const std::string &name)
{
    if (name == "faraway") {
        return {AccountLookup::Outcome::unavailable, {}};
    }
    return name == "alice"
               ? AccountLookup{AccountLookup::Outcome::found, {"alice", recipientUid(), ::getegid()}}
               : AccountLookup{};
}

struct Outcome
{
    int status = -1; ///< as waitpid gives it
    std::string messages;

    [[nodiscard]] int exitCode() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }
};

class Backend : public testing::Test
{
protected:
    [[nodiscard]] fs::path root() const { return scratch.path() / "spool"; }

    [[nodiscard]] fs::path userFolder() const { return root() / std::to_string(recipientUid()); }

    [[nodiscard]] fs::path mapping() const { return scratch.path() / "backend.conf"; }

    /// Runs the backend in a process of its own, since it gives its rights up for good.
    Outcome run(
        const std::vector<std::string> &job, int document, const std::function<void()> &prepare = [] {}) const
    {
        std::vector<std::string> arguments = {"varek:127.0.0.1"};
        arguments.insert(arguments.end(), job.begin(), job.end());
        const fs::path log = scratch.path() / "messages";
        const pid_t child = ::fork();
        if (child == 0) {
            std::ofstream messages(log);
            backend::catchSignals();
            prepare();
            const auto code = backend::runBackend(arguments, {.spoolRoot = root(),
                                                              .mappingFile = mapping(),
                                                              .queue = queue,
                                                              .computer = "desk7",
                                                              .findAccount = findAlice,
                                                              .devices = messages,
                                                              .messages = messages,
                                                              .document = document});
            messages.close();
            ::_exit(static_cast<int>(code));
        }
        Outcome result;
        ::waitpid(child, &result.status, 0);
        result.messages = contents(log);
        return result;
    }

    Outcome print(const std::string &document, const std::string &user = "alice",
                  const std::string &title = "Title", const std::string &options = localOptions) const
    {
        return run({"7", user, title, "2", options}, pipeWith(document));
    }

    [[nodiscard]] fs::path fileWith(const std::string &name, const std::string &text) const
    {
        writeFile(scratch.path() / name, text);
        return scratch.path() / name;
    }

    static int pipeWith(const std::string &text)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe(ends), 0);
        EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
        ::close(ends[1]);
        return ends[0];
    }

    [[nodiscard]] std::vector<std::string> spooled(std::string_view suffix) const
    {
        std::vector<std::string> found;
        for (const std::string &name : namesIn(userFolder())) {
            if (name.ends_with(suffix)) {
                found.push_back(contents(userFolder() / name));
            }
        }
        return found;
    }

    TemporaryFolder scratch;
    std::string queue = "Varek";
};

TEST_F(Backend, without_arguments_lists_one_device_under_the_name_it_was_started_by)
{
    std::ostringstream devices;
    std::ostringstream messages;
    const std::vector<std::string> arguments = {"/usr/lib/cups/backend/varek"};
    EXPECT_EQ(backend::runBackend(arguments, {.spoolRoot = {},
                                              .mappingFile = {},
                                              .queue = {},
                                              .computer = {},
                                              .findAccount = {},
                                              .devices = devices,
                                              .messages = messages}),
              backend::ExitCode::ok);
    EXPECT_EQ(devices.str(), "direct varek:127.0.0.1 \"Varek Printer\" \"Varek Printer\" "
                             "\"MFG:Varek;MDL:Printer;DES:Varek Printer;CMD:PDF;\" \"\"\n");
    EXPECT_EQ(messages.str(), "");
}

TEST_F(Backend, puts_document_and_ticket_into_the_users_spool)
{
    const Outcome result = print(wholePdf);
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.messages, "STATE: -varek-refused-warning\nINFO: Waiting for alice\n");
    EXPECT_THAT(spooled(backend::documentSuffix), ElementsAre(wholePdf));
    ASSERT_THAT(spooled(backend::ticketSuffix), testing::SizeIs(1));
    const auto ticket = backend::parseTicket(spooled(backend::ticketSuffix).front());
    ASSERT_TRUE(ticket);
    EXPECT_EQ(ticket->queue, "Varek");
    EXPECT_EQ(ticket->title, "Title");
    EXPECT_EQ(ticket->host, "desk7");
    EXPECT_EQ(ticket->user, "alice");
    EXPECT_EQ(ticket->copies, 2U);
    EXPECT_NEAR(static_cast<double>(ticket->printedAt), static_cast<double>(std::time(nullptr)), 60);
}

TEST_F(Backend, shows_the_spool_to_its_user_alone)
{
    ASSERT_EQ(print(wholePdf).exitCode(), 0);
    EXPECT_EQ(modeOf(root()), 0711U);
    EXPECT_EQ(modeOf(userFolder()), 0700U);

    struct stat status
    {};

    for (const std::string &name : namesIn(userFolder())) {
        ASSERT_EQ(::lstat((userFolder() / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0600U) << name;
        EXPECT_EQ(status.st_uid, recipientUid()) << name;
    }
}

TEST_F(Backend, copies_a_large_document_byte_by_byte)
{
    std::string bytes;
    for (std::size_t i = 0; i < 1'000'003; ++i) {
        bytes += static_cast<char>((i * 7919) >> 3U);
    }
    const fs::path file = fileWith("document", bytes);
    ASSERT_EQ(run({"7", "alice", "t", "1", localOptions, file}, -1).exitCode(), 0);
    EXPECT_THAT(spooled(backend::documentSuffix), ElementsAre(bytes));
}

TEST_F(Backend, delivers_each_file_of_a_job_in_order)
{
    const fs::path first = fileWith("a", "first");
    const fs::path second = fileWith("b", "second");
    ASSERT_EQ(run({"7", "alice", "t", "1", localOptions, first, second}, -1).exitCode(), 0);
    EXPECT_THAT(spooled(backend::documentSuffix), ElementsAre("first", "second"));
    EXPECT_THAT(spooled(backend::ticketSuffix), testing::SizeIs(2));
}

TEST_F(Backend, delivers_no_file_of_a_job_when_one_cannot_be_read)
{
    const fs::path first = fileWith("a", "first");
    const Outcome result = run({"7", "alice", "t", "1", localOptions, first, scratch.path() / "gone"}, -1);
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: Cannot open the document: "));
    EXPECT_THAT(namesIn(userFolder()), IsEmpty());
}

TEST_F(Backend, follows_no_link_to_a_document)
{
    const fs::path link = scratch.path() / "link";
    fs::create_symlink(fileWith("a", "first"), link);
    EXPECT_EQ(run({"7", "alice", "t", "1", localOptions, link}, -1).exitCode(), 3);
}

TEST_F(Backend, keeps_hostile_texts_inside_their_fields)
{
    ASSERT_EQ(print(wholePdf, "alice", "a\" -l FILE \"b\nuser=root\n").exitCode(), 0);
    EXPECT_EQ(backend::parseTicket(spooled(backend::ticketSuffix).front())->title, "a' -l FILE 'buser=root");
}

TEST_F(Backend, cancels_a_refused_job_with_a_state_and_a_message)
{
    const Outcome result = print(wholePdf, "root");
    EXPECT_EQ(result.exitCode(), 5);
    EXPECT_EQ(result.messages, "STATE: -varek-refused-warning\nSTATE: +varek-refused-warning\n"
                               "ERROR: Refused: there is no user 'root' on this computer\n");
    EXPECT_FALSE(fs::exists(root()));
}

TEST_F(Backend, refuses_a_job_of_another_computer_unless_it_is_mapped)
{
    constexpr char remote[] = "job-originating-host-name=10.0.0.7";
    EXPECT_EQ(print(wholePdf, "alice", "t", remote).exitCode(), 5);
    writeFile(mapping(), "map *@10.0.0.7 alice\n", 0644);
    const Outcome mapped = print(wholePdf, "bob", "t", remote);
    EXPECT_EQ(mapped.exitCode(), 0) << mapped.messages;
    const auto ticket = backend::parseTicket(spooled(backend::ticketSuffix).front());
    EXPECT_EQ(ticket->host, "10.0.0.7");
    EXPECT_EQ(ticket->user, "bob");
}

TEST_F(Backend, ignores_a_mapping_that_others_can_write)
{
    writeFile(mapping(), "map *@* alice\n", 0666);
    const Outcome result = print(wholePdf, "bob");
    EXPECT_EQ(result.exitCode(), 5);
    EXPECT_THAT(result.messages, HasSubstr("is ignored: it must be a file"));
}

TEST_F(Backend, ignores_a_mapping_that_is_a_link)
{
    fs::create_symlink(fileWith("elsewhere", "map *@* alice\n"), mapping());
    const Outcome result = print(wholePdf, "bob");
    EXPECT_EQ(result.exitCode(), 5);
    EXPECT_THAT(result.messages, HasSubstr("is ignored: it must be a file"));
}

TEST_F(Backend, holds_a_job_while_the_user_directory_does_not_answer)
{
    const Outcome result = print(wholePdf, "faraway");
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: The user directory does not answer\n"));
    EXPECT_THAT(result.messages, Not(HasSubstr("STATE: +")));
}

TEST_F(Backend, cancels_a_job_of_a_queue_without_a_name)
{
    queue.clear();
    const Outcome result = print(wholePdf);
    EXPECT_EQ(result.exitCode(), 5);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: cupsd gave no queue name\n"));
}

TEST_F(Backend, cancels_a_call_that_is_no_job)
{
    for (const auto &arguments :
         std::vector<std::vector<std::string>>{{"x"}, {"x", "alice", "t", "1", "o"}}) {
        EXPECT_EQ(run(arguments, -1).exitCode(), 5);
    }
}

TEST_F(Backend, takes_no_document_that_a_stopped_filter_left_half_written)
{
    for (const char *half : {"", "%PDF-1.7\nconte"}) {
        const Outcome result = print(half);
        EXPECT_EQ(result.exitCode(), 5);
        EXPECT_THAT(result.messages, HasSubstr("ERROR: The document is incomplete"));
        EXPECT_THAT(namesIn(userFolder()), IsEmpty());
    }
}

TEST_F(Backend, takes_any_bytes_that_are_printed_without_filters)
{
    const fs::path file = fileWith("document", "%PDF-1.7\nconte");
    EXPECT_EQ(run({"7", "alice", "t", "1", localOptions, file}, -1).exitCode(), 0);
}

TEST_F(Backend, leaves_nothing_behind_when_a_job_is_cancelled)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe(ends), 0); // stays open: the filters still work
    const Outcome result = run({"7", "alice", "t", "1", localOptions}, ends[0], [] { ::raise(SIGTERM); });
    ::close(ends[1]);
    EXPECT_EQ(result.exitCode(), 5);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: The job was cancelled"));
    EXPECT_THAT(namesIn(userFolder()), IsEmpty());
}

TEST_F(Backend, holds_a_job_that_does_not_fit_and_leaves_nothing_behind)
{
    const fs::path file = fileWith("document", std::string(200'000, 'x'));
    const Outcome result = run({"7", "alice", "t", "1", localOptions, file}, -1, [] {
        const rlimit limit{100'000, 100'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: Cannot write to the spool: "));
    EXPECT_THAT(namesIn(userFolder()), IsEmpty());
}

TEST_F(Backend, is_not_tricked_by_a_link_in_place_of_the_users_folder)
{
    const fs::path target = scratch.path() / "target";
    fs::create_directory(target);
    fs::create_directory(root());
    ::chmod(root().c_str(), 0711);
    fs::create_symlink(target, userFolder());
    EXPECT_EQ(print(wholePdf).exitCode(), 3);
    EXPECT_THAT(namesIn(target), IsEmpty());
}

TEST_F(Backend, hands_over_a_folder_that_an_interrupted_backend_left_to_root)
{
    fs::create_directories(userFolder());
    ::chmod(root().c_str(), 0711);
    ::chmod(userFolder().c_str(), 0700);
    EXPECT_EQ(print(wholePdf).exitCode(), 0);

    struct stat status
    {};

    ASSERT_EQ(::stat(userFolder().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, recipientUid());
}

TEST_F(Backend, opens_a_spool_that_an_interrupted_backend_left_closed)
{
    fs::create_directory(root());
    ::chmod(root().c_str(), 0700);
    EXPECT_EQ(print(wholePdf).exitCode(), 0);
    EXPECT_EQ(fs::status(root()).permissions(), fs::perms(0711));
}

TEST_F(Backend, holds_a_job_whose_mapping_is_there_and_cannot_be_opened)
{
    ASSERT_EQ(::mknod(mapping().c_str(), S_IFSOCK | 0600, 0), 0); // ENXIO
    const Outcome result = print(wholePdf);
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: Cannot open the configuration of the backend: "));
    EXPECT_FALSE(fs::exists(userFolder()));
}

TEST_F(Backend, holds_a_job_whose_mapping_is_too_long_to_be_read_whole)
{
    // Cut in the middle of a line, a rule would name somebody else.
    writeFile(mapping(), std::string(backend::maxMappingBytes - 9, '\n') + "map *@* alice\n", 0644);
    const Outcome result = print(wholePdf);
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("ERROR: The configuration of the backend is longer than 64 KiB"));
}

TEST_F(Backend, holds_a_job_when_the_spool_can_be_changed_by_others)
{
    fs::create_directory(root());
    ::chmod(root().c_str(), 0777);
    const Outcome result = print(wholePdf);
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("can be changed by others than root"));
}

TEST_F(Backend, holds_a_job_when_the_users_folder_is_open_to_others)
{
    ASSERT_EQ(print(wholePdf).exitCode(), 0);
    ::chmod(userFolder().c_str(), 0755);
    const Outcome result = print(wholePdf);
    EXPECT_EQ(result.exitCode(), 3);
    EXPECT_THAT(result.messages, HasSubstr("is open to others"));
}

TEST_F(Backend, tells_waiting_agents_of_a_new_folder)
{
    ASSERT_EQ(print(wholePdf).exitCode(), 0);
    EXPECT_EQ(modeOf(root() / backend::newFolderMarker), 0644U);
}

TEST_F(Backend, tells_waiting_agents_of_every_further_new_folder)
{
    fs::create_directory(root());
    ::chmod(root().c_str(), 0711);
    const fs::path marker = root() / backend::newFolderMarker;
    writeFile(marker, "", 0644);
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(marker, longAgo);
    ASSERT_EQ(print(wholePdf).exitCode(), 0);
    EXPECT_GT(fs::last_write_time(marker), longAgo + std::chrono::minutes(30));
}

} // namespace
