#include "platform/InventoryModel.h"

#include "platform/BackgroundJobs.h"
#include "platform/KeepStore.h"

#include <algorithm>

namespace corvane {

InventoryModel::InventoryModel(ToastCenter& toasts, bool isDryRun, QObject* parent)
    : QObject(parent)
    , toasts_(toasts)
    , mailbox_(std::make_shared<MainThreadMailbox>(this))
    , isDryRun_(isDryRun) {}

InventoryModel::~InventoryModel() {
    // Jobs still running find the mailbox closed, and their tokens tell them to stop early.
    mailbox_->close();
    loadJob_.cancellation.cancel();
    removalJob_.cancellation.cancel();
}

void InventoryModel::setFlag(bool& flag, bool value, void (InventoryModel::*changed)()) {
    if (flag == value)
        return;
    flag = value;
    emit(this->*changed)();
}

void InventoryModel::reload() {
    if (isLoading_) {
        reloadRequested_ = true;
        return;
    }
    setFlag(isLoading_, true, &InventoryModel::isLoadingChanged);
    startLoading();
}

void InventoryModel::finishLoading(const QStringList& problems) {
    loadProblems_ = problems;
    refreshKeepMarks();
    pruneSelection();
    setFlag(hasLoaded_, true, &InventoryModel::hasLoadedChanged);
    setFlag(isLoading_, false, &InventoryModel::isLoadingChanged);
    if (std::exchange(reloadRequested_, false))
        reload();
}

void InventoryModel::startJob(JobKind kind, Work work) {
    JobSlot& job = slot(kind);
    job.cancellation.cancel();
    job.cancellation = CancellationToken();
    const int generation = ++job.generation;
    MainThreadPost post = [this, mailbox = mailbox_, kind, generation](std::function<void()> step) {
        mailbox->post([this, kind, generation, step = std::move(step)] {
            if (slot(kind).generation == generation)
                step();
        });
    };
    runInBackground([work = std::move(work), cancellation = job.cancellation, post] {
        try {
            work(cancellation, post);
        } catch (const CancelledError&) {
            // A newer job or the model's end took over; nothing of this one is wanted.
        }
    });
}

void InventoryModel::trashInBackground(const TrashPlan& plan, const PlatformTrash& platform,
                                       std::function<void(const TrashResult&)> finish) {
    if (plan.isEmpty() || !beginRemoval())
        return;
    if (isDryRun()) {
        finish(preview(plan));
        return;
    }
    startJob(JobKind::removal, [plan, platform = &platform, finish = std::move(finish)](
                                   const CancellationToken&, const MainThreadPost& post) {
        const TrashResult result = carryOut(plan, *platform);
        post([finish, result] { finish(result); });
    });
}

bool InventoryModel::beginRemoval() {
    if (isRemoving_)
        return false;
    setFlag(isRemoving_, true, &InventoryModel::isRemovingChanged);
    return true;
}

void InventoryModel::finishRemoval(const QList<ItemFailure>& failures) {
    setFailures(failures);
    pruneSelection();
    setFlag(isRemoving_, false, &InventoryModel::isRemovingChanged);
}

QStringList InventoryModel::pathsOfItem(const QString&) const {
    return {};
}

bool InventoryModel::isKept(const QString& id) const {
    if (keepMarks_.isEmpty())
        return false;
    const QStringList paths = pathsOfItem(id);
    return std::any_of(paths.cbegin(), paths.cend(),
                       [this](const QString& path) { return isKeptPath(path); });
}

bool InventoryModel::isKeptPath(const QString& path) const {
    return !path.isEmpty() && KeepStore::protects(keepMarks_, path);
}

void InventoryModel::refreshKeepMarks() {
    // Marks that can't be read keep nothing from view here; the removal refuses everything then.
    QStringList marks = KeepStore().load().paths;
    if (marks == keepMarks_)
        return;
    keepMarks_ = std::move(marks);
    pruneSelection();
    emit keptChanged();
}

void InventoryModel::setSelected(const QString& id, bool selected) {
    if (selected == selectedIDs_.contains(id) || (selected && (!containsItem(id) || isKept(id))))
        return;
    if (selected)
        selectedIDs_.insert(id);
    else
        selectedIDs_.remove(id);
    emit selectedIDsChanged();
}

void InventoryModel::toggleSelected(const QString& id) {
    setSelected(id, !selectedIDs_.contains(id));
}

void InventoryModel::clearSelection() {
    if (selectedIDs_.isEmpty())
        return;
    selectedIDs_.clear();
    emit selectedIDsChanged();
}

void InventoryModel::pruneSelection() {
    const qsizetype before = selectedIDs_.size();
    selectedIDs_.removeIf([this](const QString& id) { return !containsItem(id) || isKept(id); });
    if (selectedIDs_.size() != before)
        emit selectedIDsChanged();
}

void InventoryModel::setFailures(const QList<ItemFailure>& failures) {
    if (failures_ == failures)
        return;
    failures_ = failures;
    emit failuresChanged();
}

} // namespace corvane
