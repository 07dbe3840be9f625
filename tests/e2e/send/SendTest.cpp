// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SendTest.h"

#include "tests/support/file_bytes.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>

namespace {

struct CloseDatabase
{
    void operator()(sqlite3 *database) const { sqlite3_close(database); }
};

using Row = std::map<std::string, std::string>;

int takeRow(void *rows, int columns, char **values, char **names)
{
    Row row;
    for (int i = 0; i < columns; ++i) {
        row[names[i]] = values[i] ? values[i] : "";
    }
    static_cast<std::vector<Row> *>(rows)->push_back(row);
    return 0;
}

std::vector<Row> documentRows(const std::filesystem::path &file)
{
    sqlite3 *opened = nullptr;
    const int status = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, CloseDatabase> database(opened);
    std::vector<Row> rows;
    EXPECT_EQ(status, SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database.get(), "SELECT * FROM documents", takeRow, &rows, nullptr), SQLITE_OK);
    return rows;
}

} // namespace

SendTest::SendTest()
{
    Transcript::clear();
    const char *library = std::getenv("VAREK_LIBRARY_FOLDER");
    std::filesystem::copy_file(server.authority(), std::filesystem::path(library) / "vrc-ca.pem",
                               std::filesystem::copy_options::overwrite_existing);
    SettingsFolder::registerPrinter(QStringLiteral("Queue"), QStringLiteral("Company"),
                                    QStringLiteral("Software"));
    copyBounded(main->company, L"Company");
    copyBounded(main->softwareName, L"Software");
    setDirectories({server.directory()});
    main->log.fileName = UTF8tow(path("log.txt"));
    main->socketLogFile = UTF8tow(path("socket.txt"));
    main->runMode = runSend;
    user.inIdentifierDialog = [this] {
        main->ident = UTF8tow(server.user());
        main->password = UTF8tow(server.password());
        return 0;
    };
}

std::string SendTest::path(const std::string &name) const
{
    return folder.path().toStdString() + "/" + name;
}

std::string SendTest::makeDocument(const std::string &contents, const std::string &name) const
{
    std::ofstream(path(name), std::ios::binary) << contents;
    return path(name);
}

int SendTest::send(const std::string &document, const std::vector<std::wstring> &options)
{
    std::vector<std::wstring> arguments{
        L"-m", L"send",           L"-p", L"Queue",   L"-d", L"Title \u00E9\u20AC",
        L"-f", UTF8tow(document), L"-c", L"machine", L"-u", L"login"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    main->removeFile = std::find(options.begin(), options.end(), L"-k") == options.end();
    FreshMain::setArguments(arguments);
    return main->DoSend();
}

void SendTest::offerModes(const std::string &modes)
{
    server.configure("[Profile demo]\nPrintingModes=" + modes);
}

void SendTest::chooseMode(int mode)
{
    user.inPrintModeDialog = [this, mode] {
        main->printMode = mode;
        return 0;
    };
}

void SendTest::useParameters(const std::string &lines)
{
    server.configure("[Directory other]\n[Parameters other]\nSERVER_UPLOAD_APPLICATION=upload\n"
                     "SERVER_UPLOAD_PROFILE_CONTAINER=demo\n" +
                     lines);
    setDirectories({"127.0.0.1:" + std::to_string(server.port()) + ";directory:other"});
}

void SendTest::setDirectories(const std::vector<std::string> &directories) const
{
    std::vector<std::wstring> list(directories.size());
    std::transform(directories.begin(), directories.end(), list.begin(), UTF8tow);
    VrpsWriteServerDirectoriesToRegistry(list, true);
}

std::map<std::string, std::string> SendTest::storedDescription() const
{
    const std::vector<Row> rows = documentRows(server.data() / "vrserver.db");
    return rows.size() == 1 ? rows.front() : Row();
}

std::size_t SendTest::storedCount() const
{
    return documentRows(server.data() / "vrserver.db").size();
}

testing::AssertionResult SendTest::storedEquals(const std::string &document) const
{
    Row row = storedDescription();
    if (row.empty()) {
        return testing::AssertionFailure() << storedCount() << " documents are stored";
    }
    const std::filesystem::path stored = server.data() / "documents" / (row["id"] + "." + row["format"]);
    if (std::filesystem::file_size(document) != std::filesystem::file_size(stored)) {
        return testing::AssertionFailure() << stored << " has another size than " << document;
    }
    if (fileBytes(document) != fileBytes(stored)) {
        return testing::AssertionFailure() << stored << " has other bytes than " << document;
    }
    return testing::AssertionSuccess();
}

int SendTest::compressedBytes() const
{
    const std::string query = "FILE_GET_SIZE| NAME=|COMPRESSED_FILE| - Result buffer: ";
    const std::string text = log();
    const std::size_t at = text.rfind(query);
    return at == text.npos ? -1 : std::atoi(text.c_str() + at + query.size());
}

std::string incompressibleDocument(std::size_t bytes)
{
    std::string document = "%PDF-1.4\n";
    std::mt19937_64 random(20261120);
    while (document.size() < bytes) {
        const auto number = random();
        document.append(reinterpret_cast<const char *>(&number), sizeof number);
    }
    document.resize(bytes);
    return document;
}
