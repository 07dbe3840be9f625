// SPDX-License-Identifier: MIT
#pragma once

#include "tests/e2e/program/RunningProgram.h"
#include "tests/e2e/send/SendTest.h"
#include "tests/support/file_bytes.h"
#include "vrp/platform/text.h"
#include "vrp/settings/stored_credentials.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

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
        const std::string line = fileBytes(path("opened"));
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
                                                   << fileBytes(path("chromium.log"));
        return fileBytes(path("page"));
    }
};
