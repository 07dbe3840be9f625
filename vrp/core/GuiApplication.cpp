// SPDX-License-Identifier: MIT
#include "vrp/core/GuiApplication.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/printer_title.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr char platformVariable[] = "QT_QPA_PLATFORM";

/// While it lives, a toolkit that cannot reach a display ends the program with one line instead of aborting
/// it.
class DisplayGuard
{
public:
    DisplayGuard() { s_previous = qInstallMessageHandler(handle); }

    ~DisplayGuard() { qInstallMessageHandler(s_previous); }

    DisplayGuard(const DisplayGuard &) = delete;
    DisplayGuard &operator=(const DisplayGuard &) = delete;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtFatalMsg) {
            std::fputs("vrp: no window can be shown: there is no display, or it cannot be opened\n", stderr);
            std::_Exit(EXIT_FAILURE);
        }
        // The warnings on the way there tell a user nothing.
        if (type == QtDebugMsg) {
            s_previous(type, context, message);
        }
    }

    static inline QtMessageHandler s_previous = nullptr;
};

/// Lets the next application object do without a display, unless somebody has chosen a platform.
class WithoutDisplay
{
public:
    explicit WithoutDisplay(bool wanted)
    {
#ifndef Q_OS_MACOS
        m_set = wanted && !qEnvironmentVariableIsSet(platformVariable);
#else
        static_cast<void>(wanted);
#endif
        if (m_set) {
            qputenv(platformVariable, "offscreen");
        }
    }

    ~WithoutDisplay()
    {
        if (m_set) {
            qunsetenv(platformVariable);
        }
    }

    WithoutDisplay(const WithoutDisplay &) = delete;
    WithoutDisplay &operator=(const WithoutDisplay &) = delete;

private:
    bool m_set = false;
};

QString translationsFolder()
{
#if QT_VERSION_MAJOR < 6
    return QLibraryInfo::location(QLibraryInfo::TranslationsPath);
#else
    return QLibraryInfo::path(QLibraryInfo::TranslationsPath);
#endif
}

void setProgramIcon()
{
    const QString icon = QString::fromStdWString(VrpsGetMain()->programDir) + QStringLiteral("/vrp.ico");
    if (QFile::exists(icon)) {
        QApplication::setWindowIcon(QIcon(icon));
    }
}

} // namespace

GuiApplication::GuiApplication(LastWindow lastWindow, Windows windows)
{
    if (QCoreApplication::instance() == nullptr) {
        const DisplayGuard guard;
        const WithoutDisplay withoutDisplay(windows == Windows::none);
        m_application = std::make_unique<QApplication>(m_argumentCount, m_arguments);
    }
    QApplication::setQuitOnLastWindowClosed(lastWindow == LastWindow::endsLoop);
    nameProgram();
    useSystemLanguage();
    setProgramIcon();
}

GuiApplication::~GuiApplication()
{
    QCoreApplication::removeTranslator(&m_translator);
}

void GuiApplication::useSystemLanguage()
{
    if (m_translator.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"), translationsFolder())) {
        QCoreApplication::installTranslator(&m_translator);
    }
}

int GuiApplication::run()
{
    return QApplication::exec();
}
