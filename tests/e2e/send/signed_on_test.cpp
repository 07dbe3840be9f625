// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SendTest.h"
#include "tests/e2e/send/SingleSignOn.h"
#include "tests/support/SquidProxy.h"
#include "vrp/settings/settings_store.h"

namespace {

class SignedOn : public SingleSignOn, public SendTest
{
protected:
    SignedOn()
    {
        server.configure(serverSettings());
        chooseMode(printModeAsync);
    }

    [[nodiscard]] std::size_t refusedRequests() const
    {
        std::size_t count = 0;
        const std::string text = server.accessLog();
        for (auto at = text.find(" 401 "); at != std::string::npos; at = text.find(" 401 ", at + 1)) {
            ++count;
        }
        return count;
    }

    void expectStoredFor(const std::string &person, const std::string &document)
    {
        EXPECT_TRUE(storedEquals(document)) << log();
        EXPECT_EQ(storedDescription()["owner"], person);
        EXPECT_EQ(Transcript::count("dialog identifier"), 0);
        EXPECT_EQ(boxes(), "");
    }
};

TEST_F(SignedOn, a_long_document_is_sent_and_no_request_is_refused)
{
    useParameters(directoryParameters());
    const std::string document = makeDocument(incompressibleDocument(5'000'000));
    ASSERT_EQ(send(document), 0) << log();
    expectStoredFor("alice", document);
    EXPECT_EQ(refusedRequests(), 0U) << server.accessLog();
}

TEST_F(SignedOn, a_document_is_sent_without_tls)
{
    useParameters(directoryParameters() +
                  "SERVER_UPLOAD_PROTOCOL=HTTP\nSERVER_UPLOAD_PORT=" + std::to_string(server.plainPort()));
    const std::string document = makeDocument(incompressibleDocument(1'000'000));
    ASSERT_EQ(send(document), 0) << log();
    expectStoredFor("alice", document);
    EXPECT_EQ(refusedRequests(), 0U) << server.accessLog();
}

TEST_F(SignedOn, a_document_is_sent_through_a_proxy)
{
    useParameters(directoryParameters());
    const SquidProxy proxy;
    VrpsSetCompanyRegistryKey(L"Settings", L"ProxyServer", L"127.0.0.1", true);
    VrpsSetCompanyRegistryKey(L"Settings", L"ProxyPort", std::to_wstring(proxy.port()).c_str(), true);
    const std::string document = makeDocument(incompressibleDocument(300'000));
    ASSERT_EQ(send(document), 0) << log();
    expectStoredFor("alice", document);
    EXPECT_EQ(log().find("try without proxy"), std::string::npos);
}

TEST_F(SignedOn, without_a_ticket_the_send_fails_and_says_that_it_cannot_connect)
{
    useParameters(directoryParameters());
    realm.logOut();
    EXPECT_NE(send(makeDocument("text\n")), 0);
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_EQ(Transcript::count("dialog identifier"), 0);
    EXPECT_NE(log().find("LOCAL:REQUEST:132:"), std::string::npos) << log();
    EXPECT_NE(boxes().find("Cannot connect the server."), std::string::npos) << boxes();
}

TEST_F(SignedOn, credentials_are_asked_when_the_portal_has_no_single_sign_on)
{
    useParameters(directoryParameters("NO"));
    const std::string document = makeDocument("text\n");
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_EQ(Transcript::count("dialog identifier"), 1);
}

} // namespace
