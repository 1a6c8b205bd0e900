#include "scanning/DirectoryWalker.h"

#include "platform/DirectoryReader.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/ProjectDetector.h"

#include <QFile>
#include <QStringDecoder>
#include <string>
#include <utility>
#include <vector>

namespace corvane {
namespace {

// The user's Library, the Trash and ~/.local hold no projects and can be huge; the walk may
// start at the home folder, so they are passed over at every level.
bool isNeverEntered(const QString& name) {
    return name == u"Library" || name == u".Trash" || name == u".local";
}

// The rest of the system names folders by QString paths; a name that is not UTF-8 cannot be
// spelled that way, so such folders are neither reported nor entered.
std::optional<QString> decodedName(const char* raw) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString checked = decoder.decode(QByteArrayView(raw));
    if (decoder.hasError())
        return std::nullopt;
    return QFile::decodeName(raw);
}

struct Subfolder {
    QString name;
    std::string raw;
};

// One folder's listing: every decodable name (for markers and sibling tests) and the subfolders,
// in the order the file system lists them. Links are not subfolders.
struct Listing {
    QStringList names;
    QSet<QString> nameSet;
    std::vector<Subfolder> subfolders;
};

bool readListing(DirectoryReader& reader, Listing& listing) {
    DirectoryReader::Entry entry;
    while (reader.next(entry)) {
        std::optional<QString> name = decodedName(entry.name);
        if (!name)
            continue;
        if (entry.kind == EntryKind::directory)
            listing.subfolders.push_back({*name, entry.name});
        listing.nameSet.insert(*name);
        listing.names.append(std::move(*name));
    }
    return !reader.failed();
}

} // namespace

struct DirectoryWalker::Folder {
    QString path;
    // Empty unless skipped paths are in use.
    QString canonicalPath;
    int depth = 0;
    std::optional<QUuid> project;
    std::optional<QString> repo;
};

DirectoryWalker::DirectoryWalker(QString root, ScanOptions options, EventHandler onEvent)
    : root_(Paths::standardized(root))
    , options_(std::move(options))
    , onEvent_(std::move(onEvent)) {}

DirectoryWalker::WalkResult DirectoryWalker::walk(const CancellationToken& cancellation) {
    result_ = {};
    visitedDirCount_ = 0;
    cancellation_ = &cancellation;
    skippedPaths_ = options_.skippedPaths;
    for (const QString& path : options_.skippedPaths) {
        if (std::optional<QString> canonical = DirectoryReader::canonicalPath(path))
            skippedPaths_.insert(*canonical);
    }

    Folder root;
    root.path = root_;
    if (!skippedPaths_.isEmpty())
        root.canonicalPath = DirectoryReader::canonicalPath(root_).value_or(root_);
    // The folder the user picked may itself be a link to the real one.
    DirectoryReader reader(root_, DirectoryReader::Detail::kinds,
                           DirectoryReader::RootLinks::followed);
    visit(reader, root);
    cancellation_ = nullptr;
    return std::exchange(result_, {});
}

void DirectoryWalker::visit(DirectoryReader& reader, const Folder& folder) {
    cancellation_->throwIfCancelled();
    if (++visitedDirCount_ % progressInterval == 1 && onEvent_)
        onEvent_(ScanEvent::progress(folder.path));

    Listing listing;
    if (!reader.isOpen() || !readListing(reader, listing))
        return;

    Folder inside = folder;
    if (listing.nameSet.contains(QStringLiteral(".git")))
        inside.repo = folder.path;
    const QStringList markers = ProjectDetector::markers(listing.names);
    qsizetype ownProjectIndex = -1;
    if (!markers.isEmpty()) {
        Project project;
        project.id = QUuid::createUuid();
        project.name = Paths::lastComponent(folder.path);
        project.url = folder.path;
        project.markers = markers;
        project.gitRepoURL = inside.repo;
        project.parentProjectID = folder.project;
        ownProjectIndex = result_.projects.size();
        result_.projects.append(project);
        result_.candidatesByProject.insert(project.id, {});
        inside.project = project.id;
        if (onEvent_)
            onEvent_(ScanEvent::projectDiscovered(project));
    }

    for (const Subfolder& subfolder : listing.subfolders) {
        const QString& name = subfolder.name;
        const QString path = Paths::joined(folder.path, name);
        const QString canonical =
            folder.canonicalPath.isEmpty() ? QString() : Paths::joined(folder.canonicalPath, name);
        if (isSkippedEverywhere(name, canonical))
            continue;
        if (!inside.project) {
            if (isSkippedOutsideProjects(name, path, folder.depth, listing.nameSet))
                continue;
        } else {
            if (folder.depth == 0 && options_.skippedNamesAtRoot.contains(name))
                continue;
            if (ArtifactCatalog::match(name, listing.nameSet)) {
                result_.candidatesByProject[*inside.project].insert(path);
                continue;
            }
        }
        if (folder.depth + 1 > maxDepth)
            continue;
        Folder child = inside;
        child.path = path;
        child.canonicalPath = canonical;
        child.depth = folder.depth + 1;
        DirectoryReader childReader(reader, subfolder.raw.c_str());
        visit(childReader, child);
    }
    if (ownProjectIndex >= 0 && onProjectFinished_) {
        const Project& project = result_.projects.at(ownProjectIndex);
        onProjectFinished_(project, result_.candidatesByProject.value(project.id));
    }
}

bool DirectoryWalker::isSkippedEverywhere(const QString& name, const QString& canonicalPath) const {
    if (isNeverEntered(name) || ProjectDetector::isProjectRoot(name))
        return true;
    return !options_.skippedPaths.isEmpty() && skippedPaths_.contains(canonicalPath);
}

bool DirectoryWalker::isSkippedOutsideProjects(const QString& name, const QString& path, int depth,
                                               const QSet<QString>& siblings) const {
    if (depth == 0 && options_.skippedNamesAtRoot.contains(name))
        return true;
    if (options_.skipsHiddenAndBundlesOutsideProjects) {
        if (name.startsWith(u'.') || name.endsWith(QLatin1String(".localized")))
            return true;
        if (name.contains(u'.') && DirectoryReader::isPackage(path))
            return true;
    }
    // Outside projects the catalog makes no candidates, but a folder of installed packages (a
    // stray node_modules, a lone virtual environment) holds none of the user's own projects: its
    // package manifests would only show up as projects nobody wrote.
    const std::optional<CatalogMatch> match = ArtifactCatalog::match(name, siblings);
    return match && match->tier == CatalogTier::high;
}

} // namespace corvane
