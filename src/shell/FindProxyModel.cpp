#include "shell/FindProxyModel.h"

#include "shell/ListOrder.h"

namespace corvane {
namespace {

int countRows(const QAbstractItemModel& model, const QModelIndex& parent) {
    int count = 0;
    for (int row = 0; row < model.rowCount(parent); ++row)
        count += 1 + countRows(model, model.index(row, 0, parent));
    return count;
}

} // namespace

FindProxyModel::FindProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent) {
    setRecursiveFilteringEnabled(true);
    setAutoAcceptChildRows(true);
    setDynamicSortFilter(true);
}

void FindProxyModel::setFindText(const QString& text) {
    const QString needle = text.trimmed();
    if (needle == needle_)
        return;
    needle_ = needle;
    invalidateRowsFilter();
}

int FindProxyModel::shownRowCount() const {
    return countRows(*this, {});
}

int FindProxyModel::allRowCount() const {
    return sourceModel() ? countRows(*sourceModel(), {}) : 0;
}

bool FindProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const {
    if (needle_.isEmpty())
        return true;
    const QModelIndex name = sourceModel()->index(sourceRow, 0, sourceParent);
    return ListOrder::matches(needle_, name.data().toString(),
                              name.data(ListOrder::pathRole).toString());
}

bool FindProxyModel::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    return ListOrder::lessThan(left.data(ListOrder::sortKeyRole), left.data().toString(),
                               right.data(ListOrder::sortKeyRole), right.data().toString());
}

} // namespace corvane
