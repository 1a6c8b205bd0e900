#include "devtools/AIModelCatalog.h"

#include "devtools/AIModelStores.h"
#include "platform/InputLimits.h"
#include "platform/Locations.h"
#include "platform/SizeCalculator.h"
#include "platform/TrashService.h"
#include "support/GitFixture.h"
#include "support/KeepMarks.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test::ai;
using test::s;

namespace {

const AIModel* findModel(const QList<AIModel>& models, const QString& id) {
    for (const AIModel& model : models) {
        if (model.id == id)
            return &model;
    }
    return nullptr;
}

qint64 allocated(const QString& path) {
    return SizeCalculator::size(path);
}

TEST(AIModelCatalogTest, OllamaStoreSharesBlobsAndNamesModelsAsOllamaDoes) {
    const QString store = test::makeTempDir(s("ollama-store"));
    const QString shared = writeBlob(store, digest('a'), 50000);
    const QString configLatest = writeBlob(store, digest('b'));
    const QString configSmall = writeBlob(store, digest('c'), 20000);
    writeLibraryManifest(store, s("llama3.2"), s("latest"), digest('b'), {digest('a')});
    writeLibraryManifest(store, s("llama3.2"), s("1b"), digest('c'), {digest('a')});
    // Another host and namespace, stored pretty-printed as a registry may send it.
    const QString other = writeBlob(store, digest('d'));
    writeManifest(store, s("hf.co"), s("bartowski"), s("Llama-3.2-1B-Instruct-GGUF"), s("Q4_K_M"),
                  digest('e'), {digest('d')}, /*pretty=*/true);
    writeBlob(store, digest('e'));
    writeManifest(store, s("registry.ollama.ai"), s("someuser"), s("custom"), s("latest"),
                  digest('d'), {digest('d')});
    // Its weights never arrived; only its config did.
    writeLibraryManifest(store, s("qwen3"), s("8b"), digest('c'), {digest('f')});
    // A download in progress belongs to no model; an unreadable manifest is skipped.
    test::writeFile(blobPath(store, digest('9')) + s("-partial"), QByteArray(30000, 'p'));
    test::writeFile(store + s("/manifests/registry.ollama.ai/library/broken/latest"), "{not json");

    const QList<AIModel> models = AIModelCatalog::listOllama({store, false}, {});
    QStringList ids;
    for (const AIModel& model : models)
        ids.append(model.id);
    ids.sort();
    EXPECT_EQ(ids, QStringList({s("ollama:hf.co/bartowski/Llama-3.2-1B-Instruct-GGUF:Q4_K_M"),
                                s("ollama:llama3.2:1b"), s("ollama:llama3.2:latest"),
                                s("ollama:qwen3:8b"), s("ollama:someuser/custom:latest")}));

    const AIModel* latest = findModel(models, s("ollama:llama3.2:latest"));
    const AIModel* small = findModel(models, s("ollama:llama3.2:1b"));
    ASSERT_TRUE(latest && small);
    EXPECT_EQ(latest->name, s("llama3.2:latest"));
    EXPECT_EQ(latest->sizeBytes, allocated(shared) + allocated(configLatest));
    EXPECT_EQ(latest->freesBytes, allocated(configLatest));
    // Its config blob is also the incomplete qwen3's, so removing it frees nothing.
    EXPECT_EQ(small->sizeBytes, allocated(shared) + allocated(configSmall));
    EXPECT_EQ(small->freesBytes, 0);
    EXPECT_FALSE(latest->isIncomplete);
    EXPECT_FALSE(latest->publisher.has_value());

    const AIModel* incomplete = findModel(models, s("ollama:qwen3:8b"));
    ASSERT_TRUE(incomplete);
    EXPECT_TRUE(incomplete->isIncomplete);
    EXPECT_EQ(incomplete->sizeBytes, allocated(configSmall));

    const AIModel* remote =
        findModel(models, s("ollama:hf.co/bartowski/Llama-3.2-1B-Instruct-GGUF:Q4_K_M"));
    ASSERT_TRUE(remote);
    EXPECT_EQ(remote->publisher, s("bartowski"));
    EXPECT_EQ(remote->sizeBytes, allocated(other) + allocated(blobPath(store, digest('e'))));
    EXPECT_EQ(remote->url,
              store + s("/manifests/hf.co/bartowski/Llama-3.2-1B-Instruct-GGUF/Q4_K_M"));
    // The blob it shares with someuser/custom stays with that model.
    EXPECT_EQ(remote->freesBytes, allocated(blobPath(store, digest('e'))));

    // Removing both llama3.2 tags gives back their shared weights too, counted once; with every
    // model gone, every blob a manifest names goes, each once.
    using AIModelCatalog::freedBy;
    EXPECT_EQ(freedBy({*latest, *small}, models), allocated(shared) + allocated(configLatest));
    EXPECT_EQ(freedBy(models, models), allocated(shared) + allocated(configLatest) +
                                           allocated(configSmall) + allocated(other) +
                                           allocated(blobPath(store, digest('e'))));
}

TEST(AIModelCatalogTest, OllamaNamesLeaveOutOnlyTheDefaults) {
    using AIModelCatalog::ollamaDisplayName;
    EXPECT_EQ(ollamaDisplayName(s("registry.ollama.ai"), s("library"), s("gemma"), s("2b")),
              s("gemma:2b"));
    EXPECT_EQ(ollamaDisplayName(s("registry.ollama.ai"), s("me"), s("x"), s("latest")),
              s("me/x:latest"));
    EXPECT_EQ(ollamaDisplayName(s("hf.co"), s("library"), s("x"), s("latest")),
              s("hf.co/library/x:latest"));
}

TEST(AIModelCatalogTest, HuggingFaceCountsLinkedBlobsOnceAndSkipsOtherRepositoryKinds) {
    const QString hub = test::makeTempDir(s("hub"));
    const QString repo = writeHubRepo(
        hub, s("models--mlx-community--Qwen2.5-7B-Instruct-4bit"),
        {{s("model.safetensors"), s("403450e2")}, {s("onnx/model.onnx"), s("7cb18dc9")}},
        {s("2439f60e"), s("bbc77c81")});
    writeHubRepo(hub, s("models--gpt2"), {{s("pytorch_model.bin"), s("d7edf6bd")}});
    writeHubRepo(hub, s("datasets--huggingface--DataMeasurementsFiles"),
                 {{s("data.parquet"), s("aaaa")}});
    test::writeFile(hub + s("/.locks/models--gpt2/d7edf6bd.lock"));
    test::writeFile(hub + s("/models--owner--partial/blobs/beef.incomplete"), "x");

    const QList<AIModel> models = AIModelCatalog::listHuggingFace(hub, {});
    ASSERT_EQ(models.size(), 3);
    const AIModel* qwen =
        findModel(models, s("huggingFace:mlx-community/Qwen2.5-7B-Instruct-4bit"));
    ASSERT_TRUE(qwen);
    EXPECT_EQ(qwen->name, s("Qwen2.5-7B-Instruct-4bit"));
    EXPECT_EQ(qwen->publisher, s("mlx-community"));
    EXPECT_EQ(qwen->format, s("MLX"));
    EXPECT_EQ(qwen->url, repo);
    // Two revisions link to the same two blobs: only the blobs (and refs/main) count.
    EXPECT_EQ(qwen->sizeBytes, allocated(repo + s("/blobs")) + allocated(repo + s("/refs")));
    EXPECT_EQ(qwen->freesBytes, qwen->sizeBytes);
    EXPECT_FALSE(qwen->isIncomplete);

    const AIModel* gpt2 = findModel(models, s("huggingFace:gpt2"));
    ASSERT_TRUE(gpt2);
    EXPECT_FALSE(gpt2->publisher.has_value());
    EXPECT_FALSE(gpt2->format.has_value());
    const AIModel* partial = findModel(models, s("huggingFace:owner/partial"));
    ASSERT_TRUE(partial);
    EXPECT_TRUE(partial->isIncomplete);
}

TEST(AIModelCatalogTest, FormatFollowsTheFileNames) {
    using AIModelCatalog::formatOf;
    EXPECT_EQ(formatOf({s("a.safetensors"), s("b.GGUF")}, s("x/mlx-model")), s("GGUF"));
    EXPECT_EQ(formatOf({s("model.safetensors"), s("config.json")}, s("me/Qwen-MLX-4bit")),
              s("MLX"));
    EXPECT_EQ(formatOf({s("model.safetensors")}, s("me/Qwen-4bit")), s("safetensors"));
    EXPECT_EQ(formatOf({s("pytorch_model.bin")}, s("mlx/bin")), std::nullopt);
    EXPECT_EQ(formatOf({}, s("mlx")), std::nullopt);
}

TEST(AIModelCatalogTest, LMStudioListsPublisherAndModelFolders) {
    const QString models = test::makeTempDir(s("lms-models"));
    const QString llama =
        writeLMStudioModel(models, s("lmstudio-community"), s("Meta-Llama-3.1-8B-Instruct-GGUF"),
                           {s("Meta-Llama-3.1-8B-Instruct-Q4_K_M.gguf")});
    writeLMStudioModel(models, s("mlx-community"), s("Qwen2.5-7B-Instruct-4bit"),
                       {s("model.safetensors"), s("config.json")});
    // Files that are not two levels down are not LM Studio's models.
    test::writeFile(models + s("/stray.gguf"), "x");
    test::writeFile(models + s("/lmstudio-community/loose.gguf"), "x");
    QDir().mkpath(models + s("/bartowski/Empty-GGUF"));
    // A folder of notes holds no weights; one with its weights in a subfolder beside its config
    // is a model, as are ".mlx" weights.
    writeLMStudioModel(models, s("me"), s("Notes"), {s("README.md"), s("ideas.txt")});
    writeLMStudioModel(models, s("me"), s("Nested"),
                       {s("config.json"), s("weights/model-00001.safetensors")});
    writeLMStudioModel(models, s("me"), s("Converted"), {s("weights.mlx"), s("config.json")});

    const QList<AIModel> listed = AIModelCatalog::listLMStudio(models, {});
    ASSERT_EQ(listed.size(), 4);
    EXPECT_FALSE(findModel(listed, s("lmStudio:me/Notes")));
    ASSERT_TRUE(findModel(listed, s("lmStudio:me/Nested")));
    ASSERT_TRUE(findModel(listed, s("lmStudio:me/Converted")));
    EXPECT_EQ(findModel(listed, s("lmStudio:me/Converted"))->format, s("MLX"));
    const AIModel* first =
        findModel(listed, s("lmStudio:lmstudio-community/Meta-Llama-3.1-8B-Instruct-GGUF"));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->name, s("Meta-Llama-3.1-8B-Instruct-GGUF"));
    EXPECT_EQ(first->publisher, s("lmstudio-community"));
    EXPECT_EQ(first->format, s("GGUF"));
    EXPECT_EQ(first->sizeBytes, allocated(llama));
    EXPECT_GT(first->sizeBytes, 0);
    EXPECT_TRUE(first->modifiedAt.has_value());
    const AIModel* mlx = findModel(listed, s("lmStudio:mlx-community/Qwen2.5-7B-Instruct-4bit"));
    ASSERT_TRUE(mlx);
    EXPECT_EQ(mlx->format, s("MLX"));
}

TEST(AIModelCatalogTest, FilesOfTheStoresThatCannotBeReadAreNamedOnePerFile) {
    const QString store = test::makeTempDir(s("ollama-store"));
    writeBlob(store, digest('a'));
    writeLibraryManifest(store, s("small"), s("latest"), digest('a'), {digest('a')});
    // Far larger than any manifest; only its size is looked at.
    const QString huge = store + s("/manifests/registry.ollama.ai/library/huge/latest");
    test::writeFile(huge);
    ASSERT_TRUE(QFile(huge).resize(InputLimits::fileBytes + 1));

    QStringList problems;
    const QList<AIModel> models = AIModelCatalog::listOllama({store, false}, {}, &problems);
    ASSERT_EQ(models.size(), 1);
    EXPECT_EQ(models.first().id, s("ollama:small:latest"));
    EXPECT_EQ(problems, QStringList{s("Could not read ") + huge +
                                    s(": it is larger than 64 MB, more than such a file can be")});

    // Settings that are no JSON leave the default folder, and say why.
    const QString home = test::makeTempDir(s("home"));
    QDir().mkpath(home + s("/.lmstudio/models"));
    test::writeFile(home + s("/.lmstudio/settings.json"), "{\"downloadsFolder\": ");
    problems.clear();
    EXPECT_EQ(AIModelCatalog::lmStudioModelsFolder(home, &problems), home + s("/.lmstudio/models"));
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems.first().startsWith(s("Could not read ") + home +
                                            s("/.lmstudio/settings.json: it is not valid JSON")))
        << problems.first().toStdString();
}

TEST(AIModelCatalogTest, LMStudioFolderFromSettingsPointerOrDefault) {
    const QString home = test::makeTempDir(s("home"));
    const auto folder = [&] { return AIModelCatalog::lmStudioModelsFolder(home); };
    EXPECT_EQ(folder(), std::nullopt);

    QDir().mkpath(home + s("/.lmstudio/models"));
    EXPECT_EQ(folder(), home + s("/.lmstudio/models"));

    // The pointer names LM Studio's home, without a trailing newline and with a space.
    const QString pointed = home + s("/Other Home");
    QDir().mkpath(pointed + s("/models"));
    test::writeFile(home + s("/.lmstudio-home-pointer"), "  " + pointed.toUtf8() + "  ");
    EXPECT_EQ(folder(), pointed + s("/models"));

    // That home's settings can move the models elsewhere.
    QDir().mkpath(home + s("/Fast/LM"));
    test::writeFile(pointed + s("/settings.json"), R"({"downloadsFolder": "~/Fast/LM"})");
    EXPECT_EQ(folder(), home + s("/Fast/LM"));

    // A "~/" folder in .lmstudio/settings.json wins over the pointer.
    QDir().mkpath(home + s("/My Models"));
    test::writeFile(home + s("/.lmstudio/settings.json"),
                    R"({"other": 1, "downloadsFolder": "~/My Models"})");
    EXPECT_EQ(folder(), home + s("/My Models"));

    // A chosen folder that does not exist gives nothing rather than a guess.
    test::writeFile(home + s("/.lmstudio/settings.json"), R"({"downloadsFolder": "~/Gone"})");
    EXPECT_EQ(folder(), std::nullopt);
    // A blank value is ignored.
    test::writeFile(home + s("/.lmstudio/settings.json"), R"({"downloadsFolder": "  "})");
    EXPECT_EQ(folder(), home + s("/Fast/LM"));
}

TEST(AIModelCatalogTest, EnvironmentChoosesTheOllamaAndHuggingFaceStores) {
    const QString home = test::makeTempDir(s("home"));
    {
        test::ScopedEnvironment unsetModels("OLLAMA_MODELS", QString());
        test::ScopedEnvironment unsetCache("HF_HUB_CACHE", QString());
        test::ScopedEnvironment unsetHome("HF_HOME", QString());
        EXPECT_EQ(AIModelCatalog::ollamaModelsFolder(home), home + s("/.ollama/models"));
        EXPECT_EQ(AIModelCatalog::huggingFaceHubFolder(home), home + s("/.cache/huggingface/hub"));
    }
    {
        test::ScopedEnvironment models("OLLAMA_MODELS", s(" \"/srv/ollama models\" "));
        EXPECT_EQ(AIModelCatalog::ollamaModelsFolder(home), s("/srv/ollama models"));
    }
    {
        test::ScopedEnvironment unsetCache("HF_HUB_CACHE", QString());
        test::ScopedEnvironment hfHome("HF_HOME", s("/data/hf"));
        EXPECT_EQ(AIModelCatalog::huggingFaceHubFolder(home), s("/data/hf/hub"));
        test::ScopedEnvironment cache("HF_HUB_CACHE", s("~/hub-cache"));
        EXPECT_EQ(AIModelCatalog::huggingFaceHubFolder(home), home + s("/hub-cache"));
    }
}

TEST(AIModelCatalogTest, LocatedStoresOnlyIncludeFoldersThatExist) {
    const QString home = test::makeTempDir(s("home"));
    test::ScopedEnvironment unsetModels("OLLAMA_MODELS", QString());
    test::ScopedEnvironment unsetCache("HF_HUB_CACHE", QString());
    test::ScopedEnvironment unsetHome("HF_HOME", QString());
    AIModelCatalog::Stores stores = AIModelCatalog::locateStores(home);
    EXPECT_FALSE(stores.lmStudio || stores.huggingFace);
    for (const AIModelCatalog::OllamaStore& store : stores.ollama)
        EXPECT_TRUE(store.isSystem) << store.path.toStdString();

    QDir().mkpath(home + s("/.ollama/models"));
    QDir().mkpath(home + s("/.cache/huggingface/hub"));
    stores = AIModelCatalog::locateStores(home);
    ASSERT_FALSE(stores.ollama.isEmpty());
    EXPECT_EQ(stores.ollama.front().path, home + s("/.ollama/models"));
    EXPECT_FALSE(stores.ollama.front().isSystem);
    EXPECT_EQ(stores.huggingFace, home + s("/.cache/huggingface/hub"));
}

// Removal ------------------------------------------------------------------------------------

class AIModelRemovalTest : public testing::Test {
protected:
    QString home = test::makeTempDir(s("stores"));
    QString lms = home + s("/lms");
    QString hub = home + s("/hub");
    QString ollama = home + s("/ollama");
    FakeOllama fake;
    test::ScopedEnvironment tool{"CORVANE_TOOL_OLLAMA", fake.tool};
    // The running server's store is the one listed, unless a test says otherwise.
    test::ScopedEnvironment serverStore{"OLLAMA_MODELS", ollama};

    AIModelCatalog::Stores stores() const {
        QDir().mkpath(lms);
        QDir().mkpath(hub);
        QDir().mkpath(ollama);
        return {lms, {{ollama, false}}, hub};
    }
    QList<AIModel> listed() const { return AIModelCatalog::list(stores()); }
    QList<AIModel> only(const QString& id) const {
        const QList<AIModel> models = listed();
        const AIModel* model = findModel(models, id);
        EXPECT_TRUE(model) << id.toStdString();
        return model ? QList<AIModel>{*model} : QList<AIModel>{};
    }
    static QString trashed(const QString& name) {
        return qEnvironmentVariable("XDG_DATA_HOME") + s("/Trash/files/") + name;
    }
};

TEST_F(AIModelRemovalTest, LMStudioAndHuggingFaceModelsGoToTheTrash) {
    const QString folder = writeLMStudioModel(lms, s("bartowski"), s("Mistral-7B-GGUF"),
                                              {s("Mistral-7B-Q4_K_M.gguf")});
    const QString repo = writeHubRepo(hub, s("models--julien-c--EsperBERTo-small"),
                                      {{s("pytorch_model.bin"), s("403450e2")}});
    const QList<AIModel> models = listed();
    ASSERT_EQ(models.size(), 2);

    const AIModelCatalog::RemovalResult result = AIModelCatalog::remove(models, stores());
    EXPECT_TRUE(result.failures.isEmpty());
    EXPECT_EQ(result.removed.size(), 2);
    EXPECT_EQ(result.trashedCount, 2);
    EXPECT_EQ(result.freedBytes, models[0].freesBytes + models[1].freesBytes);
    EXPECT_FALSE(QFileInfo::exists(folder));
    EXPECT_FALSE(QFileInfo::exists(repo));
    EXPECT_TRUE(QFileInfo::exists(trashed(s("Mistral-7B-GGUF/Mistral-7B-Q4_K_M.gguf"))));
    // The snapshot's relative link still reaches its blob inside the trashed folder.
    EXPECT_TRUE(QFileInfo(trashed(s("models--julien-c--EsperBERTo-small/snapshots/rev1/"
                                    "pytorch_model.bin")))
                    .exists());
    EXPECT_TRUE(fake.calls().isEmpty());
}

TEST_F(AIModelRemovalTest, AMissingFolderIsReportedAndTheRestOfTheBatchGoesOn) {
    const QString gone = writeLMStudioModel(lms, s("a"), s("Gone"), {s("m.gguf")});
    writeLMStudioModel(lms, s("a"), s("Kept"), {s("m.gguf")});
    const QList<AIModel> models = listed();
    ASSERT_EQ(models.size(), 2);
    QDir(gone).removeRecursively();

    const AIModelCatalog::RemovalResult result = AIModelCatalog::remove(models, stores());
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].first, s("lmStudio:a/Gone"));
    EXPECT_EQ(result.failures[0].second, s("Gone: its folder could not be found."));
    EXPECT_EQ(result.removed, QStringList{s("lmStudio:a/Kept")});
}

TEST_F(AIModelRemovalTest, OllamaRemovesItsOwnModelsWhileItRuns) {
    writeBlob(ollama, digest('a'));
    writeBlob(ollama, digest('b'));
    const QString manifest =
        writeLibraryManifest(ollama, s("llama3.2"), s("latest"), digest('b'), {digest('a')});

    const AIModelCatalog::RemovalResult result =
        AIModelCatalog::remove(only(s("ollama:llama3.2:latest")), stores());
    EXPECT_TRUE(result.failures.isEmpty());
    EXPECT_EQ(result.removed, QStringList{s("ollama:llama3.2:latest")});
    EXPECT_EQ(result.trashedCount, 0);
    EXPECT_EQ(fake.calls(), QStringList({s("ps"), s("show --modelfile -- llama3.2:latest"),
                                         s("rm -- llama3.2:latest")}));
    // The stand-in deletes nothing; the files are ollama's to remove.
    EXPECT_TRUE(QFileInfo::exists(manifest));
}

// A model's name is the name of a folder on disk; whatever it is, ollama reads it as a name.
TEST_F(AIModelRemovalTest, AnOllamaModelNamedLikeAnOptionIsNamedAfterTheEndOfOptions) {
    writeBlob(ollama, digest('a'));
    writeLibraryManifest(ollama, s("--help"), s("latest"), digest('a'), {});

    const AIModelCatalog::RemovalResult result =
        AIModelCatalog::remove(only(s("ollama:--help:latest")), stores());
    EXPECT_TRUE(result.failures.isEmpty());
    EXPECT_EQ(fake.calls(), QStringList({s("ps"), s("show --modelfile -- --help:latest"),
                                         s("rm -- --help:latest")}));
}

TEST_F(AIModelRemovalTest, OllamaFailuresBecomeMessages) {
    writeBlob(ollama, digest('a'));
    writeLibraryManifest(ollama, s("gemma"), s("2b"), digest('a'), {digest('a')});
    writeLibraryManifest(ollama, s("gemma"), s("7b"), digest('a'), {digest('a')});
    const QList<AIModel> models = listed();
    ASSERT_EQ(models.size(), 2);

    fake.setDown(true);
    AIModelCatalog::RemovalResult result = AIModelCatalog::remove(models, stores());
    EXPECT_TRUE(result.removed.isEmpty());
    ASSERT_EQ(result.failures.size(), 2);
    EXPECT_EQ(result.failures[0].second, s("Ollama is not running. Start it to remove models."));
    EXPECT_EQ(result.failures[1].second, result.failures[0].second);
    // One question per batch, and no removal without a server.
    EXPECT_EQ(fake.calls(), QStringList{s("ps")});

    fake.setDown(false);
    fake.setRemovalFails(true);
    result = AIModelCatalog::remove(models.mid(0, 1), stores());
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].second,
              s("ollama exited with 1: Error: model 'gemma:2b' not found"));

    test::ScopedEnvironment missing("CORVANE_TOOL_OLLAMA", home + s("/no-such-ollama"));
    result = AIModelCatalog::remove(models.mid(0, 1), stores());
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].second, s("Ollama is not installed"));
}

TEST_F(AIModelRemovalTest, OllamaRmNeverRunsAgainstAnotherStoreThanTheOneListed) {
    // The same model in the home's store and in the system service's store.
    const QString system = home + s("/system-ollama");
    for (const QString& store : {ollama, system}) {
        writeBlob(store, digest('a'));
        writeLibraryManifest(store, s("llama3.2"), s("latest"), digest('a'), {digest('a')});
    }
    const AIModelCatalog::Stores both{lms, {{ollama, false}, {system, true}}, hub};
    const QList<AIModel> models = AIModelCatalog::list(both);
    ASSERT_EQ(models.size(), 2);
    const AIModel* mine = findModel(models, s("ollama:llama3.2:latest"));
    const AIModel* theirs = findModel(models, s("ollama:system:llama3.2:latest"));
    ASSERT_TRUE(mine && theirs);

    // The server runs on the system store: `ollama rm` there would take the other copy.
    fake.setServerStore(system);
    AIModelCatalog::RemovalResult result = AIModelCatalog::remove({*mine}, both);
    EXPECT_TRUE(result.removed.isEmpty());
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_TRUE(result.failures[0].second.startsWith(
        s("The running Ollama server keeps its models in another folder than ") + ollama))
        << result.failures[0].second.toStdString();
    EXPECT_TRUE(fake.calls().filter(QRegularExpression(s("^rm "))).isEmpty());

    // Reached through a link, the server's store is still the one listed.
    QFile::link(ollama, home + s("/ollama-link"));
    fake.setServerStore(home + s("/ollama-link"));
    result = AIModelCatalog::remove({*mine}, both);
    EXPECT_EQ(result.removed, QStringList{mine->id});
    EXPECT_EQ(fake.calls().filter(QRegularExpression(s("^rm "))),
              QStringList{s("rm -- llama3.2:latest")});
}

TEST_F(AIModelRemovalTest, ADryRunMakesEveryCheckAndChangesNothing) {
    const QString folder = writeLMStudioModel(lms, s("a"), s("Kept"), {s("m.gguf")});
    writeBlob(ollama, digest('a'));
    writeLibraryManifest(ollama, s("gemma"), s("2b"), digest('a'), {digest('a')});
    const QList<AIModel> models = listed();
    ASSERT_EQ(models.size(), 2);

    fake.setDown(true);
    const AIModelCatalog::RemovalResult result =
        AIModelCatalog::remove(models, stores(), ProcessRunner::system(), {}, true);
    EXPECT_EQ(result.removed, QStringList{s("lmStudio:a/Kept")});
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].second, AIModelCatalog::notRunningMessage);
    EXPECT_TRUE(QFileInfo::exists(folder));
    EXPECT_EQ(fake.calls(), QStringList{s("ps")});
}

// Ollama deletes for good, so a Keep mark must stop its models before ollama is asked, as it stops
// the folders that would go to the Trash; the mark binds under any spelling of the path, and a
// dry run says the same as a real run.
TEST_F(AIModelRemovalTest, KeptModelsStayInADryRunAndForRealWhateverPathTheMarkUses) {
    const QString kept = writeLMStudioModel(lms, s("a"), s("Mine"), {s("m.gguf")});
    const QString other = writeLMStudioModel(lms, s("a"), s("Other"), {s("m.gguf")});
    writeBlob(ollama, digest('a'));
    const QString manifest =
        writeLibraryManifest(ollama, s("gemma"), s("2b"), digest('a'), {digest('a')});
    const QString linked = home + s("/ollama-link");
    ASSERT_TRUE(QFile::link(ollama, linked));
    const test::ScopedKeepMarks marks(
        {kept, linked + s("/manifests/registry.ollama.ai/library/gemma")});
    const QList<AIModel> models = listed();
    ASSERT_EQ(models.size(), 3);

    for (const bool dryRun : {true, false}) {
        const AIModelCatalog::RemovalResult result =
            AIModelCatalog::remove(models, stores(), ProcessRunner::system(), {}, dryRun);
        EXPECT_EQ(result.removed, QStringList{s("lmStudio:a/Other")}) << dryRun;
        QStringList refused;
        for (const auto& [id, message] : result.failures) {
            EXPECT_EQ(message, TrashService::keptMessage) << id.toStdString();
            refused.append(id);
        }
        refused.sort();
        EXPECT_EQ(refused, QStringList({s("lmStudio:a/Mine"), s("ollama:gemma:2b")})) << dryRun;
    }
    EXPECT_TRUE(QFileInfo::exists(kept));
    EXPECT_TRUE(QFileInfo::exists(manifest));
    EXPECT_FALSE(QFileInfo::exists(other));
    EXPECT_TRUE(fake.calls().isEmpty());
}

TEST_F(AIModelRemovalTest, AReadOnlySystemStoreRefusesRemoval) {
    const QString system = home + s("/system-ollama");
    writeBlob(system, digest('a'));
    writeLibraryManifest(system, s("phi3"), s("mini"), digest('a'), {digest('a')});
    const auto readWrite = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
    QFile::setPermissions(system + s("/manifests"), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    const bool unwritable = !QFileInfo(system + s("/manifests")).isWritable();
    const QList<AIModel> models = AIModelCatalog::listOllama({system, true}, {});
    QFile::setPermissions(system + s("/manifests"), readWrite);
    ASSERT_EQ(models.size(), 1);
    EXPECT_EQ(models[0].id, s("ollama:system:phi3:mini"));
    if (!unwritable)
        GTEST_SKIP() << "running as root: every store is writable";
    EXPECT_TRUE(models[0].isReadOnly);

    const AIModelCatalog::RemovalResult result = AIModelCatalog::remove(models, stores());
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].second, AIModelCatalog::readOnlyMessage);
    EXPECT_TRUE(fake.calls().isEmpty());
}

} // namespace
