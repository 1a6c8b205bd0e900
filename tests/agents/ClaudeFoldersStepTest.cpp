#include "AgentFixtures.h"
#include "agents/AgentHistoryIndex.h"
#include "agents/AgentRelinker.h"
#include "agents/ClaudeHistory.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

using namespace corvane;

namespace {

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                                  QDir::Name);
}

QString historyFolder(const AgentLocations& locations, const QString& name) {
    return locations.claudeProjects + u'/' + name;
}

QStringList sessionIDsIn(const AgentLocations& locations, const QString& folder) {
    QStringList ids;
    for (const AgentSession& session : AgentHistoryIndex::build(locations).sessionsIn(folder))
        ids.append(session.id);
    ids.sort();
    return ids;
}

// Makes one folder impossible to move, even for root: the immutable flag where the file system
// has it, else no write permission on the folder itself (a folder moved to another parent must
// rewrite its ".." entry). Undone when it goes out of scope.
class Unmovable {
public:
    explicit Unmovable(const QString& folder)
        : folder_(folder) {
#ifdef Q_OS_LINUX
        immutable_ = setImmutable(true);
#endif
        if (!immutable_)
            QFile::setPermissions(folder_, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    }
    ~Unmovable() {
#ifdef Q_OS_LINUX
        if (immutable_)
            setImmutable(false);
#endif
        QFile::setPermissions(folder_, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                           QFileDevice::ExeOwner);
    }
    Unmovable(const Unmovable&) = delete;
    Unmovable& operator=(const Unmovable&) = delete;

    // Whether a move of the folder to another parent really fails here.
    bool works(const QString& elsewhere) const {
        const QString probe = elsewhere + QStringLiteral("/probe");
        if (QDir().rename(folder_, probe)) {
            QDir().rename(probe, folder_);
            return false;
        }
        return true;
    }

private:
#ifdef Q_OS_LINUX
    bool setImmutable(bool on) {
        const int descriptor = ::open(QFile::encodeName(folder_).constData(), O_RDONLY);
        if (descriptor < 0)
            return false;
        int flags = 0;
        bool done = ::ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        done = done && ::ioctl(descriptor, FS_IOC_SETFLAGS, &flags) == 0;
        ::close(descriptor);
        return done;
    }
#endif
    QString folder_;
    bool immutable_ = false;
};

} // namespace

TEST(ClaudeFoldersStep, RenamesTheFoldersOfThePathAndWhatIsInsideButNotOfASibling) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("main"),
                             test::claudeLine(QStringLiteral("/a/b")));
    test::writeClaudeSession(locations, QStringLiteral("-a-b-src"), QStringLiteral("sub"),
                             test::claudeLine(QStringLiteral("/a/b/src")));
    test::writeClaudeSession(locations, QStringLiteral("-a-bc"), QStringLiteral("sibling"),
                             test::claudeLine(QStringLiteral("/a/bc")));
    const AgentRelinker relinker{locations};

    const RelinkReport report = relinker.relink(QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_TRUE(report.warnings.isEmpty()) << report.warnings.join(u'\n').toStdString();
    EXPECT_EQ(report.claudeHistoryFolders, 2);
    ASSERT_EQ(report.claudeFolderMoves.size(), 2);
    EXPECT_EQ(report.claudeFolderMoves[0],
              (ClaudeFolderMove{QStringLiteral("-a-b"), QStringLiteral("-c-b"),
                                QStringLiteral("/a/b"), QStringLiteral("/c/b"), std::nullopt}));
    EXPECT_EQ(
        entriesOf(locations.claudeProjects),
        (QStringList{QStringLiteral("-a-bc"), QStringLiteral("-c-b"), QStringLiteral("-c-b-src")}));
    EXPECT_EQ(locations.claudeFolderLedger.load(),
              (QMap<QString, QString>{{QStringLiteral("-c-b"), QStringLiteral("/c/b")},
                                      {QStringLiteral("-c-b-src"), QStringLiteral("/c/b/src")}}));
    // The session files still say /a/b; the ledger makes them belong to /c/b.
    EXPECT_EQ(sessionIDsIn(locations, QStringLiteral("/c/b")),
              (QStringList{QStringLiteral("main"), QStringLiteral("sub")}));
    EXPECT_TRUE(sessionIDsIn(locations, QStringLiteral("/a/b")).isEmpty());

    const RelinkReport undone =
        relinker.undo(report, QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_TRUE(undone.warnings.isEmpty()) << undone.warnings.join(u'\n').toStdString();
    EXPECT_EQ(undone.claudeHistoryFolders, 2);
    EXPECT_EQ(
        entriesOf(locations.claudeProjects),
        (QStringList{QStringLiteral("-a-b"), QStringLiteral("-a-b-src"), QStringLiteral("-a-bc")}));
    EXPECT_EQ(sessionIDsIn(locations, QStringLiteral("/a/b")),
              (QStringList{QStringLiteral("main"), QStringLiteral("sub")}));
}

TEST(ClaudeFoldersStep, AMergeKeepsBothCopiesAndItsUndoTakesBackOnlyWhatMoved) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldFolder = historyFolder(locations, QStringLiteral("-a-b"));
    const QString newFolder = historyFolder(locations, QStringLiteral("-c-b"));
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("s1"),
                             test::claudeLine(QStringLiteral("/a/b")));
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("s2"),
                             test::claudeLine(QStringLiteral("/a/b")));
    test::writeFile(oldFolder + QStringLiteral("/s2/subagents/agent-1.jsonl"), "{}");
    test::writeClaudeSession(locations, QStringLiteral("-c-b"), QStringLiteral("s1"), "theirs\n");
    test::writeClaudeSession(locations, QStringLiteral("-c-b"), QStringLiteral("native"),
                             test::claudeLine(QStringLiteral("/c/b")));
    const AgentRelinker relinker{locations};

    const RelinkReport report = relinker.relink(QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_EQ(report.warnings, QStringList{QStringLiteral("Kept both copies of Claude Code file "
                                                          "s1.jsonl; the old one stays in ") +
                                           oldFolder});
    ASSERT_EQ(report.claudeFolderMoves.size(), 1);
    EXPECT_EQ(report.claudeFolderMoves[0].movedItems,
              (QStringList{QStringLiteral("s2"), QStringLiteral("s2.jsonl")}));
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(entriesOf(oldFolder), QStringList{QStringLiteral("s1.jsonl")});
    EXPECT_EQ(test::readBytes(newFolder + QStringLiteral("/s1.jsonl")), "theirs\n");
    EXPECT_EQ(entriesOf(newFolder),
              (QStringList{QStringLiteral("native.jsonl"), QStringLiteral("s1.jsonl"),
                           QStringLiteral("s2"), QStringLiteral("s2.jsonl")}));

    // Undo after the old folder went away: it is made again, and the native history stays.
    ASSERT_TRUE(QDir(oldFolder).removeRecursively());
    const RelinkReport undone =
        relinker.undo(report, QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_TRUE(undone.warnings.isEmpty()) << undone.warnings.join(u'\n').toStdString();
    EXPECT_EQ(entriesOf(oldFolder),
              (QStringList{QStringLiteral("s2"), QStringLiteral("s2.jsonl")}));
    EXPECT_EQ(entriesOf(newFolder),
              (QStringList{QStringLiteral("native.jsonl"), QStringLiteral("s1.jsonl")}));
    EXPECT_EQ(test::readBytes(oldFolder + QStringLiteral("/s2/subagents/agent-1.jsonl")), "{}");
}

TEST(ClaudeFoldersStep, FolderNamesLongerThan200CharactersAreNotCreated) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("s"),
                             test::claudeLine(QStringLiteral("/a/b")));
    const AgentRelinker relinker{locations};
    const QString tooLong = u'/' + QString(200, u'x');
    ASSERT_EQ(ClaudeHistory::encodedFolderName(tooLong).size(), 201);

    const RelinkReport refused = relinker.relink(QStringLiteral("/a/b"), tooLong);
    EXPECT_EQ(refused.warnings, QStringList{QStringLiteral("Claude Code history for /a/b was not "
                                                           "moved: the path is too long.")});
    EXPECT_EQ(refused.claudeHistoryFolders, 0);
    EXPECT_EQ(entriesOf(locations.claudeProjects), QStringList{QStringLiteral("-a-b")});

    const QString longest = u'/' + QString(199, u'x');
    const RelinkReport moved = relinker.relink(QStringLiteral("/a/b"), longest);
    EXPECT_TRUE(moved.warnings.isEmpty());
    EXPECT_EQ(entriesOf(locations.claudeProjects),
              QStringList{ClaudeHistory::encodedFolderName(longest)});
}

TEST(ClaudeFoldersStep, FoldersWithoutAReadableCwdFollowTheLedger) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, QStringLiteral("-a-b-far"), QStringLiteral("s"),
                             "{\"pad\":\"" + QByteArray(530'000, 'x') + "\"}\n" +
                                 test::claudeLine(QStringLiteral("/somewhere/else")));
    test::writeClaudeSession(locations, QStringLiteral("-a-b-unknown"), QStringLiteral("s"),
                             "{\"type\":\"summary\"}\n");
    ASSERT_EQ(
        locations.claudeFolderLedger.record(QStringLiteral("-a-b-far"), QStringLiteral("/a/b/far")),
        QString());

    const RelinkReport report =
        AgentRelinker{locations}.relink(QStringLiteral("/a/b"), QStringLiteral("/c"));
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(entriesOf(locations.claudeProjects),
              (QStringList{QStringLiteral("-a-b-unknown"), QStringLiteral("-c-far")}));
    EXPECT_EQ(locations.claudeFolderLedger.load(),
              (QMap<QString, QString>{{QStringLiteral("-c-far"), QStringLiteral("/c/far")}}));
}

TEST(ClaudeFoldersStep, SomethingInTheWayIsReportedAndLeavesTheHistoryWhereItWas) {
    AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("s"),
                             test::claudeLine(QStringLiteral("/a/b")));
    test::writeClaudeSession(locations, QStringLiteral("-a-b-src"), QStringLiteral("s"),
                             test::claudeLine(QStringLiteral("/a/b/src")));
    const QString inTheWay = historyFolder(locations, QStringLiteral("-c-b"));
    test::writeFile(inTheWay, "a file, not a folder");
    // The ledger can't be written either: its folder is that file.
    locations.claudeFolderLedger.url = inTheWay + QStringLiteral("/ledger.json");

    const RelinkReport report =
        AgentRelinker{locations}.relink(QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    ASSERT_EQ(report.warnings.size(), 2);
    EXPECT_EQ(report.warnings[0], QStringLiteral("Claude Code history for /a/b was not moved: ") +
                                      inTheWay +
                                      QStringLiteral(" is in the way and is not a folder."));
    EXPECT_TRUE(report.warnings[1].startsWith(
        QStringLiteral("Claude Code history: the new places of the moved folders could not be "
                       "written down")));
    EXPECT_EQ(entriesOf(historyFolder(locations, QStringLiteral("-a-b"))),
              QStringList{QStringLiteral("s.jsonl")});
    EXPECT_EQ(report.claudeHistoryFolders, 1);
    EXPECT_EQ(test::readBytes(inTheWay), "a file, not a folder");
}

TEST(ClaudeFoldersStep, AnItemThatCannotMoveMidwayStaysAndTheRestMoves) {
    const AgentLocations locations = test::makeAgentHome();
    const QString oldFolder = historyFolder(locations, QStringLiteral("-a-b"));
    const QString newFolder = historyFolder(locations, QStringLiteral("-c-b"));
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("a"),
                             test::claudeLine(QStringLiteral("/a/b")));
    test::writeFile(oldFolder + QStringLiteral("/m-locked/tool-results/r.txt"), "result");
    test::writeClaudeSession(locations, QStringLiteral("-a-b"), QStringLiteral("z"),
                             test::claudeLine(QStringLiteral("/a/b")));
    test::writeClaudeSession(locations, QStringLiteral("-c-b"), QStringLiteral("native"),
                             test::claudeLine(QStringLiteral("/c/b")));
    Unmovable locked(oldFolder + QStringLiteral("/m-locked"));
    if (!locked.works(newFolder))
        GTEST_SKIP() << "no way to make a folder unmovable here";

    const AgentRelinker relinker{locations};
    const RelinkReport report = relinker.relink(QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    ASSERT_EQ(report.warnings.size(), 1);
    EXPECT_TRUE(report.warnings[0].startsWith(
        QStringLiteral("Claude Code file m-locked could not be moved from ") + oldFolder))
        << report.warnings[0].toStdString();
    ASSERT_EQ(report.claudeFolderMoves.size(), 1);
    EXPECT_EQ(report.claudeFolderMoves[0].movedItems,
              (QStringList{QStringLiteral("a.jsonl"), QStringLiteral("z.jsonl")}));
    EXPECT_EQ(entriesOf(oldFolder), QStringList{QStringLiteral("m-locked")});
    EXPECT_EQ(test::readBytes(oldFolder + QStringLiteral("/m-locked/tool-results/r.txt")),
              "result");

    const RelinkReport undone =
        relinker.undo(report, QStringLiteral("/a/b"), QStringLiteral("/c/b"));
    EXPECT_TRUE(undone.warnings.isEmpty()) << undone.warnings.join(u'\n').toStdString();
    EXPECT_EQ(entriesOf(oldFolder),
              (QStringList{QStringLiteral("a.jsonl"), QStringLiteral("m-locked"),
                           QStringLiteral("z.jsonl")}));
    EXPECT_EQ(entriesOf(newFolder), QStringList{QStringLiteral("native.jsonl")});
}
