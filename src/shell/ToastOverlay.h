#pragma once

#include "platform/ToastCenter.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;

namespace corvane {

// Shows the toast center's current toast as a small rounded note at the bottom of its parent,
// above everything else, and dismisses it after a few seconds. One toast at a time: a new one
// replaces the note and starts the time again. A toast with an action shows its button, and stays
// twice as long so that there is time to press it.
class ToastOverlay : public QWidget {
    Q_OBJECT

public:
    static constexpr int defaultDisplayTime = 4000;

    ToastOverlay(ToastCenter& toasts, QWidget* parent);

    QString message() const;
    // The button of the toast's action; hidden when the toast has none.
    QPushButton* actionButton() const { return actionButton_; }
    void setDisplayTime(int milliseconds) { displayTime_ = milliseconds; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void showCurrent();
    void place();

    ToastCenter& toasts_;
    QLabel* label_;
    QPushButton* actionButton_;
    QTimer dismissTimer_;
    int displayTime_ = defaultDisplayTime;
    QUuid shownID_;
};

} // namespace corvane
