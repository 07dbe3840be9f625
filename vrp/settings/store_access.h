// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>
#include <string>

class QSettings;
class QVariant;

/// The one place that opens settings objects and reads their values. Every object is opened in UTF-8, with
/// its fallbacks off, for one operation, and flushed when it is destroyed.

/// Tells the toolkit, once at start, where the machine-wide stores live: /etc/xdg when XDG_CONFIG_DIRS is
/// unset or lists it (desktops put folders of their own before it), otherwise the first folder that it lists.
void useMachineWideStoreFolder();

/// The rule behind it, for a value of XDG_CONFIG_DIRS. Relative entries do not count.
[[nodiscard]] QString machineWideStoreFolder(const QString &configDirs);

/// What a store is opened for. A per-user file is created readable by its owner alone, as it holds passwords.
/// One that is opened for writing is written whole or left as it was: on a full disk the toolkit may put a
/// file that is cut short into its place. It is null when its file cannot be read: nothing may be set in it.
enum class StoreAccess
{
    read,
    write
};

/// The machine-wide store that names the company and software of each installed printer.
[[nodiscard]] std::unique_ptr<QSettings> openBootstrapStore(StoreAccess access = StoreAccess::read);

/// The store of a company and software name in one scope; null when either name is empty.
[[nodiscard]] std::unique_ptr<QSettings> openStore(const std::wstring &company, const std::wstring &software,
                                                   bool perUser, StoreAccess access = StoreAccess::read);

/// The store of the company and software names that the application object holds now; null when either is
/// empty.
[[nodiscard]] std::unique_ptr<QSettings> openCompanyStore(bool perUser,
                                                          StoreAccess access = StoreAccess::read);

/// A configuration file. One that is missing or cannot be read has no entries.
[[nodiscard]] std::unique_ptr<QSettings> openIniFile(const std::wstring &path);

/// Any value of a store or a configuration file as text. A value that stands unquoted and holds commas is
/// handed over by the toolkit as a list: its elements are joined with ", ".
[[nodiscard]] std::wstring settingText(const QVariant &value);

/// group/name of a settings object as text; the default when it is absent or `name` is empty.
[[nodiscard]] std::wstring readSetting(QSettings &settings, const std::wstring &group,
                                       const std::wstring &name, const std::wstring &defaultValue);
