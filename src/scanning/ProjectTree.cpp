#include "scanning/ProjectTree.h"

#include <QSet>
#include <algorithm>

namespace corvane {
namespace {

struct Level {
    QList<const Project*> topLevel;
    QHash<QUuid, QList<const Project*>> childrenOf;
};

Level arrange(const QList<Project>& projects) {
    QSet<QUuid> listed;
    for (const Project& project : projects)
        listed.insert(project.id);
    Level level;
    for (const Project& project : projects) {
        const bool nested = project.parentProjectID && *project.parentProjectID != project.id &&
                            listed.contains(*project.parentProjectID);
        if (nested)
            level.childrenOf[*project.parentProjectID].append(&project);
        else
            level.topLevel.append(&project);
    }
    return level;
}

// Sums each project's bytes with those of the projects below it, once each; a ring of parents
// adds nothing twice.
class BranchSum {
public:
    BranchSum(const ProjectTree& tree, const Level& level)
        : tree_(tree)
        , level_(level) {}

    qint64 of(const Project& project) {
        if (const auto known = sums_.constFind(project.id); known != sums_.cend())
            return *known;
        if (adding_.contains(project.id))
            return 0;
        adding_.insert(project.id);
        qint64 sum = tree_.reclaimableBytes(project.id);
        for (const Project* child : level_.childrenOf.value(project.id))
            sum += of(*child);
        adding_.remove(project.id);
        sums_.insert(project.id, sum);
        return sum;
    }

    QHash<QUuid, qint64> all() {
        for (const Project& project : tree_.projects)
            of(project);
        return sums_;
    }

private:
    const ProjectTree& tree_;
    const Level& level_;
    QHash<QUuid, qint64> sums_;
    QSet<QUuid> adding_;
};

class Builder {
public:
    Builder(const ProjectTree& tree, ProjectSortMode mode, bool onlyUnsynced)
        : tree_(tree)
        , mode_(mode)
        , onlyUnsynced_(onlyUnsynced)
        , level_(arrange(tree.projects))
        , branchBytes_(BranchSum(tree, level_).all()) {}

    QList<ProjectNode> build() {
        QList<ProjectNode> nodes = nodesFor(level_.topLevel);
        // Projects whose parents name each other in a ring are reached from no top-level node;
        // they are listed at the top rather than lost.
        QList<const Project*> unreached;
        for (const Project& project : tree_.projects) {
            if (!visited_.contains(project.id))
                unreached.append(&project);
        }
        if (!unreached.isEmpty())
            nodes.append(nodesFor(unreached));
        return nodes;
    }

private:
    QList<ProjectNode> nodesFor(QList<const Project*> projects) {
        sort(projects);
        QList<ProjectNode> nodes;
        for (const Project* project : projects) {
            if (visited_.contains(project->id))
                continue;
            visited_.insert(project->id);
            QList<ProjectNode> children = nodesFor(level_.childrenOf.value(project->id));
            if (onlyUnsynced_ && children.isEmpty() && !isUnsynced(details(*project)))
                continue;
            ProjectNode node{*project, std::nullopt, branchBytes_.value(project->id)};
            if (!children.isEmpty())
                node.children = std::move(children);
            nodes.append(std::move(node));
        }
        return nodes;
    }

    const GitDetails* details(const Project& project) const {
        const auto found = tree_.gitDetails.constFind(project.id);
        return found == tree_.gitDetails.cend() ? nullptr : &*found;
    }

    void sort(QList<const Project*>& projects) const {
        if (mode_ == ProjectSortMode::size) {
            std::stable_sort(projects.begin(), projects.end(),
                             [this](const Project* a, const Project* b) {
                                 return branchBytes_.value(a->id) > branchBytes_.value(b->id);
                             });
            return;
        }
        // Stale projects lead; one with no commit date at all is the stalest there is.
        const auto lastCommit = [this](const Project* project) -> std::optional<QDateTime> {
            const GitDetails* found = details(*project);
            return found ? found->lastCommitDate : std::nullopt;
        };
        std::stable_sort(projects.begin(), projects.end(),
                         [&lastCommit](const Project* a, const Project* b) {
                             const std::optional<QDateTime> first = lastCommit(a);
                             const std::optional<QDateTime> second = lastCommit(b);
                             if (!second)
                                 return false;
                             return !first || *first < *second;
                         });
    }

    const ProjectTree& tree_;
    ProjectSortMode mode_;
    bool onlyUnsynced_;
    Level level_;
    QHash<QUuid, qint64> branchBytes_;
    QSet<QUuid> visited_;
};

} // namespace

bool isUnsynced(const GitDetails* details) {
    return !details || details->status.kind() != GitStatus::Case::fullySynced;
}

QList<ProjectNode> ProjectTree::build(ProjectSortMode mode, bool onlyUnsynced) const {
    return Builder(*this, mode, onlyUnsynced).build();
}

QHash<QUuid, qint64> ProjectTree::branchBytes() const {
    const Level level = arrange(projects);
    return BranchSum(*this, level).all();
}

} // namespace corvane
