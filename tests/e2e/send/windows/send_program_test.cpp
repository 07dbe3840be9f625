// SPDX-License-Identifier: MIT
#include "tests/e2e/program/RunningProgram.h"
#include "tests/e2e/send/SendTest.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace {

using testing::HasSubstr;

/// The real program in its real windows. A script in the place of xdg-open records what the desktop would
/// open.
class SendProgram : public SendTest
{
protected:
    SendProgram()
    {
        std::filesystem::create_directory(path("bin"));
        const std::string script = path("bin/xdg-open");
        std::ofstream(script) << "#!/bin/sh\nprintf '%s\\n' \"$1\" >>'" << path("opened.new") << "' && mv '"
                              << path("opened.new") << "' '" << path("opened") << "'\n";
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    }

    [[nodiscard]] RunningProgram start(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), {"-l", path("log.txt") + ";" + path("socket.txt")});
        return RunningProgram(arguments, folder.path().toStdString(),
                              {{"PATH", path("bin") + ":" + std::getenv("PATH")}, {"BROWSER", ""}});
    }

    void storeCredentials(const std::string &password)
    {
        main->ident = UTF8tow(server.user());
        main->password = UTF8tow(password);
        VrpsSetIdentPasswordToRegistry();
    }

    static void type(const std::string &text)
    {
        EXPECT_EQ(std::system(("xdotool type --clearmodifiers '" + text + "'").c_str()), 0);
    }

    /// The address that was opened; the desktop opens it on its own time.
    [[nodiscard]] std::string openedAddress() const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!std::filesystem::exists(path("opened")) && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        const std::string line = contents(path("opened"));
        return line.substr(0, line.find('\n'));
    }

    /// The page that a browser makes of an address.
    [[nodiscard]] std::string pageInBrowser(const std::string &address) const
    {
        const std::string command = "timeout 120 chromium --headless --no-sandbox --disable-gpu "
                                    "--ignore-certificate-errors --user-data-dir='" +
                                    path("chromium") + "' --dump-dom '" + address + "' >'" + path("page") +
                                    "' 2>'" + path("chromium.log") + "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << "needs the package chromium\n"
                                                   << contents(path("chromium.log"));
        return contents(path("page"));
    }
};

TEST_F(SendProgram, a_document_is_sent_with_typed_credentials_and_its_page_opens_in_the_browser)
{
    const std::string document = makeDocument(contents(VAREK_SOURCE_DIR "/tests/data/documents/report.pdf"));
    RunningProgram program =
        start({"-m", "send", "-p", "Queue", "-d", "Yearly report.pdf", "-f", document, "-k"});
    const std::string credentials = program.window("Varek print - identifier");
    program.press(credentials, "ctrl+a");
    type(server.user() + "\t" + server.password());
    program.press(credentials, "Return");
    program.press(program.window("Varek print - mode"), "Return");
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_TRUE(storedEquals(document));
    EXPECT_EQ(storedDescription()["print_mode"], "STANDARD");
    EXPECT_EQ(storedDescription()["file_name"], "Yearly report.pdf");

    const std::string address = openedAddress();
    ASSERT_THAT(address, HasSubstr("/portal?client=vrp&VR_SESSION_ID="));
    const std::string page = pageInBrowser(address);
    EXPECT_THAT(page, HasSubstr("<title>Yearly report.pdf"));
    EXPECT_EQ(log().find(server.password()), std::string::npos);
    EXPECT_EQ(socketLog().find(server.password()), std::string::npos);
}

TEST_F(SendProgram, a_send_with_stored_credentials_asks_nothing_and_removes_the_document)
{
    offerModes("ASYNC");
    storeCredentials(server.password());
    const std::string document = makeDocument("text\n");
    RunningProgram program = start({"-m", "send", "-p", "Queue", "-f", document});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_EQ(storedCount(), 1U) << log();
    EXPECT_FALSE(std::filesystem::exists(document));
}

TEST_F(SendProgram, a_silent_send_with_a_wrong_password_ends_without_a_window)
{
    offerModes("ASYNC");
    storeCredentials("wrong");
    const std::string document = makeDocument("text\n");
    RunningProgram program = start({"-m", "send", "-s", "-p", "Queue", "-f", document});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_FALSE(std::filesystem::exists(document));
    EXPECT_THAT(log(), HasSubstr("Bad password\r\n"));
}

TEST_F(SendProgram, test_mode_sends_a_document_of_its_own_and_stores_nothing)
{
    offerModes("ASYNC");
    storeCredentials(server.password());
    const ScopedVariable temporaryFolder("TMPDIR", folder.path().toLocal8Bit());
    RunningProgram program = start({"-m", "test", "-p", "Queue"});
    EXPECT_EQ(program.exitStatus(), 0) << program.output();
    EXPECT_THAT(log(), HasSubstr("File has been sent to the upload server\r\n"));
    EXPECT_EQ(storedCount(), 0U);
    EXPECT_FALSE(std::filesystem::exists(path("vrptmp.txt")));
}

} // namespace
