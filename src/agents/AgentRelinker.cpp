#include "agents/AgentRelinker.h"

#include "agents/ClaudeConfigStep.h"
#include "agents/ClaudeFoldersStep.h"
#include "agents/CodexDatabaseStep.h"
#include "agents/CodexTrustStep.h"
#include "agents/DesktopRecordsStep.h"

namespace corvane {
namespace {

bool isUsable(const QString& path) {
    return path.startsWith(u'/');
}

// The steps after the Claude Code folders, which work the same forwards and backwards.
void rewriteRecords(const RelinkContext& context) {
    DesktopRecordsStep::run(context);
    ClaudeConfigStep::run(context);
    CodexDatabaseStep::run(context);
    CodexTrustStep::run(context);
}

RelinkReport run(const AgentLocations& locations, const QString& oldPath, const QString& newPath,
                 RelinkMode mode) {
    RelinkReport report;
    if (!isUsable(oldPath) || !isUsable(newPath)) {
        report.warnings.append(QStringLiteral("Agent history was not relinked: \"%1\" and \"%2\" "
                                              "must both be absolute paths.")
                                   .arg(oldPath, newPath));
        return report;
    }
    if (oldPath == newPath)
        return report;
    const RelinkContext context{locations, {oldPath, newPath}, mode, report};
    ClaudeFoldersStep::run(context);
    rewriteRecords(context);
    return report;
}

} // namespace

RelinkReport AgentRelinker::relink(const QString& oldPath, const QString& newPath) const {
    return run(locations, oldPath, newPath, RelinkMode::write);
}

RelinkReport AgentRelinker::preview(const QString& oldPath, const QString& newPath) const {
    return run(locations, oldPath, newPath, RelinkMode::preview);
}

RelinkReport AgentRelinker::undo(const RelinkReport& done, const QString& oldPath,
                                 const QString& newPath) const {
    RelinkReport report;
    if (!isUsable(oldPath) || !isUsable(newPath) || oldPath == newPath)
        return run(locations, newPath, oldPath, RelinkMode::write);
    const RelinkContext context{locations, {newPath, oldPath}, RelinkMode::write, report};
    const QSet<QString> mergeTargets = ClaudeFoldersStep::reverse(context, done.claudeFolderMoves);
    // History that arrived at the new path after the move (new sub-folders) goes back too.
    ClaudeFoldersStep::run(context, mergeTargets);
    rewriteRecords(context);
    return report;
}

RelinkReport AgentRelinker::takeBack(const QString& oldPath, const QString& newPath) const {
    RelinkReport report = run(locations, newPath, oldPath, RelinkMode::write);
    if (isUsable(oldPath) && isUsable(newPath) && oldPath != newPath)
        ClaudeConfigStep::removeCopies({locations, {oldPath, newPath}, RelinkMode::write, report});
    return report;
}

} // namespace corvane
