#pragma once

#include "scanning/GlobalCachesModel.h"
#include "scanning/ScanSession.h"

#include <QJsonArray>
#include <QJsonObject>

// The JSON documents of `corvane scan`, `clean` and `caches`. Paths are absolute, identifiers are
// UUIDs without braces, dates ISO 8601 in UTC, and an absent value is null.
namespace corvane::cli::ScanJson {

// `sizeBytes` is what an item occupies, `freesBytes` what trashing it alone gives back (they
// differ by hard links to files elsewhere); both null until measured.
QJsonObject item(const CleanableItem& item, const ScanSession& session);
// `sizeBytes` and `freesBytes` of the project's safe items taken together; `reclaimableBytes`
// is the same as `freesBytes`.
QJsonObject project(const Project& project, const ScanSession& session);

// `root`, the projects in the session's order with their items, and the totals of the whole scan:
// `reclaimableBytes` and `selectedBytes` are what trashing frees, `sizeBytes` what the
// reclaimable items occupy.
QJsonObject scan(const ScanSession& session);

// `trashed`, `failures` and `reclaimedBytes`.
QJsonObject trashResult(const TrashOutcome& outcome, qint64 reclaimedBytes);
// `dryRun`, `wouldTrash`, `wouldReclaimBytes` and the `failures` the trash service would report.
QJsonObject dryRun(const TrashOutcome& preview, qint64 wouldReclaimBytes);

// `caches` (in table order, each with the `restoreHint` "rebuilt on demand") and `totalBytes`.
QJsonObject caches(const GlobalCachesModel& model);

} // namespace corvane::cli::ScanJson
