// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/FreshMain.h"
#include "tests/support/ScriptedLibrary.h"
#include "tests/support/ScriptedUser.h"
#include "tests/support/SettingsFolder.h"
#include "tests/support/Transcript.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>

/// A run of its own against a scripted library and a scripted user: a fresh application object, empty
/// settings stores of an installed printer, and a log file in a temporary folder.
class ServerTest : public testing::Test
{
protected:
    ServerTest()
    {
        Transcript::clear();
        copyBounded(main->company, L"Company");
        copyBounded(main->softwareName, L"Software");
        main->log.fileName = path("log.txt");
    }

    /// A path in the test's folder.
    [[nodiscard]] std::wstring path(const char *name) const
    {
        return QString2StdWString(folder.filePath(QString::fromUtf8(name)));
    }

    /// The lines of the log behind its time stamp, each ended by a line feed; every one must end in CR LF.
    [[nodiscard]] std::string logText() const
    {
        QFile file(QString::fromStdWString(path("log.txt")));
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        QByteArray text = file.readAll();
        text.remove(0, text.indexOf('\n') + 1);
        EXPECT_EQ(text.count('\n'), text.count("\r\n"));
        EXPECT_EQ(text.count('\r'), text.count("\r\n"));
        return text.replace("\r\n", "\n").toStdString();
    }

    [[nodiscard]] static std::wstring stored(const wchar_t *group, const wchar_t *name, bool perUser = true)
    {
        return VrpsGetCompanyRegistryKey(group, name, L"(absent)", perUser);
    }

    [[nodiscard]] static std::string boxes() { return Transcript::linesFrom("box "); }

    QTemporaryDir folder;
    SettingsFolder settings;
    FreshMain main;
    ScriptedLibrary library;
    ScriptedUser user;
};
