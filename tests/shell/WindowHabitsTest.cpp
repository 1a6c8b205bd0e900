#include "shell/ArchiveFlow.h"
#include "shell/FolderDrop.h"
#include "shell/MainWindow.h"
#include "shell/OverviewView.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "shell/SummaryStrip.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QDropEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QStackedWidget>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeDetails;
using test::makeItem;
using test::makeProject;

namespace {

// What a desktop utility is expected to do beyond its pages: take a folder dropped on it, open a
// menu button's menu from its face, and fit a small window.
class WindowHabitsTest : public testing::Test {
protected:
    void SetUp() override {
        window.resize(1280, 800);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    // Offers `urls` as a drag over the window, then drops them; whether the drag was accepted.
    bool dragAndDrop(const QList<QUrl>& urls) {
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(400, 300), Qt::CopyAction, &data, Qt::LeftButton,
                              Qt::NoModifier);
        QApplication::sendEvent(&window, &enter);
        QDropEvent drop(QPointF(400, 300), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window, &drop);
        return enter.isAccepted();
    }

    // A scanned project with reclaimable items of every kind the legend shows.
    Project scanProjectOfEveryKind() {
        const Project project = makeProject(root + QStringLiteral("/storefront"));
        QList<ScanEvent> events{
            ScanEvent::projectDiscovered(project),
            ScanEvent::gitStatusUpdated(project.id, makeDetails(GitStatus::fullySynced()))};
        QList<CleanableItem> items;
        qint64 bytes = 310'000'000;
        for (const auto& [name, kind] : {std::pair{"node_modules", ArtifactKind::dependencies},
                                         std::pair{"dist", ArtifactKind::buildOutput},
                                         std::pair{".cache", ArtifactKind::cache},
                                         std::pair{".venv", ArtifactKind::virtualEnv},
                                         std::pair{"vendor/tmp", ArtifactKind::unknown}}) {
            items.append(makeItem(project, QString::fromLatin1(name), kind));
        }
        events.append(ScanEvent::itemsClassified(project.id, items));
        for (const CleanableItem& item : items) {
            events.append(ScanEvent::sizeUpdated(item.id, bytes));
            bytes /= 3;
        }
        window.scanFolder(root);
        scans.feed(events);
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return window.projectsView().summary()->legendTexts().size() >= 4; },
            test::patience))
            << qPrintable(window.projectsView().summary()->legendTexts().join(u','));
        return project;
    }

    QString root = test::makeTempDir(QStringLiteral("code"));
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
};

} // namespace

TEST_F(WindowHabitsTest, AFolderDroppedOnTheWindowIsScannedAndNothingElseIsTaken) {
    const QString file = root + QStringLiteral("/notes.txt");
    test::writeFile(file, "x");
    const QString other = test::makeTempDir(QStringLiteral("other"));
    EXPECT_FALSE(dragAndDrop({QUrl::fromLocalFile(file)}));
    EXPECT_FALSE(dragAndDrop({QUrl::fromLocalFile(root), QUrl::fromLocalFile(other)}));
    EXPECT_FALSE(dragAndDrop({QUrl(QStringLiteral("https://example.com/code"))}));
    EXPECT_TRUE(scans.roots.isEmpty());

    EXPECT_TRUE(dragAndDrop({QUrl::fromLocalFile(root + QStringLiteral("/"))}));
    EXPECT_EQ(scans.roots, QList<QString>{root});

    // A folder the scan refuses is refused as when it is chosen.
    EXPECT_TRUE(dragAndDrop({QUrl::fromLocalFile(QStringLiteral("/"))}));
    EXPECT_EQ(scans.roots, QList<QString>{root});
    QMessageBox* refusal = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (refusal = test::openBox(window, QStringLiteral("refusalAlert"))); },
        test::patience));
    refusal->close();
}

TEST_F(WindowHabitsTest, TheArchiveButtonsFaceOpensItsMenu) {
    const Project project = scanProjectOfEveryKind();
    window.projectsView().projectView()->setCurrentIndex(
        window.projectsView().projectModel().indexOf(project.id));
    QAction* archive = window.projectsView().action(ProjectsView::Action::archiveProject);
    ASSERT_TRUE(QTest::qWaitFor([&] { return archive->isEnabled(); }, test::patience));
    auto* button =
        qobject_cast<QToolButton*>(window.projectsView().toolBar()->widgetForAction(archive));
    ASSERT_NE(button, nullptr);

    bool opened = false;
    // The menu runs its own loop while it is open: it is looked at, and closed, from there.
    QTimer::singleShot(0, &window, [&] {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return window.projectsView().archiveFlow().menu()->isVisible(); }, 5000));
        opened = true;
        EXPECT_FALSE(window.projectsView().archiveFlow().menu()->actions().isEmpty());
        window.projectsView().archiveFlow().menu()->close();
    });
    QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, button->rect().center());
    EXPECT_TRUE(QTest::qWaitFor([&] { return opened; }, test::patience));
}

TEST_F(WindowHabitsTest, ASmallWindowTakesOneLineForTheSummaryAndTheLegendWraps) {
    const Project project = scanProjectOfEveryKind();
    window.projectsView().projectView()->setCurrentIndex(
        window.projectsView().projectModel().indexOf(project.id));
    SummaryStrip& strip = *window.projectsView().summary();
    const auto entriesInside = [&strip] {
        for (const QLabel* words : strip.findChildren<QLabel*>()) {
            if (!strip.legendTexts().contains(words->text()))
                continue;
            const QWidget* entry = words->parentWidget();
            if (entry->geometry().right() > entry->parentWidget()->width())
                return false;
        }
        return true;
    };
    QSet<int> lines;
    const auto legendLines = [&strip, &lines] {
        lines.clear();
        for (const QLabel* words : strip.findChildren<QLabel*>()) {
            if (strip.legendTexts().contains(words->text()))
                lines.insert(words->parentWidget()->y());
        }
        return lines.size();
    };

    // Too narrow for the legend on one line, wide enough for the strip in full.
    window.resize(SummaryStrip::compactWidth + window.sidebar()->width() + 10, 640);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return !strip.isCompact() && legendLines() > 1; }, test::patience))
        << legendLines();
    EXPECT_TRUE(entriesInside());

    window.resize(800, 560);
    ASSERT_TRUE(QTest::qWaitFor([&] { return strip.isCompact(); }, test::patience));
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.size() == QSize(800, 560); }, test::patience))
        << window.width() << "×" << window.height();
    const int oneLine = strip.fontMetrics().height() * 2;
    // Waited for, the layout has had the window's new size then.
    ASSERT_TRUE(QTest::qWaitFor([&] { return strip.height() <= oneLine; }, test::patience))
        << strip.height() << " > " << oneLine;
    // Every page fits in what the window gives it then.
    const auto* pages = qobject_cast<QStackedWidget*>(window.page<OverviewView>()->parentWidget());
    ASSERT_NE(pages, nullptr);
    for (int index = 0; index < pages->count(); ++index) {
        const QWidget* page = pages->widget(index);
        const int height = page->hasHeightForWidth() ? page->heightForWidth(pages->width())
                                                     : page->minimumSizeHint().height();
        EXPECT_LE(page->minimumSizeHint().width(), pages->width()) << index;
        EXPECT_LE(height, pages->height()) << index;
    }
    EXPECT_TRUE(strip.bar().toolTip().contains(strip.legendTexts().value(0)));
    // The sidebar narrows to its longest name, each name whole, and the page takes the rest.
    const QListWidget& sidebar = *window.sidebar();
    ASSERT_TRUE(QTest::qWaitFor([&] { return sidebar.width() < MainWindow::sidebarWidth - 40; },
                                test::patience))
        << sidebar.width();
    for (int row = 0; row < sidebar.count(); ++row) {
        const QRect place = sidebar.visualItemRect(sidebar.item(row));
        EXPECT_LE(sidebar.fontMetrics().horizontalAdvance(sidebar.item(row)->text()) +
                      sidebar.iconSize().width(),
                  place.width())
            << qPrintable(sidebar.item(row)->text());
    }
    test::saveScreenshot(window, QStringLiteral("window-small"));

    window.resize(1280, 800);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !strip.isCompact(); }, test::patience));
    EXPECT_TRUE(QTest::qWaitFor([&] { return sidebar.width() >= MainWindow::sidebarWidth - 10; },
                                test::patience))
        << sidebar.width();
}
