#pragma once

#include "organize/OrganizeTypes.h"
#include "organize/ProcessInspector.h"

#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// Decides, for every candidate in order, where it would go and whether it may: the first rule
// that applies wins (missing, already organized, used by the shell, busy, destination taken,
// duplicate destination, other disk, else ready).
namespace OrganizePlanner {

QList<OrganizeEntry> plan(const QList<OrganizeCandidate>& candidates, OrganizeLayout layout,
                          const QString& destination, const ShellReferences& shell,
                          const QList<ProcessInspector::WorkingProcess>& processes);

// The sub-folder of the destination for `candidate` under `layout`; none under `flat`.
std::optional<QString> groupFor(const OrganizeCandidate& candidate, OrganizeLayout layout);

// The owner part of a git remote ("owner" of git@host:owner/repo.git or
// https://host/owner/repo); nothing for local paths and short remotes.
std::optional<QString> remoteOwner(const QString& remote);

} // namespace OrganizePlanner
} // namespace corvane
