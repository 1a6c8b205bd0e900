#include "organize/ProjectMover.h"

#include "../agents/AgentFixtures.h"
#include "OrganizeFixtures.h"
#include "platform/Volumes.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QUuid>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::s;

// The message of the refusal `move` throws, or "moved" when it went through.
QString refusalOf(const ProjectMover& mover, const QString& source, const QString& destination) {
    try {
        mover.move(source, destination);
        return s("moved");
    } catch (const ProjectMoverError& error) {
        return error.message();
    }
}

QString undoRefusalOf(const ProjectMover& mover, const MoveRecord& record) {
    try {
        mover.undo(record);
        return s("undone");
    } catch (const ProjectMoverError& error) {
        return error.message();
    }
}

// A folder made under /dev/shm for one test and removed with everything in it afterwards.
struct ScratchOnOtherDevice {
    QString path = s("/dev/shm/corvane-test-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    ScratchOnOtherDevice() { QDir().mkpath(path); }
    ~ScratchOnOtherDevice() { QDir(path).removeRecursively(); }
};

TEST(ProjectMover, RefusesEachBadMoveBeforeAnythingChanges) {
    const AgentLocations locations = test::makeAgentHome();
    const ProjectMover mover = test::moverFor(locations);
    const QString root = test::makeTempDir(s("refusals"));
    const QString app = root + s("/code/app");
    test::makeProject(locations, app, s("a1"));
    QDir().mkpath(root + s("/real"));
    QFile::link(root + s("/real"), root + s("/linked"));
    QFile::link(root + s("/nowhere"), root + s("/dangling"));
    QFile::link(app, root + s("/into-app"));
    test::writeFile(root + s("/a-file"));
    const QMap<QString, QByteArray> before = test::folderSnapshot(root);
    const QMap<QString, QByteArray> historyBefore = test::folderSnapshot(locations.home);

    EXPECT_EQ(refusalOf(mover, root + s("/code/gone"), root + s("/new/gone")),
              root + s("/code/gone does not exist."));
    EXPECT_EQ(refusalOf(mover, root + s("/linked"), root + s("/new/linked")),
              root + s("/linked is a symbolic link."));
    // A dangling link is something too.
    EXPECT_EQ(refusalOf(mover, app, root + s("/dangling")), root + s("/dangling already exists."));
    EXPECT_EQ(refusalOf(mover, app, root + s("/real")), root + s("/real already exists."));
    EXPECT_EQ(refusalOf(mover, app, app), s("Cannot move a folder into itself."));
    EXPECT_EQ(refusalOf(mover, app, app + s("/new/app")), s("Cannot move a folder into itself."));
    EXPECT_EQ(refusalOf(mover, app, root + s("/into-app/new/app")),
              s("Cannot move a folder into itself."));
    // A neighbour whose name begins with the source's is not inside it.
    QDir().mkpath(root + s("/code/app-old"));
    EXPECT_EQ(refusalOf(mover, app, root + s("/code/app-old")),
              root + s("/code/app-old already exists."));
    QDir().rmdir(root + s("/code/app-old"));
    // A file where a folder should be made, or a name too long for one: the folders made before
    // it are removed again.
    EXPECT_EQ(refusalOf(mover, app, root + s("/a-file/sub/app")),
              s("Could not create ") + root + s("/a-file/sub: Not a directory"));
    const QString tooLong = root + s("/new/") + QString(300, u'x');
    EXPECT_EQ(refusalOf(mover, app, tooLong + s("/app")),
              s("Could not create ") + tooLong + s(": File name too long"));
    EXPECT_EQ(test::folderSnapshot(root), before);
    EXPECT_EQ(test::folderSnapshot(locations.home), historyBefore);
}

TEST(ProjectMover, RefusesADestinationOnAnotherDiskEvenThroughALink) {
    const AgentLocations locations = test::makeAgentHome();
    const QString root = test::makeTempDir(s("disks"));
    const QString app = root + s("/app");
    test::makeProject(locations, app, s("a1"));
    const ScratchOnOtherDevice other;
    if (Volumes::identifier(other.path) == Volumes::identifier(root))
        GTEST_SKIP() << "/dev/shm is on the same device as the test folder here";
    QFile::link(other.path, root + s("/external"));
    const QMap<QString, QByteArray> before = test::folderSnapshot(root);
    const ProjectMover mover = test::moverFor(locations);

    EXPECT_EQ(refusalOf(mover, app, other.path + s("/deeper/app")),
              s("The destination is on another disk."));
    // rename(2) would follow the link, so the disk the link leads to is the one that counts.
    EXPECT_EQ(refusalOf(mover, app, root + s("/external/deeper/app")),
              s("The destination is on another disk."));
    EXPECT_EQ(test::folderSnapshot(root), before);
    EXPECT_TRUE(QDir(other.path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

TEST(ProjectMover, RefusesToMoveOrPutBackAFolderAProcessWorksIn) {
    if (!QFileInfo::exists(s("/usr/bin/lsof")) && !QFileInfo::exists(s("/usr/sbin/lsof")))
        GTEST_SKIP() << "lsof is not installed here";
    const AgentLocations locations = test::makeAgentHome();
    const ProjectMover mover = test::moverFor(locations);
    const QString root = test::makeTempDir(s("busy"));
    const QString app = root + s("/code/app");
    test::makeProject(locations, app, s("a1"));
    const QString destination = root + s("/new/app");

    QProcess child;
    child.setWorkingDirectory(app + s("/src"));
    child.start(s("/bin/sleep"), {s("30")});
    ASSERT_TRUE(child.waitForStarted());
    const QString refusal = refusalOf(mover, app, destination);
    child.kill();
    child.waitForFinished();
    EXPECT_EQ(refusal, s("process sleep is running inside ") + app);
    EXPECT_TRUE(QFileInfo(app + s("/.git")).isDir());
    EXPECT_FALSE(QFileInfo::exists(root + s("/new")));

    const MoveRecord record = mover.move(app, destination);
    child.setWorkingDirectory(destination);
    child.start(s("/bin/sleep"), {s("30")});
    ASSERT_TRUE(child.waitForStarted());
    const QString undoRefusal = undoRefusalOf(mover, record);
    child.kill();
    child.waitForFinished();
    EXPECT_EQ(undoRefusal, s("process sleep is running inside ") + destination);
    EXPECT_TRUE(QFileInfo(destination + s("/.git")).isDir());
}

TEST(ProjectMover, AFailedRenameRemovesTheFoldersItCreated) {
    const AgentLocations locations = test::makeAgentHome();
    const ProjectMover mover = test::moverFor(locations);
    const QString root = test::makeTempDir(s("rename"));
    const QString app = root + s("/app");
    test::makeProject(locations, app, s("a1"));
    QDir().mkpath(root + s("/kept"));
    const QMap<QString, QByteArray> before = test::folderSnapshot(root);

    // Every check passes on a name the file system cannot hold; only the rename fails.
    const QString destination = root + s("/kept/new/deeper/") + QString(300, u'x');
    // Only the cause: every front end already says which move failed.
    EXPECT_EQ(refusalOf(mover, app, destination), s("File name too long"));
    EXPECT_EQ(test::folderSnapshot(root), before);
    EXPECT_EQ(test::sessionIDsIn(locations, app), QStringList{s("a1")});
}

TEST(ProjectMover, MovesWithTheHistoryAndUndoRemovesOnlyTheFoldersLeftEmpty) {
    const AgentLocations locations = test::makeAgentHome();
    const ProjectMover mover = test::moverFor(locations);
    const QString root = test::makeTempDir(s("move"));
    const QString app = root + s("/code/app");
    const QString site = root + s("/code/site");
    test::makeProject(locations, app, s("a1"));
    test::makeProject(locations, site, s("s1"));
    const QMap<QString, QByteArray> appBefore = test::folderSnapshot(app);

    const MoveRecord record = mover.move(app, root + s("/projects/claude/app"));
    EXPECT_EQ(record.source, app);
    EXPECT_EQ(record.destination, root + s("/projects/claude/app"));
    EXPECT_EQ(record.createdFolders,
              (QStringList{root + s("/projects"), root + s("/projects/claude")}));
    EXPECT_TRUE(record.movedFolder);
    EXPECT_EQ(record.relink.claudeHistoryFolders, 1);
    EXPECT_EQ(record.relink.warnings, QStringList());
    EXPECT_FALSE(QFileInfo::exists(app));
    EXPECT_EQ(test::folderSnapshot(record.destination), appBefore);
    EXPECT_EQ(test::sessionIDsIn(locations, record.destination), QStringList{s("a1")});
    EXPECT_TRUE(test::sessionIDsIn(locations, app).isEmpty());

    // The second move into the same group creates nothing; undone in reverse order, the
    // folders go again once the last project leaves them.
    const MoveRecord second = mover.move(site, root + s("/projects/claude/site"));
    EXPECT_EQ(second.createdFolders, QStringList());
    test::writeFile(root + s("/projects/notes.txt"), "mine");

    mover.undo(second);
    EXPECT_TRUE(QFileInfo(site + s("/.git")).isDir());
    EXPECT_TRUE(QFileInfo(record.destination).isDir());
    mover.undo(record);
    EXPECT_EQ(test::folderSnapshot(app), appBefore);
    EXPECT_EQ(test::sessionIDsIn(locations, app), QStringList{s("a1")});
    EXPECT_TRUE(test::sessionIDsIn(locations, record.destination).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(root + s("/projects/claude")));
    // A created folder that gained a file since stays, with the file.
    EXPECT_EQ(test::readBytes(root + s("/projects/notes.txt")), QByteArray("mine"));
}

TEST(ProjectMover, UndoRefusesWhenTheProjectIsNotWhereTheMoveLeftIt) {
    const AgentLocations locations = test::makeAgentHome();
    const ProjectMover mover = test::moverFor(locations);
    const QString root = test::makeTempDir(s("undo-refusals"));
    const QString app = root + s("/code/app");
    test::makeProject(locations, app, s("a1"));
    const MoveRecord record = mover.move(app, root + s("/projects/app"));

    // The old place taken, even by an empty folder: nothing changes.
    QDir().mkpath(app);
    QMap<QString, QByteArray> before = test::folderSnapshot(root);
    EXPECT_EQ(undoRefusalOf(mover, record), s("Something now exists at ") + app);
    EXPECT_EQ(test::folderSnapshot(root), before);
    EXPECT_EQ(test::sessionIDsIn(locations, record.destination), QStringList{s("a1")});
    QDir().rmdir(app);

    // Moved back by hand: the project is at its old place.
    QDir().rename(record.destination, app);
    EXPECT_EQ(undoRefusalOf(mover, record), app + s(" still exists; move it instead."));
    // Gone from both places.
    QDir().rename(app, root + s("/elsewhere"));
    EXPECT_EQ(undoRefusalOf(mover, record), record.destination + s(" is no longer there."));
    // A file where the folder was is not the folder.
    test::writeFile(record.destination, "not the project");
    EXPECT_EQ(undoRefusalOf(mover, record), record.destination + s(" is no longer there."));
}

} // namespace
} // namespace corvane
