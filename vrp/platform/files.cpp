// SPDX-License-Identifier: MIT
#include "vrp/platform/files.h"

#include "vrp/platform/text.h"

#include <QDir>
#include <QFile>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace {

constexpr std::size_t copyBlockBytes = 16384;
constexpr mode_t newDirectoryMode = 0777;

/// Closing must not hide the error that the caller is about to report.
struct CloseFile
{
    void operator()(std::FILE *file) const
    {
        const int error = errno;
        std::fclose(file);
        errno = error;
    }
};

using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

bool makeDirectory(const std::wstring &path)
{
    return mkdir(wtoUTF8(path).c_str(), newDirectoryMode) == 0;
}

void dropOneTrailing(std::wstring &path, wchar_t c)
{
    if (!path.empty() && path.back() == c) {
        path.pop_back();
    }
}

/// Creates the last component below `prefix`; those before it must exist.
bool createLastLevel(std::wstring prefix, std::wstring rest)
{
    for (auto slash = rest.find(L'/'); slash != std::wstring::npos; slash = rest.find(L'/')) {
        prefix += rest.substr(0, slash);
        rest.erase(0, slash + 1);
        if (!VrpsDirExist(prefix.c_str())) {
            return false;
        }
        VrpsAddDirSuffix(prefix);
    }
    if (rest.empty()) {
        return true;
    }
    prefix += rest;
    return VrpsDirExist(prefix.c_str()) || makeDirectory(prefix);
}

/// Unbuffered, so that a full disk shows in the write and not when the file is closed.
OpenFile openForWriting(const std::string &path)
{
    OpenFile file{std::fopen(path.c_str(), "wbe")};
    if (file) {
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    }
    return file;
}

/// The size of an open file, which is then at its start; negative when it cannot be measured.
off_t measure(std::FILE *file)
{
    if (fseeko(file, 0, SEEK_END) != 0) {
        return -1;
    }
    const off_t size = ftello(file);
    return fseeko(file, 0, SEEK_SET) == 0 ? size : -1;
}

bool copyBytes(std::FILE *from, std::FILE *to, off_t size)
{
    std::array<char, copyBlockBytes> block;
    while (size > 0) {
        const std::size_t wanted = static_cast<std::size_t>(std::min<off_t>(size, copyBlockBytes));
        if (std::fread(block.data(), 1, wanted, from) != wanted ||
            std::fwrite(block.data(), 1, wanted, to) != wanted) {
            return false;
        }
        size -= static_cast<off_t>(wanted);
    }
    return true;
}

} // namespace

bool VrpsDirExist(const wchar_t *path)
{
    return MacDirExist(path);
}

bool MacDirExist(const wchar_t *path)
{
    if (path == nullptr) {
        return false;
    }
    std::wstring name = path;
    dropOneTrailing(name, L'/');
    dropOneTrailing(name, L'\\');
    if (name.empty()) {
        return false;
    }
    DIR *directory = opendir(wtoUTF8(name).c_str());
    return directory != nullptr && closedir(directory) == 0;
}

bool VrpsCreateDir(const wchar_t *path, bool singleLevel)
{
    return MacCreateDir(path, singleLevel);
}

bool MacCreateDir(const wchar_t *path, bool singleLevel)
{
    if (path == nullptr) {
        return false;
    }
    if (VrpsDirExist(path)) {
        return true;
    }
    if (singleLevel) {
        return makeDirectory(path);
    }
    std::wstring rest = path;
    VrpsCleanString(rest, false);
    std::replace(rest.begin(), rest.end(), L'\\', L'/');
    std::wstring prefix;
    if (rest.starts_with(L'/')) {
        prefix = L"/";
        rest.erase(0, 1);
    }
    return createLastLevel(prefix, rest);
}

void VrpsAddDirSuffix(std::wstring &path)
{
    MacAddDirSuffix(path);
}

void MacAddDirSuffix(std::wstring &path)
{
    if (!path.empty() && path.back() != L'/') {
        path += L'/';
    }
}

bool VrpsRemoveFile(const std::wstring &path)
{
    return QFile::remove(QString::fromStdWString(path));
}

bool VrpsFileExist(const std::wstring &path)
{
    return QFile::exists(QString::fromStdWString(path));
}

bool writeFile(const std::wstring &path, const std::string &bytes)
{
    const OpenFile file = openForWriting(wtoUTF8(path));
    return file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
}

std::wstring VrpsGetTempPath()
{
    return QString2StdWString(QDir::tempPath());
}

bool CopyFileEx(const std::wstring &source, const std::wstring &destination)
{
    const std::string sourcePath = wtoUTF8(source);
    const std::string destinationPath = wtoUTF8(destination);
    if (sourcePath.empty() || destinationPath.empty()) {
        return false;
    }
    const OpenFile from{std::fopen(sourcePath.c_str(), "rbe")};
    if (!from) {
        return false;
    }
    const OpenFile to = openForWriting(destinationPath);
    if (!to) {
        return false;
    }
    const off_t size = measure(from.get());
    return size >= 0 && copyBytes(from.get(), to.get(), size);
}
