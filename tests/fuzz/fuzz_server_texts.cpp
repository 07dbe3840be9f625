// SPDX-License-Identifier: MIT
#include "appserver/control_digest.h"
#include "tests/fuzz/fuzz_entry.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/file_bytes.h"
#include "vrp/core/VrpLog.h"
#include "vrp/platform/keyword.h"
#include "vrp/platform/text.h"
#include "vrp/server/browser.h"
#include "vrp/server/connection_text.h"
#include "vrp/server/directory_entry.h"
#include "vrp/server/masking.h"
#include "vrp/server/portal_address.h"
#include "vrp/server/version_number.h"
#include "vrp/ui/entry_values.h"
#include "vrp/ui/offered_choices.h"

#include <QDesktopServices>
#include <QObject>
#include <QUrl>

#include <algorithm>
#include <iterator>
#include <string>

// The program's small parsers of what a server or a configuration file says; the first byte chooses one.

/// Takes the place of the desktop: nothing but an address of the web or of a mail, or a page, may reach it.
class WatchfulDesktop : public QObject
{
    Q_OBJECT

public:
    WatchfulDesktop()
    {
        for (const char *scheme : {"http", "https", "mailto", "file", "javascript", "data", "ftp", "ssh"}) {
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "open");
        }
    }

    bool wasAsked = false;

public Q_SLOTS:

    void open(const QUrl &url)
    {
        const QString scheme = url.scheme();
        const bool isWeb = scheme == QLatin1String("http") || scheme == QLatin1String("https");
        ensure((isWeb && !url.host().isEmpty()) || scheme == QLatin1String("mailto") ||
               (url.isLocalFile() && isPage(url.toLocalFile())));
        // What a desktop's helper is started with is an address, never an option or several words.
        const QByteArray address = url.toEncoded();
        ensure(!address.startsWith('-') && address.indexOf(' ') < 0 && address.indexOf('\n') < 0);
        wasAsked = true;
    }

private:
    static bool isPage(const QString &path)
    {
        return path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive) ||
               path.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive) ||
               path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive);
    }
};

namespace {

void checkAddress(const std::wstring &text)
{
    // Never destroyed: the toolkit may be gone before it at the end of the process.
    static WatchfulDesktop &desktop = *new WatchfulDesktop;
    desktop.wasAsked = false;
    ensure(VrpsRunBrowser(text.c_str()) == desktop.wasAsked);
}

bool isOneLine(const std::wstring &text)
{
    return std::none_of(text.begin(), text.end(), [](wchar_t c) {
        return (c >= 0 && c < L' ' && c != L'\t') || (c >= 0x7F && c <= 0x9F);
    });
}

void checkLogLine(const std::wstring &text)
{
    ensure(isOneLine(escapeControls(text)));
    const std::wstring secret = L"S3cr3t\x2603";
    const std::wstring command = text + L" POD_PASSWORD=|" + secret + L"|";
    ensure(text.find(L"3cr3t") != text.npos || maskCommand(command).find(secret) == std::wstring::npos);
    ensure(maskResult(L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|" + text + L"| KEY=|A_PASSWORD|",
                      secret) == mask);
}

/// Each write is one line of the file, whatever the text holds.
void checkLogFile(const std::wstring &text)
{
    static const TemporaryFolder folder;
    const std::wstring name = UTF8tow(folder.file("log.txt"));
    VrpLog log;
    log.fileName = name;
    log.WriteLn(escapeControls(text).c_str());
    log.WriteLn(L"end");
    log.Close();
    const std::string bytes = fileBytes(wtoUTF8(name));
    ensure(std::count(bytes.begin(), bytes.end(), '\n') == 3 && bytes.ends_with("\r\nend\r\n"));
}

void checkDirectoryEntry(const std::wstring &text)
{
    DirectoryAddress address{L"before", 7, L"app", L"dir"};
    takeDirectoryEntry(text, address);
    ensure(address.isComplete() || text.find(L';') != text.npos);
    ensure(address.server.find(L';') == std::wstring::npos &&
           address.server.find(L':') == std::wstring::npos);
}

void checkConnectionText(const std::wstring &text)
{
    ConnectionParameters parameters;
    parameters.server = L"host";
    parameters.application = text;
    parameters.password = L"S3cr3t\x2603";
    const ConnectionString connection =
        buildConnectionString(parameters, {L"proxy", 8080, text, L"S3cr3t\x2603"}, {});
    ensure(connection.real.find(L"S3cr3t\x2603") != std::wstring::npos);
    ensure(connection.masked.find(L"S3cr3t\x2603") == std::wstring::npos ||
           text.find(L"3cr3t") != std::wstring::npos);
}

/// The program and the server make the same digest of the same texts.
void checkDigest(const std::wstring &text)
{
    const std::wstring identifier = text.substr(0, text.size() / 2);
    const std::wstring password = text.substr(text.size() / 2);
    const std::wstring digest = controlDigest(L"s", identifier, password);
    ensure(digest.size() == 32 && portalAddress(L"p?x=1", L"s", digest).ends_with(digest));
    ensure(wtoUTF8(digest) == appserver::controlDigest("s", wtoUTF8(identifier), wtoUTF8(password)));
}

/// Nothing in it ends the declaration that it stands in: plain words, or one quoted text.
void checkFamily(const std::wstring &family)
{
    const bool isQuoted = family.size() >= 2 && family.front() == L'"' && family.back() == L'"';
    const std::wstring inner = isQuoted ? family.substr(1, family.size() - 2) : family;
    ensure(!family.empty() && family.size() <= 502);
    ensure(inner.find_first_of(L"\"\\\n\r") == std::wstring::npos);
    ensure(isQuoted || inner.find_first_of(L"{};:()/*'@") == std::wstring::npos);
}

void checkEntryValues(const std::wstring &text)
{
    int r = 1;
    int g = 2;
    int b = 3;
    parseColor(text, r, g, b);
    ensure(std::min({r, g, b}) >= 0 && std::max({r, g, b}) <= 255);
    int x = 1;
    int y = 2;
    parsePosition(text, x, y);
    ensure(x >= 0 && y >= 0);
    checkFamily(styleSheetFontFamily(text));
}

void checkKeywords(std::wstring text)
{
    ensure(versionNumber(text) >= 0 || text.find(L'-') != text.npos);
    ensure(serviceTitle(text).find(L';') == std::wstring::npos);
    ensure(isYes(text) == isYes(L" " + text + L"\t"));
    VrpsCleanString(text, false);
    ensure(text.find(L"  ") == std::wstring::npos && !text.starts_with(L' ') && !text.ends_with(L' '));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    std::wstring text = UTF8tow(std::string(reinterpret_cast<const char *>(data + 1), size - 1));
    text.resize(std::min(text.size(), text.find(L'\0')));
    constexpr void (*checks[])(const std::wstring &) = {
        checkAddress, checkLogLine,        checkLogFile,    checkDirectoryEntry,
        checkDigest,  checkConnectionText, checkEntryValues};
    const std::size_t choice = data[0] % (std::size(checks) + 1);
    choice < std::size(checks) ? checks[choice](text) : checkKeywords(text);
    return 0;
}

#include "fuzz_server_texts.moc"
