#include "scanning/ScanModel.h"

#include <QHashFunctions>
#include <array>

namespace corvane {
namespace {

constexpr std::array artifactKindNames{"dependencies", "buildOutput",  "cache",
                                       "virtualEnv",   "wholeProject", "unknown"};
constexpr std::array confidenceNames{"safe", "caution", "ignoredButUnknown", "reclonable"};
constexpr std::array changeKindNames{"modified", "added",     "deleted",
                                     "renamed",  "untracked", "conflicted"};
constexpr std::array statusNames{"dirty",      "aheadOfRemote", "notARepo", "fullySynced",
                                 "noUpstream", "upstreamGone",  "noRemote"};

template <typename Enum, size_t N>
std::optional<Enum> fromRaw(const std::array<const char*, N>& names, const QString& raw) {
    for (size_t index = 0; index < N; ++index) {
        if (raw == QLatin1String(names[index]))
            return static_cast<Enum>(index);
    }
    return std::nullopt;
}

QString chopTrailingSlashes(QString text) {
    while (text.endsWith(u'/'))
        text.chop(1);
    return text;
}

} // namespace

QString rawValue(ArtifactKind kind) {
    return QLatin1String(artifactKindNames[static_cast<size_t>(kind)]);
}

QString rawValue(CleanConfidence confidence) {
    return QLatin1String(confidenceNames[static_cast<size_t>(confidence)]);
}

QString rawValue(GitChange::Kind kind) {
    return QLatin1String(changeKindNames[static_cast<size_t>(kind)]);
}

std::optional<ArtifactKind> artifactKindFromRaw(const QString& raw) {
    return fromRaw<ArtifactKind>(artifactKindNames, raw);
}

std::optional<CleanConfidence> cleanConfidenceFromRaw(const QString& raw) {
    return fromRaw<CleanConfidence>(confidenceNames, raw);
}

QString GitStatus::caseName() const {
    return QLatin1String(statusNames[static_cast<size_t>(case_)]);
}

CleanableItem::CleanableItem(const QUuid& projectID, const QString& url, const QString& name,
                             ArtifactKind kind, CleanConfidence confidence)
    : id(QUuid::createUuid())
    , projectID(projectID)
    , url(url)
    , name(name)
    , kind(kind)
    , confidence(confidence) {}

std::optional<QString> repoDisplayName(const QString& remoteURL) {
    if (remoteURL.isEmpty())
        return std::nullopt;
    QString text = remoteURL;
    bool hostRemoved = false;
    if (const qsizetype scheme = text.indexOf(QLatin1String("://")); scheme >= 0) {
        text = text.mid(scheme + 3);
        const qsizetype hostEnd = text.indexOf(u'/');
        text = hostEnd < 0 ? QString() : text.mid(hostEnd + 1);
        hostRemoved = true;
    } else if (text.contains(u'@')) {
        const qsizetype colon = text.indexOf(u':');
        if (colon >= 0)
            text = text.mid(colon + 1);
        hostRemoved = true;
    }
    // "https://example/team/tool.git/" is as good as "https://example/team/tool.git".
    text = chopTrailingSlashes(text);
    if (text.endsWith(QLatin1String(".git")))
        text.chop(4);
    text = chopTrailingSlashes(text);

    const QStringList pieces = text.split(u'/', Qt::SkipEmptyParts);
    if (pieces.isEmpty())
        return std::nullopt;
    if (pieces.size() == 1 || !hostRemoved)
        return pieces.last();
    return pieces.join(u'/');
}

std::optional<QString> GitDetails::repoDisplayName() const {
    return remoteURL ? corvane::repoDisplayName(*remoteURL) : std::nullopt;
}

ScanEvent ScanEvent::progress(const QString& currentPath) {
    ScanEvent event;
    event.kind = Kind::progress;
    event.currentPath = currentPath;
    return event;
}

ScanEvent ScanEvent::projectDiscovered(const Project& project) {
    ScanEvent event;
    event.kind = Kind::projectDiscovered;
    event.project = project;
    return event;
}

ScanEvent ScanEvent::gitStatusUpdated(const QUuid& projectID, const GitDetails& details) {
    ScanEvent event;
    event.kind = Kind::gitStatusUpdated;
    event.projectID = projectID;
    event.details = details;
    return event;
}

ScanEvent ScanEvent::itemsClassified(const QUuid& projectID, const QList<CleanableItem>& items) {
    ScanEvent event;
    event.kind = Kind::itemsClassified;
    event.projectID = projectID;
    event.items = items;
    return event;
}

ScanEvent ScanEvent::sizeUpdated(const QUuid& itemID, qint64 bytes) {
    return sizeUpdated(itemID, SpaceUse{bytes, bytes, nullptr});
}

ScanEvent ScanEvent::sizeUpdated(const QUuid& itemID, const SpaceUse& space,
                                 SharedWith sharedWith) {
    ScanEvent event;
    event.kind = Kind::sizeUpdated;
    event.itemID = itemID;
    event.bytes = space.sizeBytes;
    event.space = space;
    event.sharedWith = sharedWith;
    return event;
}

ScanEvent ScanEvent::scanCompleted() {
    return ScanEvent{};
}

size_t qHash(const GitStatus& status, size_t seed) noexcept {
    if (status.hasPayload())
        return qHashMulti(seed, static_cast<int>(status.kind()),
                          status.changedCount() + status.commits());
    return qHashMulti(seed, static_cast<int>(status.kind()));
}

size_t qHash(const GitChange& change, size_t seed) noexcept {
    return qHashMulti(seed, change.path, static_cast<int>(change.kind));
}

size_t qHash(const GitDetails& details, size_t seed) noexcept {
    seed = qHashMulti(seed, details.status, details.branch.value_or(QString()),
                      details.remoteURL.value_or(QString()),
                      details.lastCommitDate ? details.lastCommitDate->toMSecsSinceEpoch() : -1);
    return qHashRange(details.changes.begin(), details.changes.end(), seed);
}

size_t qHash(const Project& project, size_t seed) noexcept {
    seed = qHashMulti(seed, project.id, project.name, project.url, project.markers,
                      project.gitRepoURL.value_or(QString()));
    return qHashMulti(seed, project.parentProjectID.value_or(QUuid()));
}

size_t qHash(const CleanableItem& item, size_t seed) noexcept {
    return qHashMulti(seed, item.id, item.projectID, item.url, item.name,
                      static_cast<int>(item.kind), static_cast<int>(item.confidence),
                      item.restoreHint.text, item.restoreHint.lockFileMissing);
}

} // namespace corvane
