// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ScopedVariable.h"
#include "tests/support/ServerTest.h"
#include "tests/support/UploadScript.h"

#include <initializer_list>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// Runs of the workflow from the command line on, against a directory, an upload server and a portal.
class SendWorkflowTest : public ServerTest
{
    ScopedVariable temporaryFolder{"TMPDIR", folder.path().toStdString()};

protected:
    SendWorkflowTest()
    {
        SettingsFolder::registerPrinter(QStringLiteral("Queue"), QStringLiteral("Company"),
                                        QStringLiteral("Software"));
        VrpsSetCompanyRegistryKey(L"Printer", L"Title", L"The printer", false);
        VrpsWriteServerDirectoriesToRegistry({L"host;app:dir"}, true);
        scriptUpload(library, 31, 40);
        library.answer("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|", "S1");
        user.inIdentifierDialog = [this] {
            main->ident = L"ident";
            main->password = L"secret";
            return 0;
        };
        main->runMode = runSend;
        scriptParameters({{"SERVER_UPLOAD_APPLICATION", "app"}, {"PORTAL_URL", "http://portal/?x"}});
    }

    void scriptParameters(std::initializer_list<std::pair<const char *, const char *>> parameters)
    {
        library.answer("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|parameters|",
                       std::to_string(parameters.size()));
        int index = 0;
        for (const auto &[key, value] : parameters) {
            library.answer("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|" +
                               std::to_string(++index) + "|",
                           key);
            library.answer("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|" +
                               std::string(key) + "|",
                           value);
        }
    }

    void useTestMode(int mode)
    {
        main->runMode = mode;
        main->testMode = true;
    }

    /// A document in the test's folder; its path.
    std::wstring makeDocument()
    {
        std::wstring document = path("document.pdf");
        SettingsFolder::write(QString::fromStdWString(document), "data");
        return document;
    }

    int send(std::vector<std::wstring> arguments)
    {
        FreshMain::setArguments(std::move(arguments));
        return main->DoSend();
    }

    /// The names of the file that the server was told to read.
    static std::string sentFile()
    {
        const std::string start =
            "> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|SEND_FILE| PERSIST=|-1| FILENAME=|";
        const std::string line = Transcript::linesFrom(start);
        return line.empty() ? "" : line.substr(start.size(), line.size() - start.size() - 2);
    }

    /// The log without the lines of the command channel.
    [[nodiscard]] std::string steps() const
    {
        std::string found;
        std::istringstream lines(logText());
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("Varek ") && line != " SUCCESS" && line != " FAILED") {
                found += line + "\n";
            }
        }
        return found;
    }

    static std::string described(const std::string &key)
    {
        const std::string start =
            "> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| KEY=|" + key + "| VALUE=|";
        const std::string line = Transcript::linesFrom(start);
        return line.empty() ? "" : line.substr(start.size(), line.size() - start.size() - 2);
    }
};
