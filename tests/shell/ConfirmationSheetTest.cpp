#include "shell/ConfirmationSheet.h"

#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "shell/ShellTesting.h"
#include "shell/TrashConfirmation.h"
#include "support/TestEnvironment.h"

#include <QPushButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// Every row of the sheet's list as "name | where | size | frees".
QStringList rowsOf(const QTreeWidget& list) {
    QStringList rows;
    for (int row = 0; row < list.topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = list.topLevelItem(row);
        QStringList cells;
        for (int column = 0; column < list.columnCount(); ++column)
            cells.append(item->text(column).trimmed());
        rows.append(cells.join(s(" | ")));
    }
    return rows;
}

} // namespace

TEST(ConfirmationSheetTest, ListsEveryItemOfThePlanUnderItsProjectAndReturnMeansCancel) {
    const QString home = Locations::homeDir();
    const QString monorepo =
        home + s("/Code/client-work/an-exceedingly-long-monorepo-name-for-the-payments-platform");
    TrashPlan plan;
    plan.area = s("projects");
    for (int index = 1; index <= 14; ++index) {
        const QString name =
            s("packages/service-with-a-rather-long-descriptive-name-%1/node_modules").arg(index);
        plan.add(home + s("/Code"), monorepo + u'/' + name, index * 1'000'000);
        plan.labelByURL.insert(monorepo + u'/' + name,
                               {s("~/Code/client-work/an-exceedingly-long-monorepo-name-for-the-"
                                  "payments-platform"),
                                name, index * 1'500'000});
    }
    plan.add(home, home + s("/.gradle/caches"), 700'000'000);
    plan.labelByURL.insert(home + s("/.gradle/caches"),
                           {s("Developer caches"), s("Gradle caches"), std::nullopt});
    // An item nobody labelled is listed under its folder by its own name.
    plan.add(home, home + s("/.npm/_cacache"), std::nullopt);

    QWidget window;
    window.resize(1000, 700);
    window.show();
    bool carriedOut = false;
    ConfirmationSheet* sheet = makeTrashConfirmation(&window, TrashQuestion::about(plan));
    QObject::connect(sheet, &QDialog::accepted, &window, [&carriedOut] { carriedOut = true; });
    sheet->open();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(sheet));

    EXPECT_EQ(sheet->text(), s("Move 16 items to the Trash?"));
    const QStringList rows = rowsOf(*sheet->list());
    ASSERT_EQ(rows.size(), 16 + 3);
    EXPECT_EQ(rows[0], s("~/Code/client-work/an-exceedingly-long-monorepo-name-for-the-payments-"
                         "platform | 14 items | ") +
                           formatBytes(157'500'000) + s(" | ") + formatBytes(105'000'000));
    EXPECT_EQ(rows[1], s("packages/service-with-a-rather-long-descriptive-name-1/node_modules | "
                         "~/Code/client-work/an-exceedingly-long-monorepo-name-for-the-payments-"
                         "platform/packages/service-with-a-rather-long-descriptive-name-1 | ") +
                           formatBytes(1'500'000) + s(" | ") + formatBytes(1'000'000));
    EXPECT_EQ(rows[15], s("Developer caches | 1 item |  | ") + formatBytes(700'000'000));
    EXPECT_EQ(rows[16], s("Gradle caches | ~/.gradle |  | ") + formatBytes(700'000'000));
    EXPECT_EQ(rows[17], s(".npm | 1 item |  | "));
    EXPECT_EQ(rows[18], s("_cacache | ~/.npm |  | "));
    EXPECT_EQ(sheet->totalText(), s("Total: 16 items · ") + formatBytes(157'500'000) +
                                      s(" on disk · frees ") + formatBytes(805'000'000));
    test::saveScreenshot(*sheet, s("confirm-lists-items"));

    // Cancel is the default: Return takes nothing away.
    EXPECT_TRUE(sheet->cancelButton()->isDefault());
    EXPECT_FALSE(sheet->acceptButton()->isDefault());
    EXPECT_EQ(sheet->acceptButton()->text(), moveToTrashTitle);
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !test::openSheet(window, s("trashConfirmation")); },
                                test::patience));
    EXPECT_FALSE(carriedOut);
}
