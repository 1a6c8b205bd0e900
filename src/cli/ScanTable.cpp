#include "cli/ScanCommands.h"
#include "platform/ByteFormat.h"

namespace corvane::cli {
namespace {

// Words for the terminal; the desktop views have their own.
QString kindWords(ArtifactKind kind) {
    switch (kind) {
    case ArtifactKind::dependencies:
        return QStringLiteral("dependencies");
    case ArtifactKind::buildOutput:
        return QStringLiteral("build output");
    case ArtifactKind::cache:
        return QStringLiteral("cache");
    case ArtifactKind::virtualEnv:
        return QStringLiteral("virtual environment");
    case ArtifactKind::wholeProject:
        return QStringLiteral("whole project");
    case ArtifactKind::unknown:
        return QStringLiteral("unknown");
    }
    return {};
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
        return QStringLiteral("reclonable");
    }
    return {};
}

QString counted(int count, const char* one, const char* many) {
    return QString::number(count) + u' ' + QLatin1String(count == 1 ? one : many);
}

QString gitStateWords(const GitStatus& status) {
    switch (status.kind()) {
    case GitStatus::Case::dirty:
        return counted(status.changedCount(), "uncommitted change", "uncommitted changes");
    case GitStatus::Case::aheadOfRemote:
        return counted(status.commits(), "unpushed commit", "unpushed commits");
    case GitStatus::Case::notARepo:
        return QStringLiteral("not in git");
    case GitStatus::Case::fullySynced:
        return QStringLiteral("committed and pushed");
    case GitStatus::Case::noUpstream:
        return QStringLiteral("branch without upstream");
    case GitStatus::Case::upstreamGone:
        return QStringLiteral("upstream branch gone");
    case GitStatus::Case::noRemote:
        return QStringLiteral("no remote");
    }
    return {};
}

QString projectLine(const ScanSession& session, const Project& project) {
    const auto details = session.gitDetailsByProject().constFind(project.id);
    const bool known = details != session.gitDetailsByProject().cend();
    QString state = known ? gitStateWords(details->status) : QStringLiteral("git not inspected");
    if (known && details->lastCommitDate)
        state += QStringLiteral(", last commit ") +
                 details->lastCommitDate->toUTC().toString(QStringLiteral("yyyy-MM-dd"));
    return QStringLiteral("%1  [%2]  %3 reclaimable")
        .arg(project.name, state, formatBytes(session.reclaimableBytes(project.id)));
}

QString itemLine(const ScanSession& session, const CleanableItem& item) {
    const auto size = session.sizeByItem().constFind(item.id);
    const QString bytes =
        size == session.sizeByItem().cend() ? QStringLiteral("not measured") : formatBytes(*size);
    const QString mark =
        session.selectedItemIDs().contains(item.id) ? QStringLiteral("[x]") : QStringLiteral("[ ]");
    return QStringLiteral("%1 %2 %3 %4 %5")
        .arg(mark, item.name.leftJustified(24), kindWords(item.kind).leftJustified(20),
             confidenceWords(item.confidence).leftJustified(20), bytes.rightJustified(12));
}

void printNodes(const ScanSession& session, const QList<ProjectNode>& nodes, int depth,
                QTextStream& out) {
    const QString indent(depth * 4, u' ');
    for (const ProjectNode& node : nodes) {
        out << indent << projectLine(session, node.project) << '\n';
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
}

} // namespace corvane::cli
