#pragma once

#include <QString>
#include <QStringList>

// The folders developers usually keep their projects in, offered on the first run before the
// folder chooser.
namespace corvane::UsualProjectFolders {

// Looked for directly in the home folder, in this order.
inline const QStringList names{
    QStringLiteral("Code"),     QStringLiteral("code"), QStringLiteral("Developer"),
    QStringLiteral("Projects"), QStringLiteral("src"),  QStringLiteral("dev"),
    QStringLiteral("git"),      QStringLiteral("work"),
};

// The folders of `names` in `home`, in that order, each once: a name that leads where an earlier
// one does (a link, or another case on a volume that ignores case) is left out. Each is spelt as
// it is on disk.
QStringList find(const QString& home);

} // namespace corvane::UsualProjectFolders
