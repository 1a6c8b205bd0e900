#include "cli/HistoryCommands.h"

#include "agents/AgentStorage.h"
#include "cli/Command.h"
#include "cli/Commands.h"
#include "cli/JsonOutput.h"
#include "cli/SessionDriver.h"
#include "platform/ByteFormat.h"
#include "platform/CleanupHistoryModel.h"

#include <QJsonArray>
#include <memory>

namespace corvane::cli {
namespace {

void load(CleanupHistoryModel& model) {
    model.reload();
    waitUntil(model, &CleanupHistoryModel::isLoadingChanged,
              [&model] { return model.hasLoaded() && !model.isLoading(); });
}

PutBackOutcome putBackThrough(CleanupHistoryModel& model, const std::optional<QString>& id,
                              bool dryRun) {
    std::optional<PutBackOutcome> outcome;
    const QObject receiver;
    QObject::connect(&model, &CleanupHistoryModel::putBackCompleted, &receiver,
                     [&outcome](const PutBackOutcome& done) { outcome = done; });
    model.putBack(id, dryRun);
    waitUntil(model, &CleanupHistoryModel::putBackCompleted,
              [&outcome] { return outcome.has_value(); });
    return *outcome;
}

QString timeText(const QDateTime& date) {
    return date.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QJsonObject cleanupJson(const ListedCleanup& listed) {
    const Cleanup& cleanup = listed.cleanup;
    QJsonArray items;
    for (const CleanupItem& item : cleanup.items)
        items.append(QJsonObject{{QStringLiteral("originalPath"), item.originalPath},
                                 {QStringLiteral("trashPath"), item.location.path},
                                 {QStringLiteral("bytes"), item.bytes},
                                 {QStringLiteral("putBack"), item.isPutBack},
                                 {QStringLiteral("emptied"), item.isEmptied}});
    return {{QStringLiteral("id"), cleanup.id},
            {QStringLiteral("date"), isoDateOrNull(cleanup.date)},
            {QStringLiteral("area"), cleanup.area},
            {QStringLiteral("itemCount"), cleanup.items.size()},
            {QStringLiteral("bytes"), cleanup.bytes()},
            {QStringLiteral("itemsInTrash"), listed.itemsInTrash},
            {QStringLiteral("items"), items}};
}

void printTable(Console& console, const QList<ListedCleanup>& cleanups) {
    if (cleanups.isEmpty()) {
        console.out << "No cleanup has been recorded yet.\n" << Qt::flush;
        return;
    }
    const auto row = [&console](const QString& id, const QString& time, const QString& area,
                                const QString& items, const QString& bytes,
                                const QString& inTrash) {
        console.out << id.leftJustified(20) << time.leftJustified(18) << area.leftJustified(10)
                    << items.rightJustified(6) << bytes.rightJustified(11)
                    << inTrash.rightJustified(10) << '\n';
    };
    row(QStringLiteral("ID"), QStringLiteral("TIME"), QStringLiteral("AREA"),
        QStringLiteral("ITEMS"), QStringLiteral("SIZE"), QStringLiteral("IN TRASH"));
    for (const ListedCleanup& listed : cleanups) {
        const Cleanup& cleanup = listed.cleanup;
        row(cleanup.id, timeText(cleanup.date), cleanup.area, QString::number(cleanup.items.size()),
            formatBytes(cleanup.bytes()), QString::number(listed.itemsInTrash));
    }
    console.out << Qt::flush;
}

int statusOf(const PutBackOutcome& outcome) {
    if (!outcome.refusal)
        return outcome.failures.isEmpty() ? exitOk : exitSomeFailed;
    switch (*outcome.refusal) {
    case PutBackOutcome::Refusal::noCleanup:
        return exitOk;
    case PutBackOutcome::Refusal::unknownCleanup:
        return exitRefusedOrBadArguments;
    case PutBackOutcome::Refusal::unreadableHistory:
        return exitSomeFailed;
    }
    return exitSomeFailed;
}

QJsonObject outcomeJson(const PutBackOutcome& outcome) {
    QJsonArray restored;
    for (const QString& path : outcome.restored)
        restored.append(path);
    QJsonArray failures;
    for (const PutBackFailure& failure : outcome.failures)
        failures.append(QJsonObject{{QStringLiteral("path"), failure.path},
                                    {QStringLiteral("message"), failure.message}});
    const bool dry = outcome.wasDryRun;
    QJsonObject document{
        {QStringLiteral("cleanupID"), outcome.cleanup.id},
        {QStringLiteral("area"), outcome.cleanup.area},
        {dry ? QStringLiteral("wouldPutBack") : QStringLiteral("putBack"), restored},
        {dry ? QStringLiteral("wouldRestoreBytes") : QStringLiteral("restoredBytes"),
         outcome.restoredBytes},
        {QStringLiteral("alreadyPutBack"), outcome.alreadyPutBack},
        {QStringLiteral("failures"), failures}};
    if (!outcome.message.isEmpty())
        document.insert(QStringLiteral("message"), outcome.message);
    return document;
}

void printOutcome(Console& console, const PutBackOutcome& outcome) {
    const QString of =
        QStringLiteral(" of cleanup %1 (%2)").arg(outcome.cleanup.id, outcome.cleanup.area);
    if (!outcome.restored.isEmpty()) {
        console.out << (outcome.wasDryRun ? "Dry run: would put back " : "Put back ")
                    << outcome.restored.size() << " item(s) (" << formatBytes(outcome.restoredBytes)
                    << ")" << of << ":\n";
        for (const QString& path : outcome.restored)
            console.out << "  " << path << '\n';
    }
    if (outcome.alreadyPutBack > 0)
        console.out << outcome.alreadyPutBack << " item(s)" << of << " were put back before.\n";
    if (outcome.restored.isEmpty() && outcome.failures.isEmpty() && outcome.alreadyPutBack == 0)
        console.out << "Nothing to put back" << of << ".\n";
    if (!outcome.failures.isEmpty()) {
        console.out << (outcome.wasDryRun ? "Would stay in the Trash:\n"
                                          : "Some items stayed in the Trash:\n");
        for (const PutBackFailure& failure : outcome.failures)
            console.out << "  " << failure.path << ": " << failure.message << '\n';
    }
    if (!outcome.message.isEmpty())
        console.err << outcome.message << '\n';
    console.out << Qt::flush;
}

int report(Console& console, const PutBackOutcome& outcome, bool json) {
    if (json)
        printJson(console, outcomeJson(outcome));
    else
        printOutcome(console, outcome);
    return statusOf(outcome);
}

bool confirmed(Console& console, const PutBackOutcome& preview, const PutBackRequest& request,
               int& status) {
    if (request.yes)
        return true;
    if (!console.canAsk) {
        console.err << "Nothing was put back: confirm with --yes, or run on a terminal to be "
                       "asked first.\n";
        status = exitRefusedOrBadArguments;
        return false;
    }
    printOutcome(console, preview);
    if (console.ask(QStringLiteral("Put back %1 item(s), %2? [y/N] ")
                        .arg(preview.restored.size())
                        .arg(formatBytes(preview.restoredBytes))))
        return true;
    console.out << "Nothing was put back.\n" << Qt::flush;
    status = exitOk;
    return false;
}

OwnTrashListing planThrough(CleanupHistoryModel& model) {
    std::optional<OwnTrashListing> listing;
    const QObject receiver;
    QObject::connect(&model, &CleanupHistoryModel::emptyTrashPlanned, &receiver,
                     [&listing](const OwnTrashListing& planned) { listing = planned; });
    model.planEmptyTrash();
    waitUntil(model, &CleanupHistoryModel::emptyTrashPlanned,
              [&listing] { return listing.has_value(); });
    return *listing;
}

EmptyTrashOutcome emptyThrough(CleanupHistoryModel& model, const QList<OwnTrashItem>& items,
                               bool dryRun) {
    std::optional<EmptyTrashOutcome> outcome;
    const QObject receiver;
    QObject::connect(&model, &CleanupHistoryModel::emptyTrashCompleted, &receiver,
                     [&outcome](const EmptyTrashOutcome& done) { outcome = done; });
    model.emptyTrash(items, dryRun);
    waitUntil(model, &CleanupHistoryModel::emptyTrashCompleted,
              [&outcome] { return outcome.has_value(); });
    return *outcome;
}

// The items cleanup by cleanup, each with what deleting it frees.
void printOwnItems(Console& console, const QList<OwnTrashItem>& items) {
    QString cleanupID;
    for (const OwnTrashItem& entry : items) {
        if (entry.cleanupID != cleanupID) {
            cleanupID = entry.cleanupID;
            console.out << "Cleanup " << cleanupID << " (" << entry.area << "):\n";
        }
        console.out << "  " << formatBytes(entry.item.bytes).rightJustified(10) << "  "
                    << entry.item.originalPath << '\n';
    }
}

QJsonObject emptyOutcomeJson(const EmptyTrashOutcome& outcome) {
    const auto itemJson = [](const OwnTrashItem& entry) {
        return QJsonObject{{QStringLiteral("cleanupID"), entry.cleanupID},
                           {QStringLiteral("originalPath"), entry.item.originalPath},
                           {QStringLiteral("trashPath"), entry.item.location.path},
                           {QStringLiteral("bytes"), entry.item.bytes}};
    };
    QJsonArray deleted;
    for (const OwnTrashItem& entry : outcome.emptied)
        deleted.append(itemJson(entry));
    QJsonArray failures;
    for (const EmptyTrashFailure& failure : outcome.failures) {
        QJsonObject object = itemJson(failure.item);
        object.insert(QStringLiteral("message"), failure.message);
        failures.append(object);
    }
    const bool dry = outcome.wasDryRun;
    QJsonObject document{
        {dry ? QStringLiteral("wouldDelete") : QStringLiteral("deleted"), deleted},
        {dry ? QStringLiteral("wouldFreeBytes") : QStringLiteral("freedBytes"), outcome.freedBytes},
        {QStringLiteral("failures"), failures}};
    if (!outcome.message.isEmpty())
        document.insert(QStringLiteral("message"), outcome.message);
    return document;
}

int reportEmptying(Console& console, const EmptyTrashOutcome& outcome, bool json) {
    if (json) {
        printJson(console, emptyOutcomeJson(outcome));
    } else {
        printOwnItems(console, outcome.emptied);
        console.out << emptyTrashToastText(outcome) << '\n' << Qt::flush;
    }
    return outcome.failures.isEmpty() && outcome.message.isEmpty() ? exitOk : exitSomeFailed;
}

bool emptyingConfirmed(Console& console, const OwnTrashListing& listing,
                       const EmptyTrashRequest& request, int& status) {
    if (request.yes)
        return true;
    if (!console.canAsk) {
        console.err << "Nothing was deleted: confirm with --yes, or run on a terminal to be "
                       "asked first.\n";
        status = exitRefusedOrBadArguments;
        return false;
    }
    printOwnItems(console, listing.items);
    if (console.ask(QStringLiteral("Delete these %1 item(s) from the Trash for good, freeing "
                                   "%2? They can't be put back. [y/N] ")
                        .arg(listing.items.size())
                        .arg(formatBytes(listing.bytes()))))
        return true;
    console.out << "Nothing was deleted.\n" << Qt::flush;
    status = exitOk;
    return false;
}

} // namespace

int runHistory(bool json, Console& console) {
    ToastCenter toasts;
    CleanupHistoryModel model(toasts);
    load(model);
    if (model.problem()) {
        console.err << *model.problem() << '\n';
        return exitSomeFailed;
    }
    if (json) {
        QJsonArray cleanups;
        for (const ListedCleanup& listed : model.cleanups())
            cleanups.append(cleanupJson(listed));
        printJson(console, {{QStringLiteral("cleanups"), cleanups}});
    } else {
        printTable(console, model.cleanups());
    }
    return exitOk;
}

int runPutBack(const PutBackRequest& request, Console& console) {
    ToastCenter toasts;
    CleanupHistoryModel model(toasts);
    // The look first: it names the cleanup, and the confirmation shows exactly what it found.
    const PutBackOutcome preview = putBackThrough(model, request.id, true);
    if (preview.refusal) {
        (statusOf(preview) == exitOk ? console.out : console.err) << preview.message << '\n';
        return statusOf(preview);
    }
    if (request.dryRun || preview.restored.isEmpty())
        return report(console, preview, request.json);
    int status = exitOk;
    if (!confirmed(console, preview, request, status))
        return status;
    const PutBackOutcome outcome = putBackThrough(model, preview.cleanup.id, false);
    // Codex's rows of the sessions that came back go back into its database.
    for (const QString& problem :
         AgentStorage::restoreThreadRecords(outcome, CodexSessionRemoval::RecordStore()))
        console.err << problem << '\n';
    return report(console, outcome, request.json);
}

int runEmptyTrash(const EmptyTrashRequest& request, Console& console) {
    ToastCenter toasts;
    CleanupHistoryModel model(toasts);
    // The listing is the plan: what is confirmed is exactly what is deleted.
    const OwnTrashListing listing = planThrough(model);
    if (listing.problem)
        console.err << *listing.problem << '\n';
    if (listing.items.isEmpty()) {
        if (request.json)
            printJson(console, emptyOutcomeJson({{}, {}, 0, request.dryRun, {}}));
        else
            console.out << "Nothing this app put in the Trash is still there.\n" << Qt::flush;
        return listing.problem ? exitSomeFailed : exitOk;
    }
    int status = exitOk;
    if (!request.dryRun && !emptyingConfirmed(console, listing, request, status))
        return status;
    status =
        reportEmptying(console, emptyThrough(model, listing.items, request.dryRun), request.json);
    return listing.problem ? exitSomeFailed : status;
}

void printPutBackHint(Console& console, const RecordedCleanup& cleanup) {
    if (cleanup.id)
        console.out << "Put it back with: corvane put-back " << *cleanup.id << '\n';
}

void addCleanupNote(QJsonObject& document, const RecordedCleanup& cleanup) {
    document.insert(QStringLiteral("cleanupID"), orNull(cleanup.id));
    if (!cleanup.notice.isEmpty())
        document.insert(QStringLiteral("historyNotice"), cleanup.notice);
}

void defineHistoryCommand(CLI::App& command, int& status) {
    auto json = std::make_shared<bool>(false);
    command.add_flag("--json", *json, "Print one JSON document on standard output");
    command.require_subcommand(0, 1);
    auto request = std::make_shared<EmptyTrashRequest>();
    CLI::App* empty = command.add_subcommand(
        "empty-trash", "Delete for good what the cleanups put in the Trash; the rest of the Trash "
                       "stays");
    empty->add_flag("--dry-run", request->dryRun, "Show what would be deleted; delete nothing");
    empty->add_flag("--yes", request->yes, "Do not ask before deleting");
    empty->add_flag("--json", request->json, "Print one JSON document on standard output");
    empty->callback([request, &status] {
        Console console(stdout, stderr);
        status = runEmptyTrash(*request, console);
    });
    command.callback([&command, json, &status] {
        if (command.got_subcommand("empty-trash"))
            return;
        Console console(stdout, stderr);
        status = runHistory(*json, console);
    });
}

void definePutBackCommand(CLI::App& command, int& status) {
    auto id = std::make_shared<std::string>();
    auto request = std::make_shared<PutBackRequest>();
    command.add_option("ID", *id,
                       "The cleanup's id as `corvane history` lists it; the newest "
                       "when left out");
    command.add_flag("--dry-run", request->dryRun, "Show what would come back; move nothing");
    command.add_flag("--yes", request->yes, "Do not ask before putting back");
    command.add_flag("--json", request->json, "Print one JSON document on standard output");
    command.callback([id, request, &status] {
        if (!id->empty())
            request->id = QString::fromStdString(*id);
        Console console(stdout, stderr);
        status = runPutBack(*request, console);
    });
}

} // namespace corvane::cli
