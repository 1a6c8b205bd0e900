#pragma once

#include "platform/Cancellation.h"
#include "platform/MessageError.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <exception>
#include <optional>

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
    enum class Case { launchFailed, timedOut };

    static ProcessRunnerError launchFailed(const QString& description) {
        return {Case::launchFailed, description};
    }
    static ProcessRunnerError timedOut() {
        return {Case::timedOut, QStringLiteral("The program did not finish in time.")};
    }

    Case kind() const { return case_; }
    // The platform's text for a launch failure; a fixed sentence for a time-out.
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
    // Everything about one call, as the caller gave it.
    struct Call {
        const QString& executable;
        const QStringList& arguments;
        const std::optional<QByteArray>& stdinData;
        const QHash<QString, QString>& environmentOverrides;
        double timeout;
        const CancellationToken& cancellation;
    };

    virtual ~ProcessRunner() = default;

    // The runner that starts real children.
    static const ProcessRunner& system();

    // Runs `executable` (an absolute path, never searched in PATH) with `arguments` and no shell.
    // Blocks the calling worker thread until the child has exited and both output pipes are read;
    // never call it on the main thread. Standard input is always a pipe: it receives `stdinData`
    // when given and is then closed. `environmentOverrides` are laid over the inherited
    // environment. When `timeout` seconds pass the child gets one SIGTERM and the call throws
    // `timedOut` once it has exited. Cancelling `cancellation` sends the same SIGTERM and the call
    // returns what the child's end produced. Throws `launchFailed` when the program cannot start.
    ProcessResult run(const QString& executable, const QStringList& arguments,
                      const std::optional<QByteArray>& stdinData = std::nullopt,
                      const QHash<QString, QString>& environmentOverrides = {},
                      double timeout = 60.0,
                      const CancellationToken& cancellation = CancellationToken()) const {
        return execute(
            Call{executable, arguments, stdinData, environmentOverrides, timeout, cancellation});
    }

    // The "PATH" override for tools installed by package managers: the tool's own folder, then the
    // usual places, since a desktop application inherits a minimal PATH.
    static QString toolSearchPath(const QString& executable);

protected:
    // Starts the child and waits for it, as `run` describes.
    virtual ProcessResult execute(const Call& call) const;
};

} // namespace corvane
