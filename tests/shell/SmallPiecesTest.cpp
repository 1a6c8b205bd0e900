#include "platform/OverviewModel.h"
#include "shell/ActivityWords.h"
#include "shell/AppIcon.h"
#include "shell/LaunchOptions.h"
#include "shell/MenuBarExtra.h"
#include "shell/PageStack.h"
#include "shell/ShellTesting.h"
#include "shell/ToastOverlay.h"
#include "shell/TrashConfirmation.h"
#include "support/FakeScan.h"
#include "support/TestEnvironment.h"

#include <QLabel>
#include <QSplitter>
#include <QTest>
#include <QVBoxLayout>
#include <QtEndian>
#include <gtest/gtest.h>

using namespace corvane;

TEST(LaunchOptionsTest, ReadsEachDryRunSwitchAndIgnoresTheProgramAndUnknownArguments) {
    EXPECT_EQ(LaunchOptions::fromArguments({QStringLiteral("--docker-dry-run")}), LaunchOptions());
    const LaunchOptions options = LaunchOptions::fromArguments(
        {QStringLiteral("/Applications/Corvane Clean.app/Contents/MacOS/Corvane Clean"),
         QStringLiteral("-psn_0_12345"), QStringLiteral("--simulator-dry-run"),
         QStringLiteral("--android-dry-run")});
    EXPECT_FALSE(options.dockerDryRun);
    EXPECT_TRUE(options.simulatorDryRun);
    EXPECT_FALSE(options.aiModelsDryRun);
    EXPECT_TRUE(options.androidDryRun);
    EXPECT_TRUE(
        LaunchOptions::fromArguments({QStringLiteral("app"), QStringLiteral("--ai-models-dry-run"),
                                      QStringLiteral("--docker-dry-run")})
            .aiModelsDryRun);
}

TEST(ActivityWordsTest, CountsCalendarDaysAndGrowsItsUnitWithTheDistance) {
    const QDateTime now(QDate(2024, 6, 10), QTime(8, 0));
    const auto words = [&now](const QDate& date, QTime time = QTime(12, 0)) {
        return activityWords(QDateTime(date, time), now);
    };
    EXPECT_EQ(words(QDate(2024, 6, 10), QTime(7, 0)), QStringLiteral("Today"));
    EXPECT_EQ(words(QDate(2024, 6, 12)), QStringLiteral("Today"));
    EXPECT_EQ(words(QDate(2024, 6, 9), QTime(23, 30)), QStringLiteral("Yesterday"));
    EXPECT_EQ(words(QDate(2024, 6, 8)), QStringLiteral("2 days ago"));
    EXPECT_EQ(words(QDate(2024, 5, 28)), QStringLiteral("13 days ago"));
    EXPECT_EQ(words(QDate(2024, 5, 27)), QStringLiteral("2 weeks ago"));
    EXPECT_EQ(words(QDate(2024, 4, 12)), QStringLiteral("8 weeks ago"));
    EXPECT_EQ(words(QDate(2024, 4, 11)), QStringLiteral("2 months ago"));
    EXPECT_EQ(words(QDate(2023, 6, 12)), QStringLiteral("12 months ago"));
    EXPECT_EQ(words(QDate(2023, 6, 11)), QStringLiteral("1 year ago"));
    EXPECT_EQ(words(QDate(2019, 1, 1)), QStringLiteral("5 years ago"));
    EXPECT_EQ(activityWords(true, std::nullopt, now), QStringLiteral("No commits"));
    EXPECT_EQ(activityWords(false, QDateTime(QDate(2024, 6, 9), QTime(1, 0)), now), QString());
}

TEST(AppIconTest, TheIconFileHoldsOnePngPerSlotWithLengthsThatAddUp) {
    const QByteArray icns = icnsData();
    ASSERT_GT(icns.size(), 8);
    EXPECT_EQ(icns.left(4), QByteArray("icns"));
    EXPECT_EQ(qFromBigEndian<quint32>(icns.constData() + 4), static_cast<quint32>(icns.size()));
    const QList<std::pair<QByteArray, int>> expected{
        {"icp4", 16},  {"icp5", 32},  {"ic11", 32},  {"ic12", 64},  {"ic07", 128},
        {"ic13", 256}, {"ic08", 256}, {"ic14", 512}, {"ic09", 512}, {"ic10", 1024}};
    qsizetype offset = 8;
    for (const auto& [type, side] : expected) {
        ASSERT_LE(offset + 8, icns.size());
        EXPECT_EQ(icns.mid(offset, 4), type);
        const auto length =
            static_cast<qsizetype>(qFromBigEndian<quint32>(icns.constData() + offset + 4));
        const QByteArray png = icns.mid(offset + 8, length - 8);
        EXPECT_TRUE(png.startsWith("\x89PNG\r\n\x1a\n")) << type.constData();
        const QImage image = QImage::fromData(png, "PNG");
        EXPECT_EQ(image.size(), QSize(side, side)) << type.constData();
        offset += length;
    }
    EXPECT_EQ(offset, icns.size());
    // The corners stay transparent and the middle is painted.
    const QImage icon = paintAppIcon(256);
    EXPECT_EQ(qAlpha(icon.pixel(2, 2)), 0);
    EXPECT_EQ(qAlpha(icon.pixel(128, 60)), 255);
}

TEST(TrashQuestionTest, NamesASingleItemAndCountsSeveralWithTheirSize) {
    TrashPlan plan;
    plan.add(QStringLiteral("/code"), QStringLiteral("/code/app/node_modules"), 1'500'000);
    TrashQuestion question = TrashQuestion::about(plan);
    EXPECT_EQ(question.text, QStringLiteral("Move “node_modules” to the Trash?"));
    EXPECT_TRUE(question.informativeText.startsWith(
        QStringLiteral("It frees 1.5 MB once the Trash is emptied.")));

    plan.add(QStringLiteral("/home/me"), QStringLiteral("/home/me/.npm/_cacache"), 2'000'000'000);
    plan.add(QStringLiteral("/code"), QStringLiteral("/code/app/dist"), std::nullopt);
    question = TrashQuestion::about(plan);
    EXPECT_EQ(question.text, QStringLiteral("Move 3 items to the Trash?"));
    EXPECT_TRUE(question.informativeText.startsWith(
        QStringLiteral("Together they free 2 GB once the Trash is emptied.")))
        << qPrintable(question.informativeText);
}

TEST(ToastOverlayTest, ShowsOneToastAtATimeAndDismissesItAfterItsTime) {
    ToastCenter toasts;
    QWidget window;
    window.resize(600, 400);
    ToastOverlay overlay(toasts, &window);
    window.show();
    overlay.setDisplayTime(300);
    EXPECT_EQ(overlay.message(), QString());

    toasts.post(QStringLiteral("Reclaimed 1 GB"));
    EXPECT_EQ(overlay.message(), QStringLiteral("Reclaimed 1 GB"));
    EXPECT_NEAR(overlay.geometry().center().x(), window.width() / 2, 1);
    EXPECT_GT(overlay.geometry().top(), window.height() / 2);
    QTest::qWait(200);
    const QUuid second = toasts.post(QStringLiteral("Reclaimed 2 GB"));
    // The first toast's time would be up now; the second one keeps its own.
    QTest::qWait(200);
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->id, second);
    EXPECT_EQ(overlay.message(), QStringLiteral("Reclaimed 2 GB"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !toasts.current(); }, test::patience));
    EXPECT_EQ(overlay.message(), QString());
}

TEST(MenuBarExtraTest, TheTotalsFollowTheSessionAndRescanNeedsAFolder) {
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session(toasts, scans.starter());
    MenuBarExtra extra(session);
    const auto texts = [&extra] {
        QStringList texts;
        for (const QAction* action : extra.menu().actions()) {
            if (!action->isSeparator())
                texts.append(action->text() +
                             (action->isEnabled() ? QString() : QStringLiteral(" [off]")));
        }
        return texts;
    };
    EXPECT_EQ(texts(),
              (QStringList{QStringLiteral("Reclaimable: Zero KB [off]"),
                           QStringLiteral("Ticked: Zero KB [off]"), QStringLiteral("Rescan [off]"),
                           QStringLiteral("Open Corvane Clean"), QStringLiteral("Quit")}));

    const QString root = test::makeTempDir(QStringLiteral("code"));
    ASSERT_EQ(session.chooseFolderAndScan(root), std::nullopt);
    const Project app = test::makeProject(root + QStringLiteral("/app"));
    const CleanableItem modules = test::makeItem(app, QStringLiteral("node_modules"));
    const CleanableItem dist = test::makeItem(app, QStringLiteral("dist"),
                                              ArtifactKind::buildOutput, CleanConfidence::caution);
    scans.feed({ScanEvent::projectDiscovered(app),
                ScanEvent::itemsClassified(app.id, {modules, dist}),
                ScanEvent::sizeUpdated(modules.id, 3'000'000),
                ScanEvent::sizeUpdated(dist.id, 500'000), ScanEvent::scanCompleted()});
    session.toggleItem(dist.id);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return texts().at(1) == QStringLiteral("Ticked: 3.5 MB [off]"); }, test::patience))
        << qPrintable(texts().join(u'|'));
    EXPECT_EQ(texts().at(0), QStringLiteral("Reclaimable: 3 MB [off]"));
    EXPECT_EQ(texts().at(2), QStringLiteral("Rescan"));

    QSignalSpy open(&extra, &MenuBarExtra::openRequested);
    extra.menu().actions().at(4)->trigger();
    EXPECT_EQ(open.count(), 1);
}

TEST(MenuBarExtraTest, WithTheOverviewItAlsoShowsEveryAreaAndTheTrash) {
    ToastCenter toasts;
    test::FakeScans scans;
    ScanSession session(toasts, scans.starter());
    bool measured = false;
    OverviewModel overview({{QStringLiteral("caches"), QStringLiteral("Developer caches"),
                             [&measured] { measured = true; },
                             [&measured]() -> std::optional<qint64> {
                                 return measured ? std::optional<qint64>(5'000'000) : std::nullopt;
                             },
                             [] { return QString(); }}});
    MenuBarExtra extra(session);
    extra.setOverview(overview);
    overview.reload();
    const auto texts = [&extra] {
        QStringList texts;
        for (const QAction* action : extra.menu().actions())
            texts.append(action->text());
        return texts;
    };
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return texts().contains(QStringLiteral("Every area could give back: 5 MB")) &&
                   !texts().contains(QStringLiteral("In the Trash: Measuring…"));
        },
        test::patience))
        << qPrintable(texts().join(u'|'));
    EXPECT_TRUE(texts().contains(QStringLiteral("In the Trash: Zero KB")));
    EXPECT_EQ(texts().at(2), QStringLiteral("Every area could give back: 5 MB"));
}

namespace {

// A page of wrapped text that counts how often it is asked for its size.
class MeasuredPage : public QWidget {
public:
    MeasuredPage() {
        auto* text = new QLabel(QStringLiteral("A long explanation that wraps over several lines "
                                               "of a page that is not on screen.")
                                    .repeated(8));
        text->setWordWrap(true);
        (new QVBoxLayout(this))->addWidget(text);
    }
    QSize sizeHint() const override {
        ++measured;
        return QWidget::sizeHint();
    }
    QSize minimumSizeHint() const override {
        ++measured;
        return QWidget::minimumSizeHint();
    }
    int heightForWidth(int width) const override {
        ++measured;
        return QWidget::heightForWidth(width);
    }
    mutable int measured = 0;
};

} // namespace

TEST(PageStackTest, TextChangingOnThePageOnScreenLeavesTheHiddenPagesUnmeasured) {
    // The window's shape: the pages beside a sidebar in a splitter.
    QSplitter window;
    window.addWidget(new QLabel(QStringLiteral("Areas")));
    auto* pages = new PageStack;
    window.addWidget(pages);
    auto* onScreen = new QWidget;
    auto* status = new QLabel(QStringLiteral("Scanning"));
    (new QVBoxLayout(onScreen))->addWidget(status);
    auto* hidden = new MeasuredPage;
    pages->addWidget(onScreen);
    pages->addWidget(hidden);
    window.resize(900, 500);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);

    hidden->measured = 0;
    for (int folders = 1; folders <= 5; ++folders) {
        status->setText(QStringLiteral("Scanning · %1 folders measured").arg(folders * 1000));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    }
    EXPECT_EQ(hidden->measured, 0);
    EXPECT_EQ(pages->sizeHint(), onScreen->sizeHint());

    // Every page's minimum counts, so switching pages never makes the window grow.
    EXPECT_EQ(pages->minimumSizeHint(),
              onScreen->minimumSizeHint().expandedTo(hidden->minimumSizeHint()));

    // Shown, the page is measured and sizes the stack.
    pages->setCurrentWidget(hidden);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    EXPECT_GT(hidden->measured, 0);
    EXPECT_EQ(pages->sizeHint(), hidden->sizeHint());
}
