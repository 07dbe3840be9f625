// SPDX-License-Identifier: MIT
#include "vrp/settings/store_access.h"

#include <QStringList>
#include <QVariant>

#include <gtest/gtest.h>

namespace {

TEST(MachineWideFolder, is_the_usual_one_when_it_is_listed_or_nothing_is)
{
    for (const char *dirs : {"", "/etc/xdg", "/etc/xdg/xdg-plasma:/etc/xdg", "/usr/share/desktop:/etc/xdg/",
                             ":", "relative", "relative:"}) {
        EXPECT_EQ(machineWideStoreFolder(QString::fromUtf8(dirs)).toStdString(), "/etc/xdg") << dirs;
    }
}

TEST(MachineWideFolder, is_the_first_one_listed_otherwise)
{
    EXPECT_EQ(machineWideStoreFolder(QStringLiteral("/tmp/a:/tmp/b")).toStdString(), "/tmp/a");
    EXPECT_EQ(machineWideStoreFolder(QStringLiteral("relative:/tmp/b/")).toStdString(), "/tmp/b");
}

TEST(SettingText, joins_lists_and_takes_everything_else_as_text)
{
    EXPECT_EQ(settingText(QStringLiteral("a,b")), L"a,b");
    EXPECT_EQ(settingText(QStringList{QStringLiteral("20"), QStringLiteral("20")}), L"20, 20");
    EXPECT_EQ(settingText(QVariantList{QStringLiteral("a"), 2}), L"a, 2");
    EXPECT_EQ(settingText(QVariant()), L"");
    EXPECT_EQ(settingText(7), L"7");
}

} // namespace
