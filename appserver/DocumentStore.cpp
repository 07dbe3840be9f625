// SPDX-License-Identifier: MIT
#include "appserver/DocumentStore.h"

#include "appserver/Database.h"
#include "appserver/FileObject.h"
#include "appserver/secrets.h"

#include <ctime>
#include <set>
#include <system_error>

namespace appserver {

namespace {

constexpr std::size_t identifierBytes = 16;

constexpr std::string_view columns =
    "id, owner, queue, format, bytes, xxh3, print_mode, printer_name, file_name, client_machine, "
    "client_user, "
    "tunnel_service, tunnel_profile, state, created_at, copies, paper, colour, duplex, staple, note";

Document documentFrom(const Statement &row)
{
    Document document;
    document.id = row.text(0);
    document.owner = row.text(1);
    document.queue = row.text(2);
    document.format = formatFromName(row.text(3)).value_or(DocumentFormat::text);
    document.bytes = static_cast<std::uint64_t>(row.number(4));
    document.hash = row.text(5);
    document.printMode = row.text(6);
    document.printerName = row.text(7);
    document.fileName = row.text(8);
    document.clientMachine = row.text(9);
    document.clientUser = row.text(10);
    document.tunnelService = row.text(11);
    document.tunnelProfile = row.text(12);
    document.state = row.text(13);
    document.createdAt = row.number(14);
    document.choices = {static_cast<int>(row.number(15)),
                        row.text(16),
                        row.text(17),
                        row.text(18),
                        row.text(19),
                        row.text(20)};
    return document;
}

std::string hexOf(const wire::Hash &hash)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (const std::uint8_t byte : hash) {
        hex += digits[byte >> 4U];
        hex += digits[byte & 0x0FU];
    }
    return hex;
}

} // namespace

DocumentStore::DocumentStore(Database &database, std::filesystem::path folder)
    : m_database(database), m_folder(std::move(folder))
{
    createPrivateFolder(m_folder);
    removeStrayFiles();
}

std::string DocumentStore::store(FileObject &contents, Document document)
{
    document.id = randomHex(identifierBytes);
    document.bytes = contents.size();
    document.hash = hexOf(contents.hash());
    document.createdAt = std::time(nullptr);
    const std::filesystem::path path = fileOf(document);
    contents.moveTo(path);
    try {
        syncFolder(m_folder);
        insert(document);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        throw;
    }
    return document.id;
}

std::optional<Document> DocumentStore::find(std::string_view id)
{
    Statement statement(m_database, "SELECT " + std::string(columns) + " FROM documents WHERE id = ?");
    if (!statement.bind(1, id).step()) {
        return std::nullopt;
    }
    return documentFrom(statement);
}

std::vector<Document> DocumentStore::all()
{
    std::vector<Document> documents;
    Statement statement(m_database,
                        "SELECT " + std::string(columns) + " FROM documents ORDER BY created_at, rowid");
    while (statement.step()) {
        documents.push_back(documentFrom(statement));
    }
    return documents;
}

std::vector<Document> DocumentStore::waitingFor(std::string_view owner, std::size_t most)
{
    std::vector<Document> documents;
    Statement statement(m_database, "SELECT " + std::string(columns) +
                                        " FROM documents WHERE owner = ? AND state = 'waiting' "
                                        "ORDER BY created_at DESC, rowid DESC LIMIT ?");
    statement.bind(1, owner).bind(2, static_cast<std::int64_t>(most));
    while (statement.step()) {
        documents.push_back(documentFrom(statement));
    }
    return documents;
}

std::filesystem::path DocumentStore::fileOf(const Document &document) const
{
    return m_folder / (document.id + '.' + std::string(formatName(document.format)));
}

bool DocumentStore::confirm(std::string_view id, const PrintChoices &choices)
{
    Statement statement(m_database,
                        "UPDATE documents SET state = 'confirmed', copies = ?, paper = ?, colour = ?, "
                        "duplex = ?, staple = ?, note = ? WHERE id = ? AND state = 'waiting'");
    statement.bind(1, std::int64_t{choices.copies}).bind(2, choices.paper).bind(3, choices.colour);
    statement.bind(4, choices.duplex).bind(5, choices.staple).bind(6, choices.note).bind(7, id);
    return statement.run() == 1;
}

void DocumentStore::removeOlderThan(std::int64_t createdAt)
{
    Statement(m_database, "DELETE FROM documents WHERE created_at < ?").bind(1, createdAt).run();
    removeStrayFiles();
}

void DocumentStore::insert(const Document &document)
{
    Statement statement(m_database,
                        "INSERT INTO documents (" + std::string(columns) +
                            ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 1, '', '', '', '', '')");
    statement.bind(1, document.id).bind(2, document.owner).bind(3, document.queue);
    statement.bind(4, formatName(document.format)).bind(5, static_cast<std::int64_t>(document.bytes));
    statement.bind(6, document.hash).bind(7, document.printMode).bind(8, document.printerName);
    statement.bind(9, document.fileName).bind(10, document.clientMachine).bind(11, document.clientUser);
    statement.bind(12, document.tunnelService).bind(13, document.tunnelProfile).bind(14, document.state);
    statement.bind(15, document.createdAt).run();
}

void DocumentStore::removeStrayFiles()
{
    // A document that is being stored has its file before its row: a young file may be one of those.
    const auto youngest = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(10);
    std::set<std::string> known;
    for (const Document &document : all()) {
        known.insert(fileOf(document).filename().string());
    }
    for (const std::string &name : namesIn(m_folder)) {
        std::error_code trouble;
        const std::filesystem::path path = m_folder / name;
        const auto writtenAt = std::filesystem::last_write_time(path, trouble);
        if (!trouble && writtenAt < youngest && !known.contains(name)) {
            std::filesystem::remove(path, trouble);
        }
    }
}

} // namespace appserver
