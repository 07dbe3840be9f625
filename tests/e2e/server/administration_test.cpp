// SPDX-License-Identifier: MIT
#include "tests/e2e/server/ServerCommand.h"
#include "tests/support/FrameClient.h"
#include "tests/support/sample_documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// What a shell command says.
std::string outputOf(const std::string &command)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text;
    for (int c = 0; pipe && (c = std::fgetc(pipe.get())) != EOF;) {
        text += static_cast<char>(c);
    }
    return text;
}

/// What a program said on a terminal on which a person typed a line once asked for it, and its exit status.
struct TerminalDialogue
{
    std::string said;
    int status = -1;
};

TerminalDialogue typeWhenAsked(const std::vector<std::string> &words, const std::string &question,
                               const std::string &line)
{
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        std::vector<char *> arguments;
        arguments.reserve(words.size() + 1);
        for (const std::string &word : words) {
            arguments.push_back(const_cast<char *>(word.c_str()));
        }
        arguments.push_back(nullptr);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    TerminalDialogue dialogue;
    bool isAnswered = false;
    std::array<char, 1024> buffer;
    for (ssize_t count = 0; (count = ::read(terminal, buffer.data(), buffer.size())) > 0;) {
        dialogue.said.append(buffer.data(), static_cast<std::size_t>(count));
        if (!isAnswered && dialogue.said.find(question) != std::string::npos) {
            isAnswered = ::write(terminal, line.data(), line.size()) == static_cast<ssize_t>(line.size());
        }
    }
    int ended = 0;
    ::waitpid(child, &ended, 0);
    ::close(terminal);
    dialogue.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    return dialogue;
}

class Administration : public ::testing::Test
{
protected:
    [[nodiscard]] std::string data() const { return " --data '" + m_server.data().string() + "'"; }

    /// "R 1" when the login succeeds, else the error.
    std::string login(const std::string &user, const std::string &password)
    {
        FrameClient client(m_server);
        return client.ask(RequestText().hello("upload", ++m_nonce).command(1, loginLine(user, password)))
            .lines.at(1);
    }

    ServerProcess m_server;
    std::uint8_t m_nonce = 0;
};

} // namespace

TEST(ServerProgram, help_names_every_way_to_call_it_and_asks_for_nothing_else)
{
    for (const char *option : {"--help", "-h", "--data /nowhere --help"}) {
        const ServerCommand help(option);
        EXPECT_EQ(help.status(), 0) << option;
        EXPECT_THAT(help.errors(), IsEmpty()) << option;
        for (const char *words : {"--data DIR", "--plain-portal-port", "user add|passwd NAME",
                                  "user remove NAME", "user list", "documents", "SIGTERM", "SIGHUP"}) {
            EXPECT_THAT(help.output(), HasSubstr(words)) << option;
        }
    }
}

TEST(ServerProgram, the_version_is_one_line)
{
    const ServerCommand version("--version");
    EXPECT_EQ(version.status(), 0);
    EXPECT_THAT(version.output(), ::testing::MatchesRegex("vrserver [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(ServerProgram, a_wrong_call_ends_with_2_and_says_what_is_wrong_before_how_to_call_it)
{
    const std::pair<std::string, std::string> cases[]{
        {"", "--data is missing"},
        {"--data", "--data wants a value"},
        {"--data /nowhere --port 65536", "--port wants a port from 0 to 65535, not '65536'"},
        {"--data /nowhere --portal-port=3", "there is no option --portal-port=3"},
        {"--data /nowhere --plain-port -1", "--plain-port wants a port from 0 to 65535, not '-1'"},
        {"--data /nowhere --plain-portal-port 80x", "not '80x'"},
        {"--data /nowhere restart", "there is no command restart"},
    };
    for (const auto &[words, problem] : cases) {
        const ServerCommand call(words);
        EXPECT_EQ(call.status(), 2) << words;
        EXPECT_THAT(call.output(), IsEmpty()) << words;
        EXPECT_THAT(call.errors(), StartsWith("vrserver: ")) << words;
        EXPECT_THAT(call.errors(), HasSubstr(problem)) << words;
        EXPECT_THAT(call.errors(), HasSubstr("Usage:")) << words;
    }
}

TEST(ServerProgram, administration_wants_a_data_folder_that_a_server_has_made)
{
    const TemporaryFolder folder;
    for (const char *words : {"user list", "user add ada", "documents"}) {
        const ServerCommand call(std::string(words) + " --data '" + folder.path().string() + "'");
        EXPECT_EQ(call.status(), 1) << words;
        EXPECT_THAT(call.errors(), HasSubstr("is no data folder: start the server once")) << words;
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(ServerProgram, a_data_folder_that_cannot_be_made_is_named)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "");
    const ServerCommand below("--port 0 --portal-port 0 --data '" + file + "/data'");
    EXPECT_EQ(below.status(), 1);
    EXPECT_THAT(below.errors(), HasSubstr("cannot create the folder " + file + "/data"));
    EXPECT_THAT(below.errors(), Not(HasSubstr("Usage:")));
}

TEST(ServerProgram, an_address_that_nobody_has_is_an_error_at_the_start)
{
    const TemporaryFolder folder;
    const std::string start = "--port 0 --portal-port 0 --data '" + folder.file("data") + "' --listen ";
    const ServerCommand unknown(start + "no-such-host.invalid");
    EXPECT_EQ(unknown.status(), 1);
    EXPECT_THAT(unknown.errors(), HasSubstr("cannot listen on no-such-host.invalid: "));
    const ServerCommand foreign(start + "192.0.2.1");
    EXPECT_EQ(foreign.status(), 1);
    EXPECT_THAT(foreign.errors(), HasSubstr("cannot listen on 192.0.2.1 port 0: "));
}

TEST_F(Administration, a_port_in_use_is_an_error_at_the_start)
{
    const TemporaryFolder folder;
    const ServerCommand second("--portal-port 0 --data '" + folder.file("data") + "' --port " +
                               std::to_string(m_server.port()));
    EXPECT_EQ(second.status(), 1);
    EXPECT_THAT(second.errors(),
                HasSubstr("cannot listen on 127.0.0.1 port " + std::to_string(m_server.port())));
}

TEST_F(Administration, a_data_folder_belongs_to_one_running_server)
{
    const ServerCommand second("--port 0 --portal-port 0" + data());
    EXPECT_EQ(second.status(), 1);
    EXPECT_THAT(second.errors(), HasSubstr("another server is running in " + m_server.data().string()));
}

TEST_F(Administration, users_are_added_listed_and_removed_while_the_server_runs)
{
    EXPECT_EQ(ServerCommand("user add ada" + data(), "lovelace\n").status(), 0);
    EXPECT_EQ(login("ada", "lovelace"), "R 1");
    EXPECT_EQ(ServerCommand("user list" + data()).output(), "ada\ndemo\n");
    EXPECT_EQ(ServerCommand("user remove ada" + data()).status(), 0);
    EXPECT_EQ(ServerCommand("user list" + data()).output(), "demo\n");
    EXPECT_EQ(login("ada", "lovelace"), "X 1 SYSTEM/SECURITY/101");
}

TEST_F(Administration, a_list_that_cannot_be_written_is_no_success)
{
    const std::string program = std::string(VAREK_BUILD_DIR) + "/bin/vrserver";
    EXPECT_EQ(outputOf(program + " user list" + data() + " 2>&1 >/dev/full; echo $?"),
              "vrserver: the output cannot be written\n1\n");
}

TEST_F(Administration, a_new_password_is_in_force_at_once_and_the_old_one_is_not)
{
    EXPECT_EQ(ServerCommand("user passwd demo" + data(), "another one\n").status(), 0);
    EXPECT_EQ(login("demo", "another one"), "R 1");
    EXPECT_EQ(login("demo", m_server.password()), "X 1 SYSTEM/SECURITY/103");
}

TEST_F(Administration, what_cannot_be_done_to_a_user_is_said_and_ends_with_1)
{
    const std::tuple<std::string, std::string, std::string> cases[]{
        {"user add demo", "other\n", "the user exists already"},
        {"user passwd nobody", "other\n", "there is no such user"},
        {"user remove nobody", "", "there is no such user"},
        {"user add ada", "", "a password has 1 to 128 bytes"},
        {"user add ada", "with a |\n", "a password has 1 to 128 bytes"},
        {"user add ada", std::string(129, 'x') + "\n", "a password has 1 to 128 bytes"},
        {"user passwd demo", "\n", "a password has 1 to 128 bytes"},
        {"user add ''", "other\n", "a user name has 1 to 128 bytes"},
    };
    for (const auto &[words, input, problem] : cases) {
        const ServerCommand call(words + data(), input);
        EXPECT_EQ(call.status(), 1) << words;
        EXPECT_THAT(call.errors(), HasSubstr(problem)) << words;
    }
    EXPECT_EQ(ServerCommand("user list" + data()).output(), "demo\n");
    EXPECT_EQ(login("demo", m_server.password()), "R 1");
}

TEST_F(Administration, a_wrong_call_changes_no_user)
{
    for (const char *words : {"user", "user add", "user passwd", "user remove", "user list all",
                              "user rename demo", "user add ada grace"}) {
        const ServerCommand call(words + data(), "password\n");
        EXPECT_EQ(call.status(), 2) << words;
        EXPECT_THAT(call.errors(), HasSubstr("user wants: add NAME, passwd NAME, remove NAME or list"))
            << words;
    }
    EXPECT_EQ(ServerCommand("user list" + data()).output(), "demo\n");
}

TEST_F(Administration, a_password_that_is_typed_does_not_show)
{
    const TerminalDialogue dialogue = typeWhenAsked({std::string(VAREK_BUILD_DIR) + "/bin/vrserver", "user",
                                                     "add", "ada", "--data", m_server.data().string()},
                                                    "Password: ", "lovelace\n");
    EXPECT_EQ(dialogue.status, 0) << dialogue.said;
    EXPECT_EQ(dialogue.said, "Password: \r\n");
    EXPECT_EQ(login("ada", "lovelace"), "R 1");
}

TEST_F(Administration, documents_are_listed_a_line_each_whatever_their_names_hold)
{
    FrameClient client(m_server);
    const std::string first =
        uploadDocument(client, m_server.user(), m_server.password(), samplePdf("one"), "a\tb\nc.pdf", 1);
    const std::string second = uploadDocument(client, m_server.user(), m_server.password(), "text\n", "é", 2);
    const ServerCommand list("documents" + data());
    EXPECT_EQ(list.status(), 0);
    std::istringstream lines(list.output());
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_THAT(line, StartsWith(first + "\twaiting\tdemo\tSTANDARD\tpdf\t"));
    EXPECT_THAT(line, HasSubstr("\ta\\x09b\\x0Ac.pdf\t"));
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_THAT(line, StartsWith(second + "\twaiting\tdemo\tSTANDARD\ttxt\t5\t1\t"));
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Administration, a_mistake_in_the_configuration_leaves_the_running_server_as_it_was)
{
    m_server.configure("[Limits]\nSessions=none\n");
    EXPECT_THAT(m_server.log(), HasSubstr("the configuration stays as it was: "));
    EXPECT_THAT(m_server.log(), HasSubstr("Sessions"));
    EXPECT_EQ(login(m_server.user(), m_server.password()), "R 1");
    EXPECT_EQ(m_server.terminate(), 0);

    const ServerCommand start("--port 0 --portal-port 0" + data());
    EXPECT_EQ(start.status(), 1);
    EXPECT_THAT(start.errors(), HasSubstr("vrserver.ini: "));
    EXPECT_THAT(start.errors(), HasSubstr("Sessions"));
}

TEST_F(Administration, a_server_that_is_started_again_keeps_its_users_and_shows_no_password)
{
    const std::string password = m_server.password();
    EXPECT_EQ(m_server.interrupt(), 0);
    m_server.start();
    EXPECT_THAT(m_server.announcement(), Not(HasSubstr("demo password")));
    EXPECT_EQ(login("demo", password), "R 1");
}

TEST(ServerAddresses, a_server_of_version_6_of_the_protocol_names_itself_in_brackets)
{
    ServerProcess server({"--listen", "::1"});
    EXPECT_THAT(server.announcement(), HasSubstr("application server: https://[::1]:"));
    EXPECT_THAT(server.announcement(), HasSubstr("portal: https://[::1]:"));
    // The HTTP library of the other tests reads too far in a certificate that names addresses of both
    // versions.
    const std::string call = "curl -sS -o /dev/null -w '%{http_code}' --cacert '" + server.authority() +
                             "' 'https://[::1]:" + std::to_string(server.port()) + "/vrc'";
    EXPECT_EQ(outputOf(call), "204");
    EXPECT_THAT(server.accessLog(), HasSubstr(" ::1 GET \"/vrc\" 204"));
}

TEST(ServerAddresses, without_plain_ports_nothing_is_offered_unencrypted)
{
    const ServerProcess server(std::vector<std::string>{});
    EXPECT_THAT(server.announcement(), HasSubstr("application server: https://127.0.0.1:"));
    EXPECT_THAT(server.announcement(), Not(HasSubstr("http://")));
    EXPECT_THAT(server.announcement(), Not(HasSubstr("without TLS")));
}
