#include "devtools/AIModelCatalog.h"

#include "platform/CheckedSum.h"
#include "platform/InputLimits.h"
#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/NameOrder.h"
#include "platform/OpenFileGuard.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"
#include "platform/SizeCalculator.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <algorithm>

namespace corvane::AIModelCatalog {
namespace {

constexpr double queryTimeout = 10.0;
// Unloading a large model and deleting its blobs can take a while on a slow disk.
constexpr double removalTimeout = 120.0;

const QString hubRepoPrefix = QStringLiteral("models--");

QString expandHome(const QString& path, const QString& home) {
    if (path == u'~')
        return home;
    if (path.startsWith(QStringLiteral("~/")))
        return home + path.mid(1);
    return path;
}

std::optional<QString> existingFolder(const QString& path) {
    if (path.isEmpty() || !QFileInfo(path).isDir())
        return std::nullopt;
    return QDir::cleanPath(path);
}

std::optional<QString> downloadsFolderIn(const QString& settingsPath, const QString& home,
                                         QStringList* problems) {
    QString problem;
    const std::optional<QJsonValue> settings = JsonFile::read(settingsPath, &problem);
    if (!problem.isEmpty() && problems)
        problems->append(problem);
    if (!settings || !settings->isObject())
        return std::nullopt;
    const QString folder = settings->toObject().value(QStringLiteral("downloadsFolder")).toString();
    if (folder.trimmed().isEmpty())
        return std::nullopt;
    return expandHome(folder, home);
}

QString environment(const char* name) {
    return qEnvironmentVariable(name);
}

QStringList subfolders(const QString& path) {
    return QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
}

// Names of the files in a tree, symbolic links included (Hugging Face snapshots are links).
QStringList fileNamesUnder(const QString& folder, QDateTime* newest = nullptr) {
    QStringList names;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        names.append(info.fileName());
        if (newest && !info.isSymLink()) {
            const QDateTime modified = info.lastModified();
            if (!newest->isValid() || modified > *newest)
                *newest = modified;
        }
    }
    return names;
}

bool isDigest(const QString& digest) {
    if (!digest.startsWith(QStringLiteral("sha256:")) || digest.size() <= 7)
        return false;
    return std::all_of(digest.cbegin() + 7, digest.cend(), [](QChar c) {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    });
}

// A file that is no manifest is passed over; one that cannot be read is added to `problems`.
std::optional<QStringList> manifestDigestsAt(const QString& path, QStringList* problems = nullptr) {
    const InputLimits::FileRead file = InputLimits::readFile(path);
    if (!file.bytes && problems)
        problems->append(InputLimits::refusal(path, file.problem));
    return file.bytes ? manifestDigests(*file.bytes) : std::nullopt;
}

QString blobPath(const QString& store, const QString& digest) {
    return store + QStringLiteral("/blobs/") + QString(digest).replace(u':', u'-');
}

bool lessThan(const AIModel& a, const AIModel& b) {
    if (a.source != b.source)
        return a.source < b.source;
    const int byName = NameOrder::compare(a.name, b.name);
    return byName != 0 ? byName < 0 : a.id < b.id;
}

} // namespace

std::optional<QStringList> manifestDigests(const QByteArray& manifest) {
    const QJsonDocument document = QJsonDocument::fromJson(manifest);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    QStringList digests;
    auto add = [&digests](const QJsonValue& blob) {
        const QString digest = blob.toObject().value(QStringLiteral("digest")).toString();
        // A digest names a file in "blobs"; anything else could point outside it.
        if (isDigest(digest) && !digests.contains(digest))
            digests.append(digest);
    };
    if (object.contains(QStringLiteral("config")))
        add(object.value(QStringLiteral("config")));
    for (const QJsonValue& layer : object.value(QStringLiteral("layers")).toArray())
        add(layer);
    if (digests.isEmpty())
        return std::nullopt;
    return digests;
}

std::optional<QString> lmStudioModelsFolder(const QString& home, QStringList* problems) {
    if (auto folder =
            downloadsFolderIn(home + QStringLiteral("/.lmstudio/settings.json"), home, problems))
        return existingFolder(*folder);
    const QString pointerPath = home + QStringLiteral("/.lmstudio-home-pointer");
    const InputLimits::FileRead pointer =
        InputLimits::readFile(pointerPath, InputLimits::smallFileBytes);
    if (pointer.bytes) {
        const QString firstLine = QString::fromUtf8(*pointer.bytes).section(u'\n', 0, 0);
        const QString lmHome = expandHome(firstLine.trimmed(), home);
        if (!lmHome.isEmpty()) {
            if (auto folder =
                    downloadsFolderIn(lmHome + QStringLiteral("/settings.json"), home, problems))
                return existingFolder(*folder);
            return existingFolder(lmHome + QStringLiteral("/models"));
        }
    }
    return existingFolder(home + QStringLiteral("/.lmstudio/models"));
}

QString ollamaModelsFolder(const QString& home) {
    // Ollama itself trims spaces and quotes from the value.
    QString value = environment("OLLAMA_MODELS").trimmed();
    while (!value.isEmpty() && (value.front() == u'"' || value.front() == u'\''))
        value.remove(0, 1);
    while (!value.isEmpty() && (value.back() == u'"' || value.back() == u'\''))
        value.chop(1);
    value = value.trimmed();
    if (!value.isEmpty())
        return QDir::cleanPath(expandHome(value, home));
    return home + QStringLiteral("/.ollama/models");
}

QString huggingFaceHubFolder(const QString& home) {
    const QString cache = environment("HF_HUB_CACHE");
    if (!cache.isEmpty())
        return QDir::cleanPath(expandHome(cache, home));
    const QString hfHome = environment("HF_HOME");
    if (!hfHome.isEmpty())
        return QDir::cleanPath(expandHome(hfHome, home) + QStringLiteral("/hub"));
    return home + QStringLiteral("/.cache/huggingface/hub");
}

Stores locateStores(const QString& home, QStringList* problems) {
    Stores stores;
    stores.lmStudio = lmStudioModelsFolder(home, problems);
    if (auto ollama = existingFolder(ollamaModelsFolder(home)))
        stores.ollama.append({*ollama, false});
    if (!Locations::isMac()) {
        if (auto system = existingFolder(ollamaSystemStore);
            system && (stores.ollama.isEmpty() || stores.ollama.front().path != *system))
            stores.ollama.append({*system, true});
    }
    stores.huggingFace = existingFolder(huggingFaceHubFolder(home));
    return stores;
}

std::optional<QString> formatOf(const QStringList& fileNames, const QString& folderName) {
    bool safetensors = false;
    bool mlx = false;
    for (const QString& name : fileNames) {
        const QString suffix = QFileInfo(name).suffix().toLower();
        if (suffix == QStringLiteral("gguf"))
            return QStringLiteral("GGUF");
        safetensors = safetensors || suffix == QStringLiteral("safetensors");
        mlx = mlx || suffix == QStringLiteral("mlx");
    }
    if (mlx || (safetensors && folderName.toLower().contains(QStringLiteral("mlx"))))
        return QStringLiteral("MLX");
    return safetensors ? std::optional(QStringLiteral("safetensors")) : std::nullopt;
}

bool holdsWeights(const QStringList& fileNames) {
    return std::any_of(fileNames.cbegin(), fileNames.cend(), [](const QString& name) {
        const QString suffix = QFileInfo(name).suffix().toLower();
        return suffix == QStringLiteral("gguf") || suffix == QStringLiteral("safetensors") ||
               suffix == QStringLiteral("mlx");
    });
}

QString ollamaStoreOf(const AIModel& model) {
    return QFileInfo(model.url).absolutePath().section(QStringLiteral("/manifests/"), 0, 0);
}

qint64 freedBy(const QList<AIModel>& chosen, const QList<AIModel>& listed) {
    QSet<QString> chosenIDs;
    for (const AIModel& model : chosen)
        chosenIDs.insert(model.id);
    // Per store, the data files some model that stays still refers to.
    QHash<QString, QSet<QString>> keptFiles;
    for (const AIModel& model : listed) {
        if (model.source == AIModelSource::ollama && !chosenIDs.contains(model.id)) {
            for (auto file = model.dataFiles.cbegin(); file != model.dataFiles.cend(); ++file)
                keptFiles[ollamaStoreOf(model)].insert(file.key());
        }
    }
    qint64 total = 0;
    QHash<QString, QSet<QString>> counted;
    for (const AIModel& model : chosen) {
        if (model.source != AIModelSource::ollama) {
            total = checkedSum(total, model.freesBytes);
            continue;
        }
        const QString store = ollamaStoreOf(model);
        for (auto file = model.dataFiles.cbegin(); file != model.dataFiles.cend(); ++file) {
            if (keptFiles[store].contains(file.key()) || counted[store].contains(file.key()))
                continue;
            counted[store].insert(file.key());
            total = checkedSum(total, file.value());
        }
    }
    return total;
}

QString ollamaDisplayName(const QString& host, const QString& nameSpace, const QString& model,
                          const QString& tag) {
    QString prefix;
    if (host.compare(ollamaDefaultHost, Qt::CaseInsensitive) != 0)
        prefix = host + u'/' + nameSpace + u'/';
    else if (nameSpace.compare(ollamaDefaultNamespace, Qt::CaseInsensitive) != 0)
        prefix = nameSpace + u'/';
    return prefix + model + u':' + tag;
}

QList<AIModel> listLMStudio(const QString& modelsFolder, const CancellationToken& cancellation) {
    QList<AIModel> models;
    // LM Studio only knows files two levels down: publisher folder, then model folder.
    for (const QString& publisher : subfolders(modelsFolder)) {
        if (publisher.startsWith(u'.'))
            continue;
        const QString publisherFolder = modelsFolder + u'/' + publisher;
        for (const QString& name : subfolders(publisherFolder)) {
            cancellation.throwIfCancelled();
            const QString folder = publisherFolder + u'/' + name;
            if (name.startsWith(u'.') || QFileInfo(folder).isSymLink())
                continue;
            QDateTime newest;
            const QStringList files = fileNamesUnder(folder, &newest);
            // A folder of notes or of half a download is no model LM Studio could load.
            if (!holdsWeights(files))
                continue;
            AIModel model;
            model.source = AIModelSource::lmStudio;
            model.id = rawValue(model.source) + u':' + publisher + u'/' + name;
            model.name = name;
            model.publisher = publisher;
            model.format = formatOf(files, publisher + u'/' + name);
            model.url = folder;
            model.sizeBytes = SizeCalculator::size(folder, cancellation);
            model.freesBytes = model.sizeBytes;
            if (newest.isValid())
                model.modifiedAt = newest;
            models.append(model);
        }
    }
    return models;
}

QList<AIModel> listOllama(const OllamaStore& store, const CancellationToken& cancellation,
                          QStringList* problems) {
    struct Manifest {
        QString path;
        QString name;
        QString nameSpace;
        QStringList digests;
    };
    QList<Manifest> manifests;
    // Manifests lie exactly four levels down: host, namespace, model, tag.
    const QString root = store.path + QStringLiteral("/manifests");
    for (const QString& host : subfolders(root)) {
        for (const QString& nameSpace : subfolders(root + u'/' + host)) {
            const QString namespaceFolder = root + u'/' + host + u'/' + nameSpace;
            for (const QString& model : subfolders(namespaceFolder)) {
                const QString modelFolder = namespaceFolder + u'/' + model;
                for (const QString& tag : QDir(modelFolder).entryList(QDir::Files | QDir::Hidden)) {
                    cancellation.throwIfCancelled();
                    const QString path = modelFolder + u'/' + tag;
                    if (auto digests = manifestDigestsAt(path, problems))
                        manifests.append({path, ollamaDisplayName(host, nameSpace, model, tag),
                                          nameSpace, *digests});
                }
            }
        }
    }

    QHash<QString, int> references;
    for (const Manifest& manifest : manifests) {
        for (const QString& digest : manifest.digests)
            ++references[digest];
    }
    QHash<QString, std::optional<qint64>> blobSizes;
    auto blobSize = [&](const QString& digest) -> std::optional<qint64> {
        if (auto known = blobSizes.constFind(digest); known != blobSizes.cend())
            return *known;
        const QString path = blobPath(store.path, digest);
        const QFileInfo info(path);
        std::optional<qint64> size;
        if (info.isFile() && !info.isSymLink())
            size = SizeCalculator::size(path, cancellation);
        blobSizes.insert(digest, size);
        return size;
    };

    const bool readOnly = store.isSystem && !QFileInfo(root).isWritable();
    QList<AIModel> models;
    for (const Manifest& manifest : manifests) {
        AIModel model;
        model.source = AIModelSource::ollama;
        model.id = rawValue(model.source) + u':' +
                   (store.isSystem ? QStringLiteral("system:") : QString()) + manifest.name;
        model.name = manifest.name;
        if (manifest.nameSpace.compare(ollamaDefaultNamespace, Qt::CaseInsensitive) != 0)
            model.publisher = manifest.nameSpace;
        model.url = manifest.path;
        for (const QString& digest : manifest.digests) {
            const std::optional<qint64> size = blobSize(digest);
            if (!size) {
                model.isIncomplete = true;
                continue;
            }
            model.sizeBytes = checkedSum(model.sizeBytes, *size);
            model.dataFiles.insert(digest, *size);
            if (references.value(digest) == 1)
                model.freesBytes = checkedSum(model.freesBytes, *size);
        }
        model.modifiedAt = QFileInfo(manifest.path).lastModified();
        model.isReadOnly = readOnly;
        models.append(model);
    }
    return models;
}

QList<AIModel> listHuggingFace(const QString& hubFolder, const CancellationToken& cancellation) {
    QList<AIModel> models;
    for (const QString& folderName : subfolders(hubFolder)) {
        // "datasets--" and "spaces--" hold no models; ".locks" is the library's own.
        if (!folderName.startsWith(hubRepoPrefix) || folderName.size() == hubRepoPrefix.size())
            continue;
        cancellation.throwIfCancelled();
        const QString folder = hubFolder + u'/' + folderName;
        if (QFileInfo(folder).isSymLink())
            continue;
        const QString repo = folderName.mid(hubRepoPrefix.size());
        const qsizetype separator = repo.indexOf(QStringLiteral("--"));
        AIModel model;
        model.source = AIModelSource::huggingFace;
        if (separator > 0) {
            model.publisher = repo.left(separator);
            model.name = repo.mid(separator + 2);
        } else {
            model.name = repo;
        }
        const QString repoID = model.publisher ? *model.publisher + u'/' + model.name : model.name;
        model.id = rawValue(model.source) + u':' + repoID;
        model.format = formatOf(fileNamesUnder(folder + QStringLiteral("/snapshots")), repoID);
        model.url = folder;
        // Snapshots are links into "blobs"; the calculator does not follow them, so each blob
        // counts once.
        model.sizeBytes = SizeCalculator::size(folder, cancellation);
        model.freesBytes = model.sizeBytes;
        const QStringList unfinished =
            QDir(folder + QStringLiteral("/blobs"))
                .entryList({QStringLiteral("*.incomplete")}, QDir::Files | QDir::Hidden);
        model.isIncomplete = !unfinished.isEmpty();
        const QFileInfo snapshots(folder + QStringLiteral("/snapshots"));
        model.modifiedAt = (snapshots.exists() ? snapshots : QFileInfo(folder)).lastModified();
        models.append(model);
    }
    return models;
}

QList<AIModel> list(const Stores& stores, const CancellationToken& cancellation,
                    QStringList* problems) {
    QList<AIModel> models;
    if (stores.lmStudio)
        models += listLMStudio(*stores.lmStudio, cancellation);
    for (const OllamaStore& store : stores.ollama)
        models += listOllama(store, cancellation, problems);
    if (stores.huggingFace)
        models += listHuggingFace(*stores.huggingFace, cancellation);
    std::sort(models.begin(), models.end(), lessThan);
    return models;
}

QStringList filesInUse(const AIModel& model) {
    if (model.source != AIModelSource::ollama)
        return {model.url};
    // A loaded Ollama model is held through its blobs, not its manifest.
    const QString store = ollamaStoreOf(model);
    QStringList files;
    if (const auto digests = manifestDigestsAt(model.url)) {
        for (const QString& digest : *digests) {
            const QString path = blobPath(store, digest);
            if (QFileInfo::exists(path))
                files.append(path);
        }
    }
    return files;
}

QString storeOf(const AIModel& model, const Stores& stores) {
    switch (model.source) {
    case AIModelSource::lmStudio:
        return stores.lmStudio.value_or(QString());
    case AIModelSource::huggingFace:
        return stores.huggingFace.value_or(QString());
    case AIModelSource::ollama:
        for (const OllamaStore& store : stores.ollama) {
            if (model.url != store.path && Paths::isUnder(model.url, store.path))
                return store.path;
        }
        return {};
    }
    return {};
}

std::optional<QString> ollamaPath() {
    const QString overridden = Locations::toolPath(QStringLiteral("ollama"), QString());
    if (!overridden.isEmpty()) {
        if (QFileInfo(overridden).isExecutable())
            return overridden;
        return std::nullopt;
    }
    for (const char* candidate :
         {"/usr/local/bin/ollama", "/opt/homebrew/bin/ollama",
          "/Applications/Ollama.app/Contents/Resources/ollama", "/usr/bin/ollama"}) {
        const QString path = QString::fromLatin1(candidate);
        if (QFileInfo(path).isExecutable())
            return path;
    }
    return std::nullopt;
}

namespace {

// Put before a model's name, which comes from a folder name and may be anything.
const QString endOfOptions = QStringLiteral("--");

ProcessResult runOllama(const QStringList& arguments, double timeout, const ProcessRunner& runner,
                        const CancellationToken& cancellation) {
    const std::optional<QString> tool = ollamaPath();
    if (!tool)
        throw OllamaError::notInstalled();
    // The command in /usr/local/bin is a link into Ollama.app that launches the app when the
    // server is down; the binary itself only asks, so a check never starts Ollama by surprise.
    const QString resolved = QFileInfo(*tool).canonicalFilePath();
    const QString executable = resolved.isEmpty() ? *tool : resolved;
    return runner.run(executable, arguments, std::nullopt,
                      {{QStringLiteral("PATH"), ProcessRunner::toolSearchPath(executable)}},
                      timeout, cancellation);
}

} // namespace

bool isOllamaRunning(const ProcessRunner& runner, const CancellationToken& cancellation) {
    // `ollama ps` asks the server first and exits non-zero when nothing answers.
    try {
        return runOllama({QStringLiteral("ps")}, queryTimeout, runner, cancellation).exitCode == 0;
    } catch (const ProcessRunnerError&) {
        return false;
    }
}

std::optional<QString> ollamaServerStore(const QString& name, const ProcessRunner& runner,
                                         const CancellationToken& cancellation) {
    ProcessResult result;
    try {
        result =
            runOllama({QStringLiteral("show"), QStringLiteral("--modelfile"), endOfOptions, name},
                      queryTimeout, runner, cancellation);
    } catch (const ProcessRunnerError& error) {
        throw OllamaError::failed(error.description());
    }
    if (result.exitCode != 0)
        return std::nullopt;
    // "FROM /…/models/blobs/sha256-…": the server's own path of the model's weights.
    for (const QString& line : QString::fromUtf8(result.standardOutput).split(u'\n')) {
        const QString trimmed = line.trimmed();
        if (!trimmed.startsWith(QStringLiteral("FROM ")))
            continue;
        const QString path = trimmed.mid(5).trimmed();
        const QString blobs = QFileInfo(path).absolutePath();
        if (QDir::isAbsolutePath(path) && QFileInfo(blobs).fileName() == QStringLiteral("blobs"))
            return QFileInfo(blobs).absolutePath();
    }
    throw OllamaError::failed(
        QStringLiteral("Could not tell which folder the running Ollama server keeps it in."));
}

void removeOllamaModel(const QString& name, const ProcessRunner& runner,
                       const CancellationToken& cancellation) {
    ProcessResult result;
    try {
        result = runOllama({QStringLiteral("rm"), endOfOptions, name}, removalTimeout, runner,
                           cancellation);
    } catch (const ProcessRunnerError& error) {
        throw OllamaError::failed(error.description());
    }
    if (result.exitCode != 0) {
        const QString detail = QString::fromUtf8(result.standardError).trimmed();
        throw OllamaError::failed(QStringLiteral("ollama exited with %1").arg(result.exitCode) +
                                  (detail.isEmpty() ? QString() : QStringLiteral(": ") + detail));
    }
}

namespace {

// Why `ollama rm` must not run for `model`: the server is down, or it would remove a model of
// the same name from another store than the one listed.
std::optional<QString> ollamaRefusal(const AIModel& model,
                                     std::optional<std::optional<QString>>& serverBlocked,
                                     const ProcessRunner& runner,
                                     const CancellationToken& cancellation) {
    if (model.isReadOnly)
        return readOnlyMessage;
    // Asked once per batch: the server does not come up between two models.
    if (!serverBlocked) {
        try {
            serverBlocked = isOllamaRunning(runner, cancellation)
                                ? std::nullopt
                                : std::optional<QString>(notRunningMessage);
        } catch (const OllamaError& error) {
            serverBlocked = std::optional<QString>(error.message());
        }
    }
    if (*serverBlocked)
        return **serverBlocked;
    try {
        const std::optional<QString> serverStore =
            ollamaServerStore(model.name, runner, cancellation);
        if (!serverStore || !PathIdentity::same(*serverStore, ollamaStoreOf(model)))
            return QStringLiteral("The running Ollama server keeps its models in another folder "
                                  "than ") +
                   ollamaStoreOf(model) +
                   QStringLiteral("; removing it there could take another model of this name.");
    } catch (const OllamaError& error) {
        return error.message();
    }
    return std::nullopt;
}

// Why an app stops `model` from going, or nothing.
std::optional<QString> openRefusal(const AIModel& model, const ProcessRunner& runner,
                                   const CancellationToken& cancellation) {
    const OpenFileGuard::Holders holders =
        OpenFileGuard::holders(filesInUse(model), runner, cancellation);
    if (holders.error)
        return QStringLiteral("Could not check whether an app has it open: ") + *holders.error;
    if (!holders.processNames.isEmpty())
        return holders.processNames.join(QStringLiteral(", ")) +
               QStringLiteral(" has it open. Quit or unload it first.");
    return std::nullopt;
}

// Why a Keep mark stops `model` from going, or nothing. Ollama deletes the manifest and the data
// files no other model uses, so a mark on any of them binds the model as a mark on its folder
// binds the others.
std::optional<QString> keepRefusal(const AIModel& model) {
    QStringList paths = filesInUse(model);
    if (!paths.contains(model.url))
        paths.prepend(model.url);
    for (const QString& path : std::as_const(paths)) {
        if (std::optional<QString> kept = TrashService::keepRefusal(path))
            return kept;
    }
    return std::nullopt;
}

// Every Ollama model of the stores, for what removing some of them frees.
QList<AIModel> ollamaListing(const Stores& stores, const CancellationToken& cancellation) {
    QList<AIModel> models;
    for (const OllamaStore& store : stores.ollama)
        models += listOllama(store, cancellation);
    return models;
}

// Removes one model that passed every check: Ollama's by ollama, the others to the Trash.
std::optional<QString> carryOut(const AIModel& model, const Stores& stores,
                                const ProcessRunner& runner,
                                const CancellationToken& cancellation) {
    if (model.source == AIModelSource::ollama) {
        try {
            removeOllamaModel(model.name, runner, cancellation);
        } catch (const OllamaError& error) {
            return error.message();
        }
        return std::nullopt;
    }
    const TrashOutcome outcome = TrashService::trash({model.url}, storeOf(model, stores));
    if (outcome.failures.isEmpty())
        return std::nullopt;
    return outcome.failures.front().message == TrashService::goneMessage
               ? model.name + QStringLiteral(": its folder could not be found.")
               : model.name + QStringLiteral(" could not be moved to the Trash");
}

} // namespace

RemovalResult remove(const QList<AIModel>& models, const Stores& stores,
                     const ProcessRunner& runner, const CancellationToken& cancellation,
                     bool dryRun) {
    RemovalResult result;
    const QList<AIModel> listed = ollamaListing(stores, cancellation) + models;
    QList<AIModel> removed;
    std::optional<std::optional<QString>> ollamaBlocked;
    for (const AIModel& model : models) {
        if (cancellation.isCancelled())
            break;
        auto fail = [&](const QString& message) { result.failures.append({model.id, message}); };
        const bool isOllama = model.source == AIModelSource::ollama;
        std::optional<QString> refusal = keepRefusal(model);
        if (!refusal && isOllama)
            refusal = ollamaRefusal(model, ollamaBlocked, runner, cancellation);
        else if (!refusal && !QFileInfo::exists(model.url))
            refusal = model.name + QStringLiteral(": its folder could not be found.");
        if (!refusal)
            refusal = openRefusal(model, runner, cancellation);
        if (refusal) {
            fail(*refusal);
            continue;
        }

        if (!dryRun) {
            if (const std::optional<QString> failure =
                    carryOut(model, stores, runner, cancellation)) {
                fail(*failure);
                continue;
            }
        }
        if (!isOllama) {
            ++result.trashedCount;
            result.trashedBytes = checkedSum(result.trashedBytes, model.freesBytes);
        }
        result.removed.append(model.id);
        removed.append(model);
    }
    result.freedBytes = freedBy(removed, listed);
    return result;
}

} // namespace corvane::AIModelCatalog
