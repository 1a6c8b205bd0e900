#include "apps/AppRemover.h"
#include "apps/AppsModel.h"
#include "apps/BrewService.h"
#include "devtools/DockerModel.h"
#include "shell/AppModels.h"
#include "shell/DestinationsSection.h"
#include "shell/MainWindow.h"
#include "shell/SettingsDialog.h"
#include "shell/ShellTesting.h"
#include "shell/WelcomeDialog.h"
#include "support/FakeScan.h"
#include "support/ForeignWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QTabWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// Every text of an item model: what its cells and headers show and their tooltips.
void addModelTexts(const QAbstractItemModel& model, const QModelIndex& parent, QStringList& texts) {
    for (int row = 0; row < model.rowCount(parent); ++row) {
        for (int column = 0; column < model.columnCount(parent); ++column) {
            const QModelIndex index = model.index(row, column, parent);
            texts << index.data().toString() << index.data(Qt::ToolTipRole).toString();
        }
        addModelTexts(model, model.index(row, 0, parent), texts);
    }
    for (int column = 0; column < model.columnCount(parent); ++column)
        texts << model.headerData(column, Qt::Horizontal).toString();
}

void addActionTexts(const QList<QAction*>& actions, QStringList& texts) {
    for (const QAction* action : actions) {
        texts << action->text() << action->toolTip() << action->statusTip();
        if (action->menu())
            addActionTexts(action->menu()->actions(), texts);
    }
}

// Everything under `root` a user can read, hidden or not: labels, buttons, tooltips,
// placeholders, titles, lists, menus.
QStringList readableTexts(QWidget& root) {
    QStringList texts{root.windowTitle()};
    addActionTexts(root.actions(), texts);
    for (QWidget* widget : root.findChildren<QWidget*>()) {
        texts << widget->toolTip() << widget->whatsThis() << widget->accessibleName()
              << widget->accessibleDescription();
        addActionTexts(widget->actions(), texts);
        if (const auto* label = qobject_cast<QLabel*>(widget))
            texts << label->text();
        else if (const auto* button = qobject_cast<QAbstractButton*>(widget))
            texts << button->text();
        else if (const auto* line = qobject_cast<QLineEdit*>(widget))
            texts << line->text() << line->placeholderText();
        else if (const auto* group = qobject_cast<QGroupBox*>(widget))
            texts << group->title();
        else if (const auto* view = qobject_cast<QAbstractItemView*>(widget); view && view->model())
            addModelTexts(*view->model(), {}, texts);
        if (const auto* tabs = qobject_cast<QTabWidget*>(widget))
            for (int tab = 0; tab < tabs->count(); ++tab)
                texts << tabs->tabText(tab) << tabs->tabToolTip(tab);
    }
    texts.removeAll(QString());
    return texts;
}

class PlatformWordsTest : public testing::Test {
protected:
    test::NoDeveloperTools noTools;
    test::FakeScans scans;
    AppModels models{scans.starter()};
};

} // namespace

TEST_F(PlatformWordsTest, NoPageOrDialogSpeaksTheOtherSystemsWords) {
    MainWindow window(models);
    window.resize(1100, 720);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QStringList texts;
    // Each page is read once it has loaded: a missing tool is worded by what its page says then.
    for (int row = 0; row < window.sidebar()->count(); ++row) {
        window.sidebar()->setCurrentRow(row);
        QTest::qWait(50);
        texts << readableTexts(window);
    }
    QTRY_VERIFY_WITH_TIMEOUT(models.simulators.hasLoaded() && !models.simulators.isLoading(),
                             test::patience);
    QTRY_VERIFY_WITH_TIMEOUT(models.docker.hasLoaded() && !models.docker.isLoading(),
                             test::patience);
    texts << readableTexts(window);
    EXPECT_EQ(test::foreignWordLines(texts), QString()) << "the window";

    SettingsDialog settings(models.rules, models.destinations);
    EXPECT_EQ(test::foreignWordLines(readableTexts(settings)), QString()) << "the settings";
    WelcomeDialog welcome;
    EXPECT_EQ(test::foreignWordLines(readableTexts(welcome)), QString()) << "the welcome";
}

// The sentences that only show after something happened (a refusal, a stopped engine, a
// password prompt) are worded from the same place.
TEST_F(PlatformWordsTest, SentencesOfRarerMomentsUseThisSystemsWords) {
    BrewOutdatedItem wget{BrewOutdatedItem::Kind::formula, s("wget"), s("1.0"), s("1.1"), false};
    const QStringList sentences{DockerModel::notInstalledText,
                                DockerModel::notRunningText,
                                AppsModel::explanationText,
                                AppsModel::noDataText,
                                AppRemover::outsideLibraryText,
                                DestinationsSection::explanationText,
                                BrewService::upgradePasswordText(wget)};
    EXPECT_EQ(test::foreignWordLines(sentences), QString());
}
