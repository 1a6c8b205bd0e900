#include "platform/TrashService.h"

#include "platform/KeepStore.h"
#include "platform/PathIdentity.h"

#include <QFile>
#include <QFileInfo>

namespace corvane {
namespace {

// The Keep marks as one call finds them; when they can't be read, what they keep is not known.
struct KeepGuard {
    QStringList marks;
    std::optional<QString> unreadable;

    static KeepGuard load() {
        const KeepStore::Marks loaded = KeepStore().load();
        return {loaded.paths, loaded.error
                                  ? std::optional(QStringLiteral("Refused: the Keep marks can't "
                                                                 "be read, so nothing is moved. ") +
                                                  *loaded.error)
                                  : std::nullopt};
    }

    std::optional<QString> refusal(const QString& url) const {
        if (unreadable)
            return unreadable;
        if (KeepStore::protects(marks, url))
            return TrashService::keptMessage;
        return std::nullopt;
    }
};

std::optional<QString> refusalWithin(const QString& url, const QString& root,
                                     const KeepGuard& keep) {
    // An empty root is no allowed area at all; links and ".." are resolved on both sides.
    if (!PathIdentity::isInside(url, root))
        return TrashService::refusedOutsideMessage;
    if (std::optional<QString> kept = keep.refusal(url))
        return kept;
    // Follows links, so a dangling link counts as gone.
    if (!QFileInfo::exists(url))
        return TrashService::goneMessage;
    return std::nullopt;
}

} // namespace

void TrashOutcome::append(const TrashOutcome& other) {
    trashed.append(other.trashed);
    failures.append(other.failures);
    locations.insert(other.locations);
}

QString TrashService::canonicalPath(const QString& path) {
    return PathIdentity::resolved(path);
}

std::optional<QString> TrashService::keepRefusal(const QString& path) {
    return KeepGuard::load().refusal(path);
}

std::optional<QString> TrashService::refusal(const QString& url, const QString& root) {
    return refusalWithin(url, root, KeepGuard::load());
}

TrashOutcome TrashService::trash(const QList<QString>& urls, const QString& root,
                                 const PlatformTrash& platform) {
    TrashOutcome outcome;
    if (urls.isEmpty())
        return outcome;
    const KeepGuard keep = KeepGuard::load();
    for (const QString& url : urls) {
        // Tested right before each move: an earlier move of this call may have taken the item.
        if (const std::optional<QString> refusal = refusalWithin(url, root, keep)) {
            outcome.failures.append({url, *refusal});
            continue;
        }
        const TrashMove move = platform.moveToTrash(url);
        if (move.failure) {
            outcome.failures.append({url, *move.failure});
            continue;
        }
        outcome.trashed.append(url);
        outcome.locations.insert(url, move.location);
    }
    return outcome;
}

} // namespace corvane
