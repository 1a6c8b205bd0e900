#include "shell/ProjectItemsModel.h"

#include "platform/ByteFormat.h"
#include "platform/Paths.h"
#include "scanning/ScanWording.h"
#include "shell/InventoryWidgets.h"
#include "shell/ListOrder.h"

namespace corvane {

ProjectItemsModel::ProjectItemsModel(ScanSession& session, QObject* parent)
    : QAbstractTableModel(parent)
    , session_(session) {
    connect(&session_, &ScanSession::itemsByProjectChanged, this, &ProjectItemsModel::reloadItems);
    connect(&session_, &ScanSession::sizeByItemChanged, this,
            [this] { columnsChanged(sizeColumn, freesColumn); });
    connect(&session_, &ScanSession::selectedItemIDsChanged, this,
            [this] { columnChanged(folderColumn, {Qt::CheckStateRole}); });
    connect(&session_, &ScanSession::keptPathsChanged, this,
            [this] { columnChanged(folderColumn, {}); });
}

void ProjectItemsModel::setProject(const std::optional<Project>& project) {
    if (project == project_)
        return;
    beginResetModel();
    project_ = project;
    items_ = project_ ? session_.items(project_->id) : QList<CleanableItem>();
    endResetModel();
}

void ProjectItemsModel::reloadItems() {
    const QList<CleanableItem> items =
        project_ ? session_.items(project_->id) : QList<CleanableItem>();
    if (items == items_)
        return;
    beginResetModel();
    items_ = items;
    endResetModel();
}

void ProjectItemsModel::columnChanged(int column, const QList<int>& roles) {
    if (!items_.isEmpty())
        emit dataChanged(index(0, column), index(static_cast<int>(items_.size()) - 1, column),
                         roles);
}

void ProjectItemsModel::columnsChanged(int first, int last) {
    if (!items_.isEmpty())
        emit dataChanged(index(0, first), index(static_cast<int>(items_.size()) - 1, last));
}

int ProjectItemsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

int ProjectItemsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QString ProjectItemsModel::folderText(const CleanableItem& item) const {
    QString text;
    if (!project_ || item.url == project_->url)
        text = QStringLiteral("The whole project folder");
    else if (Paths::isUnder(item.url, project_->url))
        text = item.url.mid(project_->url.size() + 1);
    else
        text = item.url;
    return session_.isKept(item) ? text + InventoryWidgets::keptSuffix : text;
}

QVariant ProjectItemsModel::display(const CleanableItem& item, int column) const {
    switch (column) {
    case folderColumn:
        return folderText(item);
    case kindColumn:
        return ScanWording::kindWords(item.kind);
    case confidenceColumn:
        return ScanWording::confidenceWords(item.confidence);
    case hintColumn:
        return item.restoreHint.text;
    case sizeColumn:
    case freesColumn: {
        // The tooltip says with what the rest is shared when trashing frees less.
        const auto space = session_.spaceByItem().constFind(item.id);
        if (space == session_.spaceByItem().cend())
            return column == sizeColumn ? QStringLiteral("Measuring…") : QString();
        return formatBytes(column == sizeColumn ? space->sizeBytes : space->freesBytes);
    }
    }
    return {};
}

QVariant ProjectItemsModel::sortKey(const CleanableItem& item, int column) const {
    const auto space = session_.spaceByItem().constFind(item.id);
    if (space == session_.spaceByItem().cend())
        return {};
    if (column == sizeColumn)
        return QVariant::fromValue(space->sizeBytes);
    if (column == freesColumn)
        return QVariant::fromValue(space->freesBytes);
    return {};
}

QString ProjectItemsModel::sizeTip(const CleanableItem& item) const {
    const auto space = session_.spaceByItem().constFind(item.id);
    if (space == session_.spaceByItem().cend())
        return QStringLiteral("Measuring…");
    return ScanWording::freedWords(space->sizeBytes, space->freesBytes,
                                   session_.sharedWith(item.id));
}

QVariant ProjectItemsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= items_.size())
        return {};
    const CleanableItem& item = items_[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return display(item, index.column());
    case Qt::CheckStateRole:
        if (index.column() != folderColumn)
            return {};
        return session_.selectedItemIDs().contains(item.id) ? Qt::Checked : Qt::Unchecked;
    case Qt::ToolTipRole:
        if (index.column() == folderColumn && session_.isKept(item))
            return item.url + QStringLiteral("\nKept: never ticked, never moved to the Trash.");
        if (index.column() == sizeColumn || index.column() == freesColumn)
            return sizeTip(item);
        return index.column() == folderColumn ? item.url : display(item, index.column());
    case Qt::TextAlignmentRole:
        if (index.column() == sizeColumn || index.column() == freesColumn)
            return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
        return {};
    case ListOrder::sortKeyRole:
        return sortKey(item, index.column());
    case ListOrder::pathRole:
        return item.url;
    case itemIDRole:
        return QVariant::fromValue(item.id);
    case urlRole:
        return item.url;
    }
    return {};
}

bool ProjectItemsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != folderColumn || role != Qt::CheckStateRole ||
        index.row() >= items_.size())
        return false;
    const CleanableItem& item = items_[index.row()];
    const bool ticked = value.value<Qt::CheckState>() == Qt::Checked;
    if (ticked && session_.isKept(item))
        return false;
    // The session announces the tick, and that redraws the box.
    session_.setItemSelected(item.id, ticked);
    return true;
}

Qt::ItemFlags ProjectItemsModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!index.isValid() || index.row() >= items_.size() || index.column() != folderColumn)
        return flags;
    flags |= Qt::ItemIsUserCheckable;
    // A kept item's box is shown but cannot be ticked.
    if (session_.isKept(items_[index.row()]))
        flags &= ~Qt::ItemIsEnabled;
    return flags;
}

QVariant ProjectItemsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::InitialSortOrderRole)
        return static_cast<int>(section == sizeColumn || section == freesColumn
                                    ? Qt::DescendingOrder
                                    : Qt::AscendingOrder);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case folderColumn:
        return QStringLiteral("Folder");
    case kindColumn:
        return QStringLiteral("Kind");
    case confidenceColumn:
        return QStringLiteral("Confidence");
    case hintColumn:
        return QStringLiteral("Comes back with");
    case sizeColumn:
        return QStringLiteral("Size");
    case freesColumn:
        return QStringLiteral("Frees");
    }
    return {};
}

} // namespace corvane
