// SPDX-License-Identifier: MIT
#include "vrp/server/command_channel.h"

#include "vrp/core/VrpMain.h"
#include "vrp/platform/text.h"
#include "vrp/server/library_call.h"
#include "vrp/server/masking.h"
#include "vrp/server/server_error.h"
#include "vrp/ui/message_boxes.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int errorInfoBytes = 4096;
constexpr int bytesPerCharacter = 4; ///< the longest UTF-8 sequence

/// The caller's buffer for a result, which may be none.
struct ResultBuffer
{
    wchar_t *text;
    int capacity; ///< characters, terminator included

    [[nodiscard]] bool wanted() const { return text != nullptr && capacity > 0; }

    [[nodiscard]] int bytes() const { return wanted() ? bytesPerCharacter * capacity : 0; }
};

/// Hands the result to the caller; one that is longer than the buffer is cut.
void copyToCaller(const std::wstring &result, const ResultBuffer &buffer)
{
    if (!buffer.wanted()) {
        return;
    }
    const std::size_t length = std::min(result.size(), static_cast<std::size_t>(buffer.capacity) - 1);
    std::copy_n(result.data(), length, buffer.text);
    buffer.text[length] = L'\0';
}

struct ErrorTriple
{
    std::wstring service;
    std::wstring errorClass;
    std::wstring code;
};

ErrorTriple askErrorTriple(void *request)
{
    ErrorTriple triple;
    triple.service = askErrorInfo(request, L"SERVICE", errorInfoBytes);
    triple.errorClass = askErrorInfo(request, L"CLASS", errorInfoBytes);
    triple.code = askErrorInfo(request, L"CODE", errorInfoBytes);
    return triple;
}

/// The report of a failed command; the code, the description and the further information are asked for it.
std::wstring errorReport(void *request, const ErrorTriple &triple)
{
    std::wstring report = L"Varek error: " + errorKeyword(triple.service) + L":";
    report += errorKeyword(triple.errorClass) + L":";
    report += askErrorInfo(request, L"CODE", errorInfoBytes) + L":";
    report += askErrorInfo(request, L"DESCRIPTION", errorInfoBytes) + L":";
    report += askErrorInfo(request, L"INFO", errorInfoBytes) + L":";
    return report;
}

void reportFailure(void *request, const ErrorTriple &triple)
{
    VrpMain &main = *VrpsGetMain();
    main.log.WriteLn(L" - Error");
    const std::wstring report = errorReport(request, triple);
    if (main.verbose && !main.silent) {
        VrpsMessageBox(report.c_str(), iconCritical, buttonOk);
    }
    main.log.WriteLn(escapeControls(maskCommand(report)).c_str());
}

// An upload has four commands for each block of 64 KiB: nothing is masked for a log that nobody wants.

void logCommand(const std::wstring &command)
{
    VrpLog &log = VrpsGetMain()->log;
    if (log.isWanted()) {
        log.Write((L"Varek command: " + escapeControls(maskCommand(command))).c_str());
    }
}

void logResult(const std::wstring &command, const std::wstring &result)
{
    VrpLog &log = VrpsGetMain()->log;
    if (log.isWanted()) {
        log.WriteLn((L" - Result buffer: " + escapeControls(maskResult(command, result))).c_str());
    }
}

} // namespace

int VrpsVrCommand(void *request, const std::wstring &command, wchar_t *result, int resultCapacity, int *extra)
{
    logCommand(command);
    const ResultBuffer buffer{result, resultCapacity};
    const std::string utf8Command = wtoUTF8(command);
    for (bool retried = false;; retried = true) {
        const auto [status, text] = callLibrary(request, utf8Command, buffer.bytes(), extra);
        copyToCaller(text, buffer);
        if (status == commandSucceeded) {
            logResult(command, text);
            return status;
        }
        const ErrorTriple triple = askErrorTriple(request);
        const ServerError error = classifyServerError(triple.service, triple.errorClass, triple.code);
        if (error != ServerError::network || retried) {
            reportFailure(request, triple);
            return status;
        }
        VrpsGetMain()->log.WriteLn(L"Network error - retrying...");
    }
}
