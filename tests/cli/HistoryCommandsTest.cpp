#include "cli/Command.h"
#include "platform/CleanupHistory.h"
#include "platform/PlatformTrash.h"
#include "platform/ProcessRunner.h"
#include "platform/PutBackService.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

QJsonObject documentOf(const ProcessResult& result) {
    return QJsonDocument::fromJson(result.standardOutput).object();
}

// Every file below `folder` with its bytes.
QMap<QString, QByteArray> filesBelow(const QString& folder) {
    QMap<QString, QByteArray> files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        files.insert(file.fileName().mid(folder.size()), file.readAll());
    }
    return files;
}

// The caches of the fake home, cleaned and put back through the real `corvane` command.
class HistoryCommandsTest : public testing::Test {
protected:
    void SetUp() override {
        QDir(test::fakeHome() + s("/.m2")).removeRecursively();
        QDir(pip).removeRecursively();
        QFile::remove(CleanupHistory().path());
        test::writeFile(maven + s("/org/lib.jar"), QByteArray(9000, 'j'));
        test::writeFile(maven + s("/org/caf\u00e9 1.0 [final].pom"), "<project/>");
        test::writeFile(pip + s("/http/entry"), "wheel");
    }

    const QString maven = test::fakeHome() + s("/.m2/repository");
    const QString pip = test::fakeHome() + s("/.cache/pip");
};

} // namespace

TEST_F(HistoryCommandsTest, ACachesCleanupIsListedAndPutBackWhereItsPlaceIsFree) {
    const QMap<QString, QByteArray> mavenBefore = filesBelow(maven);
    const ProcessResult cleaned = runCorvane(
        {s("caches"), s("clean"), s(".m2/repository"), s(".cache/pip"), s("--yes"), s("--json")});
    ASSERT_EQ(cleaned.exitCode, cli::exitOk) << cleaned.standardError.toStdString();
    const QString id = documentOf(cleaned)[u"cleanupID"].toString();
    ASSERT_FALSE(id.isEmpty()) << cleaned.standardOutput.toStdString();
    ASSERT_FALSE(QFileInfo::exists(maven));

    const ProcessResult listed = runCorvane({s("history"), s("--json")});
    ASSERT_EQ(listed.exitCode, cli::exitOk) << listed.standardError.toStdString();
    const QJsonObject newest = documentOf(listed)[u"cleanups"][0].toObject();
    EXPECT_EQ(newest[u"id"].toString(), id);
    EXPECT_EQ(newest[u"area"].toString(), s("caches"));
    EXPECT_EQ(newest[u"itemCount"].toInt(), 2);
    EXPECT_EQ(newest[u"itemsInTrash"].toInt(), 2);
    EXPECT_GE(newest[u"bytes"].toInteger(), 9000);
    EXPECT_FALSE(QDateTime::fromString(newest[u"date"].toString(), Qt::ISODate).isNull());

    // pip made its cache again in the meantime.
    test::writeFile(pip + s("/fresh"), "new");
    const ProcessResult unconfirmed = runCorvane({s("put-back")});
    EXPECT_EQ(unconfirmed.exitCode, cli::exitRefusedOrBadArguments);
    EXPECT_TRUE(unconfirmed.standardError.contains("--yes"));
    const ProcessResult unknown = runCorvane({s("put-back"), s("20000101-000000"), s("--yes")});
    EXPECT_EQ(unknown.exitCode, cli::exitRefusedOrBadArguments);
    EXPECT_EQ(unknown.standardError.trimmed(), "No cleanup has the id 20000101-000000.");
    const ProcessResult dryRun = runCorvane({s("put-back"), s("--dry-run"), s("--json")});
    EXPECT_EQ(dryRun.exitCode, cli::exitSomeFailed);
    EXPECT_EQ(documentOf(dryRun)[u"wouldPutBack"].toArray(), QJsonArray{maven});
    EXPECT_FALSE(QFileInfo::exists(maven)) << "nothing moved before it was confirmed";

    const ProcessResult putBack = runCorvane({s("put-back"), s("--yes"), s("--json")});
    EXPECT_EQ(putBack.exitCode, cli::exitSomeFailed);
    const QJsonObject outcome = documentOf(putBack);
    EXPECT_EQ(outcome[u"cleanupID"].toString(), id);
    EXPECT_EQ(outcome[u"putBack"].toArray(), QJsonArray{maven});
    EXPECT_EQ(outcome[u"failures"].toArray(),
              (QJsonArray{QJsonObject{{s("path"), pip},
                                      {s("message"), PutBackService::placeTakenMessage}}}));
    EXPECT_EQ(filesBelow(maven), mavenBefore);
    EXPECT_EQ(filesBelow(pip), (QMap<QString, QByteArray>{{s("/fresh"), "new"}}));
    EXPECT_EQ(documentOf(runCorvane({s("history"), s("--json")}))[u"cleanups"][0][u"itemsInTrash"]
                  .toInt(),
              1);

    // With its place free again the rest comes back, by id, and only once.
    ASSERT_TRUE(QDir(pip).removeRecursively());
    const ProcessResult rest = runCorvane({s("put-back"), id, s("--yes")});
    EXPECT_EQ(rest.exitCode, cli::exitOk) << rest.standardError.toStdString();
    EXPECT_TRUE(rest.standardOutput.startsWith("Put back 1 item(s) ("));
    EXPECT_TRUE(rest.standardOutput.contains(" of cleanup " + id.toUtf8() + " (caches):\n  " +
                                             pip.toUtf8() + '\n'))
        << rest.standardOutput.toStdString();
    EXPECT_EQ(filesBelow(pip), (QMap<QString, QByteArray>{{s("/http/entry"), "wheel"}}));
    const ProcessResult again = runCorvane({s("put-back"), s("--yes")});
    EXPECT_EQ(again.exitCode, cli::exitOk);
    EXPECT_TRUE(again.standardOutput.contains("2 item(s) of cleanup " + id.toUtf8() +
                                              " (caches) were put back before."))
        << again.standardOutput.toStdString();
    const ProcessResult table = runCorvane({s("history")});
    EXPECT_TRUE(table.standardOutput.startsWith("ID ")) << table.standardOutput.toStdString();
    EXPECT_TRUE(table.standardOutput.contains(id.toUtf8() + ' '));
}

TEST_F(HistoryCommandsTest, EmptyTrashDeletesOnlyWhatTheCleanupsLeftThereAndOnlyWhenConfirmed) {
    ASSERT_EQ(runCorvane({s("caches"), s("clean"), s(".m2/repository"), s("--yes")}).exitCode,
              cli::exitOk);
    const ProcessResult pipCleaned =
        runCorvane({s("caches"), s("clean"), s(".cache/pip"), s("--yes"), s("--json")});
    const QString pipID = documentOf(pipCleaned)[u"cleanupID"].toString();
    ASSERT_FALSE(pipID.isEmpty()) << pipCleaned.standardOutput.toStdString();
    // pip's cleanup came back: its item is the user's again.
    ASSERT_EQ(runCorvane({s("put-back"), pipID, s("--yes")}).exitCode, cli::exitOk);
    const QJsonObject mavenCleanup =
        documentOf(runCorvane({s("history"), s("--json")}))[u"cleanups"][1].toObject();
    const QString mavenInTrash = mavenCleanup[u"items"][0][u"trashPath"].toString();
    ASSERT_TRUE(QFileInfo::exists(mavenInTrash + s("/org/lib.jar")));
    // A folder of the user's own of the same name goes to the Trash too.
    const QString mine = test::fakeHome() + s("/old/repository");
    test::writeFile(mine + s("/mine.txt"), "mine");
    const TrashMove own = PlatformTrash::system().moveToTrash(mine);
    ASSERT_FALSE(own.failure);

    const ProcessResult unconfirmed = runCorvane({s("history"), s("empty-trash")});
    EXPECT_EQ(unconfirmed.exitCode, cli::exitRefusedOrBadArguments);
    EXPECT_TRUE(unconfirmed.standardError.contains("--yes"));
    const ProcessResult dryRun =
        runCorvane({s("history"), s("empty-trash"), s("--dry-run"), s("--json")});
    EXPECT_EQ(dryRun.exitCode, cli::exitOk) << dryRun.standardError.toStdString();
    const QJsonArray wouldDelete = documentOf(dryRun)[u"wouldDelete"].toArray();
    ASSERT_EQ(wouldDelete.size(), 1);
    EXPECT_EQ(wouldDelete[0][u"originalPath"].toString(), maven);
    EXPECT_GE(documentOf(dryRun)[u"wouldFreeBytes"].toInteger(), 9000);
    EXPECT_TRUE(QFileInfo::exists(mavenInTrash)) << "nothing deleted before it was confirmed";

    const ProcessResult emptied = runCorvane({s("history"), s("empty-trash"), s("--yes")});
    EXPECT_EQ(emptied.exitCode, cli::exitOk) << emptied.standardError.toStdString();
    EXPECT_TRUE(emptied.standardOutput.contains("Reclaimed ") &&
                emptied.standardOutput.contains(" by deleting 1 item from the Trash"))
        << emptied.standardOutput.toStdString();
    EXPECT_FALSE(QFileInfo::exists(mavenInTrash));
    EXPECT_TRUE(QFileInfo::exists(own.location.path + s("/mine.txt")));
    EXPECT_EQ(filesBelow(pip), (QMap<QString, QByteArray>{{s("/http/entry"), "wheel"}}));
    const QJsonObject after =
        documentOf(runCorvane({s("history"), s("--json")}))[u"cleanups"][1].toObject();
    EXPECT_EQ(after[u"itemsInTrash"].toInt(), 0);
    EXPECT_TRUE(after[u"items"][0][u"emptied"].toBool());

    const ProcessResult again = runCorvane({s("history"), s("empty-trash"), s("--yes")});
    EXPECT_EQ(again.exitCode, cli::exitOk);
    EXPECT_EQ(again.standardOutput.trimmed(), "Nothing this app put in the Trash is still there.");
}

TEST_F(HistoryCommandsTest, ADamagedHistoryIsReportedAndLeftAsItIs) {
    const QString path = CleanupHistory().path();
    test::writeFile(path, "not json at all");

    const ProcessResult listed = runCorvane({s("history"), s("--json")});
    EXPECT_EQ(listed.exitCode, cli::exitSomeFailed);
    EXPECT_TRUE(listed.standardError.contains("could not be read"))
        << listed.standardError.toStdString();
    const ProcessResult putBack = runCorvane({s("put-back"), s("--yes")});
    EXPECT_EQ(putBack.exitCode, cli::exitSomeFailed);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "not json at all");
}
