// SPDX-License-Identifier: MIT
#pragma once

#include "backend/document_copy.h"
#include "backend/job_ticket.h"

#include <string>
#include <string_view>
#include <vector>

namespace backend {

/// Documents of one job on their way into an open folder. They are staged under temporary names first, so
/// that either all of them are published or none: a job that cupsd prints once more must not arrive twice.
/// What is not published as a whole is removed by the destructor, except for jobs that an agent has taken by
/// then. Throws BackendFailure.
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
