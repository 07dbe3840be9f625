// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// True when the path, without one trailing "/" and then one trailing "\", can be opened as a directory.
bool VrpsDirExist(const wchar_t *path);
bool MacDirExist(const wchar_t *path);

/// Creates a directory whose parents exist; with `singleLevel` by one plain mkdir. True when it exists then.
bool VrpsCreateDir(const wchar_t *path, bool singleLevel);
bool MacCreateDir(const wchar_t *path, bool singleLevel);

/// Appends "/" to a path that is not empty and does not end with one.
void VrpsAddDirSuffix(std::wstring &path);
void MacAddDirSuffix(std::wstring &path);

bool VrpsRemoveFile(const std::wstring &path);
bool VrpsFileExist(const std::wstring &path);

/// Creates or empties a file and writes `bytes` into it; false when it cannot be opened or not all are
/// written.
bool writeFile(const std::wstring &path, const std::string &bytes);

/// The directory for temporary files, without a trailing "/".
std::wstring VrpsGetTempPath();

/// Copies a file byte for byte, without its attributes. The destination is emptied before the source is
/// measured: copying a file onto itself empties it.
bool CopyFileEx(const std::wstring &source, const std::wstring &destination);
