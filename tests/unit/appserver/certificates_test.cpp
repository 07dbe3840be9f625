// SPDX-License-Identifier: MIT
#include "appserver/certificates.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using appserver::certificateFilesIn;
using appserver::ensureCertificates;

/// A data folder with the certificates of a server, and the openssl program that looks at them.
class Certificates : public testing::Test
{
protected:
    [[nodiscard]] bool openssl(const std::string &words) const
    {
        const std::string line = "cd '" + folder.path().string() + "' && openssl " + words;
        return std::system((line + " > said 2>&1").c_str()) == 0;
    }

    void createCertificate() const { ensureCertificates(certificateFilesIn(folder.path()), {"localhost"}); }

    [[nodiscard]] bool isTrustedBy(const std::string &authority) const
    {
        return openssl("verify -no-CApath -no-CAstore -purpose sslserver -CAfile " + authority +
                       " -untrusted server.pem server.pem");
    }

    TemporaryFolder folder;
};

constexpr char newAuthority[] =
    "req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 30 -subj /CN=";

TEST_F(Certificates, who_trusts_the_authority_trusts_the_server)
{
    createCertificate();
    EXPECT_TRUE(isTrustedBy("vrc-ca.pem")) << folder.read("said");
    EXPECT_FALSE(isTrustedBy("/dev/null"));
}

TEST_F(Certificates, an_authority_of_our_own_is_not_sent_along)
{
    createCertificate();
    EXPECT_EQ(folder.read("server.pem").find("BEGIN CERTIFICATE", 20), std::string::npos);
}

TEST_F(Certificates, who_trusts_the_root_of_an_intermediate_authority_trusts_the_server)
{
    const std::string authority(newAuthority);
    ASSERT_TRUE(openssl(authority + "Root -keyout root.key -out root.pem")) << folder.read("said");
    ASSERT_TRUE(openssl(authority + "Office -keyout ca-key.pem -out vrc-ca.pem -CA root.pem -CAkey root.key"))
        << folder.read("said");
    const std::string given = folder.read("vrc-ca.pem");
    createCertificate();
    EXPECT_EQ(folder.read("vrc-ca.pem"), given);
    EXPECT_TRUE(isTrustedBy("root.pem")) << folder.read("said");
    const std::string first = folder.read("server.pem");
    createCertificate();
    EXPECT_EQ(folder.read("server.pem"), first) << "a certificate that is good stays";
}

} // namespace
