#include "scanning/ScanSessionTypes.h"

#include "platform/Paths.h"

namespace corvane {

std::optional<ScanRefusal> scanRefusal(const QString& folder, const QString& homeFolder) {
    const QString chosen = Paths::absoluteStandardized(folder);
    const QString home = Paths::standardized(homeFolder);
    QString place;
    if (chosen == u"/")
        place = QStringLiteral("the whole disk");
    else if (chosen == Paths::joined(home, QStringLiteral("Library")))
        place = QStringLiteral("the Library folder");
    else if (chosen == Paths::joined(home, QStringLiteral("Desktop")))
        place = QStringLiteral("the whole Desktop");
    else if (chosen == Paths::joined(home, QStringLiteral("Documents")))
        place = QStringLiteral("the whole Documents folder");
    else
        return std::nullopt;
    return ScanRefusal{QStringLiteral("Cannot scan this folder"),
                       QStringLiteral("Scanning ") + place +
                           QStringLiteral(" is not supported for safety. Choose the folder that "
                                          "holds your dev projects, for example ~/Code.")};
}

ScanOptions scanOptionsFor(const QString& root, const QString& homeFolder) {
    ScanOptions options;
    options.skipsHiddenAndBundlesOutsideProjects =
        Paths::isUnder(Paths::standardized(homeFolder), Paths::absoluteStandardized(root));
    return options;
}

QList<Project> flattened(const QList<ProjectNode>& nodes) {
    QList<Project> projects;
    for (const ProjectNode& node : nodes) {
        projects.append(node.project);
        if (node.children)
            projects.append(flattened(*node.children));
    }
    return projects;
}

} // namespace corvane
