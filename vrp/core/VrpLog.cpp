// SPDX-License-Identifier: MIT
#include "vrp/core/VrpLog.h"

#include "vrp/core/PrivateFiles.h"
#include "vrp/core/utf8_codec.h"
#include "vrp/platform/files.h"

#include <QFile>
#include <QTextStream>

#include <array>
#include <cwchar>
#include <memory>

namespace {

std::tm localNow()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
}

} // namespace

std::wstring logTimeStamp(const std::tm &local)
{
    std::array<wchar_t, 200> buffer{};
    const int length =
        std::swprintf(buffer.data(), buffer.size(), L"%02d/%02d/%04d - %02d:%02d:%02d", local.tm_mday,
                      local.tm_mon + 1, local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec);
    return {buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

VrpLog::~VrpLog()
{
    Close();
}

void VrpLog::Open()
{
    if (!isWanted() || file != nullptr) {
        return;
    }
    // The log names documents and people.
    const PrivateFiles privateFiles;
    auto opened = std::make_unique<QFile>(QString::fromStdWString(fileName));
    if (!opened->open(QIODevice::WriteOnly)) {
        return;
    }
    file = opened.release();
    WriteLn(logTimeStamp(localNow()).c_str());
}

void VrpLog::Write(const wchar_t *text)
{
    Open();
    if (file == nullptr || text == nullptr) {
        return;
    }
    QTextStream stream(file);
    useUtf8(stream);
    stream << QString::fromWCharArray(text);
    // What was written survives a crash.
    stream.flush();
    file->flush();
}

void VrpLog::WriteLn(const wchar_t *text)
{
    Write(text);
    Write(L"\r\n");
}

void VrpLog::Close()
{
    if (file != nullptr) {
        file->close();
        delete file;
        file = nullptr;
    }
}

void VrpLog::Remove()
{
    if (isWanted()) {
        VrpsRemoveFile(fileName);
    }
}
