#pragma once

#include <QWidget>

namespace corvane {

// One line of dimmed text that may change many times a second: unlike a label, a new text only
// repaints the line (elided in the middle when it does not fit) and never lays out the window
// again.
class StatusLine : public QWidget {
public:
    explicit StatusLine(QWidget* parent = nullptr);

    const QString& text() const { return text_; }
    void setText(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString text_;
};

} // namespace corvane
