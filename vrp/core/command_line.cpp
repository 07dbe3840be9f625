// SPDX-License-Identifier: MIT
#include "vrp/core/command_line.h"

#include "vrp/core/VrpMain.h"
#include "vrp/platform/files.h"
#include "vrp/platform/text.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr wchar_t quote = L'"';

constexpr std::array<std::pair<std::wstring_view, RunMode>, 8> runModeKeywords{{
    {L"install", runInstall},
    {L"uninstall", runUninstall},
    {L"configure", runConfigure},
    {L"send", runSend},
    {L"help", runHelp},
    {L"version", runVersion},
    {L"test", runTest},
    {L"testb", runTestWithPortal},
}};

struct Switch
{
    std::wstring_view name;
    bool VrpMain::*field;
    bool value;
};

constexpr Switch switches[] = {
    {L"-s", &VrpMain::silent, true},
    {L"-k", &VrpMain::removeFile, false},
    {L"-g", &VrpMain::noConfirm, true},
    {L"-v", &VrpMain::verbose, true},
    {L"-b", &VrpMain::showConnectionErrors, true},
};

/// While it lives, the toolkit's warnings go nowhere: a locale without UTF-8 is no concern of the user.
class QuietToolkit
{
public:
    QuietToolkit()
        : m_previous(qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}))
    {}

    ~QuietToolkit() { qInstallMessageHandler(m_previous); }

    QuietToolkit(const QuietToolkit &) = delete;
    QuietToolkit &operator=(const QuietToolkit &) = delete;

private:
    QtMessageHandler m_previous;
};

QStringList decodedArguments(int argc, char **argv)
{
    if (QCoreApplication::instance() == nullptr) {
        const QuietToolkit quiet;
        // Lives only as long as it takes to have the arguments decoded.
        const QCoreApplication decoder(argc, argv);
        return QCoreApplication::arguments();
    }
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    return arguments;
}

/// The text between the quotes that may stand at its ends.
std::wstring_view unquoted(std::wstring_view token)
{
    if (token.starts_with(quote)) {
        token.remove_prefix(1);
    }
    if (token.ends_with(quote)) {
        token.remove_suffix(1);
    }
    return token;
}

void setRunMode(VrpMain &main, const std::wstring &keyword)
{
    const auto *const known = std::find_if(runModeKeywords.begin(), runModeKeywords.end(),
                                           [&](const auto &entry) { return entry.first == keyword; });
    if (known != runModeKeywords.end()) {
        main.runMode = known->second;
    }
}

/// Takes "log;socket log" apart. An earlier socket log of that name goes at once.
void setLogFiles(VrpMain &main, const std::wstring &value)
{
    const std::size_t separator = value.find(L';');
    main.log.fileName = value.substr(0, separator);
    if (separator == std::wstring::npos) {
        return;
    }
    main.socketLogFile = value.substr(separator + 1);
    if (!main.socketLogFile.empty()) {
        VrpsRemoveFile(main.socketLogFile);
    }
}

void applySwitch(VrpMain &main, std::wstring_view argument)
{
    for (const Switch &known : switches) {
        if (known.name == argument) {
            main.*known.field = known.value;
        }
    }
    main.noConfirm = main.noConfirm || main.silent;
}

/// Takes the general options and the run mode from the arguments behind the program. Options and keywords are
/// case-sensitive; an option whose value is missing and anything unknown are ignored.
void applyGeneralOptions(VrpMain &main)
{
    for (std::size_t i = 1; i < main.arguments.size(); ++i) {
        const std::wstring &argument = main.arguments[i];
        if (argument != L"-m" && argument != L"-l") {
            applySwitch(main, argument);
        } else if (i + 1 < main.arguments.size()) {
            ++i;
            argument == L"-m" ? setRunMode(main, main.arguments[i]) : setLogFiles(main, main.arguments[i]);
        }
    }
}

} // namespace

std::wstring MacGetCommandLine(int argc, char **argv)
{
    QString line;
    for (const QString &argument : decodedArguments(argc, argv)) {
        if (!line.isEmpty()) {
            line += QLatin1Char(' ');
        }
        line += QLatin1Char('"') + argument + QLatin1Char('"');
    }
    return QString2StdWString(line);
}

std::wstring VrpsGetCommandLine(int argc, char **argv)
{
    return MacGetCommandLine(argc, argv);
}

int VrpsparseCmdLine(const wchar_t *commandLine, std::vector<std::wstring> &out)
{
    const std::wstring line = std::wstring(commandLine != nullptr ? commandLine : L"") + L' ';
    bool insideQuotes = false;
    std::size_t tokenStart = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == quote) {
            insideQuotes = !insideQuotes;
        }
        if (line[i] != L' ' || insideQuotes) {
            continue;
        }
        if (i > tokenStart) {
            out.emplace_back(unquoted(std::wstring_view(line).substr(tokenStart, i - tokenStart)));
        }
        tokenStart = i + 1;
    }
    return static_cast<int>(out.size());
}

std::wstring programFolder(const char *path)
{
    QString folder = QFileInfo(QFile::decodeName(path)).absoluteFilePath();
    folder.replace(QLatin1Char('\\'), QLatin1Char('/'));
    folder.truncate(folder.lastIndexOf(QLatin1Char('/')) + 1);
    while (folder.endsWith(QLatin1Char('/'))) {
        folder.chop(1);
    }
    return QString2StdWString(folder);
}

void VrpMain::Init(int argc, char **argv)
{
    runMode = runNone;
    programDir = programFolder(argc > 0 ? argv[0] : "");
    VrpsparseCmdLine(VrpsGetCommandLine(argc, argv).c_str(), arguments);
    applyGeneralOptions(*this);
    log.Remove();
}

std::vector<std::wstring> optionValues(const wchar_t *option)
{
    const std::vector<std::wstring> &arguments = VrpsGetMain()->arguments;
    std::vector<std::wstring> values;
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == option) {
            values.push_back(arguments[++i]);
        }
    }
    return values;
}

bool optionValue(const wchar_t *option, std::wstring &value)
{
    const std::vector<std::wstring> values = optionValues(option);
    if (values.empty()) {
        return false;
    }
    value = values.back();
    return true;
}
