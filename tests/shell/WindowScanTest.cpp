// The main window over the real scan engine, on a workspace of real folders and git
// repositories made in the test's temporary home.

#include "scanning/ScanEngine.h"
#include "shell/KeepMenu.h"
#include "shell/MainWindow.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectTreeModel.h"
#include "shell/SettingsDialog.h"
#include "shell/ShellTesting.h"
#include "shell/SummaryStrip.h"
#include "shell/ToastOverlay.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeView>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QString trashed(const QString& name) {
    return qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/files/") + name;
}

// Three projects: "app", committed and pushed with its dependencies ignored by git; "site", with
// work not committed yet; and "tool", a Python project outside git with a virtual environment
// and a folder of generated code that only a custom rule knows.
struct Workspace {
    QString root;
    QString app;
    QString site;
    QString tool;

    static Workspace make() {
        Workspace workspace;
        workspace.root = test::makeTempDir(QStringLiteral("projects"));
        workspace.app = workspace.root + QStringLiteral("/app");
        workspace.site = workspace.root + QStringLiteral("/site");
        workspace.tool = workspace.root + QStringLiteral("/tool");
        const QMap<QString, QByteArray> sources{{QStringLiteral("package.json"), "{}\n"},
                                                {QStringLiteral("package-lock.json"), "{}\n"},
                                                {QStringLiteral(".gitignore"), "node_modules/\n"}};

        test::makeRepo(workspace.app);
        test::commitFiles(workspace.app, sources);
        test::addRemote(workspace.app, QStringLiteral("origin"), test::makeBareRepo());
        test::pushWithUpstream(workspace.app);
        test::writeFile(workspace.app + QStringLiteral("/node_modules/left-pad/index.js"),
                        QByteArray(60'000, 'a'));

        test::makeRepo(workspace.site);
        test::commitFiles(workspace.site, sources);
        test::writeFile(workspace.site + QStringLiteral("/notes.md"), "not committed\n");
        test::writeFile(workspace.site + QStringLiteral("/node_modules/react/index.js"),
                        QByteArray(20'000, 's'));

        test::writeFile(workspace.tool + QStringLiteral("/pyproject.toml"), "[project]\n");
        test::writeFile(workspace.tool + QStringLiteral("/uv.lock"), "version = 1\n");
        test::writeFile(workspace.tool + QStringLiteral("/.venv/lib/site.py"),
                        QByteArray(40'000, 'v'));
        test::writeFile(workspace.tool + QStringLiteral("/gen-out/model.py"),
                        QByteArray(8'000, 'g'));
        return workspace;
    }
};

class WindowScanTest : public testing::Test {
protected:
    void SetUp() override {
        QSettings().remove(RulesStore::settingsKey);
        QFile::remove(KeepStore().url());
        workspace = Workspace::make();
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        // Shortcuts only reach the active window.
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    void TearDown() override {
        QSettings().remove(RulesStore::settingsKey);
        QFile::remove(KeepStore().url());
    }

    void waitForScan() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !session.isScanning(); }, test::patience));
        // The list would take the last changes in a moment; the test looks at them now.
        window.projectModel().refresh();
    }

    std::optional<Project> projectAt(const QString& path) {
        for (const Project& project : session.projects()) {
            if (project.url == path)
                return project;
        }
        return std::nullopt;
    }

    // The row of the detail's item list whose folder reads `folder`, or -1.
    int itemRow(const QString& folder) {
        ProjectItemsModel& items = window.detailView()->itemsModel();
        for (int row = 0; row < items.rowCount(); ++row) {
            if (items.index(row, ProjectItemsModel::folderColumn).data().toString() == folder)
                return row;
        }
        return -1;
    }

    void select(const QString& path) {
        const std::optional<Project> project = projectAt(path);
        ASSERT_TRUE(project) << qPrintable(path);
        const QModelIndex row = window.projectModel().indexOf(project->id);
        ASSERT_TRUE(row.isValid());
        window.projectView()->setCurrentIndex(row);
        ASSERT_EQ(window.detailView()->project(), project);
    }

    void acceptConfirmation(const QString& screenshot, const QString& expectedQuestion) {
        QMessageBox* box = nullptr;
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return (box = test::openBox(window, QStringLiteral("trashConfirmation"))); },
            test::patience));
        EXPECT_EQ(box->text(), expectedQuestion);
        test::saveScreenshot(*box, screenshot);
        test::clickButton(*box, QMessageBox::AcceptRole);
    }

    Workspace workspace;
    AppModels models{ScanEngine::scan};
    ScanSession& session = models.session;
    RulesStore& rules = models.rules;
    MainWindow window{models};
};

} // namespace

TEST_F(WindowScanTest, ScansTicksAndTrashesThroughTheConfirmationSheet) {
    window.scanFolder(workspace.root);
    waitForScan();
    EXPECT_EQ(test::dumpTree(window.projectModel()), QStringLiteral("app,tool,site"));
    const Project site = *projectAt(workspace.site);
    EXPECT_EQ(
        window.projectModel().indexOf(site.id, ProjectTreeModel::stateColumn).data().toString(),
        QStringLiteral("1 uncommitted change · no remote"));
    EXPECT_EQ(window.statusText(), QStringLiteral("3 projects in ") + workspace.root);
    test::saveScreenshot(window, QStringLiteral("scan-finished"));

    // Work that is not committed keeps every tick off; the others' safe items are ticked.
    select(workspace.site);
    ASSERT_GE(itemRow(QStringLiteral("node_modules")), 0);
    ProjectItemsModel& items = window.detailView()->itemsModel();
    EXPECT_EQ(items.index(itemRow(QStringLiteral("node_modules")), 0).data(Qt::CheckStateRole),
              Qt::Unchecked);

    select(workspace.app);
    const int modules = itemRow(QStringLiteral("node_modules"));
    ASSERT_GE(modules, 0);
    const QModelIndex box = items.index(modules, ProjectItemsModel::folderColumn);
    EXPECT_EQ(box.data(Qt::CheckStateRole), Qt::Checked);
    // Committed and pushed: the whole project is offered too, unticked, with its warning.
    const int whole = itemRow(QStringLiteral("The whole project folder"));
    ASSERT_GE(whole, 0);
    EXPECT_EQ(items.index(whole, 0).data(Qt::CheckStateRole), Qt::Unchecked);
    EXPECT_TRUE(window.detailView()->showsWholeProjectWarning());
    test::saveScreenshot(window, QStringLiteral("scan-project-detail"));

    ASSERT_TRUE(items.setData(box, Qt::Unchecked, Qt::CheckStateRole));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.detailView()->trashButton()->isEnabled(); },
                                test::patience));
    ASSERT_TRUE(items.setData(box, Qt::Checked, Qt::CheckStateRole));
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.detailView()->trashButton()->isEnabled(); },
                                test::patience));
    window.detailView()->trashButton()->click();
    acceptConfirmation(QStringLiteral("scan-sheet-project"),
                       QStringLiteral("Move “node_modules” to the Trash?"));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return window.toastOverlay()->message().startsWith(QStringLiteral("Reclaimed ")); },
        test::patience));
    EXPECT_TRUE(QTest::qWaitFor([&] { return itemRow(QStringLiteral("node_modules")) < 0; },
                                test::patience));
    EXPECT_FALSE(QFileInfo::exists(workspace.app + QStringLiteral("/node_modules")));
    EXPECT_TRUE(QFileInfo::exists(trashed(QStringLiteral("node_modules"))));

    // The Delete key moves what is still ticked anywhere: the virtual environment of "tool".
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(window.projectView(), Qt::Key_Delete);
    acceptConfirmation(QStringLiteral("scan-sheet-everything"),
                       QStringLiteral("Move “.venv” to the Trash?"));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !QFileInfo::exists(workspace.tool + QStringLiteral("/.venv")); },
        test::patience));
    EXPECT_TRUE(QFileInfo::exists(trashed(QStringLiteral(".venv"))));
    EXPECT_TRUE(QFileInfo::exists(workspace.site + QStringLiteral("/node_modules")));
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return window.summary()->tickedText() == QStringLiteral("Zero KB"); },
                        test::patience));
    test::saveScreenshot(window, QStringLiteral("scan-after-trash"));
}

TEST_F(WindowScanTest, ACustomRuleMadeInTheSettingsClassifiesAFolderAtTheNextScan) {
    window.scanFolder(workspace.root);
    waitForScan();
    select(workspace.tool);
    EXPECT_LT(itemRow(QStringLiteral("gen-out")), 0);

    window.action(MainWindow::Action::settings)->trigger();
    SettingsDialog* settings = window.settingsDialog();
    ASSERT_NE(settings, nullptr);
    ASSERT_TRUE(settings->isVisible());
    settings->addButton()->click();
    auto* nameEditor = settings->rulesView()->findChild<QLineEdit*>();
    ASSERT_NE(nameEditor, nullptr);
    QTest::keyClicks(nameEditor, QStringLiteral("gen-out"));
    QTest::keyClick(nameEditor, Qt::Key_Return);
    // The editor hands its text over once the key has been handled.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return rules.rules().size() == 1 && rules.rules()[0].name == QStringLiteral("gen-out");
        },
        test::patience));
    const QModelIndex kind = settings->rulesModel().index(0, RulesModel::kindColumn);
    settings->rulesView()->edit(kind);
    auto* kindMenu = settings->rulesView()->findChild<QComboBox*>();
    ASSERT_NE(kindMenu, nullptr);
    const int buildOutput = kindMenu->findData(QStringLiteral("buildOutput"));
    ASSERT_GE(buildOutput, 0);
    kindMenu->setCurrentIndex(buildOutput);
    emit kindMenu->activated(buildOutput);
    ASSERT_TRUE(settings->rulesModel().setData(
        settings->rulesModel().index(0, RulesModel::highConfidenceColumn), Qt::Checked,
        Qt::CheckStateRole));
    ASSERT_EQ(rules.rules().size(), 1);
    EXPECT_EQ(rules.rules()[0].name, QStringLiteral("gen-out"));
    EXPECT_EQ(rules.rules()[0].kindRaw, QStringLiteral("buildOutput"));
    EXPECT_TRUE(rules.rules()[0].isHighConfidence);
    test::saveScreenshot(*settings, QStringLiteral("settings-rule-added"));
    settings->close();

    window.action(MainWindow::Action::rescan)->trigger();
    waitForScan();
    // The rescan finds "tool" again and keeps it selected.
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.detailView()->project().has_value(); },
                                test::patience));
    EXPECT_EQ(window.detailView()->project()->url, workspace.tool);
    const int row = itemRow(QStringLiteral("gen-out"));
    ASSERT_GE(row, 0);
    ProjectItemsModel& items = window.detailView()->itemsModel();
    EXPECT_EQ(items.index(row, ProjectItemsModel::kindColumn).data().toString(),
              QStringLiteral("Build output"));
    EXPECT_EQ(items.index(row, ProjectItemsModel::confidenceColumn).data().toString(),
              QStringLiteral("safe"));
    test::saveScreenshot(window, QStringLiteral("scan-custom-rule"));
}

// The entry of `menu` that reads `text`, or nothing.
QAction* entry(QMenu* menu, const QString& text) {
    if (!menu)
        return nullptr;
    for (QAction* action : menu->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

TEST_F(WindowScanTest, KeepFromTheContextMenusMarksAProjectAndAFolderAndUnticksThem) {
    window.scanFolder(workspace.root);
    waitForScan();
    const Project app = *projectAt(workspace.app);
    ProjectItemsModel& items = window.detailView()->itemsModel();
    select(workspace.app);
    const int modules = itemRow(QStringLiteral("node_modules"));
    ASSERT_GE(modules, 0);
    EXPECT_EQ(items.index(modules, ProjectItemsModel::hintColumn).data().toString(),
              QStringLiteral("npm ci"));
    EXPECT_EQ(items.index(modules, 0).data(Qt::CheckStateRole), Qt::Checked);

    std::unique_ptr<QMenu> menu = window.projectMenu(window.projectModel().indexOf(app.id));
    QAction* keepProject = entry(menu.get(), QStringLiteral("Keep Project"));
    ASSERT_TRUE(keepProject);
    keepProject->trigger();
    EXPECT_EQ(session.keptPaths(), QStringList{workspace.app});
    window.projectModel().refresh();
    const QModelIndex size = window.projectModel().indexOf(app.id, ProjectTreeModel::sizeColumn);
    EXPECT_EQ(size.data().toString(), QStringLiteral("Kept"));
    EXPECT_EQ(session.reclaimableBytes(app.id), 0);
    // Its items stay in the list, marked and unticked, and their boxes cannot be ticked.
    const int keptRow = itemRow(QStringLiteral("node_modules — Kept"));
    ASSERT_GE(keptRow, 0);
    const QModelIndex box = items.index(keptRow, ProjectItemsModel::folderColumn);
    EXPECT_EQ(box.data(Qt::CheckStateRole), Qt::Unchecked);
    EXPECT_FALSE(items.flags(box).testFlag(Qt::ItemIsEnabled));
    EXPECT_FALSE(items.setData(box, Qt::Checked, Qt::CheckStateRole));
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return window.detailView()->showsKeptNote(); }, test::patience));
    EXPECT_FALSE(window.detailView()->trashButton()->isEnabled());
    // A folder of the kept project has no mark of its own to take off.
    menu = window.detailView()->itemMenu(box);
    ASSERT_TRUE(entry(menu.get(), KeepMenu::keptAroundText));
    EXPECT_FALSE(entry(menu.get(), KeepMenu::keptAroundText)->isEnabled());
    test::saveScreenshot(window, QStringLiteral("keep-project"));

    // A single folder of another project.
    select(workspace.tool);
    const int venv = itemRow(QStringLiteral(".venv"));
    ASSERT_GE(venv, 0);
    EXPECT_EQ(items.index(venv, ProjectItemsModel::hintColumn).data().toString(),
              QStringLiteral("uv sync"));
    menu = window.detailView()->itemMenu(items.index(venv, ProjectItemsModel::sizeColumn));
    ASSERT_TRUE(entry(menu.get(), QStringLiteral("Keep Folder")));
    entry(menu.get(), QStringLiteral("Keep Folder"))->trigger();
    EXPECT_EQ(items.index(itemRow(QStringLiteral(".venv — Kept")), 0).data(Qt::CheckStateRole),
              Qt::Unchecked);
    EXPECT_FALSE(window.detailView()->showsKeptNote());
    test::saveScreenshot(window, QStringLiteral("keep-folder"));

    // Both marks come off again the same way.
    menu = window.detailView()->itemMenu(items.index(itemRow(QStringLiteral(".venv — Kept")), 0));
    ASSERT_TRUE(entry(menu.get(), QStringLiteral("Don't Keep Folder")));
    entry(menu.get(), QStringLiteral("Don't Keep Folder"))->trigger();
    menu = window.projectMenu(window.projectModel().indexOf(app.id));
    ASSERT_TRUE(entry(menu.get(), QStringLiteral("Don't Keep Project")));
    entry(menu.get(), QStringLiteral("Don't Keep Project"))->trigger();
    EXPECT_TRUE(session.keptPaths().isEmpty());
    EXPECT_TRUE(KeepStore().load().paths.isEmpty());
    EXPECT_GE(itemRow(QStringLiteral(".venv")), 0);
}

TEST_F(WindowScanTest, MarksThatCannotBeReadAreShownAndTickNothing) {
    test::writeFile(KeepStore().url(), "[\"/code/app\"");
    window.scanFolder(workspace.root);
    waitForScan();
    EXPECT_TRUE(session.selectedItemIDs().isEmpty());
    select(workspace.app);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return window.detailView()->showsKeptNote(); }, test::patience));
    EXPECT_TRUE(window.detailView()->keptNoteText().contains(KeepStore().url() +
                                                             QStringLiteral(" could not be read")));
    test::saveScreenshot(window, QStringLiteral("keep-unreadable"));
}
