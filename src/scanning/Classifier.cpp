#include "scanning/Classifier.h"

#include "platform/NameOrder.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/FolderNames.h"
#include "scanning/ProjectDetector.h"

#include <algorithm>

namespace corvane {
namespace {

bool isMarker(const QString& name) {
    return name == QLatin1String(".git") || ProjectDetector::isProjectRoot(name);
}

CleanConfidence confidenceOf(const CatalogMatch& match, bool hasRepo, bool ignored) {
    if (match.tier == CatalogTier::medium && !(hasRepo && ignored))
        return CleanConfidence::caution;
    return CleanConfidence::safe;
}

void sortByName(QList<CleanableItem>& items) {
    std::stable_sort(items.begin(), items.end(),
                     [](const CleanableItem& a, const CleanableItem& b) {
                         return NameOrder::less(a.name, b.name);
                     });
}

} // namespace

QList<CleanableItem> Classifier::classify(const Project& project, const QStringList& candidates,
                                          const QSet<QString>& ignoredPaths, bool hasRepo) {
    QList<CleanableItem> items;
    FolderNames listings;
    for (const QString& candidate : candidates) {
        const QString name = Paths::lastComponent(candidate);
        if (isMarker(name))
            continue;
        const QSet<QString>& siblings = listings.in(Paths::parentPath(candidate));
        const bool ignored = ignoredPaths.contains(candidate);
        if (const auto match = ArtifactCatalog::match(name, siblings)) {
            items.append(CleanableItem(project.id, candidate, name, match->kind,
                                       confidenceOf(*match, hasRepo, ignored)));
        } else if (ignored) {
            items.append(CleanableItem(project.id, candidate, name, ArtifactKind::unknown,
                                       CleanConfidence::ignoredButUnknown));
        }
    }
    sortByName(items);
    return items;
}

} // namespace corvane
