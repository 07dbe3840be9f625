// SPDX-License-Identifier: MIT

// Servers that a client must not trust are refused before a credential or a document leaves, and the end of a
// TLS connection without its closing alert, at each request of an upload, is never taken for success.

#include "tests/support/FaultRelay.h"
#include "tests/support/PrivateLibrary.h"
#include "tests/support/TlsTerminator.h"
#include "tests/torture/Impostors.h"
#include "tests/torture/SweepTable.h"
#include "tests/torture/UploadBed.h"
#include "tests/torture/bad_answers.h"
#include "tests/torture/conversation_layout.h"

#include <csignal>

namespace {

/// TLS 1.3 hides the end of a handshake, and an alert, in records of application data.
constexpr std::size_t handshakeBytes = 128;

/// Bytes in records of application data.
std::size_t applicationBytes(const std::string &recorded)
{
    std::size_t bytes = 0;
    std::uint64_t start = 0;
    for (const std::uint64_t end : layoutOfTls(recorded).boundaries) {
        bytes += recorded[start] == 23 ? end - start : 0;
        start = end;
    }
    return bytes;
}

class TlsSweep
{
public:
    explicit TlsSweep(SweepTable &table) : m_table(table)
    {
        std::ofstream(std::string(PrivateLibrary::folder()) + "/vrc-ca.pem", std::ios::app)
            << m_impostors.root();
    }

    /// Gives the sweep's exit status.
    [[nodiscard]] int run()
    {
        std::vector<SweepCase> cases;
        const std::vector<Impostor> servers = m_impostors.all();
        cases.reserve(servers.size());
        for (const Impostor &impostor : servers) {
            cases.push_back({impostor.name, "upload", [this, &impostor] { return refuse(impostor); }});
        }
        const std::vector<BadAnswer> cuts = truncations();
        const std::size_t requests = countRequests();
        for (const BadAnswer &cut : cuts) {
            for (const Manner &manner :
                 {Manner{"instead", false, false, false}, Manner{"carried out", false, true, false},
                  Manner{"from then on", true, false, false}}) {
                for (std::size_t position = 1; position <= requests; ++position) {
                    cases.push_back(
                        {"truncated close",
                         cut.name + ", " + manner.name + ", request " + std::to_string(position),
                         [this, &cut, manner, position] { return truncate(cut, manner, position); }});
                }
            }
        }
        m_table.run(cases, 4);
        return m_bed.conclude(m_table);
    }

private:
    Verdict refuse(const Impostor &impostor)
    {
        const TlsTerminator server(impostor.identity, m_bed.server().plainPort());
        FaultRelay relay(server.port(), {});
        relay.record();
        Verdict verdict = m_bed.uploadTwice(relay.port(), true, m_document);
        if (verdict.error != impostor.error) {
            verdict.violations.push_back("refused with " + verdict.error);
        }
        const std::string recorded = relay.recorded(Fault::Way::toServer);
        if (verdict.isCompleted || server.receivedBytes() != 0 ||
            applicationBytes(recorded) > handshakeBytes * relay.connections() || recorded.empty()) {
            verdict.violations.emplace_back("bytes have left for a server that is not trusted");
        }
        return verdict;
    }

    /// Answers that end with the connection, and seem whole to who does not mind how.
    static std::vector<BadAnswer> truncations()
    {
        const std::string start = "HTTP/1.1 200 OK\r\nContent-Type: application/vnd.varek.frames\r\n";
        std::vector<BadAnswer> rows;
        for (const auto &[name, text] : std::vector<std::pair<std::string, std::string>>{
                 {"within a body of known length", start + "Content-Length: 900\r\n\r\nR"},
                 {"of a body without length", start + "\r\n"},
                 {"within a chunk", start + "Transfer-Encoding: chunked\r\n\r\n40\r\nR"},
                 {"before the last chunk", start + "Transfer-Encoding: chunked\r\n\r\n1\r\nR\r\n"},
                 {"within the header", start}}) {
            rows.push_back({"truncated close", name, [text = text](const LoopbackSocket &socket) {
                                socket.send(text);
                                return false;
                            }});
        }
        return rows;
    }

    std::size_t countRequests()
    {
        const BadGateway gateway(m_bed.server().plainPort(), 0, Manner{"never", false, false, false},
                                 nullptr);
        const TlsTerminator server(m_impostors.good(), gateway.port());
        const Verdict verdict = m_bed.upload(server.port(), true, m_document);
        if (!verdict.isCompleted || server.receivedBytes() < m_document.size() / 2) {
            m_table.violation("truncated close", "an upload to a good server fails");
        }
        return gateway.requests();
    }

    Verdict truncate(const BadAnswer &cut, const Manner &manner, std::size_t position)
    {
        const BadGateway gateway(m_bed.server().plainPort(), position, manner, &cut);
        const TlsTerminator server(m_impostors.good(), gateway.port());
        return m_bed.uploadTwice(server.port(), true, m_document);
    }

    SweepTable &m_table;
    UploadBed m_bed;
    Impostors m_impostors;
    const std::string m_document = UploadBed::document(std::size_t{100} * 1024);
};

} // namespace

int main(int argc, char **argv)
{
    SweepTable table(SweepOptions::parse(argc, argv));
    if (PrivateLibrary::folder() == nullptr) {
        return PrivateLibrary::runAgain(argv);
    }
    ::signal(SIGPIPE, SIG_IGN); // OpenSSL writes to whoever has gone
    enterFastPlace();
    loseSilentServersSoon();
    return TlsSweep(table).run();
}
