#include "apps/AppFinder.h"

#include "platform/Locations.h"
#include "platform/PathIdentity.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace corvane {

namespace {

bool isBundleName(const QString& name) {
    return name.endsWith(QStringLiteral(".app"), Qt::CaseInsensitive);
}

// One walk over the Applications folders; every folder and bundle is taken once by its resolved
// path, so that links between folders cannot make it go round.
class Walk {
public:
    explicit Walk(const CancellationToken& cancellation)
        : cancellation_(cancellation) {}

    AppFolders run() {
        const QStringList roots = AppFinder::applicationFolders();
        for (const QString& root : roots)
            rootsResolved_.append(PathIdentity::resolved(root));
        for (const QString& root : rootsResolved_)
            visit(root);
        return found_;
    }

private:
    // A linked folder that holds an Applications folder (the home folder, "/") would make the
    // walk search the whole disk.
    bool holdsARoot(const QString& folder) const {
        for (const QString& root : rootsResolved_)
            if (folder != root && PathIdentity::isInside(root, folder))
                return true;
        return false;
    }

    void visit(const QString& folder) {
        if (seenFolders_.contains(folder) || !QFileInfo(folder).isDir())
            return;
        seenFolders_.insert(folder);
        found_.folders.append(folder);
        const QFileInfoList entries =
            QDir(folder).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        QStringList subfolders;
        for (const QFileInfo& entry : entries) {
            cancellation_.throwIfCancelled();
            // Resolved before its place is judged: a link into /System is Apple's app.
            const QString resolved = PathIdentity::resolved(entry.filePath());
            if (!QFileInfo(resolved).isDir())
                continue;
            if (isBundleName(entry.fileName())) {
                if (!seenBundles_.contains(resolved)) {
                    seenBundles_.insert(resolved);
                    found_.bundles.append(resolved);
                }
            } else if (!holdsARoot(resolved)) {
                subfolders.append(resolved);
            }
        }
        // The folder's own bundles first, then those of its subfolders.
        for (const QString& subfolder : subfolders)
            visit(subfolder);
    }

    const CancellationToken& cancellation_;
    QStringList rootsResolved_;
    QSet<QString> seenFolders_;
    QSet<QString> seenBundles_;
    AppFolders found_;
};

} // namespace

QStringList AppFinder::applicationFolders() {
    QStringList folders{Locations::applicationsDir(),
                        QDir(Locations::homeDir()).filePath(QStringLiteral("Applications"))};
    folders.removeDuplicates();
    return folders;
}

AppFolders AppFinder::search(const CancellationToken& cancellation) {
    return Walk(cancellation).run();
}

QStringList AppFinder::findBundles(const CancellationToken& cancellation) {
    return search(cancellation).bundles;
}

} // namespace corvane
