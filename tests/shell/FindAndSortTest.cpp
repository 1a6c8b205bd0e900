#include "shell/CachesView.h"
#include "shell/FilterBar.h"
#include "shell/InventoryWidgets.h"
#include "shell/ListFinder.h"
#include "shell/MainWindow.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectNames.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QSettings>
#include <QTest>
#include <QTreeView>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

// The orders these tests choose are remembered; no other test of the run should find them.
class ForgetsListOrders : public testing::Test {
protected:
    void TearDown() override { QSettings().remove(QStringLiteral("lists")); }
};

// Clicks the header of `view` over `column`, as the user sorts.
void clickHeader(QTreeView& view, int column) {
    QHeaderView* header = view.header();
    const QPoint at(header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                    header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
}

class ProjectsFindTest : public ForgetsListOrders {
protected:
    void SetUp() override {
        root = test::makeTempDir(QStringLiteral("code"));
        ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
        window.resize(1280, 800);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    Project found(const QString& path, qint64 bytes, const GitDetails& details) {
        const Project project = makeProject(root + u'/' + path);
        const CleanableItem modules = makeItem(project, s("node_modules"));
        const CleanableItem build = makeItem(project, s("build"), ArtifactKind::buildOutput);
        scans.feed({ScanEvent::projectDiscovered(project),
                    ScanEvent::gitStatusUpdated(project.id, details),
                    ScanEvent::itemsClassified(project.id, {modules, build}),
                    ScanEvent::sizeUpdated(modules.id, bytes),
                    ScanEvent::sizeUpdated(build.id, bytes / 2)});
        return project;
    }

    FilterBar& projectsBar() {
        return *window.projectsView().projectView()->parentWidget()->findChild<FilterBar*>();
    }

    void waitForRows(const QString& expected) {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return test::dumpTree(window.projectsView().projectModel()) == expected; },
            test::patience))
            << qPrintable(test::dumpTree(window.projectsView().projectModel()));
    }

    QString root;
    test::FakeScans scans;
    AppModels models{scans.starter()};
    ScanSession& session = models.session;
    MainWindow window{models};
};

} // namespace

TEST_F(ProjectsFindTest, TypingNarrowsTheProjectsByNameOrPathAndTheStatusCountsWhatShows) {
    GitDetails busy = makeDetails(GitStatus::dirty(3));
    busy.pushState = GitStatus::aheadOfRemote(1);
    const Project clientA = found(s("work/clientA/api"), 9'000'000, busy);
    found(s("work/clientB/api"), 7'000'000, makeDetails(GitStatus::fullySynced()));
    found(s("web"), 5'000'000, makeDetails(GitStatus::fullySynced()));
    found(s("tools/cli"), 3'000'000, makeDetails(GitStatus::noRemote()));
    scans.feed({ScanEvent::scanCompleted()});
    waitForRows(s("api — clientA,api — clientB,web,cli"));
    EXPECT_EQ(window.projectsView()
                  .projectModel()
                  .indexOf(clientA.id, ProjectTreeModel::stateColumn)
                  .data(),
              s("3 uncommitted changes · 1 commit not pushed"));

    QTest::keyClick(&window, Qt::Key_F, Qt::ControlModifier);
    QLineEdit* field = projectsBar().field();
    ASSERT_TRUE(QTest::qWaitFor([&] { return field->hasFocus(); }, test::patience));
    QTest::keyClicks(field, s("API"));
    waitForRows(s("api — clientA,api — clientB"));
    EXPECT_EQ(window.projectsView().statusText(), s("2 of 4 projects in ") + root);
    EXPECT_EQ(projectsBar().countText(), s("2 of 4 shown"));

    models.navigation.setSelection(SidebarSelection::forProject(clientA));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return window.projectsView().detailView()->project() == clientA; }, test::patience));
    // At the window's usual size the items table shows both sizes without scrolling sideways.
    QTreeView* items = window.projectsView().detailView()->itemsView();
    ASSERT_TRUE(QTest::qWaitFor([&] { return items->model()->rowCount() == 2; }, test::patience));
    // The detail opens with the selection; its table is laid out once it is shown.
    ASSERT_TRUE(QTest::qWaitFor([&] { return items->viewport()->width() > 0; }, test::patience));
    EXPECT_LE(items->header()->sectionViewportPosition(ProjectItemsModel::freesColumn) +
                  items->header()->sectionSize(ProjectItemsModel::freesColumn),
              items->viewport()->width());
    EXPECT_EQ(items->model()->index(0, ProjectItemsModel::folderColumn).data(), s("node_modules"));
    test::saveScreenshot(window, s("projects-filtered"));

    // A folder above the project matches as well as its name, whatever the case.
    field->clear();
    QTest::keyClicks(field, s("clientb"));
    waitForRows(s("api — clientB"));
    field->clear();
    waitForRows(s("api — clientA,api — clientB,web,cli"));
    EXPECT_EQ(window.projectsView().statusText(), s("4 projects in ") + root);
}

TEST_F(ProjectsFindTest, AClickedColumnOrdersTheProjectsUntilTheToolbarOrderIsChosen) {
    found(s("beta"), 2'000'000, makeDetails(GitStatus::fullySynced()));
    found(s("alpha"), 1'000'000, makeDetails(GitStatus::fullySynced()));
    found(s("Gamma"), 3'000'000, makeDetails(GitStatus::fullySynced()));
    scans.feed({ScanEvent::scanCompleted()});
    waitForRows(s("Gamma,beta,alpha"));
    clickHeader(*window.projectsView().projectView(), ProjectTreeModel::nameColumn);
    waitForRows(s("alpha,beta,Gamma"));
    clickHeader(*window.projectsView().projectView(), ProjectTreeModel::nameColumn);
    waitForRows(s("Gamma,beta,alpha"));
    clickHeader(*window.projectsView().projectView(), ProjectTreeModel::sizeColumn);
    // Sizes start with the largest.
    waitForRows(s("Gamma,beta,alpha"));
    session.setSortMode(ProjectSortMode::activity);
    EXPECT_EQ(window.projectsView().projectView()->header()->sortIndicatorSection(), -1);
}

TEST(ProjectNamesTest, NamesakesShowTheFewestFoldersAboveThemThatTellThemApart) {
    const QList<Project> projects{
        makeProject(s("/Users/me/work/clientA/api")), makeProject(s("/Users/me/work/clientB/api")),
        makeProject(s("/Users/me/old/shared/API")), makeProject(s("/Users/me/new/shared/api")),
        makeProject(s("/Users/me/web"))};
    const QHash<QUuid, QString> names = ProjectNames::distinguished(projects);
    EXPECT_EQ(names.value(projects[0].id), s("api — clientA"));
    EXPECT_EQ(names.value(projects[1].id), s("api — clientB"));
    EXPECT_EQ(names.value(projects[2].id), s("API — old/shared"));
    EXPECT_EQ(names.value(projects[3].id), s("api — new/shared"));
    EXPECT_FALSE(names.contains(projects[4].id));
}

using CachesFindTest = ForgetsListOrders;

TEST_F(CachesFindTest, TheClickedOrderIsRememberedForTheNextPageAndTheFilterReadsPaths) {
    const QString home = test::fakeHome();
    test::writeFile(home + s("/Library/Caches/Yarn/v6/package.tgz"), QByteArray(20'000, 'y'));
    test::writeFile(home + s("/.npm/_cacache/index"), QByteArray(90'000, 'n'));
    test::writeFile(home + s("/.cargo/registry/index"), QByteArray(1'000, 'c'));
    ToastCenter toasts;
    GlobalCachesModel caches(toasts);
    const auto rows = [](const CachesView& view) {
        return test::dumpTree(*view.listView()->model());
    };
    {
        CachesView view(caches);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        ASSERT_TRUE(QTest::qWaitFor([&] { return caches.hasLoaded() && !caches.isLoading(); },
                                    test::patience));
        // Largest first until the user chooses.
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return rows(view) == s("npm cache,Yarn cache,Cargo registry"); }, test::patience))
            << qPrintable(rows(view));
        clickHeader(*view.listView(), CachesTableModel::nameColumn);
        EXPECT_EQ(rows(view), s("Cargo registry,npm cache,Yarn cache"));

        auto* bar = view.findChild<FilterBar*>();
        QTest::keyClicks(bar->field(), s(".CARGO"));
        EXPECT_EQ(rows(view), s("Cargo registry"));
        EXPECT_EQ(bar->countText(), s("1 of 3 shown"));
    }
    CachesView again(caches);
    EXPECT_EQ(rows(again), s("Cargo registry,npm cache,Yarn cache"));
    EXPECT_EQ(again.listView()->header()->sortIndicatorSection(), CachesTableModel::nameColumn);
    // Tests after this one in the same run find the home as it was.
    for (const char* folder : {"/Library/Caches/Yarn", "/.npm", "/.cargo"})
        QDir(home + s(folder)).removeRecursively();
}

using TreeWidgetFindTest = ForgetsListOrders;

TEST_F(TreeWidgetFindTest, FilledListsSortSizesAsNumbersUnderFixedHeadingsAndHideWhatDoesNotMatch) {
    QWidget page;
    auto* bar = new FilterBar(s("Filter"), &page);
    const auto fill = [](QTreeWidget& tree) {
        tree.setHeaderLabels({s("Name"), s("Size")});
        QTreeWidgetItem* images = InventoryWidgets::addHeading(&tree, s("Images"));
        for (const auto& [name, bytes] : {std::pair{"postgres", qint64(9'000)},
                                          {"node", qint64(10'000'000'000)},
                                          {"redis", qint64(500'000)}}) {
            auto* row = new QTreeWidgetItem(images, {s(name)});
            row->setToolTip(0, s("docker.io/library/") + s(name));
            InventoryWidgets::setSize(*row, 1, bytes);
        }
        InventoryWidgets::addHeading(&tree, s("Build cache"));
        tree.expandAll();
    };
    const auto names = [](const QTreeWidget& tree) {
        QStringList shown;
        const QTreeWidgetItem* images = tree.topLevelItem(0);
        for (int row = 0; row < images->childCount(); ++row) {
            if (!images->child(row)->isHidden())
                shown.append(images->child(row)->text(0));
        }
        return shown.join(u',');
    };
    auto* tree = new QTreeWidget(&page);
    fill(*tree);
    ListFinder* finder = ListFinder::attach(*tree, bar, s("testImages"));
    EXPECT_EQ(names(*tree), s("postgres,node,redis"));
    tree->header()->setSortIndicator(1, Qt::DescendingOrder);
    EXPECT_EQ(names(*tree), s("node,redis,postgres"));
    EXPECT_EQ(tree->topLevelItem(1)->text(0), s("Build cache"));
    EXPECT_TRUE(tree->topLevelItem(0)->isExpanded());

    bar->field()->setText(s("library/RED"));
    EXPECT_EQ(names(*tree), s("redis"));
    EXPECT_TRUE(tree->topLevelItem(1)->isHidden());
    EXPECT_EQ(finder->shownRowCount(), 1);
    EXPECT_EQ(finder->allRowCount(), 3);
    // A heading that matches shows what it holds.
    bar->field()->setText(s("images"));
    EXPECT_EQ(names(*tree), s("node,redis,postgres"));

    // A refill is sorted and filtered as it arrives, and a new list takes up the remembered order.
    tree->clear();
    fill(*tree);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return names(*tree) == s("node,redis,postgres"); }, test::patience))
        << qPrintable(names(*tree));
    bar->field()->clear();
    auto* another = new QTreeWidget(&page);
    fill(*another);
    ListFinder::attach(*another, nullptr, s("testImages"));
    EXPECT_EQ(names(*another), s("node,redis,postgres"));
}
