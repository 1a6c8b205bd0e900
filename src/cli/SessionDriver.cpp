#include "cli/SessionDriver.h"

#include "cli/Command.h"
#include "cli/HistoryCommands.h"
#include "cli/JsonOutput.h"
#include "cli/ScanJson.h"
#include "platform/ByteFormat.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTimer>

namespace corvane::cli {
namespace {

constexpr int progressInterval = 150;
constexpr qsizetype widestShownPath = 60;

QString shortened(const QString& path) {
    if (path.size() <= widestShownPath)
        return path;
    return QStringLiteral("...") + path.right(widestShownPath - 3);
}

// Redraws one status line on standard error while the scan runs, and wipes it at the end.
class ScanProgress {
public:
    ScanProgress(const ScanSession& session, Console& console)
        : session_(session)
        , console_(console) {
        if (!console_.showsProgress)
            return;
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { draw(); });
        timer_.start(progressInterval);
    }

    ~ScanProgress() {
        if (console_.showsProgress)
            console_.err << "\r\033[K" << Qt::flush;
    }

private:
    void draw() {
        console_.err << "\r\033[K"
                     << "Scanning " << shortened(session_.currentPath()) << "  "
                     << session_.projects().size() << " projects, "
                     << formatBytes(session_.measuredBytes()) << " measured" << Qt::flush;
    }

    const ScanSession& session_;
    Console& console_;
    QTimer timer_;
};

int statusFor(const QList<TrashFailure>& failures) {
    return failures.isEmpty() ? exitOk : exitSomeFailed;
}

void printItems(Console& console, const TrashPlan& plan, const QList<QString>& urls) {
    for (const QString& url : urls)
        console.out << "  " << url << "  " << formatBytes(plan.sizeByURL.value(url)) << '\n';
}

bool confirmed(const TrashPlan& plan, Console& console) {
    const QList<QString> urls = plan.urls();
    console.out << "To be moved to the Trash:\n";
    printItems(console, plan, urls);
    console.out << Qt::flush;
    return console.ask(QStringLiteral("Move %1 item(s), %2, to the Trash? [y/N] ")
                           .arg(urls.size())
                           .arg(formatBytes(plan.totalBytes())));
}

void printFailures(Console& console, const QList<TrashFailure>& failures) {
    if (failures.isEmpty())
        return;
    console.out << "Some items could not be trashed:\n";
    for (const TrashFailure& failure : failures)
        console.out << "  " << failure.url << ": " << failure.message << '\n';
}

int report(const TrashResult& result, const TrashRequest& request, Console& console) {
    const TrashOutcome& outcome = result.outcome;
    if (request.json) {
        QJsonObject document = result.wasDryRun
                                   ? ScanJson::dryRun(outcome, result.reclaimedBytes)
                                   : ScanJson::trashResult(outcome, result.reclaimedBytes);
        if (!result.wasDryRun)
            addCleanupNote(document, result.cleanup);
        printJson(console, document);
        return statusFor(outcome.failures);
    }
    if (result.wasDryRun) {
        console.out << "Dry run: would move to the Trash:\n";
        printItems(console, result.plan, outcome.trashed);
        // The space comes back only when the Trash is emptied: the toast's words say so.
        console.out << trashToastText(result) << '\n';
    } else if (!outcome.trashed.isEmpty()) {
        // The toast's words, with the history's notice when it has one.
        console.out << trashToastText(result) << '\n';
        printPutBackHint(console, result.cleanup);
    }
    printFailures(console, outcome.failures);
    return statusFor(outcome.failures);
}

} // namespace

void addTrashFlags(CLI::App& command, TrashRequest& request) {
    command.add_flag("--dry-run", request.dryRun,
                     "Show what would move to the Trash; move nothing");
    command.add_flag("--yes", request.yes, "Do not ask before moving to the Trash");
    command.add_flag("--json", request.json, "Print one JSON document on standard output");
}

int scanFolder(ScanSession& session, const QString& folder, Console& console) {
    const QString path =
        Paths::absoluteStandardized(folder.isEmpty() ? QStringLiteral(".") : folder);
    // The safety refusal comes first: it is the answer even for a Desktop that does not exist.
    std::optional<ScanRefusal> refusal = scanRefusal(path, Locations::homeDir());
    if (!refusal && !QFileInfo(path).isDir()) {
        console.err << "No such folder: " << path << '\n';
        return exitRefusedOrBadArguments;
    }
    if (!refusal)
        refusal = session.chooseFolderAndScan(path);
    if (refusal) {
        console.err << refusal->title << '\n' << refusal->text << '\n';
        return exitRefusedOrBadArguments;
    }
    ScanProgress progress(session, console);
    waitUntil(session, &ScanSession::isScanningChanged,
              [&session] { return !session.isScanning(); });
    return exitOk;
}

int carryOut(const TrashPlan& plan, const TrashRequest& request, Console& console,
             const TrashRunner& run) {
    if (plan.isEmpty()) {
        if (request.json)
            printJson(console,
                      request.dryRun ? ScanJson::dryRun({}, 0) : ScanJson::trashResult({}, 0));
        else
            console.out << "Nothing is ticked to move to the Trash.\n";
        return exitOk;
    }
    if (!request.dryRun && !request.yes) {
        if (!console.canAsk) {
            console.err << "Nothing was moved: confirm with --yes, or run on a terminal to be "
                           "asked first.\n";
            return exitRefusedOrBadArguments;
        }
        if (!confirmed(plan, console)) {
            console.out << "Nothing was moved.\n";
            return exitOk;
        }
    }
    return report(run(plan, request.dryRun), request, console);
}

} // namespace corvane::cli
