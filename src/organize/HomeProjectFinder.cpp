#include "organize/HomeProjectFinder.h"

#include "agents/AgentPaths.h"
#include "organize/StandardFolders.h"
#include "platform/DirectoryReader.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QStringDecoder>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace corvane {
namespace {

// Projects more than this many levels below the home folder (or below a folder of repositories)
// are not looked for: nobody keeps work that deep, and the walk stays short.
constexpr int maxDepth = 6;

const QString gitEntry = QStringLiteral(".git");

bool entryExists(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

bool isRepository(const QString& folder) {
    return entryExists(Paths::joined(folder, gitEntry));
}

// Names that are not UTF-8 cannot be spelled as paths elsewhere in the system; such folders are
// neither listed nor entered.
std::optional<QString> decodedName(const char* raw) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString name = decoder.decode(QByteArrayView(raw));
    if (decoder.hasError())
        return std::nullopt;
    return name;
}

struct Subfolder {
    QString name;
    std::string raw;
};

struct Listing {
    bool hasGitEntry = false;
    std::vector<Subfolder> subfolders;
};

// Links are never subfolders, so the walk cannot leave the home folder through one.
Listing readListing(DirectoryReader& reader) {
    Listing listing;
    DirectoryReader::Entry entry;
    while (reader.next(entry)) {
        const std::optional<QString> name = decodedName(entry.name);
        if (!name)
            continue;
        if (*name == gitEntry)
            listing.hasGitEntry = true;
        else if (entry.kind == EntryKind::directory)
            listing.subfolders.push_back({*name, entry.name});
    }
    return listing;
}

// Folders that hold no projects of the user's own: app data, dependencies, bundles.
bool isNeverEntered(const QString& name) {
    return name.startsWith(u'.') || name == QStringLiteral("node_modules") ||
           name.endsWith(QStringLiteral(".app"));
}

bool isUnderTemporaryFolder(const QString& path) {
    return Paths::isUnder(path, QStringLiteral("/tmp")) ||
           Paths::isUnder(path, QStringLiteral("/private/tmp"));
}

const QRegularExpression& codexScratchFolder() {
    static const QRegularExpression pattern(
        QStringLiteral("/Documents/Codex/\\d{4}-\\d{2}-\\d{2}(/|$)"));
    return pattern;
}

// The rules of one finder with its paths normalised once.
struct Rules {
    QString home;
    QString destination;
    bool mac = false;
    // The user library holds app data on macOS; elsewhere a "Library" folder is the user's own.
    bool macLibrary = false;
    QStringList standardFolders;

    explicit Rules(const HomeProjectFinder& finder)
        : home(AgentPaths::normalized(finder.home, finder.macPathRules))
        , destination(AgentPaths::normalized(finder.destination, finder.macPathRules))
        , mac(finder.macPathRules)
        , macLibrary(Locations::isMac())
        , standardFolders(StandardFolders::of(home)) {}

    // What below the home is neither a candidate nor looked inside (the walk starts at the home
    // without asking). Standard folders are looked inside, so they are not in here.
    bool isOffLimits(const QString& path) const {
        if (!Paths::isUnder(path, home) || path == home)
            return true;
        if (isUnderTemporaryFolder(path) || codexScratchFolder().match(path).hasMatch())
            return true;
        if (!destination.isEmpty() && Paths::isUnder(path, destination))
            return true;
        const QStringList parts = Paths::pathInside(path, home)->split(u'/');
        if (macLibrary && parts.first() == QStringLiteral("Library"))
            return true;
        for (const QString& part : parts) {
            if (isNeverEntered(part))
                return true;
        }
        return false;
    }

    bool isExcluded(const QString& path) const {
        return path == home || isOffLimits(path) || standardFolders.contains(path);
    }
};

class Walk {
public:
    Walk(const Rules& rules, const CancellationToken& cancellation)
        : rules_(rules)
        , cancellation_(cancellation) {}

    QStringList repositories() {
        DirectoryReader reader(rules_.home, DirectoryReader::Detail::kinds,
                               DirectoryReader::RootLinks::followed);
        if (reader.isOpen())
            visit(reader, rules_.home, 0);
        return found_;
    }

private:
    // The home folder and standard folders may themselves be repositories (dotfiles kept in
    // git); they are never candidates, so their projects are looked for inside them.
    void visit(DirectoryReader& reader, const QString& path, int depth) {
        cancellation_.throwIfCancelled();
        const Listing listing = readListing(reader);
        const bool mayBeCandidate = path != rules_.home && !rules_.standardFolders.contains(path);
        if (listing.hasGitEntry && mayBeCandidate) {
            found_.append(path);
            return;
        }
        if (depth == maxDepth)
            return;
        for (const Subfolder& subfolder : listing.subfolders) {
            const QString child = Paths::joined(path, subfolder.name);
            if (rules_.isOffLimits(child))
                continue;
            DirectoryReader childReader(reader, subfolder.raw.c_str());
            if (childReader.isOpen())
                visit(childReader, child, depth + 1);
        }
    }

    const Rules& rules_;
    const CancellationToken& cancellation_;
    QStringList found_;
};

// Whether the open folder is a repository or holds one within the depth limit.
bool reachesRepository(DirectoryReader& reader, int depth) {
    const Listing listing = readListing(reader);
    if (listing.hasGitEntry)
        return true;
    if (depth == maxDepth)
        return false;
    for (const Subfolder& subfolder : listing.subfolders) {
        if (isNeverEntered(subfolder.name))
            continue;
        DirectoryReader child(reader, subfolder.raw.c_str());
        if (child.isOpen() && reachesRepository(child, depth + 1))
            return true;
    }
    return false;
}

// History can name a folder through a link (a session started in a linked folder); moving that
// path would move the link's target from wherever it lives, so only real folders count.
bool isRealFolderBelow(const QString& path, const QString& home, const QString& canonicalHome) {
    const std::optional<QString> canonical = DirectoryReader::canonicalPath(path);
    const std::optional<QString> rest = Paths::pathInside(path, home);
    return canonical && rest && *canonical == Paths::joined(canonicalHome, *rest) &&
           QFileInfo(path).isDir();
}

QStringList historyFolders(const AgentHistoryIndex& index, const Rules& rules) {
    QSet<QString> paths;
    for (const AgentSession& session : index.sessions)
        paths.insert(AgentPaths::normalized(session.cwd, rules.mac));
    for (const AgentWorkspace& workspace : index.workspaces)
        paths.insert(AgentPaths::normalized(workspace.folder, rules.mac));

    const QString canonicalHome = DirectoryReader::canonicalPath(rules.home).value_or(rules.home);
    QStringList folders;
    for (const QString& path : std::as_const(paths)) {
        if (!path.isEmpty() && !rules.isExcluded(path) &&
            isRealFolderBelow(path, rules.home, canonicalHome))
            folders.append(path);
    }
    return folders;
}

// A folder inside another found folder moves with it.
QStringList outermost(const QSet<QString>& paths, const QString& home) {
    QStringList kept;
    for (const QString& path : paths) {
        bool inside = false;
        for (QString parent = Paths::parentPath(path); !inside && parent != home && parent != u'/';
             parent = Paths::parentPath(parent))
            inside = paths.contains(parent);
        if (!inside)
            kept.append(path);
    }
    kept.sort();
    return kept;
}

} // namespace

QList<HomeProjectFinder::Found>
HomeProjectFinder::find(const AgentHistoryIndex& index,
                        const CancellationToken& cancellation) const {
    const Rules rules(*this);
    QSet<QString> paths;
    for (const QString& path : Walk(rules, cancellation).repositories())
        paths.insert(path);
    for (const QString& path : historyFolders(index, rules))
        paths.insert(path);

    QList<Found> found;
    for (const QString& path : outermost(paths, rules.home)) {
        cancellation.throwIfCancelled();
        found.append({path, holdsRepositories(path)});
    }
    return found;
}

bool HomeProjectFinder::isExcluded(const QString& path) const {
    return Rules(*this).isExcluded(AgentPaths::normalized(path, macPathRules));
}

bool HomeProjectFinder::holdsRepositories(const QString& folder) {
    if (isRepository(folder))
        return false;
    DirectoryReader reader(folder, DirectoryReader::Detail::kinds,
                           DirectoryReader::RootLinks::followed);
    // The folder itself is no repository, so reaching one means one lies below it.
    return reader.isOpen() && reachesRepository(reader, 0);
}

} // namespace corvane
