#include "shell/ItemContextMenu.h"

#include "platform/PlatformWords.h"
#include "shell/AndroidView.h"
#include "shell/MainWindow.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QTreeView>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::ScopedEnvironment;

namespace {

constexpr int pathRole = Qt::UserRole;

// Stand-ins for the file manager and the terminals, which write where they were started and
// their arguments, one per line, beside themselves.
class ItemContextMenuTest : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"open", "x-terminal-emulator", "gnome-terminal"})
            test::writeScript(tools + u'/' + QString::fromLatin1(name),
                              "{ pwd; for a in \"$@\"; do echo \"$a\"; done; } > \"$0.args\"\n");
        test::writeFile(folder + QStringLiteral("/app/package.json"), "{}");
        test::writeFile(folder + QStringLiteral("/site/dist/index.html"), "<p>");
        // Headings stand for no folder: they get no menu.
        auto* heading = new QTreeWidgetItem(&tree, {QStringLiteral("Projects")});
        for (const QString& name : {QStringLiteral("app"), QStringLiteral("site/dist")}) {
            auto* row = new QTreeWidgetItem(heading, {name});
            row->setData(0, pathRole, folder + u'/' + name);
        }
        tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
        tree.expandAll();
        ItemContextMenu::attach(tree, [](const QModelIndex& row) {
            return row.siblingAtColumn(0).data(pathRole).toString();
        });
        tree.resize(400, 300);
        tree.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&tree));
    }

    QPoint pointOf(int row) const {
        return tree.visualItemRect(tree.topLevelItem(0)->child(row)).center();
    }

    std::unique_ptr<QMenu> menuAt(const QPoint& point) {
        return ItemContextMenu::of(tree)->menuAt(point);
    }

    static void trigger(QMenu& menu, const char* objectName) {
        auto* action = menu.findChild<QAction*>(QString::fromLatin1(objectName));
        ASSERT_NE(action, nullptr) << objectName;
        action->trigger();
    }

    // What the stand-in `name` was started with: its working folder, then its arguments.
    QStringList startedWith(const QString& name) {
        QFile file(tools + u'/' + name + QStringLiteral(".args"));
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return file.exists() && file.size() > 0; }, test::patience))
            << qPrintable(name) << " was not started";
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

    QString tools = test::makeTempDir(QStringLiteral("tools"));
    QString folder = test::makeTempDir(QStringLiteral("code"));
    ScopedEnvironment open{"CORVANE_TOOL_OPEN", tools + QStringLiteral("/open")};
    ScopedEnvironment xterminal{"CORVANE_TOOL_X_TERMINAL_EMULATOR",
                                tools + QStringLiteral("/x-terminal-emulator")};
    QTreeWidget tree;
};

} // namespace

TEST_F(ItemContextMenuTest, ARowOffersRevealCopyPathAndTerminalForItsOwnPath) {
    EXPECT_EQ(menuAt(tree.visualItemRect(tree.topLevelItem(0)).center()), nullptr);
    EXPECT_EQ(menuAt(QPoint(5, 290)), nullptr);

    const std::unique_ptr<QMenu> menu = menuAt(pointOf(1));
    ASSERT_NE(menu, nullptr);
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts.append(action->text());
    EXPECT_EQ(texts,
              QStringList({PlatformWords::here().revealInFileManager, QStringLiteral("Copy Path"),
                           QStringLiteral("Open in Terminal")}));
#ifndef Q_OS_MACOS
    EXPECT_EQ(PlatformWords::here().revealInFileManager, QStringLiteral("Show in Files"));
#endif

    trigger(*menu, "copyPathAction");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), folder + QStringLiteral("/site/dist"));
    // The file manager is shown the folder that holds the item; the terminal starts in the item.
    trigger(*menu, "revealAction");
#ifdef Q_OS_MACOS
    EXPECT_EQ(startedWith(QStringLiteral("open")).mid(1),
              QStringList({QStringLiteral("-R"), QStringLiteral("--"),
                           folder + QStringLiteral("/site/dist")}));
#else
    EXPECT_EQ(startedWith(QStringLiteral("open")).mid(1),
              QStringList{folder + QStringLiteral("/site")});
#endif
    trigger(*menu, "openInTerminalAction");
    EXPECT_EQ(startedWith(QStringLiteral("x-terminal-emulator")),
              QStringList{folder + QStringLiteral("/site/dist")});
}

TEST_F(ItemContextMenuTest, ASelectedRowActsOnTheWholeSelection) {
    tree.selectAll();
    const std::unique_ptr<QMenu> menu = menuAt(pointOf(1));
    ASSERT_NE(menu, nullptr);
    trigger(*menu, "copyPathAction");
    // The clicked row first, then the others; the heading stands for nothing.
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              folder + QStringLiteral("/site/dist\n") + folder + QStringLiteral("/app"));

    // A row outside the selection acts on itself alone.
    tree.clearSelection();
    tree.topLevelItem(0)->child(0)->setSelected(true);
    trigger(*menuAt(pointOf(1)), "copyPathAction");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), folder + QStringLiteral("/site/dist"));
}

TEST_F(ItemContextMenuTest, TheTerminalIsTheFirstOneInstalledAndItsAbsenceIsSaid) {
#ifdef Q_OS_MACOS
    GTEST_SKIP() << "macOS always has Terminal";
#endif
    ScopedEnvironment gnome{"CORVANE_TOOL_GNOME_TERMINAL",
                            tools + QStringLiteral("/gnome-terminal")};
    QStringList missing;
    for (const char* name : {"X_TERMINAL_EMULATOR", "KGX", "KONSOLE", "XFCE4_TERMINAL", "XTERM"})
        missing.append(QStringLiteral("CORVANE_TOOL_") + QString::fromLatin1(name));
    std::vector<std::unique_ptr<ScopedEnvironment>> gone;
    for (const QString& variable : missing)
        gone.push_back(std::make_unique<ScopedEnvironment>(
            qPrintable(variable), tools + QStringLiteral("/not-installed")));

    trigger(*menuAt(pointOf(0)), "openInTerminalAction");
    EXPECT_EQ(startedWith(QStringLiteral("gnome-terminal")),
              QStringList({folder + QStringLiteral("/app"), QStringLiteral("--working-directory=") +
                                                                folder + QStringLiteral("/app")}));

    ScopedEnvironment noGnome{"CORVANE_TOOL_GNOME_TERMINAL",
                              tools + QStringLiteral("/not-installed")};
    trigger(*menuAt(pointOf(0)), "openInTerminalAction");
    QMessageBox* alert = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (alert = test::openBox(tree, QStringLiteral("workspaceAlert"))); },
        test::patience));
    EXPECT_TRUE(alert->text().startsWith(QStringLiteral("No terminal app was found.")))
        << qPrintable(alert->text());
    alert->close();
}

TEST_F(ItemContextMenuTest, KeepIsOfferedWhereTheTrashHonoursItOnceTheMarksAreHandedOver) {
    QTreeWidget list;
    auto* row = new QTreeWidgetItem(&list, {QStringLiteral("app")});
    row->setData(0, pathRole, folder + QStringLiteral("/app"));
    ItemContextMenu* menu = ItemContextMenu::attach(
        list, [](const QModelIndex& index) { return index.data(pathRole).toString(); },
        ItemContextMenu::keepFolders);
    list.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&list));
    const QPoint point = list.visualItemRect(row).center();
    EXPECT_EQ(menu->menuAt(point)->findChild<QAction*>(QStringLiteral("keepAction")), nullptr);
    EXPECT_EQ(ItemContextMenu::of(tree)
                  ->menuAt(pointOf(0))
                  ->findChild<QAction*>(QStringLiteral("keepAction")),
              nullptr);

    test::FakeScans scans;
    AppModels models{scans.starter()};
    menu->setKeepSession(models.session);
    ItemContextMenu::of(tree)->setKeepSession(models.session);
    EXPECT_EQ(ItemContextMenu::of(tree)
                  ->menuAt(pointOf(0))
                  ->findChild<QAction*>(QStringLiteral("keepAction")),
              nullptr);
    QSignalSpy changed(menu, &ItemContextMenu::keepChanged);
    trigger(*menu->menuAt(point), "keepAction");
    EXPECT_TRUE(models.session.keptPaths().contains(folder + QStringLiteral("/app")));
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(menu->menuAt(point)->findChild<QAction*>(QStringLiteral("keepAction"))->text(),
              QStringLiteral("Don't Keep Folder"));
}

TEST(ItemContextMenuPages, EveryListOfTheWindowHasTheMenuAndProjectsKeepTheirKeepEntry) {
    test::FakeScans scans;
    AppModels models{scans.starter()};
    MainWindow window{models};
    for (const char* list : {"cachesView", "organizePlan", "archivedList", "simulatorsTree",
                             "androidTree", "aiModelsTree", "appsTree"}) {
        const auto* view = window.findChild<QAbstractItemView*>(QString::fromLatin1(list));
        ASSERT_NE(view, nullptr) << list;
        EXPECT_NE(ItemContextMenu::of(*view), nullptr) << list;
    }

    const QString root = test::makeTempDir(QStringLiteral("code"));
    const Project app = test::makeProject(root + QStringLiteral("/app"));
    window.scanFolder(root);
    scans.feed({ScanEvent::projectDiscovered(app)});
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return window.projectsView().projectModel().indexOf(app.id).isValid(); },
        test::patience));
    const std::unique_ptr<QMenu> menu =
        window.projectsView().projectMenu(window.projectsView().projectModel().indexOf(app.id));
    ASSERT_NE(menu, nullptr);
    for (const char* entry :
         {"revealAction", "copyPathAction", "openInTerminalAction", "keepAction"})
        EXPECT_NE(menu->findChild<QAction*>(QString::fromLatin1(entry)), nullptr) << entry;
}
