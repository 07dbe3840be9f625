// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"

#include "tests/support/FreshMain.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

static_assert(std::has_virtual_destructor_v<VrpMain>);
static_assert(std::has_virtual_destructor_v<VrpLog>);

/// Whether all of these fields hold `capacity` characters, the terminator included.
template <std::size_t capacity, typename... Fields>
constexpr bool hold(Fields VrpMain::*.../*fields*/)
{
    return ((std::extent_v<Fields> == capacity) && ...);
}

static_assert(hold<2048>(&VrpMain::configFilePath, &VrpMain::installSourceDir, &VrpMain::uninstallPrgmOptions,
                         &VrpMain::printerHelp));
static_assert(hold<256>(&VrpMain::printerTitle, &VrpMain::monitorName, &VrpMain::monitorDll,
                        &VrpMain::monitorSrcDll, &VrpMain::serverLibraryFile, &VrpMain::printerName,
                        &VrpMain::printerPort, &VrpMain::printerDriver, &VrpMain::printProcessor,
                        &VrpMain::programName, &VrpMain::programSource, &VrpMain::company,
                        &VrpMain::softwareName, &VrpMain::copyright));
static_assert(hold<32>(&VrpMain::version));

TEST(ApplicationObject, is_the_same_one_everywhere)
{
    ASSERT_NE(VrpsGetMain(), nullptr);
    EXPECT_EQ(VrpsGetMain(), VrpsGetMain());
}

TEST(ApplicationObject, starts_with_nothing_chosen)
{
    const FreshMain main;
    for (const bool off : {main->silent, main->testMode, main->verbose, main->showConnectionErrors,
                           main->noConfirm, main->standardModeOffered, main->asyncModeOffered,
                           main->tunnelModeOffered, main->proxyDetectionDone, main->cancelled}) {
        EXPECT_FALSE(off);
    }
    EXPECT_TRUE(main->saveProxyPassword);
    EXPECT_TRUE(main->removeFile);
    EXPECT_EQ(main->runMode, 0);
    EXPECT_EQ(main->updateAnswer, 0);
    EXPECT_EQ(main->printMode, 0);
    EXPECT_EQ(main->proxyPort, 8080);
    EXPECT_EQ(main->configSettings, nullptr);
    EXPECT_EQ(main->messageWindow, nullptr);
    EXPECT_EQ(main->log.file, nullptr);
}

TEST(ApplicationObject, starts_with_empty_texts)
{
    const FreshMain main;
    for (const wchar_t *field :
         {main->configFilePath, main->installSourceDir, main->printerTitle, main->monitorName,
          main->monitorDll, main->monitorSrcDll, main->uninstallPrgmOptions, main->serverLibraryFile,
          main->printerName, main->printerPort, main->printerDriver, main->printProcessor, main->printerHelp,
          main->programName, main->programSource, main->company, main->softwareName, main->copyright,
          main->version}) {
        EXPECT_STREQ(field, L"");
    }
    for (const std::wstring &text :
         {main->programDir, main->service, main->ident, main->password, main->proxyServer, main->proxyUser,
          main->proxyPassword, main->socketLogFile, main->messageText, main->log.fileName}) {
        EXPECT_EQ(text, L"");
    }
    EXPECT_TRUE(main->arguments.empty());
    EXPECT_TRUE(main->services.empty());
}

} // namespace
