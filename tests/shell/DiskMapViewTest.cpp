#include "shell/DiskMapView.h"

#include "platform/ByteFormat.h"
#include "platform/KeepStore.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"
#include "platform/TrashService.h"
#include "shell/AppModels.h"
#include "shell/ConfirmationSheet.h"
#include "shell/DiskMapCanvas.h"
#include "shell/ItemContextMenu.h"
#include "shell/MainWindow.h"
#include "shell/OverviewView.h"
#include "shell/ShellTesting.h"
#include "shell/TreemapLayout.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

double area(const QRectF& rect) {
    return rect.width() * rect.height();
}

// What the rectangles of `sizes` must be, whatever the order of rows the layout chose.
void expectTiling(const QList<qint64>& sizes, const QRectF& bounds) {
    const QList<QRectF> rects = Treemap::squarify(sizes, bounds);
    ASSERT_EQ(rects.size(), sizes.size());
    double total = 0;
    for (const qint64 size : sizes)
        total += static_cast<double>(std::max<qint64>(size, 0));
    double covered = 0;
    for (qsizetype i = 0; i < rects.size(); ++i) {
        if (sizes[i] <= 0) {
            EXPECT_TRUE(rects[i].isEmpty()) << i;
            continue;
        }
        EXPECT_GT(area(rects[i]), 0) << i;
        EXPECT_TRUE(bounds.adjusted(-1e-6, -1e-6, 1e-6, 1e-6).contains(rects[i])) << i;
        EXPECT_NEAR(area(rects[i]) / area(bounds), static_cast<double>(sizes[i]) / total, 1e-9)
            << i;
        covered += area(rects[i]);
        for (qsizetype j = 0; j < i; ++j)
            EXPECT_LT(area(rects[i].intersected(rects[j])), 1e-6) << i << " overlaps " << j;
    }
    EXPECT_NEAR(covered, area(bounds), 1e-6);
}

} // namespace

TEST(TreemapLayout, RectanglesTileTheBoundsInProportionToTheSizes) {
    expectTiling({500, 300, 120, 60, 10, 9, 1}, QRectF(0, 0, 800, 500));
    expectTiling({1'000'000'000'000, 3, 2, 1}, QRectF(10, 20, 300, 900));
    expectTiling({7}, QRectF(0, 0, 50, 40));
    // Nothing to show gets nothing.
    expectTiling({40, 20, 0, 0}, QRectF(0, 0, 120, 80));
    EXPECT_TRUE(Treemap::squarify({}, QRectF(0, 0, 10, 10)).isEmpty());

    // Sixteen equal folders in a square come out as squares, not strips.
    const QList<QRectF> grid = Treemap::squarify(QList<qint64>(16, 5), QRectF(0, 0, 400, 400));
    for (const QRectF& cell : grid)
        EXPECT_NEAR(cell.width() / cell.height(), 1.0, 1e-6);
}

namespace {

// A projects folder in the fake home, mapped in a page of its own.
class DiskMapViewTest : public testing::Test {
protected:
    void SetUp() override {
        root = test::makeTempDir(s("Projects"));
        const auto file = [this](const char* path, qsizetype bytes) {
            test::writeFile(root + u'/' + s(path), QByteArray(bytes, 'x'));
        };
        file("storefront/package.json", 200);
        file("storefront/node_modules/react/index.js", 2'400'000);
        file("storefront/node_modules/lodash/lodash.js", 1'300'000);
        file("storefront/node_modules/vite/dist/node.js", 900'000);
        file("storefront/dist/app.js", 700'000);
        file("storefront/src/main.ts", 160'000);
        file("analysis/pyproject.toml", 100);
        file("analysis/.venv/lib/numpy/core.so", 1'800'000);
        file("analysis/__pycache__/run.pyc", 300'000);
        file("analysis/data/sample.csv", 1'100'000);
        file("engine/Cargo.toml", 100);
        file("engine/target/debug/engine", 2'000'000);
        file("engine/src/main.rs", 120'000);
        file("notes/ideas.md", 400'000);
        view.resize(1000, 700);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        view.showFolder(root);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading(); }, test::patience));
        ASSERT_TRUE(QTest::qWaitFor(
            [this] { return !view.isRefreshPending() && !view.canvas()->cells().isEmpty(); },
            test::patience));
    }

    const DiskMapCanvas::Cell* cellNamed(const QString& name) const {
        for (const DiskMapCanvas::Cell& cell : view.canvas()->cells()) {
            if (cell.name == name)
                return &cell;
        }
        return nullptr;
    }

    QString root;
    ToastCenter toasts;
    DiskMapModel model{toasts};
    DiskMapView view{model};
};

} // namespace

TEST(DiskMapLabels, ANarrowCellCutsTheNameAndNeverTheSize) {
    const QFontMetrics metrics(QApplication::font());
    const QString name = s("calm-falcon-web");
    const QString whole = name + s("  18.1 MB");
    const auto label = [&](int width) {
        const QString text = DiskMapCanvas::labelFor(name, 18'100'000, metrics, width);
        EXPECT_LE(metrics.horizontalAdvance(text), width) << text.toStdString();
        return text;
    };
    EXPECT_EQ(label(metrics.horizontalAdvance(whole) + 2), whole);

    const QString cut = label(metrics.horizontalAdvance(whole) * 2 / 3);
    EXPECT_TRUE(cut.endsWith(s("…  18.1 MB"))) << cut.toStdString();
    EXPECT_TRUE(cut.startsWith(s("calm"))) << cut.toStdString();

    const QString nameOnly = label(metrics.horizontalAdvance(s("  18.1 MB calm")));
    EXPECT_TRUE(nameOnly.startsWith(s("calm"))) << nameOnly.toStdString();
    EXPECT_FALSE(nameOnly.contains(s("MB"))) << nameOnly.toStdString();
}

TEST_F(DiskMapViewTest, DrawsTheFoldersNestedAndZoomsInAndOutByClicks) {
    const DiskMapCanvas& canvas = *view.canvas();
    ASSERT_FALSE(canvas.cells().isEmpty());
    for (const DiskMapCanvas::Cell& cell : canvas.cells())
        EXPECT_GT(area(cell.rect), 0) << qPrintable(cell.name);
    ASSERT_TRUE(cellNamed(s("node_modules")));
    EXPECT_EQ(cellNamed(s("node_modules"))->category, MapCategory::dependencies);
    EXPECT_EQ(cellNamed(s("node_modules"))->depth, 2);
    EXPECT_EQ(cellNamed(s(".venv"))->category, MapCategory::virtualEnv);
    EXPECT_EQ(view.breadcrumb(), QStringList{Paths::withTilde(root, test::fakeHome())});
    EXPECT_TRUE(view.statusText().contains(formatBytes(model.node(0)->bytes)));
    test::saveScreenshot(view, s("disk-map"));

    // Hovering tells the path and size.
    const DiskMapCanvas::Cell react = *cellNamed(s("react"));
    QTest::mouseMove(view.canvas(), react.rect.center().toPoint());
    EXPECT_EQ(view.statusText(),
              root + s("/storefront/node_modules/react: ") + formatBytes(react.bytes));

    // A click on a folder deep inside opens the innermost one that holds folders.
    QTest::mouseClick(view.canvas(), Qt::LeftButton, {}, react.rect.center().toPoint());
    EXPECT_EQ(view.breadcrumb().mid(1), (QStringList{s("storefront"), s("node_modules")}));
    ASSERT_TRUE(cellNamed(s("react")));
    EXPECT_EQ(cellNamed(s("react"))->depth, 1);
    EXPECT_FALSE(cellNamed(s("analysis")));
    test::saveScreenshot(view, s("disk-map-zoomed"));

    // The path above the map goes back up; the current folder's own entry does nothing.
    const QList<QToolButton*> crumbs = view.breadcrumbButtons();
    ASSERT_EQ(crumbs.size(), 3);
    EXPECT_FALSE(crumbs.last()->isEnabled());
    crumbs[1]->click();
    EXPECT_EQ(view.breadcrumb().mid(1), QStringList{s("storefront")});
    view.breadcrumbButtons().first()->click();
    EXPECT_EQ(view.canvas()->focus(), DiskMapModel::rootFolder);
    EXPECT_TRUE(cellNamed(s("analysis")));
}

TEST_F(DiskMapViewTest, TheContextMenuMovesAFolderToTheTrashButNotAKeptOne) {
    const KeepStore keep;
    ASSERT_EQ(keep.add(root + s("/engine/target")), QString());
    const auto actionOf = [](QMenu* menu, const QString& text) -> QAction* {
        for (QAction* action : menu->actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    };

    QMenu* kept = view.menuFor(*cellNamed(s("engine"))->folder);
    ASSERT_TRUE(actionOf(kept, PlatformWords::here().revealInFileManager));
    ASSERT_TRUE(actionOf(kept, ItemContextMenu::copyPathTitle));
    QAction* refused = actionOf(kept, DiskMapView::trashTitle);
    ASSERT_TRUE(refused);
    EXPECT_FALSE(refused->isEnabled());
    EXPECT_EQ(refused->toolTip(), TrashService::keptMessage);
    refused->trigger();
    EXPECT_FALSE(test::openBox(view, s("trashConfirmation")));
    delete kept;

    QMenu* menu = view.menuFor(*cellNamed(s("dist"))->folder);
    actionOf(menu, ItemContextMenu::copyPathTitle)->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), root + s("/storefront/dist"));
    actionOf(menu, DiskMapView::trashTitle)->trigger();
    delete menu;
    ConfirmationSheet* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openSheet(view, s("trashConfirmation"))); }, test::patience));
    EXPECT_TRUE(box->text().contains(s("dist")));
    box->acceptButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isRemoving(); }, test::patience));
    QFile::remove(keep.url());

    EXPECT_FALSE(QFileInfo::exists(root + s("/storefront/dist")));
    EXPECT_TRUE(QFileInfo::exists(root + s("/engine/target")));
    EXPECT_TRUE(QTest::qWaitFor([this] { return !cellNamed(s("dist")); }, test::patience));
}

TEST(DiskMapWindowTest, TheSidebarMapsTheScannedFolderAndTheOverviewTheHomeFolder) {
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
    window.resize(1100, 720);
    window.show();
    const QString root = test::makeTempDir(s("Code"));
    test::writeFile(root + s("/tool/main.c"), QByteArray(5000, 'c'));
    window.scanFolder(root);

    const QList<QListWidgetItem*> rows =
        window.sidebar()->findItems(s("Disk Map"), Qt::MatchStartsWith);
    ASSERT_EQ(rows.size(), 1);
    window.sidebar()->setCurrentItem(rows.first());
    EXPECT_TRUE(window.page<DiskMapView>()->isVisible());
    EXPECT_EQ(models.diskMap.folder(), root);
    ASSERT_TRUE(QTest::qWaitFor([&] { return models.diskMap.hasLoaded(); }, test::patience));

    // Back on the page, the same folder is not measured again.
    window.showProjects();
    window.showArea(s("diskMap"));
    EXPECT_FALSE(models.diskMap.isLoading());

    window.page<OverviewView>()->diskMapButton()->click();
    EXPECT_TRUE(window.page<DiskMapView>()->isVisible());
    EXPECT_EQ(models.diskMap.folder(), test::fakeHome());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !models.diskMap.isLoading(); }, test::patience));
}
