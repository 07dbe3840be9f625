// SPDX-License-Identifier: MIT
#include "tests/unit/printing/Workshop.h"

#include "tests/support/file_bytes.h"
#include "vrp/platform/text.h"

#include <fstream>

namespace fs = std::filesystem;

namespace {

/// Records its arguments; fails when told so for its number; does what the real command does, but for
/// lpadmin.
std::string recordingScript(const std::string &name, const std::string &folder,
                            const std::string &realCommand)
{
    return "#!/bin/sh\n{ printf %s " + name + "; printf ' [%s]' \"$@\"; echo; } >> '" + folder +
           "/record'\n" + "number=$(wc -l < '" + folder + "/record')\n" + "[ -e '" + folder +
           "/fail.'$number ] && exit 1\n" + realCommand + "\n";
}

void writeScript(const std::string &file, const std::string &text)
{
    writeText(file, text);
    fs::permissions(file, fs::perms::owner_all);
}

std::string valueOf(QSettings &store, const std::string &key)
{
    return store.value(QString::fromStdString(key), QStringLiteral("(none)")).toString().toStdString();
}

} // namespace

void writeText(const fs::path &file, const std::string &text)
{
    std::ofstream(file, std::ios::binary) << text;
}

std::string textOf(const fs::path &file)
{
    return fileBytes(file);
}

unsigned permissionsOf(const fs::path &file)
{
    return static_cast<unsigned>(fs::status(file).permissions());
}

Workshop::Workshop()
    : m_folder(m_temporary.path().toStdString()), m_path("PATH", m_folder + "/bin:/usr/bin:/bin")
{
    for (const char *folder : {"bin", "prog", "target"}) {
        fs::create_directory(m_folder + "/" + folder);
    }
    writeScript(m_folder + "/bin/lpadmin", recordingScript("lpadmin", m_folder, "exit 0"));
    writeScript(m_folder + "/bin/chmod", recordingScript("chmod", m_folder, "exec /bin/chmod \"$@\""));
    writeText(program("vrp.new"), "the program\n");
    writeText(program("backend.new"), "the backend\n");
    writeText(configFile(),
              "[Software]\nCompany=\"Acme\"\nName=\"Print\"\n"
              "[Printer]\nName=\"Office\"\nMonitor=\"varek\"\nDriver=\"A.ppd; B.ppd\"\n"
              "Prgm=\"vrp\"\nTitle=\"Office printer\"\n"
              "[Setup]\nMonitorDll=\"varek\"\nMonitorSrcDll=\"backend.new\"\nPrgmSrc=\"vrp.new\"\n");
    main->programDir = UTF8tow(m_folder + "/prog");
    fs::remove_all("/usr/libexec/cups/backend");
    fs::create_directory("/usr/libexec/cups/backend");
}

void Workshop::setInstallArguments(std::vector<std::wstring> further)
{
    further.insert(further.begin(), {L"-m", L"install"});
    FreshMain::setArguments(std::move(further));
}

std::vector<std::string> Workshop::commands() const
{
    std::vector<std::string> lines;
    std::ifstream record(m_folder + "/record");
    for (std::string line; std::getline(record, line);) {
        lines.push_back(line);
    }
    return lines;
}

void Workshop::failCommand(std::size_t number) const
{
    writeText(m_folder + "/fail." + std::to_string(number), "");
}

std::string Workshop::stored(const std::string &key, bool perUser)
{
    const auto store = openStore(L"Acme", L"Print", perUser);
    return valueOf(*store, key);
}

std::string Workshop::registered(const std::string &printer, const std::string &key)
{
    const auto store = openBootstrapStore();
    return valueOf(*store, "Printers/" + printer + "/" + key);
}
