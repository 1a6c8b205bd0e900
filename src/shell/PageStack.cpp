#include "shell/PageStack.h"

#include <QChildEvent>

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
    if (!pagesMinimum_) {
        QSize largest(0, 0);
        for (int index = 0; index < count(); ++index)
            largest = largest.expandedTo(widget(index)->minimumSizeHint());
        pagesMinimum_ = largest;
    }
    // The page on screen may need more than it did at first.
    const QWidget* page = currentWidget();
    const QSize current = page ? page->minimumSizeHint() : QSize(0, 0);
    return pagesMinimum_->expandedTo(current) + frame();
}

void PageStack::childEvent(QChildEvent* event) {
    if (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildRemoved)
        pagesMinimum_.reset();
    QStackedWidget::childEvent(event);
}

} // namespace corvane
