#include "agents/AgentStorage.h"
#include "agents/AgentStoreRules.h"
#include "agents/AgentStoreSources.h"
#include "agents/ClaudeHistory.h"
#include "agents/SessionHead.h"
#include "platform/DirectoryReader.h"
#include "platform/Paths.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <algorithm>
#include <tuple>
#include <vector>

namespace corvane::AgentStoreSources {
namespace {

constexpr qsizetype sessionExtensionLength = 6; // ".jsonl"

// To-do lists are named "<session id>-agent-<agent id>.json".
QString todoSession(const QString& fileName) {
    const qsizetype at = fileName.indexOf(QStringLiteral("-agent-"));
    return at > 0 ? fileName.left(at) : QString();
}

struct ClaudeFolders {
    QString home;
    QString fileHistory;
    QString todos;
};

class ClaudeReader {
public:
    explicit ClaudeReader(const Context& context)
        : context_(context)
        , classifier_(context.newPlaces) {
        folders_.home = Paths::parentPath(context.locations.claudeProjects);
        folders_.fileHistory = folders_.home + QStringLiteral("/file-history");
        folders_.todos = folders_.home + QStringLiteral("/todos");
        for (const AgentSession& session : context.index.sessions) {
            if (session.agent == AgentKind::claudeCode)
                indexed_.insert(session.id, &session);
        }
        rows_.reserve(indexed_.size() + context.index.desktopRecords.size() + 16);
        todos_ = entriesOf(folders_.todos);
        todoTaken_.assign(todos_.size(), false);
    }

    QList<AgentStoreRow> read() {
        for (const QString& name : entriesOf(context_.locations.claudeProjects))
            readHistoryFolder(Paths::joined(context_.locations.claudeProjects, name));
        addLeftovers();
        addDesktopRecords();
        rows_ += neverTouched(folders_.home, AgentKind::claudeCode, context_.cancellation);
        if (QFileInfo::exists(context_.locations.claudeConfig))
            addConfigFile();
        return rows_;
    }

private:
    AgentStoreRow newRow(const QString& id, const QString& name) const {
        AgentStoreRow row;
        row.id = id;
        row.agent = AgentKind::claudeCode;
        row.name = name;
        row.root = folders_.home;
        return row;
    }

    void readHistoryFolder(const QString& folder) {
        if (!QFileInfo(folder).isDir())
            return;
        QStringList transcripts;
        // Session id -> its row in rows_.
        QHash<QString, qsizetype> sessionRows;
        for (const QString& fileName : ClaudeHistory::sessionFiles(folder)) {
            context_.cancellation.throwIfCancelled();
            if (fileName.startsWith(QStringLiteral("agent-"))) {
                transcripts.append(fileName);
                continue;
            }
            const QString id = fileName.chopped(sessionExtensionLength);
            sessionRows.insert(id, rows_.size());
            rows_.append(sessionRow(folder, fileName, id));
        }
        for (const QString& fileName : transcripts)
            addLooseTranscript(folder, fileName, sessionRows);
    }

    // Older versions kept sub-agent transcripts loose in the history folder. One whose session is
    // still there goes with it, as the sub-agents in a companion folder do; one whose session is
    // gone is a session of its own, titled and dated from its own head.
    void addLooseTranscript(const QString& folder, const QString& fileName,
                            const QHash<QString, qsizetype>& sessionRows) {
        const QString path = Paths::joined(folder, fileName);
        const SessionHead::Head head = SessionHead::read(path);
        if (const auto session = sessionRows.constFind(head.sessionID.value_or(QString()));
            session != sessionRows.cend()) {
            AgentStorage::addMeasured(rows_[*session], folder, fileName, context_.cancellation);
            return;
        }
        AgentStoreRow row =
            newRow(path, head.title.value_or(QStringLiteral("Untitled sub-agent session")));
        row.project = ClaudeHistory::projectPath(Paths::lastComponent(folder), head.cwd, ledger(),
                                                 context_.locations.macPathRules, fileName)
                          .value_or(QString());
        row.updatedAt = QFileInfo(path).lastModified();
        AgentStorage::addMeasured(row, folder, fileName, context_.cancellation);
        classifier_.classify(row);
        rows_.append(row);
    }

    const QMap<QString, QString>& ledger() {
        if (!ledger_)
            ledger_ = context_.locations.claudeFolderLedger.load();
        return *ledger_;
    }

    // The session file `fileName` of `folder` and what belongs to it. Every item keeps the
    // strings it was given, shared with the folder, the listing and the row's id.
    AgentStoreRow sessionRow(const QString& folder, const QString& fileName, const QString& id) {
        static const AgentSession unknown;
        const AgentSession& session = *indexed_.value(id, &unknown);
        AgentStoreRow row = newRow(session.id.isEmpty() ? id : session.id,
                                   session.title.value_or(QStringLiteral("Untitled session")));
        row.project = session.cwd;
        row.updatedAt = session.updatedAt;
        if (!row.updatedAt)
            row.updatedAt = QFileInfo(Paths::joined(folder, fileName)).lastModified();
        AgentStorage::addMeasured(row, folder, fileName, context_.cancellation);
        AgentStorage::addMeasured(row, folder, row.id, context_.cancellation);
        AgentStorage::addMeasured(row, folders_.fileHistory, row.id, context_.cancellation);
        addTodos(row, id);
        sessionIDs_.insert(row.id);
        classifier_.classify(row);
        return row;
    }

    // The to-do lists of session `id`. Their names start with "<id>-agent-", so in the sorted
    // listing they lie next to each other: found by a search, with no table of every name.
    void addTodos(AgentStoreRow& row, const QString& id) {
        const QString prefix = id + QStringLiteral("-agent-");
        auto name = std::lower_bound(todos_.cbegin(), todos_.cend(), prefix);
        for (; name != todos_.cend() && name->startsWith(prefix); ++name) {
            if (todoSession(*name) != id)
                continue;
            todoTaken_[std::distance(todos_.cbegin(), name)] = true;
            AgentStorage::addMeasured(row, folders_.todos, *name, context_.cancellation);
        }
    }

    // Stores the agent fills and recreates by itself, and what sessions that are gone left.
    void addLeftovers() {
        const auto leftover = [this](const QString& path, const QString& name,
                                     const QString& reason) {
            AgentStoreRow row = newRow(path, name);
            row.kind = AgentStoreKind::leftovers;
            row.reason = reason;
            row.tickedByDefault = true;
            return row;
        };
        for (const auto& [folder, name, reason] :
             {std::tuple{QStringLiteral("debug"), QStringLiteral("Debug logs"),
                         QStringLiteral("Claude Code writes a new log every session")},
              std::tuple{QStringLiteral("shell-snapshots"), QStringLiteral("Shell snapshots"),
                         QStringLiteral("Claude Code takes a new snapshot of the shell each "
                                        "session")}}) {
            AgentStoreRow row = leftover(Paths::joined(folders_.home, folder), name, reason);
            AgentStorage::addMeasured(row, folders_.home, folder, context_.cancellation);
            if (!row.items.isEmpty())
                rows_.append(row);
        }
        AgentStoreRow orphans =
            leftover(folders_.home + QStringLiteral("/sessions-gone"),
                     QStringLiteral("File history and to-do lists of sessions that are gone"),
                     QStringLiteral("Their sessions no longer exist, so nothing reads them"));
        for (const QString& id : orphanedHistory())
            AgentStorage::addMeasured(orphans, folders_.fileHistory, id, context_.cancellation);
        for (qsizetype index = 0; index < todos_.size(); ++index) {
            if (!todoTaken_[index])
                AgentStorage::addMeasured(orphans, folders_.todos, todos_[index],
                                          context_.cancellation);
        }
        if (!orphans.items.isEmpty())
            rows_.append(orphans);
    }

    // The file history folders of sessions that are gone, by name. Read as a stream: a sorted
    // listing of every session's folder would hold tens of thousands of entries at once.
    QStringList orphanedHistory() const {
        QStringList ids;
        QDirIterator folders(folders_.fileHistory,
                             QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
        while (folders.hasNext()) {
            const QString id = folders.nextFileInfo().fileName();
            if (!sessionIDs_.contains(id))
                ids.append(id);
        }
        ids.sort();
        return ids;
    }

    // The Claude app keeps one record file per conversation, each on its own (no index or
    // database names them; the relinker rewrites them one by one too): a record is history like a
    // session, of its project folder's kind, and goes through the trash alone.
    void addDesktopRecords() {
        for (const AgentHistoryIndex::DesktopEntry& record : context_.index.desktopRecords) {
            context_.cancellation.throwIfCancelled();
            AgentStoreRow row = newRow(record.file, QStringLiteral("Claude app record: ") +
                                                        record.title.value_or(record.desktopID));
            row.root = recordsFolderOf(record.file);
            row.project = record.cwd.value_or(QString());
            row.updatedAt = record.lastActivity;
            if (!row.updatedAt)
                row.updatedAt = QFileInfo(record.file).lastModified();
            AgentStorage::addMeasured(row, record.file, context_.cancellation);
            classifier_.classify(row);
            rows_.append(row);
        }
    }

    QString recordsFolderOf(const QString& file) const {
        for (const QString& folder : context_.locations.claudeDesktopSessions) {
            if (Paths::isUnder(file, folder))
                return folder;
        }
        return Paths::parentPath(file);
    }

    void addConfigFile() {
        AgentStoreRow row = newRow(context_.locations.claudeConfig, QStringLiteral(".claude.json"));
        row.root = context_.locations.home;
        row.kind = AgentStoreKind::neverTouched;
        row.reason = QStringLiteral("Account and project settings: never removed");
        AgentStorage::addMeasured(row, row.id, context_.cancellation);
        rows_.append(row);
    }

    const Context& context_;
    AgentStorage::HistoryClassifier classifier_;
    ClaudeFolders folders_;
    // Into the index, which outlives the reader.
    QHash<QString, const AgentSession*> indexed_;
    // The to-do lists' names, sorted, and which of them a session took.
    QStringList todos_;
    std::vector<bool> todoTaken_;
    QSet<QString> sessionIDs_;
    std::optional<QMap<QString, QString>> ledger_;
    QList<AgentStoreRow> rows_;
};

} // namespace

QList<AgentStoreRow> claude(const Context& context) {
    return ClaudeReader(context).read();
}

// Read straight from the folder's listing: QDir would also keep a file info of every entry until
// it returns, several times the names' memory for the tens of thousands of to-do lists.
QStringList entriesOf(const QString& folder) {
    QStringList names;
    // A folder that is a link (a home kept in a dotfiles repository) is listed as QDir would.
    DirectoryReader reader(folder, DirectoryReader::Detail::kinds,
                           DirectoryReader::RootLinks::followed);
    DirectoryReader::Entry entry;
    while (reader.next(entry))
        names.append(QFile::decodeName(entry.name));
    names.sort();
    return names;
}

QList<AgentStoreRow> neverTouched(const QString& folder, AgentKind agent,
                                  const CancellationToken& cancellation) {
    QList<AgentStoreRow> rows;
    for (const QString& name : entriesOf(folder)) {
        const QString path = Paths::joined(folder, name);
        const QFileInfo info(path);
        const std::optional<QString> kind =
            AgentStoreRules::protectedKind(name, info.isDir() && !info.isSymLink());
        if (!kind)
            continue;
        AgentStoreRow row;
        row.id = path;
        row.agent = agent;
        row.kind = AgentStoreKind::neverTouched;
        row.name = name;
        row.root = folder;
        row.reason = *kind + QStringLiteral(": never removed");
        AgentStorage::addMeasured(row, folder, name, cancellation);
        rows.append(row);
    }
    return rows;
}

} // namespace corvane::AgentStoreSources
