#include "shell/AppController.h"

#include "shell/MainWindow.h"
#include "shell/MenuBarExtra.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QFileDialog>
#include <QSettings>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

class AppControllerTest : public testing::Test {
protected:
    void SetUp() override { QSettings().clear(); }
    void TearDown() override { QSettings().clear(); }

    test::FakeScans scans;
};

} // namespace

TEST_F(AppControllerTest, TheWelcomeShowsOnceAndTheChosenFolderIsScannedAgainAtTheNextLaunch) {
    const QString root = test::makeTempDir(QStringLiteral("code"));
    {
        AppController app(LaunchOptions{}, scans.starter());
        app.start();
        ASSERT_NE(app.welcome(), nullptr);
        EXPECT_TRUE(app.welcome()->isVisible());
        EXPECT_EQ(app.welcome()->windowModality(), Qt::WindowModal);
        EXPECT_TRUE(scans.roots.isEmpty());
        test::saveScreenshot(*app.welcome(), QStringLiteral("welcome"));
        app.welcome()->reject();
        EXPECT_TRUE(WelcomeDialog::wasCompleted());
        app.window().scanFolder(root);
        ASSERT_EQ(scans.roots, QList<QString>{root});
    }
    AppController again(LaunchOptions{}, scans.starter());
    again.start();
    EXPECT_EQ(again.welcome(), nullptr);
    EXPECT_EQ(scans.roots, (QList<QString>{root, root}));
    EXPECT_EQ(again.session().rootURL(), root);
}

TEST_F(AppControllerTest, TheWindowOpensAtTheSizeItHadWhenTheAppEnded) {
    QSettings().setValue(WelcomeDialog::settingsKey, true);
    QSize fresh;
    {
        AppController app(LaunchOptions{}, scans.starter());
        app.start();
        fresh = app.window().size();
        app.window().resize(fresh - QSize(200, 100));
    }
    AppController again(LaunchOptions{}, scans.starter());
    again.start();
    EXPECT_EQ(again.window().size(), fresh - QSize(200, 100));
}

TEST_F(AppControllerTest, AFolderThatIsGoneIsNotScannedAndTheSwitchesAreKept) {
    QSettings().setValue(WelcomeDialog::settingsKey, true);
    QSettings().setValue(AppController::lastFolderKey, test::fakeHome() + QStringLiteral("/gone"));
    LaunchOptions options;
    options.dockerDryRun = true;
    AppController app(options, scans.starter());
    app.start();
    EXPECT_TRUE(scans.roots.isEmpty());
    EXPECT_FALSE(app.session().rootURL());
    EXPECT_TRUE(app.launchOptions().dockerDryRun);
    EXPECT_TRUE(app.window().isVisible());
}

TEST_F(AppControllerTest, TheFolderChosenInTheWelcomeIsScanned) {
    const QString root = test::makeTempDir(QStringLiteral("code"));
    AppController app(LaunchOptions{}, scans.starter());
    app.start();
    ASSERT_NE(app.welcome(), nullptr);
    app.welcome()->chooseFolder();
    auto* chooser = app.welcome()->findChild<QFileDialog*>(QStringLiteral("folderChooser"));
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->windowModality(), Qt::WindowModal);
    chooser->setDirectory(root);
    static_cast<QDialog*>(chooser)->accept();
    EXPECT_EQ(scans.roots, QList<QString>{root});
    // Choosing is not finishing: the welcome stays for its remaining steps.
    EXPECT_TRUE(app.welcome()->isVisible());
}

TEST_F(AppControllerTest, TheAreaOnShowIsOpenAgainAtTheNextLaunch) {
    {
        AppController app(LaunchOptions{}, scans.starter());
        app.start();
        app.welcome()->reject();
        app.window().showArea(QStringLiteral("docker"));
    }
    AppController app(LaunchOptions{}, scans.starter());
    app.start();
    EXPECT_EQ(app.models().navigation.selection(), SidebarSelection::of(QStringLiteral("docker")));
}
