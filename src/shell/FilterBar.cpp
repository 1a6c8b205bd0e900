#include "shell/FilterBar.h"

#include "shell/StatusLine.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QShortcut>
#include <QToolButton>

namespace corvane {

FilterBar::FilterBar(const QString& placeholder, QWidget* parent)
    : QWidget(parent)
    , field_(new QLineEdit(this))
    , count_(new StatusLine(this)) {
    setObjectName(QStringLiteral("filterBar"));
    field_->setObjectName(QStringLiteral("filterField"));
    field_->setPlaceholderText(placeholder);
    field_->setAccessibleName(QStringLiteral("Filter"));
    field_->setClearButtonEnabled(true);
    // The clear button Qt adds has no words of its own for a screen reader.
    for (QToolButton* clear : field_->findChildren<QToolButton*>())
        clear->setAccessibleName(QStringLiteral("Clear filter"));
    field_->setMaximumWidth(320);
    count_->setObjectName(QStringLiteral("filterCount"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(field_, 1);
    layout->addWidget(count_, 1);

    // Every page has its bar; a shortcut of a page not on show is not active, so the key always
    // reaches the bar the user sees.
    auto* find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        field_->setFocus(Qt::ShortcutFocusReason);
        field_->selectAll();
    });
    auto* clear = new QShortcut(QKeySequence(Qt::Key_Escape), field_);
    clear->setContext(Qt::WidgetShortcut);
    connect(clear, &QShortcut::activated, field_, &QLineEdit::clear);
    connect(field_, &QLineEdit::textChanged, this, &FilterBar::textChanged);
}

QString FilterBar::text() const {
    return field_->text();
}

void FilterBar::showCount(int shown, int all) {
    count_->setText(text().trimmed().isEmpty()
                        ? QString()
                        : QStringLiteral("%1 of %2 shown").arg(shown).arg(all));
}

QString FilterBar::countText() const {
    return count_->text();
}

} // namespace corvane
