#pragma once

#include "scanning/GlobalCachesModel.h"

#include <QAbstractTableModel>

namespace corvane {

// The developer caches the caches model lists, in catalog order, with tick boxes and their sizes as
// the measurements come in ("Measuring…" until then).
class CachesTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { nameColumn, detailColumn, sizeColumn, columnTotal };
    enum Role { cacheIDRole = Qt::UserRole + 1 };

    explicit CachesTableModel(GlobalCachesModel& caches, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void reloadCaches();
    void columnChanged(int column, const QList<int>& roles);
    QString sizeText(const GlobalCacheItem& cache) const;

    GlobalCachesModel& caches_;
    QList<GlobalCacheItem> shown_;
};

} // namespace corvane
