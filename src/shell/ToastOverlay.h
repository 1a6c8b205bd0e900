#pragma once

#include "platform/ToastCenter.h"

#include <QTimer>
#include <QWidget>

class QLabel;

namespace corvane {

// Shows the toast center's current toast as a small rounded note at the bottom of its parent,
// above everything else, and dismisses it after a few seconds. One toast at a time: a new one
// replaces the note and starts the time again.
class ToastOverlay : public QWidget {
    Q_OBJECT

public:
    static constexpr int defaultDisplayTime = 4000;

    ToastOverlay(ToastCenter& toasts, QWidget* parent);

    QString message() const;
    void setDisplayTime(int milliseconds) { dismissTimer_.setInterval(milliseconds); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void showCurrent();
    void place();

    ToastCenter& toasts_;
    QLabel* label_;
    QTimer dismissTimer_;
    QUuid shownID_;
};

} // namespace corvane
