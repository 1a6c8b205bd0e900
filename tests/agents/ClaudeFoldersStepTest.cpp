#include "AgentFixtures.h"
#include "agents/AgentHistoryIndex.h"
#include "agents/AgentRelinker.h"
#include "agents/ClaudeHistory.h"
#include "support/LockedFolder.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                                  QDir::Name);
}

QString historyFolder(const AgentLocations& locations, const QString& name) {
    return locations.claudeProjects + u'/' + name;
}

} // namespace

TEST(ClaudeFoldersStep, RenamesTheFoldersOfThePathAndWhatIsInsideButNotOfASiblingNorUnknown) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSessionIn(locations, s("/a/b"), s("main"));
    test::writeClaudeSessionIn(locations, s("/a/b/src"), s("sub"));
    test::writeClaudeSessionIn(locations, s("/a/bc"), s("sibling"));
    // One whose first "cwd" lies beyond what is read follows the ledger; one nobody knows stays.
    test::writeClaudeSession(locations, s("-a-b-far"), s("s"),
                             "{\"pad\":\"" + QByteArray(530'000, 'x') + "\"}\n" +
                                 test::claudeLine(s("/somewhere/else")));
    test::writeClaudeSession(locations, s("-a-b-unknown"), s("s"), "{\"type\":\"summary\"}\n");
    ASSERT_EQ(locations.claudeFolderLedger.record(s("-a-b-far"), s("/a/b/far")).error, QString());
    const AgentRelinker relinker{locations};

    const RelinkReport report = relinker.relink(s("/a/b"), s("/c/b"));
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(report.claudeHistoryFolders, 3);
    ASSERT_EQ(report.claudeFolderMoves.size(), 3);
    EXPECT_EQ(report.claudeFolderMoves[0],
              (ClaudeFolderMove{s("-a-b"), s("-c-b"), s("/a/b"), s("/c/b"), std::nullopt}));
    EXPECT_EQ(
        entriesOf(locations.claudeProjects),
        (QStringList{s("-a-b-unknown"), s("-a-bc"), s("-c-b"), s("-c-b-far"), s("-c-b-src")}));
    EXPECT_EQ(locations.claudeFolderLedger.load(),
              (QMap<QString, QString>{{s("-c-b"), s("/c/b")},
                                      {s("-c-b-far"), s("/c/b/far")},
                                      {s("-c-b-src"), s("/c/b/src")}}));
    // The session files still say /a/b; the ledger makes them belong to /c/b.
    EXPECT_EQ(test::sessionIDsIn(locations, s("/c/b")), (QStringList{s("main"), s("s"), s("sub")}));
    EXPECT_TRUE(test::sessionIDsIn(locations, s("/a/b")).isEmpty());

    const RelinkReport undone = relinker.undo(report, s("/a/b"), s("/c/b"));
    EXPECT_EQ(undone.warnings, QStringList());
    EXPECT_EQ(undone.claudeHistoryFolders, 3);
    EXPECT_EQ(
        entriesOf(locations.claudeProjects),
        (QStringList{s("-a-b"), s("-a-b-far"), s("-a-b-src"), s("-a-b-unknown"), s("-a-bc")}));
    EXPECT_EQ(test::sessionIDsIn(locations, s("/a/b")), (QStringList{s("main"), s("s"), s("sub")}));
}

TEST(ClaudeFoldersStep, AMergeKeepsBothCopiesAndItsUndoTakesBackOnlyWhatMoved) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldFolder = historyFolder(locations, s("-a-b"));
    const QString newFolder = historyFolder(locations, s("-c-b"));
    test::writeClaudeSessionIn(locations, s("/a/b"), s("s1"));
    test::writeClaudeSessionIn(locations, s("/a/b"), s("s2"));
    test::writeFile(oldFolder + s("/s2/subagents/agent-1.jsonl"), "{}");
    test::writeClaudeSession(locations, s("-c-b"), s("s1"), "theirs\n");
    test::writeClaudeSessionIn(locations, s("/c/b"), s("native"));
    const AgentRelinker relinker{locations};

    const RelinkReport report = relinker.relink(s("/a/b"), s("/c/b"));
    EXPECT_EQ(report.warnings, QStringList{QStringLiteral("Kept both copies of Claude Code file "
                                                          "s1.jsonl; the old one stays in ") +
                                           oldFolder});
    ASSERT_EQ(report.claudeFolderMoves.size(), 1);
    EXPECT_EQ(report.claudeFolderMoves[0].movedItems, (QStringList{s("s2"), s("s2.jsonl")}));
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(entriesOf(oldFolder), QStringList{s("s1.jsonl")});
    EXPECT_EQ(test::readBytes(newFolder + s("/s1.jsonl")), "theirs\n");
    EXPECT_EQ(entriesOf(newFolder),
              (QStringList{s("native.jsonl"), s("s1.jsonl"), s("s2"), s("s2.jsonl")}));

    // Undo after the old folder went away: it is made again, and the native history stays.
    ASSERT_TRUE(QDir(oldFolder).removeRecursively());
    const RelinkReport undone = relinker.undo(report, s("/a/b"), s("/c/b"));
    EXPECT_EQ(undone.warnings, QStringList());
    EXPECT_EQ(entriesOf(oldFolder), (QStringList{s("s2"), s("s2.jsonl")}));
    EXPECT_EQ(entriesOf(newFolder), (QStringList{s("native.jsonl"), s("s1.jsonl")}));
    EXPECT_EQ(test::readBytes(oldFolder + s("/s2/subagents/agent-1.jsonl")), "{}");
}

TEST(ClaudeFoldersStep, FolderNamesLongerThan200CharactersAreNotCreated) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSessionIn(locations, s("/a/b"));
    const AgentRelinker relinker{locations};
    const QString tooLong = u'/' + QString(200, u'x');
    ASSERT_EQ(ClaudeHistory::encodedFolderName(tooLong).size(), 201);

    const RelinkReport refused = relinker.relink(s("/a/b"), tooLong);
    EXPECT_EQ(refused.warnings, QStringList{QStringLiteral("Claude Code history for /a/b was not "
                                                           "moved: the path is too long.")});
    EXPECT_EQ(refused.claudeHistoryFolders, 0);
    EXPECT_EQ(entriesOf(locations.claudeProjects), QStringList{s("-a-b")});

    const QString longest = u'/' + QString(199, u'x');
    const RelinkReport moved = relinker.relink(s("/a/b"), longest);
    EXPECT_TRUE(moved.warnings.isEmpty());
    EXPECT_EQ(entriesOf(locations.claudeProjects),
              QStringList{ClaudeHistory::encodedFolderName(longest)});
}

TEST(ClaudeFoldersStep, SomethingInTheWayIsReportedAndLeavesTheHistoryWhereItWas) {
    AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSessionIn(locations, s("/a/b"));
    test::writeClaudeSessionIn(locations, s("/a/b/src"));
    const QString inTheWay = historyFolder(locations, s("-c-b"));
    test::writeFile(inTheWay, "a file, not a folder");
    // The ledger can't be written either: its folder is that file.
    locations.claudeFolderLedger.url = inTheWay + s("/ledger.json");

    const RelinkReport report = AgentRelinker{locations}.relink(s("/a/b"), s("/c/b"));
    ASSERT_EQ(report.warnings.size(), 2);
    EXPECT_EQ(report.warnings[0], s("Claude Code history for /a/b was not moved: ") + inTheWay +
                                      s(" is in the way and is not a folder."));
    EXPECT_TRUE(report.warnings[1].startsWith(
        QStringLiteral("Claude Code history: the new places of the moved folders could not be "
                       "written down")));
    EXPECT_EQ(entriesOf(historyFolder(locations, s("-a-b"))), QStringList{s("s.jsonl")});
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(test::readBytes(inTheWay), "a file, not a folder");
}

TEST(ClaudeFoldersStep, AnItemThatCannotMoveMidwayStaysAndTheRestMoves) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldFolder = historyFolder(locations, s("-a-b"));
    const QString newFolder = historyFolder(locations, s("-c-b"));
    test::writeClaudeSessionIn(locations, s("/a/b"), s("a"));
    test::writeFile(oldFolder + s("/m-locked/tool-results/r.txt"), "result");
    test::writeClaudeSessionIn(locations, s("/a/b"), s("z"));
    test::writeClaudeSessionIn(locations, s("/c/b"), s("native"));
    const test::LockedFolder locked(oldFolder + s("/m-locked"));
    if (!locked.refusesMoves(newFolder))
        GTEST_SKIP() << "no way to make a folder unmovable here";

    const AgentRelinker relinker{locations};
    const RelinkReport report = relinker.relink(s("/a/b"), s("/c/b"));
    ASSERT_EQ(report.warnings.size(), 1);
    EXPECT_TRUE(report.warnings[0].startsWith(
        s("Claude Code file m-locked could not be moved from ") + oldFolder))
        << report.warnings[0].toStdString();
    ASSERT_EQ(report.claudeFolderMoves.size(), 1);
    EXPECT_EQ(report.claudeFolderMoves[0].movedItems, (QStringList{s("a.jsonl"), s("z.jsonl")}));
    EXPECT_EQ(entriesOf(oldFolder), QStringList{s("m-locked")});
    EXPECT_EQ(test::readBytes(oldFolder + s("/m-locked/tool-results/r.txt")), "result");

    const RelinkReport undone = relinker.undo(report, s("/a/b"), s("/c/b"));
    EXPECT_EQ(undone.warnings, QStringList());
    EXPECT_EQ(entriesOf(oldFolder), (QStringList{s("a.jsonl"), s("m-locked"), s("z.jsonl")}));
    EXPECT_EQ(entriesOf(newFolder), QStringList{s("native.jsonl")});
}

TEST(ClaudeFoldersStep, AFolderSharedByTwoProjectsGivesUpOnlyTheSessionsOfTheMovedOne) {
    const AgentLocations locations = test::makeAgentHome();
    // "/w/a" and "/w-a" both encode to "-w-a": Claude Code keeps their sessions side by side.
    test::writeClaudeSessionIn(locations, s("/w/a"), s("moved"));
    test::writeClaudeSessionIn(locations, s("/w-a"), s("stays"));
    const QString shared = historyFolder(locations, s("-w-a"));
    test::writeFile(shared + s("/moved/subagents/agent-1.jsonl"), test::claudeLine(s("/w/a")));
    test::writeFile(shared + s("/stays/tool-results/r.txt"), "x");
    const AgentRelinker relinker{locations};

    const RelinkReport report = relinker.relink(s("/w/a"), s("/x/a"));
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(report.claudeFolderMoves,
              (QList<ClaudeFolderMove>{{s("-w-a"), s("-x-a"), s("/w/a"), s("/x/a"),
                                        QStringList{s("moved.jsonl"), s("moved")}}}));
    EXPECT_EQ(entriesOf(shared), (QStringList{s("stays"), s("stays.jsonl")}));
    EXPECT_EQ(entriesOf(historyFolder(locations, s("-x-a"))),
              (QStringList{s("moved"), s("moved.jsonl")}));
    EXPECT_EQ(test::sessionIDsIn(locations, s("/x/a")), QStringList{s("moved")});
    EXPECT_EQ(test::sessionIDsIn(locations, s("/w-a")), QStringList{s("stays")});
    EXPECT_TRUE(test::sessionIDsIn(locations, s("/w/a")).isEmpty());
    EXPECT_EQ(locations.claudeFolderLedger.load(),
              (QMap<QString, QString>{{s("-x-a/moved.jsonl"), s("/x/a")}}));

    // Moving the other project afterwards takes what is left, and nothing of the first.
    const RelinkReport second = relinker.relink(s("/w-a"), s("/y/w-a"));
    EXPECT_EQ(second.claudeFolderMoves,
              (QList<ClaudeFolderMove>{{s("-w-a"), s("-y-w-a"), s("/w-a"), s("/y/w-a"), {}}}));
    EXPECT_EQ(test::sessionIDsIn(locations, s("/x/a")), QStringList{s("moved")});
    EXPECT_EQ(relinker.undo(second, s("/w-a"), s("/y/w-a")).warnings, QStringList());

    const RelinkReport undone = relinker.undo(report, s("/w/a"), s("/x/a"));
    EXPECT_EQ(undone.warnings, QStringList());
    EXPECT_EQ(entriesOf(shared),
              (QStringList{s("moved"), s("moved.jsonl"), s("stays"), s("stays.jsonl")}));
    EXPECT_FALSE(QFileInfo::exists(historyFolder(locations, s("-x-a"))));
    EXPECT_EQ(test::sessionIDsIn(locations, s("/w/a")), QStringList{s("moved")});
    EXPECT_EQ(test::sessionIDsIn(locations, s("/w-a")), QStringList{s("stays")});
    // Only the folder renamed back as a whole is written down, as any renamed folder is.
    EXPECT_EQ(locations.claudeFolderLedger.load(),
              (QMap<QString, QString>{{s("-w-a"), s("/w-a")}}));
}

TEST(ClaudeFoldersStep, RelinkingBackwardsBringsSharedFolderSessionsHomeToo) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSessionIn(locations, s("/w/foo_bar"), s("moved"));
    test::writeClaudeSessionIn(locations, s("/w/foo-bar"), s("stays"));
    // The folder of the new path exists already and holds a project of its own.
    test::writeClaudeSessionIn(locations, s("/x/foo-bar"), s("resident"));
    const AgentRelinker relinker{locations};

    const RelinkReport report = relinker.relink(s("/w/foo_bar"), s("/x/foo_bar"));
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(test::sessionIDsIn(locations, s("/x/foo_bar")), QStringList{s("moved")});
    EXPECT_EQ(test::sessionIDsIn(locations, s("/x/foo-bar")), QStringList{s("resident")});

    // What recovering from a move cut short does: the same relink the other way.
    const RelinkReport back = relinker.relink(s("/x/foo_bar"), s("/w/foo_bar"));
    EXPECT_EQ(back.warnings, QStringList());
    EXPECT_EQ(entriesOf(historyFolder(locations, s("-w-foo-bar"))),
              (QStringList{s("moved.jsonl"), s("stays.jsonl")}));
    EXPECT_EQ(entriesOf(historyFolder(locations, s("-x-foo-bar"))),
              QStringList{s("resident.jsonl")});
    EXPECT_EQ(test::sessionIDsIn(locations, s("/w/foo_bar")), QStringList{s("moved")});
    EXPECT_EQ(locations.claudeFolderLedger.load(), (QMap<QString, QString>{}));
}
