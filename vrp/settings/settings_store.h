// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The persistent settings: QSettings stores in the native format, one bootstrap store that names the company
/// and software of each installed printer, and one company store in two strictly separate scopes, per user
/// and machine-wide. Every call opens the store, does one thing and closes it. Nothing reports an error: a
/// store that cannot be read gives the default, one that cannot be written loses the write.

/// The group of what users choose and the program remembers.
inline constexpr wchar_t settingsGroup[] = L"Settings";

/// The names in that group.
namespace setting {

inline constexpr wchar_t checkVersion[] = L"CheckVersion"; ///< per user: "yes", the default, or "no"
inline constexpr wchar_t identifier[] = L"Identifier";     ///< per user
inline constexpr wchar_t password[] = L"Password";         ///< per user, enciphered
inline constexpr wchar_t lastDirectory[] = L"Sdir";        ///< the directory server that answered last
inline constexpr wchar_t lastMode[] = L"LastMode";         ///< per user, a PrintMode
inline constexpr wchar_t lastService[] = L"LastService";   ///< per user, a row of the service table
inline constexpr wchar_t proxyServer[] = L"ProxyServer";
inline constexpr wchar_t proxyPort[] = L"ProxyPort";
inline constexpr wchar_t proxyUser[] = L"ProxyUser";         ///< per user
inline constexpr wchar_t proxyPassword[] = L"ProxyPassword"; ///< per user, enciphered

} // namespace setting

/// One string value of the company store; a null default is the empty text.
std::wstring VrpsGetCompanyRegistryKey(const wchar_t *group, const wchar_t *name, const wchar_t *defaultValue,
                                       bool perUser);
void VrpsSetCompanyRegistryKey(const wchar_t *group, const wchar_t *name, const wchar_t *value, bool perUser);

/// One per-user value of that group, by default the empty text.
std::wstring userSetting(const wchar_t *name);
void setUserSetting(const wchar_t *name, const std::wstring &value);

/// Fills the company and software names for a printer queue from the bootstrap store, even when one is empty;
/// true when both were found.
bool VrpsGetCompanyFromRegistry(const std::wstring &printer);

std::wstring VrpsGetLastServiceFromRegistry();
void VrpsSetLastServiceToRegistry(const std::wstring &service);

/// The last print mode, 0 when none is stored or it is negative.
int VrpsGetLastModeFromRegistry();
void VrpsSetLastModeToRegistry(int mode);

/// Whether the user wants to be told of newer versions.
bool versionCheckEnabled();

/// The directory server that answered last: the user's, and the machine's where that is empty.
std::wstring lastServerDirectory();

/// The group of the directory servers to try, and the name of one in it, counted from 1.
inline constexpr wchar_t serverDirectoriesGroup[] = L"ServerDirectories";
std::wstring serverDirectoryName(std::size_t index);

/// Appends the stored directory servers of a scope to the list; an empty entry is skipped, a missing one ends
/// it.
void VrpsGetServerDirectoriesFromRegistry(std::vector<std::wstring> &list, bool perUser);
/// Replaces the stored directory servers of a scope.
void VrpsWriteServerDirectoriesToRegistry(const std::vector<std::wstring> &list, bool perUser);

/// Replaces the help topics of a scope by entries of the form name=address, all blanks removed.
void VrpsWriteHelpToRegistry(const std::vector<std::wstring> &entries, bool perUser);

/// The address of a help topic: the user's, and the machine's where that is empty.
std::wstring helpAddress(const wchar_t *topic);
