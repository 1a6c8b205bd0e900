#pragma once

#include "scanning/ScanSession.h"
#include "shell/FindableModel.h"
#include "shell/ListOrder.h"

#include <QAbstractItemModel>
#include <QDateTime>
#include <QHash>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

namespace corvane {

// The nested project list of the scanned folder, in the session's order and filter. During a
// scan the session changes many times a second; the model gathers those changes and applies them
// shortly after as row insertions, removals, a reordering and value updates, so views keep their
// selection, expansion and scroll position while rows arrive. Only a project that changes its
// parent (its parent found after it) makes the model reset. A find text narrows the rows to the
// projects whose name or path holds it (with the projects around them), and a column chosen in
// the header orders each level instead of the session; both work through the same moves.
// Projects that share a name show as much of their folders as tells them apart.
class ProjectTreeModel : public QAbstractItemModel, public FindableModel {
    Q_OBJECT

public:
    enum Column { nameColumn, stateColumn, activityColumn, sizeColumn, columnTotal };
    enum Role {
        projectIDRole = Qt::UserRole + 1,
        // Reclaimable bytes of the row's project (qint64).
        bytesRole,
        // The row's reclaimable bytes as a share of the largest row's, 0 to 1, for a size bar.
        barFractionRole,
        // Whether the project is kept (bool); its size cell then reads "Kept".
        keptRole,
    };

    explicit ProjectTreeModel(const ScanSession& session, QObject* parent = nullptr);
    ~ProjectTreeModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    // Orders each level by `column`; -1 goes back to the session's order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    void setFindText(const QString& text) override;
    int shownRowCount() const override;
    int allRowCount() const override;

    // The row of a listed project, or an invalid index.
    QModelIndex indexOf(const QUuid& projectID, int column = nameColumn) const;
    std::optional<Project> projectAt(const QModelIndex& index) const;

    // Brings the rows in line with the session at once (normally done shortly after it changes).
    void refresh();
    // The clock for "3 days ago"; tests fix it.
    void setClock(std::function<QDateTime()> clock) { clock_ = std::move(clock); }

private:
    struct Node;
    struct Values;

    void scheduleRefresh();
    QList<ProjectNode> shaped(QList<ProjectNode> tree);
    // Notes what each row shows for its branch: the sum the tree carries, and whether any
    // project in it is still being measured. Says whether any of `nodes` is.
    bool noteBranches(const QList<ProjectNode>& nodes);
    const Values& cachedValues(const Project& project);
    QVariant sortKey(const Values& values, int column) const;
    bool keepsEveryParent(const QHash<QUuid, std::optional<QUuid>>& parentOf) const;
    int rowsComingAndGoing(const QHash<QUuid, std::optional<QUuid>>& parentOf) const;
    void resetTo(const QList<ProjectNode>& tree);
    void removeMissing(Node& parent, const QHash<QUuid, std::optional<QUuid>>& parentOf);
    void insertNew(Node& parent, const QList<ProjectNode>& wanted);
    void reorder(const QList<ProjectNode>& tree);
    void applyOrder(Node& parent, const QList<ProjectNode>& wanted);
    void updateValues();
    std::unique_ptr<Node> makeNode(const ProjectNode& source, Node* parent);
    void forget(const Node& node);
    QModelIndex indexFor(const Node& node, int column = nameColumn) const;
    Node* nodeAt(const QModelIndex& index) const;
    Values valuesOf(const Project& project) const;
    QString display(const Values& values, int column) const;

    const ScanSession& session_;
    std::unique_ptr<Node> root_;
    QHash<QUuid, Node*> nodeByID_;
    // What each project shows in this refresh, worked out once for ordering and for the rows.
    QHash<QUuid, Values> valuesCache_;
    QList<ProjectNode> sessionTree_;
    struct Branch {
        qint64 bytes = 0;
        bool measuring = false;
    };
    QHash<QUuid, Branch> branches_;
    bool sessionStale_ = true;
    bool findChanged_ = false;
    QHash<QUuid, QString> distinguishedNames_;
    bool namesStale_ = true;
    QString findText_;
    ListOrder::Choice order_;
    qint64 largestBytes_ = 0;
    bool shownScanning_ = false;
    QTimer refreshTimer_;
    std::function<QDateTime()> clock_;
};

} // namespace corvane
