#include "scanning/DirectoryWalker.h"

#include "support/TreeFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

struct Walk {
    DirectoryWalker::WalkResult result;
    QList<ScanEvent> events;
    int visited = 0;

    // The project at `path`, relative to the walked root ("" for the root itself).
    const Project* project(const QString& root, const QString& path) const {
        const QString url = path.isEmpty() ? root : root + u'/' + path;
        for (const Project& found : result.projects) {
            if (found.url == url)
                return &found;
        }
        return nullptr;
    }

    QStringList projectPaths(const QString& root) const {
        QStringList paths;
        for (const Project& found : result.projects)
            paths.append(found.url == root ? QString() : found.url.mid(root.size() + 1));
        return paths;
    }

    QStringList candidates(const QString& root, const QString& projectPath) const {
        const Project* owner = project(root, projectPath);
        if (!owner)
            return {QStringLiteral("<no project>")};
        QStringList paths;
        for (const QString& path : result.candidatesByProject.value(owner->id))
            paths.append(path.mid(root.size() + 1));
        paths.sort();
        return paths;
    }

    QStringList progressPaths() const {
        QStringList paths;
        for (const ScanEvent& event : events) {
            if (event.kind == ScanEvent::Kind::progress)
                paths.append(event.currentPath);
        }
        return paths;
    }
};

Walk walk(const QString& root, const ScanOptions& options = {},
          const CancellationToken& cancellation = {}) {
    Walk outcome;
    DirectoryWalker walker(root, options,
                           [&outcome](const ScanEvent& event) { outcome.events.append(event); });
    outcome.result = walker.walk(cancellation);
    outcome.visited = walker.visitedDirCount();
    return outcome;
}

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

} // namespace

TEST(DirectoryWalker, NestedProjectsKnowTheirParentAndWorkingTree) {
    const QString root = makeTempDir();
    writeFile(root + QStringLiteral("/package.json"));
    makeFolder(root + QStringLiteral("/.git/objects"));
    writeFile(root + QStringLiteral("/packages/app/package.json"));
    writeFile(root + QStringLiteral("/packages/app/src/deep/lib/Cargo.toml"));
    makeFolder(root + QStringLiteral("/third_party/libfoo/.git"));
    writeFile(root + QStringLiteral("/third_party/libfoo/Makefile"));
    writeFile(root + QStringLiteral("/third_party/libfoo/py/setup.py"));
    // A linked worktree has a ".git" file, and is a working tree all the same.
    writeFile(root + QStringLiteral("/worktrees/feature/.git"), "gitdir: /elsewhere\n");

    const Walk outcome = walk(root);

    EXPECT_THAT(sorted(outcome.projectPaths(root)),
                ElementsAre(QString(), u"packages/app", u"packages/app/src/deep/lib",
                            u"third_party/libfoo", u"third_party/libfoo/py", u"worktrees/feature"));
    EXPECT_EQ(outcome.projectPaths(root).first(), QString()) << "a parent comes first";
    const Project* top = outcome.project(root, {});
    const Project* app = outcome.project(root, QStringLiteral("packages/app"));
    const Project* crate = outcome.project(root, QStringLiteral("packages/app/src/deep/lib"));
    const Project* clone = outcome.project(root, QStringLiteral("third_party/libfoo"));
    const Project* inClone = outcome.project(root, QStringLiteral("third_party/libfoo/py"));
    const Project* worktree = outcome.project(root, QStringLiteral("worktrees/feature"));
    ASSERT_TRUE(top && app && crate && clone && inClone && worktree);

    EXPECT_EQ(top->parentProjectID, std::nullopt);
    EXPECT_EQ(top->gitRepoURL, root);
    EXPECT_EQ(top->name, QFileInfo(root).fileName());
    EXPECT_THAT(sorted(top->markers), ElementsAre(u".git", u"package.json"));
    EXPECT_EQ(app->parentProjectID, top->id);
    EXPECT_EQ(app->gitRepoURL, root);
    EXPECT_EQ(app->name, u"app");
    EXPECT_EQ(crate->parentProjectID, app->id);
    EXPECT_EQ(clone->parentProjectID, top->id);
    EXPECT_EQ(clone->gitRepoURL, root + QStringLiteral("/third_party/libfoo"))
        << "the nearest working tree";
    EXPECT_THAT(clone->markers, ElementsAre(u".git"));
    EXPECT_EQ(inClone->gitRepoURL, clone->url);
    EXPECT_EQ(inClone->parentProjectID, clone->id);
    EXPECT_EQ(worktree->gitRepoURL, worktree->url);

    int discovered = 0;
    for (const ScanEvent& event : outcome.events)
        discovered += event.kind == ScanEvent::Kind::projectDiscovered ? 1 : 0;
    EXPECT_EQ(discovered, outcome.result.projects.size());
    EXPECT_EQ(outcome.result.candidatesByProject.size(), outcome.result.projects.size());
}

TEST(DirectoryWalker, ProjectsOutsideGitAndOutsideEachOther) {
    const QString root = makeTempDir();
    writeFile(root + QStringLiteral("/work/api/go.mod"));
    writeFile(root + QStringLiteral("/work/site/Gemfile"));
    writeFile(root + QStringLiteral("/work/notes/todo.txt"));
    writeFile(root + QStringLiteral("/ios/App.xcodeproj/project.pbxproj"));

    const Walk outcome = walk(root);

    EXPECT_THAT(sorted(outcome.projectPaths(root)), ElementsAre(u"ios", u"work/api", u"work/site"));
    for (const Project& project : outcome.result.projects) {
        EXPECT_EQ(project.parentProjectID, std::nullopt) << project.url.toStdString();
        EXPECT_EQ(project.gitRepoURL, std::nullopt) << project.url.toStdString();
    }
    EXPECT_THAT(outcome.project(root, QStringLiteral("ios"))->markers,
                ElementsAre(u"App.xcodeproj"));
}

TEST(DirectoryWalker, ArtifactFoldersBecomeCandidatesAndAreNotEntered) {
    const QString root = makeTempDir();
    const QString web = root + QStringLiteral("/web");
    writeFile(web + QStringLiteral("/package.json"));
    writeFile(web + QStringLiteral("/node_modules/react/package.json"));
    writeFile(web + QStringLiteral("/node_modules/@types/node/package.json"));
    writeFile(web + QStringLiteral("/.next/cache/x"));
    writeFile(web + QStringLiteral("/.venv/lib/site-packages/pkg/setup.py"));
    writeFile(web + QStringLiteral("/build/out.js"));
    // Hidden folders inside a project are searched like any other.
    writeFile(web + QStringLiteral("/.github/tools/helper/requirements.txt"));
    // "target" is only an artifact beside Cargo.toml or pom.xml; this one is searched.
    writeFile(web + QStringLiteral("/target/inner/pyproject.toml"));
    // "Pods" needs its Podfile beside it.
    writeFile(root + QStringLiteral("/ios/Podfile"));
    makeFolder(root + QStringLiteral("/ios/App.xcworkspace"));
    writeFile(root + QStringLiteral("/ios/Pods/Alamofire/Alamofire.podspec"));
    // A node_modules outside every project is no candidate, and holds no projects of the user.
    writeFile(root + QStringLiteral("/scratch/node_modules/lodash/package.json"));
    writeFile(root + QStringLiteral("/scratch/dist/tool/package.json"));

    const Walk outcome = walk(root);

    EXPECT_THAT(sorted(outcome.projectPaths(root)),
                ElementsAre(u"ios", u"scratch/dist/tool", u"web", u"web/.github/tools/helper",
                            u"web/target/inner"));
    EXPECT_THAT(outcome.candidates(root, QStringLiteral("web")),
                ElementsAre(u"web/.next", u"web/.venv", u"web/build", u"web/node_modules"));
    EXPECT_THAT(outcome.candidates(root, QStringLiteral("ios")), ElementsAre(u"ios/Pods"));
    EXPECT_THAT(outcome.candidates(root, QStringLiteral("web/target/inner")), IsEmpty());
}

TEST(DirectoryWalker, LinksAreNeverFollowedExceptTheChosenRoot) {
    const QString base = makeTempDir();
    const QString projects = base + QStringLiteral("/projects");
    writeFile(projects + QStringLiteral("/alpha/package.json"));
    writeFile(projects + QStringLiteral("/beta/Cargo.toml"));
    const QString root = base + QStringLiteral("/scan");
    writeFile(root + QStringLiteral("/readme.txt"));
    makeLink(projects, root + QStringLiteral("/shortcut"));
    makeLink(QStringLiteral("."), root + QStringLiteral("/loop"));
    makeLink(QStringLiteral("/nonexistent/folder"), root + QStringLiteral("/dangling"));
    writeFile(root + QStringLiteral("/app/package.json"));
    makeLink(projects + QStringLiteral("/alpha/package.json"),
             root + QStringLiteral("/app/node_modules"));
    makeLink(QStringLiteral(".."), root + QStringLiteral("/app/up"));

    const Walk outcome = walk(root);
    EXPECT_THAT(outcome.projectPaths(root), ElementsAre(u"app"));
    EXPECT_THAT(outcome.candidates(root, QStringLiteral("app")), IsEmpty());
    EXPECT_EQ(outcome.visited, 2);

    // A root the user picked through a link is walked where it leads, under the name given.
    makeLink(projects, base + QStringLiteral("/projects-link"));
    const Walk throughLink = walk(base + QStringLiteral("/projects-link"));
    EXPECT_THAT(sorted(throughLink.projectPaths(base + QStringLiteral("/projects-link"))),
                ElementsAre(u"alpha", u"beta"));
}

TEST(DirectoryWalker, ProgressEveryThirtySecondFolder) {
    const QString root = makeTempDir();
    for (int i = 0; i < 39; ++i)
        makeFolder(root + QStringLiteral("/f%1").arg(i, 2, 10, QLatin1Char('0')));

    const Walk outcome = walk(root);
    EXPECT_EQ(outcome.visited, 40);
    const QStringList progress = outcome.progressPaths();
    ASSERT_EQ(progress.size(), 2);
    EXPECT_EQ(progress[0], root);
    EXPECT_TRUE(progress[1].startsWith(root + QStringLiteral("/f"))) << progress[1].toStdString();
}

TEST(DirectoryWalker, FoldersThirteenLevelsDownAreNeverListed) {
    const QString root = makeTempDir();
    QString folder = root;
    for (int level = 1; level <= 14; ++level) {
        folder += QStringLiteral("/l%1").arg(level);
        writeFile(folder + QStringLiteral("/go.mod"));
        // Projects are nested, so every level is inside one; the names avoid the catalog.
    }
    const Walk outcome = walk(root);
    ASSERT_EQ(outcome.result.projects.size(), 12);
    EXPECT_TRUE(outcome.result.projects.last().url.endsWith(u"/l12"));
    EXPECT_EQ(outcome.visited, 13);
}

TEST(DirectoryWalker, SkipRules) {
    const QString root = makeTempDir();
    // Never entered, wherever they are.
    writeFile(root + QStringLiteral("/Library/Mobile/Cargo.toml"));
    writeFile(root + QStringLiteral("/.Trash/old/package.json"));
    writeFile(root + QStringLiteral("/.local/share/tool/setup.py"));
    writeFile(root + QStringLiteral("/group/Library/app/package.json"));
    writeFile(root + QStringLiteral("/mono/package.json"));
    writeFile(root + QStringLiteral("/mono/.local/pkg/package.json"));
    // The Trash of every volume, at any level: freedesktop's ".Trash-<uid>", macOS's ".Trashes".
    writeFile(root + QStringLiteral("/.Trash-1000/files/old/package.json"));
    writeFile(root + QStringLiteral("/group/.Trash/501/files/gone/package.json"));
    writeFile(root + QStringLiteral("/mono/.Trash-0/files/app/package.json"));
    writeFile(root + QStringLiteral("/group/.Trashes/501/app/package.json"));
    // Only a user number makes a Trash folder.
    writeFile(root + QStringLiteral("/group/.Trash-notes/kept/Gemfile"));
    // Folders named like markers, and bundles, are markers only.
    writeFile(root + QStringLiteral("/mono/pom.xml/inner/Gemfile"));
    writeFile(root + QStringLiteral("/mono/Tool.xcworkspace/sub/package.json"));
    // Skipped by path and by name among the root's children only.
    writeFile(root + QStringLiteral("/private/secret/package.json"));
    writeFile(root + QStringLiteral("/Archive/old/package.json"));
    writeFile(root + QStringLiteral("/group/Archive/kept/package.json"));
    // Hidden outside projects, and ".localized" folders; a hidden artifact inside a project.
    writeFile(root + QStringLiteral("/.config/tool/package.json"));
    writeFile(root + QStringLiteral("/Movies.localized/clip/package.json"));
    writeFile(root + QStringLiteral("/py/pyproject.toml"));
    writeFile(root + QStringLiteral("/py/.venv/lib/x.py"));
    writeFile(root + QStringLiteral("/py/.hidden-tools/gen/setup.py"));

    ScanOptions options;
    options.skippedPaths = {root + QStringLiteral("/private")};
    options.skippedNamesAtRoot = {QStringLiteral("Archive")};
    options.skipsHiddenAndBundlesOutsideProjects = true;
    const Walk strict = walk(root, options);
    EXPECT_THAT(sorted(strict.projectPaths(root)),
                ElementsAre(u"group/Archive/kept", u"mono", u"py", u"py/.hidden-tools/gen"));
    EXPECT_THAT(strict.candidates(root, QStringLiteral("py")), ElementsAre(u"py/.venv"));

    ScanOptions lenient;
    const Walk open = walk(root, lenient);
    EXPECT_THAT(sorted(open.projectPaths(root)),
                ElementsAre(u".config/tool", u"Archive/old", u"Movies.localized/clip",
                            u"group/.Trash-notes/kept", u"group/Archive/kept", u"mono",
                            u"private/secret", u"py", u"py/.hidden-tools/gen"));
}

TEST(DirectoryWalker, SkippedPathsMatchWhateverTheSpelling) {
    const QString base = makeTempDir();
    const QString real = base + QStringLiteral("/real");
    writeFile(real + QStringLiteral("/keep/package.json"));
    writeFile(real + QStringLiteral("/skip/package.json"));
    makeLink(real, base + QStringLiteral("/alias"));

    ScanOptions viaAlias;
    viaAlias.skippedPaths = {base + QStringLiteral("/alias/skip")};
    EXPECT_THAT(walk(real, viaAlias).projectPaths(real), ElementsAre(u"keep"));

    ScanOptions viaReal;
    viaReal.skippedPaths = {real + QStringLiteral("/skip")};
    EXPECT_THAT(walk(base + QStringLiteral("/alias"), viaReal)
                    .projectPaths(base + QStringLiteral("/alias")),
                ElementsAre(u"keep"));
}

TEST(DirectoryWalker, NamesSkippedAtTheRootAlsoWhenTheRootIsAProject) {
    const QString root = makeTempDir();
    writeFile(root + QStringLiteral("/package.json"));
    writeFile(root + QStringLiteral("/vendor/lib/composer.json"));
    writeFile(root + QStringLiteral("/examples/demo/package.json"));
    ScanOptions options;
    options.skippedNamesAtRoot = {QStringLiteral("examples"), QStringLiteral("vendor")};
    const Walk outcome = walk(root, options);
    EXPECT_THAT(outcome.projectPaths(root), ElementsAre(QString()));
    EXPECT_THAT(outcome.candidates(root, {}), IsEmpty());
}

TEST(DirectoryWalker, CancellationEndsTheWalk) {
    const QString root = makeTempDir();
    writeFile(root + QStringLiteral("/a/package.json"));
    writeFile(root + QStringLiteral("/b/package.json"));
    writeFile(root + QStringLiteral("/c/package.json"));

    CancellationToken cancelled;
    cancelled.cancel();
    DirectoryWalker early(root, {}, {});
    EXPECT_THROW(early.walk(cancelled), CancelledError);

    CancellationToken token;
    int discovered = 0;
    DirectoryWalker walker(root, {}, [&](const ScanEvent& event) {
        if (event.kind == ScanEvent::Kind::projectDiscovered && ++discovered == 1)
            token.cancel();
    });
    EXPECT_THROW(walker.walk(token), CancelledError);
    EXPECT_EQ(discovered, 1) << "nothing is visited after the token is seen";
}
