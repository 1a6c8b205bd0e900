#include "shell/OverviewView.h"

#include "shell/AppModels.h"
#include "shell/MainWindow.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QLabel>
#include <QListWidget>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The window over a fake home with one developer cache, no Docker, no Xcode and no Homebrew.
class OverviewViewTest : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(test::fakeHome() + s("/go/pkg/mod/cache/download/x.zip"),
                        QByteArray(300'000, 'g'));
        window.resize(1100, 720);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    QString tools = test::makeTempDir(s("no-tools"));
    test::ScopedEnvironment docker{"CORVANE_TOOL_DOCKER", tools + s("/docker")};
    test::ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", tools + s("/xcrun")};
    test::ScopedEnvironment brew{"CORVANE_TOOL_BREW", tools + s("/brew")};
    test::ScopedEnvironment ollama{"CORVANE_TOOL_OLLAMA", tools + s("/ollama")};
    test::ScopedEnvironment flatpak{"CORVANE_TOOL_FLATPAK", tools + s("/flatpak")};
    test::ScopedEnvironment apps{"CORVANE_APPLICATIONS_DIR", tools};
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
};

} // namespace

TEST_F(OverviewViewTest, EveryAreaGetsItsNumberOrSaysWhyAndTheTotalIsTheirSum) {
    window.showOverview();
    OverviewView* view = window.overviewView();
    ASSERT_TRUE(view->isVisible());
    ASSERT_TRUE(QTest::qWaitFor([this] { return models.overview.isComplete(); }, test::patience));
    QTest::qWait(300);

    qint64 sum = 0;
    QStringList rows;
    for (const OverviewArea& area : models.overview.areas()) {
        sum += area.bytes().value_or(0);
        rows.append(area.id + u'=' + (area.bytes() ? QString::number(*area.bytes()) : area.note()));
    }
    EXPECT_EQ(models.overview.totalBytes(), sum);
    EXPECT_EQ(models.overview.totalBytes(), models.caches.measuredBytes())
        << rows.join(u',').toStdString();
    EXPECT_GT(models.caches.measuredBytes(), 0);
    EXPECT_TRUE(rows.contains(s("docker=Docker not installed"))) << rows.join(u',').toStdString();
    EXPECT_TRUE(rows.contains(s("projects=No folder scanned yet")));

    // Each area's row says its number, "Measuring…" or its note; the Trash has its own.
    const QTreeWidget* list = view->list();
    bool sawDocker = false;
    for (int row = 0; row < list->topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = list->topLevelItem(row);
        if (item->text(0) == s("Docker")) {
            sawDocker = true;
            EXPECT_EQ(item->text(1), s("Docker not installed"));
        }
    }
    EXPECT_TRUE(sawDocker);
    EXPECT_TRUE(view->diskLabel()->text().contains(s("free")));
    test::saveScreenshot(window, s("overview-docker-missing"));

    // The sidebar lists every area, with the caches' size beside it.
    const QListWidget* sidebar = window.sidebar();
    EXPECT_EQ(sidebar->count(), 11);
    EXPECT_EQ(sidebar->item(0)->text(), s("Overview"));
    EXPECT_TRUE(sidebar->item(2)->text().startsWith(s("Developer caches   ")))
        << sidebar->item(2)->text().toStdString();

    // A click on an area's segment opens it.
    emit view->bar()->areaClicked(s("caches"));
    EXPECT_EQ(models.navigation.selection(),
              SidebarSelection::of(SidebarSelection::Kind::globalCaches));
}
