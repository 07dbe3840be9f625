// SPDX-License-Identifier: MIT
#pragma once

/// The complete table of resource identifiers with their default texts. Keys and texts keep their spelling
/// ("Widht" among them), since installed configuration files use them.
namespace resource {

// clang-format off

// Software
inline constexpr wchar_t softwareName[] = L"Software;Name;VarekPrint";
inline constexpr wchar_t softwareCompany[] = L"Software;Company;Varek Systems";
inline constexpr wchar_t softwareCopyright[] = L"Software;Copyright;Copyright (c) 2026 the Varek Print authors";
inline constexpr wchar_t softwareVersion[] = L"Software;Version;1.00.000";
inline constexpr wchar_t softwareLanguage[] = L"Software;Language;English";

// Printer
inline constexpr wchar_t printerTitle[] = L"Printer;Title;Varek Printer";
inline constexpr wchar_t printerName[] = L"Printer;Name;Varek";
inline constexpr wchar_t printerPort[] = L"Printer;Port;VAREK:";
inline constexpr wchar_t printerMonitor[] = L"Printer;Monitor;Varek";
inline constexpr wchar_t printerDriver[] = L"Printer;Driver;HP C LaserJet 4500-PS";
inline constexpr wchar_t printerProcessor[] = L"Printer;Processor;WinPrint";
inline constexpr wchar_t printerPrgm[] = L"Printer;Prgm;vrp.exe";
inline constexpr wchar_t printerHelp[] = L"Printer;Help;";

// Setup
inline constexpr wchar_t setupMonitorDll[] = L"Setup;MonitorDll;vrvpsp.dll";
inline constexpr wchar_t setupUninstallPrgmOptions[] = L"Setup;UninstallPrgmOptions;-m uninstall";
inline constexpr wchar_t setupIntroUninstall[] = L"Setup;IntroUninstall;Do you want to remove the Varek printer ?";
inline constexpr wchar_t setupUninstallOk[] = L"Setup;UninstallOk;The Varek printer has been removed";
inline constexpr wchar_t setupMonitorSrcDll[] = L"Setup;MonitorSrcDll;vrvpsp.dll";
inline constexpr wchar_t setupVarekDll[] = L"Setup;VarekDll;vrc.dll";
inline constexpr wchar_t setupPrgmSrc[] = L"Setup;PrgmSrc;vrp.exe";
inline constexpr wchar_t setupIntroInstall[] = L"Setup;IntroInstall;Do you want to install the Varek printer ?";
inline constexpr wchar_t setupInstallOk[] = L"Setup;InstallOk;Installation successful.";

// SetupErrors
inline constexpr wchar_t setupErrorsAlreadyInstalled[] = L"SetupErrors;AlreadyInstalled;Varek printer is already installed.";
inline constexpr wchar_t setupErrorsPrinterInUse[] = L"SetupErrors;PrinterInUse;The printer is still in use. Cannot remove it.";
inline constexpr wchar_t setupErrorsNoSysDir[] = L"SetupErrors;NoSysDir;Can't find system directory. Error = %d.";
inline constexpr wchar_t setupErrorsEnumMonitorsFailed[] = L"SetupErrors;EnumMonitorsFailed;EnumMonitors() failed. Error = %d.";
inline constexpr wchar_t setupErrorsAddMonitorFailed[] = L"SetupErrors;AddMonitorFailed;AddMonitor() failed. Error = %d. ";
inline constexpr wchar_t setupErrorsAddPortFailed[] = L"SetupErrors;AddPortFailed;AddPort failed. Error = %d.";
inline constexpr wchar_t setupErrorsAddPrinterFailed[] = L"SetupErrors;AddPrinterFailed;AddPrinter() failed. Error = %d.";
inline constexpr wchar_t setupErrorsGetPrinterInfoFailed[] = L"SetupErrors;GetPrinterInfoFailed;Can't get printer information. Error = %d.";
inline constexpr wchar_t setupErrorsDeletePrinterFailed[] = L"SetupErrors;DeletePrinterFailed;Can't delete printer. Error = %d.";
inline constexpr wchar_t setupErrorsDeletePortFailed[] = L"SetupErrors;DeletePortFailed;Can't delete port. Error = %d.";
inline constexpr wchar_t setupErrorsDeleteMonitorFailed[] = L"SetupErrors;DeleteMonitorFailed;DeleteMonitor() failed. Error = %d.";
inline constexpr wchar_t setupErrorsErrorCopyFile[] = L"SetupErrors;ErrorCopyFile;Error copying file. Error = %d.";
inline constexpr wchar_t setupErrorsErrorDeleteMonitorDll[] = L"SetupErrors;ErrorDeleteMonitorDll;Can't delete monitor DLL. Error = %d.";
inline constexpr wchar_t setupErrorsRegCreateKeyFailed[] = L"SetupErrors;RegCreateKeyFailed;RegCreateKey failed. Error = %d.";
inline constexpr wchar_t setupErrorsRegOpenKeyFailed[] = L"SetupErrors;RegOpenKeyFailed;RegOpenKey failed. Error = %d.";
inline constexpr wchar_t setupErrorsRegSetValueFailed[] = L"SetupErrors;RegSetValueFailed;RegSetValue failed. Error = %d.";

// Errors
inline constexpr wchar_t errorsNoPrinterName[] = L"Errors;NoPrinterName;No printer name given.";
inline constexpr wchar_t errorsNoFileName[] = L"Errors;NoFileName;No file name given.";
inline constexpr wchar_t errorsBadFile[] = L"Errors;BadFile;Bad file.";
inline constexpr wchar_t errorsErrorProcessingFile[] = L"Errors;ErrorProcessingFile;Error processing sent file.";
inline constexpr wchar_t errorsErrorNoFileIdent[] = L"Errors;ErrorNoFileIdent;Cannot get the file identifier.";
inline constexpr wchar_t errorsErrorSendingFile[] = L"Errors;ErrorSendingFile;Error sending file to server.";
inline constexpr wchar_t errorsPrinterNotInstalled[] = L"Errors;PrinterNotInstalled;The printer is not installed correctly.";
inline constexpr wchar_t errorsCannotConnectServer[] = L"Errors;CannotConnectServer;Cannot connect the server.";
inline constexpr wchar_t errorsCannotGetDirectoryParameters[] = L"Errors;CannotGetDirectoryParameters;Cannot get parameters from directory the server.";
inline constexpr wchar_t errorsCannotGetDefaultBrowser[] = L"Errors;CannotGetDefaultBrowser;Cannot get the default browser path.";
inline constexpr wchar_t errorsCannotGetUserContext[] = L"Errors;CannotGetUserContext;Cannot get the user context.";
inline constexpr wchar_t errorsCannotRunBrowser[] = L"Errors;CannotRunBrowser;Cannot run the browser.";
inline constexpr wchar_t errorsNotAuthorized[] = L"Errors;NotAuthorized;You are not authorized to perform the operation.";
inline constexpr wchar_t errorsNoTunnelServiceProfile[] = L"Errors;NoTunnelServiceProfile;No service name or profile has been defined for the tunnel mode.";
inline constexpr wchar_t errorsInvalidFileFormat[] = L"Errors;InvalidFileFormat;Invalid format file.";
inline constexpr wchar_t errorsBadUser[] = L"Errors;BadUser;Bad user name.";
inline constexpr wchar_t errorsBadPassword[] = L"Errors;BadPassword;Bad password.";
inline constexpr wchar_t errorsOperationCanceled[] = L"Errors;OperationCanceled;Operation canceled by user.";

// MessageWindow
inline constexpr wchar_t messageWindowTitle[] = L"MessageWindow;Title;Varek print on demand";
inline constexpr wchar_t messageWindowBackgroundColor[] = L"MessageWindow;BackgroundColor;255,255,255";
inline constexpr wchar_t messageWindowPosition[] = L"MessageWindow;Position;50,50";
inline constexpr wchar_t messageWindowWidht[] = L"MessageWindow;Widht;450";
inline constexpr wchar_t messageWindowHeight[] = L"MessageWindow;Height;70";
inline constexpr wchar_t messageWindowBitmap1File[] = L"MessageWindow;Bitmap1File;";
inline constexpr wchar_t messageWindowBitmap1Position[] = L"MessageWindow;Bitmap1Position;0,0";
inline constexpr wchar_t messageWindowBitmap2File[] = L"MessageWindow;Bitmap2File;";
inline constexpr wchar_t messageWindowBitmap2Position[] = L"MessageWindow;Bitmap2Position;0,0";
inline constexpr wchar_t messageWindowBitmap3File[] = L"MessageWindow;Bitmap3File;";
inline constexpr wchar_t messageWindowBitmap3Position[] = L"MessageWindow;Bitmap3Position;0,0";
inline constexpr wchar_t messageWindowBitmapCancelFile[] = L"MessageWindow;BitmapCancelFile;";
inline constexpr wchar_t messageWindowBitmapCancelPosition[] = L"MessageWindow;BitmapCancelPosition;0,0";
inline constexpr wchar_t messageWindowBitmapCancelSFile[] = L"MessageWindow;BitmapCancelSFile;";
inline constexpr wchar_t messageWindowTextPosition[] = L"MessageWindow;TextPosition;10,10";
inline constexpr wchar_t messageWindowTextColor[] = L"MessageWindow;TextColor;0,0,0";
inline constexpr wchar_t messageWindowTextBackgroundColor[] = L"MessageWindow;TextBackgroundColor;255,255,255";
inline constexpr wchar_t messageWindowFont[] = L"MessageWindow;Font;Arial";
inline constexpr wchar_t messageWindowFontSize[] = L"MessageWindow;FontSize;20";
inline constexpr wchar_t messageWindowBold[] = L"MessageWindow;Bold;No";
inline constexpr wchar_t messageWindowBorder[] = L"MessageWindow;Border;Yes";
inline constexpr wchar_t messageWindowCaption[] = L"MessageWindow;Caption;Yes";

// Messages
inline constexpr wchar_t messagesConnectingDirectory[] = L"Messages;ConnectingDirectory;Connecting the directory...";
inline constexpr wchar_t messagesGetDirectoryParam[] = L"Messages;GetDirectoryParam;Getting directory parameters...";
inline constexpr wchar_t messagesConnectingServer[] = L"Messages;ConnectingServer;Connecting the server...";
inline constexpr wchar_t messagesCheckingSecurity[] = L"Messages;CheckingSecurity;Checking security...";
inline constexpr wchar_t messagesSendingFile[] = L"Messages;SendingFile;Sending file...";
inline constexpr wchar_t messagesProcessingFile[] = L"Messages;ProcessingFile;Processing file...";
inline constexpr wchar_t messagesOpeningBrowser[] = L"Messages;OpeningBrowser;Opening browser...";

// DlgIdent
inline constexpr wchar_t dlgIdentTitle[] = L"DlgIdent;Title;Varek print - identifier";
inline constexpr wchar_t dlgIdentIdentText[] = L"DlgIdent;IdentText;Identifier:";
inline constexpr wchar_t dlgIdentPasswordText[] = L"DlgIdent;PasswordText;Password:";
inline constexpr wchar_t dlgIdentKeepIdentText[] = L"DlgIdent;KeepIdentText;Keep password for next connection";
inline constexpr wchar_t dlgIdentOkText[] = L"DlgIdent;OkText;Ok";
inline constexpr wchar_t dlgIdentHelpText[] = L"DlgIdent;HelpText;Help";
inline constexpr wchar_t dlgIdentCancelText[] = L"DlgIdent;CancelText;Cancel";
inline constexpr wchar_t dlgIdentPosition[] = L"DlgIdent;Position;20,20";

// DlgProxy
inline constexpr wchar_t dlgProxyTitle[] = L"DlgProxy;Title;Varek print - proxy";
inline constexpr wchar_t dlgProxyUserText[] = L"DlgProxy;UserText;Proxy user:";
inline constexpr wchar_t dlgProxyPasswordText[] = L"DlgProxy;PasswordText;Proxy password:";
inline constexpr wchar_t dlgProxyKeepPasswordText[] = L"DlgProxy;KeepPasswordText;Keep password for next connection";
inline constexpr wchar_t dlgProxyOkText[] = L"DlgProxy;OkText;Ok";
inline constexpr wchar_t dlgProxyHelpText[] = L"DlgProxy;HelpText;Help";
inline constexpr wchar_t dlgProxyCancelText[] = L"DlgProxy;CancelText;Cancel";
inline constexpr wchar_t dlgProxyPosition[] = L"DlgProxy;Position;20,20";

// DlgUpdate
inline constexpr wchar_t dlgUpdateTitle[] = L"DlgUpdate;Title;Varek print - update";
inline constexpr wchar_t dlgUpdateMessageText[] = L"DlgUpdate;MessageText;A new version of the printer has been detected.\nDo you want to upgrade it now ?";
inline constexpr wchar_t dlgUpdateYesText[] = L"DlgUpdate;YesText;Yes";
inline constexpr wchar_t dlgUpdateNoText[] = L"DlgUpdate;NoText;No";
inline constexpr wchar_t dlgUpdateCancelText[] = L"DlgUpdate;CancelText;Cancel";
inline constexpr wchar_t dlgUpdatePosition[] = L"DlgUpdate;Position;20,20";

// DlgPrintMode
inline constexpr wchar_t dlgPrintModeTitle[] = L"DlgPrintMode;Title;Varek print - mode";
inline constexpr wchar_t dlgPrintModeChooseText[] = L"DlgPrintMode;ChooseText;Please choose the print mode:";
inline constexpr wchar_t dlgPrintModeStandard[] = L"DlgPrintMode;Standard;Standard";
inline constexpr wchar_t dlgPrintModeStandardText[] = L"DlgPrintMode;StandardText;Sends your file to the server and then opens your browser to adjust parameters.";
inline constexpr wchar_t dlgPrintModeAsync[] = L"DlgPrintMode;Async;Asynchronous";
inline constexpr wchar_t dlgPrintModeAsyncText[] = L"DlgPrintMode;AsyncText;Sends your file to the server and let you manually open your browser to adjust parameters.";
inline constexpr wchar_t dlgPrintModeTunnel[] = L"DlgPrintMode;Tunnel;Tunnel";
inline constexpr wchar_t dlgPrintModeTunnelText[] = L"DlgPrintMode;TunnelText;Sends your file to the server. The parameters are then automatically adjusted by the server.";
inline constexpr wchar_t dlgPrintModeOkText[] = L"DlgPrintMode;OkText;Ok";
inline constexpr wchar_t dlgPrintModeHelpText[] = L"DlgPrintMode;HelpText;Help";
inline constexpr wchar_t dlgPrintModeCancelText[] = L"DlgPrintMode;CancelText;Cancel";
inline constexpr wchar_t dlgPrintModePosition[] = L"DlgPrintMode;Position;20,20";

// DlgService
inline constexpr wchar_t dlgServiceTitle[] = L"DlgService;Title;Varek print - service";
inline constexpr wchar_t dlgServiceChooseText[] = L"DlgService;ChooseText;Please choose the service:";
inline constexpr wchar_t dlgServiceOkText[] = L"DlgService;OkText;Ok";
inline constexpr wchar_t dlgServiceHelpText[] = L"DlgService;HelpText;Help";
inline constexpr wchar_t dlgServiceCancelText[] = L"DlgService;CancelText;Cancel";
inline constexpr wchar_t dlgServicePosition[] = L"DlgService;Position;20,20";

// DlgConfig
inline constexpr wchar_t dlgConfigTitle[] = L"DlgConfig;Title;Varek print - configuration";
inline constexpr wchar_t dlgConfigDirectoryText[] = L"DlgConfig;DirectoryText;Directory service:";
inline constexpr wchar_t dlgConfigProxyServerText[] = L"DlgConfig;ProxyServerText;Proxy server:";
inline constexpr wchar_t dlgConfigProxyPortText[] = L"DlgConfig;ProxyPortText;Port:";
inline constexpr wchar_t dlgConfigCheckVersionText[] = L"DlgConfig;CheckVersionText;Enable version checking";
inline constexpr wchar_t dlgConfigUnsavePasswordText[] = L"DlgConfig;UnsavePasswordText;Unsave identifier and password";
inline constexpr wchar_t dlgConfigUnsaveProxyPasswordText[] = L"DlgConfig;UnsaveProxyPasswordText;Unsave proxy user and password";
inline constexpr wchar_t dlgConfigVersionText[] = L"DlgConfig;VersionText;Version:";
inline constexpr wchar_t dlgConfigOkText[] = L"DlgConfig;OkText;Ok";
inline constexpr wchar_t dlgConfigHelpText[] = L"DlgConfig;HelpText;Help";
inline constexpr wchar_t dlgConfigCancelText[] = L"DlgConfig;CancelText;Cancel";
inline constexpr wchar_t dlgConfigPosition[] = L"DlgConfig;Position;20,20";

// Help
inline constexpr wchar_t helpMain[] = L"Help;Main;";
inline constexpr wchar_t helpDlgIdent[] = L"Help;DlgIdent;";
inline constexpr wchar_t helpDlgProxy[] = L"Help;DlgProxy;";
inline constexpr wchar_t helpDlgPrintMode[] = L"Help;DlgPrintMode;";
inline constexpr wchar_t helpDlgService[] = L"Help;DlgService;";
inline constexpr wchar_t helpDlgConfig[] = L"Help;DlgConfig;";

// clang-format on

/// What installation copies into the machine-wide store, in this order.
inline constexpr const wchar_t *installed[] = {
    softwareName,
    softwareCompany,
    softwareCopyright,
    softwareVersion,
    softwareLanguage,
    printerTitle,
    printerName,
    printerPort,
    printerMonitor,
    printerDriver,
    printerProcessor,
    printerPrgm,
    printerHelp,
    setupMonitorDll,
    setupUninstallPrgmOptions,
    setupIntroUninstall,
    setupUninstallOk,
    setupErrorsAlreadyInstalled,
    setupErrorsPrinterInUse,
    setupErrorsNoSysDir,
    setupErrorsEnumMonitorsFailed,
    setupErrorsAddMonitorFailed,
    setupErrorsAddPortFailed,
    setupErrorsAddPrinterFailed,
    setupErrorsGetPrinterInfoFailed,
    setupErrorsDeletePrinterFailed,
    setupErrorsDeletePortFailed,
    setupErrorsDeleteMonitorFailed,
    setupErrorsErrorCopyFile,
    setupErrorsErrorDeleteMonitorDll,
    setupErrorsRegCreateKeyFailed,
    setupErrorsRegOpenKeyFailed,
    setupErrorsRegSetValueFailed,
    errorsNoPrinterName,
    errorsNoFileName,
    errorsBadFile,
    errorsErrorProcessingFile,
    errorsErrorNoFileIdent,
    errorsErrorSendingFile,
    errorsPrinterNotInstalled,
    errorsCannotConnectServer,
    errorsCannotGetDirectoryParameters,
    errorsCannotGetDefaultBrowser,
    errorsCannotGetUserContext,
    errorsCannotRunBrowser,
    errorsNotAuthorized,
    errorsNoTunnelServiceProfile,
    errorsInvalidFileFormat,
    errorsBadUser,
    errorsBadPassword,
    errorsOperationCanceled,
    messageWindowTitle,
    messageWindowBackgroundColor,
    messageWindowPosition,
    messageWindowWidht,
    messageWindowHeight,
    messageWindowBitmap1File,
    messageWindowBitmap1Position,
    messageWindowBitmap2File,
    messageWindowBitmap2Position,
    messageWindowBitmap3File,
    messageWindowBitmap3Position,
    messageWindowBitmapCancelFile,
    messageWindowBitmapCancelPosition,
    messageWindowBitmapCancelSFile,
    messageWindowTextPosition,
    messageWindowTextColor,
    messageWindowTextBackgroundColor,
    messageWindowFont,
    messageWindowFontSize,
    messageWindowBold,
    messageWindowBorder,
    messageWindowCaption,
    messagesConnectingDirectory,
    messagesGetDirectoryParam,
    messagesConnectingServer,
    messagesCheckingSecurity,
    messagesSendingFile,
    messagesProcessingFile,
    messagesOpeningBrowser,
    dlgIdentTitle,
    dlgIdentIdentText,
    dlgIdentPasswordText,
    dlgIdentKeepIdentText,
    dlgIdentOkText,
    dlgIdentHelpText,
    dlgIdentCancelText,
    dlgIdentPosition,
    dlgProxyTitle,
    dlgProxyUserText,
    dlgProxyPasswordText,
    dlgProxyKeepPasswordText,
    dlgProxyOkText,
    dlgProxyHelpText,
    dlgProxyCancelText,
    dlgProxyPosition,
    dlgUpdateTitle,
    dlgUpdateMessageText,
    dlgUpdateYesText,
    dlgUpdateNoText,
    dlgUpdateCancelText,
    dlgUpdatePosition,
    dlgPrintModeTitle,
    dlgPrintModeChooseText,
    dlgPrintModeStandard,
    dlgPrintModeStandardText,
    dlgPrintModeAsync,
    dlgPrintModeAsyncText,
    dlgPrintModeTunnel,
    dlgPrintModeTunnelText,
    dlgPrintModeOkText,
    dlgPrintModeHelpText,
    dlgPrintModeCancelText,
    dlgPrintModePosition,
    dlgServiceTitle,
    dlgServiceChooseText,
    dlgServiceOkText,
    dlgServiceHelpText,
    dlgServiceCancelText,
    dlgServicePosition,
    dlgConfigTitle,
    dlgConfigDirectoryText,
    dlgConfigProxyServerText,
    dlgConfigProxyPortText,
    dlgConfigCheckVersionText,
    dlgConfigUnsavePasswordText,
    dlgConfigUnsaveProxyPasswordText,
    dlgConfigVersionText,
    dlgConfigOkText,
    dlgConfigHelpText,
    dlgConfigCancelText,
    dlgConfigPosition,
    helpMain,
    helpDlgIdent,
    helpDlgProxy,
    helpDlgPrintMode,
    helpDlgService,
    helpDlgConfig,
};

/// Behind this entry installation also stores the installation directory.
inline constexpr const wchar_t *beforeInstallDir = printerHelp;

} // namespace resource
