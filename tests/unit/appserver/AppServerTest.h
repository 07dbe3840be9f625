// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/AppServices.h"
#include "appserver/RequestProcessor.h"
#include "appserver/default_configuration.h"
#include "appserver/secrets.h"
#include "tests/support/frame_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace appserver {

/// Services over a temporary folder, without a network. The person is "ada", her password "lovelace".
class AppServerTest : public ::testing::Test
{
protected:
    AppServerTest()
    {
        initialiseSecrets();
        std::string name = (std::filesystem::temp_directory_path() / "appserver-test-XXXXXX").string();
        folder = ::mkdtemp(name.data());
        services =
            std::make_unique<AppServices>(folder, ServerConfiguration::parse(defaultConfiguration({})));
        services->setAddresses({"print.example", 4711, "https://print.example:4712"});
        services->users.add("ada", "lovelace");
    }

    ~AppServerTest() override
    {
        services.reset();
        std::filesystem::remove_all(folder);
    }

    void configure(const std::string &text)
    {
        services->setConfiguration(ServerConfiguration::parse(defaultConfiguration({}) + '\n' + text));
    }

    /// Carries a request out, handed over in pieces of the given size.
    AnswerText ask(const RequestText &request, std::size_t pieceBytes = 1 << 20)
    {
        RequestProcessor processor(*services, nullptr, "192.0.2.1");
        std::string_view rest = request.text;
        while (!rest.empty() && processor.take(rest.substr(0, pieceBytes))) {
            rest.remove_prefix(std::min(pieceBytes, rest.size()));
        }
        RequestAnswer &answer = processor.finish();
        std::string bytes;
        const auto collect = [&bytes](std::string_view part) {
            bytes += part;
            return true;
        };
        for (std::size_t part = 0; answer.writePart(part, collect); ++part) {
        }
        return decodeAnswer(bytes);
    }

    /// A session of the upload application with ada logged in; the next number is 2.
    std::string openUpload(std::uint8_t nonce = 1)
    {
        const AnswerText answer = ask(RequestText().hello("upload", nonce).command(1, login));
        EXPECT_THAT(answer.lines, ::testing::ElementsAre("W", "R 1", "Z 1"));
        return answer.session;
    }

    static constexpr const char *login = "VR_CMD=|MISC:NOP| POD_USER=|ada| POD_PASSWORD=|lovelace|";

    std::filesystem::path folder;
    std::unique_ptr<AppServices> services;
};

} // namespace appserver
