// SPDX-License-Identifier: MIT

// Every command of a complete send fails in turn, in every way that the send knows of. The client library is
// a scripted one; what must come of it is worked out by SendModel.

#include "tests/support/FreshMain.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/ScriptedLibrary.h"
#include "tests/support/ScriptedUser.h"
#include "tests/support/SettingsFolder.h"
#include "tests/support/Transcript.h"
#include "tests/torture/SendModel.h"
#include "tests/torture/SweepTable.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/stored_credentials.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <cstdio>
#include <sstream>

namespace {

constexpr std::size_t selectedCases = 600;
constexpr char browserStart[] = "browser ";

struct FaultKind
{
    Fault fault;
    const char *name;
    ScriptedLibrary::Error error;
};

const FaultKind faultKinds[] = {
    {Fault::serverError, "server error", {"SYSTEM", "OBJECT", "7"}},
    {Fault::networkOnce, "network error once", {"LOCAL", "REQUEST", "104"}},
    {Fault::networkTwice, "network error twice", {"LOCAL", "REQUEST", "104"}},
    {Fault::cannotConnect, "cannot connect", {"local ", "Request", "103"}},
    {Fault::proxyCredentials, "proxy wants credentials", {"LOCAL", "REQUEST", "113"}},
    {Fault::badUser, "bad user", {"SYSTEM", "SECURITY", "101"}},
    {Fault::badPassword, "bad password", {" System", "security", "103"}},
    {Fault::badFormat, "bad format", {"pod", "Input ", "101"}},
    {Fault::emptyAnswer, "empty answer", {}},
    {Fault::nonsenseAnswer, "nonsense answer", {}},
};

constexpr SendSetup setups[] = {
    {"standard", printModeStandard, false, true, false, false},
    {"standard, silent", printModeStandard, false, true, false, true},
    {"asynchronous", printModeAsync, false, true, false, false},
    {"tunnel, one service", printModeTunnel, false, true, false, false},
    {"tunnel, several services", printModeTunnel, false, true, true, false},
    {"test", printModeStandard, true, false, false, false},
    {"test with portal", printModeStandard, true, true, false, false},
};

/// Puts the temporary files of this process into memory: the stores are written many thousand times, and
/// waiting for the disk each time would say nothing more.
void keepTemporaryFilesInMemory()
{
    const std::string folder = QDir::tempPath().toStdString();
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "mode=1777") != 0) {
        std::perror("temporary files stay on the disk");
    }
}

/// What the stand-ins themselves find wrong: a request left open or used after its end.
class StandInFailures : public testing::EmptyTestEventListener
{
public:
    void OnTestPartResult(const testing::TestPartResult &result) override
    {
        if (result.failed()) {
            text += std::string(result.message()) + "\n";
        }
    }

    std::string text;
};

StandInFailures *standInFailures = nullptr;

std::string withoutStart(const std::string &lines, const std::string &start)
{
    std::string text;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);) {
        text += line.substr(start.size()) + "\n";
    }
    return text;
}

/// The folders and stores of one user, over several sends.
class Desk
{
public:
    Desk()
    {
        SettingsFolder::registerPrinter(QStringLiteral("Queue"), QStringLiteral("Company"),
                                        QStringLiteral("Software"));
        nameStore();
        VrpsWriteServerDirectoriesToRegistry({UTF8tow(firstDirectory), UTF8tow(secondDirectory)}, true);
        VrpsGetMain()->ident = L"ident";
        VrpsGetMain()->password = L"ident-secret";
        VrpsSetIdentPasswordToRegistry();
    }

    [[nodiscard]] std::string path(const std::string &name) const
    {
        return m_folder.path().toStdString() + "/" + name;
    }

    [[nodiscard]] std::string document(const SendSetup &setup) const
    {
        return path(setup.testMode ? "vrptmp.txt" : "document.pdf");
    }

    /// One send; what is wrong with it besides its outcome goes into `complaints`.
    SendOutcome send(const SendSetup &setup, const FaultKind &kind, int number, std::string &complaints)
    {
        const FreshMain main;
        SendOutcome outcome;
        Transcript::clear();
        nameStore();
        {
            ScriptedLibrary library;
            ScriptedUser user;
            arrange(library, setup, kind, number);
            arrange(user, setup);
            outcome.result = run(setup);
        }
        main->log.Close();
        read(outcome);
        look(setup, outcome, complaints);
        return outcome;
    }

private:
    static void nameStore()
    {
        copyBounded(VrpsGetMain()->company, L"Company");
        copyBounded(VrpsGetMain()->softwareName, L"Software");
    }

    static void arrange(ScriptedLibrary &library, const SendSetup &setup, const FaultKind &kind, int number)
    {
        for (const auto &[command, answer] : sendScript(setup)) {
            library.answer(command, answer);
        }
        const char *size = "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|";
        library.answer(size, std::to_string(sentPlainBytes));
        library.answer(size, std::to_string(sentCompressedBytes), 1);
        if (kind.fault == Fault::emptyAnswer || kind.fault == Fault::nonsenseAnswer) {
            library.answerCommand(number, kind.fault == Fault::emptyAnswer ? "" : nonsense);
        } else if (kind.fault != Fault::none) {
            library.failCommand(number, kind.error, kind.fault == Fault::networkTwice ? 2 : 1);
        }
    }

    static void arrange(ScriptedUser &user, const SendSetup &setup)
    {
        user.inIdentifierDialog = [] {
            VrpsGetMain()->ident = L"ident";
            VrpsGetMain()->password = L"ident-secret";
            return 0;
        };
        user.inProxyDialog = [] {
            VrpsGetMain()->proxyUser = L"proxy";
            VrpsGetMain()->proxyPassword = L"proxy-secret";
            return 0;
        };
        user.inPrintModeDialog = [&setup] {
            const VrpMain &main = *VrpsGetMain();
            const bool offered = setup.printMode == printModeStandard ? main.standardModeOffered
                                 : setup.printMode == printModeAsync  ? main.asyncModeOffered
                                                                      : main.tunnelModeOffered;
            VrpsGetMain()->printMode = offered ? setup.printMode : printModeNone;
            return offered ? 0 : 1;
        };
        user.inServiceDialog = [] {
            VrpsGetMain()->service = VrpsGetMain()->services.front();
            return 0;
        };
    }

    int run(const SendSetup &setup) const
    {
        const ScopedVariable temporaryFolder{"TMPDIR", m_folder.path().toStdString()};
        VrpMain &main = *VrpsGetMain();
        main.silent = setup.silent;
        main.testMode = setup.testMode;
        main.runMode = !setup.testMode ? runSend : setup.opensPortal ? runTestWithPortal : runTest;
        main.log.fileName = UTF8tow(path("log.txt"));
        std::vector<std::wstring> arguments{L"-p", L"Queue",   L"-d", L"Title",
                                            L"-c", L"machine", L"-u", L"login"};
        if (!setup.testMode) {
            SettingsFolder::write(QString::fromStdString(document(setup)), "%PDF-1.4 data");
            arguments.insert(arguments.end(), {L"-f", UTF8tow(document(setup))});
        }
        FreshMain::setArguments(arguments);
        return main.DoSend();
    }

    void read(SendOutcome &outcome) const
    {
        nameStore();
        std::istringstream commands(withoutStart(Transcript::linesFrom("> "), "> "));
        for (std::string line; std::getline(commands, line);) {
            if (line.find("LOCAL:REQUEST:ERROR_INFO") == line.npos) {
                outcome.commands.push_back(line);
            }
        }
        outcome.boxes = withoutStart(Transcript::linesFrom("box critical ok "), "box critical ok ");
        outcome.browser = Transcript::linesFrom(browserStart);
        outcome.browser = outcome.browser.substr(0, outcome.browser.find("&CTRL=") + 6);
        outcome.browser.erase(0, outcome.browser.empty() ? 0 : sizeof browserStart - 1);
        outcome.proxyQuestions = Transcript::count("dialog proxy");
        std::istringstream log(logText());
        for (std::string line; std::getline(log, line);) {
            if (line == "Bad user" || line == "Bad password" || line == "User canceled the operation") {
                outcome.remarks += line + "\n";
            }
        }
        outcome.passwordForgotten = stored(L"Settings", L"Password").empty();
        outcome.lastDirectory = stored(L"Settings", L"Sdir");
        outcome.help = stored(L"Help", L"Main");
        std::vector<std::wstring> directories;
        VrpsGetServerDirectoriesFromRegistry(directories, true);
        for (const std::wstring &entry : directories) {
            outcome.directories.push_back(wtoUTF8(entry));
        }
    }

    /// What holds after every send, whatever came of it.
    void look(const SendSetup &setup, const SendOutcome &outcome, std::string &complaints) const
    {
        if (VrpsGetCompanyRegistryKey(L"Settings", L"Sdir", L"", false) != UTF8tow(outcome.lastDirectory)) {
            complaints += "the last directory differs between the stores\n";
        }
        const QStringList left = QDir(m_folder.path()).entryList(QDir::Files);
        if (left != QStringList{QStringLiteral("log.txt")}) {
            complaints += "left behind: " + left.join(QLatin1Char(' ')).toStdString() + "\n";
        }
        const std::string log = logText();
        if ((log + outcome.boxes).find("-secret") != std::string::npos) {
            complaints += "a secret is told\n";
        }
        const bool closes = Transcript::count("close window") == 1;
        if (outcome.result != 0 && !closes) {
            complaints += "the progress window is not closed\n";
        }
        if (log.find("File has been sent") == log.npos && !outcome.browser.empty()) {
            complaints += "a browser without a document\n";
        }
        if (setup.silent && Transcript::count("box ") != 0) {
            complaints += "a box in a silent run\n";
        }
        complaints += std::exchange(standInFailures->text, {});
    }

    [[nodiscard]] std::string logText() const
    {
        QFile file(QString::fromStdString(path("log.txt")));
        return file.open(QIODevice::ReadOnly) ? file.readAll().replace("\r\n", "\n").toStdString()
                                              : std::string();
    }

    static std::string stored(const wchar_t *group, const wchar_t *name)
    {
        return wtoUTF8(VrpsGetCompanyRegistryKey(group, name, L"", true));
    }

    QTemporaryDir m_folder;
    SettingsFolder m_settings;
    FreshMain m_main;
};

std::string describe(const SendOutcome &outcome)
{
    std::ostringstream text;
    text << "result " << outcome.result << "\nboxes " << outcome.boxes << "\nremarks " << outcome.remarks
         << "\nbrowser " << outcome.browser << "\nforgotten " << outcome.passwordForgotten
         << "\nlast directory " << outcome.lastDirectory << "\nhelp " << outcome.help << "\nproxy questions "
         << outcome.proxyQuestions;
    for (const std::string &entry : outcome.directories) {
        text << "\ndirectory " << entry;
    }
    for (const std::string &command : outcome.commands) {
        text << "\n> " << command;
    }
    return text.str();
}

/// The first line in which two descriptions differ.
std::string difference(const SendOutcome &seen, const SendOutcome &expected)
{
    std::istringstream left(describe(seen));
    std::istringstream right(describe(expected));
    for (std::string one, other; std::getline(left, one) && std::getline(right, other);) {
        if (one != other) {
            return one.insert(0, "\"").append("\" instead of \"").append(other).append("\"");
        }
    }
    return "more or fewer commands";
}

Verdict runCase(const SendSetup &setup, const FaultKind &kind, int number)
{
    std::string complaints;
    Desk desk;
    const SendOutcome seen = desk.send(setup, kind, number, complaints);
    const SendOutcome expected = predictSend(setup, desk.document(setup), kind.fault, number);
    if (seen != expected) {
        complaints += difference(seen, expected) + "\n";
    }
    const FaultKind nothing{Fault::none, "nothing", {}};
    const SendOutcome next = desk.send(setup, nothing, 0, complaints);
    SendOutcome expectedNext = predictSend(setup, desk.document(setup), Fault::none, 0, seen);
    expectedNext.passwordForgotten = seen.passwordForgotten; // the windows' stand-in stores none
    if (next.result != 0 || next != expectedNext) {
        complaints += "the next send: " + difference(next, expectedNext) + "\n";
    }
    Verdict verdict;
    verdict.isCompleted = seen.result == 0;
    if (!complaints.empty()) {
        verdict.violations.push_back(complaints);
    }
    return verdict;
}

std::vector<SweepCase> allCases()
{
    std::vector<SweepCase> cases;
    for (const SendSetup &setup : setups) {
        const std::size_t commands = predictSend(setup, "", Fault::none, 0).commands.size();
        for (const FaultKind &kind : faultKinds) {
            for (int number = 1; number <= static_cast<int>(commands); ++number) {
                cases.push_back({setup.name, std::string(kind.name) + " at command " + std::to_string(number),
                                 [&setup, &kind, number] { return runCase(setup, kind, number); }});
            }
        }
    }
    return cases;
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const SweepOptions options = SweepOptions::parse(argc, argv);
    standInFailures = new StandInFailures;
    testing::UnitTest::GetInstance()->listeners().Append(standInFailures); // which owns it
    keepTemporaryFilesInMemory();
    SweepTable table(options);
    const std::vector<SweepCase> cases = allCases();
    // The application object is one, so one case runs at a time.
    table.run(options.isEvery ? cases : spread(cases, selectedCases), 1);
    return table.print();
}
