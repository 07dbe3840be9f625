// SPDX-License-Identifier: MIT
#include "tests/torture/UploadBed.h"

#include "tests/support/HttpPeer.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/LoopbackSocket.h"
#include "tests/support/PrivateLibrary.h"
#include "tests/support/sanitizers.h"
#include "wire/FrameReader.h"
#include "wire/error_info.h"
#include "wire/frames.h"
#include "wire/limits.h"

#include <net/if.h>
#include <sched.h>
#include <sodium.h>
#include <sqlite3.h>
#include <sys/ioctl.h>
#include <sys/mount.h>

#include <cstdio>

namespace {

constexpr char password[] = "torture-secret-7Qz";
constexpr char secretPart[] = "secret-7Q";
constexpr char systemAuthorities[] = "/etc/ssl/certs/ca-certificates.crt";

struct CloseDatabase
{
    void operator()(sqlite3 *database) const { sqlite3_close(database); }
};

using Database = std::unique_ptr<sqlite3, CloseDatabase>;

Database openDatabase(const ServerProcess &server)
{
    sqlite3 *opened = nullptr;
    const std::string path = (server.data() / "vrserver.db").string();
    const int status = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    Database database(opened);
    if (status != SQLITE_OK) {
        throw std::runtime_error("the server's database cannot be opened");
    }
    sqlite3_busy_timeout(opened, 20'000);
    return database;
}

/// The first column of all rows. `values` hold no quotes.
std::vector<std::string> query(const ServerProcess &server, const std::string &sql)
{
    std::vector<std::string> rows;
    const Database database = openDatabase(server);
    const auto take = [](void *into, int, char **values, char **) {
        static_cast<std::vector<std::string> *>(into)->push_back(values[0]);
        return 0;
    };
    if (sqlite3_exec(database.get(), sql.c_str(), take, &rows, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database.get()));
    }
    return rows;
}

void makePasswordCheap(const ServerProcess &server)
{
    std::string hash(crypto_pwhash_STRBYTES, '\0');
    if (sodium_init() < 0 ||
        crypto_pwhash_str_alg(hash.data(), password, sizeof password - 1, crypto_pwhash_OPSLIMIT_MIN,
                              crypto_pwhash_MEMLIMIT_MIN, crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw std::runtime_error("the password cannot be hashed");
    }
    query(server, std::string("UPDATE users SET password_hash = '") + hash.substr(0, hash.find('\0')) + "'");
}

std::size_t entries(const std::filesystem::path &folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::size_t descriptorsOf(pid_t process)
{
    return entries("/proc/" + std::to_string(process) + "/fd");
}

bool isDocumented(const std::string &error)
{
    const auto kinds = wire::allErrorKinds();
    return std::any_of(kinds.begin(), kinds.end(), [&](const wire::ErrorKind &kind) {
        return error == std::string(kind.service) + '/' + std::string(kind.errorClass) + '/' +
                            std::to_string(kind.code);
    });
}

bool isAtLastStep(const std::string &command)
{
    return command.starts_with("VR_PROC=") || command.find("FILE_ID") != std::string::npos;
}

/// A loopback interface of this process alone, whose closed connections make room at once.
void enterOwnNetwork()
{
    if (::unshare(CLONE_NEWNET) != 0) {
        return;
    }
    ifreq request = {};
    request.ifr_name[0] = 'l';
    request.ifr_name[1] = 'o';
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const LoopbackSocket socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (::ioctl(socket.descriptor(), SIOCSIFFLAGS, &request) != 0) {
        throw std::runtime_error("the loopback interface cannot be brought up");
    }
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "10000 65000";
    std::ofstream("/proc/sys/net/ipv4/tcp_max_tw_buckets") << "1000";
}

template <typename Condition>
bool eventually(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

} // namespace

void enterFastPlace()
{
    enterOwnNetwork();
    const char *library = PrivateLibrary::folder();
    const std::filesystem::path folder = std::filesystem::path(library == nullptr ? "" : library) / "memory";
    if (library == nullptr || ::unshare(CLONE_NEWNS) != 0 ||
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return;
    }
    std::filesystem::create_directory(folder);
    if (::mount("memory", folder.c_str(), "tmpfs", 0, "size=2g,mode=0700") != 0) {
        return;
    }
    const std::filesystem::path nothing = folder / "no-authorities";
    std::ofstream(nothing) << '\n';
    (void)::mount(nothing.c_str(), systemAuthorities, nullptr, MS_BIND, nullptr);
    ::setenv("TMPDIR", folder.c_str(), 1);
}

void loseSilentServersSoon()
{
    const char *milliseconds = isSanitized ? "3000" : "500";
    ::setenv("VRC_STALL_TIMEOUT_MS", milliseconds, 1);
    ::setenv("VRC_ANSWER_TIMEOUT_MS", milliseconds, 1);
}

struct UploadBed::Result
{
    bool isOpen = false;
    bool isDone = false;
    std::string error;
    std::string description;
    std::string failedCommand;
    std::string identifier;
    std::string session;
    bool isClosed = false;
};

UploadBed::UploadBed()
{
    makePasswordCheap(m_server);
    const char *library = PrivateLibrary::folder();
    if (library != nullptr) {
        std::filesystem::copy_file(m_server.authority(), std::filesystem::path(library) / "vrc-ca.pem",
                                   std::filesystem::copy_options::overwrite_existing);
    }
    m_ownDescriptors = descriptorsOf(::getpid());
    m_serverDescriptors = descriptorsOf(m_server.pid());
}

std::string UploadBed::document(std::size_t bytes)
{
    return incompressibleText(bytes, 7);
}

std::string UploadBed::connection(int port, bool isTls)
{
    return "Unicode=\"YES\" Server=\"127.0.0.1:" + std::to_string(port) +
           "\" Application=\"upload\" User=\"\" Password=\"\"" + (isTls ? " Ssl=\"YES\"" : "") +
           " ConnectionTimeOut=\"2\""; // a handshake that falls silent is given up soon
}

std::string UploadBed::login() const
{
    return "POD_USER=|" + m_server.user() + "| POD_PASSWORD=|" + password + "|";
}

UploadBed::Result UploadBed::runUpload(int port, bool isTls, const std::string &path, const std::string &name,
                                       const std::string &log)
{
    LibraryUpload print(connection(port, isTls) + " SocketLog=\"" + log + "\"", login(), path);
    print.setFileName(name);
    Result result;
    result.isOpen = print.isOpen();
    result.isDone = print.run();
    result.error = result.isOpen ? print.error() : "no request";
    result.description = print.description();
    result.failedCommand = print.failedCommand();
    result.identifier = print.identifier();
    result.session = print.sessionId();
    result.isClosed = print.isSessionClosed();
    return result;
}

Verdict UploadBed::upload(int port, bool isTls, const std::string &document)
{
    Verdict verdict;
    const TemporaryFolder folder;
    std::string number = std::to_string(++m_uploads);
    const std::string name = "document-" + number.insert(0, 8 - number.size(), '0');
    const std::string path = folder.write("document", document);
    const Result result = runUpload(port, isTls, path, name, folder.file("socket.log"));
    judge(result, name, document, verdict);
    checkSession(result, verdict);
    if (folder.read("document") != document || entries(folder.path()) != (result.isOpen ? 2 : 1)) {
        verdict.violations.emplace_back("the document was changed, or a file is left beside it");
    }
    if ((result.description + folder.read("socket.log")).find(secretPart) != std::string::npos) {
        verdict.violations.emplace_back("a password was written down");
    }
    forget(name);
    return verdict;
}

Verdict UploadBed::uploadTwice(int port, bool isTls, const std::string &document,
                               const std::function<void()> &mend)
{
    Verdict verdict = upload(port, isTls, document);
    mend();
    Verdict next;
    next.isCompleted = verdict.isCompleted;
    for (int tries = 0; tries < 3 && !next.isCompleted && next.violations.empty(); ++tries) {
        next = upload(isTls ? m_server.port() : m_server.plainPort(), isTls, document);
    }
    if (!next.isCompleted || !next.violations.empty()) {
        verdict.violations.push_back("the next upload, without a fault, fails: " + next.error);
        verdict.violations.insert(verdict.violations.end(), next.violations.begin(), next.violations.end());
    }
    return verdict;
}

void UploadBed::judge(const Result &result, const std::string &name, const std::string &document,
                      Verdict &verdict)
{
    const std::vector<std::string> held = stored(name);
    verdict.isCompleted = result.isDone;
    verdict.error = result.error;
    const std::string outcome = result.error + " (" + result.description + ") at " + result.failedCommand;
    if (result.isDone) {
        if (held.size() != 1 || held[0] != result.identifier || m_server.storedText(held[0]) != document) {
            verdict.violations.push_back("success, but the server holds " + std::to_string(held.size()) +
                                         " documents, or another one");
        }
        return;
    }
    if (result.isOpen && !isDocumented(result.error)) {
        verdict.violations.push_back("an error that is none: " + outcome);
    }
    const bool isInDoubt = isAtLastStep(result.failedCommand);
    if (held.size() > (isInDoubt ? 1U : 0U) || (!held.empty() && m_server.storedText(held[0]) != document)) {
        verdict.violations.push_back("a refused document is stored: " + outcome);
    }
    const std::lock_guard lock(m_mutex);
    ++m_refusals[result.error + (held.empty() ? "" : " with the document stored")];
}

void UploadBed::checkSession(const Result &result, Verdict &verdict)
{
    if (result.session.empty()) {
        return;
    }
    if (result.isClosed && hasSession(result.session, false)) {
        verdict.violations.emplace_back("the session goes on although closing it succeeded");
    }
    if (!result.isClosed) {
        (void)hasSession(result.session, true); // as it would end by itself after half an hour
    }
}

std::vector<std::string> UploadBed::stored(const std::string &name) const
{
    return query(m_server, "SELECT id FROM documents WHERE file_name = '" + name + "'");
}

void UploadBed::forget(const std::string &name) const
{
    for (const std::string &identifier : stored(name)) {
        query(m_server, "DELETE FROM documents WHERE id = '" + identifier + "'");
        std::filesystem::remove(m_server.data() / "documents" / (identifier + ".txt"));
    }
}

/// Asks the server whether it knows the session, or ends it.
bool UploadBed::hasSession(const std::string &identifier, bool isEnd) const
{
    std::string body;
    wire::append(body, wire::SessionFrame{wire::protocolVersion, identifier, 0});
    isEnd ? wire::appendEnd(body) : wire::append(body, wire::QueryFrame{""});
    const std::string answer = HttpPeer::askServer(m_server.plainPort(), body);
    std::string_view frames = answer;
    wire::FrameReader reader(wire::Direction::answer);
    if (reader.take(frames) != wire::FrameReader::Status::frame) {
        throw std::runtime_error("the server answers nonsense, or nothing");
    }
    const auto error = reader.type() == wire::FrameType::error ? wire::decodeError(reader.payload())
                                                               : std::optional<wire::ErrorFrame>();
    return !error || !wire::isError(error->error, wire::errors::unknownSession);
}

int UploadBed::conclude(SweepTable &table) const
{
    checkLeftovers(table);
    std::printf("refused with %s\n", refusals().c_str());
    return table.print();
}

/// What the error triples of all refused cases were, and how often.
std::string UploadBed::refusals() const
{
    const std::lock_guard lock(m_mutex);
    std::string text;
    for (const auto &[error, count] : m_refusals) {
        text += (text.empty() ? "" : ", ") + error + ": " + std::to_string(count);
    }
    return text;
}

void UploadBed::checkLeftovers(SweepTable &table) const
{
    constexpr std::size_t keptConnections = 8 * 4; // a socket and what the transport library needs beside it
    const std::string where = "what is left";
    if (descriptorsOf(::getpid()) > m_ownDescriptors + keptConnections) {
        table.violation(where, "descriptors of the client are left open");
    }
    if (!eventually([&] { return descriptorsOf(m_server.pid()) <= m_serverDescriptors + 8; })) {
        table.violation(where, "descriptors of the server are left open");
    }
    if (!query(m_server, "SELECT id FROM documents").empty() || entries(m_server.data() / "documents") != 0) {
        table.violation(where, "documents nobody knows of are stored");
    }
    if (entries(m_server.data() / "sessions") != 0) {
        table.violation(where, "files of sessions are left");
    }
    int status = 0;
    if (::waitpid(-1, &status, WNOHANG) != 0) {
        table.violation(where, "a child has ended, or none is left");
    }
    for (const auto &entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path())) {
        const std::string name = entry.path().filename().string();
        const bool isOfLibrary = name.starts_with("vrc-") && !name.starts_with("vrc-test-");
        if (std::getenv("TMPDIR") != nullptr && isOfLibrary) {
            table.violation(where, "a temporary file is left: " + name);
        }
    }
}
