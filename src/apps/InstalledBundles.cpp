#include "apps/InstalledBundles.h"

#include "apps/AppBundle.h"
#include "apps/AppFinder.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace corvane {
namespace {

std::optional<QString> identifierOf(const QString& bundle) {
    const std::optional<QString> plist = AppBundle::infoPlistPath(bundle);
    if (!plist)
        return std::nullopt;
    const std::optional<BundleInfo> info = AppBundle::readInfo(*plist);
    return info ? info->identifier : std::nullopt;
}

// The names the data of a bundle that cannot be read may carry: the bundle's own name and its
// executables'.
QStringList possibleNames(const QString& bundle) {
    QStringList names{QFileInfo(bundle).completeBaseName()};
    names += QDir(bundle + QStringLiteral("/Contents/MacOS")).entryList(QDir::Files, QDir::Name);
    names.removeDuplicates();
    return names;
}

void add(InstalledSet& installed, const QString& bundle, const QString& owner) {
    if (const std::optional<QString> identifier = identifierOf(bundle))
        installed.identifiers.append({*identifier, owner});
    else
        installed.unreadable.append({bundle, possibleNames(bundle)});
}

} // namespace

QStringList InstalledBundles::nestedBundles(const QString& bundlePath) {
    QStringList nested;
    QDirIterator walk(bundlePath + QStringLiteral("/Contents"),
                      QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QFileInfo entry = walk.nextFileInfo();
        const QString suffix = entry.suffix();
        // Helper apps, app extensions and XPC services each have an identifier of their own,
        // and sandboxed ones keep their own containers.
        if (!entry.isSymLink() &&
            (suffix == QLatin1String("app") || suffix == QLatin1String("appex") ||
             suffix == QLatin1String("xpc")))
            nested.append(entry.filePath());
    }
    nested.sort();
    return nested;
}

InstalledSet InstalledBundles::read(const QStringList& bundles,
                                    const CancellationToken& cancellation) {
    InstalledSet installed;
    for (const QString& bundle : bundles) {
        cancellation.throwIfCancelled();
        add(installed, bundle, bundle);
        // A helper's data is the app's: it is used as long as the app is installed.
        for (const QString& helper : nestedBundles(bundle))
            add(installed, helper, bundle);
    }
    return installed;
}

InstalledSet InstalledBundles::current(const CancellationToken& cancellation) {
    return read(AppFinder::findBundles(cancellation), cancellation);
}

} // namespace corvane
