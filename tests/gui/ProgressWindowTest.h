// SPDX-License-Identifier: MIT
#pragma once

#include "tests/gui/GuiTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/MessageWindow.h"

#include <QLabel>
#include <QPixmap>
#include <QTemporaryDir>

#include <memory>

/// A progress window of its own, whose pictures are in a folder of its own.
class ProgressWindowTest : public GuiTest
{
protected:
    ProgressWindowTest() { m_run->programDir = QString2StdWString(m_images.path()); }

    MessageWindow &open()
    {
        m_window = std::make_unique<MessageWindow>();
        m_run->messageWindow = m_window.get();
        return *m_window;
    }

    [[nodiscard]] QLabel &label() const { return child<QLabel>(*m_window, "textLabel"); }

    /// Puts a picture of one colour into the program's folder and names it in an entry.
    void addImage(const wchar_t *fileId, const QString &name, QSize size, const QColor &color)
    {
        QPixmap pixmap(size);
        pixmap.fill(color);
        ASSERT_TRUE(pixmap.save(m_images.filePath(name)));
        configure(fileId, QString2StdWString(name));
    }

    void addCancelImages()
    {
        addImage(resource::messageWindowBitmapCancelFile, QStringLiteral("cancel.png"), {40, 20}, Qt::red);
        addImage(resource::messageWindowBitmapCancelSFile, QStringLiteral("pressed.png"), {50, 30}, Qt::blue);
        configure(resource::messageWindowBitmapCancelPosition, L"300,40");
    }

    [[nodiscard]] QColor colorAt(int x, int y) const { return m_window->grab().toImage().pixelColor(x, y); }

    QTemporaryDir m_images;
    std::unique_ptr<MessageWindow> m_window;
};
