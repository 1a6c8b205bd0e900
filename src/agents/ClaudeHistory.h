#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

// Claude Code keeps one history folder per project, named after the project's path.
namespace corvane::ClaudeHistory {

// Longer folder names are never created here (Claude Code itself shortens them with a hash).
inline constexpr qsizetype maxFolderNameLength = 200;

// Every UTF-16 code unit that is not an ASCII letter or digit becomes "-": "/Users/me/my_app.web"
// gives "-Users-me-my-app-web", and an emoji gives two dashes. Lossy by design.
QString encodedFolderName(const QString& projectPath);

// The session files of one history folder, by name.
QStringList sessionFiles(const QString& folder);

// The ledger's key for one session file of a history folder: "<folder>/<file>". Folder names
// never hold a "/", so the two kinds of keys never meet.
QString sessionKey(const QString& folderName, const QString& fileName);

// The project a history folder (or its session `fileName`) stands for, normalised. The "cwd"
// found in the session (as written there) is the truth while its encoding is the folder's name.
// When it isn't (the history was moved here from another path) or there is none, the path
// recorded in the ledger wins, for the session itself before the folder as a whole; a cwd that
// disagrees with the name and has no record is still the best that is known.
std::optional<QString> projectPath(const QString& folderName, const std::optional<QString>& cwd,
                                   const QMap<QString, QString>& ledger, bool macPathRules,
                                   const QString& fileName = {});

// The project of each session file of a history folder (file name -> path), resolved as above;
// files whose project is unknown are left out. Several projects can share one folder, as the
// encoding is lossy ("/w/a" and "/w-a").
QMap<QString, QString> sessionProjects(const QString& folder, const QMap<QString, QString>& ledger,
                                       bool macPathRules);

// The project of a history folder as a whole: that of its first session file whose project is
// known, else the one the ledger records for the folder.
std::optional<QString> projectPathOfFolder(const QString& folder,
                                           const QMap<QString, QString>& ledger, bool macPathRules);

} // namespace corvane::ClaudeHistory
