#include "scanning/ScanSessionTypes.h"

#include "platform/CheckedSum.h"
#include "platform/Paths.h"
#include "platform/SizeCalculator.h"

#include <QDir>

namespace corvane {

std::optional<ScanRefusal> scanRefusal(const QString& folder, const QString& homeFolder) {
    const QString chosen = Paths::standardized(QDir::current().absoluteFilePath(folder));
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

QString title(ProjectSortMode mode) {
    switch (mode) {
    case ProjectSortMode::size:
        return QStringLiteral("Size");
    case ProjectSortMode::activity:
        return QStringLiteral("Activity");
    }
    return {};
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

void TrashPlan::measureUnmeasured(const CancellationToken& cancellation) {
    for (const QString& path : std::as_const(unmeasuredPaths))
        sizeByURL.insert(path, SizeCalculator::size(path, cancellation));
    unmeasuredPaths.clear();
}

qint64 TrashPlan::bytesOf(const QList<QString>& urls) const {
    qint64 total = 0;
    for (const QString& url : urls)
        total = checkedSum(total, sizeByURL.value(url, 0));
    return total;
}

TrashOutcome TrashPlan::preview() const {
    TrashOutcome outcome;
    const auto check = [&outcome](const QList<QString>& urls, const QString& root) {
        for (const QString& url : urls) {
            if (const std::optional<QString> refusal = TrashService::refusal(url, root))
                outcome.failures.append({url, *refusal});
            else
                outcome.trashed.append(url);
        }
    };
    check(itemURLs, itemRoot);
    check(cacheURLs, cacheRoot);
    return outcome;
}

} // namespace corvane
