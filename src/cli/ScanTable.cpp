#include "cli/ScanCommands.h"
#include "platform/ByteFormat.h"
#include "scanning/ScanWording.h"

namespace corvane::cli {
namespace {

using ScanWording::confidenceWords;
using ScanWording::gitDetailsWords;
using ScanWording::kindWords;

QString projectLine(const ScanSession& session, const ProjectNode& node) {
    const Project& project = node.project;
    const auto details = session.gitDetailsByProject().constFind(project.id);
    const bool known = details != session.gitDetailsByProject().cend();
    QString state = known ? gitDetailsWords(*details) : QStringLiteral("git not inspected");
    if (known && details->lastCommitDate)
        state += QStringLiteral(", last commit ") +
                 details->lastCommitDate->toUTC().toString(QStringLiteral("yyyy-MM-dd"));
    if (session.isKept(project))
        return QStringLiteral("%1  [%2]  kept").arg(project.name, state);
    QString line = QStringLiteral("%1  [%2]  %3 reclaimable")
                       .arg(project.name, state, formatBytes(session.reclaimableBytes(project.id)));
    if (const qint64 size = session.reclaimableSizeBytes(project.id);
        size > session.reclaimableBytes(project.id))
        line += QStringLiteral(" (of %1 on disk)").arg(formatBytes(size));
    if (node.branchBytes > session.reclaimableBytes(project.id))
        line +=
            QStringLiteral(", %1 with the projects inside it").arg(formatBytes(node.branchBytes));
    return line;
}

// The bytes column shows what trashing the item frees; a note follows when that is less than
// what it occupies.
QString itemLine(const ScanSession& session, const CleanableItem& item) {
    const auto space = session.spaceByItem().constFind(item.id);
    const bool measured = space != session.spaceByItem().cend();
    const QString bytes =
        measured ? formatBytes(space->freesBytes) : QStringLiteral("not measured");
    const QString mark = session.isKept(item)                          ? QStringLiteral("[k]")
                         : session.selectedItemIDs().contains(item.id) ? QStringLiteral("[x]")
                                                                       : QStringLiteral("[ ]");
    QString line =
        QStringLiteral("%1 %2 %3 %4 %5")
            .arg(mark, item.name.leftJustified(24), kindWords(item.kind).leftJustified(20),
                 confidenceWords(item.confidence).leftJustified(20), bytes.rightJustified(12));
    if (measured && space->freesBytes < space->sizeBytes)
        line += QStringLiteral("  (of %1; the rest is shared with %2)")
                    .arg(formatBytes(space->sizeBytes),
                         ScanWording::sharedWithWords(session.sharedWith(item.id)));
    return line + QStringLiteral("  ") + item.restoreHint.text;
}

void printNodes(const ScanSession& session, const QList<ProjectNode>& nodes, int depth,
                QTextStream& out) {
    const QString indent(depth * 4, u' ');
    for (const ProjectNode& node : nodes) {
        out << indent << projectLine(session, node) << '\n';
        for (const CleanableItem& item : session.items(node.project.id))
            out << indent << QStringLiteral("  ") << itemLine(session, item) << '\n';
        if (node.children)
            printNodes(session, *node.children, depth + 1, out);
    }
}

} // namespace

void printScanTable(const ScanSession& session, QTextStream& out) {
    const QList<ProjectNode> tree = session.projectTree();
    if (session.projects().isEmpty())
        out << "No projects found in " << session.rootURL().value_or(QString()) << ".\n";
    printNodes(session, tree, 0, out);
    out << '\n'
        << "Total: " << formatBytes(session.reclaimableBytes()) << " reclaimable in "
        << session.projects().size() << " projects, " << formatBytes(session.selectedBytes())
        << " ticked.\n";
    if (!session.keptPaths().isEmpty())
        out << "[k]: marked Keep, never cleaned (corvane keep --list).\n";
}

} // namespace corvane::cli
