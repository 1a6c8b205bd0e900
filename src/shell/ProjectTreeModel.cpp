#include "shell/ProjectTreeModel.h"

#include "platform/ByteFormat.h"
#include "scanning/ScanWording.h"
#include "shell/ActivityWords.h"
#include "shell/ProjectNames.h"
#include "shell/ProjectTreeShape.h"
#include "shell/StateBadge.h"

#include <QFileIconProvider>
#include <algorithm>
#include <vector>

namespace corvane {
namespace {

// Long enough to gather a burst of scan batches into one update, short enough to look live.
constexpr int refreshDelay = 50;
// A key typed in the filter that takes or brings back more rows than this resets the list: a view
// relays out all its rows for each run of removed rows, and matches lie scattered.
constexpr int bulkFindChange = 64;

using ParentMap = QHash<QUuid, std::optional<QUuid>>;

void collectParents(const QList<ProjectNode>& nodes, const std::optional<QUuid>& parent,
                    ParentMap& parentOf) {
    for (const ProjectNode& node : nodes) {
        parentOf.insert(node.project.id, parent);
        if (node.children)
            collectParents(*node.children, node.project.id, parentOf);
    }
}

// Whether the scan has still to classify the project or to measure one of the items it could
// give back.
bool isMeasuring(const ScanSession& session, const QUuid& projectID) {
    const auto items = session.itemsByProject().constFind(projectID);
    if (items == session.itemsByProject().cend())
        return true;
    return std::any_of(items->cbegin(), items->cend(), [&session](const CleanableItem& item) {
        return item.confidence == CleanConfidence::safe && !session.sizeByItem().contains(item.id);
    });
}

QIcon folderIcon() {
    static const QIcon icon = QFileIconProvider().icon(QFileIconProvider::Folder);
    return icon;
}

const QList<ProjectNode>& childrenOf(const ProjectNode& node) {
    static const QList<ProjectNode> none;
    return node.children ? *node.children : none;
}

} // namespace

struct ProjectTreeModel::Values {
    QString name;
    // What the project and the projects nested in it can give back; `ownBytes` the project alone.
    qint64 bytes = 0;
    qint64 ownBytes = 0;
    // Some of what they could give back is not measured yet.
    bool measuring = false;
    std::optional<GitStatus> status;
    QString gitWords;
    std::optional<QDateTime> lastCommit;
    bool kept = false;

    bool operator==(const Values&) const = default;
};

struct ProjectTreeModel::Node {
    Project project;
    Values values;
    bool changed = false;
    Node* parent = nullptr;
    int row = 0;
    std::vector<std::unique_ptr<Node>> children;

    void renumber() {
        for (size_t index = 0; index < children.size(); ++index)
            children[index]->row = static_cast<int>(index);
    }

    bool hasOrder(const QList<ProjectNode>& wanted) const {
        if (static_cast<qsizetype>(children.size()) != wanted.size())
            return false;
        for (qsizetype index = 0; index < wanted.size(); ++index) {
            const Node& child = *children[static_cast<size_t>(index)];
            if (child.project.id != wanted[index].project.id ||
                !child.hasOrder(childrenOf(wanted[index])))
                return false;
        }
        return true;
    }
};

ProjectTreeModel::ProjectTreeModel(const ScanSession& session, QObject* parent)
    : QAbstractItemModel(parent)
    , session_(session)
    , root_(std::make_unique<Node>())
    , clock_([] { return QDateTime::currentDateTime(); }) {
    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(refreshDelay);
    connect(&refreshTimer_, &QTimer::timeout, this, &ProjectTreeModel::refresh);
    for (const auto signal :
         {&ScanSession::projectsChanged, &ScanSession::gitDetailsByProjectChanged,
          &ScanSession::itemsByProjectChanged, &ScanSession::sizeByItemChanged,
          &ScanSession::sortModeChanged, &ScanSession::showOnlyUnsyncedChanged,
          &ScanSession::isScanningChanged, &ScanSession::keptPathsChanged})
        connect(&session_, signal, this, &ProjectTreeModel::scheduleRefresh);
    connect(&session_, &ScanSession::projectsChanged, this, [this] { namesStale_ = true; });
    refresh();
}

ProjectTreeModel::~ProjectTreeModel() = default;

void ProjectTreeModel::scheduleRefresh() {
    sessionStale_ = true;
    if (!refreshTimer_.isActive())
        refreshTimer_.start();
}

void ProjectTreeModel::refresh() {
    refreshTimer_.stop();
    if (namesStale_) {
        distinguishedNames_ = ProjectNames::distinguished(session_.projects());
        namesStale_ = false;
    }
    // Typing in the filter or choosing a column changes nothing in the session: its tree and the
    // values worked out for it stay good.
    if (sessionStale_) {
        sessionTree_ = session_.projectTree();
        branches_.clear();
        noteBranches(sessionTree_);
        valuesCache_.clear();
        sessionStale_ = false;
    }
    const QList<ProjectNode> tree = shaped(sessionTree_);
    ParentMap parentOf;
    collectParents(tree, std::nullopt, parentOf);
    const bool bulk = findChanged_ && rowsComingAndGoing(parentOf) > bulkFindChange;
    findChanged_ = false;
    if (bulk || !keepsEveryParent(parentOf)) {
        resetTo(tree);
        return;
    }
    removeMissing(*root_, parentOf);
    insertNew(*root_, tree);
    reorder(tree);
    updateValues();
}

QList<ProjectNode> ProjectTreeModel::shaped(QList<ProjectNode> tree) {
    if (!findText_.isEmpty())
        tree = ProjectTreeShape::narrowed(tree, findText_);
    if (order_.column >= 0) {
        ProjectTreeShape::sortLevels(tree, [this](const Project& a, const Project& b) {
            const Values& first = cachedValues(a);
            const Values& second = cachedValues(b);
            const QVariant firstKey = sortKey(first, order_.column);
            const QVariant secondKey = sortKey(second, order_.column);
            const QString firstText = display(first, order_.column);
            const QString secondText = display(second, order_.column);
            return order_.order == Qt::AscendingOrder
                       ? ListOrder::lessThan(firstKey, firstText, secondKey, secondText)
                       : ListOrder::lessThan(secondKey, secondText, firstKey, firstText);
        });
    }
    return tree;
}

bool ProjectTreeModel::noteBranches(const QList<ProjectNode>& nodes) {
    bool anyMeasuring = false;
    for (const ProjectNode& node : nodes) {
        bool measuring = session_.isScanning() && isMeasuring(session_, node.project.id);
        if (node.children)
            measuring = noteBranches(*node.children) || measuring;
        branches_.insert(node.project.id, {node.branchBytes, measuring});
        anyMeasuring = anyMeasuring || measuring;
    }
    return anyMeasuring;
}

const ProjectTreeModel::Values& ProjectTreeModel::cachedValues(const Project& project) {
    auto found = valuesCache_.find(project.id);
    if (found == valuesCache_.end())
        found = valuesCache_.insert(project.id, valuesOf(project));
    return *found;
}

QVariant ProjectTreeModel::sortKey(const Values& values, int column) const {
    switch (column) {
    case stateColumn:
        // The states that hold work nobody else has come first.
        return values.status ? QVariant(static_cast<int>(values.status->kind())) : QVariant();
    case activityColumn:
        return values.lastCommit ? QVariant(*values.lastCommit) : QVariant();
    case sizeColumn:
        return QVariant::fromValue(values.kept ? qint64(-1) : values.bytes);
    }
    return {};
}

void ProjectTreeModel::sort(int column, Qt::SortOrder order) {
    const ListOrder::Choice choice{column < 0 || column >= columnTotal ? -1 : column, order};
    if (choice == order_)
        return;
    order_ = choice;
    refresh();
}

void ProjectTreeModel::setFindText(const QString& text) {
    const QString needle = text.trimmed();
    if (needle == findText_)
        return;
    findText_ = needle;
    findChanged_ = true;
    refresh();
}

int ProjectTreeModel::shownRowCount() const {
    return static_cast<int>(nodeByID_.size());
}

int ProjectTreeModel::allRowCount() const {
    return static_cast<int>(session_.projects().size());
}

int ProjectTreeModel::rowsComingAndGoing(const ParentMap& parentOf) const {
    int count = 0;
    for (auto wanted = parentOf.cbegin(); wanted != parentOf.cend(); ++wanted)
        count += nodeByID_.contains(wanted.key()) ? 0 : 1;
    for (auto shown = nodeByID_.cbegin(); shown != nodeByID_.cend(); ++shown)
        count += parentOf.contains(shown.key()) ? 0 : 1;
    return count;
}

bool ProjectTreeModel::keepsEveryParent(const ParentMap& parentOf) const {
    for (auto node = nodeByID_.cbegin(); node != nodeByID_.cend(); ++node) {
        const auto wanted = parentOf.constFind(node.key());
        if (wanted == parentOf.cend())
            continue;
        const Node* parent = node.value()->parent;
        const std::optional<QUuid> current =
            parent == root_.get() ? std::nullopt : std::optional<QUuid>(parent->project.id);
        if (current != *wanted)
            return false;
    }
    return true;
}

void ProjectTreeModel::resetTo(const QList<ProjectNode>& tree) {
    beginResetModel();
    root_ = std::make_unique<Node>();
    nodeByID_.clear();
    for (const ProjectNode& node : tree)
        root_->children.push_back(makeNode(node, root_.get()));
    root_->renumber();
    endResetModel();
    updateValues();
}

void ProjectTreeModel::removeMissing(Node& parent, const ParentMap& parentOf) {
    auto& children = parent.children;
    for (int row = static_cast<int>(children.size()) - 1; row >= 0; --row) {
        if (parentOf.contains(children[static_cast<size_t>(row)]->project.id)) {
            removeMissing(*children[static_cast<size_t>(row)], parentOf);
            continue;
        }
        // One removal per run of neighbouring rows.
        int first = row;
        while (first > 0 &&
               !parentOf.contains(children[static_cast<size_t>(first - 1)]->project.id))
            --first;
        beginRemoveRows(indexFor(parent), first, row);
        for (int index = first; index <= row; ++index)
            forget(*children[static_cast<size_t>(index)]);
        children.erase(children.begin() + first, children.begin() + row + 1);
        parent.renumber();
        endRemoveRows();
        row = first;
    }
}

void ProjectTreeModel::insertNew(Node& parent, const QList<ProjectNode>& wanted) {
    QList<const ProjectNode*> fresh;
    for (const ProjectNode& node : wanted) {
        if (Node* existing = nodeByID_.value(node.project.id))
            insertNew(*existing, childrenOf(node));
        else
            fresh.append(&node);
    }
    if (fresh.isEmpty())
        return;
    // New rows go to the end; the reordering that follows puts them in their place.
    const int first = static_cast<int>(parent.children.size());
    beginInsertRows(indexFor(parent), first, first + static_cast<int>(fresh.size()) - 1);
    for (const ProjectNode* node : std::as_const(fresh))
        parent.children.push_back(makeNode(*node, &parent));
    parent.renumber();
    endInsertRows();
}

void ProjectTreeModel::reorder(const QList<ProjectNode>& tree) {
    if (root_->hasOrder(tree))
        return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QList<std::pair<Node*, int>> held;
    for (const QModelIndex& index : before)
        held.append({nodeAt(index), index.column()});
    applyOrder(*root_, tree);
    QModelIndexList after;
    for (const auto& [node, column] : std::as_const(held))
        after.append(indexFor(*node, column));
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void ProjectTreeModel::applyOrder(Node& parent, const QList<ProjectNode>& wanted) {
    std::vector<std::unique_ptr<Node>> ordered;
    ordered.reserve(parent.children.size());
    for (const ProjectNode& node : wanted) {
        const auto found = std::find_if(parent.children.begin(), parent.children.end(),
                                        [&node](const std::unique_ptr<Node>& child) {
                                            return child && child->project.id == node.project.id;
                                        });
        Q_ASSERT(found != parent.children.end());
        ordered.push_back(std::move(*found));
        applyOrder(*ordered.back(), childrenOf(node));
    }
    parent.children = std::move(ordered);
    parent.renumber();
}

void ProjectTreeModel::updateValues() {
    qint64 largest = 0;
    for (Node* node : std::as_const(nodeByID_)) {
        const Values values = cachedValues(node->project);
        node->changed = values != node->values;
        node->values = values;
        largest = std::max(largest, values.bytes);
    }
    // Every bar is drawn against the largest project, so a new largest redraws them all; the end
    // of a scan changes the words of projects that git has not answered for.
    const bool all = largest != largestBytes_ || session_.isScanning() != shownScanning_;
    largestBytes_ = largest;
    shownScanning_ = session_.isScanning();
    std::function<void(const Node&)> announce = [&](const Node& parent) {
        int first = -1;
        int last = -1;
        for (const auto& child : parent.children) {
            if (all || child->changed) {
                first = first < 0 ? child->row : first;
                last = child->row;
            }
            announce(*child);
        }
        if (first >= 0)
            emit dataChanged(index(first, nameColumn, indexFor(parent)),
                             index(last, sizeColumn, indexFor(parent)));
    };
    announce(*root_);
}

std::unique_ptr<ProjectTreeModel::Node> ProjectTreeModel::makeNode(const ProjectNode& source,
                                                                   Node* parent) {
    auto node = std::make_unique<Node>();
    node->project = source.project;
    // From this refresh's cache: a key typed in the filter brings back rows without working out
    // their values again.
    node->values = cachedValues(source.project);
    node->parent = parent;
    nodeByID_.insert(source.project.id, node.get());
    for (const ProjectNode& child : childrenOf(source))
        node->children.push_back(makeNode(child, node.get()));
    node->renumber();
    return node;
}

void ProjectTreeModel::forget(const Node& node) {
    nodeByID_.remove(node.project.id);
    for (const auto& child : node.children)
        forget(*child);
}

ProjectTreeModel::Values ProjectTreeModel::valuesOf(const Project& project) const {
    Values values;
    values.name = distinguishedNames_.value(project.id, project.name);
    values.ownBytes = session_.reclaimableBytes(project.id);
    const auto branch = branches_.constFind(project.id);
    values.bytes = branch != branches_.cend() ? branch->bytes : values.ownBytes;
    values.measuring = branch != branches_.cend()
                           ? branch->measuring
                           : session_.isScanning() && isMeasuring(session_, project.id);
    values.kept = session_.isKept(project);
    const auto details = session_.gitDetailsByProject().constFind(project.id);
    if (details != session_.gitDetailsByProject().cend()) {
        values.status = details->status;
        values.gitWords = ScanWording::gitDetailsWords(*details);
        values.lastCommit = details->lastCommitDate;
    }
    return values;
}

QModelIndex ProjectTreeModel::indexFor(const Node& node, int column) const {
    if (&node == root_.get())
        return {};
    return createIndex(node.row, column, const_cast<Node*>(&node));
}

ProjectTreeModel::Node* ProjectTreeModel::nodeAt(const QModelIndex& index) const {
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : root_.get();
}

QModelIndex ProjectTreeModel::index(int row, int column, const QModelIndex& parent) const {
    const Node* node = nodeAt(parent);
    if (row < 0 || column < 0 || column >= columnTotal ||
        row >= static_cast<int>(node->children.size()) ||
        (parent.isValid() && parent.column() != 0))
        return {};
    return indexFor(*node->children[static_cast<size_t>(row)], column);
}

QModelIndex ProjectTreeModel::parent(const QModelIndex& child) const {
    if (!child.isValid())
        return {};
    return indexFor(*nodeAt(child)->parent);
}

int ProjectTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() && parent.column() != 0)
        return 0;
    return static_cast<int>(nodeAt(parent)->children.size());
}

int ProjectTreeModel::columnCount(const QModelIndex&) const {
    return columnTotal;
}

QModelIndex ProjectTreeModel::indexOf(const QUuid& projectID, int column) const {
    const Node* node = nodeByID_.value(projectID);
    return node ? indexFor(*node, column) : QModelIndex();
}

std::optional<Project> ProjectTreeModel::projectAt(const QModelIndex& index) const {
    if (!index.isValid())
        return std::nullopt;
    return nodeAt(index)->project;
}

QString ProjectTreeModel::display(const Values& values, int column) const {
    switch (column) {
    case nameColumn:
        return values.name;
    case stateColumn:
        if (values.status)
            return values.gitWords;
        return session_.isScanning() ? QStringLiteral("Checking git…") : QString();
    case activityColumn: {
        const bool inGit = values.status && values.status->kind() != GitStatus::Case::notARepo;
        return activityWords(inGit, values.lastCommit, clock_());
    }
    case sizeColumn:
        if (values.kept)
            return QStringLiteral("Kept");
        return values.measuring ? QStringLiteral("Measuring…") : formatBytes(values.bytes);
    }
    return {};
}

QVariant ProjectTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const Node& node = *nodeAt(index);
    switch (role) {
    case Qt::DisplayRole:
        return display(node.values, index.column());
    case Qt::ToolTipRole:
        if (index.column() == activityColumn && node.values.lastCommit)
            return QLocale().toString(node.values.lastCommit->toLocalTime(), QLocale::LongFormat);
        if (index.column() == sizeColumn && !node.values.kept && !node.values.measuring &&
            node.values.bytes > node.values.ownBytes)
            return QStringLiteral("%1 in this project, %2 in the projects inside it")
                .arg(formatBytes(node.values.ownBytes),
                     formatBytes(node.values.bytes - node.values.ownBytes));
        return index.column() == nameColumn ? node.project.url
                                            : display(node.values, index.column());
    case ListOrder::sortKeyRole:
        return sortKey(node.values, index.column());
    case ListOrder::pathRole:
        return node.project.url;
    case Qt::DecorationRole:
        if (index.column() == nameColumn)
            return folderIcon();
        if (index.column() == stateColumn && node.values.status)
            return stateIcon(*node.values.status);
        return {};
    case Qt::TextAlignmentRole:
        if (index.column() == sizeColumn)
            return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
        return {};
    case projectIDRole:
        return QVariant::fromValue(node.project.id);
    case bytesRole:
        return QVariant::fromValue(node.values.bytes);
    case keptRole:
        return node.values.kept;
    case barFractionRole:
        return largestBytes_ > 0 ? static_cast<double>(node.values.bytes) / largestBytes_ : 0.0;
    }
    return {};
}

QVariant ProjectTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::InitialSortOrderRole)
        return static_cast<int>(section == sizeColumn ? Qt::DescendingOrder : Qt::AscendingOrder);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return QStringLiteral("Project");
    case stateColumn:
        return QStringLiteral("Git");
    case activityColumn:
        return QStringLiteral("Last activity");
    case sizeColumn:
        return QStringLiteral("Reclaimable");
    }
    return {};
}

} // namespace corvane
