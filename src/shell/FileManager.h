#pragma once

#include <QString>

namespace corvane::FileManager {

// The words of the platform's file manager: "Reveal in Finder" on macOS, "Show in Files"
// elsewhere. Every menu that shows an item where it lies uses this title.
QString revealTitle();

// Shows `path` in the file manager, selected where the platform can (its folder opened where it
// cannot). False when nothing could be started.
bool reveal(const QString& path);

// Puts `path` on the clipboard as text, as people paste it in a terminal.
void copyPath(const QString& path);

inline const QString copyPathTitle = QStringLiteral("Copy Path");

} // namespace corvane::FileManager
