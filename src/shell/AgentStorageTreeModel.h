#pragma once

#include "agents/AgentStorageModel.h"

#include <QAbstractItemModel>
#include <memory>
#include <vector>

namespace corvane {

// The coding agents' storage as a tree: agent, then project, then each row with its size, kind
// and why. Rows are grouped when the store arrives; their words are made only when the view
// draws them, so tens of thousands of sessions cost the main thread little. Ticks are the
// model's: a box ticked here ticks the row there, and a tick there shows here.
class AgentStorageTreeModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { nameColumn, sizeColumn, kindColumn, whyColumn, columnTotal };
    // The store row's id, on rows that stand for one.
    static constexpr int idRole = Qt::UserRole;

    explicit AgentStorageTreeModel(AgentStorageModel& storage, QObject* parent = nullptr);
    ~AgentStorageTreeModel() override;

    // The row that stands for the store row `id`, in `column`; invalid when not listed.
    QModelIndex indexOf(const QString& id, int column = nameColumn) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    struct Group;
    struct ProjectGroup;
    struct AgentGroup;

    void rebuild();
    void showTicks();
    const AgentStoreRow* rowAt(const QModelIndex& index) const;
    QVariant groupData(const Group& group, int column, int role) const;
    QVariant rowData(const AgentStoreRow& row, int column, int role) const;

    AgentStorageModel& storage_;
    std::vector<std::unique_ptr<AgentGroup>> agents_;
};

} // namespace corvane
