#pragma once

#include <QList>
#include <QString>

namespace corvane {

// One developer cache folder found on this machine.
struct GlobalCacheEntry {
    // The folder's path relative to the home folder; unique, and the key of sizes and ticks.
    QString id;
    QString name;
    // Home folder + `id`.
    QString url;
    // What the folder holds and how it comes back, shown under the name.
    QString detail;

    bool operator==(const GlobalCacheEntry&) const = default;
};

// The caches that developer tools keep outside any project, each regenerated or downloaded again
// by its tool. The macOS folders come first, then the same tools' folders elsewhere; every row
// is looked for on every system.
struct GlobalCacheCatalog {
    struct Row {
        const char* relativePath;
        const char* name;
        const char* detail;
    };

    static const QList<Row>& rows();

    // The rows whose folder exists under `homeFolder` as a directory, in table order. An empty
    // folder is listed; a plain file of the same name is not.
    static QList<GlobalCacheEntry> listing(const QString& homeFolder);
};

} // namespace corvane
