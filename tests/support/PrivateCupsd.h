// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ScopedVariable.h"
#include "tests/support/SettingsFolder.h"

#include <QProcess>
#include <QTemporaryDir>

#include <string>

/// A CUPS server of a test's own, in a temporary folder and on a socket in it. While it lives, CUPS_SERVER
/// names it. It needs root and the Debian packages cups and cups-client.
class PrivateCupsd
{
public:
    /// Starts it with one backend of that name, and waits until it answers.
    explicit PrivateCupsd(const std::string &backend);
    ~PrivateCupsd();
    PrivateCupsd(const PrivateCupsd &) = delete;
    PrivateCupsd &operator=(const PrivateCupsd &) = delete;

    [[nodiscard]] bool isRunning() const;

    /// What it wrote into its error log.
    [[nodiscard]] std::string errorLog() const;

private:
    [[nodiscard]] std::string at(const std::string &name) const;
    void writeConfiguration(const std::string &backend) const;
    [[nodiscard]] bool answers() const;

    QTemporaryDir m_folder;
    ScopedVariable m_server;
    QProcess m_cupsd;
};

/// The output of a shell command.
[[nodiscard]] std::string outputOf(const std::string &command);
