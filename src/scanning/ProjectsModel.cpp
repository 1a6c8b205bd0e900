#include "scanning/ProjectsModel.h"

#include "platform/Paths.h"

namespace corvane {
namespace {

QSet<QString> asStrings(const QSet<QUuid>& ids) {
    QSet<QString> strings;
    strings.reserve(ids.size());
    for (const QUuid& id : ids)
        strings.insert(id.toString(QUuid::WithoutBraces));
    return strings;
}

} // namespace

ProjectsModel::ProjectsModel(ScanSession& session, ToastCenter& toasts, bool isDryRun,
                             QObject* parent)
    : InventoryModel(toasts, isDryRun, parent)
    , session_(session) {
    connect(&session_, &ScanSession::isScanningChanged, this, &ProjectsModel::followScanning);
    connect(&session_, &ScanSession::isTrashingChanged, this, &ProjectsModel::followTrashing);
    connect(&session_, &ScanSession::trashCompleted, this, &ProjectsModel::finishTrash);
    connect(&session_, &ScanSession::selectedItemIDsChanged, this,
            &ProjectsModel::takeSessionTicks);
    connect(this, &InventoryModel::selectedIDsChanged, this, &ProjectsModel::giveSessionTicks);
    for (const auto signal : {&ScanSession::itemsByProjectChanged, &ScanSession::keptPathsChanged})
        connect(&session_, signal, this, [this] { tickable_.reset(); });
    takeSessionTicks();
    followScanning();
}

void ProjectsModel::startLoading() {
    if (session_.isScanning())
        return;
    if (session_.rootURL())
        session_.rescan();
    else
        finishLoading();
}

void ProjectsModel::followScanning() {
    // A scan started through the session is a load too; reload() sees it running and only waits.
    if (session_.isScanning() && !isLoading())
        reload();
    else if (!session_.isScanning() && isLoading())
        finishLoading();
}

void ProjectsModel::followTrashing() {
    // The end of a trash action is taken from its result, which carries the failures.
    if (session_.isTrashing())
        beginRemoval();
}

bool ProjectsModel::containsItem(const QString& id) const {
    if (!tickable_) {
        tickable_.emplace();
        for (const QList<CleanableItem>& items : session_.itemsByProject()) {
            for (const CleanableItem& item : items) {
                if (!session_.isKept(item))
                    tickable_->insert(item.id.toString(QUuid::WithoutBraces));
            }
        }
    }
    return tickable_->contains(id);
}

void ProjectsModel::takeSessionTicks() {
    if (givingTicks_)
        return;
    takingTicks_ = true;
    const QSet<QString> ticked = asStrings(session_.selectedItemIDs());
    const QSet<QString> had = selectedIDs();
    for (const QString& id : had - ticked)
        setSelected(id, false);
    for (const QString& id : ticked - had)
        setSelected(id, true);
    takingTicks_ = false;
}

void ProjectsModel::giveSessionTicks() {
    if (givingTicks_ || takingTicks_)
        return;
    givingTicks_ = true;
    const QSet<QString> wanted = selectedIDs();
    const QSet<QString> had = asStrings(session_.selectedItemIDs());
    for (const QString& id : had - wanted)
        session_.setItemSelected(QUuid::fromString(id), false);
    for (const QString& id : wanted - had)
        session_.setItemSelected(QUuid::fromString(id), true);
    givingTicks_ = false;
    // The session has the last word: it refuses what may not be ticked.
    takeSessionTicks();
}

TrashPlan ProjectsModel::trashPlan(const QList<QUuid>& itemIDs) const {
    QList<QString> paths;
    for (const QList<CleanableItem>& items : session_.itemsByProject()) {
        for (const CleanableItem& item : items) {
            if (itemIDs.contains(item.id) && !session_.isKept(item))
                paths.append(item.url);
        }
    }
    return session_.trashPlan(paths).plan;
}

void ProjectsModel::trash(const TrashPlan& plan) {
    if (plan.isEmpty() || isRemoving() || session_.isTrashing())
        return;
    if (!isDryRun()) {
        session_.trash(plan);
        return;
    }
    beginRemoval();
    const TrashResult result = preview(plan);
    if (const QString toast = trashToastText(result); !toast.isEmpty())
        toasts().post(toast, ToastStyle::info);
    finishTrash(result);
}

void ProjectsModel::finishTrash(const TrashResult& result) {
    finishRemoval(failuresOf(result.outcome.failures));
    emit trashCompleted(result);
}

QList<ItemFailure> ProjectsModel::failuresOf(const QList<TrashFailure>& failures) const {
    QHash<QString, QString> idByURL;
    for (const QList<CleanableItem>& items : session_.itemsByProject()) {
        for (const CleanableItem& item : items)
            idByURL.insert(item.url, item.id.toString(QUuid::WithoutBraces));
    }
    QList<ItemFailure> items;
    for (const TrashFailure& failure : failures)
        items.append({idByURL.value(failure.url, failure.url), Paths::lastComponent(failure.url),
                      failure.message});
    return items;
}

} // namespace corvane
