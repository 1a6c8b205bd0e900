#include "platform/TrashService.h"

#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace corvane {
namespace {

// The system's own limit on links followed while resolving one path; a loop stops here.
constexpr int maxLinkHops = 40;

std::optional<QString> linkTarget(const QString& path) {
    const QByteArray encoded = QFile::encodeName(path);
    struct stat info {};
    if (::lstat(encoded.constData(), &info) != 0 || !S_ISLNK(info.st_mode))
        return std::nullopt;
    std::vector<char> buffer(static_cast<size_t>(info.st_size > 0 ? info.st_size : 255) + 1);
    const ssize_t length = ::readlink(encoded.constData(), buffer.data(), buffer.size());
    if (length < 0 || static_cast<size_t>(length) >= buffer.size())
        return std::nullopt;
    return QFile::decodeName(QByteArray(buffer.data(), length));
}

// Walks the components from the left, so ".." after a link leaves the link's target, as the
// kernel does, rather than cancelling the link's name on paper.
QString resolved(const QString& absolutePath, int& hops) {
    QString result = QStringLiteral("/");
    for (const QString& part : absolutePath.split(u'/', Qt::SkipEmptyParts)) {
        if (part == u".")
            continue;
        if (part == u"..") {
            result = Paths::parentPath(result);
            continue;
        }
        const QString next = Paths::joined(result, part);
        const std::optional<QString> target =
            hops < maxLinkHops ? linkTarget(next) : std::optional<QString>();
        if (!target) {
            result = next;
            continue;
        }
        ++hops;
        result =
            resolved(target->startsWith(u'/') ? *target : Paths::joined(result, *target), hops);
    }
    return result;
}

bool isInside(const QString& canonicalItem, const QString& canonicalRoot) {
    // No allowed area means nothing is allowed (an empty root must not become the current folder).
    if (canonicalRoot.isEmpty())
        return false;
    // A plain case-sensitive comparison that keeps a sibling "proj-old" out of root "proj".
    return Paths::isUnder(canonicalItem, canonicalRoot);
}

std::optional<QString> refusalWithin(const QString& url, const QString& canonicalRoot) {
    if (!isInside(TrashService::canonicalPath(url), canonicalRoot))
        return TrashService::refusedOutsideMessage;
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
    int hops = 0;
    return resolved(QDir::current().absoluteFilePath(path), hops);
}

std::optional<QString> TrashService::refusal(const QString& url, const QString& root) {
    return refusalWithin(url, root.isEmpty() ? QString() : canonicalPath(root));
}

TrashOutcome TrashService::trash(const QList<QString>& urls, const QString& root,
                                 const PlatformTrash& platform) {
    TrashOutcome outcome;
    if (urls.isEmpty())
        return outcome;
    const QString canonicalRoot = root.isEmpty() ? QString() : canonicalPath(root);
    for (const QString& url : urls) {
        // Tested right before each move: an earlier move of this call may have taken the item.
        if (const std::optional<QString> refusal = refusalWithin(url, canonicalRoot)) {
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
