// SPDX-License-Identifier: MIT
#include "tests/support/PrivateCupsd.h"

#include "tests/support/file_bytes.h"

#include <QDeadlineTimer>
#include <QStringList>
#include <QThread>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr int startLimitMs = 30000;
constexpr int stopLimitMs = 10000;

QString text(const std::string &utf8)
{
    return QString::fromStdString(utf8);
}

} // namespace

std::string outputOf(const std::string &command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), text(command)});
    process.waitForFinished(startLimitMs);
    return process.readAll().toStdString();
}

PrivateCupsd::PrivateCupsd(const std::string &backend) : m_server("CUPS_SERVER", at("cups.sock"))
{
    writeConfiguration(backend);
    m_cupsd.setProcessChannelMode(QProcess::ForwardedChannels);
    m_cupsd.start(QStringLiteral("/usr/sbin/cupsd"),
                  {QStringLiteral("-f"), QStringLiteral("-c"), text(at("cupsd.conf")), QStringLiteral("-s"),
                   text(at("cups-files.conf"))});
    const QDeadlineTimer limit(startLimitMs);
    while (m_cupsd.waitForStarted() && !answers() && !limit.hasExpired()) {
        QThread::msleep(20);
    }
}

PrivateCupsd::~PrivateCupsd()
{
    m_cupsd.terminate();
    if (!m_cupsd.waitForFinished(stopLimitMs)) {
        m_cupsd.kill();
        m_cupsd.waitForFinished(stopLimitMs);
    }
}

bool PrivateCupsd::isRunning() const
{
    return m_cupsd.state() == QProcess::Running && answers();
}

std::string PrivateCupsd::errorLog() const
{
    return fileBytes(at("error_log"));
}

std::string PrivateCupsd::at(const std::string &name) const
{
    return m_folder.path().toStdString() + "/" + name;
}

bool PrivateCupsd::answers() const
{
    return outputOf("lpstat -r").find("is running") != std::string::npos;
}

void PrivateCupsd::writeConfiguration(const std::string &backend) const
{
    // The server's own folder of programs, but with the one backend alone.
    for (const char *folder : {"lib", "lib/backend", "cache", "state", "spool", "temp", "root", "root/ppd"}) {
        fs::create_directory(at(folder));
    }
    for (const auto &entry : fs::directory_iterator("/usr/lib/cups")) {
        if (entry.path().filename() != "backend") {
            fs::create_symlink(entry.path(), at("lib/" + entry.path().filename().string()));
        }
    }
    std::ofstream(at("lib/backend/" + backend)) << "#!/bin/sh\nexit 0\n";
    fs::permissions(at("lib/backend/" + backend), fs::perms::owner_all);
    std::ofstream(at("cups-files.conf"))
        << "ServerRoot " << at("root") << "\nServerBin " << at("lib") << "\nCacheDir " << at("cache")
        << "\nStateDir " << at("state") << "\nRequestRoot " << at("spool") << "\nTempDir " << at("temp")
        << "\nAccessLog " << at("access_log") << "\nErrorLog " << at("error_log") << "\nPageLog "
        << at("page_log") << "\nSystemGroup root\n";
    std::ofstream(at("cupsd.conf"))
        << "Listen " << at("cups.sock")
        << "\nBrowsing No\nWebInterface No\nLogLevel warn\nDefaultAuthType None\n"
           "<Location />\nOrder allow,deny\nAllow all\n</Location>\n"
           "<Policy default>\n<Limit All>\nOrder deny,allow\n</Limit>\n</Policy>\n";
}
