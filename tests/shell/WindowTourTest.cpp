// A tour of every page of the window as a new user first sees it, over a home that looks like a
// developer's: the benchmark workspace with its caches, app leftovers, an Android SDK, Ollama
// models, stand-ins for docker, xcrun and ollama, and coding-agent history of the workspace's
// projects. Each page is looked at once its work is done, and left as tour-<area>.png.

#include "agents/AgentStoreFixture.h"
#include "agents/ClaudeHistory.h"
#include "platform/AreaCatalog.h"
#include "platform/ByteFormat.h"
#include "platform/ProcessRunner.h"
#include "scanning/ScanEngine.h"
#include "shell/DiskMapView.h"
#include "shell/MainWindow.h"
#include "shell/OverviewView.h"
#include "shell/ReadableTexts.h"
#include "shell/ShellTesting.h"
#include "support/ForeignWords.h"
#include "support/OverviewHome.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QListWidget>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTreeView>
#include <QTreeWidget>
#include <gtest/gtest.h>
#include <memory>

using namespace corvane;
using test::s;

namespace {

// The home and the workspace, made once for every test here.
struct TourHome {
    QString folder;
    QString workspace;
    std::unique_ptr<test::ScopedEnvironment> home;
    std::unique_ptr<test::OverviewHome> overview;
};

// Runs the workspace generator; why it could not, or nothing.
QString generateWorkspace(const QString& workspace, const QString& home) {
    const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
    if (python.isEmpty())
        return s("python3 is not installed");
    if (!QFile::exists(QStringLiteral(CORVANE_WORKSPACE_GENERATOR)))
        return s("the workspace generator is not at ") +
               QStringLiteral(CORVANE_WORKSPACE_GENERATOR);
    const ProcessResult result = ProcessRunner::system().run(
        python,
        {QStringLiteral(CORVANE_WORKSPACE_GENERATOR), workspace, s("--projects"), s("30"),
         s("--scale"), s("0.05"), s("--home"), home, s("--jobs"), s("2")},
        std::nullopt, {}, 120.0);
    return result.exitCode == 0
               ? QString()
               : s("the workspace generator failed: ") + QString::fromUtf8(result.standardError);
}

// The folders of the workspace's projects, from the manifest the generator writes beside it.
QStringList projectFolders(const QString& workspace) {
    QFile manifest(workspace + s("-manifest.json"));
    if (!manifest.open(QIODevice::ReadOnly))
        return {};
    QStringList folders;
    const QJsonArray projects =
        QJsonDocument::fromJson(manifest.readAll()).object().value(s("projects")).toArray();
    for (const QJsonValue& project : projects)
        folders.append(workspace + u'/' + project.toObject().value(s("path")).toString());
    return folders;
}

// Claude Code sessions in a few of the workspace's projects, titled as Claude Code titles them.
void writeSessions(const AgentLocations& agents, const QStringList& projects) {
    const QStringList titles{s("Fix the flaky login test"), s("Move the API client to fetch"),
                             s("Why is the build so slow?")};
    for (int at = 0; at < std::min(projects.size(), titles.size()); ++at) {
        const QString id = QStringLiteral("7a1c0e52-0000-4000-8000-00000000000%1").arg(at);
        const QJsonObject summary{
            {s("type"), s("summary")}, {s("summary"), titles[at]}, {s("leafUuid"), s("x")}};
        const QJsonObject prompt{
            {s("type"), s("user")},
            {s("cwd"), projects[at]},
            {s("sessionId"), id},
            {s("message"), QJsonObject{{s("role"), s("user")}, {s("content"), s("go on")}}}};
        test::writeFile(agents.claudeProjects + u'/' +
                            ClaudeHistory::encodedFolderName(projects[at]) + u'/' + id +
                            s(".jsonl"),
                        QJsonDocument(summary).toJson(QJsonDocument::Compact) + '\n' +
                            QJsonDocument(prompt).toJson(QJsonDocument::Compact) + '\n' +
                            QByteArray(40'000, ' ') + '\n');
    }
}

// What each area's page waits for before it shows what it found.
QList<const InventoryModel*> modelsOf(const QString& area, const AppModels& m) {
    const QHash<QString, QList<const InventoryModel*>> table{
        {Areas::projects, {&m.projects}},
        {s("caches"), {&m.caches}},
        {s("agents"), {&m.agents, &m.agentStorage}},
        {s("organize"), {&m.organize}},
        {s("archived"), {&m.archives}},
        {s("docker"), {&m.docker}},
        {s("simulators"), {&m.simulators}},
        {s("android"), {&m.android}},
        {s("aiModels"), {&m.aiModels}},
        {s("apps"), {&m.apps, &m.homebrew}},
        {s("diskMap"), {&m.diskMap}},
        {s("cleanups"), {&m.cleanups}},
    };
    return table.value(area);
}

// The pages that have something to list over this home; the others say why they have nothing.
const QStringList pagesWithRows{Areas::overview, Areas::projects, s("caches"),
                                s("agents"),     s("docker"),     s("simulators"),
                                s("android"),    s("aiModels"),   s("apps")};

class WindowTourTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        auto made = std::make_unique<TourHome>();
        made->folder = test::makeTempDir(s("tour-home"));
        made->workspace = test::makeTempDir(s("tour")) + s("/code");
        skipReason = generateWorkspace(made->workspace, made->folder);
        if (!skipReason.isEmpty())
            return;
        made->home = std::make_unique<test::ScopedEnvironment>("HOME", made->folder);
        // Few files a folder: the tour looks at the pages, the bench measures the walks.
        made->overview = std::make_unique<test::OverviewHome>(made->folder, 6);
        const test::FakeAgentHome agents = test::makeFakeAgentHome(made->folder);
        writeSessions(agents.locations, projectFolders(made->workspace));
        tour = std::move(made);
    }

    static void TearDownTestSuite() { tour.reset(); }

    void SetUp() override {
        if (!tour)
            GTEST_SKIP() << qPrintable(skipReason);
        window = std::make_unique<MainWindow>(models);
        window->resize(1280, 800);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    // Whether `area`'s page has done its work: every model it shows has loaded and rests.
    bool settled(const QString& area) const {
        // The overview looks at the areas a few times a second: done once its list caught up.
        if (area == Areas::overview)
            return models.overview.isComplete() &&
                   window->page<OverviewView>()
                       ->list()
                       ->findItems(s("Measuring…"), Qt::MatchExactly, 1)
                       .isEmpty();
        if (area == Areas::projects && (models.session.isScanning() || !models.session.rootURL()))
            return false;
        if (area == s("diskMap") && window->page<DiskMapView>()->isRefreshPending())
            return false;
        for (const InventoryModel* model : modelsOf(area, models)) {
            if (!model->hasLoaded() || model->isLoading())
                return false;
        }
        return true;
    }

    // Opens `area` and waits until its page has done its work.
    void visit(const QString& area) {
        window->showArea(area);
        ASSERT_EQ(window->sidebar()->currentRow(), Areas::indexOf(area));
        ASSERT_TRUE(QTest::qWaitFor([&] { return settled(area); }, test::patience))
            << qPrintable(area);
    }

    static inline std::unique_ptr<TourHome> tour;
    static inline QString skipReason;
    AppModels models{ScanEngine::scan};
    std::unique_ptr<MainWindow> window;
};

// The item views of `page` on screen.
QList<const QAbstractItemView*> shownLists(const QWidget& page) {
    QList<const QAbstractItemView*> lists;
    for (const QAbstractItemView* list : page.findChildren<QAbstractItemView*>()) {
        if (list->isVisible() && list->model() && list->width() > 100)
            lists.append(list);
    }
    return lists;
}

// What a page says on screen, one text a line, for the failures' messages.
QStringList shownTexts(QWidget& page) {
    QStringList texts;
    for (const QString& text : test::readableTexts(page))
        texts.append(text.simplified().left(120));
    return texts;
}

// The texts no page should show once it has done its work: a number still measured, a name
// nobody gave, a blank where a value was meant to be, a promise about an empty Trash.
QStringList wrongTexts(QWidget& page) {
    QStringList wrong;
    for (const QString& text : shownTexts(page)) {
        if (text.contains(s("Measuring")) || text.contains(s("Untitled")) ||
            text.contains(s("()")) ||
            (text.contains(s("Zero KB")) && text.contains(s("comes back"))))
            wrong.append(text);
    }
    return wrong;
}

} // namespace

// The lists of `page` that need a sideways scroll, by name.
QStringList sidewaysLists(const QWidget& page) {
    QStringList names;
    for (const QAbstractItemView* list : shownLists(page)) {
        if (list->horizontalScrollBar()->maximum() > 0)
            names.append(list->objectName());
    }
    return names;
}

TEST_F(WindowTourTest, EveryPageShowsWhatItFoundWithoutSidewaysScrollingOrWrongWords) {
    window->scanFolder(tour->workspace);
    for (const AreaRow& area : Areas::all()) {
        SCOPED_TRACE(area.id.toStdString());
        visit(area.id);
        QWidget& page = *window->page(area.id);
        ASSERT_TRUE(page.isVisible());
        test::saveScreenshot(*window, s("tour-") + area.id);

        EXPECT_EQ(test::foreignWordLines(test::readableTexts(page)), QString());
        EXPECT_EQ(wrongTexts(page), QStringList());
        // Every column is in sight: the names give way, the numbers never need a scroll.
        EXPECT_EQ(sidewaysLists(page), QStringList());
        bool hasRows = false;
        for (const QAbstractItemView* list : shownLists(page))
            hasRows = hasRows || list->model()->rowCount() > 0;
        if (pagesWithRows.contains(area.id)) {
            EXPECT_TRUE(hasRows) << qPrintable(shownTexts(page).join(u'\n'));
        }
    }
}

TEST_F(WindowTourTest, TheSmallestWindowGivesEveryPageTheRoomTheSidebarCanSpare) {
    window->resize(window->minimumSize());
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return window->size() == window->minimumSize(); }, test::patience));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return window->sidebar()->width() < MainWindow::sidebarWidth - 40; }, test::patience))
        << window->sidebar()->width();
    window->scanFolder(tour->workspace);
    QStringList sideways;
    for (const AreaRow& area : Areas::all()) {
        visit(area.id);
        test::saveScreenshot(*window, s("tour-small-") + area.id);
        for (const QString& list : sidewaysLists(*window->page(area.id)))
            sideways.append(area.id + u'/' + list);
    }
    EXPECT_EQ(sideways, QStringList());
}

TEST_F(WindowTourTest, TheSidebarShowsTheOverviewsNumbers) {
    window->scanFolder(tour->workspace);
    visit(Areas::projects);
    visit(Areas::overview);
    const QTreeWidget& list = *window->page<OverviewView>()->list();
    int compared = 0;
    for (int row = 0; row < list.topLevelItemCount(); ++row) {
        const QTreeWidgetItem& item = *list.topLevelItem(row);
        const QString id = item.data(0, Qt::UserRole).toString();
        if (id.isEmpty())
            continue;
        const QString shown = window->sidebar()->item(Areas::indexOf(id))->text();
        const std::optional<qint64> bytes = models.overview.areas().at(compared++).bytes();
        if (bytes && *bytes > 0) {
            EXPECT_TRUE(shown.endsWith(u' ' + item.text(1))) << qPrintable(shown);
        } else {
            EXPECT_EQ(shown, Areas::find(id)->name);
        }
    }
    EXPECT_EQ(compared, models.overview.areas().size());
}
