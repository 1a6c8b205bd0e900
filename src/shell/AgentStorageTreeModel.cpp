#include "shell/AgentStorageTreeModel.h"

#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Paths.h"
#include "shell/InventoryWidgets.h"

#include <QApplication>
#include <QFont>
#include <QMap>
#include <QPalette>

namespace corvane {
namespace {

QString whyOf(const AgentStoreRow& row) {
    if (row.blockedReason)
        return *row.blockedReason;
    if (row.newPlace)
        return QStringLiteral("Relink first: the project is probably now at ") + *row.newPlace;
    return row.reason;
}

QString countWords(qsizetype count) {
    return count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
}

} // namespace

// An agent or a project: a line of its own above the rows it holds. An index's internal pointer
// is the group its line lies in (nothing for an agent's line).
struct AgentStorageTreeModel::Group {
    QString name;
    QString toolTip;
    qint64 bytes = 0;
    qsizetype count = 0;
    int row = 0;
    bool isProject = false;

    virtual ~Group() = default;
};

struct AgentStorageTreeModel::ProjectGroup : Group {
    AgentGroup* agent = nullptr;
    QList<const AgentStoreRow*> rows;
};

struct AgentStorageTreeModel::AgentGroup : Group {
    std::vector<std::unique_ptr<ProjectGroup>> projects;
};

AgentStorageTreeModel::AgentStorageTreeModel(AgentStorageModel& storage, QObject* parent)
    : QAbstractItemModel(parent)
    , storage_(storage) {
    connect(&storage_, &AgentStorageModel::storeChanged, this, &AgentStorageTreeModel::rebuild);
    connect(&storage_, &InventoryModel::keptChanged, this, &AgentStorageTreeModel::rebuild);
    connect(&storage_, &InventoryModel::selectedIDsChanged, this,
            &AgentStorageTreeModel::showTicks);
    rebuild();
}

AgentStorageTreeModel::~AgentStorageTreeModel() = default;

void AgentStorageTreeModel::rebuild() {
    beginResetModel();
    agents_.clear();
    QMap<AgentKind, QMap<QString, QList<const AgentStoreRow*>>> grouped;
    for (const AgentStoreRow& row : storage_.store().rows)
        grouped[row.agent][row.project].append(&row);
    for (auto agent = grouped.cbegin(); agent != grouped.cend(); ++agent) {
        auto agentGroup = std::make_unique<AgentGroup>();
        agentGroup->name = displayName(agent.key());
        agentGroup->row = static_cast<int>(agents_.size());
        for (auto project = agent->cbegin(); project != agent->cend(); ++project) {
            auto projectGroup = std::make_unique<ProjectGroup>();
            projectGroup->isProject = true;
            projectGroup->agent = agentGroup.get();
            projectGroup->row = static_cast<int>(agentGroup->projects.size());
            projectGroup->name = project.key().isEmpty() ? QStringLiteral("Not tied to a project")
                                                         : Paths::lastComponent(project.key());
            projectGroup->toolTip = project.key();
            projectGroup->rows = project.value();
            projectGroup->count = project.value().size();
            for (const AgentStoreRow* row : project.value())
                projectGroup->bytes = checkedSum(projectGroup->bytes, row->bytes);
            agentGroup->bytes = checkedSum(agentGroup->bytes, projectGroup->bytes);
            agentGroup->count += projectGroup->count;
            agentGroup->projects.push_back(std::move(projectGroup));
        }
        agents_.push_back(std::move(agentGroup));
    }
    endResetModel();
}

void AgentStorageTreeModel::showTicks() {
    // One change per project: the view redraws only the boxes it shows.
    for (const auto& agent : agents_) {
        for (const auto& project : agent->projects) {
            if (project->rows.isEmpty())
                continue;
            const int last = static_cast<int>(project->rows.size()) - 1;
            emit dataChanged(createIndex(0, nameColumn, project.get()),
                             createIndex(last, nameColumn, project.get()), {Qt::CheckStateRole});
        }
    }
}

QModelIndex AgentStorageTreeModel::indexOf(const QString& id, int column) const {
    for (const auto& agent : agents_) {
        for (const auto& project : agent->projects) {
            for (qsizetype at = 0; at < project->rows.size(); ++at) {
                if (project->rows.at(at)->id == id)
                    return createIndex(static_cast<int>(at), column, project.get());
            }
        }
    }
    return {};
}

QModelIndex AgentStorageTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (row < 0 || column < 0 || column >= columnTotal || row >= rowCount(parent))
        return {};
    if (!parent.isValid())
        return createIndex(row, column, nullptr);
    auto* within = static_cast<Group*>(parent.internalPointer());
    if (!within)
        return createIndex(row, column, agents_[static_cast<size_t>(parent.row())].get());
    auto* agent = static_cast<AgentGroup*>(within);
    return createIndex(row, column, agent->projects[static_cast<size_t>(parent.row())].get());
}

QModelIndex AgentStorageTreeModel::parent(const QModelIndex& child) const {
    auto* within = child.isValid() ? static_cast<Group*>(child.internalPointer()) : nullptr;
    if (!within)
        return {};
    if (!within->isProject)
        return createIndex(within->row, nameColumn, nullptr);
    return createIndex(within->row, nameColumn, static_cast<ProjectGroup*>(within)->agent);
}

int AgentStorageTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return static_cast<int>(agents_.size());
    if (parent.column() != nameColumn)
        return 0;
    auto* within = static_cast<Group*>(parent.internalPointer());
    if (!within)
        return static_cast<int>(agents_[static_cast<size_t>(parent.row())]->projects.size());
    if (within->isProject)
        return 0;
    const auto* agent = static_cast<AgentGroup*>(within);
    return static_cast<int>(agent->projects[static_cast<size_t>(parent.row())]->rows.size());
}

int AgentStorageTreeModel::columnCount(const QModelIndex&) const {
    return columnTotal;
}

const AgentStoreRow* AgentStorageTreeModel::rowAt(const QModelIndex& index) const {
    auto* within = index.isValid() ? static_cast<Group*>(index.internalPointer()) : nullptr;
    if (!within || !within->isProject)
        return nullptr;
    return static_cast<ProjectGroup*>(within)->rows.value(index.row());
}

QVariant AgentStorageTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    if (const AgentStoreRow* row = rowAt(index))
        return rowData(*row, index.column(), role);
    auto* within = static_cast<Group*>(index.internalPointer());
    const Group& group =
        within ? static_cast<const Group&>(
                     *static_cast<AgentGroup*>(within)->projects[static_cast<size_t>(index.row())])
               : *agents_[static_cast<size_t>(index.row())];
    return groupData(group, index.column(), role);
}

QVariant AgentStorageTreeModel::groupData(const Group& group, int column, int role) const {
    switch (role) {
    case Qt::DisplayRole:
        if (column == nameColumn)
            return group.name;
        if (column == sizeColumn)
            return formatBytes(group.bytes);
        if (column == whyColumn)
            return countWords(group.count);
        return {};
    case Qt::ToolTipRole:
        return column == nameColumn && !group.toolTip.isEmpty() ? QVariant(group.toolTip)
                                                                : QVariant();
    case Qt::FontRole:
        if (group.isProject || column != nameColumn)
            return {};
        {
            QFont bold = QApplication::font();
            bold.setBold(true);
            return bold;
        }
    case Qt::TextAlignmentRole:
        return column == sizeColumn
                   ? QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter))
                   : QVariant();
    }
    return {};
}

QVariant AgentStorageTreeModel::rowData(const AgentStoreRow& row, int column, int role) const {
    const bool kept = storage_.isKept(row.id);
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case nameColumn:
            return kept ? row.name + InventoryWidgets::keptSuffix : row.name;
        case sizeColumn:
            return formatBytes(row.bytes);
        case kindColumn:
            return displayName(row.kind);
        case whyColumn:
            return whyOf(row);
        }
        return {};
    case Qt::ToolTipRole:
        if (column == nameColumn)
            return row.paths().join(u'\n') +
                   (kept ? u'\n' + InventoryWidgets::keptToolTip : QString());
        return column == whyColumn ? QVariant(whyOf(row)) : QVariant();
    case Qt::CheckStateRole:
        if (column != nameColumn || kept || !row.isOffered())
            return {};
        return storage_.selectedIDs().contains(row.id) ? Qt::Checked : Qt::Unchecked;
    case Qt::ForegroundRole:
        // What can never go says why in grey.
        return column == whyColumn && !kept && !row.isOffered()
                   ? QVariant(QApplication::palette().brush(QPalette::PlaceholderText))
                   : QVariant();
    case Qt::TextAlignmentRole:
        return column == sizeColumn
                   ? QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter))
                   : QVariant();
    case idRole:
        return row.id;
    }
    return {};
}

bool AgentStorageTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const AgentStoreRow* row = rowAt(index);
    if (!row || role != Qt::CheckStateRole || index.column() != nameColumn)
        return false;
    storage_.setSelected(row->id, value.toInt() == Qt::Checked);
    return true;
}

Qt::ItemFlags AgentStorageTreeModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    if (index.column() == nameColumn && data(index, Qt::CheckStateRole).isValid())
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant AgentStorageTreeModel::headerData(int section, Qt::Orientation orientation,
                                           int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return QStringLiteral("Agent, project and item");
    case sizeColumn:
        return QStringLiteral("Size");
    case kindColumn:
        return QStringLiteral("Kind");
    case whyColumn:
        return QStringLiteral("Why");
    }
    return {};
}

} // namespace corvane
