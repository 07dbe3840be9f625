// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/core/VrpLog.h"
#include "vrp/platform/default_ports.h"

#include <string>
#include <vector>

class MessageWindow;
class QSettings;

/// Run modes, as stored in VrpMain::runMode.
enum RunMode
{
    runNone = 0,
    runInstall = 1,
    runUninstall = 2,
    runConfigure = 3,
    runSend = 4,
    runHelp = 5,
    runVersion = 6,
    runTest = 7,
    runTestWithPortal = 8,
};

/// Print modes, as stored in VrpMain::printMode: distinct bits, 0 for none chosen.
enum PrintMode
{
    printModeNone = 0,
    printModeStandard = 1,
    printModeAsync = 2,
    printModeTunnel = 4,
};

/// Answers to the update prompt, as stored in VrpMain::updateAnswer.
enum UpdateAnswer
{
    updateNo = 0,
    updateYes = 1,
    updateCancel = 2,
};

/// The application object: the state of one run. Exactly one exists, built before main; VrpsGetMain reaches
/// it.
class VrpMain
{
public:
    VrpMain() = default;
    virtual ~VrpMain();
    VrpMain(const VrpMain &) = delete;
    VrpMain &operator=(const VrpMain &) = delete;

    /// Takes the command line apart, sets the general options and the run mode, removes the previous log.
    void Init(int argc, char **argv);

    // Run modes: true, or exit status 0, for success.
    bool Install();
    bool Uninstall();
    bool Help();
    bool Version();
    int Configure();
    int Send();

    /// Finds the printer that a send names: 0 when sending may go on, 1 otherwise.
    int InitSend();

    /// The send workflow: 0 for success, otherwise the failing operation's code.
    int DoSend();

    void Cleanup();

    bool silent = false;                  ///< "-s": no error boxes; forces noConfirm
    bool testMode = false;                ///< the run mode is test or testb
    bool verbose = false;                 ///< "-v": every failed command is shown, unless silent
    bool showConnectionErrors = false;    ///< "-b": every failed connection is shown
    bool noConfirm = false;               ///< "-g" or "-s": install and uninstall ask nothing
    std::wstring programDir;              ///< folder of the executable, without a trailing "/"
    wchar_t configFilePath[2048] = L"";   ///< of the resource texts; empty: the settings store has them
    wchar_t installSourceDir[2048] = L""; ///< installation directory ("-d" of install mode)
    wchar_t printerTitle[256] = L"";
    wchar_t monitorName[256] = L"";
    wchar_t monitorDll[256] = L"";
    wchar_t monitorSrcDll[256] = L"";
    wchar_t uninstallPrgmOptions[2048] = L"";
    wchar_t serverLibraryFile[256] = L"";
    wchar_t printerName[256] = L"";
    wchar_t printerPort[256] = L"";
    wchar_t printerDriver[256] = L"";
    wchar_t printProcessor[256] = L"";
    wchar_t printerHelp[2048] = L"";
    wchar_t programName[256] = L"";
    wchar_t programSource[256] = L"";
    wchar_t company[256] = L"";      ///< organisation name of the settings store
    wchar_t softwareName[256] = L""; ///< application name of the settings store
    wchar_t copyright[256] = L"";
    wchar_t version[32] = L"";
    std::vector<std::wstring> arguments; ///< the split command line; element 0 is the program
    int runMode = runNone;
    int updateAnswer = updateNo;
    int printMode = printModeNone;
    std::wstring service; ///< chosen tunnel service
    bool standardModeOffered = false;
    bool asyncModeOffered = false;
    bool tunnelModeOffered = false;
    std::wstring ident;    ///< identifier for the upload server
    std::wstring password; ///< its password, in clear
    std::wstring proxyServer;
    int proxyPort = defaultProxyPort;
    std::wstring proxyUser;
    std::wstring proxyPassword; ///< in clear
    bool saveProxyPassword = true;
    bool proxyDetectionDone = false;    ///< the system was asked for its proxy in this run
    std::wstring socketLogFile;         ///< second half of "-l"
    std::vector<std::wstring> services; ///< tunnel services that the server offers
    bool cancelled = false;             ///< the user pressed cancel in the progress window
    std::wstring messageText;           ///< text that the progress window shows
    VrpLog log;
    QSettings *configSettings = nullptr;    ///< opened on configFilePath at first use; Cleanup deletes it
    MessageWindow *messageWindow = nullptr; ///< the progress window of the send modes
    bool removeFile = true;                 ///< "-k" clears it: the document is deleted after the send
};

VrpMain *VrpsGetMain();
