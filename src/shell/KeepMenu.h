#pragma once

#include "scanning/ScanSession.h"

#include <QString>

class QMenu;
class QWidget;

namespace corvane {

// The context-menu entries that mark a project or an item Keep, or take the mark off.
namespace KeepMenu {

enum class Subject { project, folder };

// "Keep Project" / "Keep Folder", "Don't Keep Project" / "Don't Keep Folder", and the disabled
// entry of a folder that a kept folder around it holds.
QString keepText(Subject subject);
QString dontKeepText(Subject subject);
inline const QString keptAroundText = QStringLiteral("Kept with the Folder Around It");

// Adds the one entry that fits the folder at `path`: Keep when nothing keeps it, Don't Keep when
// it carries its own mark, and the disabled entry while a kept folder around it holds it. A mark
// that cannot be saved is shown in an alert over `alertParent`.
void addEntry(QMenu& menu, ScanSession& session, const QString& path, Subject subject,
              QWidget* alertParent);

} // namespace KeepMenu
} // namespace corvane
