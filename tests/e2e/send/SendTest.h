// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/FreshMain.h"
#include "tests/support/ScriptedUser.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/SettingsFolder.h"
#include "tests/support/Transcript.h"
#include "tests/support/file_bytes.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// Sends through the real client library to a real application server over TLS. The windows alone are
/// stand-ins: a scripted user answers, and boxes and the browser are recorded in the Transcript.
class SendTest : public testing::Test
{
protected:
    SendTest();

    /// A path in the test's folder.
    [[nodiscard]] std::string path(const std::string &name) const;

    /// Writes a document into the test's folder; its path.
    std::string makeDocument(const std::string &contents, const std::string &name = "job") const;

    /// Runs the send workflow as `vrp -m send` does. The document is kept for comparison.
    int send(const std::string &document, const std::vector<std::wstring> &options = {L"-k"});

    /// The modes that the server offers, for instance "STANDARD,ASYNC".
    void offerModes(const std::string &modes);
    /// Chooses a mode in the dialog.
    void chooseMode(int mode);
    /// Has the only directory hand out the necessary parameters and these lines.
    void useParameters(const std::string &lines);
    void setDirectories(const std::vector<std::string> &directories) const;

    /// The description of the only stored document, by column; empty when there are none or several.
    [[nodiscard]] std::map<std::string, std::string> storedDescription() const;
    /// Whether the only stored document has these bytes.
    [[nodiscard]] testing::AssertionResult storedEquals(const std::string &document) const;
    [[nodiscard]] std::size_t storedCount() const;

    [[nodiscard]] std::string log() const { return fileBytes(path("log.txt")); }

    [[nodiscard]] std::string socketLog() const { return fileBytes(path("socket.txt")); }

    [[nodiscard]] static std::string boxes() { return Transcript::linesFrom("box "); }

    /// The compressed size that the last send logged.
    [[nodiscard]] int compressedBytes() const;

    QTemporaryDir folder;
    SettingsFolder settings;
    ServerProcess server;
    FreshMain main;
    ScriptedUser user;
};

/// Bytes that do not compress, after the head of a PDF document.
[[nodiscard]] std::string incompressibleDocument(std::size_t bytes);
