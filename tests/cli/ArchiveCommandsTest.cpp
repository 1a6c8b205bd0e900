#include "cli/ArchiveCommands.h"

#include "agents/AgentFixtures.h"
#include "archive/DestinationsStore.h"
#include "cli/Command.h"
#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::cli;
using test::s;

namespace {

QJsonDocument parsed(const QString& text) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text.toStdString();
    return document;
}

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

// A project with agent history in this test process's fake home, as the commands see it.
class ArchiveCommandsTest : public testing::Test {
protected:
    void SetUp() override {
        project = test::fakeHome() + s("/code/shop");
        test::writeFile(project + s("/README.md"), "hello");
        test::writeFile(project + s("/.env.example"), "KEY=");
        test::writeClaudeSessionIn(AgentLocations(), project, s("shop-session"));
    }

    QString project;
    QString out;
    QString err;
};

} // namespace

TEST_F(ArchiveCommandsTest, ArchiveListAndRestoreElsewhereWithTheHistoryFollowing) {
    Console console(&out, &err);
    const QString drive = test::makeTempDir(s("drive"));
    ArchiveRequest request;
    request.project = project;
    request.folder = drive;
    request.yes = true;
    request.json = true;
    ASSERT_EQ(runArchive(request, console), exitOk) << err.toStdString();
    const QJsonObject archived = parsed(out).object();
    EXPECT_EQ(archived[u"finished"].toString(), drive + s("/shop"));
    const QJsonObject record = archived[u"record"].toObject();
    EXPECT_EQ(record.keys(),
              (QStringList{s("agentSessionCount"), s("archivedAt"), s("id"), s("location"),
                           s("name"), s("originalPath"), s("verifiedBy")}));
    EXPECT_EQ(record[u"verifiedBy"].toString(), s("content"));
    EXPECT_EQ(record[u"agentSessionCount"].toInt(), 1);
    EXPECT_EQ(record[u"location"][u"folder"][u"path"].toString(), drive + s("/shop"));
    EXPECT_FALSE(QFileInfo::exists(project));

    out.clear();
    ASSERT_EQ(runArchives(true, console), exitOk);
    const QJsonArray list = parsed(out).array();
    ASSERT_EQ(list.size(), 1);
    EXPECT_TRUE(list[0][u"available"].toBool());
    EXPECT_EQ(list[0][u"id"].toString(), record[u"id"].toString());

    out.clear();
    const QString elsewhere = test::fakeHome() + s("/restored");
    ASSERT_EQ(runRestore(s("shop"), elsewhere, true, console), exitOk) << err.toStdString();
    const QJsonObject restored = parsed(out).object();
    EXPECT_EQ(restored[u"finished"].toString(), elsewhere + s("/shop"));
    EXPECT_EQ(restored[u"relink"][u"claudeHistoryFolders"].toInt(), 1);
    EXPECT_EQ(test::sessionIDsIn(AgentLocations(), elsewhere + s("/shop")),
              QStringList{s("shop-session")});
    EXPECT_TRUE(QFileInfo::exists(drive + s("/shop/README.md"))) << "the archive stays";

    // The record is kept, marked restored, with the report of the relink.
    out.clear();
    ASSERT_EQ(runArchives(true, console), exitOk);
    const QJsonObject stored = parsed(out).array().first().toObject();
    EXPECT_EQ(stored[u"restoredPath"].toString(), elsewhere + s("/shop"));
    EXPECT_TRUE(stored.contains(u"restoredAt"));
    EXPECT_TRUE(stored.contains(u"relink"));

    // A second restore to the same place finds it taken and leaves both copies as they are.
    out.clear();
    EXPECT_EQ(runRestore(record[u"id"].toString(), elsewhere, true, console), exitSomeFailed);
    EXPECT_EQ(parsed(out).object()[u"failed"].toString(),
              s("Restoring shop failed: ") + elsewhere + s("/shop already exists"));
}

TEST_F(ArchiveCommandsTest, NothingChangesWithoutConfirmationOrWithAnUnclearTarget) {
    Console console(&out, &err);
    ArchiveRequest request;
    request.project = project;
    request.folder = test::makeTempDir(s("drive"));
    EXPECT_EQ(runArchive(request, console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("confirm with --yes")));

    request.yes = true;
    request.volume = s("Backup");
    EXPECT_EQ(runArchive(request, console), exitRefusedOrBadArguments);
    request.folder.reset();
    EXPECT_EQ(runArchive(request, console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("No mounted volume is named Backup")));
    EXPECT_TRUE(QFileInfo::exists(project + s("/README.md")));

    const ProcessResult unknown = runCorvane({s("restore"), s("nothing-like-it")});
    EXPECT_EQ(unknown.exitCode, exitRefusedOrBadArguments);
}

TEST_F(ArchiveCommandsTest, VolumesAndSavedDestinationsThroughTheCommand) {
    const QString volumes = test::makeTempDir(s("volumes"));
    QDir().mkpath(volumes + s("/Backup"));
    QDir().mkpath(volumes + s("/Old Drive/BrushwickArchive"));
    const test::ScopedEnvironment volumesDir("CORVANE_VOLUMES_DIR", volumes);
    const ProcessResult listed = runCorvane({s("volumes"), s("--json")});
    ASSERT_EQ(listed.exitCode, exitOk) << listed.standardError.toStdString();
    const QJsonArray mounted = QJsonDocument::fromJson(listed.standardOutput)[u"volumes"].toArray();
    ASSERT_EQ(mounted.size(), 2);
    EXPECT_EQ(mounted[0][u"archiveFolder"].toString(), volumes + s("/Backup/CorvaneArchive"));
    EXPECT_EQ(mounted[1][u"archiveFolder"].toString(), volumes + s("/Old Drive/BrushwickArchive"));
    EXPECT_FALSE(mounted[1][u"isNetwork"].toBool());

    EXPECT_EQ(runCorvane({s("destinations"), s("add-ssh"), s("nas"), s("me@nas.local")}).exitCode,
              exitOk);
    EXPECT_EQ(runCorvane({s("destinations"), s("add-smb"), s("office"), s("not a url")}).exitCode,
              exitRefusedOrBadArguments);
    const ProcessResult saved = runCorvane({s("destinations"), s("--json")});
    const QJsonArray destinations =
        QJsonDocument::fromJson(saved.standardOutput)[u"destinations"].toArray();
    ASSERT_EQ(destinations.size(), 1);
    EXPECT_EQ(destinations[0][u"remotePath"].toString(), s("~/CorvaneArchive"));
    EXPECT_EQ(destinations[0][u"host"].toString(), s("nas.local"));

    // A server that refuses the key: the one-line answer says how to set it up, exit 1.
    const QString ssh = test::makeTempDir(s("tools")) + s("/ssh");
    test::writeScript(ssh, "echo 'me@nas.local: Permission denied (publickey).' >&2\nexit 255\n");
    const test::ScopedEnvironment sshTool("CORVANE_TOOL_SSH", ssh);
    const ProcessResult tested = runCorvane({s("destinations"), s("test"), s("nas")});
    EXPECT_EQ(tested.exitCode, exitSomeFailed);
    EXPECT_EQ(QString::fromUtf8(tested.standardOutput), s("Key auth missing. Run once in ") +
                                                            PlatformWords::here().terminal +
                                                            s(": ssh-copy-id me@nas.local\n"));

    EXPECT_EQ(runCorvane({s("destinations"), s("remove"), s("nas")}).exitCode, exitOk);
    EXPECT_EQ(runCorvane({s("destinations"), s("remove"), s("nas")}).exitCode,
              exitRefusedOrBadArguments);
}

TEST_F(ArchiveCommandsTest, AnArchiveKilledMidCopyIsNamedByTheNextRunAndRemovedOnlyWhenAsked) {
    const QString big = test::fakeHome() + s("/code/big");
    QByteArray data(96 * 1024 * 1024, Qt::Uninitialized);
    for (qsizetype i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>((i * 31 + i / 4093) % 251);
    test::writeFile(big + s("/data.bin"), data);
    test::writeFile(big + s("/README.md"), "big");
    const QString drive = test::makeTempDir(s("killed-drive"));
    const QString partial = drive + s("/big");

    // The real command, killed the moment its copy has begun.
    QProcess corvane;
    corvane.start(s(CORVANE_EXECUTABLE), {s("archive"), big, s("--to"), drive, s("--yes")});
    ASSERT_TRUE(corvane.waitForStarted());
    const bool copying = QTest::qWaitFor(
        [&] {
            return QFileInfo::exists(partial + s("/.corvane-partial")) ||
                   corvane.state() == QProcess::NotRunning;
        },
        30000);
    ::kill(pid_t(corvane.processId()), SIGKILL);
    corvane.waitForFinished();
    ASSERT_TRUE(copying && QFileInfo::exists(partial + s("/.corvane-partial")))
        << "the copy never began, or ended before it could be killed";
    EXPECT_TRUE(QFileInfo::exists(big + s("/data.bin")));

    const ProcessResult retry = runCorvane({s("archive"), big, s("--to"), drive, s("--yes")});
    EXPECT_EQ(retry.exitCode, exitSomeFailed);
    const QString said = QString::fromUtf8(retry.standardError);
    EXPECT_TRUE(said.contains(partial + s(" is a partial copy from an interrupted run.")) &&
                said.contains(s("--remove-partial")))
        << said.toStdString();
    EXPECT_TRUE(QFileInfo::exists(partial + s("/.corvane-partial")));

    const ProcessResult removed = runCorvane(
        {s("archive"), big, s("--to"), drive, s("--yes"), s("--remove-partial"), s("--json")});
    ASSERT_EQ(removed.exitCode, exitOk) << removed.standardError.toStdString();
    EXPECT_EQ(parsed(QString::fromUtf8(removed.standardOutput))
                  .object()[u"record"]
                  .toObject()[u"verifiedBy"]
                  .toString(),
              s("content"));
    EXPECT_EQ(QFileInfo(partial + s("/data.bin")).size(), data.size());
    EXPECT_FALSE(QFileInfo::exists(partial + s("/.corvane-partial")));
    EXPECT_FALSE(QFileInfo::exists(big));
}

TEST_F(ArchiveCommandsTest, AnSshLoginThatLooksLikeAnOptionIsNeverSaved) {
    Console console(&out, &err);
    EXPECT_EQ(runAddSshDestination(s("evil"), s("-oProxyCommand=sh@host"), std::nullopt, console),
              exitRefusedOrBadArguments);
    EXPECT_EQ(runAddSshDestination(s("blank"), s("ann@my host"), std::nullopt, console),
              exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("The SSH user \"-oProxyCommand=sh\" starts with \"-\".")))
        << err.toStdString();
    EXPECT_TRUE(err.contains(s("holds a blank or a control character"))) << err.toStdString();
    EXPECT_TRUE(DestinationsStore().destinations().isEmpty());
    EXPECT_EQ(runAddSshDestination(s("nas"), s("ann@nas.local"), std::nullopt, console), exitOk);
    EXPECT_EQ(runAddSshDestination(s("v6"), s("ann@::1"), std::nullopt, console), exitOk);
}
