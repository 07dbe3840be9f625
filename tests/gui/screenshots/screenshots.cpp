// SPDX-License-Identifier: MIT
// Renders every window of the program to a picture:
//   screenshots FOLDER light|dark default|long|CONFIGURATION [POINTS]
// A configuration file is one of packaging/config; its language is in its name. POINTS is the size of the
// font, 9 without it. The scale is that of QT_SCALE_FACTOR.

#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/core/GuiApplication.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/installation_settings.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/AskServiceDialog.h"
#include "vrp/ui/AskUpdateDialog.h"
#include "vrp/ui/ConfigDialog.h"
#include "vrp/ui/MessageWindow.h"
#include "vrp/ui/PrintModeDialog.h"
#include "vrp/ui/ProxyUserPasswordDialog.h"
#include "vrp/ui/UserPasswordDialog.h"
#include "vrp/ui/message_boxes.h"

#include <QApplication>
#include <QFileInfo>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <regex>
#include <string>

namespace {

void useDarkPalette()
{
    QPalette palette;
    const QColor window(53, 53, 53);
    const QColor base(35, 35, 35);
    for (const auto &[role, color] : {std::pair(QPalette::Window, window),
                                      {QPalette::Button, window},
                                      {QPalette::Base, base},
                                      {QPalette::AlternateBase, window},
                                      {QPalette::WindowText, QColor(Qt::white)},
                                      {QPalette::Text, QColor(Qt::white)},
                                      {QPalette::ButtonText, QColor(Qt::white)},
                                      {QPalette::Highlight, QColor(42, 130, 218)},
                                      {QPalette::HighlightedText, QColor(Qt::black)}}) {
        palette.setColor(role, color);
    }
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, Qt::gray);
    }
    QApplication::setPalette(palette);
}

/// The section and key of a resource identifier, and its default text.
struct ResourceParts
{
    std::wstring section, key, text;
};

ResourceParts partsOf(const std::wstring &id)
{
    const std::size_t first = id.find(L';');
    const std::size_t second = id.find(L';', first + 1);
    return {id.substr(0, first), id.substr(first + 1, second - first - 1), id.substr(second + 1)};
}

void configure(const wchar_t *id, const std::wstring &text)
{
    const ResourceParts parts = partsOf(id);
    VrpsSetCompanyRegistryKey(parts.section.c_str(), parts.key.c_str(), text.c_str(), false);
}

/// Every text at twice its length, as a wordy translation has it.
void useLongTexts()
{
    for (const wchar_t *id : resource::installed) {
        const ResourceParts parts = partsOf(id);
        const bool shown = parts.section.rfind(L"Dlg", 0) == 0 || parts.section == L"Messages";
        if (shown && parts.key != L"Position") {
            configure(id, parts.text + L" – " + parts.text);
        }
    }
}

/// The texts and images that an installation with this file has, and the toolkit's texts in its language.
void useConfiguration(const QString &file)
{
    VrpMain *run = VrpsGetMain();
    copyBounded(run->configFilePath, QString2StdWString(file));
    for (const wchar_t *id : resource::installed) {
        VrpsSetCompanyRegistryKeyFromConfigFile(id);
    }
    run->programDir = QString2StdWString(QFileInfo(file).path() + QStringLiteral("/../images"));
    const QString language = QFileInfo(file).completeBaseName().section(QLatin1Char('.'), 1);
    QLocale::setDefault(QLocale(language.isEmpty() ? QStringLiteral("en") : language));
}

void savePicture(QWidget &window, const QString &file)
{
    window.show();
    QCoreApplication::processEvents();
    if (!window.grab().save(file)) {
        qFatal("cannot write %s", qPrintable(file));
    }
    std::printf("%s\n", qPrintable(file));
}

/// A cancel button as an installation might draw it.
void drawCancelImage(const QString &file, const QColor &color)
{
    QPixmap pixmap(80, 28);
    pixmap.fill(color);
    QPainter painter(&pixmap);
    painter.setPen(Qt::white);
    painter.drawText(pixmap.rect(), Qt::AlignCenter, QStringLiteral("Cancel"));
    painter.end();
    pixmap.save(file);
}

void renderProgress(const QString &folder)
{
    VrpMain *run = VrpsGetMain();
    const std::wstring text =
        std::regex_replace(VrpsGetCompanyRegistryKey(L"Messages", L"SendingFile", L"Sending file...", false),
                           std::wregex(L"%d"), L"42");
    MessageWindow plain;
    plain.setTextMessage(text.c_str());
    savePicture(plain, folder + QStringLiteral("/progress.png"));
    if (run->configFilePath[0] != L'\0') {
        return; // the shipped files have a look of their own
    }

    const QTemporaryDir images;
    run->programDir = QString2StdWString(images.path());
    drawCancelImage(images.filePath(QStringLiteral("cancel.png")), QColor(170, 40, 40));
    configure(resource::messageWindowBitmapCancelFile, L"cancel.png");
    configure(resource::messageWindowBitmapCancelPosition, L"355,34");
    configure(resource::messageWindowBackgroundColor, L"24,60,100");
    configure(resource::messageWindowTextBackgroundColor, L"24,60,100");
    configure(resource::messageWindowTextColor, L"255,255,255");
    configure(resource::messageWindowFontSize, L"16");
    MessageWindow branded;
    branded.setTextMessage(text.c_str());
    savePicture(branded, folder + QStringLiteral("/progress-branded.png"));
}

void renderDialogs(const QString &folder)
{
    UserPasswordDialog identifier;
    identifier.findChild<QLineEdit *>(QStringLiteral("passwordEdit"))->setText(QStringLiteral("password"));
    savePicture(identifier, folder + QStringLiteral("/identifier.png"));
    ProxyUserPasswordDialog proxy;
    savePicture(proxy, folder + QStringLiteral("/proxy.png"));
    PrintModeDialog mode;
    savePicture(mode, folder + QStringLiteral("/print-mode.png"));
    AskServiceDialog service;
    savePicture(service, folder + QStringLiteral("/service.png"));
    AskUpdateDialog update;
    savePicture(update, folder + QStringLiteral("/update.png"));
    ConfigDialog configuration;
    savePicture(configuration, folder + QStringLiteral("/configuration.png"));
}

/// The picture of the box that an action shows.
void saveBox(const std::function<void()> &action, const QString &file)
{
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, [&file] {
        QWidget *box = QApplication::activeModalWidget();
        savePicture(*box, file);
        box->close();
    });
    timer.start(0);
    action();
}

void renderBoxes(const QString &folder)
{
    saveBox([] { VrpsGetMain()->Version(); }, folder + QStringLiteral("/version.png"));
    saveBox([] { VrpsMessageBoxFromId(resource::setupIntroInstall, iconQuestion, buttonYes | buttonNo); },
            folder + QStringLiteral("/install.png"));
    saveBox([] { VrpsMessageBoxFromId(resource::setupInstallOk, iconInformation, buttonOk); },
            folder + QStringLiteral("/installed.png"));
    saveBox([] { VrpsErrorMessage(resource::errorsNoTunnelServiceProfile, 0); },
            folder + QStringLiteral("/error.png"));
}

void prepareRun()
{
    VrpMain *run = VrpsGetMain();
    copyBounded(run->company, L"Varek Systems");
    copyBounded(run->softwareName, L"VarekPrint");
    run->ident = L"ann";
    run->standardModeOffered = true;
    run->tunnelModeOffered = true;
    run->services = {L"1;Archive", L"2;Mail room"};
    for (const wchar_t *topic : {L"DlgIdent", L"DlgPrintMode", L"DlgService", L"DlgConfig"}) {
        VrpsSetCompanyRegistryKey(L"Help", topic, L"https://print.example/help", false);
    }
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"print.example:1082", true);
    VrpsSetCompanyRegistryKey(L"Settings", L"ProxyServer", L"proxy.example", true);
    VrpsSetCompanyRegistryKey(L"Settings", L"ProxyPort", L"3128", true);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc != 4 && argc != 5) {
        std::fputs("usage: screenshots FOLDER light|dark default|long|CONFIGURATION [POINTS]\n", stderr);
        return 2;
    }
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), argc == 5 ? std::atoi(argv[4]) : 9));
    if (qstrcmp(argv[2], "dark") == 0) {
        useDarkPalette();
    }
    const SettingsFolder settings;
    const FreshMain main;
    prepareRun();
    const QString texts = QString::fromLocal8Bit(argv[3]);
    if (texts == QLatin1String("long")) {
        useLongTexts();
    } else if (texts != QLatin1String("default")) {
        useConfiguration(texts);
    }
    const GuiApplication language(GuiApplication::LastWindow::isIgnored);
    const QString folder = QString::fromLocal8Bit(argv[1]);
    renderDialogs(folder);
    renderBoxes(folder);
    renderProgress(folder);
    return 0;
}
