#pragma once

#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// Which processes work in which folder, from lsof's field output, so that a folder in which an
// agent or a shell runs is never moved from under it. When lsof fails, hangs or prints nothing,
// no process is listed and no folder counts as busy.
class ProcessInspector {
public:
    struct WorkingProcess {
        qint64 pid = 0;
        // The command name as lsof reports it.
        QString command;
        // The process's current directory.
        QString cwd;

        bool operator==(const WorkingProcess&) const = default;
    };

    explicit ProcessInspector(const ProcessRunner& runner = ProcessRunner::system())
        : runner_(&runner) {}

    // Every process whose current directory lsof can see, except this one and lsof's own.
    // Blocking; never on the main thread.
    QList<WorkingProcess> workingProcesses() const;

    // Reads "-F pcn" output: "p" starts a process, "c" names it, "n" gives its directory; a
    // process counts once all three are known. Helpers that only wrap terminal sessions
    // ("disclaimer") are left out. Nothing when the output is over a limit of InputLimits, and
    // then `problem` says which.
    static std::optional<QList<WorkingProcess>> parse(const QByteArray& output,
                                                      QString* problem = nullptr);

    // Those of `processes` whose directory is `folder` or lies inside it (paths compared as
    // agent history compares them).
    static QList<WorkingProcess> inside(const QList<WorkingProcess>& processes,
                                        const QString& folder);

    // "Claude Code", "Codex", "a terminal" for a shell, else "process " + the command.
    static QString displayName(const WorkingProcess& process);

private:
    const ProcessRunner* runner_;
};

} // namespace corvane
