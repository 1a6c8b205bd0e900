#include "shell/StatusLine.h"

#include <QPainter>

namespace corvane {

StatusLine::StatusLine(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void StatusLine::setText(const QString& text) {
    if (text == text_)
        return;
    text_ = text;
    setAccessibleName(text);
    update();
}

QSize StatusLine::sizeHint() const {
    return {200, fontMetrics().height() + 4};
}

QSize StatusLine::minimumSizeHint() const {
    return {40, fontMetrics().height() + 4};
}

void StatusLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(text_, Qt::ElideMiddle, width()));
}

} // namespace corvane
