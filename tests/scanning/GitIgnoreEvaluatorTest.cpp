#include "scanning/GitIgnoreEvaluator.h"

#include "scanning/ArtifactCatalog.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

void touch(const QString& repo, const char* path) {
    test::writeFile(repo + u'/' + s(path), "x\n");
}

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

} // namespace

TEST(GitIgnoreEvaluator, ReportsExactlyTheCandidatesGitIgnores) {
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{s(".gitignore"), "build/\nlogs\ncache dir/\ntmp-ä/\n"},
                             {s("src/main.c"), "int main;\n"}});
    for (const char* folder : {"build", "logs", "cache dir", "tmp-ä", "src", "docs"})
        QDir().mkpath(repo + u'/' + s(folder));
    QStringList candidates;
    for (const char* folder : {"build", "logs", "cache dir", "tmp-ä", "src", "docs"})
        candidates.append(repo + u'/' + s(folder));

    const QSet<QString> ignored = GitIgnoreEvaluator::ignoredPaths(repo, candidates);
    EXPECT_EQ(ignored, (QSet<QString>{repo + s("/build"), repo + s("/logs"), repo + s("/cache dir"),
                                      repo + s("/tmp-ä")}));
    EXPECT_TRUE(GitIgnoreEvaluator::ignoredPaths(repo, {repo + s("/src")}).isEmpty());
}

TEST(GitIgnoreEvaluator, NoCandidatesRunNoGitAndFailingGitTrustsNothing) {
    const QString folder = test::makeTempDir();
    const QString marker = folder + s("/ran");
    const QString fake = folder + s("/git");
    test::writeScript(fake, "touch '" + marker.toUtf8() + "'\nexit 1\n");
    {
        const test::ScopedEnvironment useFake("CORVANE_TOOL_GIT", fake);
        EXPECT_TRUE(GitIgnoreEvaluator::ignoredPaths(folder, {}).isEmpty());
        EXPECT_FALSE(QFile::exists(marker));
    }
    const test::ScopedEnvironment missing("CORVANE_TOOL_GIT", folder + s("/absent"));
    EXPECT_TRUE(GitIgnoreEvaluator::ignoredPaths(folder, {folder + s("/build")}).isEmpty());
    EXPECT_TRUE(GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(folder).isEmpty());
}

TEST(GitIgnoreEvaluator, IgnoredDirectoriesOutsideTheCatalog) {
    const QString repo = test::makeRepo();
    test::commitFiles(repo, {{s(".gitignore"), "generated/\nbuild/\nnode_modules/\n*.log\n"
                                               "assets/cache/\nvendor/cache/\n"},
                             {s("src/main.c"), "int main;\n"},
                             {s("vendor/tracked.txt"), "t\n"},
                             {s("packages/app/index.js"), "js\n"}});
    for (const char* path : {"generated/deeper/f", "build/inner/f", "node_modules/pkg/generated/f",
                             "packages/app/node_modules/x/f", "assets/cache/f", "vendor/cache/f",
                             "only ignored/a.log", "debug.log"})
        touch(repo, path);

    // "assets" holds only ignored content, so git lists it and, again, "assets/cache" inside it.
    EXPECT_EQ(
        sorted(GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(repo)),
        (QStringList{repo + s("/assets"), repo + s("/generated"), repo + s("/only ignored")}));

    // Custom rules count as catalog folders too.
    ArtifactCatalog::setCustomRules({{s("generated"), ArtifactKind::cache, CatalogTier::high}});
    EXPECT_EQ(sorted(GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(repo)),
              (QStringList{repo + s("/assets"), repo + s("/only ignored")}));
    ArtifactCatalog::setCustomRules({});
}
