#include "shell/ProjectNames.h"

#include "platform/Paths.h"

#include <algorithm>

namespace corvane::ProjectNames {
namespace {

// The folders above a project, nearest last.
QStringList foldersAbove(const Project& project) {
    return Paths::parentPath(project.url).split(u'/', Qt::SkipEmptyParts);
}

// The last `count` folders of `folders`, joined as a path.
QString tail(const QStringList& folders, qsizetype count) {
    return folders.mid(std::max<qsizetype>(0, folders.size() - count)).join(u'/');
}

// For each project of a group of namesakes, the fewest folders above it that no other project of
// the group has in the same place.
void nameGroup(const QList<const Project*>& group, QHash<QUuid, QString>& names) {
    QList<QStringList> folders;
    for (const Project* project : group)
        folders.append(foldersAbove(*project));
    for (qsizetype index = 0; index < group.size(); ++index) {
        const QStringList& own = folders[index];
        qsizetype count = 1;
        for (; count < own.size(); ++count) {
            bool unique = true;
            for (qsizetype other = 0; other < group.size() && unique; ++other)
                unique = other == index || tail(folders[other], count) != tail(own, count);
            if (unique)
                break;
        }
        const QString where = own.isEmpty() ? QStringLiteral("/") : tail(own, count);
        names.insert(group[index]->id, group[index]->name + QStringLiteral(" — ") + where);
    }
}

} // namespace

QHash<QUuid, QString> distinguished(const QList<Project>& projects) {
    QHash<QString, QList<const Project*>> byName;
    for (const Project& project : projects)
        byName[project.name.toCaseFolded()].append(&project);
    QHash<QUuid, QString> names;
    for (const QList<const Project*>& group : std::as_const(byName)) {
        if (group.size() > 1)
            nameGroup(group, names);
    }
    return names;
}

} // namespace corvane::ProjectNames
