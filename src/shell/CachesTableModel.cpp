#include "shell/CachesTableModel.h"

#include "platform/ByteFormat.h"
#include "shell/InventoryWidgets.h"
#include "shell/ListOrder.h"

namespace corvane {

CachesTableModel::CachesTableModel(GlobalCachesModel& caches, QObject* parent)
    : QAbstractTableModel(parent)
    , caches_(caches)
    , shown_(caches.caches()) {
    connect(&caches_, &GlobalCachesModel::cachesChanged, this, &CachesTableModel::reloadCaches);
    connect(&caches_, &GlobalCachesModel::cacheSizeByIDChanged, this,
            [this] { columnChanged(sizeColumn, {Qt::DisplayRole}); });
    connect(&caches_, &GlobalCachesModel::isLoadingChanged, this,
            [this] { columnChanged(sizeColumn, {Qt::DisplayRole}); });
    connect(&caches_, &GlobalCachesModel::selectedIDsChanged, this,
            [this] { columnChanged(nameColumn, {Qt::CheckStateRole}); });
}

void CachesTableModel::reloadCaches() {
    const QList<GlobalCacheItem>& caches = caches_.caches();
    if (caches == shown_)
        return;
    // A trash action takes single caches away: remove just their rows, so the rest stay put.
    for (int row = static_cast<int>(shown_.size()) - 1; row >= 0; --row) {
        if (caches.contains(shown_[row]))
            continue;
        beginRemoveRows({}, row, row);
        shown_.removeAt(row);
        endRemoveRows();
    }
    if (caches == shown_)
        return;
    beginResetModel();
    shown_ = caches;
    endResetModel();
}

void CachesTableModel::columnChanged(int column, const QList<int>& roles) {
    if (!shown_.isEmpty())
        emit dataChanged(index(0, column), index(static_cast<int>(shown_.size()) - 1, column),
                         roles);
}

int CachesTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(shown_.size());
}

int CachesTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QString CachesTableModel::sizeText(const GlobalCacheItem& cache) const {
    const auto size = caches_.cacheSizeByID().constFind(cache.id());
    if (size != caches_.cacheSizeByID().cend())
        return formatBytes(*size);
    return caches_.isLoading() ? QStringLiteral("Measuring…") : QString();
}

QVariant CachesTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= shown_.size())
        return {};
    const GlobalCacheItem& cache = shown_[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case nameColumn:
            return cache.isKept ? cache.entry.name + InventoryWidgets::keptSuffix
                                : cache.entry.name;
        case detailColumn:
            return cache.entry.detail;
        case sizeColumn:
            return sizeText(cache);
        }
        return {};
    case Qt::ToolTipRole:
        if (index.column() == nameColumn && cache.isKept)
            return cache.entry.url +
                   QStringLiteral("\nKept: never ticked, never moved to the Trash.");
        return index.column() == nameColumn ? cache.entry.url : cache.entry.detail;
    case Qt::CheckStateRole:
        if (index.column() != nameColumn)
            return {};
        return caches_.selectedIDs().contains(cache.id()) ? Qt::Checked : Qt::Unchecked;
    case Qt::TextAlignmentRole:
        if (index.column() == sizeColumn)
            return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
        return {};
    case ListOrder::sortKeyRole: {
        const auto size = caches_.cacheSizeByID().constFind(cache.id());
        if (index.column() != sizeColumn || size == caches_.cacheSizeByID().cend())
            return {};
        return QVariant::fromValue(*size);
    }
    case ListOrder::pathRole:
        return cache.entry.url;
    case cacheIDRole:
        return cache.id();
    }
    return {};
}

bool CachesTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != nameColumn || role != Qt::CheckStateRole ||
        index.row() >= shown_.size())
        return false;
    caches_.setSelected(shown_[index.row()].id(), value.value<Qt::CheckState>() == Qt::Checked);
    return true;
}

Qt::ItemFlags CachesTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!index.isValid() || index.row() >= shown_.size() || index.column() != nameColumn)
        return flags;
    flags |= Qt::ItemIsUserCheckable;
    // A kept cache's box is shown but cannot be ticked.
    if (shown_[index.row()].isKept)
        flags &= ~Qt::ItemIsEnabled;
    return flags;
}

QVariant CachesTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::InitialSortOrderRole)
        return static_cast<int>(section == sizeColumn ? Qt::DescendingOrder : Qt::AscendingOrder);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return QStringLiteral("Cache");
    case detailColumn:
        return QStringLiteral("What it holds");
    case sizeColumn:
        return QStringLiteral("Size");
    }
    return {};
}

} // namespace corvane
