// SPDX-License-Identifier: MIT
#pragma once

#include "tests/unit/printing/Workshop.h"
#include "vrp/platform/install.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

/// Install and uninstall mode in a workshop of their own.
class InstallTest : public testing::Test
{
protected:
    InstallTest() { setOptions({}); }

    /// The usual options with these behind them.
    void setOptions(std::vector<std::wstring> further)
    {
        further.insert(further.begin(),
                       {L"-c", UTF8tow(m_shop.configFile()), L"-d", UTF8tow(m_shop.target())});
        Workshop::setInstallArguments(std::move(further));
    }

    void setUninstallOptions(const std::vector<std::wstring> &further)
    {
        std::vector<std::wstring> arguments = {L"-m", L"uninstall"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        FreshMain::setArguments(arguments);
    }

    [[nodiscard]] std::string addCommand(const std::string &driver) const
    {
        return "lpadmin [-p] [Office] [-E] [-v] [varek:127.0.0.1] [-P] [" + m_shop.program(driver) +
               "] [-D] [Office]";
    }

    [[nodiscard]] std::vector<std::string> copyCommands() const
    {
        return {"chmod [ugoa+x] [" + m_shop.target("vrp") + "]",
                "chmod [ugoa+x] [" + m_shop.target("vrpconfig") + "]",
                "chmod [700] [/usr/libexec/cups/backend/varek]"};
    }

    /// Installs quietly and makes the printer known to the machine.
    void installQuietly()
    {
        m_shop.main->noConfirm = true;
        ASSERT_TRUE(VrpsInstall());
        m_shop.main->noConfirm = false;
        m_shop.printers.names = {L"Office"};
        m_commandsBefore = m_shop.commands().size();
    }

    /// Those run since the quiet installation.
    [[nodiscard]] std::vector<std::string> newCommands() const
    {
        const auto all = m_shop.commands();
        return {all.begin() + static_cast<std::ptrdiff_t>(m_commandsBefore), all.end()};
    }

    Workshop m_shop;
    std::size_t m_commandsBefore = 0;
};
