// SPDX-License-Identifier: MIT
#include "vrp/server/browser.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace {

/// Pages are opened, programs and other documents are not: what a server names must not start anything else.
bool isLocalPage(const QString &path)
{
    const QFileInfo file(path);
    static const QStringList pageSuffixes = {QStringLiteral("html"), QStringLiteral("htm"),
                                             QStringLiteral("pdf")};
    return file.isAbsolute() && file.isFile() && pageSuffixes.contains(file.suffix(), Qt::CaseInsensitive) &&
           pageSuffixes.contains(QFileInfo(file.canonicalFilePath()).suffix(), Qt::CaseInsensitive);
}

/// The address to open, or an invalid one for what is refused.
QUrl allowedAddress(const QString &text)
{
    if (isLocalPage(text)) {
        return QUrl::fromLocalFile(text);
    }
    QUrl url(text);
    const QString scheme = url.scheme(); // in lower case
    if (scheme == QLatin1String("http") || scheme == QLatin1String("https")) {
        return url.host().isEmpty() ? QUrl() : url;
    }
    if (scheme == QLatin1String("mailto")) {
        return url;
    }
    return url.isLocalFile() && isLocalPage(url.toLocalFile()) ? url : QUrl();
}

} // namespace

bool VrpsRunBrowser(const wchar_t *url)
{
    if (!url) {
        return false;
    }
    const QUrl address = allowedAddress(QString::fromWCharArray(url));
    return address.isValid() && QDesktopServices::openUrl(address);
}
