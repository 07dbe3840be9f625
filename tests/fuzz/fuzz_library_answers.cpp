// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "tests/support/FreshMain.h"
#include "tests/support/ScriptedUser.h"
#include "tests/support/SettingsFolder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Transcript.h"
#include "tests/support/file_bytes.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <vrc.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

// A whole send against a library whose answers are the input: every text, count and error that a server can
// tell. The send ends, each log entry is one line, and no more commands are given than the lists that were
// told allow.

namespace {

constexpr std::uint8_t longLists = 255;
constexpr int maxCommands = 100'000; ///< a handful of lists of 10,000 entries

/// What a good server answers, for the commands that the input says nothing about.
constexpr std::pair<std::string_view, std::string_view> goodAnswers[] = {
    {"INDSTRINGLIST_GET_SIZE", "4"},
    {"INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|1|", "SERVER_UPLOAD_APPLICATION"},
    {"INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|2|", "PORTAL_URL"},
    {"INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|3|", "LAST_VERSION_CHECK"},
    {"INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|4|", "LAST_VERSION"},
    {"KEY=|SERVER_UPLOAD_APPLICATION|", "upload"},
    {"KEY=|PORTAL_URL|", "http://portal/?x=1"},
    {"KEY=|LAST_VERSION_CHECK|", "yes"},
    {"KEY=|LAST_VERSION|", "0.1"},
    {"STRINGLIST_GET_SIZE| NAME=|PRINTING_MODES|", "3"},
    {"NAME=|PRINTING_MODES| INDEX=|1|", "STANDARD"},
    {"NAME=|PRINTING_MODES| INDEX=|2|", "TUNNEL"},
    {"NAME=|PRINTING_MODES| INDEX=|3|", "ASYNC"},
    {"NAME=|TUNNEL_MODE| VR_NO_ERROR", "MULTIPLE"},
    {"TABLE_GET_NUM_ROWS", "2"},
    {"TABLE_GET_ROW", "name;label;profile"},
    {"FILE_GET_SIZE", "40"},
    {"INTEGER_GET_VALUE", "40"},
    {"STRING_GET_VALUE| NAME=|FILE_ID|", "FILE-7"},
    {"GET_SESSION_ID", "S1"},
};

std::string_view goodAnswer(std::string_view command)
{
    const auto *const found =
        std::find_if(std::begin(goodAnswers), std::end(goodAnswers),
                     [&](const auto &pair) { return command.find(pair.first) != std::string_view::npos; });
    return found == std::end(goodAnswers) ? std::string_view() : found->second;
}

/// Reads the input: a byte below 128 leaves the answer to the next commands, that many, as it is; another
/// says with its lowest bit whether the command fails, with its next five how long the answer is that
/// follows, and with all of these set that the answer is a long one.
class Library
{
public:
    /// Long lists take seconds each; few inputs have them.
    void restart(std::string_view input, bool keepsListsShort)
    {
        m_input = input;
        m_keepsListsShort = keepsListsShort;
        m_untouched = 0;
        m_commands = 0;
        m_open = 0;
    }

    /// From here on nothing is stored: the stores are another target's business, and slow.
    void *open()
    {
        VrpsGetMain()->company[0] = L'\0';
        ++m_open;
        return &m_open;
    }

    void close() { ensure(--m_open >= 0); }

    int answer(std::string_view command, char *result, int capacity)
    {
        ensure(++m_commands <= maxCommands && m_open > 0);
        const bool isQuestion = command.find("ERROR_INFO") != std::string_view::npos;
        std::string text(isQuestion ? "7" : goodAnswer(command));
        bool succeeds = true;
        if (m_untouched > 0 && !isQuestion) {
            --m_untouched;
        } else if (!m_input.empty()) {
            take(text, succeeds);
        }
        const bool isCount = command.find("_GET_SIZE|") != std::string_view::npos ||
                             command.find("_GET_NUM_ROWS|") != std::string_view::npos;
        if (isCount && m_keepsListsShort) {
            text.resize(std::min<std::size_t>(text.size(), 2));
        }
        copyResult(text, result, capacity);
        return succeeds ? 1 : 0;
    }

    [[nodiscard]] int openRequests() const { return m_open; }

private:
    void take(std::string &text, bool &succeeds)
    {
        const auto control = static_cast<unsigned char>(m_input.front());
        m_input.remove_prefix(1);
        if (control < 128) {
            m_untouched = control;
            return;
        }
        succeeds = (control & 1U) == 0;
        const std::size_t bytes = (control >> 1U) & 31U;
        text = m_input.substr(0, bytes);
        m_input.remove_prefix(text.size());
        if (bytes == 31) {
            text.append(40'000, 'x');
        }
    }

    static void copyResult(std::string_view text, char *result, int capacity)
    {
        if (result != nullptr && capacity > 0) {
            const std::size_t length = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
            std::memcpy(result, text.data(), length);
            result[length] = '\0';
        }
    }

    std::string_view m_input;
    bool m_keepsListsShort = false;
    int m_untouched = 0;
    int m_commands = 0;
    int m_open = 0;
};

Library &library()
{
    static Library theLibrary;
    return theLibrary;
}

/// Somebody who chooses the mode that the input says, and gives up at the third question for a proxy.
struct Person
{
    explicit Person(std::uint8_t choice)
    {
        user.inIdentifierDialog = [] {
            VrpsGetMain()->ident = L"ident";
            VrpsGetMain()->password = L"secret";
            return 0;
        };
        user.inPrintModeDialog = [choice] {
            VrpsGetMain()->printMode = 1 << choice % 3;
            return 0;
        };
        user.inProxyDialog = [this] { return ++questions < 3 ? 0 : 1; };
        user.inServiceDialog = [] {
            VrpsGetMain()->service = VrpsGetMain()->services.front();
            return 0;
        };
        user.inUpdatePrompt = [choice] { VrpsGetMain()->updateAnswer = choice % 3; };
        user.browserStarts = choice % 2 == 0;
    }

    int questions = 0;
    ScriptedUser user;
};

/// What the sends of a process have in common: an installed printer with one directory server.
struct Machine
{
    Machine()
    {
        const FreshMain main;
        SettingsFolder::registerPrinter(QStringLiteral("Queue"), QStringLiteral("Company"),
                                        QStringLiteral("Software"));
        copyBounded(main->company, L"Company");
        copyBounded(main->softwareName, L"Software");
        VrpsWriteServerDirectoriesToRegistry({L"host;app:dir"}, true);
    }

    TemporaryFolder folder;
    SettingsFolder settings;
    std::string log = folder.file("log.txt");
    std::string texts = folder.write("varek.ini", "");
};

/// CR LF ends each entry, and stands nowhere else.
void checkLog(const std::string &path)
{
    const std::string text = fileBytes(path);
    const auto lines = std::count(text.begin(), text.end(), '\n');
    ensure(lines > 3 && std::count(text.begin(), text.end(), '\r') == lines && text.ends_with("\r\n"));
    ensure(text.find('\x1B') == std::string::npos);
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        ensure(text[at - 1] == '\r');
    }
}

} // namespace

extern "C" {

void *VrOpenRequest(const char *)
{
    return library().open();
}

int VrCommand(void *request, const char *command, char *result, int capacity, int *extra)
{
    ensure(request != nullptr && extra == nullptr);
    return library().answer(command, result, capacity);
}

void VrCloseRequest(void *)
{
    library().close();
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    static const Machine machine;
    requireRoom(machine.folder.path());
    Transcript::clear();
    FreshMain main;
    Person person(data[0]);
    main->log.fileName = UTF8tow(machine.log);
    main->runMode = runSend;
    copyBounded(main->configFilePath, UTF8tow(machine.texts));
    FreshMain::setArguments({L"-p", L"Queue", L"-f", UTF8tow(machine.folder.file("job.pdf"))});
    library().restart({reinterpret_cast<const char *>(data + 1), size - 1}, data[0] != longLists);
    const int result = main->DoSend();
    ensure((result == 0 || result == 1) && library().openRequests() == 0);
    main->log.Close();
    checkLog(machine.log);
    return 0;
}
