#include "agents/AgentStorage.h"

#include "AgentFixtures.h"
#include "AgentStoreFixture.h"
#include "agents/AgentStoreRules.h"
#include "platform/Paths.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QStringList allIDs(const AgentStore& store) {
    QStringList ids;
    for (const AgentStoreRow& row : store.rows)
        ids.append(row.id);
    return ids;
}

// The planned item that is or holds `path`, if any.
std::optional<QString> planItemHolding(const TrashPlan& plan, const QString& path) {
    for (const QString& url : plan.urls()) {
        if (Paths::isUnder(path, url))
            return url;
    }
    return std::nullopt;
}

// The row `id` of `store`; a test that asks for a row that is not there fails.
AgentStoreRow rowOf(const AgentStore& store, const QString& id) {
    const AgentStoreRow* found = store.row(id);
    EXPECT_TRUE(found) << id.toStdString();
    return found ? *found : AgentStoreRow();
}

} // namespace

TEST(AgentStorage, NothingThatMustStayIsEverInAPlanWhateverIsAskedFor) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const AgentStore store = AgentStorage::measure(home.inputs());
    // Every row named, never-touched and blocked ones too, as `--session` would.
    const AgentStorage::Plan plan = AgentStorage::plan(store, allIDs(store) << s("no-such-row"));
    ASSERT_FALSE(plan.trash.isEmpty());
    for (const QString& path : home.neverTouched)
        EXPECT_EQ(planItemHolding(plan.trash, path), std::nullopt) << path.toStdString();
    // The session whose companion folder holds memory is refused as a whole, with the reason.
    const auto refused =
        std::find_if(plan.refused.cbegin(), plan.refused.cend(),
                     [&](const ItemFailure& f) { return f.itemID == home.withMemory; });
    ASSERT_NE(refused, plan.refused.cend());
    EXPECT_TRUE(refused->message == s("Never removed: it holds memory") ||
                refused->message == s("Never removed: it holds database"))
        << refused->message.toStdString();
    EXPECT_FALSE(plan.rowIDs.contains(home.withMemory));
    EXPECT_TRUE(plan.refused.last().message.contains(s("No such")));
    // Its own state database goes with a workspace folder: it is part of that folder.
    EXPECT_TRUE(plan.trash.urls().contains(home.goneWorkspace));
}

TEST(AgentStorage, RowsAreOfTheirKindForAReasonAndOnlyWhatNobodyCanUseIsTicked) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const AgentStore store = AgentStorage::measure(home.inputs());
    const auto row = [&store](const QString& id) { return rowOf(store, id); };

    const AgentStoreRow live = row(home.liveSession);
    EXPECT_EQ(live.kind, AgentStoreKind::projectHistory);
    EXPECT_EQ(live.name, s("Fix flaky checkout test"));
    EXPECT_EQ(live.project, home.work + s("/shop"));
    EXPECT_FALSE(live.tickedByDefault);
    // The session file, its companion folder, its file history and its to-do list, measured in
    // allocated bytes (at least a block for each of the five files).
    EXPECT_EQ(live.items.size(), 4);
    EXPECT_GE(live.bytes, 5 * 512);
    EXPECT_GE(live.bytes, 5000 + 9000);

    // The two projects of one shared history folder keep apart.
    EXPECT_EQ(row(home.sharedA).kind, AgentStoreKind::projectHistory);
    EXPECT_EQ(row(home.sharedB).kind, AgentStoreKind::unreachable);
    EXPECT_EQ(row(home.sharedB).project, home.work + s("/w-a"));

    const AgentStoreRow orphan = row(home.orphan);
    EXPECT_EQ(orphan.kind, AgentStoreKind::unreachable);
    EXPECT_TRUE(orphan.tickedByDefault);
    EXPECT_EQ(orphan.reason, home.work + s("/gone no longer exists"));
    // A folder that was moved offers relinking first and is not ticked.
    const AgentStoreRow moved = row(home.moved);
    EXPECT_EQ(moved.newPlace, home.work + s("/new-name"));
    EXPECT_FALSE(moved.tickedByDefault);
    EXPECT_TRUE(moved.isOffered());

    EXPECT_EQ(row(home.liveWorkspace).kind, AgentStoreKind::projectHistory);
    EXPECT_EQ(row(home.goneWorkspace).kind, AgentStoreKind::unreachable);
    EXPECT_TRUE(row(home.goneWorkspace).tickedByDefault);

    const AgentStoreRow debug = row(home.locations.home + s("/.claude/debug"));
    EXPECT_EQ(debug.kind, AgentStoreKind::leftovers);
    EXPECT_TRUE(debug.tickedByDefault);
    EXPECT_GE(debug.bytes, 20'000);
    EXPECT_EQ(row(home.locations.codexHome + s("/log")).kind, AgentStoreKind::leftovers);

    const AgentStoreRow codex = row(home.codexThread);
    EXPECT_EQ(codex.name, s("Fix the flaky checkout test"));
    EXPECT_TRUE(codex.isOffered());
    EXPECT_EQ(codex.threadID, home.codexThread);
    EXPECT_EQ(codex.kind, AgentStoreKind::unreachable);
    EXPECT_EQ(row(home.locations.codexHome + s("/auth.json")).kind, AgentStoreKind::neverTouched);
    EXPECT_EQ(row(home.locations.claudeConfig).kind, AgentStoreKind::neverTouched);

    // What can go without a question: the unreachable history and the leftovers.
    qint64 ticked = 0;
    for (const AgentStoreRow& each : store.rows) {
        if (each.tickedByDefault && each.isOffered())
            ticked += each.bytes;
    }
    EXPECT_EQ(store.reclaimableBytes(), ticked);
    EXPECT_GT(store.totalBytes(), store.reclaimableBytes());
}

// Rows keep names in folders, not paths: tens of thousands of sessions would otherwise hold
// three or four long paths each. What a plan moves must still be the whole path of each item.
TEST(AgentStorage, SessionsOfOneFolderShareItAndAPlanNamesEachItemWhole) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const AgentStore store = AgentStorage::measure(home.inputs());
    const AgentStoreRow* live = store.row(home.liveSession);
    const AgentStoreRow* older = store.row(home.olderLiveSession);
    ASSERT_TRUE(live && older);
    ASSERT_FALSE(live->items.isEmpty() || older->items.isEmpty());
    EXPECT_TRUE(live->items.first().folder.isSharedWith(older->items.first().folder));
    EXPECT_TRUE(live->items.at(1).name.isSharedWith(live->id));
    EXPECT_TRUE(live->project.isSharedWith(older->project));

    const AgentStorage::Plan plan = AgentStorage::plan(store, {home.liveSession});
    EXPECT_EQ(plan.trash.urls(), live->paths());
    qint64 planned = 0;
    for (const QString& url : plan.trash.urls()) {
        EXPECT_TRUE(Paths::isUnder(url, live->root) && QFileInfo::exists(url)) << url.toStdString();
        planned += plan.trash.sizeByURL.value(url);
    }
    EXPECT_EQ(planned, live->bytes);
}

TEST(AgentStorage, LooseSubAgentTranscriptsGoWithTheirSessionOrAreSessionsOfTheirOwn) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const AgentStore store = AgentStorage::measure(home.inputs());

    // The transcript of a session that is there is part of that session's row, and nothing else's.
    const AgentStoreRow* older = store.row(home.olderLiveSession);
    ASSERT_TRUE(older);
    const auto loose =
        std::find_if(older->items.cbegin(), older->items.cend(), [&](const AgentStoreItem& item) {
            return item.path() == home.looseOfSession;
        });
    ASSERT_NE(loose, older->items.cend());
    EXPECT_GE(loose->bytes, 3000);
    qsizetype holders = 0;
    for (const AgentStoreRow& row : store.rows)
        holders += row.paths().count(home.looseOfSession);
    EXPECT_EQ(holders, 1);

    // One whose session is gone is a session of its own: its task as title, its project's kind.
    const AgentStoreRow* alone = store.row(home.looseAlone);
    ASSERT_TRUE(alone);
    EXPECT_EQ(alone->name, s("Search the tests for flaky waits"));
    EXPECT_EQ(alone->project, home.work + s("/gone"));
    EXPECT_EQ(alone->kind, AgentStoreKind::unreachable);
    EXPECT_TRUE(alone->tickedByDefault);
    EXPECT_EQ(alone->paths(), QStringList{home.looseAlone});
    EXPECT_GE(alone->bytes, 3000);
    EXPECT_EQ(alone->updatedAt, QFileInfo(home.looseAlone).lastModified());
    const AgentStorage::Plan plan = AgentStorage::plan(store, {home.looseAlone});
    EXPECT_EQ(plan.trash.urls(), QStringList{home.looseAlone});
}

// A session has a to-do list per agent that worked in it, named "<session>-agent-<agent>.json";
// the lists of a session that is gone, and names of no session at all, are leftovers.
TEST(AgentStorage, ToDoListsGoWithTheirSessionAndTheRestWithTheLeftovers) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const QString todos = home.locations.home + s("/.claude/todos/");
    const QString second = todos + home.liveSession + s("-agent-0c1d2e3f.json");
    // Of a session that is not there, whose id starts with the live session's: sorted right
    // after the live session's lists.
    const QString nextTo = todos + home.liveSession + s("x-agent-1.json");
    const QString gone = todos + s("12345678-0000-4000-8000-000000000000-agent-1.json");
    const QString stray = todos + s("notes.json");
    for (const QString& path : {second, nextTo, gone, stray})
        test::writeFile(path, "[]");
    const AgentStore store = AgentStorage::measure(home.inputs());

    const QString first = todos + home.liveSession + s("-agent-") + home.liveSession + s(".json");
    const AgentStoreRow live = rowOf(store, home.liveSession);
    EXPECT_EQ(live.paths().filter(todos), (QStringList{second, first}));
    const AgentStoreRow leftovers = rowOf(store, home.locations.home + s("/.claude/sessions-gone"));
    EXPECT_EQ(leftovers.paths().filter(todos), (QStringList{gone, nextTo, stray}));
    EXPECT_TRUE(
        leftovers.paths().contains(home.locations.home + s("/.claude/file-history/11111111-dead")));
    // Every list belongs to exactly one row.
    QStringList listed;
    for (const AgentStoreRow& row : store.rows)
        listed += row.paths().filter(todos);
    listed.sort();
    QStringList written = QDir(todos).entryList(QDir::Files);
    for (QString& name : written)
        name.prepend(todos);
    written.sort();
    EXPECT_EQ(listed, written);
}

// A home kept elsewhere and linked in is read through the link, as the user sees it.
TEST(AgentStorage, AClaudeFolderThatIsALinkIsMeasuredThroughIt) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const QString linked = test::makeTempDir();
    ASSERT_TRUE(QFile::link(home.locations.home + s("/.claude"), linked + s("/.claude")));
    const AgentStore store = AgentStorage::measure({AgentLocations(linked), {}});

    const AgentStoreRow live = rowOf(store, home.liveSession);
    EXPECT_EQ(live.items.size(), 4);
    EXPECT_EQ(rowOf(store, linked + s("/.claude/settings.json")).kind,
              AgentStoreKind::neverTouched);
    EXPECT_EQ(rowOf(store, linked + s("/.claude/plugins")).kind, AgentStoreKind::neverTouched);
}

TEST(AgentStorage, ClaudeAppRecordsAreHistoryOfTheirProjectFolder) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    const AgentStore store = AgentStorage::measure(home.inputs());
    const auto row = [&store](const QString& id) { return rowOf(store, id); };

    const AgentStoreRow live = row(home.liveRecord);
    EXPECT_EQ(live.name, s("Claude app record: App live"));
    EXPECT_EQ(live.kind, AgentStoreKind::projectHistory);
    EXPECT_FALSE(live.tickedByDefault);
    EXPECT_TRUE(live.isOffered());
    EXPECT_EQ(live.updatedAt->toMSecsSinceEpoch(), 1'753'650'000'000);
    EXPECT_EQ(live.paths(), QStringList{home.liveRecord});

    const AgentStoreRow gone = row(home.goneRecord);
    EXPECT_EQ(gone.kind, AgentStoreKind::unreachable);
    EXPECT_TRUE(gone.tickedByDefault && gone.isOffered());
    // A record of a folder that moved offers relinking first, like its session.
    const AgentStoreRow moved = row(home.movedRecord);
    EXPECT_EQ(moved.newPlace, home.work + s("/new-name"));
    EXPECT_FALSE(moved.tickedByDefault);

    // Only the record file moves, checked against the records folder it lies in.
    const AgentStorage::Plan plan = AgentStorage::plan(store, {home.goneRecord});
    EXPECT_TRUE(plan.refused.isEmpty());
    EXPECT_EQ(plan.trash.urls(), QStringList{home.goneRecord});
    EXPECT_TRUE(Paths::isUnder(gone.root, home.locations.claudeDesktopSessions.at(1)));
}

TEST(AgentStoreRules, KnowsWhatStaysByNameAndLooksInsideFoldersWithoutFollowingLinks) {
    EXPECT_EQ(AgentStoreRules::protectedKind(s("auth.json"), false), s("Credentials"));
    EXPECT_EQ(AgentStoreRules::protectedKind(s("state_5.sqlite-wal"), false), s("Database"));
    EXPECT_EQ(AgentStoreRules::protectedKind(s("plugins"), true), s("Plugins"));
    EXPECT_EQ(AgentStoreRules::protectedKind(s("plugins"), false), std::nullopt);
    EXPECT_EQ(AgentStoreRules::protectedKind(s("session.jsonl"), false), std::nullopt);

    const QString folder = test::makeTempDir();
    test::writeFile(folder + s("/keep/deep/er/settings.local.json"), "{}");
    test::writeFile(folder + s("/plain/a.txt"), "a");
    ASSERT_TRUE(QFile::link(folder + s("/keep"), folder + s("/plain/link")));
    EXPECT_EQ(AgentStoreRules::refusal(folder + s("/keep")), s("Settings"));
    // A link is a name, not a way in.
    EXPECT_EQ(AgentStoreRules::refusal(folder + s("/plain")), std::nullopt);
    test::writeFile(folder + s("/ws/state.vscdb"), "x");
    EXPECT_EQ(AgentStoreRules::refusal(folder + s("/ws")), s("Database"));
    EXPECT_EQ(AgentStoreRules::refusal(folder + s("/ws"), AgentStoreRules::workspaceStateFiles()),
              std::nullopt);
}
