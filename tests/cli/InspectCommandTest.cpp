#include "cli/InspectCommand.h"

#include "cli/JsonOutput.h"
#include "platform/ProcessRunner.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// A synced web project whose build folders git ignores, plus a committed "dist" it does not.
test::SyncedRepo makeWebProject() {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    test::commitFiles(synced.repo, {{s(".gitignore"), "node_modules/\nbuild/\ngenerated/\n"},
                                    {s("package.json"), "{}\n"},
                                    {s("src/index.js"), "js\n"},
                                    {s("dist/app.js"), "js\n"},
                                    {s("packages/app/package.json"), "{}\n"}});
    test::git(synced.repo, {s("push"), s("-q")});
    for (const char* file : {"node_modules/left-pad/index.js", "build/app.js",
                             "generated/types.d.ts", "packages/app/build/out.js"})
        test::writeFile(synced.repo + u'/' + s(file), "x\n");
    return synced;
}

QStringList itemRows(const QJsonObject& json) {
    QStringList rows;
    for (const QJsonValue& item : json.value(s("items")).toArray()) {
        const QJsonObject object = item.toObject();
        rows.append(object.value(s("name")).toString() + u' ' + object.value(s("kind")).toString() +
                    u' ' + object.value(s("confidence")).toString());
    }
    return rows;
}

} // namespace

TEST(InspectCommand, ReportsTheTreeAndWhyEachFolderIsOfferedAsJsonOrText) {
    const test::SyncedRepo web = makeWebProject();
    const QJsonObject json = cli::inspectJson(cli::inspectFolder(web.repo));

    EXPECT_EQ(json.value(s("path")).toString(), web.repo);
    EXPECT_EQ(json.value(s("gitRepoURL")).toString(), web.repo);
    const QJsonObject git = json.value(s("git")).toObject();
    EXPECT_EQ(git.value(s("status")).toString(), s("fullySynced"));
    EXPECT_FALSE(git.contains(s("changedCount")));
    EXPECT_FALSE(git.contains(s("commits")));
    EXPECT_EQ(git.value(s("branch")).toString(), s("main"));
    EXPECT_EQ(git.value(s("remoteURL")).toString(), web.remote);
    EXPECT_EQ(git.value(s("repoDisplayName")).toString(), web.remote.section(u'/', -1));
    EXPECT_EQ(git.value(s("lastCommitDate")).toString(), s("2023-11-14T22:13:20Z"));
    EXPECT_EQ(git.value(s("changes")).toArray(), QJsonArray());
    EXPECT_EQ(
        itemRows(json),
        (QStringList{s("build buildOutput safe"), s("dist buildOutput caution"),
                     s("generated unknown ignoredButUnknown"), s("node_modules dependencies safe"),
                     web.repo.section(u'/', -1) + s(" wholeProject reclonable")}));
    EXPECT_EQ(json.value(s("items")).toArray().at(0).toObject().value(s("url")).toString(),
              web.repo + s("/build"));

    // A folder inside the tree is judged with the tree's git, and is not the repository.
    const cli::InspectReport nested = cli::inspectFolder(web.repo + s("/packages/app"));
    EXPECT_EQ(nested.workingTree, web.repo);
    ASSERT_EQ(nested.items.size(), 1);
    EXPECT_EQ(nested.items[0].url, web.repo + s("/packages/app/build"));
    EXPECT_EQ(nested.items[0].confidence, CleanConfidence::safe);

    // The command itself prints one JSON document, or text, and refuses a missing folder.
    const QString corvane = s(CORVANE_EXECUTABLE);
    const ProcessResult printed = ProcessRunner::system().run(
        corvane, {s("inspect"), web.repo + s("/"), s("--json")}, {}, {}, 60);
    EXPECT_EQ(printed.exitCode, 0) << printed.standardError.toStdString();
    const QJsonObject document = QJsonDocument::fromJson(printed.standardOutput).object();
    EXPECT_EQ(document.value(s("path")).toString(), web.repo);
    EXPECT_EQ(document.value(s("items")).toArray().size(), 5);

    const ProcessResult text =
        ProcessRunner::system().run(corvane, {s("inspect"), web.repo}, {}, {}, 60);
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.standardOutput.contains("Everything committed and pushed"));

    const ProcessResult missing =
        ProcessRunner::system().run(corvane, {s("inspect"), web.repo + s("/absent")}, {}, {}, 60);
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(missing.standardOutput.isEmpty());

    // Once there is work to lose, the text says what and where, in words.
    test::writeFile(web.repo + s("/src/index.js"), "changed\n");
    const QString changed = cli::inspectText(cli::inspectFolder(web.repo));
    for (const char* expected :
         {"1 uncommitted change\n", "Branch:       main\n", "  modified    src/index.js\n",
          "ignored, unverified\n", "Build output", "caution\n"})
        EXPECT_TRUE(changed.contains(s(expected))) << expected << "\n" << changed.toStdString();
}

TEST(InspectCommand, ARepositoryInsideTheFolderIsSeenAsTheScanWouldSeeIt) {
    const test::SyncedRepo web = makeWebProject();
    const QString tool = test::makeRepo(web.repo + s("/generated/tool"));
    test::writeFile(tool + s("/draft.txt"), "only here\n");

    const QJsonObject json = cli::inspectJson(cli::inspectFolder(web.repo));
    EXPECT_EQ(json.value(s("git")).toObject().value(s("status")).toString(), s("fullySynced"));
    EXPECT_EQ(itemRows(json),
              (QStringList{s("build buildOutput safe"), s("dist buildOutput caution"),
                           s("node_modules dependencies safe")}));
}

TEST(InspectCommand, FolderOutsideGitIsNoRepositoryAndGenericNamesNeedCaution) {
    const QString folder = test::makeTempDir();
    test::writeFile(folder + s("/package.json"), "{}");
    QDir().mkpath(folder + s("/build"));
    QDir().mkpath(folder + s("/node_modules"));
    QDir().mkpath(folder + s("/src"));

    const cli::InspectReport report = cli::inspectFolder(folder);
    const QJsonObject json = cli::inspectJson(report);
    EXPECT_TRUE(json.value(s("gitRepoURL")).isNull());
    const QJsonObject git = json.value(s("git")).toObject();
    EXPECT_EQ(git.value(s("status")).toString(), s("notARepo"));
    for (const char* key : {"branch", "remoteURL", "repoDisplayName", "lastCommitDate"})
        EXPECT_TRUE(git.value(s(key)).isNull()) << key;
    EXPECT_EQ(itemRows(json),
              (QStringList{s("build buildOutput caution"), s("node_modules dependencies safe")}));

    const QString text = cli::inspectText(report);
    EXPECT_TRUE(text.contains(s("Not in a git repository"))) << text.toStdString();
    EXPECT_FALSE(text.contains(s("Branch:"))) << text.toStdString();
}

TEST(InspectCommand, CommitsAheadAppearOnlyForThatStatus) {
    // Dirty work and its changes are shown by the scan's output, which shares this payload.
    GitDetails details;
    details.status = GitStatus::aheadOfRemote(3);
    const QJsonObject json = cli::gitDetailsJson(details);
    EXPECT_EQ(json.value(s("commits")).toInt(), 3);
    EXPECT_FALSE(json.contains(s("changedCount")));
}
