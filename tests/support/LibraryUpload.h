// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/LibraryRequest.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>

/// Text that hardly compresses, and is printed as text.
inline std::string incompressibleText(std::size_t bytes, std::uint32_t seed = 1)
{
    std::mt19937 random(seed);
    std::string text(bytes, '\n');
    for (std::size_t i = 0; i < bytes; ++i) {
        text[i] = i % 80 == 79 ? '\n' : static_cast<char>('0' + random() % 75);
    }
    return text;
}

/// The whole command sequence of an upload, as the program sends it: every command once more after a network
/// error.
class LibraryUpload
{
public:
    LibraryUpload(const std::string &connection, std::string login, std::string document)
        : m_request(connection), m_login(std::move(login)), m_document(std::move(document))
    {}

    /// True when the document was taken; identifier() names it then, else error() says why not.
    bool run()
    {
        const bool isDone = command("VR_CMD=|MISC:NOP| " + m_login) && createObjects() && sendBlocks() &&
                            check() && describe() && command("VR_PROC=|ProcessFile| QUEUE=|demo|") &&
                            command("VR_CMD=|OBJECT:GET| NAME=|FILE_ID|") &&
                            command("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|");
        m_identifier = isDone ? m_request.result() : "";
        m_error = isDone ? "" : m_request.error();
        m_description = isDone ? "" : m_request.description();
        beforeClose(m_request);
        m_session =
            m_request.command("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|") ? m_request.result() : std::string();
        m_isClosed = m_request.command("VR_CLOSE_SESSION=|YES|");
        return isDone;
    }

    /// The name under which the server keeps the document.
    void setFileName(const std::string &name) { m_fileName = name; }

    [[nodiscard]] const std::string &identifier() const { return m_identifier; }

    [[nodiscard]] const std::string &error() const { return m_error; }

    [[nodiscard]] const std::string &description() const { return m_description; }

    [[nodiscard]] const std::string &failedCommand() const { return m_failed; }

    /// False when the library gave no request.
    [[nodiscard]] bool isOpen() const { return m_request.isOpen(); }

    /// Of the session that has been closed; empty when none was open.
    [[nodiscard]] const std::string &sessionId() const { return m_session; }

    [[nodiscard]] bool isSessionClosed() const { return m_isClosed; }

    /// Called before each block, with its number from 1.
    std::function<void(long)> beforeBlock = [](long) {};

    /// Called before the session is closed, however the upload went.
    std::function<void(LibraryRequest &)> beforeClose = [](LibraryRequest &) {};

private:
    bool command(const std::string &line)
    {
        const bool isDone = m_request.insist(line);
        m_failed = isDone ? m_failed : line;
        return isDone;
    }

    bool createFile(const std::string &name, const std::string &persist, const std::string &path)
    {
        return command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|" + name + "| PERSIST=|" + persist +
                       "| FILENAME=|" + path + "|");
    }

    bool createObjects()
    {
        return createFile("SEND_FILE", "-1", m_document) &&
               createFile("COMPRESSED_FILE", "0", m_document + ".tmpc") &&
               command("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|SEND_FILE| DNAME=|COMPRESSED_FILE|") &&
               createFile("BLOCK_FILE", "0", m_document + ".tmp") &&
               command("VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|") &&
               command("VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|");
    }

    bool sendBlocks()
    {
        const long bytes = localSize("COMPRESSED_FILE");
        for (long offset = 0; offset < bytes; offset += 65536) {
            beforeBlock(offset / 65536 + 1);
            const long count = std::min(65536L, bytes - offset);
            if (!command("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|" +
                         std::to_string(offset) + "| NUM_BYTES=|" + std::to_string(count) + "|") ||
                !command("VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|") ||
                !command("VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|") ||
                !command("VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|")) {
                return false;
            }
        }
        return bytes > 0;
    }

    bool check()
    {
        return isRemoteSize("RECEIVED_COMPRESSED_FILE", localSize("COMPRESSED_FILE")) &&
               command(
                   "VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|") &&
               command("VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|") &&
               command("VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|") &&
               isRemoteSize("RECEIVED_FILE", localSize("SEND_FILE"));
    }

    long localSize(const std::string &name)
    {
        return m_request.command("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|" + name + "|")
                   ? std::stol(m_request.result())
                   : 0;
    }

    bool isRemoteSize(const std::string &name, long expected)
    {
        return command("VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SERVER_FILE_SIZE| REPLACE=|YES|") &&
               command("VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|" + name + "| VR_VAR=|SERVER_FILE_SIZE|") &&
               command("VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SERVER_FILE_SIZE| VALUE=|##SERVER_FILE_SIZE| "
                       "VR_KEEP_VAR=|YES|") &&
               command("VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|") &&
               command("VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|") &&
               command("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|") &&
               m_request.result() == std::to_string(expected);
    }

    bool setInfo(const std::string &key, const std::string &value)
    {
        return command("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| KEY=|" + key +
                       "| VALUE=|" + value + "|");
    }

    bool describe()
    {
        return command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|FILE_INFO| REPLACE=|YES|") &&
               setInfo("PRINT_MODE", "STANDARD") && setInfo("FILE_NAME", m_fileName) &&
               setInfo("FILE_SIZE", std::to_string(localSize("SEND_FILE"))) &&
               command("VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|");
    }

    LibraryRequest m_request;
    std::string m_login;
    std::string m_document;
    std::string m_fileName = "document";
    std::string m_session;
    bool m_isClosed = false;
    std::string m_identifier;
    std::string m_error;
    std::string m_description;
    std::string m_failed;
};
