#include "devtools/AIModelStores.h"
#include "devtools/AndroidStores.h"
#include "devtools/DockerFixtures.h"
#include "devtools/OverviewAreas.h"
#include "platform/SizeCalculator.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

// Each area counts only what its guards would let go.
TEST(OverviewFigures, DockerLeavesOutWhatAContainerUsesAndRunningContainers) {
    const DockerSnapshot snapshot = DockerService::parseReport(test::docker::report28);
    // node and the untagged image (postgres and the registry image are in use), the stopped
    // container (not the running one), no volume (the only sized one is mounted), and the build
    // cache records not in use.
    EXPECT_EQ(OverviewFigures::docker(snapshot),
              qint64(991'800'000) + 1'227'000'000 + 1'230'000 + 12'500'000 + 734'000'000);
}

TEST(OverviewFigures, AIModelsCountSharedDataOnceAndLeaveOutOpenModels) {
    namespace ai = test::ai;
    const QString store = test::makeTempDir(s("overview-ollama"));
    ai::writeBlob(store, ai::digest('a'), 50000);
    ai::writeBlob(store, ai::digest('b'));
    ai::writeBlob(store, ai::digest('c'));
    ai::writeLibraryManifest(store, s("llama3.2"), s("latest"), ai::digest('b'), {ai::digest('a')});
    ai::writeLibraryManifest(store, s("llama3.2"), s("1b"), ai::digest('c'), {ai::digest('a')});
    const QList<AIModel> models = AIModelCatalog::listOllama({store, false}, {});
    ASSERT_EQ(models.size(), 2);
    const auto blob = [&](char c) {
        return SizeCalculator::size(ai::blobPath(store, ai::digest(c)));
    };

    EXPECT_EQ(OverviewFigures::aiModels(models, {}), blob('a') + blob('b') + blob('c'));
    // With one tag held open, the other frees only its own config: the weights stay.
    EXPECT_EQ(OverviewFigures::aiModels(models, {{s("ollama:llama3.2:1b"), s("ollama")}}),
              blob('b'));
}

TEST(OverviewFigures, AndroidLeavesOutGuardedPackagesAndImages) {
    test::android::AndroidStore store;
    const QString imageRel = s("system-images/android-36/google_apis_playstore/arm64-v8a");
    store.package(imageRel, test::android::playImageProperties);
    store.package(s("emulator"), "Pkg.Revision=36.3.10\n");
    const QString platform =
        store.package(s("platforms/android-34"), "AndroidVersion.ApiLevel=34\n");
    store.avd(s("Pixel_8"), imageRel);
    const AndroidInventory inventory = AndroidCatalog::inventory();
    const AndroidAVD* avd = store.avdNamed(inventory, s("Pixel_8"));
    ASSERT_TRUE(avd);
    // The platform and the emulator's AVD; not the required emulator, not the image it boots.
    EXPECT_EQ(OverviewFigures::android(inventory),
              store.component(inventory, platform)->sizeBytes + avd->sizeBytes);
}
