#pragma once

#include "cli/Console.h"
#include "cli/ScanCommands.h"
#include "platform/TrashPlan.h"
#include "scanning/ScanSession.h"

#include <CLI/CLI.hpp>
#include <QEventLoop>
#include <functional>

// What the commands that scan or trash share: running a model in the event loop until it is
// done, and the confirm, trash and report steps of a trash action.
namespace corvane::cli {

// Runs the event loop until `done` holds; `changed` is the model's signal that may make it so.
template <typename Model, typename Signal>
void waitUntil(Model& model, Signal changed, const std::function<bool()>& done) {
    if (done())
        return;
    QEventLoop loop;
    QObject::connect(&model, changed, &loop, [&loop, &done] {
        if (done())
            loop.quit();
    });
    loop.exec();
}

// Hands `plan` to the model's own trash action and waits for its result.
template <typename Model> TrashResult trashThrough(Model& model, const TrashPlan& plan) {
    std::optional<TrashResult> result;
    const QObject receiver;
    QObject::connect(&model, &Model::trashCompleted, &receiver,
                     [&result](const TrashResult& done) { result = done; });
    model.trash(plan);
    waitUntil(model, &Model::trashCompleted, [&result] { return result.has_value(); });
    return *result;
}

// Scans `folder` (the current folder when empty) to the end, with live progress on a terminal.
// Returns exitOk, or exitRefusedOrBadArguments after saying why on standard error.
int scanFolder(ScanSession& session, const QString& folder, Console& console);

// The --dry-run, --yes and --json flags of every command that trashes.
void addTrashFlags(CLI::App& command, TrashRequest& request);

// Carries out a confirmed plan (or, for a dry run, looks at it) and hands back the result.
using TrashRunner = std::function<TrashResult(const TrashPlan& plan, bool dryRun)>;

// Asks before anything moves (unless --yes or --dry-run), runs exactly the plan it showed through
// `run`, and reports the result worded from it; returns the exit status.
int carryOut(const TrashPlan& plan, const TrashRequest& request, Console& console,
             const TrashRunner& run);

} // namespace corvane::cli
