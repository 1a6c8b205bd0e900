#pragma once

#include "platform/InventoryModel.h"

#include <QString>
#include <QStringList>

class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

// What the inventory pages (Docker, simulators, AI models, Android) share: a list of items
// under headings with their sizes and tick boxes, a line that stands in for the list while
// there is nothing to show, and the failures of the last removal.
namespace corvane::InventoryWidgets {

// Name, size and details columns; the name column starts `nameWidth` wide.
void setUpTree(QTreeWidget& tree, const QString& objectName, const QString& accessibleName,
               const QStringList& headers, int nameWidth);
// Widens the name column to its longest name, up to half the list, never under `nameWidth`: the
// details column gives way before a name is cut.
void fitNameColumn(QTreeWidget& tree, int nameWidth);
// Centred, wrapped, in the placeholder colour.
void setUpStateLabel(QLabel& label, const QString& objectName);
void setUpFailuresLabel(QLabel& label, const QString& objectName);

// A bold heading row (not tickable) with `detail` in the last column.
QTreeWidgetItem* addHeading(QTreeWidget* tree, const QString& title, const QString& detail = {});
// Every list has its sizes in this column; `bytesRole` holds the bytes the text shows.
constexpr int sizeColumn = 1;
constexpr int bytesRole = Qt::UserRole + 8;
// What removing a row gives back when it differs from its size, in its first column.
constexpr int freesRole = Qt::UserRole + 9;
// Shows `bytes` right-aligned in `column` of `row`, keeps them in `bytesRole`
// and sorts the row by them.
void setSize(QTreeWidgetItem& row, int column, qint64 bytes);

// A row that can be ticked only when `tickable`; `ticked` is its tick.
void setTickable(QTreeWidgetItem& row, int column, bool ticked, bool tickable);

// What every list writes after the name of a row a Keep mark binds, and what its tooltip adds.
inline const QString keptSuffix = QStringLiteral(" — Kept");
inline const QString keptToolTip = QStringLiteral("Kept: never ticked, never removed.");

// A row a Keep mark binds: `keptSuffix` after its name in `column`, and `keptToolTip` in its
// tooltip. The caller leaves it untickable.
void markKept(QTreeWidgetItem& row, int column);

// Shows each failure as "name: message" under `heading` (none when empty), or hides the label.
void showFailures(QLabel& label, const QList<ItemFailure>& failures, const QString& heading);
// Shows each message on a line of its own under `heading`, or hides the label when there are none.
void showMessages(QLabel& label, const QStringList& messages, const QString& heading);

} // namespace corvane::InventoryWidgets
