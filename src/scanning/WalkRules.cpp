#include "scanning/WalkRules.h"

#include "platform/DirectoryReader.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/ProjectDetector.h"

#include <algorithm>

namespace corvane {
namespace {

// The user's Library and ~/.local hold no projects and can be huge; the walk may start at the
// home folder, so they are passed over at every level.
bool isNeverEntered(const QString& name) {
    return name == u"Library" || name == u".local" || WalkRules::isTrashFolder(name);
}

bool isUserNumber(QStringView text) {
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

} // namespace

WalkRules::WalkRules(const QString& root, ScanOptions options)
    : root_(Paths::standardized(root))
    , options_(std::move(options))
    , skippedPaths_(options_.skippedPaths)
    , protectedFolders_(ProtectedFolders::ofCurrentUser(root_)) {
    for (const QString& path : options_.skippedPaths) {
        if (std::optional<QString> canonical = DirectoryReader::canonicalPath(path))
            skippedPaths_.insert(*canonical);
    }
}

bool WalkRules::isTrashFolder(const QString& name) {
    static const QString linuxPrefix = QStringLiteral(".Trash-");
    if (name == u".Trash" || name == u".Trashes")
        return true;
    return name.startsWith(linuxPrefix) && isUserNumber(QStringView(name).mid(linuxPrefix.size()));
}

WalkRules::Step WalkRules::step(const Subfolder& subfolder) const {
    const QString& name = subfolder.name;
    // Folders named like markers are markers, and bundles are not places to search.
    if (isNeverEntered(name) || ProjectDetector::isProjectRoot(name))
        return Step::passOver;
    if (needsCanonicalPaths() && skippedPaths_.contains(subfolder.canonicalPath))
        return Step::passOver;
    if (subfolder.depth == 1 && options_.skippedNamesAtRoot.contains(name))
        return Step::passOver;
    if (!subfolder.insideProject) {
        if (isPassedOverOutsideProjects(subfolder))
            return Step::passOver;
    } else if (ArtifactCatalog::match(name, subfolder.siblings)) {
        return Step::candidate;
    }
    return subfolder.depth <= maxDepth ? Step::descend : Step::passOver;
}

bool WalkRules::isPassedOverOutsideProjects(const Subfolder& subfolder) const {
    const QString& name = subfolder.name;
    if (options_.skipsHiddenAndBundlesOutsideProjects) {
        if (name.startsWith(u'.') || name.endsWith(QLatin1String(".localized")))
            return true;
        if (name.contains(u'.') && DirectoryReader::isPackage(subfolder.path))
            return true;
    }
    // Outside projects the catalog makes no candidates, but a folder of installed packages (a
    // stray node_modules, a lone virtual environment) holds none of the user's own projects: its
    // package manifests would only show up as projects nobody wrote.
    const std::optional<CatalogMatch> match = ArtifactCatalog::match(name, subfolder.siblings);
    return match && match->tier == CatalogTier::high;
}

int WalkRules::depthOf(const QString& path) const {
    if (path == root_)
        return 0;
    const std::optional<QString> relative = Paths::pathInside(path, root_);
    return relative ? static_cast<int>(relative->count(u'/')) + 1 : -1;
}

} // namespace corvane
