#include "devtools/AIModelsModel.h"

#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Locations.h"
#include "platform/OpenFileGuard.h"

#include <chrono>
#include <thread>

namespace corvane {
namespace {

// The Ollama app brings its server up within seconds of launching.
constexpr auto ollamaStartPatience = std::chrono::seconds(30);
constexpr auto ollamaStartPollInterval = std::chrono::seconds(1);

bool answers(const ProcessRunner& runner, const CancellationToken& cancellation) {
    try {
        return AIModelCatalog::isOllamaRunning(runner, cancellation);
    } catch (const OllamaError&) {
        return false;
    }
}

QString counted(qsizetype count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" model") : QStringLiteral(" models"));
}

} // namespace

AIModelsModel::AIModelsModel(ToastCenter& toasts, bool isDryRun, QObject* parent,
                             const ProcessRunner& runner)
    : InventoryModel(toasts, isDryRun, parent)
    , runner_(runner)
    , startMailbox_(std::make_shared<MainThreadMailbox>(this)) {}

AIModelsModel::~AIModelsModel() {
    startMailbox_->close();
    startCancellation_.cancel();
}

const AIModel* AIModelsModel::model(const QString& id) const {
    for (const AIModel& listed : models_) {
        if (listed.id == id)
            return &listed;
    }
    return nullptr;
}

QString AIModelsModel::note(AIModelSource source) {
    switch (source) {
    case AIModelSource::lmStudio:
        return lmStudioNote;
    case AIModelSource::ollama:
        return ollamaNote;
    case AIModelSource::huggingFace:
        return huggingFaceNote;
    }
    return {};
}

std::optional<QString> AIModelsModel::sharedText(const AIModel& model) {
    if (model.source != AIModelSource::ollama || model.freesBytes >= model.sizeBytes)
        return std::nullopt;
    return formatBytes(model.sizeBytes) + sharedSuffix;
}

std::optional<QString> AIModelsModel::openBy(const QString& id) const {
    if (auto found = openBy_.constFind(id); found != openBy_.cend())
        return *found;
    return std::nullopt;
}

void AIModelsModel::startLoading() {
    startJob(JobKind::load, [this, &runner = runner_](const CancellationToken& cancellation,
                                                      const MainThreadPost& post) {
        Loaded loaded;
        const AIModelCatalog::Stores stores =
            AIModelCatalog::locateStores(Locations::homeDir(), &loaded.problems);
        loaded.models = AIModelCatalog::list(stores, cancellation, &loaded.problems);
        loaded.isOllamaInstalled = AIModelCatalog::ollamaPath().has_value();
        loaded.isOllamaRunning = loaded.isOllamaInstalled && answers(runner, cancellation);
        for (const AIModel& model : loaded.models) {
            const OpenFileGuard::Holders holders =
                OpenFileGuard::holders(AIModelCatalog::filesInUse(model), runner, cancellation);
            if (!holders.processNames.isEmpty())
                loaded.openBy.insert(model.id, holders.processNames.join(QStringLiteral(", ")));
        }
        cancellation.throwIfCancelled();
        post([this, loaded] {
            applyLoad(loaded);
            finishLoading(loaded.problems);
        });
    });
}

void AIModelsModel::applyLoad(const Loaded& loaded) {
    models_ = loaded.models;
    openBy_ = loaded.openBy;
    emit modelsChanged();
    if (isOllamaInstalled_ != loaded.isOllamaInstalled ||
        isOllamaRunning_ != loaded.isOllamaRunning) {
        isOllamaInstalled_ = loaded.isOllamaInstalled;
        isOllamaRunning_ = loaded.isOllamaRunning;
        emit ollamaChanged();
    }
}

bool AIModelsModel::containsItem(const QString& id) const {
    // A model in a store this account cannot change would only fail.
    const AIModel* listed = model(id);
    return listed && !listed->isReadOnly;
}

QStringList AIModelsModel::pathsOfItem(const QString& id) const {
    const AIModel* listed = model(id);
    return listed ? QStringList{listed->url} : QStringList();
}

QList<AIModel> AIModelsModel::ticked() const {
    QList<AIModel> result;
    for (const AIModel& listed : models_) {
        if (selectedIDs().contains(listed.id))
            result.append(listed);
    }
    return result;
}

qint64 AIModelsModel::selectedBytes() const {
    return AIModelCatalog::freedBy(ticked(), models_);
}

void AIModelsModel::removeSelected() {
    const QList<AIModel> models = ticked();
    if (models.isEmpty() || !beginRemoval())
        return;
    // A dry run makes every check a real run makes, so it says what would really happen.
    startJob(JobKind::removal, [this, models, &runner = runner_,
                                dryRun = isDryRun()](const CancellationToken& cancellation,
                                                     const MainThreadPost& post) {
        const AIModelCatalog::RemovalResult result =
            AIModelCatalog::remove(models, AIModelCatalog::locateStores(Locations::homeDir()),
                                   runner, cancellation, dryRun);
        post([this, models, result] { applyRemoval(models, result); });
    });
}

void AIModelsModel::applyRemoval(const QList<AIModel>& models,
                                 const AIModelCatalog::RemovalResult& removal) {
    QList<ItemFailure> failures;
    for (const auto& [id, message] : removal.failures) {
        QString name = id;
        for (const AIModel& listed : models) {
            if (listed.id == id)
                name = listed.name;
        }
        failures.append({id, name, message});
    }
    // After a dry run the ticks stay, for the real run.
    if (!isDryRun()) {
        for (const QString& id : removal.removed)
            setSelected(id, false);
    }

    QStringList parts;
    if (isDryRun() && !removal.removed.isEmpty())
        parts.append(QStringLiteral("Dry run: would remove ") + counted(removal.removed.size()) +
                     QStringLiteral(" (") + formatBytes(removal.freedBytes) + u')');
    else if (removal.trashedCount > 0)
        parts.append(QStringLiteral("Moved ") + counted(removal.trashedCount) +
                     QStringLiteral(" (") + formatBytes(removal.trashedBytes) + u')' +
                     trashedSuffix);
    const qsizetype byOllama = removal.removed.size() - removal.trashedCount;
    if (byOllama > 0 && !isDryRun())
        parts.append(QStringLiteral("Ollama removed ") + counted(byOllama) +
                     QStringLiteral(" and freed ") +
                     formatBytes(removal.freedBytes - removal.trashedBytes) + u'.');
    if (parts.isEmpty())
        parts.append(isDryRun() ? QStringLiteral("Dry run: no model would be removed.")
                                : QStringLiteral("No models were removed."));

    AIModelsResult result;
    result.removed = removal.removed;
    result.failures = removal.failures;
    result.freedBytes = removal.freedBytes;
    result.message = parts.join(u' ');
    if (!isDryRun())
        reload();
    finishAction(result, failures);
}

void AIModelsModel::finishAction(const AIModelsResult& result, const QList<ItemFailure>& failures) {
    lastResult_ = result;
    toasts().post(result.message, failures.isEmpty() ? ToastStyle::success : ToastStyle::info);
    finishRemoval(failures);
    emit actionFinished();
}

void AIModelsModel::startOllama() {
    if (!Locations::isMac()) {
        toasts().post(ollamaAppMissingText, ToastStyle::info);
        return;
    }
    if (isStartingOllama_)
        return;
    isStartingOllama_ = true;
    emit ollamaChanged();
    runInBackground(
        [&runner = runner_, mailbox = startMailbox_, cancellation = startCancellation_, this] {
            bool opened = false;
            try {
                opened = runner
                             .run(Locations::toolPath(Locations::Tool::open),
                                  {QStringLiteral("-b"), QStringLiteral("com.electron.ollama")},
                                  std::nullopt, {}, 60.0, cancellation)
                             .exitCode == 0;
            } catch (const ProcessRunnerError&) {
                opened = false;
            }
            // `open` returns once the app is launched; its server answers a little later.
            const auto deadline = std::chrono::steady_clock::now() + ollamaStartPatience;
            while (opened && !cancellation.isCancelled() &&
                   std::chrono::steady_clock::now() < deadline && !answers(runner, cancellation))
                std::this_thread::sleep_for(ollamaStartPollInterval);
            mailbox->post([this, opened] {
                isStartingOllama_ = false;
                emit ollamaChanged();
                if (!opened)
                    toasts().post(ollamaAppMissingText, ToastStyle::info);
                reload();
            });
        });
}

} // namespace corvane
