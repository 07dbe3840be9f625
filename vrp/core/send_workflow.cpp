// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/files.h"
#include "vrp/platform/keyword.h"
#include "vrp/platform/text.h"
#include "vrp/server/directory_parameters.h"
#include "vrp/server/portal.h"
#include "vrp/server/upload.h"
#include "vrp/server/version_check.h"
#include "vrp/settings/installed_printer.h"
#include "vrp/ui/credentials.h"
#include "vrp/ui/error_report.h"

#include <algorithm>

namespace {

constexpr char testDocument[] = "Varek virtual printer test file";

/// The options of a send. The number of copies is read, but no server is told it.
struct SendArguments
{
    std::wstring printerName;
    std::wstring documentName;
    int copies = 0;
    std::wstring file;
    std::wstring machineName;
    std::wstring userName;
};

/// A document to send, and whether this run has made it up.
struct Document
{
    std::wstring file;
    bool generated = false;
};

void logArgument(const std::wstring &argument)
{
    VrpLog &log = VrpsGetMain()->log;
    log.Write(L"\t");
    log.WriteLn(argument.c_str());
}

/// Stores an option's value; false for what is no option with a value.
bool takeOption(const std::wstring &option, const std::wstring &value, SendArguments &arguments)
{
    if (option == L"-p") {
        arguments.printerName = value;
    } else if (option == L"-d") {
        arguments.documentName = value;
    } else if (option == L"-n") {
        arguments.copies = std::max(decimalPrefix(value), 0);
    } else if (option == L"-f") {
        arguments.file = value;
    } else if (option == L"-c") {
        arguments.machineName = value;
    } else if (option == L"-u") {
        arguments.userName = value;
    } else {
        return false;
    }
    return true;
}

SendArguments readArguments(const std::vector<std::wstring> &words)
{
    SendArguments arguments;
    for (std::size_t index = 0; index < words.size(); ++index) {
        logArgument(words[index]);
        if (index + 1 < words.size() && takeOption(words[index], words[index + 1], arguments)) {
            ++index;
            logArgument(words[index]);
        }
    }
    return arguments;
}

int refuse(const wchar_t *messageId, const wchar_t *logText)
{
    reportError(messageId);
    VrpsGetMain()->log.WriteLn(logText);
    return 1;
}

Document chooseDocument(const std::wstring &given)
{
    if (!VrpsGetMain()->testMode || !given.empty()) {
        return {given, false};
    }
    const std::wstring file = VrpsGetTempPath() + L"/vrptmp.txt";
    // A failure is not reported here: the upload reports the missing file.
    writeFile(file, testDocument);
    return {file, true};
}

/// Only where both servers take it.
bool singleSignOn(ParameterMap &parameters)
{
    return isYes(parameters[L"SERVER_UPLOAD_SSO"]) && isYes(parameters[L"SERVER_PORTAL_SSO"]);
}

int getCredentials(ParameterMap &parameters)
{
    VrpMain &main = *VrpsGetMain();
    main.ident.clear();
    main.password.clear();
    if (singleSignOn(parameters)) {
        return 0;
    }
    main.log.WriteLn(L"Get user credentials");
    return VrpsGetIdentPassword();
}

/// The steps up to the upload. A failed upload has no line of its own here.
int sendDocument(const SendArguments &arguments, const Document &document, ParameterMap &parameters,
                 std::wstring &fileId)
{
    VrpLog &log = VrpsGetMain()->log;
    log.WriteLn(L"Get parameters from server directory");
    if (const int result = VrpsGetParametersFromServerDirectory(parameters)) {
        return result;
    }
    log.WriteLn(L"Check version");
    if (const int result = VrpsCheckVersion(parameters)) {
        return result;
    }
    if (const int result = getCredentials(parameters)) {
        return result;
    }
    log.WriteLn(L"Send file");
    return VrpsSendFile(document.file, arguments.printerName, arguments.documentName, arguments.machineName,
                        arguments.userName, parameters, fileId);
}

int openPortal(ParameterMap &parameters, std::wstring &fileId)
{
    VrpMain &main = *VrpsGetMain();
    if (main.printMode != printModeStandard || main.runMode == runTest) {
        return 0;
    }
    main.log.WriteLn(L"Open portal");
    return VrpsOpenPortal(parameters, fileId);
}

void removeIf(bool condition, const Document &document)
{
    if (condition && VrpsGetMain()->removeFile) {
        VrpsRemoveFile(document.file);
    }
}

/// Sends the document and removes it. A document that was named in a test mode is never removed, except when
/// the portal cannot be opened: then the mode does not count.
int sendAndRemove(const SendArguments &arguments, const Document &document)
{
    VrpMain &main = *VrpsGetMain();
    ParameterMap parameters;
    std::wstring fileId;
    const bool disposable = !main.testMode || document.generated;
    if (const int result = sendDocument(arguments, document, parameters, fileId)) {
        removeIf(disposable, document);
        return result;
    }
    main.log.WriteLn(L"File has been sent to the upload server");
    const int result = openPortal(parameters, fileId);
    removeIf(result != 0 || disposable, document);
    return result;
}

} // namespace

int VrpMain::DoSend()
{
    log.WriteLn(L"Mode=Send");
    log.WriteLn(L"Arguments:");
    const SendArguments sendArguments = readArguments(arguments);
    if (sendArguments.printerName.empty()) {
        return refuse(resource::errorsNoPrinterName, L"Error: No printer name given");
    }
    if (!selectPrinter(sendArguments.printerName)) {
        return refuse(resource::errorsPrinterNotInstalled, L"Error: Printer not installed");
    }
    const Document document = chooseDocument(sendArguments.file);
    if (document.file.empty()) {
        return refuse(resource::errorsNoFileName, L"Error: No file name");
    }
    return sendAndRemove(sendArguments, document);
}
