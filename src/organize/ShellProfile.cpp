#include "organize/ShellProfile.h"

#include "agents/AgentPaths.h"
#include "platform/Paths.h"

#include <QFile>
#include <QRegularExpression>

namespace corvane::ShellProfile {
namespace {

// A literal home must not continue a longer path: "/mnt/Users/me/x" is not the home folder.
QRegularExpression pathPattern(const QString& home) {
    const QString homeForms = QStringLiteral("(?:(?<![\\w./-])%1|\\$HOME|\\$\\{HOME\\})")
                                  .arg(QRegularExpression::escape(home));
    return QRegularExpression(homeForms + QStringLiteral("/((?:\\\\.|[^\\s'\"`:;$)}\\\\])+)"));
}

// Lines that set the command search path (or zsh's function path): what they name are tool
// folders. zsh's `path=(...)` arrays may run over several lines until the closing parenthesis.
const QRegularExpression& searchPathAssignment() {
    static const QRegularExpression pattern(
        QStringLiteral("(?:^|[\\s;])(?:export\\s+|typeset\\s+(?:-\\w+\\s+)*)?(?:PATH|path|FPATH|"
                       "fpath)\\+?=(\\()?"));
    return pattern;
}

QString unescaped(const QString& run) {
    QString text;
    text.reserve(run.size());
    for (qsizetype i = 0; i < run.size(); ++i) {
        if (run[i] == u'\\' && i + 1 < run.size())
            ++i;
        text.append(run[i]);
    }
    return text;
}

// Whether `line` names the search path, and whether it opens an array left open at its end.
bool setsSearchPath(const QString& line, bool& arrayOpen) {
    const QRegularExpressionMatch match = searchPathAssignment().match(line);
    if (!match.hasMatch())
        return false;
    if (match.capturedLength(1) > 0)
        arrayOpen = !line.mid(match.capturedEnd(1)).contains(u')');
    return true;
}

} // namespace

const QStringList& profileFileNames() {
    static const QStringList names{QStringLiteral(".zshenv"),  QStringLiteral(".zprofile"),
                                   QStringLiteral(".zshrc"),   QStringLiteral(".zlogin"),
                                   QStringLiteral(".profile"), QStringLiteral(".bash_profile"),
                                   QStringLiteral(".bashrc")};
    return names;
}

ShellReferences read(const QString& home, bool macPathRules) {
    ShellReferences references;
    for (const QString& name : profileFileNames()) {
        QFile file(Paths::joined(home, name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        scan(QString::fromUtf8(file.readAll()), name, home, macPathRules, references);
    }
    return references;
}

// Commented-out lines count too: a path wrongly kept costs a project that stays where it is,
// a path wrongly dropped can cost the user a working terminal.
void scan(const QString& text, const QString& profileName, const QString& home, bool macPathRules,
          ShellReferences& references) {
    const QString cleanHome = Paths::standardized(home);
    const QRegularExpression pattern = pathPattern(cleanHome);
    bool inPathArray = false;
    for (const QString& line : text.split(u'\n')) {
        const bool wasInArray = inPathArray;
        bool onSearchPath = setsSearchPath(line, inPathArray) || wasInArray;
        if (wasInArray && line.contains(u')'))
            inPathArray = false;
        QRegularExpressionMatchIterator matches = pattern.globalMatch(line);
        while (matches.hasNext()) {
            const QString run = unescaped(matches.next().captured(1));
            const QString path = AgentPaths::normalized(cleanHome + u'/' + run, macPathRules);
            if (!references.paths.contains(path))
                references.paths.insert(path, profileName);
            if (onSearchPath && !references.toolFolders.contains(path))
                references.toolFolders.append(path);
        }
    }
}

std::optional<QString> profileUsing(const ShellReferences& references, const QString& folder) {
    const QString clean = Paths::standardized(folder);
    std::optional<QString> found;
    qsizetype foundRank = 0;
    // Of several profiles, the one the shell reads first is named.
    for (auto it = references.paths.constBegin(); it != references.paths.constEnd(); ++it) {
        if (!AgentPaths::isAtOrInside(it.key(), clean))
            continue;
        qsizetype rank = profileFileNames().indexOf(it.value());
        if (rank < 0)
            rank = profileFileNames().size();
        if (!found || rank < foundRank) {
            found = it.value();
            foundRank = rank;
        }
    }
    return found;
}

} // namespace corvane::ShellProfile
