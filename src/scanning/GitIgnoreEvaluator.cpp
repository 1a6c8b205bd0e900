#include "scanning/GitIgnoreEvaluator.h"

#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/FolderNames.h"
#include "scanning/GitClient.h"

namespace corvane {
namespace {

std::optional<ProcessResult> runGit(const QString& repo, const QStringList& arguments,
                                    const std::optional<QByteArray>& input,
                                    const CancellationToken& cancellation) {
    try {
        return GitClient::run(repo, arguments, input, cancellation);
    } catch (const ProcessRunnerError&) {
        return std::nullopt;
    }
}

// Whether `path` or one of its ancestors below `root` is a catalog folder, as the walker would
// judge it. A name with a sibling condition ("Pods" needs a "Podfile" beside it) is one only
// where its condition holds: elsewhere the walker does not record it, and git's word is all
// there is. Only such a name needs its parent folder listed; every other name decides alone.
bool liesInCatalogFolder(const QString& path, const QString& root, FolderNames& names) {
    for (QString current = path; Paths::pathInside(current, root);
         current = Paths::parentPath(current)) {
        const QString name = Paths::lastComponent(current);
        if (!ArtifactCatalog::isKnownArtifactName(name))
            continue;
        if (ArtifactCatalog::match(name, {}) ||
            ArtifactCatalog::match(name, names.in(Paths::parentPath(current))))
            return true;
    }
    return false;
}

bool liesInAny(const QString& path, const QSet<QString>& folders) {
    for (QString parent = Paths::parentPath(path); parent != Paths::parentPath(parent);
         parent = Paths::parentPath(parent)) {
        if (folders.contains(parent))
            return true;
    }
    return false;
}

} // namespace

QSet<QString> GitIgnoreEvaluator::ignoredPaths(const QString& repo, const QStringList& candidates,
                                               const CancellationToken& cancellation) {
    if (candidates.isEmpty())
        return {};
    QByteArray input;
    for (const QString& candidate : candidates) {
        input += candidate.toUtf8();
        input += '\0';
    }
    // check-ignore exits with 1 when nothing is ignored, so only the output counts.
    const std::optional<ProcessResult> result = runGit(
        repo, {QStringLiteral("check-ignore"), QStringLiteral("--stdin"), QStringLiteral("-z")},
        input, cancellation);
    QSet<QString> ignored;
    if (!result)
        return ignored;
    for (const QByteArray& piece : result->standardOutput.split('\0')) {
        if (!piece.isEmpty())
            ignored.insert(QString::fromUtf8(piece));
    }
    return ignored;
}

QStringList
GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(const QString& repo,
                                                     const CancellationToken& cancellation) {
    const std::optional<ProcessResult> result = runGit(
        repo,
        {QStringLiteral("ls-files"), QStringLiteral("--others"), QStringLiteral("--ignored"),
         QStringLiteral("--exclude-standard"), QStringLiteral("--directory"), QStringLiteral("-z")},
        std::nullopt, cancellation);
    if (!result || result->exitCode != 0)
        return {};
    const QString root = Paths::standardized(repo);
    QStringList listed;
    FolderNames names;
    for (const QByteArray& piece : result->standardOutput.split('\0')) {
        // Git marks directories with a trailing "/"; everything else is a file.
        if (!piece.endsWith('/') || piece.size() < 2)
            continue;
        const QString path = Paths::joined(root, QString::fromUtf8(piece.chopped(1)));
        if (!liesInCatalogFolder(path, root, names))
            listed.append(path);
    }
    // Git names a folder that holds only ignored content and, again, the ignored folders inside
    // it; offering both would count the inner ones twice.
    const QSet<QString> folders(listed.cbegin(), listed.cend());
    listed.removeIf([&](const QString& path) { return liesInAny(path, folders); });
    return listed;
}

} // namespace corvane
