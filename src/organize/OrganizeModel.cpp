#include "organize/OrganizeModel.h"

#include "organize/HomeProjectFinder.h"
#include "organize/OrganizeCandidates.h"
#include "organize/OrganizePlanner.h"
#include "organize/ShellProfile.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QSettings>

namespace corvane {
namespace {

QString projectsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 project") : QStringLiteral("%1 projects").arg(count);
}

QString defaultDestination(const QString& home) {
    return Paths::joined(home, QStringLiteral("Code"));
}

// What a finished run, move or relink says; nothing when nothing moved (its failures say why).
std::optional<QString> toastFor(const OrganizeRun& run) {
    if (run.moves.isEmpty())
        return std::nullopt;
    const MoveRecord& first = run.moves.first();
    if (!first.movedFolder)
        return QStringLiteral("Relinked the history of %1 to %2")
            .arg(first.source, first.destination);
    if (run.moves.size() == 1)
        return QStringLiteral("Moved %1 to %2")
            .arg(Paths::lastComponent(first.source), first.destination);
    return QStringLiteral("Moved %1").arg(projectsWord(run.moves.size()));
}

QList<ItemFailure> itemFailures(const QList<MoveFailure>& failures) {
    QList<ItemFailure> items;
    for (const MoveFailure& failure : failures)
        items.append({failure.source, Paths::lastComponent(failure.source), failure.message});
    return items;
}

// Everything a plan is made from, read off the main thread.
struct PlanInputs {
    QString home;
    QString destination;
    OrganizeLayout layout;
    QStringList manualFolders;
    AgentLocations agentLocations;
    const ProcessRunner* processRunner;
};

struct PlanResult {
    QList<OrganizeEntry> entries;
    QList<OrphanedHistory> orphans;
    QList<ProcessInspector::WorkingProcess> processes;
    ShellReferences shell;
};

PlanResult makePlan(const PlanInputs& inputs, const CancellationToken& cancellation) {
    const bool mac = inputs.agentLocations.macPathRules;
    const AgentHistoryIndex index = AgentHistoryIndex::build(inputs.agentLocations);
    const HomeProjectFinder finder{inputs.home, inputs.destination, mac};
    const QList<HomeProjectFinder::Found> found = finder.find(index, cancellation);
    PlanResult result;
    result.shell = ShellProfile::read(inputs.home, mac);
    result.processes = ProcessInspector(*inputs.processRunner).workingProcesses();
    const QList<OrganizeCandidate> candidates =
        OrganizeCandidates::build(found, inputs.manualFolders, index);
    result.entries = OrganizePlanner::plan(candidates, inputs.layout, inputs.destination,
                                           result.shell, result.processes);

    // Moved history most often belongs to a project that was organized already, so the projects
    // of the destination are places to suggest as well.
    QStringList projectFolders;
    for (const HomeProjectFinder::Found& folder : found)
        projectFolders.append(folder.path);
    const HomeProjectFinder destinationFinder{inputs.destination, QString(), mac};
    for (const HomeProjectFinder::Found& folder : destinationFinder.find(index, cancellation))
        projectFolders.append(folder.path);
    result.orphans = OrphanFinder::find(index, projectFolders);
    return result;
}

} // namespace

OrganizeModel::Services OrganizeModel::Services::system() {
    Services services;
    services.home = Locations::homeDir();
    services.journalURL = OrganizeJournal().url();
    return services;
}

OrganizeModel::OrganizeModel(ToastCenter& toasts, Services services, bool remembersChoices,
                             QObject* parent)
    : InventoryModel(toasts, false, parent)
    , services_(std::move(services))
    , remembersChoices_(remembersChoices) {
    const QSettings settings;
    const QString remembered = settings.value(destinationKey).toString();
    destination_ =
        remembered.isEmpty() ? defaultDestination(services_.home) : Paths::standardized(remembered);
    layout_ = organizeLayoutFromRaw(settings.value(layoutKey).toString())
                  .value_or(OrganizeLayout::byAgent);
    setCanUndo(OrganizeJournal(services_.journalURL).lastRun().has_value());
}

OrganizeModel::~OrganizeModel() {
    runCancellation_.cancel();
}

void OrganizeModel::setDestination(const QString& path) {
    const QString standardized = Paths::absoluteStandardized(path);
    if (standardized == destination_)
        return;
    destination_ = standardized;
    if (remembersChoices_)
        QSettings().setValue(destinationKey, destination_);
    emit choicesChanged();
}

void OrganizeModel::setLayout(OrganizeLayout layout) {
    if (layout == layout_)
        return;
    layout_ = layout;
    if (remembersChoices_)
        QSettings().setValue(layoutKey, rawValue(layout_));
    emit choicesChanged();
}

std::optional<QString> OrganizeModel::addFolder(const QString& path) {
    const QString folder = Paths::absoluteStandardized(path);
    if (!hasLoaded())
        shell_ = ShellProfile::read(services_.home, services_.agentLocations.macPathRules);
    const HomeProjectFinder finder{services_.home, destination_,
                                   services_.agentLocations.macPathRules};
    if (std::optional<QString> refusal =
            OrganizeCandidates::refusalForManualAddition(folder, finder, shell_))
        return refusal;
    if (!manualFolders_.contains(folder))
        manualFolders_.append(folder);
    return std::nullopt;
}

void OrganizeModel::removeManualFolder(const QString& path) {
    manualFolders_.removeAll(path);
}

QList<OrganizeEntry> OrganizeModel::readyEntries() const {
    QList<OrganizeEntry> ready;
    for (const OrganizeEntry& entry : entries_) {
        if (entry.status.kind == OrganizeStatus::Case::ready)
            ready.append(entry);
    }
    return ready;
}

bool OrganizeModel::containsItem(const QString& id) const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [&id](const OrganizeEntry& entry) { return entry.candidate.path == id; });
}

void OrganizeModel::startLoading() {
    const PlanInputs inputs{
        services_.home,           destination_,           layout_, manualFolders_,
        services_.agentLocations, services_.processRunner};
    const QString journalURL = services_.journalURL;
    startJob(JobKind::load,
             [this, inputs, journalURL, executor = executor(), recovers = recoversCutShortMoves_](
                 const CancellationToken& cancellation, const MainThreadPost& post) {
                 // A move cut short by the end of a program is taken back before anything is
                 // planned.
                 OrganizeExecutor::UndoOutcome recovered;
                 recovered.nothingToUndo = true;
                 if (recovers)
                     recovered = executor.recoverInterrupted();
                 PlanResult result = makePlan(inputs, cancellation);
                 const OrganizeJournal::Contents journal = OrganizeJournal(journalURL).read();
                 post([this, result = std::move(result), hasRun = !journal.runs.isEmpty(),
                       problem = journal.problem, recovered = std::move(recovered)] {
                     if (!recovered.nothingToUndo)
                         reportRecovery(recovered);
                     entries_ = result.entries;
                     orphans_ = result.orphans;
                     processes_ = result.processes;
                     shell_ = result.shell;
                     setCanUndo(hasRun);
                     journalProblem_ = problem;
                     emit planChanged();
                     finishLoading();
                 });
             });
}

OrganizeExecutor OrganizeModel::executor() const {
    OrganizeExecutor executor;
    executor.mover.relinker = AgentRelinker{services_.agentLocations};
    executor.mover.processes = ProcessInspector(*services_.processRunner);
    executor.journal = OrganizeJournal(services_.journalURL);
    executor.trashArea = services_.home;
    executor.trash = services_.trash;
    return executor;
}

void OrganizeModel::organize() {
    // Exactly the plan on show is carried out, whatever a later load would find.
    const QList<OrganizeEntry> plan = entries_;
    const qsizetype count = readyEntries().size();
    if (count == 0) {
        toasts().post(QStringLiteral("Nothing to organize"), ToastStyle::info);
        return;
    }
    if (isDryRun()) {
        toasts().post(
            QStringLiteral("Dry run: would move %1 into %2").arg(projectsWord(count), destination_),
            ToastStyle::info);
        return;
    }
    runAction([plan](const OrganizeExecutor& executor, const CancellationToken& cancellation,
                     const OrganizeExecutor::Progress& progress) {
        return executor.run(plan, cancellation, progress);
    });
}

void OrganizeModel::cancelOrganize() {
    runCancellation_.cancel();
}

void OrganizeModel::moveProject(const QString& source, const QString& destination) {
    if (isDryRun()) {
        toasts().post(QStringLiteral("Dry run: would move %1 to %2").arg(source, destination),
                      ToastStyle::info);
        return;
    }
    runAction([source, destination](const OrganizeExecutor& executor, const CancellationToken&,
                                    const OrganizeExecutor::Progress& progress) {
        progress(source, 0, 1);
        return executor.moveOne(source, destination);
    });
}

void OrganizeModel::relinkOrphan(const QString& missingPath, const QString& newPath) {
    if (isDryRun()) {
        toasts().post(QStringLiteral("Dry run: would relink the history of %1 to %2")
                          .arg(missingPath, newPath),
                      ToastStyle::info);
        return;
    }
    runAction([missingPath, newPath](const OrganizeExecutor& executor, const CancellationToken&,
                                     const OrganizeExecutor::Progress&) {
        return executor.relinkOne(missingPath, newPath);
    });
}

void OrganizeModel::runAction(
    std::function<OrganizeExecutor::Outcome(const OrganizeExecutor&, const CancellationToken&,
                                            const OrganizeExecutor::Progress&)>
        action) {
    if (!beginRemoval())
        return;
    runCancellation_ = CancellationToken();
    startJob(JobKind::removal, [this, executor = executor(), action = std::move(action),
                                cancellation = runCancellation_](const CancellationToken&,
                                                                 const MainThreadPost& post) {
        const OrganizeExecutor::Progress progress = [this, post](const QString& source, int index,
                                                                 int count) {
            post([this, source, index, count] {
                progressSource_ = source;
                progressIndex_ = index;
                progressCount_ = count;
                emit progressChanged();
            });
        };
        OrganizeExecutor::Outcome outcome = action(executor, cancellation, progress);
        post([this, outcome = std::move(outcome)] {
            lastOutcome_ = outcome;
            lastUndo_.reset();
            QList<MoveFailure> failures = outcome.failures;
            if (outcome.journalError)
                failures.append({services_.journalURL, *outcome.journalError});
            if (const std::optional<QString> toast = toastFor(outcome.run))
                toasts().post(*toast);
            finishAction(failures);
        });
    });
}

void OrganizeModel::undoLast() {
    if (isDryRun()) {
        toasts().post(QStringLiteral("Dry run: would undo the last organize"), ToastStyle::info);
        return;
    }
    if (!beginRemoval())
        return;
    startJob(JobKind::removal, [this, executor = executor()](const CancellationToken&,
                                                             const MainThreadPost& post) {
        OrganizeExecutor::UndoOutcome outcome = executor.undoLast();
        post([this, outcome = std::move(outcome)] {
            lastUndo_ = outcome;
            lastOutcome_.reset();
            QList<MoveFailure> failures = outcome.failures;
            if (outcome.journalError)
                failures.append({services_.journalURL, *outcome.journalError});
            if (outcome.nothingToUndo)
                toasts().post(QStringLiteral("Nothing to undo"), ToastStyle::info);
            else if (!outcome.restored.isEmpty())
                toasts().post(
                    QStringLiteral("Put back %1").arg(projectsWord(outcome.restored.size())));
            finishAction(failures);
        });
    });
}

void OrganizeModel::reportRecovery(const OrganizeExecutor::UndoOutcome& recovered) {
    if (!recovered.restored.isEmpty())
        toasts().post(QStringLiteral("Put back %1 whose move was cut short")
                          .arg(projectsWord(recovered.restored.size())));
    QList<MoveFailure> failures = recovered.failures;
    if (recovered.journalError)
        failures.append({services_.journalURL, *recovered.journalError});
    if (!failures.isEmpty())
        setFailures(itemFailures(failures));
}

void OrganizeModel::finishAction(const QList<MoveFailure>& failures) {
    progressSource_.clear();
    progressIndex_ = 0;
    progressCount_ = 0;
    emit progressChanged();
    finishRemoval(itemFailures(failures));
    emit actionFinished();
    // The plan, the orphans and the journal all changed; show them as they are now.
    reload();
}

void OrganizeModel::setCanUndo(bool value) {
    if (canUndo_ == value)
        return;
    canUndo_ = value;
    emit canUndoChanged();
}

} // namespace corvane
