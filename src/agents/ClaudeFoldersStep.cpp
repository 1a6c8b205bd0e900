#include "agents/ClaudeFoldersStep.h"

#include "agents/ClaudeHistory.h"
#include "agents/SessionHead.h"
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
    FolderMover(const RelinkContext& context, const QMap<QString, QString>& ledger)
        : context_(context)
        , root_(context.locations.claudeProjects)
        , ledger_(ledger) {}

    QString folder(const QString& name) const { return Paths::joined(root_, name); }

    // The whole folder: renamed, or merged into the folder of the new name.
    void bring(const ClaudeFolderMove& planned);
    // Only `items` (sessions of the moved project and their companions) of a folder that holds
    // other projects' sessions too, into the folder of the new name, made when missing.
    void carry(const ClaudeFolderMove& planned, const QStringList& items);
    void giveBack(const ClaudeFolderMove& earlier);
    void saveLedger() const;

private:
    QStringList mergeItems(const QString& from, const QString& to, const QStringList& items);
    void recordMove(ClaudeFolderMove move);
    void noteRenamedFolder(const ClaudeFolderMove& move);
    void noteSessions(const ClaudeFolderMove& move, const QStringList& items);

    const RelinkContext& context_;
    QString root_;
    const QMap<QString, QString>& ledger_;
    QMap<QString, QString> recorded_;
    QSet<QString> forgotten_;
};

void FolderMover::recordMove(ClaudeFolderMove move) {
    context_.report.claudeFolderMoves.append(std::move(move));
    ++context_.report.claudeHistoryFolders;
}

// The folder's entry and those of its sessions follow it to its new name.
void FolderMover::noteRenamedFolder(const ClaudeFolderMove& move) {
    forgotten_.insert(move.from);
    recorded_.insert(move.to, move.toPath);
    const QString prefix = move.from + u'/';
    for (auto entry = ledger_.begin(); entry != ledger_.end(); ++entry) {
        if (!entry.key().startsWith(prefix))
            continue;
        forgotten_.insert(entry.key());
        recorded_.insert(move.to + u'/' + entry.key().mid(prefix.size()),
                         context_.move.rewritten(entry.value()).value_or(entry.value()));
    }
}

// Each session moved on its own is written down under its new folder, unless its own "cwd"
// already names that folder: in a shared folder, the folder's entry cannot speak for it.
void FolderMover::noteSessions(const ClaudeFolderMove& move, const QStringList& items) {
    for (const QString& item : items) {
        if (!item.endsWith(QStringLiteral(".jsonl")))
            continue;
        forgotten_.insert(ClaudeHistory::sessionKey(move.from, item));
        const QString key = ClaudeHistory::sessionKey(move.to, item);
        const std::optional<QString> cwd = SessionHead::firstCwd(folder(key));
        if (cwd && ClaudeHistory::encodedFolderName(*cwd) == move.to)
            forgotten_.insert(key);
        else
            recorded_.insert(key, move.toPath);
    }
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
        noteRenamedFolder(planned);
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
    if (context_.writes() && QDir(root_).rmdir(planned.from)) // only when nothing stayed behind
        forgotten_.insert(planned.from);
    // The folder keeps standing for its own path; each session that came in is written down.
    noteSessions(planned, moved);
    ClaudeFolderMove merge = planned;
    merge.movedItems = moved;
    recordMove(merge);
}

void FolderMover::carry(const ClaudeFolderMove& planned, const QStringList& items) {
    const QString to = folder(planned.to);
    if (occupied(to) && !isRealFolder(to)) {
        context_.warn(QStringLiteral("Claude Code history for %1 was not moved: %2 is in the way "
                                     "and is not a folder.")
                          .arg(planned.fromPath, to));
        return;
    }
    if (!occupied(to) && context_.writes() && !QDir().mkpath(to)) {
        context_.warn(QStringLiteral("Claude Code history for %1 was not moved: %2 could not be "
                                     "made.")
                          .arg(planned.fromPath, to));
        return;
    }
    const QStringList moved = mergeItems(folder(planned.from), to, items);
    if (moved.isEmpty())
        return;
    noteSessions(planned, moved);
    ClaudeFolderMove part = planned;
    part.movedItems = moved;
    recordMove(part);
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
    // A folder emptied by the move as a whole stood for its path; one that kept other
    // projects' sessions still stands for its own.
    const bool madeAgain = !occupied(to);
    if (madeAgain && context_.writes() && !QDir().mkpath(to)) {
        context_.warn(QStringLiteral("Claude Code history folder %1 could not be made again; "
                                     "nothing was moved back into it.")
                          .arg(to));
        return;
    }
    if (!madeAgain && !isRealFolder(to)) {
        context_.warn(QStringLiteral("Claude Code history for %1 was not moved back: %2 is in the "
                                     "way and is not a folder.")
                          .arg(back.fromPath, to));
        return;
    }
    const QStringList moved = mergeItems(from, to, present);
    if (moved.isEmpty())
        return;
    if (madeAgain)
        recorded_.insert(back.to, back.toPath);
    noteSessions(back, moved);
    // A folder made only to receive these items goes again; one with history of its own stays.
    if (context_.writes() && QDir(root_).rmdir(back.from))
        forgotten_.insert(back.from);
    ClaudeFolderMove merge = back;
    merge.movedItems = moved;
    recordMove(merge);
}

void FolderMover::saveLedger() const {
    if (!context_.writes() || (recorded_.isEmpty() && forgotten_.isEmpty()))
        return;
    const OwnFile::Outcome saved =
        context_.locations.claudeFolderLedger.update([this](QMap<QString, QString>& mapping) {
            for (const QString& key : forgotten_)
                mapping.remove(key);
            for (auto entry = recorded_.begin(); entry != recorded_.end(); ++entry)
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

// The items of a history folder by the project they belong to: each session file with its
// companion folder of the same name. A session whose project is unknown goes with the folder's.
QMap<QString, QStringList> itemsByProject(const QString& folder,
                                          const QMap<QString, QString>& ledger, bool macPathRules,
                                          const std::optional<QString>& folderPath) {
    const QMap<QString, QString> projects =
        ClaudeHistory::sessionProjects(folder, ledger, macPathRules);
    QMap<QString, QStringList> items;
    for (const QString& fileName : ClaudeHistory::sessionFiles(folder)) {
        const QString path = projects.value(fileName, folderPath.value_or(QString()));
        if (path.isEmpty())
            continue;
        QStringList& list = items[path];
        list.append(fileName);
        const QString companion = fileName.chopped(6); // ".jsonl"
        if (isRealFolder(Paths::joined(folder, companion)))
            list.append(companion);
    }
    return items;
}

// Where history of `path` goes: the folder name of its new path, or nothing when it does not
// move (not under the old path, same name, or a name too long, which is said).
std::optional<ClaudeFolderMove> planned(const RelinkContext& context, const QString& name,
                                        const QString& path) {
    const std::optional<QString> newPath = context.move.rewritten(path);
    if (!newPath)
        return std::nullopt;
    const QString newName = ClaudeHistory::encodedFolderName(*newPath);
    if (newName == name)
        return std::nullopt;
    if (newName.size() > ClaudeHistory::maxFolderNameLength) {
        context.warn(QStringLiteral("Claude Code history for ") + path +
                     QStringLiteral(" was not moved: the path is too long."));
        return std::nullopt;
    }
    return ClaudeFolderMove{name, newName, path, *newPath, std::nullopt};
}

// A folder of one project moves whole; in a folder shared by several (the encoding is lossy),
// only the sessions of the moved project go, and the others stay where they are.
void moveFolder(const RelinkContext& context, FolderMover& mover, const QString& name,
                const QMap<QString, QString>& ledger) {
    const bool mac = context.locations.macPathRules;
    const QString folder = mover.folder(name);
    const std::optional<QString> folderPath =
        ClaudeHistory::projectPathOfFolder(folder, ledger, mac);
    const QMap<QString, QStringList> items = itemsByProject(folder, ledger, mac, folderPath);
    if (items.size() <= 1) {
        const std::optional<QString> path = items.isEmpty() ? folderPath : items.firstKey();
        if (!path)
            return;
        if (const std::optional<ClaudeFolderMove> move = planned(context, name, *path))
            mover.bring(*move);
        return;
    }
    for (auto project = items.begin(); project != items.end(); ++project) {
        if (const std::optional<ClaudeFolderMove> move = planned(context, name, project.key()))
            mover.carry(*move, project.value());
    }
}

} // namespace

void ClaudeFoldersStep::run(const RelinkContext& context, const QSet<QString>& untouchable) {
    const QMap<QString, QString> ledger = context.locations.claudeFolderLedger.load();
    FolderMover mover(context, ledger);
    for (const QString& name : historyFolders(context.locations.claudeProjects)) {
        if (!untouchable.contains(name))
            moveFolder(context, mover, name, ledger);
    }
    mover.saveLedger();
}

QSet<QString> ClaudeFoldersStep::reverse(const RelinkContext& context,
                                         const QList<ClaudeFolderMove>& moves) {
    const QMap<QString, QString> ledger = context.locations.claudeFolderLedger.load();
    FolderMover mover(context, ledger);
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
