#include "shell/JobNotifier.h"

#include "shell/AppModels.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

// A model whose removal the test begins and ends itself.
class Removals : public InventoryModel {
public:
    explicit Removals(ToastCenter& toasts)
        : InventoryModel(toasts, false) {}
    using InventoryModel::beginRemoval;
    using InventoryModel::finishRemoval;

protected:
    void startLoading() override { finishLoading(); }
    bool containsItem(const QString&) const override { return false; }
};

// The notifier with a clock and a window the test moves, and a sink that keeps what it is given.
class JobNotifierTest : public testing::Test {
protected:
    void SetUp() override {
        notifier.follow(models.session);
        notifier.follow(removals, QStringLiteral("The cleanup has finished."));
    }

    // A scan of `seconds` by the notifier's clock.
    void scanFor(qint64 seconds) {
        models.session.chooseFolderAndScan(root);
        ASSERT_TRUE(models.session.isScanning());
        scans.feed({ScanEvent::projectDiscovered(test::makeProject(root + QStringLiteral("/a")))});
        now += seconds * 1000;
        scans.feed({ScanEvent::scanCompleted()});
        ASSERT_FALSE(models.session.isScanning());
    }

    // Lets the notifier's turn of the event loop pass.
    void settle() { QCoreApplication::processEvents(); }

    QString root = test::makeTempDir(QStringLiteral("code"));
    test::FakeScans scans;
    AppModels models{scans.starter()};
    Removals removals{models.toasts};
    qint64 now = 1'000'000;
    bool inFront = false;
    QStringList shown;
    JobNotifier notifier{models.toasts, [this] { return inFront; },
                         [this](const QString& title, const QString& message) {
                             EXPECT_EQ(title, QStringLiteral("Corvane Clean"));
                             shown.append(message);
                         },
                         [this] { return now; }};
};

} // namespace

TEST_F(JobNotifierTest, OnlyAScanOverTenSecondsEndingBehindOtherWindowsIsAnnounced) {
    scanFor(9);
    settle();
    EXPECT_TRUE(shown.isEmpty());

    inFront = true;
    scanFor(30);
    settle();
    EXPECT_TRUE(shown.isEmpty());

    inFront = false;
    scanFor(11);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !shown.isEmpty(); }, test::patience));
    EXPECT_EQ(shown, QStringList{QStringLiteral(
                         "The scan has finished: 1 project, Zero KB can be given back.")});
}

TEST_F(JobNotifierTest, ARemovalSaysWhatItsModelPostedElseItsOwnLine) {
    models.toasts.post(QStringLiteral("An older toast"));
    ASSERT_TRUE(removals.beginRemoval());
    removals.finishRemoval({});
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.size() == 1; }, test::patience));
    EXPECT_EQ(shown.last(), QStringLiteral("The cleanup has finished."));

    // The toast may come just after the flag drops, in the same turn.
    ASSERT_TRUE(removals.beginRemoval());
    removals.finishRemoval({});
    models.toasts.post(QStringLiteral("Moved 3 items (1.2 GB) to the Trash"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.size() == 2; }, test::patience));
    EXPECT_EQ(shown.last(), QStringLiteral("Moved 3 items (1.2 GB) to the Trash"));

    // Even a short removal is announced, but not to a user looking at the window.
    inFront = true;
    ASSERT_TRUE(removals.beginRemoval());
    removals.finishRemoval({});
    settle();
    EXPECT_EQ(shown.size(), 2);
}
