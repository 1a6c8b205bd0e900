#include "shell/DockerView.h"

#include "devtools/FakeDocker.h"
#include "shell/ShellTesting.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The page over a stand-in docker that prints Docker's real reports.
class DockerViewTest : public testing::Test {
protected:
    void SetUp() override { view.resize(1000, 640); }

    void showLoaded() {
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        ASSERT_TRUE(QTest::qWaitFor([this] { return model.hasLoaded() && !model.isLoading(); },
                                    test::patience));
        QTest::qWait(50);
    }

    // Every row under the group whose title starts with `group`.
    QList<QTreeWidgetItem*> rowsOf(const QString& group) const {
        QList<QTreeWidgetItem*> rows;
        for (int top = 0; top < view.tree()->topLevelItemCount(); ++top) {
            QTreeWidgetItem* item = view.tree()->topLevelItem(top);
            if (!item->text(0).startsWith(group))
                continue;
            for (int row = 0; row < item->childCount(); ++row)
                rows.append(item->child(row));
        }
        return rows;
    }

    test::FakeDocker docker;
    ToastCenter toasts;
    DockerModel model{toasts, DockerService{&ProcessRunner::system(), test::fakeHome()}};
    DockerView view{model};
};

} // namespace

TEST_F(DockerViewTest, ItemsInUseCannotBeTickedAndRemovingAsksWithThePermanentText) {
    showLoaded();
    EXPECT_EQ(view.stateText(), QString());
    const QList<QTreeWidgetItem*> containers = rowsOf(s("Containers"));
    ASSERT_FALSE(containers.isEmpty());
    bool someBlocked = false;
    for (const QTreeWidgetItem* row : containers + rowsOf(s("Images")) + rowsOf(s("Volumes"))) {
        if (!(row->flags() & Qt::ItemIsUserCheckable)) {
            someBlocked = true;
            EXPECT_FALSE(row->toolTip(0).isEmpty()) << row->text(0).toStdString();
        }
    }
    EXPECT_TRUE(someBlocked);
    EXPECT_FALSE(view.removeButton()->isEnabled());
    test::saveScreenshot(view, s("docker-loaded"));

    view.selectUnusedButton()->click();
    ASSERT_FALSE(model.selectedIDs().isEmpty());
    EXPECT_TRUE(view.removeButton()->isEnabled());
    view.confirmRemove();
    ConfirmationSheet* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openSheet(view, s("dockerRemoveConfirmation"))); },
        test::patience));
    EXPECT_TRUE(box->informativeText().contains(s("permanent")));
    test::saveScreenshot(*box, s("docker-remove-confirmation"));
    box->reject();
    QTest::qWait(50);
    EXPECT_EQ(docker.changingCalls(), QStringList());
}

TEST_F(DockerViewTest, AnObjectsMenuCopiesWhatTheDockerCommandKnowsItBy) {
    showLoaded();
    const QList<QTreeWidgetItem*> containers = rowsOf(s("Containers"));
    const QList<QTreeWidgetItem*> volumes = rowsOf(s("Volumes"));
    ASSERT_FALSE(containers.isEmpty());
    ASSERT_FALSE(volumes.isEmpty());
    EXPECT_EQ(view.objectMenu(view.tree()->indexFromItem(view.tree()->topLevelItem(0))), nullptr);
    for (const auto& [row, words, prefix] :
         {std::tuple{containers.first(), s("Copy ID"), s("container:")},
          std::tuple{volumes.first(), s("Copy Name"), s("volume:")}}) {
        const std::unique_ptr<QMenu> menu = view.objectMenu(view.tree()->indexFromItem(row, 2));
        ASSERT_NE(menu, nullptr);
        ASSERT_EQ(menu->actions().size(), 1);
        EXPECT_EQ(menu->actions().first()->text(), words);
        menu->actions().first()->trigger();
        EXPECT_EQ(prefix + QGuiApplication::clipboard()->text(),
                  row->data(0, Qt::UserRole).toString())
            << row->text(0).toStdString();
    }
}

TEST_F(DockerViewTest, EmptyNotRunningAndNotInstalledEachSaySo) {
    docker.respond(test::FakeDocker::report, test::docker::emptyReport);
    docker.respond(test::FakeDocker::listing, "");
    docker.respond(test::FakeDocker::totals, test::docker::emptyTotals);
    showLoaded();
    EXPECT_EQ(view.stateText(), QString());
    EXPECT_TRUE(rowsOf(s("Images")).isEmpty());
    test::saveScreenshot(view, s("docker-empty"));

    docker.respond(test::FakeDocker::version, "\n", 1, test::docker::daemonDown);
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading(); }, test::patience));
    EXPECT_EQ(view.stateText(), DockerModel::notRunningText);
    EXPECT_TRUE(view.startDockerButton()->isVisible());
    test::saveScreenshot(view, s("docker-not-running"));

    const test::ScopedEnvironment missing("CORVANE_TOOL_DOCKER", docker.tool() + s("-missing"));
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading(); }, test::patience));
    EXPECT_EQ(view.stateText(), DockerModel::notInstalledText);
    EXPECT_FALSE(view.startDockerButton()->isVisible());
    test::saveScreenshot(view, s("docker-not-installed"));
}
