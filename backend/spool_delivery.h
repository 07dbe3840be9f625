// SPDX-License-Identifier: MIT
#pragma once

#include "backend/file_descriptor.h"
#include "backend/job_ticket.h"
#include "backend/recipient.h"

#include <string>
#include <string_view>
#include <vector>

/// The way of a document into its user's spool folder. Everything is addressed from open folders, never by a
/// path through a folder that a user can change, and no link is followed. All functions throw BackendFailure.
namespace backend {

/// Opens the spool folder of an account, creating it (0700, the account's) and the root folder (0711) when
/// they are missing. A folder of somebody else, or one that others can enter, is refused.
[[nodiscard]] FileDescriptor openUserFolder(const std::string &root, const Account &account);

/// Becomes the account for good: user, group, no further groups. Does nothing when the process is the
/// account's already.
void takeIdentity(const Account &account);

/// Reads a document to its end; what the filters were writing when they were stopped is not taken for a
/// document.
struct DocumentSource
{
    FileDescriptor fd;
    bool fromFilters = false; ///< standard input: an end may be a filter's end
};

/// Documents of one job on their way into an open folder. They are staged under temporary names first, so
/// that either all of them are published or none: a job that cupsd prints once more must not arrive twice.
/// What is not published as a whole is removed by the destructor, except for jobs that an agent has taken by
/// then.
class SpoolDelivery
{
public:
    explicit SpoolDelivery(int folder) : m_folder(folder) {}

    SpoolDelivery(const SpoolDelivery &) = delete;
    SpoolDelivery &operator=(const SpoolDelivery &) = delete;
    ~SpoolDelivery();

    /// Copies the document and writes its ticket, both 0600 and synced.
    void stage(const std::string &stem, const DocumentSource &source, const JobTicket &ticket);

    /// Gives everything its final name, the tickets after the documents, and syncs the folder.
    void publish();

private:
    [[nodiscard]] FileDescriptor createPart(const std::string &name);
    void publishStaged(std::string_view suffix);
    void withdraw(const std::string &stem) const;

    int m_folder;
    std::vector<std::string> m_staged;  ///< final names of what still has a temporary one
    std::vector<std::string> m_renamed; ///< what has its final name, until everything has
};

} // namespace backend
