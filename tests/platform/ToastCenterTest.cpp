#include "platform/ToastCenter.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace corvane;

TEST(ToastCenter, ANewToastReplacesTheCurrentOneAndOnlyItsOwnDismissalHidesIt) {
    ToastCenter center;
    QSignalSpy changes(&center, &ToastCenter::currentChanged);
    const QUuid first = center.post(QStringLiteral("Reclaimed 1 GB"));
    const QUuid second = center.post(QStringLiteral("Rules saved"), ToastStyle::info);
    ASSERT_TRUE(center.current());
    EXPECT_EQ(center.current()->id, second);
    EXPECT_EQ(center.current()->style, ToastStyle::info);

    center.dismiss(first);
    EXPECT_EQ(center.current()->message, QStringLiteral("Rules saved"));
    center.dismiss(second);
    EXPECT_FALSE(center.current());
    EXPECT_EQ(changes.count(), 3);
}
