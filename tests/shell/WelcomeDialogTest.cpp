#include "shell/WelcomeDialog.h"

#include "platform/ByteFormat.h"
#include "platform/SizeCalculator.h"
#include "shell/ProjectFolderOffer.h"
#include "shell/ShellTesting.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QUrl>
#include <algorithm>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

// Takes the URLs the dialog opens instead of the system.
class UrlCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class WelcomeDialogTest : public testing::Test {
protected:
    void SetUp() override { QSettings().clear(); }
    void TearDown() override { QSettings().clear(); }

    QPushButton& button(const WelcomeDialog& dialog, const char* name) {
        auto* found = dialog.findChild<QPushButton*>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return *found;
    }
    QString label(const WelcomeDialog& dialog, const char* name) {
        auto* found = dialog.findChild<QLabel*>(QString::fromLatin1(name));
        return found ? found->text() : QString();
    }

    FullDiskAccess access = FullDiskAccess::Missing;
    std::function<FullDiskAccess()> probe = [this] { return access; };
};

} // namespace

TEST_F(WelcomeDialogTest, TheStepsGoForwardAndBackAndDoneCompletesTheWelcome) {
    WelcomeDialog dialog(nullptr, probe);
    dialog.show();
    ASSERT_EQ(dialog.stepCount(), 3);
    EXPECT_FALSE(button(dialog, "back").isEnabled());
    EXPECT_TRUE(button(dialog, "skip").isVisible());
    for (int step = 0; step < 3; ++step) {
        EXPECT_EQ(dialog.currentStep(), step);
        EXPECT_EQ(label(dialog, "stepLabel"), QStringLiteral("Step %1 of 3").arg(step + 1));
        test::saveScreenshot(dialog, QStringLiteral("onboarding-%1").arg(step + 1));
        if (step < 2) {
            EXPECT_EQ(button(dialog, "forward").text(), QStringLiteral("Continue"));
            button(dialog, "forward").click();
        }
    }
    EXPECT_EQ(button(dialog, "forward").text(), QStringLiteral("Done"));
    EXPECT_FALSE(button(dialog, "skip").isVisible());
    button(dialog, "back").click();
    EXPECT_EQ(dialog.currentStep(), 1);
    EXPECT_TRUE(button(dialog, "skip").isVisible());
    button(dialog, "forward").click();

    EXPECT_FALSE(WelcomeDialog::wasCompleted());
    button(dialog, "forward").click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(WelcomeDialog::wasCompleted());
}

TEST_F(WelcomeDialogTest, NotNowAlsoCountsAsSeen) {
    WelcomeDialog dialog(nullptr, probe);
    dialog.show();
    button(dialog, "skip").click();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_TRUE(WelcomeDialog::wasCompleted());
}

TEST_F(WelcomeDialogTest, TheFolderStepHandsBackTheChosenFolder) {
    const QString root = test::makeTempDir(QStringLiteral("projects"));
    WelcomeDialog dialog(nullptr, probe);
    dialog.show();
    button(dialog, "forward").click();
    QSignalSpy chosen(&dialog, &WelcomeDialog::folderChosen);
    button(dialog, "chooseFolder").click();
    auto* chooser = dialog.findChild<QFileDialog*>(QStringLiteral("folderChooser"));
    ASSERT_NE(chooser, nullptr);
    EXPECT_EQ(chooser->windowModality(), Qt::WindowModal);
    EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
    chooser->setDirectory(root);
    static_cast<QDialog*>(chooser)->accept();
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen.first().first().toString(), root);
    EXPECT_EQ(dialog.chosenFolder(), root);
    EXPECT_TRUE(label(dialog, "folderLabel").contains(QDir::toNativeSeparators(root)));
    test::saveScreenshot(dialog, QStringLiteral("onboarding-2-chosen"));

    // A chooser cancelled later keeps the folder already chosen.
    button(dialog, "chooseFolder").click();
    chooser = dialog.findChild<QFileDialog*>(QStringLiteral("folderChooser"));
    ASSERT_NE(chooser, nullptr);
    chooser->reject();
    EXPECT_EQ(chosen.count(), 1);
    EXPECT_EQ(dialog.chosenFolder(), root);
}

TEST_F(WelcomeDialogTest, FullDiskAccessOpensPrivacySettingsAndNoticesTheGrantOnReturn) {
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("x-apple.systempreferences"), &catcher, "open");
    WelcomeDialog dialog(nullptr, probe);
    dialog.show();
    dialog.goForward();
    dialog.goForward();
    EXPECT_TRUE(label(dialog, "accessLabel").contains(QStringLiteral("does not have")));
    // macOS often applies the grant only to a new process, and the step says so.
    const auto texts =
        dialog.findChild<QWidget*>(QStringLiteral("accessStep"))->findChildren<QLabel*>();
    EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [](const QLabel* text) {
        return text->text().contains(QStringLiteral("quit and opened again"));
    }));
    ASSERT_TRUE(button(dialog, "openPrivacySettings").isVisible());
    button(dialog, "openPrivacySettings").click();
    EXPECT_EQ(catcher.opened, QList<QUrl>{QUrl(WelcomeDialog::fullDiskAccessSettingsURL)});

    access = FullDiskAccess::Granted;
    QEvent activation(QEvent::ActivationChange);
    QApplication::sendEvent(&dialog, &activation);
    EXPECT_TRUE(label(dialog, "accessLabel").contains(QStringLiteral("has Full Disk Access")));
    EXPECT_FALSE(button(dialog, "openPrivacySettings").isVisible());
    QDesktopServices::unsetUrlHandler(QStringLiteral("x-apple.systempreferences"));
}

TEST_F(WelcomeDialogTest, WhereNoAccessIsNeededThereIsNoAccessStep) {
    access = FullDiskAccess::NotNeeded;
    WelcomeDialog dialog(nullptr, probe);
    EXPECT_EQ(dialog.stepCount(), 2);
    EXPECT_EQ(dialog.findChild<QWidget*>(QStringLiteral("accessStep")), nullptr);
}

TEST_F(WelcomeDialogTest, TheFolderStepOffersTheUsualProjectFoldersWithTheirSizes) {
    const QString home = test::makeTempDir(QStringLiteral("home"));
    test::ScopedEnvironment homeFolder("HOME", home);
    test::writeFile(home + QStringLiteral("/Code/shop/node_modules/blob"), QByteArray(90'000, 'x'));
    test::writeFile(home + QStringLiteral("/Projects/site/index.html"), "<p>");
    // The same folder under a second name is offered once; a file of a usual name is no folder.
    ASSERT_TRUE(QFile::link(home + QStringLiteral("/Code"), home + QStringLiteral("/code")));
    test::writeFile(home + QStringLiteral("/src"), "notes");

    WelcomeDialog dialog(nullptr, probe);
    dialog.show();
    dialog.goForward();
    const ProjectFolderOffer& offer = *dialog.folderOffer();
    EXPECT_EQ(offer.folders(),
              QStringList({home + QStringLiteral("/Code"), home + QStringLiteral("/Projects")}));
    EXPECT_EQ(button(dialog, "chooseFolder").text(), QStringLiteral("Choose Another Folder…"));
    for (const QString& folder : offer.folders()) {
        const QString size = formatBytes(SizeCalculator::size(folder));
        EXPECT_TRUE(QTest::qWaitFor([&] { return offer.sizeText(folder) == size; }, test::patience))
            << qPrintable(offer.sizeText(folder)) << " is not " << qPrintable(size);
    }
    test::saveScreenshot(dialog, QStringLiteral("first-run-folders"));

    QSignalSpy chosen(&dialog, &WelcomeDialog::folderChosen);
    offer.button(home + QStringLiteral("/Projects"))->click();
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen.first().first().toString(), home + QStringLiteral("/Projects"));
    EXPECT_EQ(dialog.chosenFolder(), home + QStringLiteral("/Projects"));
}

#include "WelcomeDialogTest.moc"
