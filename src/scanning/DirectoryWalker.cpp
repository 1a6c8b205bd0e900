#include "scanning/DirectoryWalker.h"

#include "platform/DirectoryReader.h"
#include "platform/Paths.h"
#include "scanning/ProjectDetector.h"

#include <QFile>
#include <QStringDecoder>
#include <string>
#include <utility>
#include <vector>

namespace corvane {
namespace {

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
    , rules_(root_, std::move(options))
    , onEvent_(std::move(onEvent)) {}

DirectoryWalker::WalkResult DirectoryWalker::walk(const CancellationToken& cancellation) {
    result_ = {};
    visitedDirCount_ = 0;
    cancellation_ = &cancellation;

    Folder root;
    root.path = root_;
    if (rules_.needsCanonicalPaths())
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
    // A home folder kept in git (dotfiles) holds the user's whole life, not one project: what
    // lies in it belongs to no project and no working tree above it.
    const bool isHome = rules_.protectedFolders().isHome(folder.path);
    if (isHome) {
        inside.project.reset();
        inside.repo.reset();
    } else if (listing.nameSet.contains(QStringLiteral(".git"))) {
        inside.repo = folder.path;
    }
    const QStringList markers = isHome ? QStringList() : ProjectDetector::markers(listing.names);
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
        const WalkRules::Step step = rules_.step(
            {name, path, canonical, folder.depth + 1, inside.project.has_value(), listing.nameSet});
        if (step == WalkRules::Step::candidate)
            result_.candidatesByProject[*inside.project].insert(path);
        if (step != WalkRules::Step::descend)
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

} // namespace corvane
