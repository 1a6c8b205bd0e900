#include "scanning/RestoreHints.h"

#include "platform/Paths.h"

#include <QList>

namespace corvane {
namespace {

// A file whose presence tells what brings a folder back. A name starting with "*" matches every
// name ending in the rest ("*.xcodeproj").
struct Source {
    const char* file;
    const char* command;
};

using Sources = QList<Source>;

const Sources nodeLocks{{"package-lock.json", "npm ci"},    {"npm-shrinkwrap.json", "npm ci"},
                        {"pnpm-lock.yaml", "pnpm install"}, {"yarn.lock", "yarn install"},
                        {"bun.lock", "bun install"},        {"bun.lockb", "bun install"}};
const Sources podLocks{{"Podfile.lock", "pod install"}};
// go.mod pins the exact versions itself; go.sum only checks them.
const Sources vendorLocks{{"Gemfile.lock", "bundle install"},
                          {"composer.lock", "composer install"},
                          {"go.mod", "go mod vendor"}};
const Sources terraformLocks{{".terraform.lock.hcl", "terraform init"}};
const Sources pythonLocks{{"uv.lock", "uv sync"},
                          {"poetry.lock", "poetry install"},
                          {"Pipfile.lock", "pipenv sync"},
                          {"requirements.txt", "pip install -r requirements.txt"}};
const Sources dartLocks{{"pubspec.lock", "flutter pub get"}};
const Sources mixLocks{{"mix.lock", "mix deps.get"}};

// The JavaScript build runs through the package manager whose lock file is there.
const Sources nodeBuilds{{"pnpm-lock.yaml", "pnpm run build"},
                         {"yarn.lock", "yarn build"},
                         {"bun.lock", "bun run build"},
                         {"bun.lockb", "bun run build"},
                         {"package.json", "npm run build"}};
const Sources targetBuilds{{"Cargo.toml", "cargo build"}, {"pom.xml", "mvn package"}};
// Within one folder the first match wins: a Gradle or Flutter project may carry a package.json
// for its tooling, while its "build" is the Gradle or Flutter output.
const Sources builds{{"Cargo.toml", "cargo build"},
                     {"Package.swift", "swift build"},
                     {"build.gradle", "./gradlew build"},
                     {"build.gradle.kts", "./gradlew build"},
                     {"settings.gradle", "./gradlew build"},
                     {"settings.gradle.kts", "./gradlew build"},
                     {"pom.xml", "mvn package"},
                     {"go.mod", "go build"},
                     {"mix.exs", "mix compile"},
                     {"pubspec.yaml", "flutter build"},
                     {"package.json", "npm run build"},
                     {"*.xcworkspace", "xcodebuild"},
                     {"*.xcodeproj", "xcodebuild"},
                     {"CMakeLists.txt", "cmake --build"}};

Sources allLocks() {
    return nodeLocks + podLocks + vendorLocks + terraformLocks + pythonLocks + dartLocks + mixLocks;
}

bool matches(const Source& source, const QSet<QString>& names) {
    const QString file = QString::fromLatin1(source.file);
    if (!file.startsWith(u'*'))
        return names.contains(file);
    const QString suffix = file.mid(1);
    return std::any_of(names.cbegin(), names.cend(),
                       [&suffix](const QString& name) { return name.endsWith(suffix); });
}

// What the walk needs to look for sources of one item.
struct Surroundings {
    QString itemFolder;
    QString topFolder;
    FolderNames& listings;

    // The command of the first source found, going up from beside the item to the top folder.
    std::optional<QString> nearest(const Sources& sources) const {
        QString folder = Paths::parentPath(itemFolder);
        while (true) {
            const QSet<QString>& names = listings.in(folder);
            for (const Source& source : sources) {
                if (matches(source, names))
                    return QString::fromLatin1(source.command);
            }
            if (folder == topFolder || !Paths::isUnder(folder, topFolder) || folder == u"/")
                return std::nullopt;
            folder = Paths::parentPath(folder);
        }
    }

    RestoreHint installedFrom(const Sources& locks) const {
        if (const std::optional<QString> command = nearest(locks))
            return {*command, false};
        return {RestoreHints::noLockFile, true};
    }

    RestoreHint builtBy(const Sources& builders) const {
        return {nearest(builders).value_or(RestoreHints::rebuiltByABuild), false};
    }
};

RestoreHint fixed(const char* text) {
    return {QString::fromLatin1(text), false};
}

// Names that say more than their kind; a custom rule may give any of them a kind of its own.
std::optional<RestoreHint> byName(const QString& name, const Surroundings& around) {
    if (name == u"node_modules")
        return around.installedFrom(nodeLocks);
    if (name == u"Pods")
        return around.installedFrom(podLocks);
    if (name == u"vendor")
        return around.installedFrom(vendorLocks);
    if (name == u".terraform")
        return around.installedFrom(terraformLocks);
    if (name == u".venv" || name == u"venv")
        return around.installedFrom(pythonLocks);
    if (name == u".dart_tool")
        return around.installedFrom(dartLocks);
    if (name == u"deps")
        return around.installedFrom(mixLocks);
    if (name == u".tox")
        return fixed("tox");
    if (name == u"_build")
        return fixed("mix compile");
    if (name == u".build")
        return fixed("swift build");
    if (name == u"DerivedData")
        return fixed("xcodebuild");
    if (name == u"coverage")
        return fixed("rebuilt by the next test run");
    if (name == u"target")
        return around.builtBy(targetBuilds);
    if (name == u".next" || name == u".nuxt" || name == u".svelte-kit" || name == u".output")
        return around.builtBy(nodeBuilds);
    return std::nullopt;
}

} // namespace

RestoreHint RestoreHints::hintFor(const CleanableItem& item, const QString& topFolder,
                                  const std::optional<QString>& remoteURL, FolderNames& listings) {
    if (item.kind == ArtifactKind::wholeProject) {
        const QString remote = remoteURL.value_or(QString());
        return {remote.isEmpty() ? QStringLiteral("git clone")
                                 : QStringLiteral("git clone ") + remote,
                false};
    }
    const Surroundings around{item.url, topFolder, listings};
    if (std::optional<RestoreHint> named = byName(item.name, around))
        return *named;
    switch (item.kind) {
    case ArtifactKind::dependencies:
        return around.installedFrom(allLocks());
    case ArtifactKind::virtualEnv:
        return around.installedFrom(pythonLocks);
    case ArtifactKind::buildOutput:
        return around.builtBy(builds);
    case ArtifactKind::cache:
        return {rebuiltOnDemand, false};
    case ArtifactKind::wholeProject:
    case ArtifactKind::unknown:
        break;
    }
    return {unknownOrigin, false};
}

QString RestoreHints::topFolder(const Project& project) {
    if (project.gitRepoURL && Paths::isUnder(project.url, *project.gitRepoURL))
        return *project.gitRepoURL;
    return project.url;
}

} // namespace corvane
