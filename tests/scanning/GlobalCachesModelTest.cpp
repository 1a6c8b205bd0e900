#include "scanning/GlobalCachesModel.h"

#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/KeepStore.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

constexpr int patience = 10000;

const QString gradleID = QStringLiteral(".gradle/caches");
const QString cargoID = QStringLiteral(".cargo/registry");

// Two caches in the fake home, removed again when the test ends.
class GlobalCachesModelTest : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(home + QStringLiteral("/.gradle/caches/modules-2/a.jar"),
                        QByteArray(10000, 'g'));
        test::writeFile(home + QStringLiteral("/.cargo/registry/index/crates"),
                        QByteArray(3000, 'c'));
    }
    void TearDown() override {
        QDir(home + QStringLiteral("/.gradle")).removeRecursively();
        QDir(home + QStringLiteral("/.cargo")).removeRecursively();
    }

    void load() {
        model.reload();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading(); }, patience));
    }
    void waitForRemoval() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isRemoving(); }, patience));
    }

    const QString home = test::fakeHome();
    ToastCenter toasts;
    GlobalCachesModel model{toasts};
};

} // namespace

TEST_F(GlobalCachesModelTest, ListsAndMeasuresInTableOrderWithNothingTicked) {
    EXPECT_FALSE(model.hasLoaded());
    load();
    ASSERT_EQ(model.caches().size(), 2);
    EXPECT_TRUE(model.hasLoaded());
    // The table lists Gradle before Cargo.
    EXPECT_EQ(model.caches()[0].id(), gradleID);
    EXPECT_EQ(model.caches()[1].id(), cargoID);
    EXPECT_GE(model.cacheSizeByID().value(gradleID), 10000);
    EXPECT_EQ(model.measuredBytes(),
              model.cacheSizeByID().value(gradleID) + model.cacheSizeByID().value(cargoID));
    EXPECT_TRUE(model.selectedIDs().isEmpty());

    model.setSelected(QStringLiteral("not/a/listed/cache"), true);
    model.toggleSelected(cargoID);
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{cargoID});
    EXPECT_EQ(model.selectedBytes(), model.cacheSizeByID().value(cargoID));

    // A fresh look starts with nothing ticked again.
    load();
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    EXPECT_EQ(model.cacheSizeByID().size(), 2);
}

TEST_F(GlobalCachesModelTest, AReloadAskedForDuringALoadFollowsItAndSeesTheNewState) {
    model.reload();
    ASSERT_TRUE(model.isLoading());
    test::writeFile(home + QStringLiteral("/.m2/repository/org/a.pom"), "pom");
    model.reload();
    EXPECT_TRUE(model.isReloadRequested());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading() && !model.isReloadRequested(); },
                                patience));
    EXPECT_EQ(model.caches().size(), 3);
    QDir(home + QStringLiteral("/.m2")).removeRecursively();
}

TEST_F(GlobalCachesModelTest, TickedCachesGoToTheTrashInsideTheHomeFolderOnly) {
    load();
    model.toggleSelected(gradleID);
    const qint64 gradleBytes = model.cacheSizeByID().value(gradleID);
    const TrashPlan plan = model.trashPlan();
    EXPECT_EQ(plan.batches, (QList<TrashPlan::Batch>{{home, {home + u'/' + gradleID}}}));

    std::optional<TrashResult> result;
    QObject::connect(&model, &GlobalCachesModel::trashCompleted, &model,
                     [&result](const TrashResult& done) { result = done; });
    model.trash(plan);
    waitForRemoval();

    ASSERT_TRUE(result);
    EXPECT_FALSE(QFile::exists(home + u'/' + gradleID));
    EXPECT_TRUE(QFile::exists(home + u'/' + cargoID));
    ASSERT_EQ(model.caches().size(), 1);
    EXPECT_EQ(model.caches()[0].id(), cargoID);
    EXPECT_FALSE(model.cacheSizeByID().contains(gradleID));
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    EXPECT_TRUE(model.failures().isEmpty());
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->message, QStringLiteral("Moved 1 item (") +
                                             formatBytes(gradleBytes) +
                                             QStringLiteral(") to the Trash"));
}

TEST_F(GlobalCachesModelTest, ACacheThatLeadsOutOfTheHomeIsRefusedAndADryRunMovesNothing) {
    // A cache folder that is a link to another volume must not take that volume's folder along.
    const QString elsewhere = test::makeTempDir(QStringLiteral("other-volume"));
    QDir(home + QStringLiteral("/.cargo")).removeRecursively();
    QDir().mkpath(home + QStringLiteral("/.cargo"));
    ASSERT_TRUE(QFile::link(elsewhere, home + u'/' + cargoID));
    load();
    model.toggleSelected(gradleID);
    model.toggleSelected(cargoID);

    model.setDryRun(true);
    model.trash(model.trashPlan());
    waitForRemoval();
    EXPECT_TRUE(QFile::exists(home + u'/' + gradleID));
    EXPECT_EQ(model.caches().size(), 2);
    ASSERT_TRUE(toasts.current());
    EXPECT_TRUE(toasts.current()->message.startsWith(QStringLiteral("Dry run: would move 1 item")))
        << qPrintable(toasts.current()->message);

    model.setDryRun(false);
    model.trash(model.trashPlan());
    waitForRemoval();
    EXPECT_FALSE(QFile::exists(home + u'/' + gradleID));
    EXPECT_TRUE(QFileInfo(elsewhere).isDir());
    ASSERT_EQ(model.failures().size(), 1);
    EXPECT_EQ(model.failures()[0].itemID, cargoID);
    EXPECT_EQ(model.failures()[0].name, QStringLiteral("Cargo registry"));
    EXPECT_EQ(model.failures()[0].message,
              QStringLiteral("Refused: resolves outside the scanned folder"));
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{cargoID});
}

TEST_F(GlobalCachesModelTest, ACacheKeptThroughALinkedPathCannotBeTickedOrTrashed) {
    const QString linkedHome =
        test::makeTempDir(QStringLiteral("linked")) + QStringLiteral("/home");
    ASSERT_TRUE(QFile::link(home, linkedHome));
    const KeepStore keep;
    ASSERT_EQ(keep.add(linkedHome + QStringLiteral("/.cargo")), QString());
    load();
    QFile::remove(keep.url());
    QFile::remove(linkedHome);

    ASSERT_EQ(model.caches().size(), 2);
    EXPECT_FALSE(model.caches()[0].isKept);
    EXPECT_TRUE(model.caches()[1].isKept);
    model.toggleSelected(cargoID);
    model.setSelected(cargoID, true);
    model.toggleSelected(gradleID);
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{gradleID});
    EXPECT_EQ(model.selectedBytes(), model.cacheSizeByID().value(gradleID));
    EXPECT_EQ(model.trashPlan().urls(), QList<QString>{home + u'/' + gradleID});
    // What the overview counts as could-go leaves the kept cache out.
    EXPECT_EQ(model.removableBytes(), model.cacheSizeByID().value(gradleID));
    EXPECT_LT(model.removableBytes(), model.measuredBytes());
}

TEST(GlobalCachesModelLifetime, ARemovalThatEndsAfterTheModelIsGoneReportsToNoOne) {
    const QString npm = test::fakeHome() + QStringLiteral("/.npm/_cacache");
    test::writeFile(npm + QStringLiteral("/index"), "x");
    ToastCenter toasts;
    {
        GlobalCachesModel model(toasts);
        model.reload();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isLoading(); }, patience));
        model.toggleSelected(QStringLiteral(".npm/_cacache"));
        model.trash(model.trashPlan());
    }
    // The job really ended, on the pool it runs on, before the events are looked at.
    waitForBackgroundJobs();
    QCoreApplication::processEvents();
    EXPECT_FALSE(QFile::exists(npm));
    EXPECT_FALSE(toasts.current());
    QDir(test::fakeHome() + QStringLiteral("/.npm")).removeRecursively();
}
