#pragma once

// What the desktop app's tests share: printing an item model as a tree, saving screenshots for
// a reviewer, and finding the sheets a window opens.

#include "shell/ConfirmationSheet.h"

#include <QAbstractButton>
#include <QAbstractItemModel>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>
#include <ostream>

// Failures show texts as text.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace corvane::test {

constexpr int patience = 20000;

// The model's rows as "name(child,child),name", from `column` of each row.
inline QString dumpTree(const QAbstractItemModel& model, const QModelIndex& parent = {},
                        int column = 0) {
    QStringList parts;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, column, parent);
        QString part = index.data().toString();
        const QModelIndex first = model.index(row, 0, parent);
        if (model.rowCount(first) > 0)
            part += u'(' + dumpTree(model, first, column) + u')';
        parts.append(part);
    }
    return parts.join(u',');
}

// Saves `picture` as build/screenshots/<name>.png.
inline void savePicture(const QPixmap& picture, const QString& name) {
    const QString folder = QStringLiteral(CORVANE_SCREENSHOT_DIR);
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(picture.save(folder + u'/' + name + QStringLiteral(".png"))) << qPrintable(name);
}

// Delivers what the window has asked of itself so far: layouts, repaints, deferred deletions.
// Handling one posted event may post the next (a layout asks for a repaint), so the queue is
// drained a few rounds; the test has already waited for what it wants to see.
inline void flushPendingEvents() {
    for (int round = 0; round < 4; ++round) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
}

// Saves `widget` as build/screenshots/<name>.png, so every screen a test reaches can be seen.
inline void saveScreenshot(QWidget& widget, const QString& name) {
    QWidget& window = *widget.window();
    if (window.isVisible()) {
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window)) << qPrintable(name);
    }
    flushPendingEvents();
    savePicture(widget.grab(), name);
}

// Saves `window` with `sheet` drawn over its top, where a sheet shows, as
// build/screenshots/<name>.png.
inline void saveScreenshotWithSheet(QWidget& window, QWidget& sheet, const QString& name) {
    // The sheet is open: whatever the window shows under it is what it showed when asked.
    QPixmap shot = window.grab();
    const QPixmap over = sheet.grab();
    QPainter painter(&shot);
    painter.drawPixmap((shot.width() - over.width()) / 2, 24, over);
    painter.end();
    savePicture(shot, name);
}

// The open message box of `window` with this object name, if any.
inline QMessageBox* openBox(const QWidget& window, const QString& objectName) {
    for (QMessageBox* box : window.findChildren<QMessageBox*>(objectName)) {
        if (box->isVisible())
            return box;
    }
    return nullptr;
}

// The open confirmation sheet of `window` with this object name, if any.
inline ConfirmationSheet* openSheet(const QWidget& window, const QString& objectName) {
    for (ConfirmationSheet* sheet : window.findChildren<ConfirmationSheet*>(objectName)) {
        if (sheet->isVisible())
            return sheet;
    }
    return nullptr;
}

// Clicks the button of `box` that has `role`.
inline void clickButton(QMessageBox& box, QMessageBox::ButtonRole role) {
    for (QAbstractButton* button : box.buttons()) {
        if (box.buttonRole(button) == role) {
            button->click();
            return;
        }
    }
    FAIL() << "no button with that role";
}

} // namespace corvane::test
