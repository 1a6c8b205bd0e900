#include "platform/NameOrder.h"

#include <QStringList>
#include <algorithm>
#include <gtest/gtest.h>

using namespace corvane;

TEST(NameOrderTest, NumbersGoByValueAndCaseNeverSplitsNamesApart) {
    QStringList names{QStringLiteral("build 10"), QStringLiteral("Build 2"),
                      QStringLiteral("build 1"),  QStringLiteral("apps"),
                      QStringLiteral("App"),      QStringLiteral("com.example.gone10"),
                      QStringLiteral("app"),      QStringLiteral("com.example.gone9")};
    std::sort(names.begin(), names.end(), NameOrder::less);
    EXPECT_EQ(names,
              (QStringList{QStringLiteral("App"), QStringLiteral("app"), QStringLiteral("apps"),
                           QStringLiteral("build 1"), QStringLiteral("Build 2"),
                           QStringLiteral("build 10"), QStringLiteral("com.example.gone9"),
                           QStringLiteral("com.example.gone10")}));
    // Equal but for case to people, still one fixed order for a sort.
    EXPECT_EQ(NameOrder::compare(QStringLiteral("App"), QStringLiteral("app")), 0);
    EXPECT_NE(NameOrder::less(QStringLiteral("App"), QStringLiteral("app")),
              NameOrder::less(QStringLiteral("app"), QStringLiteral("App")));
}
