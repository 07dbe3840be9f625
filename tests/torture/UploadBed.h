// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/torture/SweepTable.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Enters namespaces of this process: temporary files are made in memory, so that syncing costs nothing and
/// nothing is left on the disk; the system trusts no authority, so that a connection need not read a hundred;
/// the loopback interface is its own, so that thousands of connections a minute take nobody's ports. Needs
/// root; without it sweeps are slower. To be called before any thread is started.
void enterFastPlace();

/// Has the library of this process give up a silent server soon: after half a second, or three where a
/// sanitizer slows everything down. To be called before any thread is started.
void loseSilentServersSoon();

/// Where uploads of a sweep go: one real server for all cases, and what it must and must not hold after each.
/// Safe on several threads.
class UploadBed
{
public:
    /// The server's user gets a password whose check costs next to nothing.
    UploadBed();

    [[nodiscard]] const ServerProcess &server() const { return m_server; }

    /// One document of each size for all cases, so that every conversation is the same byte by byte.
    [[nodiscard]] static std::string document(std::size_t bytes);

    /// The connection string of an upload, and the arguments of its login.
    [[nodiscard]] static std::string connection(int port, bool isTls);
    [[nodiscard]] std::string login() const;

    /// Uploads a document through a port and checks the invariants of every upload:
    /// - success means that the server holds the document, once, byte by byte;
    /// - otherwise an error of the documented ones was reported, and the server holds nothing but what a lost
    ///   answer of the last step left in doubt;
    /// - the session is gone when closing it succeeded, no file is left beside the document;
    /// - no secret is in a description or in the socket log.
    [[nodiscard]] Verdict upload(int port, bool isTls, const std::string &document);

    /// The same; and when it is refused, the next upload, straight to the server and behind `mend`, has to
    /// succeed. Where a sweep's short time-outs are too short for a busy machine it may be tried three times.
    [[nodiscard]] Verdict uploadTwice(
        int port, bool isTls, const std::string &document, const std::function<void()> &mend = [] {});

    /// After all cases: no session, descriptor, child or temporary file may be left of them. Prints what was
    /// found and gives the sweep's exit status.
    [[nodiscard]] int conclude(SweepTable &table) const;

private:
    struct Result;

    [[nodiscard]] Result runUpload(int port, bool isTls, const std::string &path, const std::string &name,
                                   const std::string &log);
    void judge(const Result &result, const std::string &name, const std::string &document, Verdict &verdict);
    void checkSession(const Result &result, Verdict &verdict);
    [[nodiscard]] std::vector<std::string> stored(const std::string &name) const;
    void forget(const std::string &name) const;
    [[nodiscard]] std::string refusals() const;
    void checkLeftovers(SweepTable &table) const;
    [[nodiscard]] bool hasSession(const std::string &identifier, bool isEnd) const;

    ServerProcess m_server;
    std::size_t m_ownDescriptors = 0;
    std::size_t m_serverDescriptors = 0;
    std::atomic<unsigned> m_uploads = 0;
    mutable std::mutex m_mutex;
    std::map<std::string, std::size_t> m_refusals;
};
