// SPDX-License-Identifier: MIT

// Servers that a client must not trust are refused before a credential or a document leaves, and the end of a
// TLS connection without its closing alert, at each request of an upload, is never taken for success.

#include "tests/support/FaultRelay.h"
#include "tests/support/TlsTerminator.h"
#include "tests/support/private_library.h"
#include "tests/torture/SweepTable.h"
#include "tests/torture/UploadBed.h"
#include "tests/torture/bad_answers.h"
#include "tests/torture/conversation_layout.h"

#include <csignal>

namespace {

// TLS 1.3 hides the end of a handshake, and an alert, in records of application data.
constexpr std::size_t handshakeBytes = 128;
constexpr char now[] = "20200101000000Z";
constexpr char later[] = "20490101000000Z";

void runTool(const std::string &line)
{
    if (std::system((line + " > /dev/null 2>&1").c_str()) != 0) {
        throw std::runtime_error("failed: " + line);
    }
}

/// Certificates made with the openssl program, each NAME.pem with NAME.key.
class Authority
{
public:
    struct Wish
    {
        std::string name;
        std::string issuer; ///< its own name: signed by itself
        std::string extensions = "subjectAltName=IP:127.0.0.1";
        std::string key = "ec -pkeyopt ec_paramgen_curve:P-256";
        std::string start = now;
        std::string end = later;
        std::string digest = "sha256";
    };

    void make(const Wish &wish) const
    {
        const std::string request = m_folder.file(wish.name + ".request");
        runTool("openssl req -new -nodes -newkey " + wish.key + " -keyout " +
                m_folder.file(wish.name + ".key") + " -out " + request + " -subj /CN=" + wish.name +
                " -addext " + wish.extensions);
        const std::string state = m_folder.write(wish.name + ".index", "");
        const std::string config = m_folder.write(
            wish.name + ".cnf", "[ca]\ndefault_ca=d\n[d]\ndatabase=" + state +
                                    "\nnew_certs_dir=" + m_folder.path().string() +
                                    "\nrand_serial=yes\npolicy=p\n"
                                    "unique_subject=no\ncopy_extensions=copy\n[p]\ncommonName=supplied\n");
        const std::string signer =
            wish.issuer == wish.name ? " -selfsign" : " -cert " + m_folder.file(wish.issuer + ".pem");
        runTool("openssl ca -batch -notext -config " + config + " -md " + wish.digest + " -in " + request +
                signer + " -keyfile " + m_folder.file(wish.issuer + ".key") + " -out " +
                m_folder.file(wish.name + ".pem") + " -startdate " + wish.start + " -enddate " + wish.end);
    }

    [[nodiscard]] std::string certificate(const std::string &name) const
    {
        return m_folder.read(name + ".pem");
    }

    /// `above`: the certificates that are sent along.
    [[nodiscard]] TlsTerminator::Identity identity(const std::string &name, const std::string &above = {},
                                                   int highestVersion = TLS1_3_VERSION) const
    {
        const std::string chain = m_folder.write(
            name + "-" + above + ".chain", certificate(name) + (above.empty() ? "" : certificate(above)));
        return {chain, m_folder.file(name + ".key"), highestVersion};
    }

private:
    TemporaryFolder m_folder;
};

/// A server that must not be trusted.
struct Impostor
{
    std::string name;
    TlsTerminator::Identity identity;
    std::string error;
};

void makeCertificates(const Authority &authority)
{
    const std::string ca = "basicConstraints=critical,CA:TRUE";
    const std::string strong = Authority::Wish{}.key;
    authority.make({"root", "root", ca});
    authority.make({"stranger", "stranger", ca});
    authority.make({"middle", "root", ca});
    authority.make({"good", "middle"});
    authority.make({"self-signed", "self-signed"});
    authority.make({"unknown", "stranger"});
    authority.make({"other-host", "root", "subjectAltName=DNS:other.example,IP:127.0.0.2"});
    authority.make({"no-name", "root", "keyUsage=digitalSignature"});
    authority.make({"expired", "root", "subjectAltName=IP:127.0.0.1", strong, now, "20200201000000Z"});
    authority.make({"early", "root", "subjectAltName=IP:127.0.0.1", strong, "20480101000000Z"});
    authority.make({"weak-key", "root", "subjectAltName=IP:127.0.0.1", "rsa:1024"});
    authority.make({"weak-digest", "middle", "subjectAltName=IP:127.0.0.1", strong, now, later, "sha1"});
}

std::vector<Impostor> impostors(const Authority &authority)
{
    const std::string untrusted = "LOCAL/REQUEST/120";
    return {{"expired", authority.identity("expired"), untrusted},
            {"not yet valid", authority.identity("early"), untrusted},
            {"wrong host", authority.identity("other-host"), untrusted},
            {"no host", authority.identity("no-name"), untrusted},
            {"self-signed", authority.identity("self-signed"), untrusted},
            {"unknown root", authority.identity("unknown"), untrusted},
            {"unknown root, sent along", authority.identity("unknown", "stranger"), untrusted},
            {"incomplete chain", authority.identity("good"), untrusted},
            {"weak key", authority.identity("weak-key"), untrusted},
            {"weak digest", authority.identity("weak-digest", "middle"), untrusted},
            {"TLS 1.1 only", authority.identity("good", "middle", TLS1_1_VERSION), "LOCAL/REQUEST/131"},
            {"TLS 1.0 only", authority.identity("good", "middle", TLS1_VERSION), "LOCAL/REQUEST/131"}};
}

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
        makeCertificates(m_authority);
        std::ofstream(std::string(PrivateLibrary::folder()) + "/vrc-ca.pem", std::ios::app)
            << m_authority.certificate("root");
    }

    /// Gives the sweep's exit status.
    [[nodiscard]] int run()
    {
        std::vector<SweepCase> cases;
        const std::vector<Impostor> servers = impostors(m_authority);
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
        const std::string recorded = relay.recorded(Fault::Way::ToServer);
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
        const TlsTerminator server(m_authority.identity("good", "middle"), gateway.port());
        const Verdict verdict = m_bed.upload(server.port(), true, m_document);
        if (!verdict.isCompleted || server.receivedBytes() < m_document.size() / 2) {
            m_table.violation("truncated close", "an upload to a good server fails");
        }
        return gateway.requests();
    }

    Verdict truncate(const BadAnswer &cut, const Manner &manner, std::size_t position)
    {
        const BadGateway gateway(m_bed.server().plainPort(), position, manner, &cut);
        const TlsTerminator server(m_authority.identity("good", "middle"), gateway.port());
        return m_bed.uploadTwice(server.port(), true, m_document);
    }

    SweepTable &m_table;
    UploadBed m_bed;
    Authority m_authority;
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
