#include "cli/OrganizeCommands.h"

#include "cli/Command.h"
#include "cli/JsonOutput.h"
#include "cli/RelinkText.h"
#include "cli/SessionDriver.h"
#include "organize/OrganizeJournal.h"
#include "platform/Paths.h"

#include <QJsonArray>

namespace corvane::cli {
namespace {

QString projectsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 project") : QStringLiteral("%1 projects").arg(count);
}

QJsonObject entryJson(const OrganizeEntry& entry) {
    const OrganizeCandidate& candidate = entry.candidate;
    const bool carriesDetail = entry.status.kind == OrganizeStatus::Case::busy ||
                               entry.status.kind == OrganizeStatus::Case::usedByShell;
    const QString reason = entry.reasonSentence();
    return {
        {QStringLiteral("path"), candidate.path},
        {QStringLiteral("isWorkspace"), candidate.isWorkspace},
        {QStringLiteral("gitRemote"), orNull(candidate.gitRemote)},
        {QStringLiteral("leadingAgent"),
         candidate.leadingAgent ? QJsonValue(rawValue(*candidate.leadingAgent)) : QJsonValue()},
        {QStringLiteral("hasAgentSessions"), candidate.hasAgentSessions},
        {QStringLiteral("isManual"), candidate.isManual},
        {QStringLiteral("group"), orNull(entry.group)},
        {QStringLiteral("target"), entry.targetPath()},
        {QStringLiteral("status"), caseName(entry.status.kind)},
        {QStringLiteral("statusDetail"),
         carriesDetail ? QJsonValue(entry.status.detail) : QJsonValue()},
        {QStringLiteral("reason"), reason.isEmpty() ? QJsonValue() : QJsonValue(reason)},
    };
}

QJsonArray failuresJson(const QList<MoveFailure>& failures) {
    QJsonArray list;
    for (const MoveFailure& failure : failures)
        list.append(QJsonObject{{QStringLiteral("source"), failure.source},
                                {QStringLiteral("message"), failure.message}});
    return list;
}

void printFailures(Console& console, const QList<MoveFailure>& failures) {
    for (const MoveFailure& failure : failures)
        console.out << "Could not move " << failure.source << ": " << failure.message << '\n';
}

void load(OrganizeModel& model) {
    model.reload();
    waitUntil(model, &OrganizeModel::isLoadingChanged, [&model] { return !model.isLoading(); });
}

// Runs the model's action started by `start` and waits until it has ended.
void carryOutAction(OrganizeModel& model, const std::function<void()>& start) {
    bool finished = false;
    const QObject receiver;
    QObject::connect(&model, &OrganizeModel::actionFinished, &receiver,
                     [&finished] { finished = true; });
    start();
    waitUntil(model, &OrganizeModel::actionFinished, [&finished] { return finished; });
}

// A model set up as the request asks; the additions that were refused are returned.
QList<MoveFailure> prepare(OrganizeModel& model, const OrganizeRequest& request) {
    if (request.destination)
        model.setDestination(*request.destination);
    if (request.layout)
        model.setLayout(*organizeLayoutFromRaw(*request.layout));
    QList<MoveFailure> refused;
    for (const QString& addition : request.additions) {
        const QString path = Paths::absoluteStandardized(addition);
        if (const std::optional<QString> refusal = model.addFolder(path))
            refused.append({path, *refusal});
    }
    load(model);
    return refused;
}

bool isValidLayout(const OrganizeRequest& request, Console& console) {
    if (!request.layout || organizeLayoutFromRaw(*request.layout))
        return true;
    console.err << "Unknown layout " << *request.layout << ": use by-agent, by-owner or flat.\n";
    return false;
}

void printRefusals(Console& console, const QList<MoveFailure>& refused) {
    for (const MoveFailure& refusal : refused)
        console.err << refusal.message << '\n';
}

void printPlan(QTextStream& out, const OrganizeModel& model) {
    out << "Destination: " << model.destination() << " (" << displayName(model.layout()) << ")\n";
    if (model.entries().isEmpty())
        out << "No projects to organize were found.\n";
    for (const OrganizeEntry& entry : model.entries()) {
        if (entry.status.kind == OrganizeStatus::Case::ready)
            out << "  ready  " << entry.candidate.path << " -> " << entry.targetPath() << '\n';
        else
            out << "  " << caseName(entry.status.kind) << "  " << entry.candidate.path << "\n      "
                << entry.reasonSentence() << '\n';
    }
}

bool confirmedOrAnswered(const QString& question, bool yes, Console& console, int& status) {
    if (yes)
        return true;
    if (!console.canAsk) {
        console.err << "Nothing was moved: confirm with --yes, or run on a terminal to be asked "
                       "first.\n";
        status = exitRefusedOrBadArguments;
        return false;
    }
    if (!console.ask(question)) {
        console.out << "Nothing was moved.\n";
        status = exitOk;
        return false;
    }
    return true;
}

void printMoves(Console& console, const OrganizeRun& run) {
    for (const MoveRecord& move : run.moves) {
        console.out << "Moved " << move.source << " to " << move.destination << '\n';
        printRelinkReport(console.out, move.relink, false, QStringLiteral("    "), true);
    }
    for (const QString& folder : run.trashedEmptyFolders)
        console.out << "Moved the empty folder " << folder << " to the Trash\n";
}

int statusOf(const QList<MoveFailure>& failures) {
    return failures.isEmpty() ? exitOk : exitSomeFailed;
}

} // namespace

int runProcesses(const std::optional<QString>& folder, bool json, Console& console,
                 const ProcessRunner& runner) {
    QList<ProcessInspector::WorkingProcess> processes = ProcessInspector(runner).workingProcesses();
    if (folder)
        processes = ProcessInspector::inside(processes, Paths::absoluteStandardized(*folder));
    if (json) {
        QJsonArray list;
        for (const ProcessInspector::WorkingProcess& process : processes)
            list.append(QJsonObject{
                {QStringLiteral("pid"), process.pid},
                {QStringLiteral("command"), process.command},
                {QStringLiteral("cwd"), process.cwd},
                {QStringLiteral("displayName"), ProcessInspector::displayName(process)}});
        printJson(console, {{QStringLiteral("processes"), list}});
        return exitOk;
    }
    if (processes.isEmpty())
        console.out << "No process works in " << (folder ? *folder : QStringLiteral("any folder"))
                    << ".\n";
    for (const ProcessInspector::WorkingProcess& process : processes)
        console.out << QString::number(process.pid).rightJustified(7) << "  "
                    << ProcessInspector::displayName(process).leftJustified(20) << "  "
                    << process.cwd << '\n';
    console.out << Qt::flush;
    return exitOk;
}

int runOrphans(bool json, Console& console, const OrganizeModel::Services& services) {
    ToastCenter toasts;
    OrganizeModel model(toasts, services, false);
    load(model);
    if (json) {
        QJsonArray list;
        for (const OrphanedHistory& orphan : model.orphans()) {
            QJsonArray sessions;
            for (const AgentSession& session : orphan.sessions)
                sessions.append(agentSessionJson(session));
            list.append(QJsonObject{{QStringLiteral("missingPath"), orphan.missingPath},
                                    {QStringLiteral("sessions"), sessions},
                                    {QStringLiteral("suggestion"), orNull(orphan.suggestion)}});
        }
        printJson(console, {{QStringLiteral("orphans"), list}});
        return exitOk;
    }
    if (model.orphans().isEmpty())
        console.out << "Every folder with agent history still exists.\n";
    for (const OrphanedHistory& orphan : model.orphans()) {
        console.out << orphan.missingPath << "  (" << orphan.sessions.size()
                    << (orphan.sessions.size() == 1 ? " session" : " sessions") << ")\n";
        if (orphan.suggestion)
            console.out << "    Probably now at " << *orphan.suggestion << '\n';
    }
    console.out << Qt::flush;
    return exitOk;
}

int runOrganizePlan(const OrganizeRequest& request, Console& console,
                    const OrganizeModel::Services& services) {
    if (!isValidLayout(request, console))
        return exitRefusedOrBadArguments;
    ToastCenter toasts;
    OrganizeModel model(toasts, services, false);
    const QList<MoveFailure> refused = prepare(model, request);
    if (request.json) {
        QJsonArray entries;
        for (const OrganizeEntry& entry : model.entries())
            entries.append(entryJson(entry));
        QJsonArray refusedList;
        for (const MoveFailure& refusal : refused)
            refusedList.append(QJsonObject{{QStringLiteral("path"), refusal.source},
                                           {QStringLiteral("message"), refusal.message}});
        printJson(console, {{QStringLiteral("destination"), model.destination()},
                            {QStringLiteral("layout"), rawValue(model.layout())},
                            {QStringLiteral("entries"), entries},
                            {QStringLiteral("refused"), refusedList}});
    } else {
        printPlan(console.out, model);
        printRefusals(console, refused);
        console.out << Qt::flush;
    }
    return refused.isEmpty() ? exitOk : exitRefusedOrBadArguments;
}

int runOrganize(const OrganizeRequest& request, Console& console,
                const OrganizeModel::Services& services) {
    if (!isValidLayout(request, console))
        return exitRefusedOrBadArguments;
    ToastCenter toasts;
    OrganizeModel model(toasts, services, false);
    model.setRecoversCutShortMoves(!request.dryRun);
    const QList<MoveFailure> refused = prepare(model, request);
    if (!refused.isEmpty()) {
        printRefusals(console, refused);
        return exitRefusedOrBadArguments;
    }
    const QList<OrganizeEntry> ready = model.readyEntries();
    if (request.dryRun) {
        if (request.json) {
            QJsonArray wouldMove;
            for (const OrganizeEntry& entry : ready)
                wouldMove.append(QJsonObject{{QStringLiteral("source"), entry.candidate.path},
                                             {QStringLiteral("target"), entry.targetPath()}});
            printJson(console,
                      {{QStringLiteral("dryRun"), true}, {QStringLiteral("wouldMove"), wouldMove}});
        } else {
            console.out << "Dry run: would move " << projectsWord(ready.size()) << '\n';
            for (const OrganizeEntry& entry : ready)
                console.out << "  " << entry.candidate.path << " -> " << entry.targetPath() << '\n';
        }
        return exitOk;
    }
    if (ready.isEmpty()) {
        if (request.json)
            printJson(console, {{QStringLiteral("run"), QJsonValue()},
                                {QStringLiteral("failures"), QJsonArray()}});
        else
            console.out << "Nothing to organize: no project is ready to move.\n";
        return exitOk;
    }
    // The JSON document alone goes to standard output; what is asked about goes beside the
    // question.
    if (!request.yes)
        printPlan(request.json ? console.err : console.out, model);
    console.out << Qt::flush;
    int status = exitOk;
    if (!confirmedOrAnswered(QStringLiteral("Move %1 into %2? [y/N] ")
                                 .arg(projectsWord(ready.size()), model.destination()),
                             request.yes, console, status))
        return status;

    carryOutAction(model, [&model] { model.organize(); });
    const OrganizeExecutor::Outcome& outcome = *model.lastOutcome();
    QList<MoveFailure> failures = outcome.failures;
    if (outcome.journalError)
        failures.append({OrganizeJournal(services.journalURL).url(), *outcome.journalError});
    if (request.json) {
        printJson(console, {{QStringLiteral("run"), outcome.run.moves.isEmpty()
                                                        ? QJsonValue()
                                                        : OrganizeJournal::runJson(outcome.run)},
                            {QStringLiteral("failures"), failuresJson(failures)}});
    } else {
        printMoves(console, outcome.run);
        printFailures(console, failures);
        console.out << Qt::flush;
    }
    return statusOf(failures);
}

int runOrganizeUndo(bool yes, bool json, Console& console,
                    const OrganizeModel::Services& services) {
    const OrganizeJournal::Contents journal = OrganizeJournal(services.journalURL).read();
    // Runs this version cannot read are never "nothing to undo".
    if (journal.problem) {
        console.err << *journal.problem << '\n' << Qt::flush;
        if (journal.runs.isEmpty())
            return exitSomeFailed;
    }
    const std::optional<OrganizeRun> last =
        journal.runs.isEmpty() ? std::nullopt : std::optional(journal.runs.last());
    if (!last) {
        if (json)
            printJson(console, {{QStringLiteral("restored"), QJsonArray()},
                                {QStringLiteral("failures"), QJsonArray()}});
        else
            console.out << "Nothing to undo.\n";
        return exitOk;
    }
    if (!yes) {
        QTextStream& out = json ? console.err : console.out;
        out << "The last run, " << last->date.toLocalTime().toString(Qt::ISODate) << ", moved:\n";
        for (const MoveRecord& move : last->moves)
            out << "  " << move.source << " -> " << move.destination << '\n';
        out << Qt::flush;
    }
    int status = exitOk;
    if (!confirmedOrAnswered(
            QStringLiteral("Put back %1? [y/N] ").arg(projectsWord(last->moves.size())), yes,
            console, status))
        return status;

    ToastCenter toasts;
    OrganizeModel model(toasts, services, false);
    carryOutAction(model, [&model] { model.undoLast(); });
    const OrganizeExecutor::UndoOutcome& outcome = *model.lastUndo();
    QList<MoveFailure> failures = outcome.failures;
    if (outcome.journalError)
        failures.append({OrganizeJournal(services.journalURL).url(), *outcome.journalError});
    if (json) {
        QJsonArray restored;
        for (const MoveRecord& move : outcome.restored)
            restored.append(QJsonObject{{QStringLiteral("source"), move.source},
                                        {QStringLiteral("destination"), move.destination}});
        printJson(console, {{QStringLiteral("restored"), restored},
                            {QStringLiteral("failures"), failuresJson(failures)}});
    } else {
        for (const MoveRecord& move : outcome.restored)
            console.out << "Put back " << move.source << '\n';
        for (const MoveFailure& failure : failures)
            console.out << "Could not put back " << failure.source << ": " << failure.message
                        << '\n';
        console.out << Qt::flush;
    }
    return statusOf(failures);
}

int runMove(const QString& source, const QString& destination, bool yes, bool json,
            Console& console, const OrganizeModel::Services& services) {
    const QString from = Paths::absoluteStandardized(source);
    const QString to = Paths::absoluteStandardized(destination);
    int status = exitOk;
    if (!confirmedOrAnswered(QStringLiteral("Move %1 to %2? [y/N] ").arg(from, to), yes, console,
                             status))
        return status;
    ToastCenter toasts;
    OrganizeModel model(toasts, services, false);
    carryOutAction(model, [&] { model.moveProject(from, to); });
    const OrganizeExecutor::Outcome& outcome = *model.lastOutcome();
    const bool moved = !outcome.run.moves.isEmpty();
    if (json) {
        if (moved)
            printJson(console, {{QStringLiteral("move"),
                                 OrganizeJournal::moveJson(outcome.run.moves.first())}});
        else
            printJson(console, {{QStringLiteral("failed"),
                                 outcome.failures.isEmpty() ? QString()
                                                            : outcome.failures.first().message}});
    } else {
        printMoves(console, outcome.run);
        printFailures(console, outcome.failures);
        if (outcome.journalError)
            console.out << "The move was made but not written to the journal: "
                        << *outcome.journalError << '\n';
        console.out << Qt::flush;
    }
    return moved && !outcome.journalError ? exitOk : exitSomeFailed;
}

} // namespace corvane::cli
