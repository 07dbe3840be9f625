// SPDX-License-Identifier: MIT
#include "tests/support/LibraryUpload.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/SquidProxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

/// What a program says on standard output and error; its exit status is wanted to be 0.
void runTool(const std::string &line)
{
    const int status = std::system((line + " > /dev/null 2>&1").c_str());
    ASSERT_EQ(status, 0) << line;
}

/// The library in a folder of its own, with the authority that it is to trust beside it, and the program that
/// prints.
class InstalledClient
{
public:
    explicit InstalledClient(const std::string &authority)
    {
        std::filesystem::create_directories(m_folder.path() / "Frameworks");
        for (const char *library : {"libvrc.so", "libvrc-core.so"}) {
            std::filesystem::copy(std::filesystem::path(VAREK_BUILD_DIR "/Frameworks") / library,
                                  m_folder.path() / "Frameworks");
        }
        std::filesystem::copy(authority, m_folder.path() / "Frameworks/vrc-ca.pem");
        std::filesystem::copy(VAREK_SOURCE_DIR "/tests/data/documents/report.pdf",
                              m_folder.path() / "report.pdf");
    }

    /// Exit status; what the client said is then in said().
    int print(const std::string &connection, const std::string &login)
    {
        const std::string line = "LD_LIBRARY_PATH='" + m_folder.file("Frameworks") +
                                 "' " VAREK_BUILD_DIR "/tests/upload_client '" + connection + "' '" + login +
                                 "' '" + m_folder.file("report.pdf") + "' > '" + m_folder.file("said") +
                                 "' 2>&1";
        const int status = std::system(line.c_str());
        m_said = m_folder.read("said");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    [[nodiscard]] const std::string &said() const { return m_said; }

    [[nodiscard]] const TemporaryFolder &folder() const { return m_folder; }

private:
    TemporaryFolder m_folder;
    std::string m_said;
};

std::string connectionTo(const std::string &server, bool ssl)
{
    return "Unicode=\"YES\" Server=\"" + server + "\" Application=\"upload\" User=\"\" Password=\"\"" +
           (ssl ? " Ssl=\"YES\"" : "") + " ConnectionTimeOut=\"5\"";
}

/// The part of a server's address that leads through a proxy.
std::string through(const SquidProxy &proxy, const std::string &credentials)
{
    return "proxy::http://127.0.0.1:" + std::to_string(proxy.port()) + credentials + "::";
}

class Proxies : public testing::TestWithParam<bool>
{
protected:
    std::string connectionThrough(const SquidProxy &squid, const std::string &credentials) const
    {
        const int port = GetParam() ? m_server.port() : m_server.plainPort();
        return connectionTo(through(squid, credentials) + "127.0.0.1:" + std::to_string(port), GetParam());
    }

    ServerProcess m_server;
    InstalledClient m_client{m_server.authority()};
};

} // namespace

TEST_P(Proxies, an_open_one_lets_an_upload_pass)
{
    const SquidProxy squid;
    EXPECT_EQ(m_client.print(connectionThrough(squid, ""), m_server.login()), 0) << m_client.said();
    EXPECT_EQ(m_server.documents().size(), 1U);
}

TEST_P(Proxies, basic_authentication_is_reported_and_passed)
{
    const SquidProxy squid(SquidProxy::Authentication::basic, "proxy", "se(cret)");
    EXPECT_EQ(m_client.print(connectionThrough(squid, ""), m_server.login()), 1);
    EXPECT_THAT(m_client.said(), testing::StartsWith("LOCAL/REQUEST/113: "));
    EXPECT_EQ(m_client.print(connectionThrough(squid, "(proxy;wrong)"), m_server.login()), 1);
    EXPECT_THAT(m_client.said(), testing::StartsWith("LOCAL/REQUEST/113: "));
    EXPECT_EQ(m_client.print(connectionThrough(squid, "(proxy;se(cret))"), m_server.login()), 0)
        << m_client.said();
    EXPECT_EQ(m_server.documents().size(), 1U);
}

TEST_P(Proxies, digest_authentication_is_reported_and_passed)
{
    const SquidProxy squid(SquidProxy::Authentication::digest, "proxy", "se(cret)");
    EXPECT_EQ(m_client.print(connectionThrough(squid, ""), m_server.login()), 1);
    EXPECT_THAT(m_client.said(), testing::StartsWith("LOCAL/REQUEST/113: "));
    EXPECT_EQ(m_client.print(connectionThrough(squid, "(proxy;se(cret))"), m_server.login()), 0)
        << m_client.said();
    EXPECT_EQ(m_server.documents().size(), 1U);
}

TEST_P(Proxies, one_that_cannot_reach_the_server_is_no_connection)
{
    const SquidProxy squid;
    const std::string nowhere = connectionTo(
        through(squid, "") + "127.0.0.1:" + std::to_string(LoopbackDaemon::freePort()), GetParam());
    EXPECT_EQ(m_client.print(nowhere, m_server.login()), 1);
    EXPECT_THAT(m_client.said(), testing::StartsWith("LOCAL/REQUEST/103: "));
}

INSTANTIATE_TEST_SUITE_P(Squid, Proxies, testing::Bool(),
                         [](const auto &row) { return row.param ? "with_tls" : "plain"; });

TEST(ProxyEnvironment, has_no_say)
{
    ServerProcess server;
    const ScopedVariable proxy("http_proxy", "http://127.0.0.1:1");
    LibraryRequest request(plainConnection(server.plainPort()));
    EXPECT_TRUE(request.command("VR_CMD=|MISC:NOP| " + server.login())) << request.description();
}

TEST(TlsUpload, prints_a_document)
{
    ServerProcess server;
    InstalledClient client(server.authority());
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    EXPECT_EQ(client.print(connectionTo(address, true), server.login()), 0) << client.said();
    EXPECT_EQ(server.documents().size(), 1U);
}

/// An installation that names its authority is never trusted less strictly.
TEST(TlsUpload, an_authority_that_cannot_be_read_trusts_nobody)
{
    ServerProcess server;
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    InstalledClient client(server.authority());
    client.folder().write("Frameworks/vrc-ca.pem", "");
    EXPECT_NE(client.print(connectionTo(address, true), server.login()), 0);
    EXPECT_THAT(client.said(), testing::StartsWith("LOCAL/REQUEST/120"));
    EXPECT_THAT(client.said(), testing::HasSubstr("vrc-ca.pem cannot be read"));
    std::filesystem::remove(client.folder().path() / "Frameworks/vrc-ca.pem");
    std::filesystem::create_symlink("nowhere", client.folder().path() / "Frameworks/vrc-ca.pem");
    EXPECT_NE(client.print(connectionTo(address, true), server.login()), 0);
    EXPECT_EQ(server.documents().size(), 0U);
}

TEST(TlsUpload, without_an_authority_of_its_own_the_library_trusts_whom_the_system_trusts)
{
    ServerProcess server;
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    InstalledClient client(server.authority());
    std::filesystem::remove(client.folder().path() / "Frameworks/vrc-ca.pem");
    EXPECT_NE(client.print(connectionTo(address, true), server.login()), 0);
    EXPECT_THAT(client.said(), testing::StartsWith("LOCAL/REQUEST/120"));
}

TEST(TlsUpload, secrets_are_masked_in_the_socket_log)
{
    ServerProcess server;
    InstalledClient client(server.authority());
    const std::string log = client.folder().file("socket.log");
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    client.print(connectionTo(address, true) + " SocketLog=\"" + log + "\"", server.login());
    const std::string text = client.folder().read("socket.log");
    EXPECT_THAT(text, testing::HasSubstr("POD_PASSWORD=|****|"));
    EXPECT_THAT(text, testing::HasSubstr("answer success, HTTP 200"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr(server.password())));
}

namespace {

struct CertificateCase
{
    std::string name;
    std::string end; ///< of its time
    std::string subjectName;
    bool isTrusted;
    std::string check; ///< what the description says
};

/// key.pem and cert.pem: signed by itself, for a time and a name.
void makeCertificate(const TemporaryFolder &folder, const CertificateCase &wanted)
{
    folder.write("index.txt", "");
    folder.write("serial", "01\n");
    const std::string config = folder.write(
        "ca.cnf", "[ca]\ndefault_ca=d\n[d]\ndatabase=" + folder.file("index.txt") +
                      "\nnew_certs_dir=" + folder.path().string() + "\nserial=" + folder.file("serial") +
                      "\ndefault_md=sha256\npolicy=p\ncopy_extensions=copy\n[p]\ncommonName=supplied\n");
    runTool("openssl req -new -newkey rsa:2048 -nodes -keyout " + folder.file("key.pem") + " -out " +
            folder.file("request.pem") + " -subj /CN=test -addext subjectAltName=" + wanted.subjectName);
    runTool("openssl ca -selfsign -batch -notext -config " + config + " -in " + folder.file("request.pem") +
            " -keyfile " + folder.file("key.pem") + " -out " + folder.file("cert.pem") +
            " -startdate 20200101000000Z -enddate " + wanted.end);
}

class BadCertificate : public testing::TestWithParam<CertificateCase>
{};

} // namespace

TEST_P(BadCertificate, is_an_error_that_names_the_check)
{
    TemporaryFolder folder;
    const CertificateCase &bad = GetParam();
    const std::string key = folder.file("key.pem");
    const std::string certificate = folder.file("cert.pem");
    makeCertificate(folder, bad);
    runTool("openssl req -x509 -newkey rsa:2048 -nodes -keyout " + folder.file("k") + " -out " +
            folder.file("other.pem") + " -days 9 -subj /CN=other");
    const int port = LoopbackDaemon::freePort();
    const LoopbackDaemon server("openssl", {"s_server", "-accept", "127.0.0.1:" + std::to_string(port),
                                            "-cert", certificate, "-key", key, "-quiet"});
    ASSERT_TRUE(server.listensOn(port));
    InstalledClient client(bad.isTrusted ? certificate : folder.file("other.pem"));
    EXPECT_EQ(client.print(connectionTo("127.0.0.1:" + std::to_string(port), true), "X=||"), 1);
    EXPECT_THAT(client.said(),
                testing::StartsWith("LOCAL/REQUEST/120: the server's certificate does not verify: "));
    EXPECT_THAT(client.said(), testing::HasSubstr(bad.check));
}

INSTANTIATE_TEST_SUITE_P(Table, BadCertificate,
                         testing::Values(CertificateCase{"expired", "20200201000000Z", "IP:127.0.0.1", true,
                                                         "certificate has expired"},
                                         CertificateCase{"self_signed", "20490101000000Z", "IP:127.0.0.1",
                                                         false, "self-signed certificate"},
                                         CertificateCase{"of_another_host", "20490101000000Z",
                                                         "DNS:other.example", true, "127.0.0.1"}),
                         [](const auto &row) { return row.param.name; });

TEST(ServerWithoutTls, is_no_application_server)
{
    ServerProcess server;
    InstalledClient client(server.authority());
    const std::string plain = "127.0.0.1:" + std::to_string(server.plainPort());
    EXPECT_EQ(client.print(connectionTo(plain, true), "X=||"), 1);
    EXPECT_THAT(client.said(), testing::AnyOf(testing::StartsWith("LOCAL/REQUEST/131"),
                                              testing::StartsWith("LOCAL/REQUEST/103")));
}
