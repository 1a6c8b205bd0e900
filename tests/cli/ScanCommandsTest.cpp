#include "cli/ScanCommands.h"

#include "cli/Command.h"
#include "platform/ByteFormat.h"
#include "platform/CleanupHistory.h"
#include "platform/ProcessRunner.h"
#include "scanning/RulesStore.h"
#include "support/FakeScan.h"
#include "support/JsonText.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <gtest/gtest.h>

using namespace corvane;
using test::parsed;
using test::s;
using namespace corvane::cli;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

// A scan engine stand-in that plays `events`, then completes.
ScanStarter scripted(const QList<ScanEvent>& events, int* starts = nullptr) {
    return [events, starts](const QString&, const ScanOptions&) {
        if (starts)
            ++*starts;
        ScanStream::Pair pair = ScanStream::create();
        pair.sink->send(events + QList<ScanEvent>{ScanEvent::scanCompleted()});
        return std::move(pair.stream);
    };
}

QStringList strings(const QJsonValue& array) {
    QStringList result;
    for (const QJsonValue& value : array.toArray())
        result.append(value.toString());
    return result;
}

QStringList namesOf(const QJsonObject& scan) {
    QStringList names;
    for (const QJsonValue& project : scan[u"projects"].toArray())
        names.append(project[u"name"].toString());
    return names;
}

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

QDateTime day(int year) {
    return QDateTime(QDate(year, 6, 1), QTime(12, 0), Qt::UTC);
}

// A monorepo with a dirty sub-project, a tidy project and one outside git, with real folders.
struct Workspace {
    Workspace() {
        for (const CleanableItem& item : {monoModules, apiTarget, apiOut, tidyDist, looseVenv})
            test::writeFile(item.url + s("/content"), "bytes");
        GitDetails dirty = makeDetails(GitStatus::dirty(2), day(2023));
        dirty.changes = {{s("src/main.rs"), GitChange::Kind::modified},
                         {s("notes.txt"), GitChange::Kind::untracked}};
        events = {
            ScanEvent::progress(root),
            ScanEvent::projectDiscovered(mono),
            ScanEvent::projectDiscovered(api),
            ScanEvent::projectDiscovered(tidy),
            ScanEvent::projectDiscovered(loose),
            ScanEvent::gitStatusUpdated(mono.id, makeDetails(GitStatus::fullySynced(), day(2024))),
            ScanEvent::gitStatusUpdated(api.id, dirty),
            ScanEvent::gitStatusUpdated(tidy.id, makeDetails(GitStatus::fullySynced(), day(2022))),
            ScanEvent::itemsClassified(mono.id, {monoModules}),
            ScanEvent::itemsClassified(api.id, {apiTarget, apiOut}),
            ScanEvent::itemsClassified(tidy.id, {tidyDist, tidyWhole}),
            ScanEvent::itemsClassified(loose.id, {looseVenv}),
            ScanEvent::sizeUpdated(monoModules.id, 5000),
            ScanEvent::sizeUpdated(apiTarget.id, 7000),
            ScanEvent::sizeUpdated(tidyDist.id, 300),
            ScanEvent::sizeUpdated(looseVenv.id, 2000)};
    }

    QString root = test::makeTempDir(s("workspace"));
    Project mono = makeProject(root + s("/mono"), std::nullopt, root + s("/mono"));
    Project api = makeProject(mono.url + s("/api"), mono.id, mono.url);
    Project tidy = makeProject(root + s("/tidy"), std::nullopt, root + s("/tidy"));
    Project loose = makeProject(root + s("/loose"));
    CleanableItem monoModules = makeItem(mono, s("node_modules"));
    CleanableItem apiTarget = makeItem(api, s("target"), ArtifactKind::buildOutput);
    CleanableItem apiOut =
        makeItem(api, s("out"), ArtifactKind::unknown, CleanConfidence::ignoredButUnknown);
    CleanableItem tidyDist =
        makeItem(tidy, s("dist"), ArtifactKind::buildOutput, CleanConfidence::caution);
    CleanableItem tidyWhole =
        makeItem(tidy, {}, ArtifactKind::wholeProject, CleanConfidence::reclonable);
    CleanableItem looseVenv = makeItem(loose, s(".venv"), ArtifactKind::virtualEnv);
    QList<ScanEvent> events;
};

class ScanCommandsTest : public testing::Test {
protected:
    Workspace space;
    QString out;
    QString err;
    Console console{&out, &err};
};

} // namespace

TEST_F(ScanCommandsTest, ScanJsonListsTheTreeDepthFirstWithEveryFieldAndCanKeepOnlyUnsyncedWork) {
    const int status =
        runScan({space.root, ProjectSortMode::size, false, true}, scripted(space.events), console);
    ASSERT_EQ(status, exitOk) << qPrintable(err);
    const QJsonObject document = parsed(out);

    EXPECT_EQ(document[u"root"].toString(), space.root);
    const QJsonArray projects = document[u"projects"].toArray();
    // mono (5000, with api below it), loose (2000), tidy (nothing safe).
    EXPECT_EQ(namesOf(document), (QStringList{s("mono"), s("api"), s("loose"), s("tidy")}));
    EXPECT_EQ(document[u"reclaimableBytes"].toInteger(), 14000);
    EXPECT_EQ(document[u"selectedBytes"].toInteger(), 7000);

    const QJsonObject mono = projects[0].toObject();
    EXPECT_EQ(mono[u"id"].toString(), idText(space.mono.id));
    EXPECT_EQ(mono[u"url"].toString(), space.mono.url);
    EXPECT_EQ(strings(mono[u"markers"]), QStringList{s("package.json")});
    EXPECT_EQ(mono[u"gitRepoURL"].toString(), space.mono.url);
    EXPECT_TRUE(mono[u"parentProjectID"].isNull());
    EXPECT_EQ(mono[u"git"][u"status"].toString(), s("fullySynced"));
    EXPECT_FALSE(mono[u"git"].toObject().contains(u"changedCount"));
    EXPECT_EQ(mono[u"git"][u"lastCommitDate"].toString(), s("2024-06-01T12:00:00Z"));
    EXPECT_EQ(mono[u"git"][u"repoDisplayName"].toString(), s("team/tool"));
    EXPECT_EQ(mono[u"reclaimableBytes"].toInteger(), 5000);

    const QJsonObject api = projects[1].toObject();
    EXPECT_EQ(api[u"parentProjectID"].toString(), idText(space.mono.id));
    EXPECT_EQ(api[u"git"][u"status"].toString(), s("dirty"));
    EXPECT_EQ(api[u"git"][u"changedCount"].toInt(), 2);
    EXPECT_FALSE(api[u"git"].toObject().contains(u"commits"));
    EXPECT_EQ(api[u"git"][u"changes"][1][u"kind"].toString(), s("untracked"));
    const QJsonArray apiItems = api[u"items"].toArray();
    ASSERT_EQ(apiItems.size(), 2);
    const QJsonObject target = apiItems[0].toObject();
    EXPECT_EQ(target[u"id"].toString(), idText(space.apiTarget.id));
    EXPECT_EQ(target[u"url"].toString(), space.apiTarget.url);
    EXPECT_EQ(target[u"kind"].toString(), s("buildOutput"));
    EXPECT_EQ(target[u"confidence"].toString(), s("safe"));
    EXPECT_EQ(target[u"sizeBytes"].toInteger(), 7000);
    // Dirty work is not ticked, and an unmeasured item has no size yet.
    EXPECT_FALSE(target[u"selected"].toBool());
    EXPECT_EQ(apiItems[1][u"confidence"].toString(), s("ignoredButUnknown"));
    EXPECT_TRUE(apiItems[1][u"sizeBytes"].isNull());

    const QJsonObject loose = projects[2].toObject();
    EXPECT_TRUE(loose[u"git"].isNull());
    EXPECT_TRUE(loose[u"gitRepoURL"].isNull());
    EXPECT_TRUE(loose[u"items"][0][u"selected"].toBool());

    // Unsynced only, by activity: outside git first, mono stays for its dirty sub-project, tidy
    // is gone; the totals still count everything.
    out.clear();
    ASSERT_EQ(runScan({space.root, ProjectSortMode::activity, true, true}, scripted(space.events),
                      console),
              exitOk);
    const QJsonObject unsynced = parsed(out);
    EXPECT_EQ(namesOf(unsynced), (QStringList{s("loose"), s("mono"), s("api")}));
    EXPECT_EQ(unsynced[u"reclaimableBytes"].toInteger(), 14000);
}

TEST_F(ScanCommandsTest, TheTableIndentsSubProjectsAndMarksTickedItems) {
    ASSERT_EQ(
        runScan({space.root, ProjectSortMode::size, false, false}, scripted(space.events), console),
        exitOk);
    const QStringList lines = out.split(u'\n');
    const auto lineOf = [&lines](const QString& start) {
        for (const QString& line : lines) {
            if (line.trimmed().startsWith(start))
                return line;
        }
        return QString();
    };
    const auto indent = [](const QString& line) { return line.size() - line.trimmed().size(); };
    const QString mono = lineOf(s("mono "));
    const QString api = lineOf(s("api "));
    ASSERT_FALSE(mono.isEmpty()) << qPrintable(out);
    ASSERT_FALSE(api.isEmpty()) << qPrintable(out);
    EXPECT_GT(indent(api), indent(mono));
    EXPECT_LT(lines.indexOf(mono), lines.indexOf(api));
    EXPECT_TRUE(lineOf(s("[x] node_modules")).contains(s("5 KB")));
    EXPECT_FALSE(lineOf(s("[ ] target")).isEmpty());
    EXPECT_TRUE(lines.filter(s("Total:")).size() == 1);
}

TEST_F(ScanCommandsTest, ARefusedFolderIsNeverScannedAndExitsTwo) {
    int starts = 0;
    const QString desktop = test::fakeHome() + s("/Desktop");
    EXPECT_EQ(
        runScan({desktop, ProjectSortMode::size, false, true}, scripted({}, &starts), console),
        exitRefusedOrBadArguments);
    EXPECT_EQ(starts, 0);
    EXPECT_TRUE(out.isEmpty());
    EXPECT_TRUE(
        err.contains(QStringLiteral("Cannot scan this folder\nScanning the whole Desktop is "
                                    "not supported for safety.")))
        << qPrintable(err);
}

TEST_F(ScanCommandsTest, ADryRunReportsWhatWouldGoAndMovesNothingThenJsonListsWhatMoved) {
    // A link inside the workspace that leads out of it, handed over by hand.
    const QString outside = test::makeTempDir(s("outside"));
    test::writeFile(outside + s("/precious"), "keep");
    QFile::link(outside, space.root + s("/escape"));

    CleanRequest request;
    request.folder = space.root;
    request.trash = {true, false, true};
    ASSERT_EQ(runClean(request, scripted(space.events), console), exitOk) << qPrintable(err);
    QJsonObject document = parsed(out);
    EXPECT_TRUE(document[u"dryRun"].toBool());
    EXPECT_EQ(strings(document[u"wouldTrash"]),
              (QStringList{space.monoModules.url, space.looseVenv.url}));
    EXPECT_EQ(document[u"wouldReclaimBytes"].toInteger(), 7000);

    out.clear();
    request.items = {space.apiOut.url, space.tidy.url};
    EXPECT_EQ(runClean(request, scripted(space.events), console), exitOk);
    document = parsed(out);
    // Any item of the scan may be named, whatever its kind or confidence.
    EXPECT_EQ(strings(document[u"wouldTrash"]), (QStringList{space.apiOut.url, space.tidy.url}));

    for (const CleanableItem& item : {space.monoModules, space.looseVenv, space.apiOut})
        EXPECT_TRUE(QFile::exists(item.url + s("/content")));
    EXPECT_TRUE(QFile::exists(outside + s("/precious")));

    // For real: what moved and what did not.
    out.clear();
    QDir(space.monoModules.url).removeRecursively();
    request.items.clear();
    request.trash = {false, true, true};
    EXPECT_EQ(runClean(request, scripted(space.events), console), exitSomeFailed);
    document = parsed(out);
    EXPECT_EQ(strings(document[u"trashed"]), QStringList{space.looseVenv.url});
    EXPECT_EQ(document[u"reclaimedBytes"].toInteger(), 2000);
    EXPECT_EQ(document[u"failures"][0][u"url"].toString(), space.monoModules.url);
    EXPECT_EQ(document[u"failures"][0][u"message"].toString(), s("No longer exists"));
    EXPECT_TRUE(QFile::exists(space.apiOut.url));
    // What moved is one cleanup of the projects in the history, ready to be put back.
    const Cleanup cleanup = CleanupHistory().load().cleanups.last();
    EXPECT_EQ(document[u"cleanupID"].toString(), cleanup.id);
    EXPECT_EQ(cleanup.area, s("projects"));
    ASSERT_EQ(cleanup.items.size(), 1);
    EXPECT_EQ(cleanup.items[0].originalPath, space.looseVenv.url);
    EXPECT_EQ(cleanup.items[0].bytes, 2000);
    EXPECT_TRUE(QFile::exists(cleanup.items[0].location.path + s("/content")));
}

TEST_F(ScanCommandsTest, CleanItemTakesOnlyItemsOfTheScanAndRefusesTheRestBeforeMovingAnything) {
    const QString outside = test::makeTempDir(s("outside"));
    test::writeFile(outside + s("/precious"), "keep");
    QFile::link(outside, space.root + s("/escape"));
    test::writeFile(space.tidy.url + s("/src/main.js"), "work");
    test::writeFile(space.tidy.url + s("/.git/HEAD"), "ref: refs/heads/main\n");

    CleanRequest request;
    request.folder = space.root;
    request.trash.yes = true;
    request.items = {space.looseVenv.url, space.tidy.url + s("/src"), space.root + s("/escape"),
                     space.tidy.url + s("/.git")};
    EXPECT_EQ(runClean(request, scripted(space.events), console), exitRefusedOrBadArguments);

    EXPECT_TRUE(err.contains(space.tidy.url + s("/src: Refused: not an item of this scan")))
        << qPrintable(err);
    EXPECT_TRUE(err.contains(space.tidy.url + s("/.git: Refused: not an item of this scan")));
    EXPECT_TRUE(
        err.contains(space.root + s("/escape: Refused: resolves outside the scanned folder")));
    EXPECT_TRUE(err.contains(s("Nothing was moved.")));
    for (const QString& kept :
         {space.looseVenv.url + s("/content"), space.tidy.url + s("/src/main.js"),
          space.tidy.url + s("/.git/HEAD"), outside + s("/precious")})
        EXPECT_TRUE(QFile::exists(kept)) << qPrintable(kept);
}

TEST_F(ScanCommandsTest, CleanAsksFirstRefusesWithoutATerminalAndTrashesOneProject) {
    CleanRequest request;
    request.folder = space.root;
    request.project = s("mono/../loose");
    QDir::setCurrent(space.root);

    EXPECT_EQ(runClean(request, scripted(space.events), console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("--yes")));

    console.canAsk = true;
    QString asked;
    console.ask = [&asked](const QString& question) {
        asked = question;
        return false;
    };
    EXPECT_EQ(runClean(request, scripted(space.events), console), exitOk);
    EXPECT_TRUE(asked.contains(s("Move 1 item")));
    EXPECT_TRUE(QFile::exists(space.looseVenv.url));

    out.clear();
    request.trash.yes = true;
    EXPECT_EQ(runClean(request, scripted(space.events), console), exitOk) << qPrintable(err);
    EXPECT_FALSE(QFile::exists(space.looseVenv.url));
    EXPECT_TRUE(QFile::exists(space.monoModules.url));
    EXPECT_TRUE(out.contains(s("Moved 1 item (2 KB) to the Trash"))) << qPrintable(out);

    request.project = s("nowhere");
    EXPECT_EQ(runClean(request, scripted(space.events), console), exitRefusedOrBadArguments);
}

TEST(ScanCommandLine, TheUsersOwnRulesHoldForTheCommandAsTheyDoForTheApp) {
    const QString root = test::makeTempDir(s("rules"));
    test::writeFile(root + s("/app/package.json"), "{}");
    test::writeFile(root + s("/app/logs/today.log"), "lines");
    {
        // Stored the way the app's settings store them.
        RulesStore rules;
        CustomRule rule = rules.addRule();
        rule.name = s("logs");
        rule.isHighConfidence = true;
        ASSERT_TRUE(rules.updateRule(rule));
        QSettings().sync();
    }
    ArtifactCatalog::setCustomRules({});

    const ProcessResult result = ProcessRunner::system().run(
        QStringLiteral(CORVANE_EXECUTABLE), {s("scan"), root, s("--json")}, {}, {}, 60);
    ASSERT_EQ(result.exitCode, 0) << result.standardError.toStdString();
    const QJsonObject scan = parsed(QString::fromUtf8(result.standardOutput));
    const QJsonArray items = scan[u"projects"][0][u"items"].toArray();
    ASSERT_EQ(items.size(), 1) << result.standardOutput.toStdString();
    EXPECT_EQ(items[0][u"url"].toString(), root + s("/app/logs"));
    EXPECT_EQ(items[0][u"kind"].toString(), s("cache"));
    EXPECT_EQ(items[0][u"confidence"].toString(), s("safe"));
    QSettings().remove(RulesStore::settingsKey);
}

// A pnpm node_modules occupies 5000 bytes of which 1200 are its own; the project's .venv-like
// cache shares 800 bytes with it, which only trashing both gives back.
TEST_F(ScanCommandsTest, ScanAndCleanReportWhatTrashingFreesBesideTheSize) {
    const CleanableItem monoCache = makeItem(space.mono, s(".turbo"), ArtifactKind::cache);
    test::writeFile(monoCache.url + s("/content"), "bytes");
    const auto partly = std::make_shared<PartlyMetFiles>(PartlyMetFiles{{7, 42, 2, 1, 800}});
    QList<ScanEvent> events = space.events;
    for (ScanEvent& event : events) {
        if (event.kind == ScanEvent::Kind::sizeUpdated && event.itemID == space.monoModules.id)
            event = ScanEvent::sizeUpdated(space.monoModules.id, SpaceUse{5000, 1200, partly},
                                           SharedWith::pnpmStore);
        if (event.kind == ScanEvent::Kind::itemsClassified && event.projectID == space.mono.id)
            event = ScanEvent::itemsClassified(space.mono.id, {space.monoModules, monoCache});
    }
    events.append(ScanEvent::sizeUpdated(monoCache.id, SpaceUse{1000, 200, partly}));

    ASSERT_EQ(runScan({space.root, ProjectSortMode::size, false, true}, scripted(events), console),
              exitOk)
        << qPrintable(err);
    QJsonObject document = parsed(out);
    const QJsonObject mono = document[u"projects"][0].toObject();
    ASSERT_EQ(mono[u"name"].toString(), s("mono"));
    const QJsonObject modules = mono[u"items"][0].toObject();
    EXPECT_EQ(modules[u"sizeBytes"].toInteger(), 5000);
    EXPECT_EQ(modules[u"freesBytes"].toInteger(), 1200);
    EXPECT_EQ(mono[u"items"][1][u"freesBytes"].toInteger(), 200);
    EXPECT_EQ(mono[u"sizeBytes"].toInteger(), 6000);
    EXPECT_EQ(mono[u"freesBytes"].toInteger(), 1200 + 200 + 800);
    EXPECT_EQ(mono[u"reclaimableBytes"].toInteger(), 2200);
    // Unmeasured items have neither figure.
    const QJsonObject tidy = document[u"projects"][3].toObject();
    ASSERT_EQ(tidy[u"name"].toString(), s("tidy"));
    EXPECT_TRUE(tidy[u"items"][1][u"freesBytes"].isNull());
    // loose .venv (2000) and api's target (7000, dirty so unticked) free all they occupy.
    EXPECT_EQ(document[u"reclaimableBytes"].toInteger(), 2200 + 7000 + 2000);
    EXPECT_EQ(document[u"sizeBytes"].toInteger(), 6000 + 7000 + 2000);
    EXPECT_EQ(document[u"selectedBytes"].toInteger(), 2200 + 2000);

    out.clear();
    ASSERT_EQ(runScan({space.root, ProjectSortMode::size, false, false}, scripted(events), console),
              exitOk);
    EXPECT_TRUE(out.contains(formatBytes(2200) + s(" reclaimable (of ") + formatBytes(6000) +
                             s(" on disk)")))
        << qPrintable(out);
    EXPECT_TRUE(out.contains(formatBytes(1200) + s("  (of ") + formatBytes(5000) +
                             s("; the rest is shared with pnpm's store)")))
        << qPrintable(out);
    EXPECT_TRUE(out.contains(formatBytes(200) + s("  (of ") + formatBytes(1000) +
                             s("; the rest is shared with other folders)")))
        << qPrintable(out);

    // The clean command's report counts what each trashed item frees on its own.
    out.clear();
    CleanRequest request;
    request.folder = space.root;
    request.trash = {false, true, true};
    request.items = {space.monoModules.url, space.looseVenv.url};
    EXPECT_EQ(runClean(request, scripted(events), console), exitOk) << qPrintable(err);
    document = parsed(out);
    EXPECT_EQ(strings(document[u"trashed"]),
              (QStringList{space.monoModules.url, space.looseVenv.url}));
    EXPECT_EQ(document[u"reclaimedBytes"].toInteger(), 1200 + 2000);
}
