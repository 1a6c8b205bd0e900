#pragma once

#include "platform/PlatformTrash.h"
#include "platform/TrashService.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// A Codex session goes only together with its thread's row in Codex's database, so that Codex
// never lists a session whose log is gone; and the row is kept, so that Put Back brings both.
namespace corvane::CodexSessionRemoval {

inline const QString busyMessage =
    QStringLiteral("Codex is writing to its database; try again when Codex is idle");
inline const QString goneMessage = QStringLiteral("Codex no longer lists this session");

struct Session {
    // The state database holding the thread's row.
    QString database;
    QString threadID;
    // The session log, and the folder it must lie in.
    QString log;
    QString root;
};

// A removed thread's row, every column with its stored type, to put back as it was.
struct ThreadRecord {
    QString database;
    QString threadID;
    QString log;
    QJsonObject columns;

    bool operator==(const ThreadRecord&) const = default;
};

struct Outcome {
    TrashOutcome trash;
    QList<ThreadRecord> records;
};

// For each session, in one immediate transaction: deletes the thread's row, moves the log to the
// Trash, and commits only when the log went; otherwise the row stays. Blocking.
Outcome remove(const QList<Session>& sessions, const PlatformTrash& platform);

// Inserts the row again; empty on success (or when Codex lists the thread already), else why not.
QString restore(const ThreadRecord& record);

// Whether a writer holds the database now, so that removing would have to wait for it.
bool isBusy(const QString& database);

// The rows of removed sessions, kept beside the cleanup history by cleanup id, in
// "codex-thread-records.json" in the application's support folder.
class RecordStore {
public:
    RecordStore();
    explicit RecordStore(QString path);

    QString save(const QString& cleanupID, const QList<ThreadRecord>& records) const;
    // The records of `cleanupID` whose logs are among `restoredLogs`; they leave the store.
    QList<ThreadRecord> take(const QString& cleanupID, const QList<QString>& restoredLogs) const;

private:
    QString path_;
};

} // namespace corvane::CodexSessionRemoval
