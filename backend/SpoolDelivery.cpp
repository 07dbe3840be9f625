// SPDX-License-Identifier: MIT
#include "backend/SpoolDelivery.h"

#include "backend/backend_failure.h"
#include "backend/descriptor_io.h"
#include "backend/spool_names.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

namespace backend {
namespace {

BackendFailure spoolFailure()
{
    return systemFailure("Cannot write to the spool");
}

std::string partName(const std::string &name)
{
    return name + std::string(partSuffix);
}

} // namespace

SpoolDelivery::~SpoolDelivery()
{
    for (const std::string &name : m_staged) {
        (void)::unlinkat(m_folder, partName(name).c_str(), 0);
    }
    for (const std::string &name : m_renamed) {
        if (const std::string_view stem = stemOf(name, documentSuffix); !stem.empty()) {
            withdraw(std::string(stem));
        }
    }
}

/// Without its ticket a document is no job. Where there was a ticket and it has gone, an agent has taken it.
void SpoolDelivery::withdraw(const std::string &stem) const
{
    const std::string ticket = stem + std::string(ticketSuffix);
    const bool hadTicket = std::find(m_renamed.begin(), m_renamed.end(), ticket) != m_renamed.end();
    if (!hadTicket || ::unlinkat(m_folder, ticket.c_str(), 0) == 0) {
        (void)::unlinkat(m_folder, (stem + std::string(documentSuffix)).c_str(), 0);
    }
}

FileDescriptor SpoolDelivery::createPart(const std::string &name)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor file(::openat(m_folder, partName(name).c_str(), flags, 0600));
    if (!file.isOpen()) {
        throw spoolFailure();
    }
    m_staged.push_back(name);
    return file;
}

void SpoolDelivery::stage(const std::string &stem, const DocumentSource &source, const JobTicket &ticket)
{
    const FileDescriptor document = createPart(stem + std::string(documentSuffix));
    copyDocument(source, document.get());
    const FileDescriptor paper = createPart(stem + std::string(ticketSuffix));
    if (!syncToDisk(document.get()) || !writeBytes(paper.get(), formatTicket(ticket)) ||
        !syncToDisk(paper.get())) {
        throw spoolFailure();
    }
}

void SpoolDelivery::publishStaged(std::string_view suffix)
{
    for (auto name = m_staged.begin(); name != m_staged.end();) {
        if (stemOf(*name, suffix).empty()) {
            ++name;
            continue;
        }
        if (::renameat(m_folder, partName(*name).c_str(), m_folder, name->c_str()) != 0) {
            throw spoolFailure();
        }
        m_renamed.push_back(*name);
        name = m_staged.erase(name);
    }
}

void SpoolDelivery::publish()
{
    publishStaged(documentSuffix);
    publishStaged(ticketSuffix);
    if (!syncToDisk(m_folder)) {
        throw spoolFailure();
    }
    m_renamed.clear();
}

} // namespace backend
