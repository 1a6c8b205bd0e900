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

// The project a history folder (or one session in it) stands for, normalised. The "cwd" found
// in the session (as written there) is the truth while its encoding is the folder's name. When
// it isn't (the history was moved here from another path) or there is none, the path recorded
// in the ledger wins; a cwd that disagrees with the name and has no record is still the best
// that is known.
std::optional<QString> projectPath(const QString& folderName, const std::optional<QString>& cwd,
                                   const QMap<QString, QString>& ledger, bool macPathRules);

// The project of a history folder: the first "cwd" of its session files in turn, resolved as
// above.
std::optional<QString> projectPathOfFolder(const QString& folder,
                                           const QMap<QString, QString>& ledger, bool macPathRules);

} // namespace corvane::ClaudeHistory
