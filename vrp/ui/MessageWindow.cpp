// SPDX-License-Identifier: MIT
#include "vrp/ui/MessageWindow.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_id.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/keyword.h"
#include "vrp/ui/entry_values.h"
#include "vrp/ui/resource_text.h"
#include "vrp/ui/window_placement.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace {

/// Largest side of the window and largest text size, in pixels: a configured number beyond is taken for
/// these, since no window system shows more and the toolkit would allocate it.
constexpr int largestSide = 8192;
constexpr int largestFontSize = 1000;

constexpr int styleSheetCapacity = 799;
constexpr int exposeWaitMs = 250;
constexpr int steadyMs = 50;

int configuredNumber(const wchar_t *id)
{
    return decimalPrefix(VrpsLoadConfigString(id));
}

int configuredSide(const wchar_t *id)
{
    return std::clamp(configuredNumber(id), 0, largestSide);
}

QColor configuredColor(const wchar_t *id)
{
    int r = 0;
    int g = 0;
    int b = 0;
    MessageWindow::getColorFromId(id, r, g, b);
    return {r, g, b};
}

/// A style sheet's declaration of a colour.
QString colorDeclaration(const char *property, const QColor &color)
{
    return QString::asprintf("%s: rgb(%d,%d,%d);", property, color.red(), color.green(), color.blue());
}

QString fontDeclaration()
{
    const int configured = configuredNumber(resource::messageWindowFontSize);
    const int size = configured < 1 ? decimalPrefix(defaultTextOf(resource::messageWindowFontSize))
                                    : std::min(configured, largestFontSize);
    const QString weight =
        isYes(VrpsLoadConfigString(resource::messageWindowBold)) ? QStringLiteral("bold ") : QString();
    const std::wstring family = styleSheetFontFamily(VrpsLoadConfigString(resource::messageWindowFont));
    return QStringLiteral("font: ") + weight + QString::asprintf("%dpx ", size) +
           QString::fromStdWString(family) + QLatin1Char(';');
}

QSize logicalSize(const QPixmap &pixmap)
{
    return (QSizeF(pixmap.size()) / pixmap.devicePixelRatio()).toSize();
}

} // namespace

MessageWindow::MessageWindow()
{
    createWindow();
}

void MessageWindow::createWindow()
{
    applyFrame();
    applyGeometry();
    applyColors();
    createTextLabel();
    createCancelButtons();
    auto *start = new QTimer(this);
    start->setSingleShot(true);
    connect(start, &QTimer::timeout, this, &MessageWindow::doSend);
    start->start(0);
}

void MessageWindow::applyFrame()
{
    Qt::WindowFlags flags = Qt::Window | Qt::CustomizeWindowHint;
    flags &= ~Qt::WindowSystemMenuHint;
    if (isYes(VrpsLoadConfigString(resource::messageWindowCaption))) {
        flags |= Qt::WindowTitleHint;
    }
    if (!isYes(VrpsLoadConfigString(resource::messageWindowBorder))) {
        flags |= Qt::FramelessWindowHint;
    }
    setWindowFlags(flags);
    setWindowTitle(resourceText(resource::messageWindowTitle));
}

void MessageWindow::applyGeometry()
{
    move(configuredPosition(resource::messageWindowPosition));
    resize(configuredSide(resource::messageWindowWidht), configuredSide(resource::messageWindowHeight));
}

void MessageWindow::applyColors()
{
    setStyleSheet(
        colorDeclaration("background-color", configuredColor(resource::messageWindowBackgroundColor)));
}

void MessageWindow::createTextLabel()
{
    const QPoint position = configuredPosition(resource::messageWindowTextPosition);
    const int room = configuredSide(resource::messageWindowWidht) - position.x() - 10;
    const QString styleSheet =
        fontDeclaration() + QLatin1Char(' ') +
        colorDeclaration("color", configuredColor(resource::messageWindowTextColor)) + QLatin1Char(' ') +
        colorDeclaration("background-color", configuredColor(resource::messageWindowTextBackgroundColor));

    m_textLabel = new QLabel(this);
    m_textLabel->setObjectName(QStringLiteral("textLabel"));
    m_textLabel->setTextFormat(Qt::PlainText);
    m_textLabel->setWordWrap(true);
    m_textLabel->setStyleSheet(styleSheet.left(styleSheetCapacity));
    m_textLabel->setFixedWidth(std::max(room, 0));
    m_textLabel->move(position);
}

void MessageWindow::createCancelButtons()
{
    if (!loadBitmap(&m_cancelPixmap, resource::messageWindowBitmapCancelFile, nullptr, nullptr)) {
        return;
    }
    const QSize cancelSize = logicalSize(m_cancelPixmap);
    m_cancelButton = createBitmapButton(m_cancelPixmap, cancelSize);
    m_cancelButton->setObjectName(QStringLiteral("cancelButton"));
    connect(m_cancelButton, &QPushButton::clicked, this, &MessageWindow::onCancel);

    if (!loadBitmap(&m_pressedCancelPixmap, resource::messageWindowBitmapCancelSFile, nullptr, nullptr)) {
        return;
    }
    // The icon takes the height of the other picture on purpose: the two are meant to be of one size.
    const QSize mixedSize(logicalSize(m_pressedCancelPixmap).width(), cancelSize.height());
    m_pressedCancelButton = createBitmapButton(m_pressedCancelPixmap, mixedSize);
    m_pressedCancelButton->setObjectName(QStringLiteral("pressedCancelButton"));
    m_pressedCancelButton->hide();
}

QPushButton *MessageWindow::createBitmapButton(const QPixmap &pixmap, QSize iconSize)
{
    auto *button = new QPushButton(this);
    button->setIcon(QIcon(pixmap));
    button->setIconSize(iconSize);
    button->setFixedSize(logicalSize(pixmap));
    button->move(configuredPosition(resource::messageWindowBitmapCancelPosition));
    button->setAccessibleName(resourceText(resource::dlgIdentCancelText));
    return button;
}

void MessageWindow::getColorFromId(const wchar_t *id, int &r, int &g, int &b)
{
    parseColor(VrpsLoadConfigString(id), r, g, b);
}

void MessageWindow::getPositionFromId(const wchar_t *id, int &x, int &y)
{
    parsePosition(VrpsLoadConfigString(id), x, y);
}

QPixmap *MessageWindow::loadBitmap(QPixmap *pixmap, const wchar_t *fileId, const wchar_t *positionId,
                                   QPainter *painter)
{
    const QString file = resourceText(fileId).trimmed();
    if (file.isEmpty()) {
        return nullptr;
    }
    const QString folder = QString::fromStdWString(VrpsGetMain()->programDir);
    if (pixmap->isNull() && !pixmap->load(folder + QLatin1Char('/') + file)) {
        return nullptr;
    }
    if (painter) {
        painter->drawPixmap(configuredPosition(positionId), *pixmap);
    }
    return pixmap;
}

void MessageWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    loadBitmap(&m_bitmap1, resource::messageWindowBitmap1File, resource::messageWindowBitmap1Position,
               &painter);
    loadBitmap(&m_bitmap2, resource::messageWindowBitmap2File, resource::messageWindowBitmap2Position,
               &painter);
    loadBitmap(&m_bitmap3, resource::messageWindowBitmap3File, resource::messageWindowBitmap3Position,
               &painter);
}

void MessageWindow::setVisible(bool visible)
{
    if (visible && !isVisible()) {
        placeVisibly(*this);
    }
    QMainWindow::setVisible(visible);
}

void MessageWindow::setTextMessage(const wchar_t *text)
{
    const QString shown = shownText(text);
    if (!isVisible() || shown != m_textLabel->text()) {
        m_textLabel->setText(shown);
        fitTextLabel();
    }
    repaintText();
    showPainted();
}

/// The label grows in height with its text; the window keeps the size that it is configured with.
void MessageWindow::fitTextLabel()
{
    const int width = m_textLabel->width();
    m_textLabel->resize(width,
                        std::max(m_textLabel->heightForWidth(width), m_textLabel->sizeHint().height()));
}

void MessageWindow::repaintText()
{
    // Thousands of blocks share a hundred percentages: to paint one again would change nothing on the screen.
    if (m_paintedText != m_textLabel->text()) {
        m_paintedText = m_textLabel->text();
        m_textLabel->repaint();
    }
}

/// Shows the window and, when it was hidden, waits until the window system has put it on the screen, so that
/// nobody looks at an empty frame during the server call that follows.
void MessageWindow::showPainted()
{
    if (isVisible()) {
        return;
    }
    show();
    // An X11 window manager that is still busy with the hiding just before takes the window off the screen
    // once more, or leaves it off: only a window that stays on the screen for a while has been shown again.
    const bool shownAgain = m_shownBefore && QGuiApplication::platformName() == QLatin1String("xcb");
    m_shownBefore = true;
    if (!waitUntilExposed(shownAgain ? steadyMs : 0) && shownAgain) {
        hide();
        show();
    }
}

/// Waits, with a limit, until the window has been on the screen for `forMs`.
bool MessageWindow::waitUntilExposed(int forMs) const
{
    const QDeadlineTimer deadline(exposeWaitMs);
    QTimer tick; // so that the waiting below ends now and then
    tick.start(10);
    QElapsedTimer exposed;
    while (!exposed.isValid() || exposed.elapsed() < forMs) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
        if (!windowHandle()->isExposed()) {
            exposed.invalidate();
        } else if (!exposed.isValid()) {
            exposed.start();
        }
    }
    return true;
}

void MessageWindow::setOnTop()
{
    activateWindow();
    raise();
}

void MessageWindow::doSend()
{
    VrpsGetMain()->DoSend();
    QCoreApplication::exit(0);
}

void MessageWindow::onCancel()
{
    if (m_pressedCancelButton) {
        m_cancelButton->hide();
        m_pressedCancelButton->show();
    }
    VrpsGetMain()->cancelled = true;
}
