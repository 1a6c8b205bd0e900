#include "shell/PageStack.h"

namespace corvane {

PageStack::PageStack(QWidget* parent)
    : QStackedWidget(parent) {
    connect(this, &QStackedWidget::currentChanged, this, &QWidget::updateGeometry);
}

QSize PageStack::frame() const {
    return {2 * frameWidth(), 2 * frameWidth()};
}

QSize PageStack::sizeHint() const {
    const QWidget* page = currentWidget();
    return page ? page->sizeHint().expandedTo({0, 0}) + frame() : QStackedWidget::sizeHint();
}

QSize PageStack::minimumSizeHint() const {
    const QWidget* page = currentWidget();
    return page ? page->minimumSizeHint().expandedTo({0, 0}) + frame()
                : QStackedWidget::minimumSizeHint();
}

} // namespace corvane
