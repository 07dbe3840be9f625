// SPDX-License-Identifier: MIT
#pragma once

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
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// A vrserver of its own in a temporary folder, on free ports of the loopback interface, with TLS and
/// without. It is ended, and the folder removed, with this object.
class ServerProcess
{
public:
    ServerProcess() : ServerProcess({"--plain-port", "0", "--plain-portal-port", "0"}) {}

    /// With these options beside the data folder and free ports for TLS.
    explicit ServerProcess(std::vector<std::string> options)
        : m_folder(newFolder()), m_options(std::move(options))
    {
        start();
    }

    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    ~ServerProcess()
    {
        if (terminate() != 0) {
            // A crash, or a report of a sanitizer, must not go by unnoticed.
            std::fprintf(stderr, "vrserver did not end well:\n%s\n", log().c_str());
            std::abort();
        }
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    [[nodiscard]] std::string host() const { return "127.0.0.1"; }

    [[nodiscard]] int port() const { return portOf("application server"); }

    [[nodiscard]] int plainPort() const { return portOf("application server without TLS"); }

    [[nodiscard]] int portalPort() const { return portOf("portal"); }

    [[nodiscard]] int plainPortalPort() const { return portOf("portal without TLS"); }

    /// server:port;application:directory
    [[nodiscard]] std::string directory() const { return value("server directory"); }

    /// The PEM file that makes the server's certificate trusted.
    [[nodiscard]] std::string authority() const { return value("certificate authority"); }

    [[nodiscard]] std::string user() const { return value("demo user"); }

    [[nodiscard]] std::string password() const { return value("demo password"); }

    [[nodiscard]] std::filesystem::path data() const { return m_folder / "data"; }

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// What the server printed at its last start.
    [[nodiscard]] const std::string &announcement() const { return m_announcement; }

    /// Appends to vrserver.ini (the last value of a setting holds) and waits until the server has read it.
    void configure(const std::string &text)
    {
        const std::size_t before = countInLog("configuration");
        std::ofstream(data() / "vrserver.ini", std::ios::app) << '\n' << text << '\n';
        ::kill(m_pid, SIGHUP);
        waitFor("the server to read its configuration", [&] { return countInLog("configuration") > before; });
    }

    /// The fields of each stored document, as `vrserver documents` prints them: identifier, state, owner,
    /// print mode, format, bytes, copies, paper, colour, duplex, staple, file name, note.
    [[nodiscard]] std::vector<std::vector<std::string>> documents() const
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

    /// The file of a document as documents() describes it.
    [[nodiscard]] std::filesystem::path documentFile(const std::vector<std::string> &document) const
    {
        return data() / "documents" / (document.at(0) + '.' + document.at(4));
    }

    void addUser(const std::string &name, const std::string &password) const
    {
        administer({"user", "add", name}, password + '\n');
    }

    /// Ends the server as an administrator would. The exit status, or minus the signal that ended it.
    int terminate() { return end(SIGTERM); }

    /// Ends the server as somebody at its terminal would.
    int interrupt() { return end(SIGINT); }

    /// Ends the server as a power failure would.
    int kill() { return end(SIGKILL); }

    /// Starts it again in the same folder; the ports are other ones. User and password stay.
    void start()
    {
        std::array<int, 2> out{};
        if (::pipe(out.data()) != 0) {
            throw std::runtime_error("pipe");
        }
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(out[1], STDOUT_FILENO);
            ::close(out[0]);
            ::close(out[1]);
            runServer();
        }
        ::close(out[1]);
        readDescription(out[0]);
        ::close(out[0]);
    }

    /// What the server wrote on standard error.
    [[nodiscard]] std::string log() const { return contentsOf(m_folder / "stderr"); }

    [[nodiscard]] std::string accessLog() const { return contentsOf(data() / "access.log"); }

private:
    static std::filesystem::path newFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "vrserver-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot create a temporary folder");
        }
        return name;
    }

    static std::string program() { return VAREK_BUILD_DIR "/bin/vrserver"; }

    static std::string contentsOf(const std::filesystem::path &path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    template <typename Condition>
    static void waitFor(const std::string &what, Condition condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                throw std::runtime_error("waited in vain for " + what);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    [[noreturn]] static void execute(std::vector<std::string> words)
    {
        std::vector<char *> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string &word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }

    static void redirect(int fd, const std::filesystem::path &path, int flags)
    {
        const int opened = ::open(path.c_str(), flags, 0600);
        if (opened < 0 || ::dup2(opened, fd) != fd) {
            ::_exit(126);
        }
        ::close(opened);
    }

    [[noreturn]] void runServer() const
    {
        // Appended to, so that a second start keeps what the first one said.
        redirect(STDERR_FILENO, m_folder / "stderr", O_WRONLY | O_CREAT | O_APPEND);
        std::vector<std::string> words{program(),       "--data", data().string(), "--port", "0",
                                       "--portal-port", "0"};
        words.insert(words.end(), m_options.begin(), m_options.end());
        execute(words);
    }

    void readDescription(int fd)
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

    [[nodiscard]] std::string value(const std::string &name) const
    {
        const auto found = m_description.find(name);
        if (found == m_description.end()) {
            throw std::runtime_error("vrserver said nothing of its " + name);
        }
        return found->second;
    }

    [[nodiscard]] int portOf(const std::string &name) const
    {
        const std::string url = value(name);
        return std::stoi(url.substr(url.rfind(':') + 1));
    }

    [[nodiscard]] std::size_t countInLog(const std::string &text) const
    {
        const std::string all = log();
        std::size_t count = 0;
        for (auto at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) {
            ++count;
        }
        return count;
    }

    /// Runs an administration command; its output. Throws when it fails.
    std::string administer(std::vector<std::string> words, const std::string &input) const
    {
        const std::filesystem::path in = m_folder / "admin-input";
        const std::filesystem::path out = m_folder / "admin-output";
        std::ofstream(in) << input;
        words.insert(words.begin(), program());
        words.insert(words.end(), {"--data", data().string()});
        const pid_t child = ::fork();
        if (child == 0) {
            redirect(STDIN_FILENO, in, O_RDONLY);
            redirect(STDOUT_FILENO, out, O_WRONLY | O_CREAT | O_TRUNC);
            execute(words);
        }
        int status = 0;
        if (::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            throw std::runtime_error("vrserver " + words.at(1) + " failed");
        }
        return contentsOf(out);
    }

    int end(int signal)
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

    std::filesystem::path m_folder;
    std::vector<std::string> m_options;
    std::string m_announcement;
    std::map<std::string, std::string> m_description;
    pid_t m_pid = -1;
};
