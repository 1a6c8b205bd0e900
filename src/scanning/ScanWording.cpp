#include "scanning/ScanWording.h"

#include "platform/ByteFormat.h"

namespace corvane::ScanWording {
namespace {

QString counted(int count, const char* singular, const char* plural) {
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? singular : plural));
}

} // namespace

QString kindWords(ArtifactKind kind) {
    switch (kind) {
    case ArtifactKind::dependencies:
        return QStringLiteral("Dependencies");
    case ArtifactKind::buildOutput:
        return QStringLiteral("Build output");
    case ArtifactKind::cache:
        return QStringLiteral("Cache");
    case ArtifactKind::virtualEnv:
        return QStringLiteral("Virtual environment");
    case ArtifactKind::wholeProject:
        return QStringLiteral("Whole project");
    case ArtifactKind::unknown:
        return QStringLiteral("Unknown");
    }
    return QString();
}

QString confidenceWords(CleanConfidence confidence) {
    switch (confidence) {
    case CleanConfidence::safe:
        return QStringLiteral("safe");
    case CleanConfidence::caution:
        return QStringLiteral("caution");
    case CleanConfidence::ignoredButUnknown:
        return QStringLiteral("ignored, unverified");
    case CleanConfidence::reclonable:
        return QStringLiteral("re-clonable");
    }
    return QString();
}

QString gitStateWords(const GitStatus& status) {
    using Case = GitStatus::Case;
    switch (status.kind()) {
    case Case::dirty:
        // The change list stops at its cap, so a full list means "at least".
        if (status.changedCount() >= GitDetails::maxReportedChanges)
            return QStringLiteral("At least %1 uncommitted changes").arg(status.changedCount());
        return counted(status.changedCount(), "uncommitted change", "uncommitted changes");
    case Case::aheadOfRemote:
        return counted(status.commits(), "commit not pushed", "commits not pushed");
    case Case::notARepo:
        return QStringLiteral("Not in a git repository");
    case Case::fullySynced:
        return QStringLiteral("Everything committed and pushed");
    case Case::noUpstream:
        return QStringLiteral("Branch has no upstream");
    case Case::upstreamGone:
        return QStringLiteral("Upstream branch is gone");
    case Case::noRemote:
        return QStringLiteral("No remote");
    }
    return QString();
}

QString gitDetailsWords(const GitDetails& details) {
    // Not "Not in a git repository": git answered, but with more than could be read.
    if (details.problem)
        return QStringLiteral("Git's answer could not be read");
    const QString words = gitStateWords(details.status);
    const std::optional<GitStatus>& push = details.pushState;
    if (details.status.kind() != GitStatus::Case::dirty || !push ||
        push->kind() == GitStatus::Case::fullySynced || push->kind() == GitStatus::Case::notARepo)
        return words;
    QString more = gitStateWords(*push);
    more[0] = more[0].toLower();
    return words + QStringLiteral(" · ") + more;
}

QString changeWords(GitChange::Kind kind) {
    return rawValue(kind);
}

QString sortTitle(ProjectSortMode mode) {
    switch (mode) {
    case ProjectSortMode::size:
        return QStringLiteral("Size");
    case ProjectSortMode::activity:
        return QStringLiteral("Activity");
    }
    return {};
}

QString sharedWithWords(SharedWith sharedWith) {
    switch (sharedWith) {
    case SharedWith::pnpmStore:
        return QStringLiteral("pnpm's store");
    case SharedWith::otherFolders:
        break;
    }
    return QStringLiteral("other folders");
}

QString freedWords(qint64 sizeBytes, qint64 freesBytes, SharedWith sharedWith) {
    const QString size = formatBytes(sizeBytes);
    if (freesBytes >= sizeBytes)
        return size;
    if (freesBytes <= 0)
        return QStringLiteral("%1, frees nothing: it is all shared with %2")
            .arg(size, sharedWithWords(sharedWith));
    return QStringLiteral("%1, frees %2: the rest is shared with %3")
        .arg(size, formatBytes(freesBytes), sharedWithWords(sharedWith));
}

} // namespace corvane::ScanWording
