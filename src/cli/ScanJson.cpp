#include "cli/ScanJson.h"

#include "cli/JsonOutput.h"
#include "scanning/RestoreHints.h"

namespace corvane::cli::ScanJson {
namespace {

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

QJsonArray paths(const QList<QString>& urls) {
    QJsonArray array;
    for (const QString& url : urls)
        array.append(url);
    return array;
}

QJsonArray failures(const QList<TrashFailure>& failures) {
    QJsonArray array;
    for (const TrashFailure& failure : failures)
        array.append(QJsonObject{{QStringLiteral("url"), failure.url},
                                 {QStringLiteral("message"), failure.message}});
    return array;
}

} // namespace

QJsonObject item(const CleanableItem& item, const ScanSession& session) {
    const auto space = session.spaceByItem().constFind(item.id);
    const bool measured = space != session.spaceByItem().cend();
    QJsonObject object = itemJson(item);
    object.insert(QStringLiteral("id"), idText(item.id));
    object.insert(QStringLiteral("sizeBytes"),
                  measured ? QJsonValue(space->sizeBytes) : QJsonValue(QJsonValue::Null));
    object.insert(QStringLiteral("freesBytes"),
                  measured ? QJsonValue(space->freesBytes) : QJsonValue(QJsonValue::Null));
    object.insert(QStringLiteral("selected"), session.selectedItemIDs().contains(item.id));
    object.insert(QStringLiteral("kept"), session.isKept(item));
    return object;
}

QJsonObject project(const Project& project, const ScanSession& session) {
    QJsonArray items;
    for (const CleanableItem& entry : session.items(project.id))
        items.append(item(entry, session));
    const auto details = session.gitDetailsByProject().constFind(project.id);
    return {{QStringLiteral("id"), idText(project.id)},
            {QStringLiteral("name"), project.name},
            {QStringLiteral("url"), project.url},
            {QStringLiteral("markers"), QJsonArray::fromStringList(project.markers)},
            {QStringLiteral("gitRepoURL"), orNull(project.gitRepoURL)},
            {QStringLiteral("parentProjectID"), project.parentProjectID
                                                    ? QJsonValue(idText(*project.parentProjectID))
                                                    : QJsonValue(QJsonValue::Null)},
            {QStringLiteral("git"), details == session.gitDetailsByProject().cend()
                                        ? QJsonValue(QJsonValue::Null)
                                        : gitDetailsJson(*details)},
            {QStringLiteral("kept"), session.isKept(project)},
            {QStringLiteral("items"), items},
            {QStringLiteral("sizeBytes"), session.reclaimableSizeBytes(project.id)},
            {QStringLiteral("freesBytes"), session.reclaimableBytes(project.id)},
            {QStringLiteral("reclaimableBytes"), session.reclaimableBytes(project.id)}};
}

QJsonObject scan(const ScanSession& session) {
    QJsonArray projects;
    for (const Project& entry : session.orderedProjects())
        projects.append(project(entry, session));
    return {{QStringLiteral("root"), orNull(session.rootURL())},
            {QStringLiteral("projects"), projects},
            {QStringLiteral("sizeBytes"), session.reclaimableSizeBytes()},
            {QStringLiteral("reclaimableBytes"), session.reclaimableBytes()},
            {QStringLiteral("selectedBytes"), session.selectedBytes()}};
}

QJsonObject trashResult(const TrashOutcome& outcome, qint64 reclaimedBytes) {
    return {{QStringLiteral("trashed"), paths(outcome.trashed)},
            {QStringLiteral("failures"), failures(outcome.failures)},
            {QStringLiteral("reclaimedBytes"), reclaimedBytes}};
}

QJsonObject dryRun(const TrashOutcome& preview, qint64 wouldReclaimBytes) {
    return {{QStringLiteral("dryRun"), true},
            {QStringLiteral("wouldTrash"), paths(preview.trashed)},
            {QStringLiteral("wouldReclaimBytes"), wouldReclaimBytes},
            {QStringLiteral("failures"), failures(preview.failures)}};
}

QJsonObject caches(const GlobalCachesModel& model) {
    QJsonArray array;
    for (const GlobalCacheItem& cache : model.caches()) {
        const auto size = model.cacheSizeByID().constFind(cache.id());
        const bool measured = size != model.cacheSizeByID().cend();
        array.append(QJsonObject{{QStringLiteral("id"), cache.id()},
                                 {QStringLiteral("name"), cache.entry.name},
                                 {QStringLiteral("url"), cache.entry.url},
                                 {QStringLiteral("detail"), cache.entry.detail},
                                 {QStringLiteral("restoreHint"), RestoreHints::rebuiltOnDemand},
                                 {QStringLiteral("kept"), cache.isKept},
                                 {QStringLiteral("sizeBytes"),
                                  measured ? QJsonValue(*size) : QJsonValue(QJsonValue::Null)}});
    }
    return {{QStringLiteral("caches"), array},
            {QStringLiteral("totalBytes"), model.measuredBytes()}};
}

} // namespace corvane::cli::ScanJson
