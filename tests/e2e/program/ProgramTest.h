// SPDX-License-Identifier: MIT
#pragma once

#include "tests/e2e/program/RunningProgram.h"
#include "tests/support/SettingsFolder.h"
#include "tests/support/file_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// A test of the real program: with stores, home and working directory of its own.
class ProgramTest : public testing::Test
{
protected:
    using Arguments = std::vector<std::string>;

    /// The title of a box of a printer whose title is not known.
    static constexpr char untitled[] = "";

    [[nodiscard]] RunningProgram start(const Arguments &arguments, Variables variables = {}) const
    {
        variables.emplace("HOME", path(""));
        return RunningProgram(arguments, path(""), variables);
    }

    /// Runs the program to its end where nobody could answer a window.
    int run(const Arguments &arguments, Variables variables = {})
    {
        variables.emplace("QT_QPA_PLATFORM", "offscreen");
        RunningProgram program = start(arguments, variables);
        const int status = program.exitStatus();
        m_output = program.output();
        return status;
    }

    /// A path in the working directory of the program.
    [[nodiscard]] std::string path(const std::string &name) const
    {
        return m_folder.path().toStdString() + (name.empty() ? "" : "/" + name);
    }

    [[nodiscard]] std::string content(const std::string &name) const { return fileBytes(path(name)); }

    void write(const std::string &name, const std::string &text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
    }

    /// Installs a printer with some texts of its own.
    void installPrinter(const QByteArray &texts = "[Printer]\nTitle=Office printer\n") const
    {
        installPrinterWithStore("[Software]\nCompany=Acme\nName=Print\n" + texts);
    }

    /// Installs a printer whose machine-wide store holds exactly `content`.
    void installPrinterWithStore(const QByteArray &content) const
    {
        SettingsFolder::registerPrinter(QStringLiteral("Office"), QStringLiteral("Acme"),
                                        QStringLiteral("Print"));
        SettingsFolder::write(m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), false),
                              content);
    }

    SettingsFolder m_settings;
    QTemporaryDir m_folder;
    std::string m_output; ///< what the last finished run printed
};
