#include "cli/Command.h"
#include "devtools/AIModelStores.h"
#include "devtools/AndroidStores.h"
#include "platform/ProcessRunner.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

} // namespace

TEST(ModelsCommand, ListsWhatEachModelFreesAndRemovesThroughOllamaOrTheTrash) {
    namespace ai = test::ai;
    const ai::ModelStores stores;
    ai::writeBlob(stores.ollama, ai::digest('a'), 40000);
    ai::writeBlob(stores.ollama, ai::digest('b'));
    ai::writeLibraryManifest(stores.ollama, s("llama3.2"), s("latest"), ai::digest('b'),
                             {ai::digest('a')});
    const QString repo = ai::writeHubRepo(stores.hub, s("models--openai--whisper-tiny"),
                                          {{s("model.safetensors"), s("5a5a")}});

    const ProcessResult listed = runCorvane({s("models"), s("--json")});
    ASSERT_EQ(listed.exitCode, cli::exitOk) << listed.standardError.toStdString();
    const QJsonArray models = QJsonDocument::fromJson(listed.standardOutput)[u"models"].toArray();
    ASSERT_EQ(models.size(), 2);
    EXPECT_EQ(models[0][u"id"].toString(), s("ollama:llama3.2:latest"));
    EXPECT_EQ(models[0][u"sizeBytes"].toInteger(), models[0][u"freesBytes"].toInteger())
        << "no other model shares its blobs";
    EXPECT_TRUE(models[1][u"openBy"].isNull());

    const ProcessResult dryRun = runCorvane({s("models"), s("remove"), s("ollama:llama3.2:latest"),
                                             s("huggingFace:openai/whisper-tiny"), s("--dry-run")});
    EXPECT_EQ(dryRun.exitCode, cli::exitOk) << dryRun.standardError.toStdString();
    EXPECT_TRUE(dryRun.standardOutput.startsWith("Dry run: would remove"));
    EXPECT_TRUE(QFileInfo::exists(repo));

    const ProcessResult removed =
        runCorvane({s("models"), s("remove"), s("ollama:llama3.2:latest"),
                    s("huggingFace:openai/whisper-tiny"), s("--yes"), s("--json")});
    ASSERT_EQ(removed.exitCode, cli::exitOk) << removed.standardOutput.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(removed.standardOutput)[u"removed"].toArray().size(), 2);
    EXPECT_FALSE(QFileInfo::exists(repo));
    EXPECT_TRUE(stores.fake.calls().contains(s("rm -- llama3.2:latest")))
        << stores.fake.calls().join(u';').toStdString();
}

TEST(AndroidCommand, ListsWithReasonsAndRefusesWhatWouldBreakAnEmulator) {
    namespace android = test::android;
    const android::AndroidStore store;
    const QString image =
        store.package(s("system-images/android-36/google_apis_playstore/arm64-v8a"),
                      android::playImageProperties);
    const QString avd = store.avd(s("Pixel_8_API_36"),
                                  s("system-images/android-36/google_apis_playstore/arm64-v8a"));

    const ProcessResult listed = runCorvane({s("android"), s("--json")});
    ASSERT_EQ(listed.exitCode, cli::exitOk) << listed.standardError.toStdString();
    const QJsonObject inventory = QJsonDocument::fromJson(listed.standardOutput).object();
    EXPECT_EQ(inventory[u"components"][0][u"kind"].toString(), s("systemImage"));
    EXPECT_TRUE(inventory[u"components"][0][u"removalBlockedReason"].toString().startsWith(
        s("This system image is used by AVDs: ")));
    EXPECT_EQ(inventory[u"avds"][0][u"name"].toString(), s("Pixel_8_API_36"));

    EXPECT_EQ(runCorvane({s("android"), s("remove"), image, s("--yes")}).exitCode,
              cli::exitRefusedOrBadArguments);
    EXPECT_EQ(runCorvane({s("android"), s("remove"), s("/etc"), s("--yes")}).exitCode,
              cli::exitRefusedOrBadArguments);
    const ProcessResult removed =
        runCorvane({s("android"), s("remove"), s("Pixel_8_API_36"), s("--yes"), s("--json")});
    ASSERT_EQ(removed.exitCode, cli::exitOk) << removed.standardOutput.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(removed.standardOutput)[u"removed"].toArray().size(), 1);
    EXPECT_FALSE(QFileInfo::exists(avd));
    EXPECT_TRUE(QFileInfo::exists(image));
}
