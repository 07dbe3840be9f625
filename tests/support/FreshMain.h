// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/core/VrpMain.h"

#include <QSettings>

#include <string>
#include <utility>
#include <vector>

/// Gives a test the application object as a new process has it, and leaves it so behind.
class FreshMain
{
public:
    FreshMain() { renew(); }

    ~FreshMain() { renew(); }

    FreshMain(const FreshMain &) = delete;
    FreshMain &operator=(const FreshMain &) = delete;

    VrpMain *operator->() const { return VrpsGetMain(); }

    VrpMain &operator*() const { return *VrpsGetMain(); }

    /// Sets the arguments that follow the program.
    static void setArguments(std::vector<std::wstring> arguments)
    {
        arguments.insert(arguments.begin(), L"/opt/vrp");
        VrpsGetMain()->arguments = std::move(arguments);
    }

private:
    static void renew()
    {
        VrpMain *main = VrpsGetMain();
        delete main->configSettings;
        main->~VrpMain();
        new (main) VrpMain;
    }
};
