#include "devtools/AndroidModel.h"

#include "devtools/AndroidStores.h"
#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;
using test::android::AndroidStore;

namespace {

constexpr int patience = 20000;
const QString imageRel = s("system-images/android-36/google_apis_playstore/arm64-v8a");

class AndroidModelTest : public testing::Test {
protected:
    void TearDown() override { waitForBackgroundJobs(); }
    void load(AndroidModel& model) {
        model.reload();
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return model.hasLoaded() && !model.isLoading(); }, patience));
    }
    void settle(AndroidModel& model) {
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return !model.isRemoving() && !model.isLoading(); }, patience));
    }
    QString toastText() const { return toasts.current() ? toasts.current()->message : QString(); }

    ToastCenter toasts;
    AndroidStore store;
};

TEST_F(AndroidModelTest, ADryRunRunsTheGuardsARealRunWould) {
    const QString image = store.package(imageRel, test::android::playImageProperties);
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    store.avd(s("Pixel_8"), imageRel);
    AndroidModel model(toasts, true);
    load(model);
    model.setSelected(image, true);
    model.setSelected(platform, true);
    const qint64 platformBytes = model.inventory().components.value(1).sizeBytes;

    model.removeSelected();
    settle(model);
    EXPECT_EQ(toastText(),
              s("Dry run: would move 1 Android item (") + formatBytes(platformBytes) + u')');
    ASSERT_EQ(model.failures().size(), 1);
    EXPECT_EQ(model.failures()[0].message, s("This system image is used by AVDs: Pixel_8"));
    EXPECT_TRUE(QFileInfo::exists(image));
    EXPECT_TRUE(QFileInfo::exists(platform));
}

TEST_F(AndroidModelTest, DryRunCountsTheTickedItemsAndMovesNothing) {
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    const QString avd = store.avd(s("Pixel_8"), imageRel);
    AndroidModel model(toasts, true);
    load(model);
    ASSERT_EQ(model.itemID(s("Pixel_8")), avd);
    ASSERT_EQ(model.itemID(platform + u'/'), platform);
    EXPECT_FALSE(model.itemID(s("Nope")).has_value());
    model.setSelected(platform, true);
    model.setSelected(avd, true);
    const qint64 bytes = model.selectedBytes();
    EXPECT_GT(bytes, 0);

    model.removeSelected();
    settle(model);
    EXPECT_EQ(toastText(), s("Dry run: would move 2 Android items (") + formatBytes(bytes) + u')');
    EXPECT_TRUE(QFileInfo::exists(platform));
    EXPECT_TRUE(QFileInfo::exists(avd));
    EXPECT_TRUE(QFileInfo::exists(store.avdHome + s("/Pixel_8.ini")));
}

TEST_F(AndroidModelTest, RemovalReportsWhatWentAndWhatWasRefused) {
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    const QString image = store.package(imageRel, test::android::playImageProperties);
    store.avd(s("Pixel_8"), imageRel);
    AndroidModel model(toasts);
    load(model);
    EXPECT_EQ(model.removalBlockedReason(image), s("This system image is used by AVDs: Pixel_8"));
    EXPECT_FALSE(model.removalBlockedReason(platform).has_value());
    const qint64 platformBytes = model.inventory().components.value(1).sizeBytes;
    model.setSelected(platform, true);
    model.setSelected(image, true);

    model.removeSelected();
    settle(model);
    ASSERT_TRUE(model.lastResult().has_value());
    const AndroidModel::Result& result = *model.lastResult();
    EXPECT_EQ(result.removed, QStringList{platform});
    EXPECT_EQ(result.freedBytes, platformBytes);
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].itemID, image);
    EXPECT_EQ(result.failures[0].message, s("This system image is used by AVDs: Pixel_8"));
    EXPECT_EQ(model.failures(), result.failures);
    EXPECT_EQ(toastText(),
              s("Moved 1 Android item to the Trash (") + formatBytes(platformBytes) + u')');
    EXPECT_FALSE(QFileInfo::exists(platform));
    EXPECT_TRUE(QFileInfo::exists(image));
    // The refused image stays ticked for another try; the removed package is no longer listed.
    EXPECT_EQ(model.selectedIDs(), QSet<QString>{image});
    EXPECT_FALSE(model.itemID(platform).has_value());
}

} // namespace
