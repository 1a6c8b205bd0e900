#include "agents/ClaudeFoldersStep.h"

#include "agents/ClaudeHistory.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <filesystem>

namespace corvane {
namespace {

// A dangling symbolic link still takes the name.
bool occupied(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

bool isRealFolder(const QString& path) {
    const QFileInfo info(path);
    return info.isDir() && !info.isSymLink();
}

// One rename on the same volume; the reason it failed, or an empty string.
QString renamed(const QString& from, const QString& to) {
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(from).toStdString(),
                            QFile::encodeName(to).toStdString(), error);
    return error ? QString::fromLocal8Bit(error.message()) : QString();
}

QStringList itemsOf(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
}

// Moves folders and items, and remembers for the ledger where history now lives.
class FolderMover {
public:
    explicit FolderMover(const RelinkContext& context)
        : context_(context)
        , root_(context.locations.claudeProjects) {}

    QString folder(const QString& name) const { return Paths::joined(root_, name); }

    void bring(const ClaudeFolderMove& planned);
    void giveBack(const ClaudeFolderMove& earlier);
    void saveLedger() const;

private:
    QStringList mergeItems(const QString& from, const QString& to, const QStringList& items);
    void recordMove(ClaudeFolderMove move);

    const RelinkContext& context_;
    QString root_;
    QMap<QString, QString> filled_;
    QSet<QString> emptied_;
};

void FolderMover::recordMove(ClaudeFolderMove move) {
    filled_.insert(move.to, move.toPath);
    context_.report.claudeFolderMoves.append(std::move(move));
    ++context_.report.claudeHistoryFolders;
}

QStringList FolderMover::mergeItems(const QString& from, const QString& to,
                                    const QStringList& items) {
    QStringList moved;
    for (const QString& item : items) {
        const QString target = Paths::joined(to, item);
        if (occupied(target)) {
            context_.warn(QStringLiteral("Kept both copies of Claude Code file ") + item +
                          QStringLiteral("; the old one stays in ") + from);
            continue;
        }
        const QString problem =
            context_.writes() ? renamed(Paths::joined(from, item), target) : QString();
        if (!problem.isEmpty()) {
            context_.warn(QStringLiteral("Claude Code file %1 could not be moved from %2 to %3: "
                                         "%4.")
                              .arg(item, from, to, problem));
            continue;
        }
        moved.append(item);
    }
    return moved;
}

void FolderMover::bring(const ClaudeFolderMove& planned) {
    const QString from = folder(planned.from);
    const QString to = folder(planned.to);
    if (!occupied(to)) {
        const QString problem = context_.writes() ? renamed(from, to) : QString();
        if (!problem.isEmpty()) {
            context_.warn(QStringLiteral("Claude Code history for %1 could not be moved to %2: "
                                         "%3.")
                              .arg(planned.fromPath, to, problem));
            return;
        }
        emptied_.insert(planned.from);
        recordMove(planned);
        return;
    }
    if (!isRealFolder(to)) {
        context_.warn(QStringLiteral("Claude Code history for %1 was not moved: %2 is in the way "
                                     "and is not a folder.")
                          .arg(planned.fromPath, to));
        return;
    }
    const QStringList moved = mergeItems(from, to, itemsOf(from));
    if (moved.isEmpty())
        return;
    if (context_.writes())
        QDir(root_).rmdir(planned.from); // only when nothing stayed behind
    ClaudeFolderMove merge = planned;
    merge.movedItems = moved;
    recordMove(merge);
}

void FolderMover::giveBack(const ClaudeFolderMove& earlier) {
    const ClaudeFolderMove back{earlier.to, earlier.from, earlier.toPath, earlier.fromPath, {}};
    const QString from = folder(back.from);
    if (!earlier.movedItems) {
        if (!occupied(from)) {
            context_.warn(QStringLiteral("Claude Code history folder %1 is no longer there; "
                                         "nothing was moved back.")
                              .arg(from));
            return;
        }
        bring(back);
        return;
    }
    QStringList present;
    for (const QString& item : *earlier.movedItems) {
        if (occupied(Paths::joined(from, item)))
            present.append(item);
        else
            context_.warn(QStringLiteral("Claude Code file %1 is no longer in %2; it was not "
                                         "moved back.")
                              .arg(item, from));
    }
    const QString to = folder(back.to);
    if (present.isEmpty())
        return;
    if (!occupied(to) && context_.writes() && !QDir().mkpath(to)) {
        context_.warn(QStringLiteral("Claude Code history folder %1 could not be made again; "
                                     "nothing was moved back into it.")
                          .arg(to));
        return;
    }
    if (occupied(to) && !isRealFolder(to)) {
        context_.warn(QStringLiteral("Claude Code history for %1 was not moved back: %2 is in the "
                                     "way and is not a folder.")
                          .arg(back.fromPath, to));
        return;
    }
    const QStringList moved = mergeItems(from, to, present);
    if (moved.isEmpty())
        return;
    ClaudeFolderMove merge = back;
    merge.movedItems = moved;
    recordMove(merge);
}

void FolderMover::saveLedger() const {
    if (!context_.writes() || (filled_.isEmpty() && emptied_.isEmpty()))
        return;
    const OwnFile::Outcome saved =
        context_.locations.claudeFolderLedger.update([this](QMap<QString, QString>& mapping) {
            for (const QString& name : emptied_)
                mapping.remove(name);
            for (auto entry = filled_.begin(); entry != filled_.end(); ++entry)
                mapping.insert(entry.key(), entry.value());
        });
    if (!saved.error.isEmpty())
        context_.warn(QStringLiteral("Claude Code history: the new places of the moved folders "
                                     "could not be written down (%1).")
                          .arg(saved.error));
    if (!saved.notice.isEmpty())
        context_.warn(QStringLiteral("Claude Code history: ") + saved.notice);
}

QStringList historyFolders(const QString& root) {
    return QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
}

} // namespace

void ClaudeFoldersStep::run(const RelinkContext& context, const QSet<QString>& untouchable) {
    const QString root = context.locations.claudeProjects;
    const QMap<QString, QString> ledger = context.locations.claudeFolderLedger.load();
    FolderMover mover(context);
    for (const QString& name : historyFolders(root)) {
        if (untouchable.contains(name))
            continue;
        const std::optional<QString> path = ClaudeHistory::projectPathOfFolder(
            mover.folder(name), ledger, context.locations.macPathRules);
        const std::optional<QString> newPath = path ? context.move.rewritten(*path) : std::nullopt;
        if (!newPath)
            continue;
        const QString newName = ClaudeHistory::encodedFolderName(*newPath);
        if (newName == name)
            continue;
        if (newName.size() > ClaudeHistory::maxFolderNameLength) {
            context.warn(QStringLiteral("Claude Code history for ") + *path +
                         QStringLiteral(" was not moved: the path is too long."));
            continue;
        }
        mover.bring({name, newName, *path, *newPath, std::nullopt});
    }
    mover.saveLedger();
}

QSet<QString> ClaudeFoldersStep::reverse(const RelinkContext& context,
                                         const QList<ClaudeFolderMove>& moves) {
    FolderMover mover(context);
    QSet<QString> mergeTargets;
    for (auto move = moves.rbegin(); move != moves.rend(); ++move) {
        if (move->movedItems)
            mergeTargets.insert(move->to);
        mover.giveBack(*move);
    }
    mover.saveLedger();
    return mergeTargets;
}

} // namespace corvane
