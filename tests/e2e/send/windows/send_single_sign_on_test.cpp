// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SingleSignOn.h"
#include "tests/e2e/send/windows/SendProgram.h"
#include "tests/support/file_bytes.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class SignedOnProgram : public SingleSignOn, public SendProgram
{
protected:
    SignedOnProgram()
    {
        server.configure(serverSettings());
        useParameters(directoryParameters());
    }
};

TEST_F(SignedOnProgram, prints_without_asking_for_credentials_and_opens_the_portal)
{
    const std::string document = makeDocument(fileBytes(VAREK_SOURCE_DIR "/tests/data/documents/report.pdf"));
    RunningProgram program =
        start({"-m", "send", "-p", "Queue", "-d", "Yearly report.pdf", "-f", document, "-k"});
    program.press(program.window("Varek print - mode"), "Return");
    EXPECT_EQ(program.exitStatus(), 0) << program.output() << log();
    EXPECT_TRUE(storedEquals(document)) << log();
    EXPECT_EQ(storedDescription()["owner"], "alice");
    EXPECT_THAT(log(), AllOf(HasSubstr("Sso=\"YES\" SsoPrincipal=\"HTTP/localhost\""),
                             Not(HasSubstr("Get user credentials")), Not(HasSubstr("POD_USER"))));

    const std::string page = pageInBrowser(openedAddress());
    EXPECT_THAT(page, HasSubstr("<title>Yearly report.pdf"));
}

} // namespace
