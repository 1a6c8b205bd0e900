#include "organize/OrganizeCandidates.h"

#include "agents/AgentPaths.h"
#include "organize/ShellProfile.h"
#include "organize/StandardFolders.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>

namespace corvane::OrganizeCandidates {
namespace {

QString readText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString resolvedAgainst(const QString& path, const QString& base) {
    return Paths::standardized(QFileInfo(path).isAbsolute() ? path : Paths::joined(base, path));
}

// A ".git" file ("gitdir: ...") stands for a linked worktree or a submodule; a worktree shares
// the config of the repository named by its "commondir".
QString gitConfigOf(const QString& folder) {
    QString gitDir = Paths::joined(folder, QStringLiteral(".git"));
    if (QFileInfo(gitDir).isFile()) {
        const QString text = readText(gitDir).trimmed();
        if (!text.startsWith(QStringLiteral("gitdir:")))
            return {};
        gitDir = resolvedAgainst(text.mid(7).trimmed(), folder);
    }
    const QString common = readText(Paths::joined(gitDir, QStringLiteral("commondir"))).trimmed();
    if (!common.isEmpty())
        gitDir = resolvedAgainst(common, gitDir);
    return Paths::joined(gitDir, QStringLiteral("config"));
}

// A value as git reads it: quotes group, a backslash escapes, "#" or ";" outside quotes begins
// a comment.
QString configValue(const QString& raw) {
    QString value;
    bool quoted = false;
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QChar c = raw[i];
        if (c == u'"') {
            quoted = !quoted;
        } else if (c == u'\\' && i + 1 < raw.size()) {
            const QChar next = raw[++i];
            value.append(next == u'n' ? QChar(u'\n') : next == u't' ? QChar(u'\t') : next);
        } else if (!quoted && (c == u'#' || c == u';')) {
            break;
        } else {
            value.append(c);
        }
    }
    return value.trimmed();
}

// Section names compare without case, the quoted subsection exactly.
bool isOriginSection(const QString& header) {
    static const QRegularExpression pattern(
        QStringLiteral("^\\[\\s*([A-Za-z0-9.-]+)\\s+\"((?:[^\"\\\\]|\\\\.)*)\"\\s*\\]"));
    const QRegularExpressionMatch match = pattern.match(header);
    return match.hasMatch() &&
           match.captured(1).compare(QStringLiteral("remote"), Qt::CaseInsensitive) == 0 &&
           match.captured(2) == QStringLiteral("origin");
}

std::optional<QString> originURL(const QString& config) {
    static const QRegularExpression urlKey(QStringLiteral("^url\\s*=(.*)$"),
                                           QRegularExpression::CaseInsensitiveOption);
    bool inOrigin = false;
    for (const QString& rawLine : config.split(u'\n')) {
        QString line = rawLine.trimmed();
        if (line.startsWith(u'[')) {
            inOrigin = isOriginSection(line);
            // A key may follow the header on the same line.
            line = line.mid(line.indexOf(u']') + 1).trimmed();
        }
        if (!inOrigin)
            continue;
        const QRegularExpressionMatch match = urlKey.match(line);
        if (!match.hasMatch())
            continue;
        const QString value = configValue(match.captured(1));
        if (!value.isEmpty())
            return value;
    }
    return std::nullopt;
}

// The agent with the most sessions and workspaces; of equals, the first in agent order.
std::optional<AgentKind> leadingAgentOf(const QList<AgentSession>& sessions,
                                        const QList<AgentWorkspace>& workspaces) {
    QHash<AgentKind, int> counts;
    for (const AgentSession& session : sessions)
        ++counts[session.agent];
    for (const AgentWorkspace& workspace : workspaces)
        ++counts[workspace.agent];
    std::optional<AgentKind> leading;
    for (AgentKind kind : allAgentKinds()) {
        if (counts.value(kind) > 0 && (!leading || counts.value(kind) > counts.value(*leading)))
            leading = kind;
    }
    return leading;
}

bool isInsideHiddenFolder(const QString& path, const QString& home) {
    const std::optional<QString> rest = Paths::pathInside(path, home);
    if (!rest)
        return false;
    const QStringList parts = rest->split(u'/');
    return std::any_of(parts.begin(), parts.end(),
                       [](const QString& part) { return part.startsWith(u'.'); });
}

} // namespace

QList<OrganizeCandidate> build(const QList<HomeProjectFinder::Found>& found,
                               const QStringList& manual, const AgentHistoryIndex& index) {
    QList<OrganizeCandidate> candidates;
    QSet<QString> listed;
    for (const HomeProjectFinder::Found& folder : found) {
        const QString path = Paths::standardized(folder.path);
        if (listed.contains(path))
            continue;
        listed.insert(path);
        candidates.append(candidateFor(path, folder.isWorkspace, false, index));
    }
    for (const QString& folder : manual) {
        const QString path = Paths::standardized(folder);
        if (listed.contains(path))
            continue;
        listed.insert(path);
        candidates.append(
            candidateFor(path, HomeProjectFinder::holdsRepositories(path), true, index));
    }
    return candidates;
}

OrganizeCandidate candidateFor(const QString& path, bool isWorkspace, bool isManual,
                               const AgentHistoryIndex& index) {
    const QList<AgentSession> sessions = index.sessionsIn(path);
    const QList<AgentWorkspace> workspaces = index.workspacesIn(path);
    OrganizeCandidate candidate;
    candidate.path = Paths::standardized(path);
    candidate.isWorkspace = isWorkspace;
    candidate.gitRemote = originRemote(path);
    candidate.leadingAgent = leadingAgentOf(sessions, workspaces);
    candidate.hasAgentSessions = !sessions.isEmpty() || !workspaces.isEmpty();
    candidate.isManual = isManual;
    return candidate;
}

std::optional<QString> originRemote(const QString& folder) {
    const QString config = gitConfigOf(folder);
    if (config.isEmpty())
        return std::nullopt;
    return originURL(readText(config));
}

std::optional<QString> refusalForManualAddition(const QString& path,
                                                const HomeProjectFinder& finder,
                                                const ShellReferences& shell) {
    const QString shown = Paths::standardized(path);
    const QString folder = AgentPaths::normalized(path, finder.macPathRules);
    const QString home = AgentPaths::normalized(finder.home, finder.macPathRules);
    const QString destination = AgentPaths::normalized(finder.destination, finder.macPathRules);

    if (folder == home)
        return QStringLiteral(
            "Your home folder itself cannot be moved. Choose a project folder inside it.");
    if (!Paths::isUnder(folder, home))
        return QStringLiteral("Organize gathers projects from your home folder; ") + shown +
               QStringLiteral(" is outside it.");
    if (StandardFolders::isStandard(folder, home))
        return shown + QStringLiteral(" is ") + PlatformWords::here().standardFolder +
               QStringLiteral(" and is never moved. Choose a project folder inside it.");
    if (isInsideHiddenFolder(folder, home))
        return shown + QStringLiteral(" is inside a hidden folder, where apps keep their data.");
    if (ShellProfile::profileUsing(shell, folder))
        return QStringLiteral("Your shell profile uses ") + shown +
               QStringLiteral("; moving anything in it could break your terminal.");
    if (!destination.isEmpty() && destination != folder && Paths::isUnder(destination, folder))
        return shown + QStringLiteral(" contains the destination folder, so it cannot be moved "
                                      "into it.");
    if (!destination.isEmpty() && Paths::isUnder(folder, destination))
        return shown + QStringLiteral(" is already in the destination folder.");
    return std::nullopt;
}

} // namespace corvane::OrganizeCandidates
