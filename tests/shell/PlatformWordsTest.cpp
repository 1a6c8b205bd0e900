#include "apps/AppRemover.h"
#include "apps/AppsModel.h"
#include "apps/BrewService.h"
#include "devtools/DockerModel.h"
#include "shell/AppModels.h"
#include "shell/DestinationsSection.h"
#include "shell/MainWindow.h"
#include "shell/ReadableTexts.h"
#include "shell/SettingsDialog.h"
#include "shell/ShellTesting.h"
#include "shell/WelcomeDialog.h"
#include "support/FakeScan.h"
#include "support/ForeignWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QListWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

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
        texts << test::readableTexts(window);
    }
    QTRY_VERIFY_WITH_TIMEOUT(models.simulators.hasLoaded() && !models.simulators.isLoading(),
                             test::patience);
    QTRY_VERIFY_WITH_TIMEOUT(models.docker.hasLoaded() && !models.docker.isLoading(),
                             test::patience);
    texts << test::readableTexts(window);
    EXPECT_EQ(test::foreignWordLines(texts), QString()) << "the window";

    SettingsDialog settings(models.rules, models.destinations);
    EXPECT_EQ(test::foreignWordLines(test::readableTexts(settings)), QString()) << "the settings";
    WelcomeDialog welcome;
    EXPECT_EQ(test::foreignWordLines(test::readableTexts(welcome)), QString()) << "the welcome";
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
