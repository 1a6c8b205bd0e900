#include "agents/ClaudeSessions.h"

#include "agents/ClaudeHistory.h"
#include "agents/SessionHead.h"

#include <QDir>
#include <QFileInfo>

namespace corvane::ClaudeSessions {
namespace {

constexpr qsizetype sessionExtensionLength = 6; // ".jsonl"

// Older versions kept sub-agent transcripts beside the sessions as "agent-<id>.jsonl"; they are
// parts of a session, not conversations of their own.
bool isSubAgentTranscript(const QString& fileName) {
    return fileName.startsWith(QStringLiteral("agent-"));
}

} // namespace

QList<AgentSession> read(const QString& projectsFolder, const QMap<QString, QString>& ledger,
                         bool macPathRules) {
    QList<AgentSession> sessions;
    // Every session of a project names the same folder: they share one string, the rows made
    // from them too, rather than each keeping its own copy.
    QString lastProject;
    const QDir root(projectsFolder);
    const QStringList folders =
        root.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
    for (const QString& folderName : folders) {
        const QDir folder(root.filePath(folderName));
        for (const QString& fileName : ClaudeHistory::sessionFiles(folder.path())) {
            if (isSubAgentTranscript(fileName))
                continue;
            const QString path = folder.filePath(fileName);
            const SessionHead::Head head = SessionHead::read(path);
            const std::optional<QString> project =
                ClaudeHistory::projectPath(folderName, head.cwd, ledger, macPathRules, fileName);
            if (!project)
                continue;
            AgentSession session;
            session.agent = AgentKind::claudeCode;
            session.id = fileName.chopped(sessionExtensionLength);
            if (*project != lastProject)
                lastProject = *project;
            session.cwd = lastProject;
            session.title = head.title;
            session.file = path;
            const QDateTime modified = QFileInfo(path).lastModified();
            if (modified.isValid())
                session.updatedAt = modified;
            sessions.append(session);
        }
    }
    return sessions;
}

} // namespace corvane::ClaudeSessions
