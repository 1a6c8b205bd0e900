#pragma once

#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <vector>

namespace corvane {

// One program of a pipeline: an absolute path and its arguments, no shell.
struct PipelineStage {
    QString executable;
    QStringList arguments;
};

// How one stage ended.
struct StageResult {
    // As in ProcessResult: the exit status, or 128 + the signal that ended it.
    qint32 exitCode = 0;
    int terminationSignal = 0;
    QByteArray standardError;
};

struct PipelineResult {
    // One per stage, in the pipeline's order.
    std::vector<StageResult> stages;
    // What the last stage wrote.
    QByteArray standardOutput;

    // The first stage that did not exit with 0, or -1 when all did.
    int firstFailedStage() const;
};

// Runs programs connected stdout to stdin, as a shell's `a | b` would, but keeps what a shell
// loses: the exit status and standard error of every stage. A copy made of `tar | ssh` is only
// whole when both ended well, and a shell reports the last one only. The first stage reads an
// empty input. The time limit and cancellation apply to every stage: each one still running gets
// SIGTERM, and SIGKILL when it has not ended a few seconds later.
class ProcessPipeline {
public:
    // Blocks the calling worker thread until every stage has exited. Throws
    // ProcessRunnerError::launchFailed when a stage cannot start (the stages already started
    // are ended first) and ProcessRunnerError::timedOut after the time limit.
    static PipelineResult run(const std::vector<PipelineStage>& stages,
                              const QHash<QString, QString>& environmentOverrides, double timeout,
                              const CancellationToken& cancellation = CancellationToken());
};

} // namespace corvane
