#include "shell/AgentsView.h"

#include "agents/AgentStoreFixture.h"
#include "agents/ClaudeHistory.h"
#include "shell/AgentStorageView.h"
#include "shell/ConfirmationSheet.h"
#include "shell/ListOrder.h"
#include "shell/MainWindow.h"
#include "shell/ProjectDetailView.h"
#include "shell/ProjectsView.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeView>
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

// A typed prompt the way Claude Code writes it.
QByteArray claudePrompt(const QString& cwd, const char* prompt) {
    const QJsonObject line{{QStringLiteral("type"), QStringLiteral("user")},
                           {QStringLiteral("cwd"), cwd},
                           {QStringLiteral("message"),
                            QJsonObject{{QStringLiteral("role"), QStringLiteral("user")},
                                        {QStringLiteral("content"), QString::fromUtf8(prompt)}}}};
    return QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
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
    // An agent's row is as recent as its latest session, here the one in the enclosing folder.
    EXPECT_EQ(second->child(0)->data(1, ListOrder::sortKeyRole).toDateTime(),
              QDateTime::fromSecsSinceEpoch(1'760'000'000));
    EXPECT_EQ(second->child(1)->data(1, ListOrder::sortKeyRole).toDateTime(),
              QDateTime::fromSecsSinceEpoch(1'690'000'000));
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

TEST(AgentsViewTest, SessionsShowTheirOwnTitlesAndOfferRevealAndResume) {
    const QString root = test::makeTempDir(text("titled"));
    const Project shop = makeProject(root + text("/shop"));
    const QString sessions = test::fakeHome() + text("/.claude/projects/") +
                             ClaudeHistory::encodedFolderName(shop.url) + u'/';
    writeDated(sessions + text("resumed.jsonl"),
               R"({"type":"summary","summary":"Checkout retries","leafUuid":"x"})"
               "\n" +
                   claudePrompt(shop.url, "Why does checkout fail?"),
               1'780'000'000);
    writeDated(sessions + text("fresh.jsonl"),
               claudePrompt(shop.url, "Add dark mode to the settings page\nwith a toggle"),
               1'770'000'000);
    const QString storage = test::fakeHome() + text("/.config/Code/User/workspaceStorage/ab");
    writeDated(storage + text("/workspace.json"),
               "{\"folder\": \"file://" + shop.url.toUtf8() + "\"}", 1'690'000'000);

    test::FakeScans scans;
    AppModels models(scans.starter());
    AgentsView view(models.agents, models.session);
    QStringList revealed;
    view.setRevealer([&revealed](const QString& path) { revealed.append(path); });
    view.resize(900, 420);
    view.show();
    ASSERT_EQ(models.session.chooseFolderAndScan(root), std::nullopt);
    scans.feed({ScanEvent::projectDiscovered(shop), ScanEvent::scanCompleted()});
    QTreeWidget& tree = *view.tree();
    ASSERT_TRUE(QTest::qWaitFor([&] { return tree.topLevelItemCount() == 1; }, test::patience));

    const QTreeWidgetItem* claude = tree.topLevelItem(0)->child(0);
    EXPECT_EQ(columnTexts(claude, 0),
              (QStringList{text("Checkout retries"), text("Add dark mode to the settings page")}));
    const QTreeWidgetItem& resumed = *claude->child(0);
    EXPECT_EQ(AgentsView::revealPath(resumed), sessions + text("resumed.jsonl"));
    EXPECT_EQ(AgentsView::resumeCommandOf(resumed),
              text("cd '") + shop.url + text("' && claude --resume resumed"));

    // The menu reveals the session file and copies the command; nothing is run.
    const std::unique_ptr<QMenu> menu = view.menuFor(resumed);
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 2);
    menu->actions().at(0)->trigger();
    EXPECT_EQ(revealed, QStringList{sessions + text("resumed.jsonl")});
    menu->actions().at(1)->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), AgentsView::resumeCommandOf(resumed));

    // A workspace reveals its storage folder and has no command to resume.
    const QTreeWidgetItem& workspace = *tree.topLevelItem(0)->child(1)->child(0);
    EXPECT_EQ(AgentsView::revealPath(workspace), storage);
    EXPECT_TRUE(AgentsView::resumeCommandOf(workspace).isEmpty());
    tree.setCurrentItem(const_cast<QTreeWidgetItem*>(&workspace));
    auto* copy = view.findChild<QPushButton*>(text("copyResumeCommand"));
    EXPECT_FALSE(copy->isEnabled());
    tree.setCurrentItem(const_cast<QTreeWidgetItem*>(&resumed));
    EXPECT_TRUE(copy->isEnabled());
    test::saveScreenshot(view, text("agents-session-titles"));
}

TEST(AgentsViewTest, TheStorageTabTicksWhatNobodyCanUseAndMovesItAfterAskingWithPutBack) {
    const test::FakeAgentHome home = test::makeFakeAgentHome();
    test::FakeScans scans;
    AppModels models(scans.starter());
    AgentStorageModel storage(
        models.toasts,
        {home.inputs(), &ProcessRunner::system(), &PlatformTrash::system(), CleanupHistory(), {}});
    QWidget window;
    window.resize(1100, 640);
    AgentsView view(models.agents, models.session, &window, &storage);
    view.resize(1100, 640);
    window.show();
    view.showStorage(true);
    AgentStorageView& page = *view.storageView();
    // Every index and parent of the tree stays consistent through loads, ticks and removals.
    const QAbstractItemModelTester tester(page.tree()->model(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return storage.hasLoaded() && page.indexOf(home.orphan).isValid(); },
                        test::patience));

    const auto tick = [&page](const QString& id) {
        return page.indexOf(id).data(Qt::CheckStateRole);
    };
    const auto words = [&page](const QString& id, int column) {
        return page.indexOf(id, column).data().toString();
    };
    EXPECT_EQ(tick(home.orphan).toInt(), Qt::Checked);
    EXPECT_EQ(tick(home.liveSession).toInt(), Qt::Unchecked);
    EXPECT_EQ(words(home.liveSession, 0), text("Fix flaky checkout test"));
    EXPECT_EQ(tick(home.moved).toInt(), Qt::Unchecked);
    EXPECT_TRUE(words(home.moved, 3).startsWith(text("Relink first")));
    // Listed with its reason, and no box to tick.
    const QString credentials = home.locations.codexHome + text("/auth.json");
    ASSERT_TRUE(page.indexOf(credentials).isValid());
    EXPECT_FALSE(tick(credentials).isValid());
    EXPECT_FALSE(page.indexOf(credentials).flags() & Qt::ItemIsUserCheckable);
    EXPECT_EQ(words(credentials, 3), text("Credentials: never removed"));
    // Each row says where its files are; its agent and project are the lines above it.
    EXPECT_EQ(page.indexOf(home.liveSession).data(Qt::ToolTipRole).toString(),
              storage.row(home.liveSession)->paths().join(u'\n'));
    EXPECT_EQ(page.indexOf(home.liveSession).parent().parent().data().toString(),
              text("Claude Code"));
    page.tree()->expandAll();
    test::saveScreenshot(window, text("agents-storage"));

    // A tick in the tree is a tick in the model.
    QAbstractItemModel& rows = *page.tree()->model();
    ASSERT_TRUE(rows.setData(page.indexOf(home.liveSession), Qt::Checked, Qt::CheckStateRole));
    EXPECT_TRUE(storage.selectedIDs().contains(home.liveSession));
    rows.setData(page.indexOf(home.liveSession), Qt::Unchecked, Qt::CheckStateRole);
    EXPECT_FALSE(storage.selectedIDs().contains(home.liveSession));
    // And a tick in the model is shown, in both directions.
    QSignalSpy redrawn(&rows, &QAbstractItemModel::dataChanged);
    storage.setSelected(home.liveSession, true);
    storage.setSelected(home.orphan, false);
    EXPECT_EQ(tick(home.liveSession).toInt(), Qt::Checked);
    EXPECT_EQ(tick(home.orphan).toInt(), Qt::Unchecked);
    EXPECT_FALSE(redrawn.isEmpty());
    storage.setSelected(home.liveSession, false);
    storage.setSelected(home.orphan, true);

    ConfirmationSheet* box = page.confirmTrash();
    ASSERT_TRUE(box);
    // The orphan goes, listed under its agent; the history of a project that exists stays.
    QStringList listed;
    for (int row = 0; row < box->list()->topLevelItemCount(); ++row)
        listed.append(box->list()->topLevelItem(row)->text(0));
    const QString shown = listed.join(u'\n');
    EXPECT_TRUE(shown.contains(text("Claude Code")) && shown.contains(text("Gone")))
        << qPrintable(shown);
    EXPECT_FALSE(shown.contains(text("Fix flaky checkout test")));
    EXPECT_TRUE(box->cancelButton()->isDefault());
    test::saveScreenshot(window, text("agents-confirmation"));
    const QString orphanFile = storage.row(home.orphan)->paths().first();
    const QString liveFile = storage.row(home.liveSession)->paths().first();
    box->acceptButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !QFile::exists(orphanFile); }, test::patience));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return models.toasts.current().has_value(); }, test::patience));
    EXPECT_TRUE(models.toasts.current()->message.startsWith(text("Moved ")));
    ASSERT_TRUE(models.toasts.current()->action);
    EXPECT_EQ(models.toasts.current()->action->title, putBackTitle);
    EXPECT_TRUE(QFile::exists(liveFile));
}
