// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/document_format.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace appserver {

class Database;
class FileObject;

/// What the person chose in the portal.
struct PrintChoices
{
    int copies = 1;
    std::string paper;
    std::string colour;
    std::string duplex;
    std::string staple;
    std::string note;
};

struct Document
{
    std::string id; ///< 32 hexadecimal digits
    std::string owner;
    std::string queue;
    DocumentFormat format = DocumentFormat::text;
    std::uint64_t bytes = 0;
    std::string hash; ///< XXH3, 128 bits, hexadecimal
    std::string printMode;
    std::string printerName;
    std::string fileName;
    std::string clientMachine;
    std::string clientUser;
    std::string tunnelService;
    std::string tunnelProfile;
    std::string
        state; ///< "waiting" for the portal, "released" to its tunnel service, "confirmed" in the portal
    std::int64_t createdAt = 0; ///< seconds since 1970
    PrintChoices choices;
};

/// The documents that were received whole: a row in the database and a file beside it. A document is in the
/// database only when its file is complete and synced. Safe on several threads.
class DocumentStore
{
public:
    /// Deletes files without a row: what a crash left behind.
    DocumentStore(Database &database, std::filesystem::path folder);

    /// Takes the contents over and gives the document its identifier. Throws std::exception; nothing is kept
    /// then.
    std::string store(FileObject &contents, Document document);
    [[nodiscard]] std::optional<Document> find(std::string_view id);
    [[nodiscard]] std::vector<Document> all();
    /// What waits for a person's choices, newest first.
    [[nodiscard]] std::vector<Document> waitingFor(std::string_view owner, std::size_t most);
    [[nodiscard]] std::filesystem::path fileOf(const Document &document) const;
    /// False when there is no such document, or it was confirmed before.
    bool confirm(std::string_view id, const PrintChoices &choices);
    void removeOlderThan(std::int64_t createdAt);

private:
    void insert(const Document &document);
    void removeStrayFiles();

    Database &m_database;
    std::filesystem::path m_folder;
};

} // namespace appserver
