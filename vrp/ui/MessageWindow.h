// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>
#include <QPixmap>

#include <string>

class QLabel;
class QPainter;
class QPushButton;

/// The progress window of a send: a panel with one line of text, up to three bitmaps and a bitmap cancel
/// button, all described by the resource entries of the section MessageWindow. It also starts the send: once
/// the event loop runs, a zero-delay timer calls doSend. Main thread only; the process never deletes it.
class MessageWindow : public QMainWindow
{
    Q_OBJECT

public:
    MessageWindow();

    void createWindow();

    void setVisible(bool visible) override;

    /// Reads a resource entry "r,g,b"; see parseColor.
    static void getColorFromId(const wchar_t *id, int &r, int &g, int &b);
    /// Reads a resource entry "x,y"; see parsePosition.
    static void getPositionFromId(const wchar_t *id, int &x, int &y);

    /// Loads `pixmap` from the image file that an entry names, relative to the program's folder, unless it is
    /// loaded already; with a painter also draws it at the position that the other entry names. Returns
    /// `pixmap`, or null when the file entry is empty or the image cannot be loaded.
    static QPixmap *loadBitmap(QPixmap *pixmap, const wchar_t *fileId, const wchar_t *positionId,
                               QPainter *painter);

    /// Shows a text, and the window. A window that was hidden is painted when this returns, or 250 ms have
    /// passed.
    void setTextMessage(const wchar_t *text);

    /// Paints the text now, unless that has been done already.
    void repaintText();

    void setOnTop();

public Q_SLOTS:
    /// Runs the send workflow and ends the event loop with 0, whatever came of it.
    void doSend();
    void onCancel();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void applyFrame();
    void applyGeometry();
    void applyColors();
    void createTextLabel();
    void createCancelButtons();
    QPushButton *createBitmapButton(const QPixmap &pixmap, QSize iconSize);
    void fitTextLabel();
    void showPainted();
    [[nodiscard]] bool waitUntilExposed(int forMs) const;

    QLabel *m_textLabel = nullptr;
    QPushButton *m_cancelButton = nullptr; ///< null without a cancel bitmap
    /// Shown once the user has cancelled; null without its bitmap.
    QPushButton *m_pressedCancelButton = nullptr;
    QPixmap m_bitmap1;
    QPixmap m_bitmap2;
    QPixmap m_bitmap3;
    QPixmap m_cancelPixmap;
    QPixmap m_pressedCancelPixmap;
    QString m_paintedText;
    bool m_shownBefore = false;
};
