#include "shell/CleanupsView.h"

#include "platform/CleanupHistoryModel.h"
#include "platform/TrashPlan.h"
#include "shell/ShellTesting.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QPushButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The history of the test's own, filled by the shared trash step over the fake home's Trash.
class CleanupsViewTest : public testing::Test {
protected:
    QString trash(const QString& area, const QStringList& names, qint64 bytes) {
        TrashPlan plan;
        plan.area = area;
        for (const QString& name : names) {
            test::writeFile(root + u'/' + name + s("/file"), name.toUtf8());
            plan.add(root, root + u'/' + name, bytes);
        }
        const TrashResult result = carryOut(plan, PlatformTrash::system(), history);
        EXPECT_EQ(result.outcome.trashed.size(), names.size());
        return result.cleanup.id.value_or(QString());
    }

    QString cell(int row, CleanupsView::Column column) const {
        return view.tree()->topLevelItem(row)->text(column);
    }

    QString root = test::makeTempDir(s("cleanups-page"));
    CleanupHistory history{test::makeTempDir(s("history")) + s("/cleanup-history.json")};
    ToastCenter toasts;
    CleanupHistoryModel model{toasts, history};
    CleanupsView view{model};
};

} // namespace

TEST_F(CleanupsViewTest, ListsEachCleanupWithPutBackAndEmptiesOnlyWhatTheAppPutInTheTrash) {
    const QString projects = trash(s("projects"), {s("shop/node_modules"), s("shop/dist")}, 4'000);
    const QString caches = trash(s("caches"), {s("home/.cache/pip")}, 9'000);
    // A file of the user's own waits in the Trash beside them.
    test::writeFile(root + s("/notes.txt"), "mine");
    const TrashMove mine = PlatformTrash::system().moveToTrash(root + s("/notes.txt"));
    ASSERT_FALSE(mine.failure);

    view.resize(1100, 520);
    view.show();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return view.tree()->topLevelItemCount() == 2; }, test::patience));
    EXPECT_EQ(cell(0, CleanupsView::areaColumn), s("Developer caches"));
    EXPECT_EQ(cell(0, CleanupsView::inTrashColumn), s("All"));
    EXPECT_EQ(cell(1, CleanupsView::areaColumn), s("Projects"));
    EXPECT_EQ(cell(1, CleanupsView::itemsColumn), s("2"));
    EXPECT_EQ(cell(1, CleanupsView::sizeColumn), s("8 KB"));
    EXPECT_TRUE(cell(1, CleanupsView::whenColumn).startsWith(s("Today, ")));
    view.tree()->topLevelItem(1)->setExpanded(true);
    test::saveScreenshot(view, s("cleanups-page"));

    // Each cleanup has its own Put Back.
    ASSERT_TRUE(view.putBackButton(caches) && view.putBackButton(caches)->isEnabled());
    view.putBackButton(caches)->click();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return QFileInfo::exists(root + s("/home/.cache/pip/file")) && !model.isRemoving(); },
        test::patience));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return cell(0, CleanupsView::inTrashColumn) == s("Put back"); }, test::patience));
    EXPECT_FALSE(view.putBackButton(caches)->isEnabled());

    // Empty Trash lists what it deletes, with Cancel the default, and deletes only that.
    view.emptyTrashButton()->click();
    ConfirmationSheet* sheet = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (sheet = test::openSheet(view, s("emptyTrashConfirmation"))); },
        test::patience));
    EXPECT_EQ(sheet->text(), s("Delete 2 items from the Trash for good?"));
    EXPECT_EQ(sheet->list()->topLevelItemCount(), 3) << "one cleanup and its two items";
    EXPECT_TRUE(sheet->cancelButton()->isDefault());
    test::saveScreenshot(*sheet, s("cleanups-empty-trash-confirmation"));
    sheet->acceptButton()->click();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return model.lastEmptyOutcome().has_value(); }, test::patience));
    EXPECT_EQ(model.lastEmptyOutcome()->emptied.size(), 2);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return cell(1, CleanupsView::inTrashColumn) == s("Emptied"); }, test::patience));
    EXPECT_FALSE(view.putBackButton(projects)->isEnabled());
    EXPECT_FALSE(view.emptyTrashButton()->isEnabled());
    const Cleanup emptied = history.load().cleanups.first();
    for (const CleanupItem& item : emptied.items)
        EXPECT_FALSE(QFileInfo::exists(item.location.path)) << qPrintable(item.location.path);
    EXPECT_TRUE(QFileInfo::exists(mine.location.path));
    ASSERT_TRUE(toasts.current());
    EXPECT_EQ(toasts.current()->message, s("Reclaimed 8 KB by deleting 2 items from the Trash"));
}

TEST_F(CleanupsViewTest, AnEmptyHistorySaysWhatThePageIsFor) {
    view.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.hasLoaded(); }, test::patience));
    EXPECT_TRUE(view.stateText().startsWith(s("No cleanups yet."))) << qPrintable(view.stateText());
    EXPECT_FALSE(view.emptyTrashButton()->isEnabled());
}
