// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/FreshMain.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SettingsFolder.h"
#include "tests/unit/printing/PrivateMachine.h"
#include "tests/unit/printing/RecordedBoxes.h"

#include <QTemporaryDir>

#include <filesystem>
#include <string>
#include <vector>

/// What an installation starts from: a program folder with program and backend, an installation folder, a
/// configuration file, settings stores of its own, and lpadmin and chmod replaced by scripts that record
/// their arguments.
class Workshop
{
public:
    Workshop();

    [[nodiscard]] std::string program(const std::string &name = {}) const
    {
        return m_folder + "/prog/" + name;
    }

    [[nodiscard]] std::string target(const std::string &name = {}) const
    {
        return m_folder + "/target/" + name;
    }

    [[nodiscard]] std::string configFile() const { return m_folder + "/site.ini"; }

    [[nodiscard]] static std::string backend(const std::string &name)
    {
        return "/usr/libexec/cups/backend/" + name;
    }

    /// The arguments "-m install" with these behind them.
    static void setInstallArguments(std::vector<std::wstring> further);

    /// The commands that were run, one a line: name and arguments, each in brackets.
    [[nodiscard]] std::vector<std::string> commands() const;

    /// Makes the nth command of the test, counted from 1, exit with status 1 without doing anything.
    void failCommand(std::size_t number) const;

    /// A value of the machine-wide store of a company and software; "(none)" when there is none.
    [[nodiscard]] static std::string stored(const std::string &key, bool perUser = false);
    [[nodiscard]] static std::string registered(const std::string &printer, const std::string &key);

private:
    QTemporaryDir m_temporary;
    std::string m_folder;
    ScopedVariable m_path;

public:
    SettingsFolder settings;
    FreshMain main;
    RecordedBoxes boxes;
    MachinePrinters printers{{}};
};

void writeText(const std::filesystem::path &file, const std::string &text);
[[nodiscard]] std::string textOf(const std::filesystem::path &file);
[[nodiscard]] unsigned permissionsOf(const std::filesystem::path &file);
