#include "shell/InventoryWidgets.h"

#include "platform/ByteFormat.h"
#include "shell/ListOrder.h"

#include <QHeaderView>
#include <QLabel>
#include <QStyle>
#include <QTreeWidget>
#include <algorithm>

namespace corvane::InventoryWidgets {

void setUpTree(QTreeWidget& tree, const QString& objectName, const QString& accessibleName,
               const QStringList& headers, int nameWidth) {
    tree.setObjectName(objectName);
    tree.setAccessibleName(accessibleName);
    tree.setHeaderLabels(headers);
    tree.setUniformRowHeights(true);
    tree.setAlternatingRowColors(true);
    tree.header()->setSectionResizeMode(0, QHeaderView::Interactive);
    tree.header()->resizeSection(0, nameWidth);
    tree.header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    // The size column sorts largest first on its first click.
    tree.headerItem()->setData(1, Qt::InitialSortOrderRole, static_cast<int>(Qt::DescendingOrder));
}

void fitNameColumn(QTreeWidget& tree, int nameWidth) {
    // The tree's own hint counts the indentation of the rows under their headings.
    const QAbstractItemView& view = tree;
    const int wanted =
        view.sizeHintForColumn(0) + tree.style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    // A hidden list has no width of its own yet; it is fitted again when shown.
    const int cap = tree.isVisible() ? tree.viewport()->width() / 2 : wanted;
    tree.header()->resizeSection(0, std::max(nameWidth, std::min(wanted, cap)));
}

void setUpStateLabel(QLabel& label, const QString& objectName) {
    label.setObjectName(objectName);
    label.setAlignment(Qt::AlignCenter);
    label.setWordWrap(true);
    label.setForegroundRole(QPalette::PlaceholderText);
}

void setUpFailuresLabel(QLabel& label, const QString& objectName) {
    label.setObjectName(objectName);
    label.setWordWrap(true);
    label.setTextInteractionFlags(Qt::TextSelectableByMouse);
}

QTreeWidgetItem* addHeading(QTreeWidget* tree, const QString& title, const QString& detail) {
    auto* item = new QTreeWidgetItem(tree);
    item->setText(0, title);
    if (!detail.isEmpty())
        item->setText(tree->columnCount() - 1, detail);
    QFont bold = item->font(0);
    bold.setBold(true);
    item->setFont(0, bold);
    item->setFlags(Qt::ItemIsEnabled);
    item->setData(0, ListOrder::headingRole, true);
    return item;
}

void setSize(QTreeWidgetItem& row, int column, qint64 bytes) {
    row.setText(column, formatBytes(bytes));
    row.setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    row.setData(column, ListOrder::sortKeyRole, QVariant::fromValue(bytes));
    row.setData(column, bytesRole, bytes);
}

void setTickable(QTreeWidgetItem& row, int column, bool ticked, bool tickable) {
    row.setCheckState(column, ticked ? Qt::Checked : Qt::Unchecked);
    row.setFlags(tickable ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable
                          : Qt::ItemIsSelectable);
}

void markKept(QTreeWidgetItem& row, int column) {
    row.setText(column, row.text(column) + keptSuffix);
    const QString tooltip = row.toolTip(column);
    row.setToolTip(column, (tooltip.isEmpty() ? QString() : tooltip + u'\n') + keptToolTip);
}

void showFailures(QLabel& label, const QList<ItemFailure>& failures, const QString& heading) {
    QStringList messages;
    for (const ItemFailure& failure : failures)
        messages.append(failure.name + QStringLiteral(": ") + failure.message);
    showMessages(label, messages, heading);
}

void showMessages(QLabel& label, const QStringList& messages, const QString& heading) {
    QStringList lines;
    if (!heading.isEmpty() && !messages.isEmpty())
        lines.append(heading);
    lines.append(messages);
    label.setText(lines.join(u'\n'));
    label.setVisible(!messages.isEmpty());
}

} // namespace corvane::InventoryWidgets
