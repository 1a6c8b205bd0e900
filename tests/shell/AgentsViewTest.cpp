#include "shell/AgentsView.h"

#include "agents/ClaudeHistory.h"
#include "shell/MainWindow.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QListWidget>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::makeProject;

namespace {

QString text(const char* value) {
    return QString::fromUtf8(value);
}

// Writes `contents` to `path` as if last written at `seconds` since 1970.
void writeDated(const QString& path, const QByteArray& contents, qint64 seconds) {
    test::writeFile(path, contents);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime::fromSecsSinceEpoch(seconds),
                                 QFileDevice::FileModificationTime));
}

// A Claude Code session file in the home's history.
void writeSession(const QString& cwd, const QString& id, qint64 seconds) {
    writeDated(test::fakeHome() + text("/.claude/projects/") +
                   ClaudeHistory::encodedFolderName(cwd) + u'/' + id + text(".jsonl"),
               "{\"type\":\"user\",\"cwd\":\"" + cwd.toUtf8() + "\"}\n", seconds);
}

QStringList columnTexts(const QTreeWidgetItem* item, int column) {
    QStringList texts;
    for (int row = 0; row < item->childCount(); ++row)
        texts.append(item->child(row)->text(column));
    return texts;
}

} // namespace

TEST(AgentsViewTest, EachProjectShowsItsSessionsAndWorkspacesMostRecentFirst) {
    const QString root = test::makeTempDir(text("work"));
    const Project shop = makeProject(root + text("/shop"));
    const Project blog = makeProject(root + text("/blog"));
    const Project quiet = makeProject(root + text("/archive/quiet"));
    writeSession(shop.url, text("checkout"), 1'780'000'000);
    writeSession(shop.url + text("/api"), text("api"), 1'770'000'000);
    writeSession(root, text("planning"), 1'760'000'000);
    writeSession(blog.url, text("post"), 1'700'000'000);
    test::writeFile(test::fakeHome() + text("/.config/Claude/claude-code-sessions/local_1.json"),
                    R"({"sessionId":"local_1","cliSessionId":"checkout","title":"Fix the checkout",
                        "lastActivityAt":1780000000000})");
    writeDated(test::fakeHome() + text("/.config/Code/User/workspaceStorage/ab/workspace.json"),
               "{\"folder\": \"file://" + blog.url.toUtf8() + "\"}", 1'690'000'000);

    test::FakeScans scans;
    AppModels models(scans.starter());
    MainWindow window(models);
    window.resize(1100, 640);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.findChild<QListWidget*>(text("sidebar"))->setCurrentRow(3);
    AgentsView& view = *window.page<AgentsView>();
    ASSERT_TRUE(view.isVisible());
    EXPECT_EQ(view.stateText(), AgentsView::noScanText);

    window.scanFolder(root);
    scans.feed({ScanEvent::projectDiscovered(shop), ScanEvent::projectDiscovered(blog),
                ScanEvent::projectDiscovered(quiet), ScanEvent::scanCompleted()});
    QTreeWidget& tree = *view.tree();
    ASSERT_TRUE(QTest::qWaitFor([&] { return tree.topLevelItemCount() == 2; }, test::patience));

    // The project an agent saw last leads; one without any history is not listed.
    const QTreeWidgetItem* first = tree.topLevelItem(0);
    const QTreeWidgetItem* second = tree.topLevelItem(1);
    EXPECT_EQ(first->text(0), text("shop"));
    EXPECT_EQ(first->text(2), text("3 sessions"));
    ASSERT_EQ(first->childCount(), 1);
    EXPECT_EQ(first->child(0)->text(0), text("Claude Code"));
    EXPECT_EQ(columnTexts(first->child(0), 0),
              (QStringList{text("Fix the checkout"), text("Untitled session"),
                           text("Untitled session")}));
    const QString enclosing = QFileInfo(root).fileName();
    EXPECT_EQ(
        columnTexts(first->child(0), 2),
        (QStringList{text("Claude desktop"), text("Claude Code"),
                     text("Claude Code, ran in the enclosing folder “") + enclosing + text("”")}));
    EXPECT_EQ(second->text(0), text("blog"));
    EXPECT_EQ(second->text(2), text("2 sessions, 1 editor workspace"));
    ASSERT_EQ(second->childCount(), 2);
    EXPECT_EQ(second->child(1)->text(0), text("VS Code"));
    EXPECT_EQ(columnTexts(second->child(1), 0), QStringList{text("VS Code workspace")});
    test::saveScreenshot(window, text("window-agents"));

    // The project's own page says how much history it has.
    models.navigation.setSelection(SidebarSelection::forProject(shop));
    EXPECT_EQ(window.projectsView().detailView()->agentHistoryText(),
              text("3 sessions (Claude Code)"));
    models.navigation.setSelection(SidebarSelection::forProject(quiet));
    EXPECT_EQ(window.projectsView().detailView()->agentHistoryText(), text("No sessions"));
    test::saveScreenshot(window, text("window-project-agent-history"));
}

TEST(AgentsViewTest, AScanWithoutHistorySaysSo) {
    const QString root = test::makeTempDir(text("plain"));
    test::FakeScans scans;
    AppModels models(scans.starter());
    AgentsView view(models.agents, models.session);
    view.resize(700, 400);
    view.show();
    ASSERT_EQ(models.session.chooseFolderAndScan(root), std::nullopt);
    scans.feed({ScanEvent::projectDiscovered(makeProject(root + text("/app"))),
                ScanEvent::scanCompleted()});
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return view.stateText() == AgentsView::emptyText; }, test::patience))
        << qPrintable(view.stateText());
    test::saveScreenshot(view, text("agents-empty"));
}
