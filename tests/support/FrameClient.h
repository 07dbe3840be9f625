// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"
#include "tests/support/frame_text.h"

#include <httplib.h>
#include <zstd.h>

#include <iterator>
#include <stdexcept>
#include <string>

/// Speaks the protocol with a real server, over TLS.
class FrameClient
{
public:
    explicit FrameClient(const ServerProcess &server) : m_client(server.host(), server.port())
    {
        m_client.set_ca_cert_path(server.authority());
        m_client.enable_server_certificate_verification(true);
        m_client.set_keep_alive(true);
        m_client.set_read_timeout(60);
        m_client.set_write_timeout(60);
    }

    /// Throws when there is no answer of status 200.
    AnswerText ask(const RequestText &request)
    {
        const auto response = m_client.Post("/vrc", request.text, wire::mediaType);
        if (!response || response->status != 200) {
            throw std::runtime_error("no answer: " + (response ? std::to_string(response->status)
                                                               : httplib::to_string(response.error())));
        }
        return decodeAnswer(response->body);
    }

    httplib::SSLClient &http() { return m_client; }

private:
    httplib::SSLClient m_client;
};

inline std::string zstdCompressed(const std::string &text)
{
    std::string out(ZSTD_compressBound(text.size()), '\0');
    out.resize(ZSTD_compress(out.data(), out.size(), text.data(), text.size(), 3));
    return out;
}

inline std::string loginLine(const std::string &user, const std::string &password)
{
    return "VR_CMD=|MISC:NOP| POD_USER=|" + user + "| POD_PASSWORD=|" + password + "|";
}

/// Uploads and processes a document; its identifier, or the last error.
inline std::string uploadDocument(FrameClient &client, const std::string &user, const std::string &password,
                                  const std::string &contents, const std::string &fileName,
                                  std::uint8_t nonce = 1)
{
    const std::string packed = zstdCompressed(contents);
    RequestText request;
    std::uint64_t number = 1;
    request.hello("upload", nonce).command(number++, loginLine(user, password));
    request.command(number++, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|PACKED|");
    for (std::size_t at = 0; at < packed.size(); at += 65536) {
        request.queued(number++, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|");
        request.queued(number++, "VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|")
            .file("BLOCK_FILE", packed.substr(at, 65536));
        request.queued(number++, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|PACKED| SNAME=|BLOCK_FILE|", at);
    }
    request.command(number++, "VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|PACKED| DNAME=|RECEIVED_FILE|");
    request.command(number++, "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|");
    request.value("FILE_INFO", wire::IndStringList{{"PRINT_MODE", "STANDARD"},
                                                   {"PRINTER_NAME", "Varek"},
                                                   {"FILE_NAME", fileName},
                                                   {"FILE_SIZE", std::to_string(contents.size())},
                                                   {"WIN_MACHINE", "desk"},
                                                   {"WIN_USER", user}});
    request.command(number++, "VR_PROC=|ProcessFile| QUEUE=|demo|");
    const AnswerText answer = client.ask(request);
    std::string id = answer.errors.empty() ? answer.data : answer.errors.back();
    client.ask(RequestText().session(answer.session).end());
    return id;
}

/// A session of the portal with the document handed over, as a client leaves it for the browser: its
/// identifier.
inline std::string openPortalSession(FrameClient &client, const std::string &user,
                                     const std::string &password, const std::string &documentId,
                                     std::uint8_t nonce = 100)
{
    return client
        .ask(RequestText()
                 .hello("portal", nonce)
                 .command(1, loginLine(user, password))
                 .command(2, "VR_CMD=|OBJECT:SEND| NAME=|FILE_ID|")
                 .value("FILE_ID", wire::Value(documentId)))
        .session;
}
