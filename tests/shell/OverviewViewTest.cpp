#include "shell/OverviewView.h"

#include "apps/AppFixtures.h"
#include "devtools/AIModelStores.h"
#include "devtools/AndroidStores.h"
#include "devtools/FakeDocker.h"
#include "devtools/OverviewAreas.h"
#include "devtools/SimulatorFixtures.h"
#include "platform/AreaCatalog.h"
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

    test::NoDeveloperTools noTools;
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
};

} // namespace

TEST_F(OverviewViewTest, EveryAreaGetsItsNumberOrSaysWhyAndTheTotalIsTheirSum) {
    window.showOverview();
    OverviewView* view = window.page<OverviewView>();
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
    // Agent history other tests of this process left in the home counts where it may go.
    EXPECT_EQ(models.overview.totalBytes(),
              models.caches.measuredBytes() + models.agentStorage.store().reclaimableBytes())
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
    EXPECT_EQ(sidebar->count(), Areas::all().size());
    EXPECT_EQ(sidebar->item(0)->text(), s("Overview"));
    EXPECT_TRUE(sidebar->item(2)->text().startsWith(s("Developer caches   ")))
        << sidebar->item(2)->text().toStdString();

    // A click on an area's segment opens it.
    emit view->bar()->areaClicked(s("caches"));
    EXPECT_EQ(models.navigation.selection(), SidebarSelection::of(QStringLiteral("caches")));

    // The arrow keys walk the sidebar from area to area.
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    window.sidebar()->setFocus();
    QTest::keyClick(window.sidebar(), Qt::Key_Down);
    EXPECT_EQ(models.navigation.selection(), SidebarSelection::of(QStringLiteral("agents")));
    QTest::keyClick(window.sidebar(), Qt::Key_Home);
    EXPECT_EQ(models.navigation.selection(), SidebarSelection::of(QStringLiteral("overview")));
    QTest::keyClick(window.sidebar(), Qt::Key_End);
    EXPECT_EQ(models.navigation.selection(), SidebarSelection::of(QStringLiteral("cleanups")));
}

namespace {

// The window over a fake home where every area has something to give back: a scanned project, a
// developer cache, Xcode's simulators, Docker, an Ollama model, an Android SDK, an app's
// leftovers and a coding agent's logs.
class LoadedOverviewTest : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(test::fakeHome() + s("/go/pkg/mod/cache/download/x.zip"),
                        QByteArray(300'000, 'g'));
        test::simfixtures::writeFakeTools(tools);
        namespace ai = test::ai;
        ai::writeBlob(aiRoot + s("/ollama"), ai::digest('a'), 40000);
        ai::writeBlob(aiRoot + s("/ollama"), ai::digest('b'));
        ai::writeLibraryManifest(aiRoot + s("/ollama"), s("llama3.2"), s("latest"), ai::digest('b'),
                                 {ai::digest('a')});
        android.package(s("platforms/android-36"), "AndroidVersion.ApiLevel=36\n", 64'000);
        test::libraryFolderWith(s("Caches/com.example.gone"), 1'200'000);
        // Coding agents: debug logs they recreate, and history of a project that exists.
        test::writeFile(test::fakeHome() + s("/.claude/debug/session.txt"),
                        QByteArray(50'000, 'd'));
        test::writeFile(test::fakeHome() + s("/.claude/projects/-x/s1.jsonl"),
                        "{\"type\":\"user\",\"cwd\":\"" + tools.toUtf8() + "\"}\n" +
                            QByteArray(90'000, ' '));
        window.resize(1100, 720);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    const QString tools = test::makeTempDir(s("tools"));
    const QString aiRoot = test::makeTempDir(s("ai"));
    test::FakeDocker docker;
    test::ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", tools + s("/xcrun")};
    test::ScopedEnvironment xcodebuild{"CORVANE_TOOL_XCODEBUILD", tools + s("/xcodebuild")};
    test::ai::FakeOllama ollama;
    test::ScopedEnvironment ollamaTool{"CORVANE_TOOL_OLLAMA", ollama.tool};
    test::ScopedEnvironment ollamaStore{"OLLAMA_MODELS", aiRoot + s("/ollama")};
    test::ScopedEnvironment hub{"HF_HUB_CACHE", aiRoot + s("/hub")};
    test::android::AndroidStore android;
    test::ScopedEnvironment brew{"CORVANE_TOOL_BREW", tools + s("/brew")};
    test::ScopedEnvironment flatpak{"CORVANE_TOOL_FLATPAK", tools + s("/flatpak")};
    test::ScopedEnvironment apps{"CORVANE_APPLICATIONS_DIR", tools};
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
};

} // namespace

TEST_F(LoadedOverviewTest, EveryAreaHasItsNumberAndTheSumIsTheAreasOwnTotals) {
    const QString root = test::makeTempDir(s("projects"));
    const Project app = test::makeProject(root + s("/app"));
    const CleanableItem modules = test::makeItem(app, s("node_modules"));
    test::writeFile(modules.url + s("/blob"), QByteArray(30'000, 'x'));
    window.scanFolder(root);
    scans.feed({ScanEvent::projectDiscovered(app),
                ScanEvent::gitStatusUpdated(app.id, test::makeDetails(GitStatus::fullySynced())),
                ScanEvent::itemsClassified(app.id, {modules}),
                ScanEvent::sizeUpdated(modules.id, 30'000), ScanEvent::scanCompleted()});

    window.showOverview();
    ASSERT_TRUE(QTest::qWaitFor(
        [this] { return models.overview.isComplete() && models.overview.trashBytes(); },
        test::patience));

    QMap<QString, qint64> byArea;
    qint64 sum = 0;
    for (const OverviewArea& area : models.overview.areas()) {
        ASSERT_TRUE(area.bytes().has_value())
            << area.id.toStdString() << ": " << area.note().toStdString();
        EXPECT_GT(*area.bytes(), 0) << area.id.toStdString();
        byArea.insert(area.id, *area.bytes());
        sum += *area.bytes();
    }
    EXPECT_EQ(byArea.keys(),
              (QList<QString>{s("agents"), s("aiModels"), s("android"), s("apps"), s("caches"),
                              s("docker"), s("projects"), s("simulators")}));
    EXPECT_EQ(models.overview.totalBytes(), sum);
    // The areas the models total themselves agree with their own numbers.
    EXPECT_EQ(byArea[s("projects")], models.session.reclaimableBytes());
    EXPECT_EQ(byArea[s("projects")], 30'000);
    EXPECT_EQ(byArea[s("caches")], models.caches.measuredBytes());
    // Docker's figure leaves out what a container uses and the running container.
    EXPECT_EQ(byArea[s("docker")], OverviewFigures::docker(*models.docker.snapshot()));
    EXPECT_EQ(byArea[s("docker")], 2'966'530'000);
    // Its row shows the whole size beside it.
    const auto dockerRow = [this] {
        return window.page<OverviewView>()->list()->topLevelItem(3)->text(0);
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return dockerRow() == s("Docker — 3.47 GB in all"); },
                                test::patience))
        << dockerRow().toStdString();
    // Only what the agents recreate or nobody can reach, never history of a project that exists.
    EXPECT_EQ(byArea[s("agents")], models.agentStorage.store().reclaimableBytes());
    EXPECT_LT(byArea[s("agents")], models.agentStorage.store().totalBytes());
    // Only the orphan's data, never an installed app's.
    EXPECT_GE(byArea[s("apps")], 1'200'000);
    EXPECT_LT(byArea[s("apps")], 1'400'000);

    // Every sidebar row of an area carries its size once the overview has looked again.
    const QListWidget* sidebar = window.sidebar();
    for (const char* name :
         {"Developer caches", "Coding agents", "Docker", "Simulators", "AI models", "Android"}) {
        const auto sized = [&] {
            for (int row = 0; row < sidebar->count(); ++row) {
                if (sidebar->item(row)->text().startsWith(s(name) + s("   ")))
                    return true;
            }
            return false;
        };
        EXPECT_TRUE(QTest::qWaitFor(sized, test::patience)) << name;
    }
    // The projects' row says what is ticked, and follows the ticks after every area has loaded.
    const QTreeWidget* list = window.page<OverviewView>()->list();
    const auto projectsRow = [list] { return list->topLevelItem(0)->text(0); };
    EXPECT_TRUE(QTest::qWaitFor([&] { return projectsRow() == s("Projects — 30 KB ticked"); },
                                test::patience))
        << projectsRow().toStdString();
    test::saveScreenshot(window, s("overview-loaded"));
    test::saveScreenshot(window, s("overview-with-agents"));
    models.session.setItemSelected(modules.id, false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return projectsRow() == s("Projects"); }, test::patience))
        << projectsRow().toStdString();
}
