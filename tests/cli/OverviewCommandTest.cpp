#include "cli/OverviewCommand.h"

#include "cli/Command.h"
#include "cli/ScanCommands.h"
#include "platform/AreaCatalog.h"
#include "platform/OverviewModel.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/JsonText.h"
#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::parsed;
using test::s;
using namespace corvane::cli;

namespace {

// A scan that finds one project with a measured, safe node_modules of `bytes`.
ScanStarter oneProject(const QString& root, qint64 bytes) {
    return [root, bytes](const QString&, const ScanOptions&) {
        const Project app = test::makeProject(root + s("/app"));
        const CleanableItem modules = test::makeItem(app, s("node_modules"));
        ScanStream::Pair pair = ScanStream::create();
        pair.sink->send(
            {ScanEvent::projectDiscovered(app),
             ScanEvent::gitStatusUpdated(app.id, test::makeDetails(GitStatus::fullySynced())),
             ScanEvent::itemsClassified(app.id, {modules}),
             ScanEvent::sizeUpdated(modules.id, bytes), ScanEvent::scanCompleted()});
        return std::move(pair.stream);
    };
}

// No developer tools on this machine, one Maven cache and something already in the Trash.
class OverviewCommandTest : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(test::fakeHome() + s("/.m2/repository/org/lib.jar"), QByteArray(9000, 'j'));
        test::writeFile(OverviewModel::trashFolder() + s("/files/old-build/blob"),
                        QByteArray(50'000, 't'));
    }

    test::NoDeveloperTools noTools;
    QString out;
    QString err;
    Console console{&out, &err};
};

} // namespace

TEST_F(OverviewCommandTest, TheJsonHasTheDiskEveryAreaInOrderAndTheTrash) {
    ASSERT_EQ(runCaches(true, console), exitOk);
    const qint64 cachesTotal = parsed(out)[u"totalBytes"].toInteger();
    ASSERT_GE(cachesTotal, 9000);
    out.clear();

    ASSERT_EQ(runOverview({QString(), true}, oneProject(noTools.folder, 1), console), exitOk)
        << qPrintable(err);
    const QJsonObject overview = parsed(out);
    const QJsonObject disk = overview[u"disk"].toObject();
    EXPECT_GT(disk[u"capacityBytes"].toInteger(), 0);
    EXPECT_LE(disk[u"freeBytes"].toInteger(), disk[u"capacityBytes"].toInteger());
    EXPECT_GE(overview[u"trashBytes"].toInteger(), 50'000);

    QStringList ids;
    QStringList commands;
    qint64 sum = 0;
    for (const QJsonValue& area : overview[u"areas"].toArray()) {
        ids.append(area[u"id"].toString());
        commands.append(area[u"command"].toString());
        sum += area[u"bytes"].toInteger();
        EXPECT_EQ(area[u"bytes"].isNull(), area.toObject().contains(u"note"))
            << qPrintable(area[u"id"].toString());
    }
    EXPECT_EQ(ids, (QStringList{s("projects"), s("caches"), s("agents"), s("docker"),
                                s("simulators"), s("android"), s("aiModels"), s("apps")}));
    // Each names the command that lists it.
    EXPECT_EQ(commands, (QStringList{s("scan"), s("caches"), s("agents"), s("docker"),
                                     s("simulators"), s("android"), s("models"), s("apps")}));
    EXPECT_EQ(overview[u"totalBytes"].toInteger(), sum);
    const QJsonArray areas = overview[u"areas"].toArray();
    EXPECT_EQ(areas[0][u"note"].toString(), s("No folder scanned yet"));
    EXPECT_EQ(areas[1][u"bytes"].toInteger(), cachesTotal);
    EXPECT_EQ(areas[3][u"note"].toString(), s("Docker not installed"));
    EXPECT_EQ(areas[4][u"note"].toString(), s("Xcode not installed"));
}

TEST_F(OverviewCommandTest, AScannedFolderCountsItsProjectsAndTheTableSaysWhyForTheRest) {
    const QString root = test::makeTempDir(s("projects"));
    ASSERT_EQ(runOverview({root, false}, oneProject(root, 70'000), console), exitOk)
        << qPrintable(err);
    const QStringList lines = out.split(u'\n');
    const auto lineOf = [&lines](const QString& start) {
        for (const QString& line : lines) {
            if (line.startsWith(start))
                return line;
        }
        return QString();
    };
    EXPECT_TRUE(lines.first().startsWith(s("Disk: "))) << qPrintable(out);
    EXPECT_TRUE(lineOf(s("Projects")).endsWith(s("70 KB  (70 KB ticked)"))) << qPrintable(out);
    EXPECT_TRUE(lineOf(s("Docker")).endsWith(s("Docker not installed"))) << qPrintable(out);
    EXPECT_TRUE(lineOf(s("In the Trash")).contains(s("empty the Trash"))) << qPrintable(out);
    EXPECT_FALSE(lineOf(s("Could give back")).isEmpty()) << qPrintable(out);
}

TEST(AreaCommandsTest, EveryAreaNamesACommandTheCommandLineHas) {
    QStringList missing;
    for (const AreaRow& area : Areas::all()) {
        // The map of the disk is a view of any folder, not an inventory a command lists.
        if (area.id == QStringLiteral("diskMap"))
            continue;
        const auto found = std::find_if(
            commandTable().cbegin(), commandTable().cend(),
            [&area](const Command& command) { return command.name == area.command.toStdString(); });
        if (found == commandTable().cend())
            missing.append(area.id + u'=' + area.command);
    }
    EXPECT_EQ(missing, QStringList());
}
