// SPDX-License-Identifier: MIT
#include "tests/support/ServerProcess.h"

#include "tests/support/ArgumentVector.h"
#include "tests/support/file_bytes.h"
#include "tests/support/wait_for.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

const char *const program = VAREK_BUILD_DIR "/bin/vrserver";

/// In a child process.
void redirect(int fd, const std::string &path, int flags)
{
    const int opened = ::open(path.c_str(), flags, 0600);
    if (opened < 0 || ::dup2(opened, fd) != fd) {
        ::_exit(126);
    }
    ::close(opened);
}

} // namespace

ServerProcess::ServerProcess(std::vector<std::string> options) : m_options(std::move(options))
{
    start();
}

ServerProcess::~ServerProcess()
{
    if (terminate() != 0) {
        std::fprintf(stderr, "vrserver did not end well:\n%s\n", log().c_str());
        std::abort();
    }
}

std::string ServerProcess::login() const
{
    return "POD_USER=|" + user() + "| POD_PASSWORD=|" + password() + "|";
}

void ServerProcess::configure(const std::string &text)
{
    const std::size_t before = countInLog("configuration");
    std::ofstream(data() / "vrserver.ini", std::ios::app) << '\n' << text << '\n';
    ::kill(m_pid, SIGHUP);
    waitFor("the server to read its configuration", [&] { return countInLog("configuration") > before; });
}

std::vector<std::vector<std::string>> ServerProcess::documents() const
{
    std::vector<std::vector<std::string>> all;
    std::istringstream lines(administer({"documents"}, {}));
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;
        std::istringstream parts(line + '\t');
        for (std::string field; std::getline(parts, field, '\t');) {
            fields.push_back(field);
        }
        all.push_back(fields);
    }
    return all;
}

std::filesystem::path ServerProcess::documentFile(const std::vector<std::string> &document) const
{
    return data() / "documents" / (document.at(0) + '.' + document.at(4));
}

std::string ServerProcess::storedText(const std::string &identifier) const
{
    return fileBytes(data() / "documents" / (identifier + ".txt"));
}

void ServerProcess::addUser(const std::string &name, const std::string &password) const
{
    administer({"user", "add", name}, password + '\n');
}

int ServerProcess::terminate()
{
    return end(SIGTERM);
}

int ServerProcess::interrupt()
{
    return end(SIGINT);
}

int ServerProcess::kill()
{
    return end(SIGKILL);
}

void ServerProcess::start()
{
    std::vector<std::string> options{"--data", data(), "--port", "0", "--portal-port", "0"};
    options.insert(options.end(), m_options.begin(), m_options.end());
    ArgumentVector words(program, options);
    const std::string errors = m_folder.file("stderr");
    std::array<int, 2> out{};
    if (::pipe(out.data()) != 0) {
        throw std::runtime_error("pipe");
    }
    m_pid = ::fork();
    if (m_pid == 0) {
        ::dup2(out[1], STDOUT_FILENO);
        ::close(out[0]);
        ::close(out[1]);
        // Appended to, so that a second start keeps what the first one said.
        redirect(STDERR_FILENO, errors, O_WRONLY | O_CREAT | O_APPEND);
        ::execv(program, words.data());
        ::_exit(127);
    }
    ::close(out[1]);
    readDescription(out[0]);
    ::close(out[0]);
}

std::string ServerProcess::log() const
{
    return m_folder.read("stderr");
}

std::string ServerProcess::accessLog() const
{
    return fileBytes(data() / "access.log");
}

void ServerProcess::readDescription(int fd)
{
    std::string text;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (text.find("\nready\n") == std::string::npos) {
        pollfd entry{fd, POLLIN, 0};
        std::array<char, 4096> buffer;
        if (::poll(&entry, 1, 1000) > 0) {
            const ssize_t count = ::read(fd, buffer.data(), buffer.size());
            if (count <= 0) {
                throw std::runtime_error("vrserver did not start: " + log());
            }
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("vrserver is not ready after a minute: " + log());
        }
    }
    m_announcement = text;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto colon = line.find(": ");
        if (colon != std::string::npos) {
            m_description[line.substr(0, colon)] = line.substr(colon + 2);
        }
    }
}

std::string ServerProcess::value(const std::string &name) const
{
    const auto found = m_description.find(name);
    if (found == m_description.end()) {
        throw std::runtime_error("vrserver said nothing of its " + name);
    }
    return found->second;
}

int ServerProcess::portOf(const std::string &name) const
{
    const std::string url = value(name);
    return std::stoi(url.substr(url.rfind(':') + 1));
}

std::size_t ServerProcess::countInLog(const std::string &text) const
{
    const std::string all = log();
    std::size_t count = 0;
    for (auto at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) {
        ++count;
    }
    return count;
}

/// Runs an administration command; its output. Throws when it fails.
std::string ServerProcess::administer(std::vector<std::string> words, const std::string &input) const
{
    const std::string in = m_folder.write("admin-input", input);
    const std::string out = m_folder.file("admin-output");
    words.insert(words.end(), {"--data", data()});
    ArgumentVector arguments(program, words);
    const pid_t child = ::fork();
    if (child == 0) {
        redirect(STDIN_FILENO, in, O_RDONLY);
        redirect(STDOUT_FILENO, out, O_WRONLY | O_CREAT | O_TRUNC);
        ::execv(program, arguments.data());
        ::_exit(127);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("vrserver " + words.at(0) + " failed");
    }
    return fileBytes(out);
}

int ServerProcess::end(int signal)
{
    if (m_pid <= 0) {
        return 0;
    }
    ::kill(m_pid, signal);
    int status = 0;
    while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
