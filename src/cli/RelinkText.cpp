#include "cli/RelinkText.h"

namespace corvane::cli {

void printRelinkReport(QTextStream& out, const RelinkReport& report, bool preview,
                       const QString& indent, bool changesOnly) {
    const auto line = [&](const char* label, int count) {
        if (count > 0 || !changesOnly)
            out << indent << label << ": " << count << '\n';
    };
    line("Claude Code history folders", report.claudeHistoryFolders);
    line("Claude desktop sessions", report.claudeDesktopSessions);
    line("Claude Code project settings", report.claudeProjectSettings);
    line("Codex threads", report.codexThreads);
    line("Codex project roots", report.codexProjectRoots);
    line("Codex trust entries", report.codexTrustEntries);
    for (const ClaudeFolderMove& move : report.claudeFolderMoves) {
        out << indent << (preview ? "Would move " : "Moved ") << move.from << " to " << move.to;
        if (move.movedItems)
            out << " (merged: " << move.movedItems->join(QStringLiteral(", ")) << ')';
        out << '\n';
    }
    for (const QString& warning : report.warnings)
        out << indent << "Warning: " << warning << '\n';
}

} // namespace corvane::cli
