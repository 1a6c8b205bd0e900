#include "devtools/AIModelsModel.h"

#include "devtools/AIModelStores.h"
#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "support/GitFixture.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

using namespace corvane;
using namespace corvane::test::ai;
using test::s;

namespace {

constexpr int patience = 20000;

// Stores of all three tools in folders of their own, found the way the app finds them.
class AIModelsModelTest : public testing::Test {
protected:
    QString root = test::makeTempDir(s("ai"));
    QString lms = root + s("/lms");
    QString ollama = root + s("/ollama");
    QString hub = root + s("/hub");
    FakeOllama fake;
    test::ScopedEnvironment tool{"CORVANE_TOOL_OLLAMA", fake.tool};
    test::ScopedEnvironment models{"OLLAMA_MODELS", ollama};
    test::ScopedEnvironment cache{"HF_HUB_CACHE", hub};
    ToastCenter toasts;
    std::unique_ptr<AIModelsModel> model_;

    QString lmModel, repo, manifest;

    void SetUp() override {
        test::writeFile(test::fakeHome() + s("/.lmstudio/settings.json"),
                        R"({"downloadsFolder": ")" + lms.toUtf8() + R"("})");
        lmModel = writeLMStudioModel(lms, s("lmstudio-community"), s("Qwen2.5-7B-GGUF"),
                                     {s("Qwen2.5-7B-Q4_K_M.gguf")});
        repo = writeHubRepo(hub, s("models--openai--whisper-tiny"),
                            {{s("model.safetensors"), s("5a5a")}});
        writeBlob(ollama, digest('a'), 40000);
        writeBlob(ollama, digest('b'));
        writeBlob(ollama, digest('c'));
        manifest =
            writeLibraryManifest(ollama, s("llama3.2"), s("latest"), digest('b'), {digest('a')});
        writeLibraryManifest(ollama, s("llama3.2"), s("3b"), digest('c'), {digest('a')});
    }
    void TearDown() override {
        model_.reset();
        waitForBackgroundJobs();
        QFile::remove(test::fakeHome() + s("/.lmstudio/settings.json"));
    }

    AIModelsModel& loaded(bool isDryRun = false) {
        model_ = std::make_unique<AIModelsModel>(toasts, isDryRun);
        model_->reload();
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return model_->hasLoaded() && !model_->isLoading(); }, patience));
        return *model_;
    }
    void settle(AIModelsModel& model) {
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return !model.isRemoving() && !model.isLoading(); }, patience));
    }
    QString toastText() const { return toasts.current() ? toasts.current()->message : QString(); }
    QStringList ids(const AIModelsModel& model) const {
        QStringList result;
        for (const AIModel& listed : model.models())
            result.append(listed.id);
        return result;
    }
};

TEST_F(AIModelsModelTest, ListsEveryStoreAndWhetherOllamaRuns) {
    AIModelsModel& model = loaded();
    EXPECT_EQ(ids(model), QStringList({s("lmStudio:lmstudio-community/Qwen2.5-7B-GGUF"),
                                       s("ollama:llama3.2:3b"), s("ollama:llama3.2:latest"),
                                       s("huggingFace:openai/whisper-tiny")}));
    EXPECT_TRUE(model.isOllamaInstalled());
    EXPECT_TRUE(model.isOllamaRunning());
    EXPECT_TRUE(model.openByMap().isEmpty());

    const AIModel* latest = model.model(s("ollama:llama3.2:latest"));
    ASSERT_TRUE(latest);
    EXPECT_EQ(AIModelsModel::sharedText(*latest),
              formatBytes(latest->sizeBytes) +
                  s(" in total; the rest is shared with other Ollama models and stays."));
    EXPECT_EQ(AIModelsModel::sharedText(*model.model(s("huggingFace:openai/whisper-tiny"))),
              std::nullopt);

    fake.setDown(true);
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isOllamaRunning(); }, patience));
    test::ScopedEnvironment missing("CORVANE_TOOL_OLLAMA", root + s("/none"));
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isOllamaInstalled(); }, patience));
}

TEST_F(AIModelsModelTest, NothingListedWithoutStores) {
    test::ScopedEnvironment noOllama("OLLAMA_MODELS", root + s("/none"));
    test::ScopedEnvironment noHub("HF_HUB_CACHE", root + s("/none"));
    QFile::remove(test::fakeHome() + s("/.lmstudio/settings.json"));
    AIModelsModel& model = loaded();
    EXPECT_TRUE(model.hasLoaded());
    EXPECT_TRUE(model.models().isEmpty());
    EXPECT_EQ(AIModelsModel::emptyText,
              s("No models from LM Studio, Ollama or Hugging Face on this Mac."));
}

TEST_F(AIModelsModelTest, RemovesTrashableAndOllamaModelsAndReportsWhatWasFreed) {
    AIModelsModel& model = loaded();
    const qint64 lmBytes =
        model.model(s("lmStudio:lmstudio-community/Qwen2.5-7B-GGUF"))->freesBytes;
    const qint64 ollamaBytes = model.model(s("ollama:llama3.2:latest"))->freesBytes;
    model.setSelected(s("lmStudio:lmstudio-community/Qwen2.5-7B-GGUF"), true);
    model.setSelected(s("ollama:llama3.2:latest"), true);
    EXPECT_EQ(model.selectedBytes(), lmBytes + ollamaBytes);
    model.removeSelected();
    settle(model);

    EXPECT_FALSE(QFileInfo::exists(lmModel));
    EXPECT_TRUE(QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") +
                                  s("/Trash/files/Qwen2.5-7B-GGUF/Qwen2.5-7B-Q4_K_M.gguf")));
    EXPECT_TRUE(fake.calls().contains(s("rm -- llama3.2:latest")));
    ASSERT_TRUE(model.lastResult().has_value());
    const AIModelsResult& result = *model.lastResult();
    EXPECT_EQ(result.removed, QStringList({s("lmStudio:lmstudio-community/Qwen2.5-7B-GGUF"),
                                           s("ollama:llama3.2:latest")}));
    EXPECT_TRUE(result.failures.isEmpty());
    EXPECT_EQ(result.freedBytes, lmBytes + ollamaBytes);
    EXPECT_EQ(result.message, s("Moved 1 model (") + formatBytes(lmBytes) +
                                  s(") to the Trash; the space comes back when you empty it. "
                                    "Ollama removed 1 model and freed ") +
                                  formatBytes(ollamaBytes) + u'.');
    EXPECT_EQ(toastText(), result.message);
    EXPECT_TRUE(model.failures().isEmpty());
    EXPECT_TRUE(model.selectedIDs().isEmpty());
    // The list is read again: the trashed model is gone from it.
    EXPECT_FALSE(model.model(s("lmStudio:lmstudio-community/Qwen2.5-7B-GGUF")));
}

TEST_F(AIModelsModelTest, AStoppedOllamaAndAnOpenModelAreListedAsFailures) {
    AIModelsModel& model = loaded();
    fake.setDown(true);
    QProcess holder;
    holder.start(s("/bin/sh"),
                 {s("-c"), s("exec 3<\"$1\"; exec sleep 30"), s("sh"), repo + s("/blobs/5a5a")});
    ASSERT_TRUE(holder.waitForStarted());
    // The load names the app that holds the model.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            if (!model.isLoading())
                model.reload();
            return model.openBy(s("huggingFace:openai/whisper-tiny")) == s("sleep");
        },
        patience));

    model.setSelected(s("ollama:llama3.2:3b"), true);
    model.setSelected(s("huggingFace:openai/whisper-tiny"), true);
    model.removeSelected();
    settle(model);
    holder.kill();
    holder.waitForFinished();

    EXPECT_EQ(model.failures(),
              QList<ItemFailure>({{s("ollama:llama3.2:3b"), s("llama3.2:3b"),
                                   s("Ollama is not running. Start it to remove models.")},
                                  {s("huggingFace:openai/whisper-tiny"), s("whisper-tiny"),
                                   s("sleep has it open. Quit or unload it first.")}}));
    EXPECT_EQ(toastText(), s("No models were removed."));
    EXPECT_TRUE(QFileInfo::exists(repo + s("/blobs/5a5a")));
    EXPECT_FALSE(fake.calls().filter(s("rm")).size() > 0);
    // Failed models stay ticked for another try.
    EXPECT_EQ(model.selectedIDs().size(), 2);
}

TEST_F(AIModelsModelTest, ADryRunChangesNothing) {
    AIModelsModel& model = loaded(/*isDryRun=*/true);
    const qint64 bytes = model.model(s("ollama:llama3.2:latest"))->freesBytes +
                         model.model(s("huggingFace:openai/whisper-tiny"))->freesBytes;
    model.setSelected(s("ollama:llama3.2:latest"), true);
    model.setSelected(s("huggingFace:openai/whisper-tiny"), true);
    model.removeSelected();
    settle(model);

    EXPECT_EQ(toastText(), s("Dry run: would remove 2 models (") + formatBytes(bytes) + u')');
    EXPECT_TRUE(QFileInfo::exists(repo));
    EXPECT_TRUE(QFileInfo::exists(manifest));
    EXPECT_TRUE(fake.calls().filter(s("rm")).isEmpty());
    ASSERT_TRUE(model.lastResult().has_value());
    // What a real run would remove.
    EXPECT_EQ(model.lastResult()->removed.size(), 2);

    // With Ollama stopped, the dry run says what a real run would refuse.
    fake.setDown(true);
    model.removeSelected();
    settle(model);
    EXPECT_EQ(toastText(),
              s("Dry run: would remove 1 model (") +
                  formatBytes(model.model(s("huggingFace:openai/whisper-tiny"))->freesBytes) +
                  u')');
    EXPECT_EQ(model.failures(),
              QList<ItemFailure>({{s("ollama:llama3.2:latest"), s("llama3.2:latest"),
                                   s("Ollama is not running. Start it to remove models.")}}));
    EXPECT_TRUE(QFileInfo::exists(manifest));
    EXPECT_TRUE(fake.calls().filter(s("rm")).isEmpty());
}

TEST_F(AIModelsModelTest, StartingOllamaOutsideMacOSExplainsTheAlternative) {
    AIModelsModel& model = loaded();
    model.startOllama();
    EXPECT_EQ(toastText(), s("The Ollama app was not found. Start the Ollama server another way "
                             "(for example `ollama serve`), then reload."));
    EXPECT_FALSE(model.isStartingOllama());
}

} // namespace
