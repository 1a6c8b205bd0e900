#pragma once

#include "platform/Cancellation.h"
#include "platform/MessageError.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <exception>
#include <functional>
#include <optional>
#include <variant>

namespace corvane {

// The outcome of a child that ran to its end. A non-zero exit status is not an error here:
// each caller decides what it means.
struct ProcessResult {
    // The child's exit status; for a child killed by a signal, 128 + the signal number, as a shell
    // reports it.
    qint32 exitCode = 0;
    QByteArray standardOutput;
    QByteArray standardError;
    // The signal that ended the child, or 0 when it exited by itself.
    int terminationSignal = 0;
};

class ProcessRunnerError : public MessageError {
public:
    enum class Case { launchFailed, timedOut, outputTooLarge };

    static ProcessRunnerError launchFailed(const QString& description) {
        return {Case::launchFailed, description};
    }
    static ProcessRunnerError timedOut() {
        return {Case::timedOut, QStringLiteral("The program did not finish in time.")};
    }
    static ProcessRunnerError outputTooLarge() {
        return {Case::outputTooLarge,
                QStringLiteral("The program printed more than expected, so it was stopped.")};
    }

    Case kind() const { return case_; }
    // The platform's text for a launch failure; a fixed sentence for the other cases.
    const QString& description() const { return message(); }

private:
    ProcessRunnerError(Case kind, const QString& description)
        : MessageError(description)
        , case_(kind) {}

    Case case_;
};

// The one way the system starts a child program. The real runner is the default everywhere; a
// test hands a subclass to the code under test to make one call fail in a way no stand-in
// program can (a launch refused for one tool only, a time-out at an exact step).
class ProcessRunner {
public:
    // Watches the output as it comes: called on the running thread with each complete line of
    // standard output or error (without its line end), and with the unfinished end of a stream
    // (`isComplete` false, the whole unfinished line so far) whenever a read leaves one, since a
    // prompt waits without ending its line. Returning false stops the child at once: its whole
    // process group gets SIGKILL and the call returns what the child's end produced.
    using LineCallback = std::function<bool(const QString& line, bool isComplete)>;

    // Everything about one call, as the caller gave it.
    struct Call {
        const QString& executable;
        const QStringList& arguments;
        const std::optional<QByteArray>& stdinData;
        const QHash<QString, QString>& environmentOverrides;
        double timeout;
        const CancellationToken& cancellation;
        const LineCallback& onLine;
    };

    // How much one output stream may hold; a tool that prints more is stopped.
    static constexpr qsizetype outputCap = qsizetype(64) * 1024 * 1024;
    // How long a child may take to end after SIGTERM before its process group gets SIGKILL.
    static constexpr double terminationGrace = 3.0;

    virtual ~ProcessRunner() = default;

    // The runner that starts real children.
    static const ProcessRunner& system();

    // Runs `executable` (an absolute path, never searched in PATH) with `arguments` and no shell,
    // in a process group of its own. Blocks the calling worker thread until the child has exited
    // and both output pipes are read; never call it on the main thread. Standard input is always a
    // pipe: it receives `stdinData` when given and is then closed. `environmentOverrides` are laid
    // over the inherited environment; a null value removes the variable. When `timeout` seconds
    // pass the child's group gets SIGTERM, and SIGKILL after `terminationGrace` seconds if the
    // child is still there; the call then throws `timedOut`. Cancelling `cancellation` stops the
    // group the same way and the call returns what the child's end produced. A stream that grows
    // past `outputCap` stops the group the same way and the call throws `outputTooLarge`. Throws
    // `launchFailed` when the program cannot start.
    ProcessResult run(const QString& executable, const QStringList& arguments,
                      const std::optional<QByteArray>& stdinData = std::nullopt,
                      const QHash<QString, QString>& environmentOverrides = {},
                      double timeout = 60.0,
                      const CancellationToken& cancellation = CancellationToken(),
                      const LineCallback& onLine = {}) const {
        return execute(Call{executable, arguments, stdinData, environmentOverrides, timeout,
                            cancellation, onLine});
    }

    // Runs a tool for whom not starting is one more answer to word: its result, or "<label> could
    // not run: <why>" (a launch refused, a time-out, a flood of output). `label` names the command
    // for the user ("snap list").
    std::variant<ProcessResult, QString> attempt(const QString& label, const QString& executable,
                                                 const QStringList& arguments, double timeout,
                                                 const CancellationToken& cancellation) const;
    // "<label> failed (exit N)", then ": " and the first line `result` printed on standard error,
    // if it printed one.
    static QString failureText(const QString& label, const ProcessResult& result);

    // The "PATH" override for tools installed by package managers: the tool's own folder, then the
    // usual places, since a desktop application inherits a minimal PATH.
    static QString toolSearchPath(const QString& executable);

protected:
    // Starts the child and waits for it, as `run` describes.
    virtual ProcessResult execute(const Call& call) const;
};

} // namespace corvane
