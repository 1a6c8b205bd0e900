#include "devtools/AIModelStores.h"
#include "devtools/AndroidStores.h"
#include "platform/ByteFormat.h"
#include "platform/InputLimits.h"
#include "shell/AIModelsView.h"
#include "shell/AndroidView.h"
#include "shell/ShellTesting.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// Every row below the top-level headings, as "heading/row".
QStringList rowsOf(const QTreeWidget& tree) {
    QStringList rows;
    for (int top = 0; top < tree.topLevelItemCount(); ++top) {
        const QTreeWidgetItem* heading = tree.topLevelItem(top);
        for (int row = 0; row < heading->childCount(); ++row)
            rows.append(heading->text(0) + u'/' + heading->child(row)->text(0));
    }
    return rows;
}

template <typename Model> void waitForLoad(Model& model) {
    ASSERT_TRUE(QTest::qWaitFor([&model] { return model.hasLoaded() && !model.isLoading(); },
                                test::patience));
    QTest::qWait(50);
}

} // namespace

TEST(AIModelsPageTest, ModelsOfEachSourceWithWhatTheyFreeAndAnEmptyState) {
    namespace ai = test::ai;
    const ai::ModelStores stores;
    ToastCenter toasts;
    AIModelsModel model(toasts);
    AIModelsView view(model);
    view.resize(1000, 560);

    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    waitForLoad(model);
    EXPECT_EQ(view.stateText(), AIModelsModel::emptyText);
    test::saveScreenshot(view, s("ai-models-empty"));

    ai::writeBlob(stores.ollama, ai::digest('a'), 40000);
    ai::writeBlob(stores.ollama, ai::digest('b'));
    ai::writeBlob(stores.ollama, ai::digest('c'));
    ai::writeLibraryManifest(stores.ollama, s("llama3.2"), s("latest"), ai::digest('b'),
                             {ai::digest('a')});
    ai::writeLibraryManifest(stores.ollama, s("llama3.2"), s("3b"), ai::digest('c'),
                             {ai::digest('a')});
    ai::writeHubRepo(stores.hub, s("models--openai--whisper-tiny"),
                     {{s("model.safetensors"), s("5a5a")}});
    model.reload();
    waitForLoad(model);
    EXPECT_EQ(view.stateText(), QString());
    EXPECT_EQ(rowsOf(*view.tree()).size(), 3) << rowsOf(*view.tree()).join(u',').toStdString();
    const QTreeWidgetItem* ollama = view.tree()->topLevelItem(0);
    EXPECT_EQ(ollama->text(0), s("Ollama"));
    EXPECT_EQ(ollama->text(2), AIModelsModel::ollamaNote);
    // Both tags share one large blob: each says so, and frees only its own small ones. A row
    // shows what the model takes, and beside it what removing it frees.
    EXPECT_TRUE(ollama->child(0)->text(2).endsWith(AIModelsModel::sharedSuffix));
    const AIModel* tag = model.model(s("ollama:llama3.2:3b"));
    ASSERT_TRUE(tag);
    EXPECT_LT(tag->freesBytes, tag->sizeBytes);
    EXPECT_EQ(ollama->child(0)->text(1), formatBytes(tag->sizeBytes));
    EXPECT_TRUE(ollama->child(0)->text(2).startsWith(s("frees ") + formatBytes(tag->freesBytes)));
    EXPECT_FALSE(view.removeButton()->isEnabled());
    test::saveScreenshot(view, s("ai-models-loaded"));
}

// A manifest too large to be one is named under the list, so that the models shown are never
// taken for all there are; the readable model is still listed.
TEST(AIModelsPageTest, AManifestThatCannotBeReadIsNamedUnderTheList) {
    namespace ai = test::ai;
    const ai::ModelStores stores;
    ai::writeBlob(stores.ollama, ai::digest('a'));
    ai::writeLibraryManifest(stores.ollama, s("small"), s("latest"), ai::digest('a'),
                             {ai::digest('a')});
    const QString huge = stores.ollama + s("/manifests/registry.ollama.ai/library/huge/latest");
    test::writeFile(huge);
    ASSERT_TRUE(QFile(huge).resize(InputLimits::fileBytes + 1));
    ToastCenter toasts;
    AIModelsModel model(toasts);
    AIModelsView view(model);
    view.resize(1000, 560);

    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    waitForLoad(model);
    EXPECT_EQ(rowsOf(*view.tree()).size(), 1);
    const auto* problems = view.findChild<QLabel*>(s("loadProblems"));
    ASSERT_TRUE(problems);
    EXPECT_TRUE(problems->isVisible());
    EXPECT_TRUE(problems->text().contains(s("Could not read ") + huge))
        << problems->text().toStdString();
    test::saveScreenshot(view, s("ai-models-unreadable-manifest"));

    QFile::remove(huge);
    model.reload();
    waitForLoad(model);
    EXPECT_FALSE(problems->isVisible());
}

TEST(AndroidPageTest, PackagesByKindAndEmulatorsWithWhatCannotGoAndWhy) {
    namespace android = test::android;
    const android::AndroidStore store;
    const QString image =
        store.package(s("system-images/android-36/google_apis_playstore/arm64-v8a"),
                      android::playImageProperties);
    store.package(s("platforms/android-36"),
                  "Pkg.Desc=Android SDK Platform 36\nPkg.Revision=1\nAndroidVersion.ApiLevel=36\n");
    store.package(s("platform-tools"),
                  "Pkg.Desc=Android SDK Platform-Tools\nPkg.Revision=35.0.2\n");
    store.avd(s("Pixel_8_API_36"), s("system-images/android-36/google_apis_playstore/arm64-v8a"));
    ToastCenter toasts;
    AndroidModel model(toasts);
    AndroidView view(model);
    view.resize(1000, 560);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    waitForLoad(model);
    EXPECT_EQ(view.stateText(), QString());

    // The image the emulator boots from, and the tools Android Studio needs, cannot be ticked.
    const QStringList rows = rowsOf(*view.tree());
    EXPECT_EQ(rows.size(), 4) << rows.join(u',').toStdString();
    int untickable = 0;
    for (int top = 0; top < view.tree()->topLevelItemCount(); ++top) {
        const QTreeWidgetItem* heading = view.tree()->topLevelItem(top);
        for (int row = 0; row < heading->childCount(); ++row) {
            const QTreeWidgetItem* item = heading->child(row);
            if (!(item->flags() & Qt::ItemIsUserCheckable)) {
                ++untickable;
                EXPECT_FALSE(item->text(2).isEmpty());
            }
        }
    }
    EXPECT_EQ(untickable, 2);
    ASSERT_TRUE(model.removalBlockedReason(image).has_value());
    EXPECT_TRUE(
        model.removalBlockedReason(image)->startsWith(s("This system image is used by AVDs: ")));
    test::saveScreenshot(view, s("android-loaded"));

    model.setSelected(*model.itemID(s("Pixel_8_API_36")), true);
    view.confirmTrash();
    ConfirmationSheet* box = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return (box = test::openSheet(view, s("androidTrashConfirmation"))); },
        test::patience));
    EXPECT_EQ(box->informativeText(), AndroidModel::confirmationNote);
    box->reject();
}
