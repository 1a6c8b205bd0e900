#pragma once

// Everything a user can read in a window, for tests that look for words that must not be there.

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QStringList>
#include <QTabWidget>
#include <QWidget>

namespace corvane::test {

// Every text of an item model: what its cells and headers show and their tooltips.
inline void addModelTexts(const QAbstractItemModel& model, const QModelIndex& parent,
                          QStringList& texts) {
    for (int row = 0; row < model.rowCount(parent); ++row) {
        for (int column = 0; column < model.columnCount(parent); ++column) {
            const QModelIndex index = model.index(row, column, parent);
            texts << index.data().toString() << index.data(Qt::ToolTipRole).toString();
        }
        addModelTexts(model, model.index(row, 0, parent), texts);
    }
    for (int column = 0; column < model.columnCount(parent); ++column)
        texts << model.headerData(column, Qt::Horizontal).toString();
}

inline void addActionTexts(const QList<QAction*>& actions, QStringList& texts) {
    for (const QAction* action : actions) {
        texts << action->text() << action->toolTip() << action->statusTip();
        if (action->menu())
            addActionTexts(action->menu()->actions(), texts);
    }
}

// Everything under `root` a user can read, hidden or not: labels, buttons, tooltips,
// placeholders, titles, lists, menus.
inline QStringList readableTexts(QWidget& root) {
    QStringList texts{root.windowTitle()};
    addActionTexts(root.actions(), texts);
    for (QWidget* widget : root.findChildren<QWidget*>()) {
        texts << widget->toolTip() << widget->whatsThis() << widget->accessibleName()
              << widget->accessibleDescription();
        addActionTexts(widget->actions(), texts);
        if (const auto* label = qobject_cast<QLabel*>(widget))
            texts << label->text();
        else if (const auto* button = qobject_cast<QAbstractButton*>(widget))
            texts << button->text();
        else if (const auto* line = qobject_cast<QLineEdit*>(widget))
            texts << line->text() << line->placeholderText();
        else if (const auto* group = qobject_cast<QGroupBox*>(widget))
            texts << group->title();
        else if (const auto* view = qobject_cast<QAbstractItemView*>(widget); view && view->model())
            addModelTexts(*view->model(), {}, texts);
        if (const auto* tabs = qobject_cast<QTabWidget*>(widget))
            for (int tab = 0; tab < tabs->count(); ++tab)
                texts << tabs->tabText(tab) << tabs->tabToolTip(tab);
    }
    texts.removeAll(QString());
    return texts;
}

} // namespace corvane::test
