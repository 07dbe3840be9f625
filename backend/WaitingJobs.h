// SPDX-License-Identifier: MIT
#pragma once

#include "backend/FileDescriptor.h"
#include "backend/job_ticket.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace backend {

inline constexpr std::time_t failedKeptSeconds = 7 * 24 * 3600;
inline constexpr std::time_t leftoverKeptSeconds = 24 * 3600;

/// The jobs in a user's own spool folder, as the agent handles them. Only one process at a time may use it:
/// it must hold the lock.
class WaitingJobs
{
public:
    /// Opens the folder; nothing when there is none or it is not this user's alone.
    [[nodiscard]] static std::optional<WaitingJobs> open(const std::string &folder);

    /// Waits for the folder's lock, which is held until this object is gone. False when a signal ended the
    /// wait.
    [[nodiscard]] bool lock();

    /// Stems of the jobs that wait, oldest first.
    [[nodiscard]] std::vector<std::string> waiting() const;

    /// Stems of jobs that an agent took and never finished: their program is not started again.
    [[nodiscard]] std::vector<std::string> abandoned() const;

    /// Takes a waiting job, by renaming its ticket. False when it is no longer there.
    [[nodiscard]] bool claim(const std::string &stem) const;

    /// The ticket of a claimed job; nothing when it cannot be understood.
    [[nodiscard]] std::optional<JobTicket> ticket(const std::string &stem) const;

    /// Whether the job's document is still there, a file of this user and no link; also when that cannot be
    /// told just now.
    [[nodiscard]] bool hasDocument(const std::string &stem) const;

    [[nodiscard]] std::string documentPath(const std::string &stem) const;

    /// Deletes what a program that died has left beside a claimed job's document: parts of its contents.
    void removeWorkFiles(const std::string &stem) const;

    /// Forgets a claimed job.
    void remove(const std::string &stem) const;

    /// Moves a claimed job to failed/ beside the others; returns where its document then is. Empty when it
    /// cannot be moved: the job stays claimed, since a document without a ticket would be deleted as a
    /// leftover.
    [[nodiscard]] std::string moveToFailed(const std::string &stem) const;

    /// Deletes what lies in failed/ for longer than failedKeptSeconds, and what an interrupted delivery left
    /// behind longer than leftoverKeptSeconds ago.
    void cleanUp(std::time_t now) const;

private:
    WaitingJobs(std::string path, FileDescriptor folder)
        : m_path(std::move(path)), m_folder(std::move(folder))
    {}

    [[nodiscard]] std::vector<std::string> stems(std::string_view suffix) const;

    std::string m_path;
    FileDescriptor m_folder;
    FileDescriptor m_lock;
};

} // namespace backend
