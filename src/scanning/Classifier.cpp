#include "scanning/Classifier.h"

#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/ProjectDetector.h"

#include <QCollator>
#include <QDir>
#include <QHash>
#include <algorithm>

namespace corvane {
namespace {

// Entry names of each parent folder, read once per classification. A folder that cannot be
// listed has no entries, which only makes sibling conditions fail.
class ParentListings {
public:
    const QSet<QString>& namesIn(const QString& folder) {
        auto found = cache_.find(folder);
        if (found == cache_.end()) {
            const QStringList names = QDir(folder).entryList(
                QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                QDir::Unsorted);
            found = cache_.insert(folder, QSet<QString>(names.cbegin(), names.cend()));
        }
        return *found;
    }

private:
    QHash<QString, QSet<QString>> cache_;
};

bool isMarker(const QString& name) {
    return name == QLatin1String(".git") || ProjectDetector::isProjectRoot(name);
}

CleanConfidence confidenceOf(const CatalogMatch& match, bool hasRepo, bool ignored) {
    if (match.tier == CatalogTier::medium && !(hasRepo && ignored))
        return CleanConfidence::caution;
    return CleanConfidence::safe;
}

void sortByName(QList<CleanableItem>& items) {
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(items.begin(), items.end(),
                     [&](const CleanableItem& a, const CleanableItem& b) {
                         return collator.compare(a.name, b.name) < 0;
                     });
}

} // namespace

QList<CleanableItem> Classifier::classify(const Project& project, const QStringList& candidates,
                                          const QSet<QString>& ignoredPaths, bool hasRepo) {
    QList<CleanableItem> items;
    ParentListings listings;
    for (const QString& candidate : candidates) {
        const QString name = Paths::lastComponent(candidate);
        if (isMarker(name))
            continue;
        const QSet<QString>& siblings = listings.namesIn(Paths::parentPath(candidate));
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
