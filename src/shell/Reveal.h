#pragma once

#include <QString>

namespace corvane::Reveal {

// What the file manager is called on this system: "Reveal in Finder" on macOS, "Show in Files"
// elsewhere.
QString actionTitle();

// Shows `path` in the file manager: selected in a Finder window on macOS, its folder opened
// elsewhere. Returns at once; the file manager is started in the background.
void show(const QString& path);

} // namespace corvane::Reveal
