#pragma once

#include "scanning/ScanModel.h"
#include "scanning/ScanSessionTypes.h"

#include <QString>

// The words users read for the scan's vocabulary. The command line and the desktop app share
// them, so a state is described the same way wherever it appears.
namespace corvane::ScanWording {

// "Dependencies", "Build output", ...
QString kindWords(ArtifactKind kind);
// "safe", "caution", "ignored, unverified", "re-clonable".
QString confidenceWords(CleanConfidence confidence);
// A short sentence for a repository's state, e.g. "3 uncommitted changes".
QString gitStateWords(const GitStatus& status);
// Every state of a repository that applies, e.g. "3 uncommitted changes · 1 commit not pushed".
QString gitDetailsWords(const GitDetails& details);
// "modified", "renamed", ...: the change kinds read as they are named.
QString changeWords(GitChange::Kind kind);
// "Size" or "Activity".
QString sortTitle(ProjectSortMode mode);
// "pnpm's store" or "other folders": where the other links of shared files live.
QString sharedWithWords(SharedWith sharedWith);
// A size and what trashing frees, e.g. "330 MB, frees 12 MB: the rest is shared with pnpm's
// store"; only the size when everything is freed.
QString freedWords(qint64 sizeBytes, qint64 freesBytes, SharedWith sharedWith);

} // namespace corvane::ScanWording
