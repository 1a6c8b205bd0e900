#include "apps/AppFinder.h"

#include "platform/Locations.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace corvane {

namespace {

bool isBundleName(const QString& name) {
    return name.endsWith(QStringLiteral(".app"), Qt::CaseInsensitive);
}

} // namespace

QStringList AppFinder::applicationFolders() {
    QStringList folders{Locations::applicationsDir(),
                        QDir(Locations::homeDir()).filePath(QStringLiteral("Applications"))};
    folders.removeDuplicates();
    return folders;
}

QStringList AppFinder::findBundles(const CancellationToken& cancellation) {
    QStringList bundles;
    QSet<QString> seen;
    auto add = [&](const QFileInfo& entry) {
        // Resolved before its place is judged: a link into /System is Apple's app.
        const QString resolved = entry.canonicalFilePath();
        if (resolved.isEmpty() || !QFileInfo(resolved).isDir() || seen.contains(resolved))
            return;
        seen.insert(resolved);
        bundles.append(resolved);
    };
    const auto filters = QDir::Dirs | QDir::NoDotAndDotDot;
    for (const QString& folder : applicationFolders()) {
        const QFileInfoList entries = QDir(folder).entryInfoList(filters, QDir::Name);
        for (const QFileInfo& entry : entries) {
            cancellation.throwIfCancelled();
            if (isBundleName(entry.fileName())) {
                add(entry);
                continue;
            }
            // One level deeper only, and never through a link to somewhere else.
            if (entry.isSymLink())
                continue;
            const QFileInfoList inner = QDir(entry.filePath()).entryInfoList(filters, QDir::Name);
            for (const QFileInfo& candidate : inner)
                if (isBundleName(candidate.fileName()))
                    add(candidate);
        }
    }
    return bundles;
}

} // namespace corvane
