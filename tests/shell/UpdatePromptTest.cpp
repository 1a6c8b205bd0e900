#include "shell/UpdatePrompt.h"

#include "shell/ShellTesting.h"
#include "support/TestEnvironment.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const UpdateOffer offer{s("1.2.0"), s("Corvane Clean 1.2"),
                        QUrl(s("https://corvane.app/download/"))};

// A window with the prompt open on it; the opener records the pages it was asked to open.
struct PromptedWindow {
    PromptedWindow() {
        window.resize(900, 600);
        window.show();
        makeUpdatePrompt(&window, offer, s("1.1.3"), [this](const QUrl& url) {
            opened.append(url);
            return true;
        })->open();
        box = test::openBox(window, s("updatePrompt"));
    }

    QMainWindow window;
    QList<QUrl> opened;
    QMessageBox* box = nullptr;
};

} // namespace

TEST(UpdatePrompt, AsksWhetherToOpenTheDownloadPageOfTheNewerVersion) {
    PromptedWindow prompted;
    ASSERT_NE(prompted.box, nullptr);
    EXPECT_EQ(prompted.box->text(),
              s("Corvane Clean 1.2.0 is available (you have 1.1.3). Open its download page?"));
    EXPECT_EQ(prompted.box->windowModality(), Qt::WindowModal);
    EXPECT_EQ(prompted.box->defaultButton()->text(), openDownloadPageTitle);
    EXPECT_EQ(prompted.box->escapeButton()->text(), notNowTitle);
    test::saveScreenshot(*prompted.box, s("update-prompt"));
}

TEST(UpdatePrompt, OpenDownloadPageOpensTheOffersPageAndNotNowOpensNothing) {
    PromptedWindow accepted;
    ASSERT_NE(accepted.box, nullptr);
    test::clickButton(*accepted.box, QMessageBox::AcceptRole);
    EXPECT_EQ(accepted.opened, QList<QUrl>{offer.downloadPage});
    EXPECT_EQ(test::openBox(accepted.window, s("updatePrompt")), nullptr);

    PromptedWindow declined;
    ASSERT_NE(declined.box, nullptr);
    test::clickButton(*declined.box, QMessageBox::RejectRole);
    EXPECT_TRUE(declined.opened.isEmpty());
    EXPECT_EQ(test::openBox(declined.window, s("updatePrompt")), nullptr);
}

TEST(UpdatePrompt, TheMenuItemSaysWhenThereIsNothingNewerOrTheFeedFailed) {
    QMainWindow window;
    window.show();
    makeUpToDateNotice(&window, s("1.1.3"))->open();
    QMessageBox* notice = test::openBox(window, s("updateNotice"));
    ASSERT_NE(notice, nullptr);
    EXPECT_EQ(notice->text(), s("You're up to date"));
    EXPECT_TRUE(notice->informativeText().contains(s("1.1.3")));
    notice->accept();

    makeUpdateFailureNotice(&window, s("The update feed answered with HTTP status 404."))->open();
    notice = test::openBox(window, s("updateNotice"));
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->informativeText().contains(s("404")));
}
