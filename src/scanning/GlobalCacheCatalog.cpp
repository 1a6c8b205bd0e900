#include "scanning/GlobalCacheCatalog.h"

#include "platform/Paths.h"

#include <QFileInfo>

namespace corvane {

const QList<GlobalCacheCatalog::Row>& GlobalCacheCatalog::rows() {
    static const char* const packageCache = "Package cache. Downloaded again on the next install.";
    static const char* const wheels = "Downloaded wheels. Downloaded again on the next install.";
    static const char* const pnpm =
        "Content addressed package store. Downloaded again as projects need packages.";
    static const char* const homebrew =
        "Downloaded bottles and sources. Homebrew downloads again what it needs.";
    static const char* const goBuild = "Compiled packages. Rebuilt on the next go build.";
    static const QList<Row> table{
        {"Library/Developer/Xcode/DerivedData", "Xcode DerivedData",
         "Build products and indexes. Xcode regenerates them on the next build."},
        {"Library/Developer/Xcode/iOS DeviceSupport", "iOS device support",
         "Debug symbols copied from connected iPhones. Recreated when a device reconnects."},
        {"Library/Developer/Xcode/watchOS DeviceSupport", "watchOS device support",
         "Debug symbols copied from paired watches. Recreated when the watch reconnects."},
        {"Library/Developer/CoreSimulator/Caches", "Simulator caches",
         "Simulator runtime caches. Regenerated on demand."},
        {"Library/Caches/Homebrew", "Homebrew downloads", homebrew},
        {"Library/Caches/CocoaPods", "CocoaPods cache",
         "Downloaded pod archives. Downloaded again on the next pod install."},
        {"Library/Caches/Yarn", "Yarn cache", packageCache},
        {"Library/Caches/pip", "pip cache", wheels},
        {"Library/pnpm/store", "pnpm store", pnpm},
        {".npm/_cacache", "npm cache", packageCache},
        {".gradle/caches", "Gradle caches",
         "Dependency and build caches. Downloaded again and rebuilt on the next build."},
        {".cargo/registry", "Cargo registry",
         "Crate downloads and index. Downloaded again on the next cargo build."},
        {".m2/repository", "Maven repository",
         "Downloaded artifacts. Downloaded again on the next build."},
        {"go/pkg/mod/cache", "Go module cache",
         "Module downloads. Downloaded again on the next go build."},
        // The same tools where Linux keeps them (XDG cache and data folders).
        {".cache/Homebrew", "Homebrew downloads", homebrew},
        {".cache/yarn", "Yarn cache", packageCache},
        {".cache/pip", "pip cache", wheels},
        {".local/share/pnpm/store", "pnpm store", pnpm},
        // Further caches that their tools rebuild without being asked. IDE caches are left out
        // on purpose: JetBrains keeps its local history among them.
        {"Library/Caches/go-build", "Go build cache", goBuild},
        {".cache/go-build", "Go build cache", goBuild},
        {".cache/uv", "uv cache",
         "Downloaded and built Python packages. Downloaded again on the next install."},
        {".bun/install/cache", "Bun cache", packageCache},
        {".cache/ccache", "ccache", "Compiled objects. Rebuilt by the next build that needs them."},
        {".cache/bazel", "Bazel outputs",
         "Build outputs and downloaded external repositories. Rebuilt on the next bazel build."},
    };
    return table;
}

QList<GlobalCacheEntry> GlobalCacheCatalog::listing(const QString& homeFolder) {
    QList<GlobalCacheEntry> entries;
    for (const Row& row : rows()) {
        const QString id = QString::fromUtf8(row.relativePath);
        const QString url = Paths::joined(homeFolder, id);
        // Follows links, as the file manager's existence test does; the trash service refuses a
        // linked cache that leads out of the home folder.
        if (!QFileInfo(url).isDir())
            continue;
        entries.append({id, QString::fromUtf8(row.name), url, QString::fromUtf8(row.detail)});
    }
    return entries;
}

} // namespace corvane
