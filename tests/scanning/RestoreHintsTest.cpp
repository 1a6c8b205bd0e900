#include "scanning/RestoreHints.h"

#include "support/TestEnvironment.h"

#include <QDir>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

struct HintCase {
    // Files of the project, relative to its folder; a name ending in "/" is a folder.
    QStringList files;
    // The item, relative to the project folder.
    QString item;
    ArtifactKind kind;
    QString hint;
    bool lockFileMissing = false;
};

// Builds the case's project in a fresh folder and asks for the item's hint, with the project
// folder as the top of the search.
RestoreHint hintOf(const HintCase& c) {
    const QString project = test::makeTempDir(s("hint"));
    for (const QString& file : c.files) {
        if (file.endsWith(u'/'))
            QDir().mkpath(project + u'/' + file);
        else
            test::writeFile(project + u'/' + file);
    }
    const QString url = project + u'/' + c.item;
    QDir().mkpath(url);
    const CleanableItem item(QUuid::createUuid(), url, c.item.section(u'/', -1), c.kind,
                             CleanConfidence::safe);
    FolderNames listings;
    return RestoreHints::hintFor(item, project, std::nullopt, listings);
}

} // namespace

TEST(RestoreHints, EachFolderNamesWhatBringsItBackFromTheFilesAroundIt) {
    using K = ArtifactKind;
    const QString noLock = RestoreHints::noLockFile;
    const HintCase cases[] = {
        {{s("package.json"), s("package-lock.json")},
         s("node_modules"),
         K::dependencies,
         s("npm ci")},
        {{s("package.json"), s("pnpm-lock.yaml")},
         s("node_modules"),
         K::dependencies,
         s("pnpm install")},
        {{s("package.json"), s("yarn.lock")},
         s("node_modules"),
         K::dependencies,
         s("yarn install")},
        {{s("package.json")}, s("node_modules"), K::dependencies, noLock, true},
        // A workspace package installs from the lock file at the workspace's root.
        {{s("pnpm-lock.yaml"), s("packages/web/package.json")},
         s("packages/web/node_modules"),
         K::dependencies,
         s("pnpm install")},
        {{s("Cargo.toml"), s("Cargo.lock")}, s("target"), K::buildOutput, s("cargo build")},
        // Build output comes back from a build: no lock file needed.
        {{s("Cargo.toml")}, s("target"), K::buildOutput, s("cargo build")},
        {{s("pom.xml")}, s("target"), K::buildOutput, s("mvn package")},
        {{s("pyproject.toml"), s("uv.lock")}, s(".venv"), K::virtualEnv, s("uv sync")},
        {{s("requirements.txt")}, s("venv"), K::virtualEnv, s("pip install -r requirements.txt")},
        {{s("pyproject.toml")}, s(".venv"), K::virtualEnv, noLock, true},
        {{s("Podfile"), s("Podfile.lock")}, s("Pods"), K::dependencies, s("pod install")},
        {{s("Podfile")}, s("Pods"), K::dependencies, noLock, true},
        {{s("build.gradle"), s("settings.gradle")},
         s("build"),
         K::buildOutput,
         s("./gradlew build")},
        {{s("Package.swift")}, s(".build"), K::unknown, s("swift build")},
        {{s("go.mod")}, s("bin"), K::buildOutput, s("go build")},
        {{s("Gemfile"), s("Gemfile.lock")}, s("vendor"), K::dependencies, s("bundle install")},
        {{s("composer.json"), s("composer.lock")},
         s("vendor"),
         K::dependencies,
         s("composer install")},
        {{s("mix.exs"), s("mix.lock")}, s("deps"), K::dependencies, s("mix deps.get")},
        {{s("pubspec.yaml"), s("pubspec.lock")}, s(".dart_tool"), K::cache, s("flutter pub get")},
        {{s("package.json"), s("yarn.lock")}, s(".next"), K::buildOutput, s("yarn build")},
        {{s("package.json")}, s("dist"), K::buildOutput, s("npm run build")},
        {{s("App.xcodeproj/")}, s("DerivedData"), K::buildOutput, s("xcodebuild")},
        {{s("package.json")}, s(".turbo"), K::cache, RestoreHints::rebuiltOnDemand},
        // A dependency folder of a custom rule finds any lock file.
        {{s("Gemfile.lock")}, s("gems"), K::dependencies, s("bundle install")},
        {{s("notes.txt")}, s("output"), K::buildOutput, RestoreHints::rebuiltByABuild},
        {{s("package.json")}, s("scratch"), K::unknown, RestoreHints::unknownOrigin},
    };
    for (const HintCase& c : cases) {
        const RestoreHint hint = hintOf(c);
        EXPECT_EQ(hint.text, c.hint) << qPrintable(c.item + s(" beside ") + c.files.join(u' '));
        EXPECT_EQ(hint.lockFileMissing, c.lockFileMissing) << qPrintable(c.item);
    }
}

TEST(RestoreHints, TheSearchStopsAtTheTopFolderAndAWholeProjectIsClonedFromItsRemote) {
    // A lock file above the project's working tree belongs to someone else.
    const QString outer = test::makeTempDir(s("outer"));
    test::writeFile(outer + s("/package-lock.json"));
    const QString project = outer + s("/app");
    test::writeFile(project + s("/package.json"));
    QDir().mkpath(project + s("/node_modules"));
    FolderNames listings;
    const CleanableItem modules(QUuid::createUuid(), project + s("/node_modules"),
                                s("node_modules"), ArtifactKind::dependencies,
                                CleanConfidence::safe);
    EXPECT_EQ(RestoreHints::hintFor(modules, project, std::nullopt, listings),
              (RestoreHint{RestoreHints::noLockFile, true}));
    EXPECT_EQ(RestoreHints::hintFor(modules, outer, std::nullopt, listings).text, s("npm ci"));

    const CleanableItem whole(QUuid::createUuid(), project, s("app"), ArtifactKind::wholeProject,
                              CleanConfidence::reclonable);
    EXPECT_EQ(RestoreHints::hintFor(whole, project, s("git@example:team/app.git"), listings).text,
              s("git clone git@example:team/app.git"));
    EXPECT_EQ(RestoreHints::hintFor(whole, project, std::nullopt, listings).text, s("git clone"));

    // The top folder is the working tree's root when the project lies in one.
    Project inRepo{QUuid::createUuid(), s("app"), project, {}, outer, std::nullopt};
    EXPECT_EQ(RestoreHints::topFolder(inRepo), outer);
    inRepo.gitRepoURL.reset();
    EXPECT_EQ(RestoreHints::topFolder(inRepo), project);
}
