#include "shell/SimulatorsView.h"

#include "devtools/SimulatorFixtures.h"
#include "shell/ShellTesting.h"
#include "support/GitFixture.h"
#include "support/KeepMarks.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QPushButton>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
namespace fx = corvane::test::simfixtures;

namespace {

// The page over stand-ins for xcrun and xcodebuild that print Xcode's real outputs.
class SimulatorsViewTest : public testing::Test {
protected:
    void SetUp() override {
        fx::writeFakeTools(dir);
        view.resize(1000, 620);
    }

    void showLoaded() {
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        ASSERT_TRUE(QTest::qWaitFor([this] { return model.hasLoaded() && !model.isLoading(); },
                                    test::patience));
    }

    QStringList log() const {
        QFile file(dir + s("/log"));
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                   : QStringList();
    }

    const QString dir = test::makeTempDir(s("sim"));
    test::ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", dir + s("/xcrun")};
    test::ScopedEnvironment xcodebuild{"CORVANE_TOOL_XCODEBUILD", dir + s("/xcodebuild")};
    ToastCenter toasts;
    SimulatorsModel model{toasts};
    SimulatorsView view{model};
};

} // namespace

TEST_F(SimulatorsViewTest, RuntimesAndDevicesAreListedAndDeletingAsksWithThePermanentText) {
    showLoaded();
    EXPECT_EQ(view.stateText(), QString());
    const QTreeWidgetItem* runtimes = view.tree()->topLevelItem(0);
    ASSERT_GT(runtimes->childCount(), 3);
    // The runtime bundled with Xcode has no tick box to tick.
    int tickable = 0;
    for (int row = 0; row < runtimes->childCount(); ++row)
        tickable += (runtimes->child(row)->flags() & Qt::ItemIsUserCheckable) ? 1 : 0;
    EXPECT_EQ(tickable, runtimes->childCount() - 1);
    EXPECT_FALSE(view.deleteButton()->isEnabled());
    test::saveScreenshot(view, s("simulators-loaded"));

    view.selectOlderButton()->click();
    ASSERT_FALSE(model.selectedIDs().isEmpty());
    EXPECT_TRUE(view.deleteButton()->isEnabled());
    view.confirmDelete();
    ConfirmationSheet* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openSheet(view, s("deleteRuntimesConfirmation"))); },
        test::patience));
    EXPECT_TRUE(box->informativeText().endsWith(
        s("This is permanent: runtimes do not go to the Trash. You can download any of them again "
          "in Xcode > Settings > Components.")));
    box->reject();
    QTest::qWait(50);
    for (const QString& call : log())
        EXPECT_FALSE(call.contains(s("delete"))) << call.toStdString();
}

TEST_F(SimulatorsViewTest, NoSimulatorsAndAMissingToolEachSaySo) {
    test::writeFile(dir + s("/runtimes.json"), "{}");
    test::writeFile(dir + s("/devices.json"), "{\"devices\": {}}");
    showLoaded();
    EXPECT_EQ(view.stateText(), QString());
    EXPECT_EQ(view.tree()->topLevelItem(0)->childCount(), 0);
    test::saveScreenshot(view, s("simulators-empty"));

    const test::ScopedEnvironment missing("CORVANE_TOOL_XCRUN", dir + s("/no-such-xcrun"));
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading(); }, test::patience));
    EXPECT_EQ(view.stateText(), s("Xcode not installed"));
    test::saveScreenshot(view, s("simulators-no-xcode"));
}

// A kept device says so and cannot be erased; the runtime it boots from cannot be ticked, since
// deleting the runtime would delete the device.
TEST_F(SimulatorsViewTest, AKeptDeviceShowsItAndHoldsItsRuntimeBack) {
    const test::ScopedKeepMarks marks({s("/Users/me/Library/Developer/CoreSimulator/Devices/") +
                                       fx::bootedIPhone11 + s("/data")});
    showLoaded();
    QTreeWidgetItem* device = nullptr;
    QTreeWidgetItem* runtime = nullptr;
    for (QTreeWidgetItemIterator it(view.tree()); *it; ++it) {
        if ((*it)->text(0).startsWith(s("iPhone 11 —")))
            device = *it;
        if ((*it)->text(0).startsWith(s("iOS 13.1")))
            runtime = *it;
    }
    ASSERT_NE(device, nullptr);
    ASSERT_NE(runtime, nullptr);
    EXPECT_EQ(device->text(0), s("iPhone 11 — Kept"));
    EXPECT_TRUE(runtime->text(2).endsWith(s(", a kept device runs on it")))
        << qPrintable(runtime->text(2));
    EXPECT_FALSE(runtime->flags() & Qt::ItemIsUserCheckable);

    QPushButton* erase = nullptr;
    for (QPushButton* button : view.findChildren<QPushButton*>()) {
        if (button->text() == s("Erase Device…"))
            erase = button;
    }
    ASSERT_NE(erase, nullptr);
    view.tree()->setCurrentItem(device);
    EXPECT_FALSE(erase->isEnabled());
    for (QTreeWidgetItemIterator it(view.tree()); *it; ++it) {
        if ((*it)->text(0) == s("iPhone 11 Pro"))
            view.tree()->setCurrentItem(*it);
    }
    EXPECT_TRUE(erase->isEnabled());
}
