// SPDX-License-Identifier: MIT
#include "vrp/server/browser.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QObject>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <string>
#include <utility>

/// Takes the place of the desktop: records what would be opened.
class RecordingDesktop : public QObject
{
    Q_OBJECT

public:
    RecordingDesktop()
    {
        for (const QString &scheme : schemes()) {
            QDesktopServices::setUrlHandler(scheme, this, "open");
        }
    }

    ~RecordingDesktop() override
    {
        for (const QString &scheme : schemes()) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }

    QStringList opened;

public Q_SLOTS:

    void open(const QUrl &url) { opened.append(url.toString(QUrl::FullyEncoded)); }

private:
    static QStringList schemes()
    {
        return QString::fromLatin1("http https mailto file ftp javascript data ssh x-app")
            .split(QLatin1Char(' '));
    }
};

namespace {

class Browser : public testing::Test
{
protected:
    std::wstring makeFile(const char *name)
    {
        const QString path = folder.filePath(QString::fromUtf8(name));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return path.toStdWString();
    }

    QTemporaryDir folder;
    RecordingDesktop desktop;
};

TEST_F(Browser, web_and_mail_addresses_are_opened)
{
    const std::pair<const wchar_t *, const char *> cases[] = {
        {L"http://host/a?b=c&d=e", "http://host/a?b=c&d=e"},
        {L"https://host:1083/portal?x=1&VR_SESSION_ID=ab&CTRL=0F",
         "https://host:1083/portal?x=1&VR_SESSION_ID=ab&CTRL=0F"},
        {L"HTTPS://HOST/DOWNLOAD", "https://host/DOWNLOAD"},
        {L"mailto:somebody@example.org", "mailto:somebody@example.org"},
        {L"MailTo:somebody@example.org", "mailto:somebody@example.org"},
    };
    for (const auto &[address, opened] : cases) {
        desktop.opened.clear();
        EXPECT_TRUE(VrpsRunBrowser(address)) << opened;
        EXPECT_EQ(desktop.opened, QStringList(QString::fromUtf8(opened)));
    }
}

TEST_F(Browser, anything_else_is_refused_as_if_the_browser_could_not_be_started)
{
    for (const wchar_t *address :
         {L"", L" ", L"ftp://host/x", L"javascript:alert(1)", L"data:text/html,x", L"ssh://host", L"x-app:go",
          L"http:", L"http:///path", L"host", L"/bin/sh", L"file:///bin/sh", L"file:///no/such/page.html",
          L"/no/such/page.html", L"page.html", L"-page.html"}) {
        EXPECT_FALSE(VrpsRunBrowser(address)) << QString::fromWCharArray(address).toStdString();
    }
    EXPECT_FALSE(VrpsRunBrowser(nullptr));
    EXPECT_EQ(desktop.opened, QStringList());
}

TEST_F(Browser, existing_pages_on_the_disk_are_opened_by_path_and_by_address)
{
    for (const char *name : {"help page.html", "help.HTM", "help.pdf"}) {
        desktop.opened.clear();
        const std::wstring path = makeFile(name);
        const QUrl url = QUrl::fromLocalFile(QString::fromStdWString(path));
        EXPECT_TRUE(VrpsRunBrowser(path.c_str()));
        EXPECT_TRUE(VrpsRunBrowser(url.toString().toStdWString().c_str()));
        const QString encoded = url.toString(QUrl::FullyEncoded);
        EXPECT_EQ(desktop.opened, QStringList({encoded, encoded}));
    }
}

TEST_F(Browser, other_files_and_folders_are_refused)
{
    EXPECT_FALSE(VrpsRunBrowser(makeFile("program.sh").c_str()));
    EXPECT_FALSE(VrpsRunBrowser(makeFile("html").c_str()));
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("folder.html")));
    EXPECT_FALSE(VrpsRunBrowser(folder.filePath(QStringLiteral("folder.html")).toStdWString().c_str()));
    EXPECT_EQ(desktop.opened, QStringList());
}

TEST_F(Browser, a_link_that_looks_like_a_page_is_refused_when_it_leads_to_something_else)
{
    const std::wstring program = makeFile("program.desktop");
    const QString link = folder.filePath(QStringLiteral("page.html"));
    ASSERT_TRUE(QFile::link(QString::fromStdWString(program), link));
    EXPECT_FALSE(VrpsRunBrowser(link.toStdWString().c_str()));
    EXPECT_EQ(desktop.opened, QStringList());
}

TEST(BrowserWithoutDesktop, a_browser_that_cannot_be_started_is_told)
{
    EXPECT_FALSE(VrpsRunBrowser(L"http://host/"));
}

} // namespace

#include "browser_test.moc"
