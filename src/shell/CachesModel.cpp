#include "shell/CachesModel.h"

#include "platform/ByteFormat.h"

namespace corvane {

CachesModel::CachesModel(ScanSession& session, QObject* parent)
    : QAbstractTableModel(parent)
    , session_(session)
    , caches_(session.globalCaches()) {
    connect(&session_, &ScanSession::globalCachesChanged, this, &CachesModel::reloadCaches);
    connect(&session_, &ScanSession::cacheSizeByIDChanged, this,
            [this] { columnChanged(sizeColumn, {Qt::DisplayRole}); });
    connect(&session_, &ScanSession::isCacheScanningChanged, this,
            [this] { columnChanged(sizeColumn, {Qt::DisplayRole}); });
    connect(&session_, &ScanSession::selectedCacheIDsChanged, this,
            [this] { columnChanged(nameColumn, {Qt::CheckStateRole}); });
}

void CachesModel::reloadCaches() {
    const QList<GlobalCacheItem>& caches = session_.globalCaches();
    if (caches == caches_)
        return;
    // A trash action takes single caches away: remove just their rows, so the rest stay put.
    for (int row = static_cast<int>(caches_.size()) - 1; row >= 0; --row) {
        if (caches.contains(caches_[row]))
            continue;
        beginRemoveRows({}, row, row);
        caches_.removeAt(row);
        endRemoveRows();
    }
    if (caches == caches_)
        return;
    beginResetModel();
    caches_ = caches;
    endResetModel();
}

void CachesModel::columnChanged(int column, const QList<int>& roles) {
    if (!caches_.isEmpty())
        emit dataChanged(index(0, column), index(static_cast<int>(caches_.size()) - 1, column),
                         roles);
}

int CachesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(caches_.size());
}

int CachesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QString CachesModel::sizeText(const GlobalCacheItem& cache) const {
    const auto size = session_.cacheSizeByID().constFind(cache.id());
    if (size != session_.cacheSizeByID().cend())
        return formatBytes(*size);
    return session_.isCacheScanning() ? QStringLiteral("Measuring sizes...") : QString();
}

QVariant CachesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= caches_.size())
        return {};
    const GlobalCacheItem& cache = caches_[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case nameColumn:
            return cache.entry.name;
        case detailColumn:
            return cache.entry.detail;
        case sizeColumn:
            return sizeText(cache);
        }
        return {};
    case Qt::ToolTipRole:
        return index.column() == nameColumn ? cache.entry.url : cache.entry.detail;
    case Qt::CheckStateRole:
        if (index.column() != nameColumn)
            return {};
        return session_.selectedCacheIDs().contains(cache.id()) ? Qt::Checked : Qt::Unchecked;
    case Qt::TextAlignmentRole:
        if (index.column() == sizeColumn)
            return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
        return {};
    case cacheIDRole:
        return cache.id();
    }
    return {};
}

bool CachesModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != nameColumn || role != Qt::CheckStateRole ||
        index.row() >= caches_.size())
        return false;
    session_.setCacheSelected(caches_[index.row()].id(),
                              value.value<Qt::CheckState>() == Qt::Checked);
    return true;
}

Qt::ItemFlags CachesModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.isValid() && index.column() == nameColumn)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant CachesModel::headerData(int section, Qt::Orientation orientation, int role) const {
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
