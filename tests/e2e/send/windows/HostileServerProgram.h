// SPDX-License-Identifier: MIT
#pragma once

#include "tests/e2e/program/RunningProgram.h"
#include "tests/e2e/send/SendTest.h"
#include "tests/support/file_bytes.h"
#include "tests/support/sanitizers.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/stored_credentials.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

/// The real program, in real windows, with servers and settings that mean harm. Every program that a desktop
/// opens addresses with is a script that records them.
class HostileServerProgram : public SendTest
{
protected:
    HostileServerProgram()
    {
        std::filesystem::create_directory(path("bin"));
        for (const char *opener : {"xdg-open", "gio", "kde-open", "kfmclient", "gnome-open", "firefox",
                                   "chromium", "x-www-browser", "sensible-browser"}) {
            const std::string script = path("bin/") + opener;
            std::ofstream(script) << "#!/bin/sh\nprintf '%s %s\\n' \"${0##*/}\" \"$*\" >>'" << path("opened")
                                  << "'\n";
            std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        }
        offerModes("STANDARD");
        // An installation says once more where its settings are.
        VrpsSetCompanyRegistryKey(L"Software", L"Company", L"Company", false);
        VrpsSetCompanyRegistryKey(L"Software", L"Name", L"Software", false);
        VrpsSetCompanyRegistryKey(L"Printer", L"Title", L"Varek Printer", false);
        storeCredentials();
    }

    /// A login that fails clears them.
    void storeCredentials()
    {
        main->ident = UTF8tow(server.user());
        main->password = UTF8tow(server.password());
        VrpsSetIdentPasswordToRegistry();
    }

    [[nodiscard]] RunningProgram start(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), {"-l", path("log.txt") + ";" + path("socket.txt")});
        return RunningProgram(arguments, folder.path().toStdString(),
                              {{"PATH", path("bin") + ":" + std::getenv("PATH")}, {"BROWSER", ""}});
    }

    /// Without boxes unless they are wanted.
    [[nodiscard]] RunningProgram startSend(const std::string &document, bool isSilent = true) const
    {
        std::vector<std::string> arguments = {"-m", "send",  "-k", "-p",    "Queue",
                                              "-d", "Title", "-f", document};
        if (isSilent) {
            arguments.emplace_back("-s");
        }
        return start(arguments);
    }

    void openPage(const std::string &address)
    {
        VrpsSetCompanyRegistryKey(L"Help", L"Main", UTF8tow(address).c_str(), true);
        RunningProgram program = start({"-m", "help", "-p", "Queue"});
        EXPECT_EQ(program.exitStatus(), 0) << program.output();
    }

    /// What was opened up to now. An address that may be opened goes behind all others, and is waited for.
    [[nodiscard]] std::vector<std::string> opened()
    {
        const std::string last = "http://localhost/last";
        openPage(last);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (fileBytes(path("opened")).find(last) == std::string::npos &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        std::ifstream file(path("opened"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// Every line ends in CR LF and holds nothing that a terminal would obey.
    void expectWholeLog() const
    {
        const std::string text = log();
        const auto lines = std::count(text.begin(), text.end(), '\n');
        EXPECT_GT(lines, 5);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), lines);
        for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) {
            ASSERT_EQ(text[at - 1], '\r');
        }
        EXPECT_EQ(text.find('\x1B'), std::string::npos);
        EXPECT_EQ(text.find(server.password()), std::string::npos);
    }

    /// The most memory that a program may need whatever a server says.
    static constexpr long mostKiB = memoryLimitKiB(160 * 1024);
};
