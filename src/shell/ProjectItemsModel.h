#pragma once

#include "scanning/ScanSession.h"

#include <QAbstractTableModel>
#include <optional>

namespace corvane {

// The items of one project as a table with tick boxes: the folder (relative to the project), its
// size and what trashing it frees (less when its files are shared), its kind, how sure the scan
// is and what brings it back. Ticking a row ticks the item in the session, and the session's ticks
// are what the boxes show. A kept item says so and its box cannot be ticked.
class ProjectItemsModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column {
        folderColumn,
        sizeColumn,
        freesColumn,
        kindColumn,
        confidenceColumn,
        hintColumn,
        columnTotal
    };
    enum Role {
        itemIDRole = Qt::UserRole + 1,
        // The item's folder (a string).
        urlRole,
    };

    explicit ProjectItemsModel(ScanSession& session, QObject* parent = nullptr);

    void setProject(const std::optional<Project>& project);
    const std::optional<Project>& project() const { return project_; }
    const QList<CleanableItem>& items() const { return items_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void reloadItems();
    void columnChanged(int column, const QList<int>& roles);
    void columnsChanged(int first, int last);
    QString folderText(const CleanableItem& item) const;
    QVariant display(const CleanableItem& item, int column) const;
    QVariant sortKey(const CleanableItem& item, int column) const;
    QString sizeTip(const CleanableItem& item) const;

    ScanSession& session_;
    std::optional<Project> project_;
    QList<CleanableItem> items_;
};

} // namespace corvane
