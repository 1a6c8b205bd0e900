#include "shell/TreeWidgetFinding.h"

#include <QSet>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <algorithm>

namespace corvane::TreeWidgetFinding {
namespace {

bool isHeading(const QTreeWidgetItem& item) {
    return item.data(0, ListOrder::headingRole).toBool();
}

bool matchesItself(const QTreeWidgetItem& item, const QString& needle) {
    const QVariant path = item.data(0, ListOrder::pathRole);
    return ListOrder::matches(needle, item.text(0),
                              path.isValid() ? path.toString() : item.toolTip(0));
}

// Shows `item` when it, a row above it or a row below it matches; counts the rows it holds.
bool showRow(QTreeWidgetItem& item, const QString& needle, bool aboveMatches, bool counted,
             Counts& counts) {
    const bool self = aboveMatches || matchesItself(item, needle);
    const bool countsItself = !counted && !isHeading(item);
    bool below = false;
    for (int child = 0; child < item.childCount(); ++child)
        below |= showRow(*item.child(child), needle, self, counted || countsItself, counts);
    const bool shown = self || below;
    item.setHidden(!shown);
    if (countsItself) {
        ++counts.all;
        counts.shown += shown ? 1 : 0;
    }
    return shown;
}

void sortChildren(QTreeWidgetItem& parent, const ListOrder::Choice& choice) {
    for (int child = 0; child < parent.childCount(); ++child)
        sortChildren(*parent.child(child), choice);
    if (parent.childCount() < 2)
        return;
    QList<QTreeWidgetItem*> children = parent.takeChildren();
    const auto headings =
        std::stable_partition(children.begin(), children.end(),
                              [](const QTreeWidgetItem* item) { return !isHeading(*item); });
    const int column = choice.column;
    std::stable_sort(
        children.begin(), headings,
        [column, descending = choice.order == Qt::DescendingOrder](const QTreeWidgetItem* a,
                                                                   const QTreeWidgetItem* b) {
            if (descending)
                std::swap(a, b);
            return ListOrder::lessThan(a->data(column, ListOrder::sortKeyRole), a->text(column),
                                       b->data(column, ListOrder::sortKeyRole), b->text(column));
        });
    parent.addChildren(children);
}

} // namespace

Counts showMatching(QTreeWidget& tree, const QString& needle) {
    Counts counts;
    QTreeWidgetItem& root = *tree.invisibleRootItem();
    for (int row = 0; row < root.childCount(); ++row)
        showRow(*root.child(row), needle.trimmed(), false, false, counts);
    return counts;
}

void sort(QTreeWidget& tree, const ListOrder::Choice& choice) {
    if (choice.column < 0 || choice.column >= tree.columnCount())
        return;
    // Taking rows out of the tree forgets what the view knew of them.
    QSet<QTreeWidgetItem*> expanded;
    for (QTreeWidgetItemIterator it(&tree); *it; ++it) {
        if ((*it)->isExpanded())
            expanded.insert(*it);
    }
    const QList<QTreeWidgetItem*> selected = tree.selectedItems();
    QTreeWidgetItem* current = tree.currentItem();
    sortChildren(*tree.invisibleRootItem(), choice);
    for (QTreeWidgetItem* item : std::as_const(expanded))
        item->setExpanded(true);
    if (current)
        tree.setCurrentItem(current, 0, QItemSelectionModel::NoUpdate);
    for (QTreeWidgetItem* item : selected)
        item->setSelected(true);
}

} // namespace corvane::TreeWidgetFinding
