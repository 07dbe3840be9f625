// SPDX-License-Identifier: MIT
#include "tests/torture/Impostors.h"

#include <cstdlib>
#include <stdexcept>

namespace {

constexpr char now[] = "20200101000000Z";
constexpr char later[] = "20490101000000Z";
constexpr char strong[] = "ec -pkeyopt ec_paramgen_curve:P-256";

void runTool(const std::string &line)
{
    if (std::system((line + " > /dev/null 2>&1").c_str()) != 0) {
        throw std::runtime_error("failed: " + line);
    }
}

} // namespace

/// Becomes NAME.pem with NAME.key.
struct Impostors::Wish
{
    std::string name;
    std::string issuer; ///< its own name: signed by itself
    std::string extensions = "subjectAltName=IP:127.0.0.1";
    std::string key = strong;
    std::string start = now;
    std::string end = later;
    std::string digest = "sha256";
};

Impostors::Impostors()
{
    const std::string ca = "basicConstraints=critical,CA:TRUE";
    make({"root", "root", ca});
    make({"stranger", "stranger", ca});
    make({"middle", "root", ca});
    make({"good", "middle"});
    make({"self-signed", "self-signed"});
    make({"unknown", "stranger"});
    make({"other-host", "root", "subjectAltName=DNS:other.example,IP:127.0.0.2"});
    make({"no-name", "root", "keyUsage=digitalSignature"});
    make({"expired", "root", "subjectAltName=IP:127.0.0.1", strong, now, "20200201000000Z"});
    make({"early", "root", "subjectAltName=IP:127.0.0.1", strong, "20480101000000Z"});
    make({"weak-key", "root", "subjectAltName=IP:127.0.0.1", "rsa:1024"});
    make({"weak-digest", "middle", "subjectAltName=IP:127.0.0.1", strong, now, later, "sha1"});
}

std::vector<Impostor> Impostors::all() const
{
    const std::string untrusted = "LOCAL/REQUEST/120";
    const std::string noTls = "LOCAL/REQUEST/131";
    return {{"expired", identity("expired"), untrusted},
            {"not yet valid", identity("early"), untrusted},
            {"wrong host", identity("other-host"), untrusted},
            {"no host", identity("no-name"), untrusted},
            {"self-signed", identity("self-signed"), untrusted},
            {"unknown root", identity("unknown"), untrusted},
            {"unknown root, sent along", identity("unknown", "stranger"), untrusted},
            {"incomplete chain", identity("good"), untrusted},
            {"weak key", identity("weak-key"), untrusted},
            {"weak digest", identity("weak-digest", "middle"), untrusted},
            {"TLS 1.1 only", identity("good", "middle", TLS1_1_VERSION), noTls},
            {"TLS 1.0 only", identity("good", "middle", TLS1_VERSION), noTls}};
}

void Impostors::make(const Wish &wish) const
{
    const std::string request = m_folder.file(wish.name + ".request");
    runTool("openssl req -new -nodes -newkey " + wish.key + " -keyout " + m_folder.file(wish.name + ".key") +
            " -out " + request + " -subj /CN=" + wish.name + " -addext " + wish.extensions);
    const std::string state = m_folder.write(wish.name + ".index", "");
    const std::string config =
        m_folder.write(wish.name + ".cnf", "[ca]\ndefault_ca=d\n[d]\ndatabase=" + state +
                                               "\nnew_certs_dir=" + m_folder.path().string() +
                                               "\nrand_serial=yes\npolicy=p\n"
                                               "unique_subject=no\ncopy_extensions=copy\n[p]\n"
                                               "commonName=supplied\n");
    const std::string signer =
        wish.issuer == wish.name ? " -selfsign" : " -cert " + m_folder.file(wish.issuer + ".pem");
    runTool("openssl ca -batch -notext -config " + config + " -md " + wish.digest + " -in " + request +
            signer + " -keyfile " + m_folder.file(wish.issuer + ".key") + " -out " +
            m_folder.file(wish.name + ".pem") + " -startdate " + wish.start + " -enddate " + wish.end);
}

std::string Impostors::certificate(const std::string &name) const
{
    return m_folder.read(name + ".pem");
}

/// `above`: the certificate that is sent along.
TlsTerminator::Identity Impostors::identity(const std::string &name, const std::string &above,
                                            int highestVersion) const
{
    const std::string chain = m_folder.write(name + "-" + above + ".chain",
                                             certificate(name) + (above.empty() ? "" : certificate(above)));
    return {chain, m_folder.file(name + ".key"), highestVersion};
}
