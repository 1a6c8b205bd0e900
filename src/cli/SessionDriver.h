#pragma once

#include "cli/Console.h"
#include "cli/ScanCommands.h"
#include "scanning/ScanSession.h"

#include <CLI/CLI.hpp>
#include <QEventLoop>
#include <functional>

// What the scan, clean and caches commands share: running the session in the event loop until it
// is done, and the confirm, trash and report steps of a clean.
namespace corvane::cli {

// Runs the event loop until `done` holds; `changed` is the session signal that may make it so.
template <typename Signal>
void waitUntil(ScanSession& session, Signal changed, const std::function<bool()>& done) {
    if (done())
        return;
    QEventLoop loop;
    QObject::connect(&session, changed, &loop, [&loop, &done] {
        if (done())
            loop.quit();
    });
    loop.exec();
}

// Scans `folder` (the current folder when empty) to the end, with live progress on a terminal.
// Returns exitOk, or exitRefusedOrBadArguments after saying why on standard error.
int scanFolder(ScanSession& session, const QString& folder, Console& console);

// A trash action as a command runs it: what the session will hand over, and how to start it.
struct PlannedTrash {
    TrashPlan plan;
    std::function<void()> start;
};

// The --dry-run, --yes and --json flags of every command that trashes.
void addTrashFlags(CLI::App& command, TrashRequest& request);

// Previews (dry run) or confirms, trashes and reports `planned`; returns the exit status.
int carryOut(ScanSession& session, const ToastCenter& toasts, PlannedTrash planned,
             const TrashRequest& request, Console& console);

} // namespace corvane::cli
