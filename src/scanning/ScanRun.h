#pragma once

#include "platform/WorkQueue.h"
#include "scanning/ScanModel.h"
#include "scanning/ScanStream.h"
#include "scanning/WalkRules.h"

#include <QHash>
#include <QSet>
#include <memory>
#include <mutex>

namespace corvane {

class WholeProjectTally;

// One scan from walk to `scanCompleted`. Work overlaps: the walker hands over each working tree
// as soon as its folder has been walked, inspections of finished trees run while the walk goes
// on, and items are measured as soon as their project is classified.
class ScanRun {
public:
    ScanRun(std::shared_ptr<ScanEventSink> sink, QString root, ScanOptions options);
    ~ScanRun();

    void run();

private:
    void projectDiscovered(const Project& project);
    void projectFinished(const Project& project, const QSet<QString>& candidates);
    void dispatch(const RepoGroup& group);
    QList<Project> projectsOfOtherTrees(const RepoGroup& group) const;
    void inspectGroup(const RepoGroup& group, const QList<Project>& projectsOfOtherTrees);
    void measure(const CleanableItem& item, const std::shared_ptr<WholeProjectTally>& tally);
    // Measures the whole project without the `parts` inside it; the tally adds them as they come.
    std::shared_ptr<WholeProjectTally> measureWholeProjectRest(const CleanableItem& whole,
                                                               const QList<CleanableItem>& parts);

    std::shared_ptr<ScanEventSink> sink_;
    QString root_;
    ScanOptions options_;
    WalkRules rules_;

    // Touched only by the walker's thread.
    QHash<QString, RepoGroup> groups_;
    QList<QString> groupOrder_;
    QSet<QString> dispatchedGroups_;
    // Every project in the order the walk found it, and where in that list the project of each
    // working tree's root folder stands: since the walk is depth first, the projects after it
    // lie in that folder until the folder is done.
    QList<Project> discovered_;
    QHash<QString, qsizetype> treeRootIndex_;

    std::mutex candidatesLock_;
    QHash<QUuid, QSet<QString>> candidatesByProject_;

    // Declared in this order so that the inspections, which queue measurements, stop first.
    WorkQueue measurements_;
    WorkQueue inspections_;
};

} // namespace corvane
