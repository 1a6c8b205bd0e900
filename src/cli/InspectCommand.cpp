#include "cli/InspectCommand.h"

#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/DirectoryWalker.h"
#include "scanning/GitInspector.h"
#include "scanning/ProjectDetector.h"
#include "scanning/RepoGroupInspector.h"
#include "scanning/ScanWording.h"
#include "scanning/WalkRules.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>
#include <algorithm>
#include <memory>

namespace corvane::cli {
namespace {

// A terminal shows a screenful; the JSON form carries every change git reported.
constexpr qsizetype changesShownAsText = 20;

struct FolderContents {
    QSet<QString> names;
    // Absolute paths of the real subfolders (no symbolic links), in name order.
    QStringList subfolders;
};

FolderContents contentsOf(const QString& path) {
    FolderContents contents;
    const QFileInfoList entries = QDir(path).entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        contents.names.insert(entry.fileName());
        if (entry.isDir() && !entry.isSymLink() && entry.fileName() != QLatin1String(".git"))
            contents.subfolders.append(Paths::joined(path, entry.fileName()));
    }
    return contents;
}

QString padded(const QString& text, qsizetype width) {
    return text + QString(std::max<qsizetype>(width - text.size(), 0) + 2, u' ');
}

void writeGitLines(QTextStream& out, const InspectReport& report) {
    const GitDetails& details = report.details;
    out << "Repository:   " << report.workingTree.value_or(QStringLiteral("none")) << '\n';
    out << "Git:          " << ScanWording::gitDetailsWords(details) << '\n';
    if (details.problem)
        out << "              " << *details.problem << '\n';
    if (details.status.kind() == GitStatus::Case::notARepo)
        return;
    out << "Branch:       " << details.branch.value_or(QStringLiteral("none (detached HEAD)"))
        << '\n';
    out << "Remote:       ";
    if (details.remoteURL)
        out << details.repoDisplayName().value_or(*details.remoteURL) << "  (" << *details.remoteURL
            << ")\n";
    else
        out << "none\n";
    out << "Last commit:  "
        << (details.lastCommitDate
                ? details.lastCommitDate->toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"))
                : QStringLiteral("none"))
        << '\n';
    if (details.changes.isEmpty())
        return;
    out << "Changes:\n";
    for (const GitChange& change :
         details.changes.first(std::min<qsizetype>(details.changes.size(), changesShownAsText)))
        out << "  " << padded(ScanWording::changeWords(change.kind), 10) << change.path << '\n';
    if (details.changes.size() > changesShownAsText)
        out << "  and " << details.changes.size() - changesShownAsText
            << " more (--json lists them all)\n";
}

void writeItems(QTextStream& out, const QList<CleanableItem>& items) {
    if (items.isEmpty()) {
        out << "No folders here would be offered.\n";
        return;
    }
    qsizetype nameWidth = 0;
    qsizetype kindWidth = 0;
    for (const CleanableItem& item : items) {
        nameWidth = std::max(nameWidth, item.name.size());
        kindWidth = std::max(kindWidth, ScanWording::kindWords(item.kind).size());
    }
    out << "Items:\n";
    for (const CleanableItem& item : items)
        out << "  " << padded(item.name, nameWidth)
            << padded(ScanWording::kindWords(item.kind), kindWidth)
            << ScanWording::confidenceWords(item.confidence) << '\n';
}

// The repositories in the folder (clones, submodules) decide, as in a scan, whether the folder
// may be offered whole and which ignored folders may be offered; they are found by the scan's
// own walk. Below the root of the working tree the walk cannot tell the projects of that tree
// apart from those in none, and counts only those in another tree.
QList<Project> projectsOfOtherTrees(const QString& path, const QString& workingTree,
                                    const CancellationToken& cancellation) {
    const DirectoryWalker::WalkResult walked = DirectoryWalker(path, {}, {}).walk(cancellation);
    QList<Project> others;
    for (const Project& found : walked.projects) {
        const bool inAnotherTree =
            found.gitRepoURL ? *found.gitRepoURL != workingTree : path == workingTree;
        if (inAnotherTree)
            others.append(found);
    }
    return others;
}

} // namespace

InspectReport inspectFolder(const QString& path, const CancellationToken& cancellation) {
    InspectReport report;
    report.path = path;
    report.workingTree = GitInspector::enclosingWorkingTree(path);
    // The folder is judged as the scan judges a project: the same group inspection, with the
    // catalog's folders directly inside it as the walker would have found them.
    const FolderContents contents = contentsOf(path);
    const Project project{QUuid::createUuid(),
                          Paths::lastComponent(path),
                          path,
                          ProjectDetector::markers(contents.names.values()),
                          report.workingTree,
                          std::nullopt};
    const WalkRules rules(path, ScanOptions{});
    // The home folder is no project for the scan, so nothing in it is judged as part of one.
    if (rules.protectedFolders().isHome(path))
        return report;
    QSet<QString> candidates;
    for (const QString& folder : contents.subfolders) {
        if (ArtifactCatalog::match(Paths::lastComponent(folder), contents.names))
            candidates.insert(folder);
    }
    const RepoGroup group{report.workingTree, {project}};
    RepoGroupInspector::Surroundings surroundings{rules, {}};
    if (report.workingTree) {
        try {
            surroundings.projectsOfOtherTrees =
                projectsOfOtherTrees(path, *report.workingTree, cancellation);
        } catch (const CancelledError&) {
            return report;
        }
    }
    const QList<ProjectInspection> inspections =
        RepoGroupInspector::inspect(group, {{project.id, candidates}}, surroundings, cancellation);
    if (!inspections.isEmpty()) {
        report.details = inspections.first().details;
        report.items = inspections.first().items;
    }
    return report;
}

QJsonObject inspectJson(const InspectReport& report) {
    QJsonArray items;
    for (const CleanableItem& item : report.items)
        items.append(itemJson(item));
    return QJsonObject{
        {QStringLiteral("path"), report.path},
        {QStringLiteral("gitRepoURL"),
         report.workingTree ? QJsonValue(*report.workingTree) : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("git"), gitDetailsJson(report.details)},
        {QStringLiteral("items"), items},
    };
}

QString inspectText(const InspectReport& report) {
    QString text;
    QTextStream out(&text);
    out << report.path << '\n';
    writeGitLines(out, report);
    writeItems(out, report.items);
    return text;
}

void defineInspectCommand(CLI::App& command, int& status) {
    auto path = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    command.add_option("path", *path, "The folder to look at")->required();
    command.add_flag("--json", *json, "Print one JSON document instead of text");
    command.callback([path, json, &status] {
        const QFileInfo folder(QString::fromLocal8Bit(path->c_str()));
        if (!folder.isDir()) {
            QTextStream(stderr) << "No folder at " << folder.filePath() << '\n';
            status = exitRefusedOrBadArguments;
            return;
        }
        const InspectReport report = inspectFolder(Paths::absoluteStandardized(folder.filePath()));
        QTextStream out(stdout);
        if (*json)
            out << QJsonDocument(inspectJson(report)).toJson(QJsonDocument::Indented);
        else
            out << inspectText(report);
        status = exitOk;
    });
}

} // namespace corvane::cli
