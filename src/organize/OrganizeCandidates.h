#pragma once

#include "agents/AgentHistoryIndex.h"
#include "organize/HomeProjectFinder.h"
#include "organize/OrganizeTypes.h"

#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// Turns found folders and the folders the user added by hand into candidates, with their git
// remote and agent history filled in.
namespace OrganizeCandidates {

// Found folders first (in their order), then the manual ones in the order given; a manual folder
// that was also found keeps its found place.
QList<OrganizeCandidate> build(const QList<HomeProjectFinder::Found>& found,
                               const QStringList& manual, const AgentHistoryIndex& index);

// One candidate for `path` with its remote and history.
OrganizeCandidate candidateFor(const QString& path, bool isWorkspace, bool isManual,
                               const AgentHistoryIndex& index);

// The "url" of [remote "origin"] in `folder`/.git/config, or nothing.
std::optional<QString> originRemote(const QString& folder);

// Why a folder added by hand can't be organized, in the words the screen shows, or nothing when
// it can. `path` is absolute.
std::optional<QString> refusalForManualAddition(const QString& path,
                                                const HomeProjectFinder& finder,
                                                const ShellReferences& shell);

} // namespace OrganizeCandidates
} // namespace corvane
