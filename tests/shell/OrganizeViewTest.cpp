#include "shell/OrganizeView.h"

#include "agents/ClaudeHistory.h"
#include "platform/PlatformWords.h"
#include "shell/AppModels.h"
#include "shell/MainWindow.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// A Claude Code session in the fake home's history, run in `cwd`.
void writeSession(const QString& cwd, const QString& id) {
    test::writeFile(test::fakeHome() + s("/.claude/projects/") +
                        ClaudeHistory::encodedFolderName(cwd) + u'/' + id + s(".jsonl"),
                    "{\"type\":\"user\",\"cwd\":\"" + cwd.toUtf8() + "\"}\n");
}

QStringList childTexts(const QTreeWidgetItem* item, int column) {
    QStringList texts;
    for (int row = 0; row < item->childCount(); ++row)
        texts.append(item->child(row)->text(column));
    return texts;
}

// The app's window over the fake home of this test process, where projects lie scattered.
class OrganizeViewTest : public testing::Test {
protected:
    void SetUp() override {
        home = test::fakeHome();
        shop = makeProject(s("/projects/shop"));
        writeSession(shop, s("shop-session"));
        blog = makeProject(s("/Desktop/old/blog"));
        window.resize(1100, 760);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    QString makeProject(const QString& below) {
        const QString path = home + below;
        test::makeRepo(path);
        test::commitFiles(path, {{s("README.md"), "hello"}});
        return path;
    }

    void waitForPlan() {
        ASSERT_TRUE(QTest::qWaitFor(
            [this] { return organize.hasLoaded() && !organize.isLoading(); }, test::patience));
    }

    // Waits for the sheet `name`, saves it as `screenshot` when given, and accepts it.
    QString accept(const QString& name, const QString& screenshot = {}) {
        ConfirmationSheet* box = nullptr;
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return (box = test::openSheet(window, name)); }, test::patience));
        if (!box)
            return {};
        EXPECT_TRUE(box->cancelButton()->isDefault());
        const QString question = box->text();
        if (!screenshot.isEmpty())
            test::saveScreenshot(*box, screenshot);
        box->acceptButton()->click();
        return question;
    }

    void waitForAction() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return !organize.isOrganizing(); }, test::patience));
        waitForPlan();
    }

    QString home;
    QString shop;
    QString blog;
    test::FakeScans scans;
    AppModels models{scans.starter()};
    OrganizeModel& organize = models.organize;
    MainWindow window{models};
};

} // namespace

TEST_F(OrganizeViewTest, ThePlanShowsEachProjectWithWhereItGoesOrWhyNotAndARunCanBeUndone) {
    const QString firstApp = makeProject(s("/a/app"));
    const QString secondApp = makeProject(s("/b/app"));
    test::writeFile(home + s("/.zshrc"), "export PATH=\"$HOME/code/tool/bin:$PATH\"\n");
    makeProject(s("/code/tool"));
    // The choice is kept as its raw value.
    organize.setLayout(OrganizeLayout::byOwner);
    EXPECT_EQ(QSettings().value(OrganizeModel::layoutKey).toString(), s("byOwner"));
    organize.setLayout(OrganizeLayout::flat);
    EXPECT_EQ(QSettings().value(OrganizeModel::layoutKey).toString(), s("flat"));

    window.showArea(QStringLiteral("organize"));
    waitForPlan();
    OrganizeView* view = window.page<OrganizeView>();
    ASSERT_TRUE(view->isVisible());
    QTreeWidget* plan = view->planTree();
    ASSERT_EQ(plan->topLevelItemCount(), 1);
    const QTreeWidgetItem* group = plan->topLevelItem(0);
    EXPECT_EQ(group->text(0), s("Code"));
    // In plan order, which is by path: Desktop/old/blog, a/app, b/app, code/tool, projects/shop.
    EXPECT_EQ(childTexts(group, 1),
              (QStringList{s("~/Desktop/old"), s("~/a"), s("~/b"), s("~/code"), s("~/projects")}));
    EXPECT_EQ(childTexts(group, 2), (QStringList{s("Ready"), s("Ready"), s("Name taken"),
                                                 s("Used by your shell"), s("Ready")}));
    EXPECT_EQ(group->child(1)->text(3), s("~/Code/app"));
    EXPECT_EQ(group->child(2)->text(3),
              s("app is listed but cannot move: another project goes to the same place"));
    EXPECT_EQ(view->organizeButton()->text(), s("Organize 3 Projects"));
    EXPECT_FALSE(view->undoButton()->isEnabled());
    EXPECT_TRUE(view->findChild<QLabel*>(s("organizeState"))->text().startsWith(s("3 projects")));
    test::saveScreenshot(window, s("organize-plan"));

    view->organizeButton()->click();
    EXPECT_EQ(accept(s("organizeConfirmation"), s("organize-confirmation")),
              s("Move 3 projects into ") + home + s("/Code?"));
    waitForAction();
    EXPECT_TRUE(QFileInfo::exists(home + s("/Code/app/README.md")));
    EXPECT_TRUE(QFileInfo::exists(home + s("/Code/shop/README.md")));
    EXPECT_FALSE(QFileInfo::exists(firstApp));
    EXPECT_TRUE(QFileInfo::exists(secondApp));
    EXPECT_TRUE(view->outcomeLabel()->isVisible());
    EXPECT_TRUE(view->outcomeLabel()->text().contains(s("Moved ~/projects/shop to ~/Code/shop")))
        << view->outcomeLabel()->text().toStdString();
    EXPECT_TRUE(view->undoButton()->isEnabled());
    ASSERT_TRUE(models.toasts.current());
    EXPECT_EQ(models.toasts.current()->message, s("Moved 3 projects"));
    test::saveScreenshot(window, s("organize-after-run"));

    view->undoButton()->click();
    accept(s("undoOrganizeConfirmation"));
    waitForAction();
    EXPECT_TRUE(QFileInfo::exists(firstApp + s("/README.md")));
    EXPECT_TRUE(QFileInfo::exists(shop + s("/README.md")));
    EXPECT_TRUE(QFileInfo::exists(blog + s("/README.md")));
    EXPECT_EQ(view->outcomeLabel()->text(), s("Put back 3 projects."));
    EXPECT_FALSE(view->undoButton()->isEnabled());
}

TEST_F(OrganizeViewTest, AFolderThatMayNotMoveIsRefusedWithTheReason) {
    QDir().mkpath(home + s("/Documents"));
    window.showArea(QStringLiteral("organize"));
    waitForPlan();
    window.page<OrganizeView>()->addFolder(home + s("/Documents"));
    QMessageBox* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] { return (box = test::openBox(window, s("organizeRefusal"))); },
                                test::patience));
    EXPECT_EQ(box->text(), home + s("/Documents is ") + PlatformWords::here().standardFolder +
                               s(" and is never moved. Choose a project folder inside it."));
    box->accept();
    EXPECT_TRUE(organize.manualFolders().isEmpty());
}

TEST_F(OrganizeViewTest, HistoryWhoseFolderIsGoneIsRelinkedToWhereItProbablyIs) {
    writeSession(home + s("/old-place/blog"), s("lost-session"));
    window.showArea(QStringLiteral("organize"));
    waitForPlan();
    QTreeWidget* orphans = window.page<OrganizeView>()->orphanList();
    ASSERT_EQ(orphans->topLevelItemCount(), 1);
    EXPECT_EQ(orphans->topLevelItem(0)->text(2), s("Probably now at ~/Desktop/old/blog"));
    test::saveScreenshot(window, s("organize-orphans"));

    orphans->setCurrentItem(orphans->topLevelItem(0));
    window.page<OrganizeView>()->confirmRelink(blog);
    accept(s("relinkConfirmation"));
    waitForAction();
    EXPECT_EQ(orphans->topLevelItemCount(), 0);
    ASSERT_EQ(organize.lastOutcome()->run.moves.size(), 1);
    EXPECT_FALSE(organize.lastOutcome()->run.moves[0].movedFolder);
    EXPECT_TRUE(organize.canUndo());
}

TEST_F(OrganizeViewTest, MoveProjectMovesTheSelectedProjectOfTheScanAndRescans) {
    window.scanFolder(home + s("/projects"));
    const Project project = test::makeProject(shop);
    scans.feed({ScanEvent::projectDiscovered(project), ScanEvent::scanCompleted()});
    models.navigation.setSelection(SidebarSelection::forProject(project));
    ASSERT_TRUE(window.projectsView().action(ProjectsView::Action::moveProject)->isEnabled());

    window.projectsView().confirmMoveProject(home + s("/Code"));
    QMessageBox* box = nullptr;
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return (box = test::openBox(window, s("moveProjectConfirmation"))); },
                        test::patience));
    EXPECT_EQ(box->text(), s("Move ") + shop + s(" to ") + home + s("/Code/shop?"));
    EXPECT_EQ(box->defaultButton(), box->button(QMessageBox::Cancel));
    test::clickButton(*box, QMessageBox::AcceptRole);
    ASSERT_TRUE(
        QTest::qWaitFor([this] { return organize.lastOutcome().has_value(); }, test::patience));
    EXPECT_TRUE(QFileInfo::exists(home + s("/Code/shop/README.md")));
    EXPECT_EQ(scans.roots.size(), 2);
    EXPECT_TRUE(organize.canUndo() || organize.isLoading());
}
