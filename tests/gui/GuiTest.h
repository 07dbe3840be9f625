// SPDX-License-Identifier: MIT
#pragma once

#include "tests/gui/StandIns.h"
#include "tests/support/FreshMain.h"
#include "tests/support/PreparedAnswers.h"
#include "tests/support/SettingsFolder.h"
#include "tests/support/qt_printers.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <QGuiApplication>
#include <QString>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <string>

/// A test of windows: a fresh application object with settings stores of its own.
class GuiTest : public testing::Test
{
protected:
    GuiTest()
    {
        copyBounded(m_run->company, L"Acme");
        copyBounded(m_run->softwareName, L"Print");
        standIns() = {};
        forgetExit();
    }

    /// Has something done as soon as events are processed.
    static void startOnce(QTimer &timer, const std::function<void()> &action)
    {
        timer.setSingleShot(true);
        QObject::connect(&timer, &QTimer::timeout, &timer, action);
        timer.start(0);
    }

    /// A window that ended an event loop which never ran would end the next one at once.
    static void forgetExit()
    {
        QTimer timer;
        startOnce(timer, [] { QCoreApplication::exit(0); });
        QCoreApplication::exec();
    }

    /// Stores the text of a resource identifier as an installation does.
    static void configure(const wchar_t *id, const std::wstring &text)
    {
        const std::wstring whole = id;
        const std::size_t first = whole.find(L';');
        const std::size_t second = whole.find(L';', first + 1);
        VrpsSetCompanyRegistryKey(whole.substr(0, first).c_str(),
                                  whole.substr(first + 1, second - first - 1).c_str(), text.c_str(), false);
    }

    static std::wstring userSetting(const wchar_t *name)
    {
        return VrpsGetCompanyRegistryKey(L"Settings", name, L"(absent)", true);
    }

    static void setUserSetting(const wchar_t *name, const wchar_t *value)
    {
        VrpsSetCompanyRegistryKey(L"Settings", name, value, true);
    }

    static bool onX11() { return QGuiApplication::platformName() == QLatin1String("xcb"); }

    SettingsFolder m_settings;
    FreshMain m_run;
};

/// Whether the window system shows a window, as another program sees it once all that was asked for has been
/// done.
[[nodiscard]] bool isOnScreen(const QWidget &window);

/// The widget of that name and kind; asking for one that does not exist ends the test program.
template <typename Widget>
Widget &child(const QObject &window, const char *name)
{
    auto *found = window.findChild<Widget *>(QLatin1String(name));
    if (!found) {
        qFatal("no widget of that kind is named %s", name);
    }
    return *found;
}
