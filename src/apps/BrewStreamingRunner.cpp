#include "apps/BrewStreamingRunner.h"

#include "platform/Paths.h"

#include <algorithm>

namespace corvane {
namespace {

// The environment brew needs: no SUDO_ASKPASS (sudo would run it and wait for a password in a
// window we do not control), brew's folder first on PATH and brew told to keep quiet.
QHash<QString, QString> brewEnvironment(const QString& brew) {
    const QString on = QStringLiteral("1");
    return {{QStringLiteral("SUDO_ASKPASS"), QString()},
            {QStringLiteral("PATH"),
             Paths::parentPath(brew) + QStringLiteral(":/usr/bin:/bin:/usr/sbin:/sbin")},
            {QStringLiteral("HOMEBREW_NO_ENV_HINTS"), on},
            {QStringLiteral("HOMEBREW_NO_COLOR"), on},
            {QStringLiteral("NONINTERACTIVE"), on},
            {QStringLiteral("HOMEBREW_NO_AUTO_UPDATE"), on}};
}

bool asksForPassword(const QString& text) {
    const QString lower = text.toLower();
    const QStringList& markers = BrewStreamingRunner::passwordMarkers();
    return std::any_of(markers.cbegin(), markers.cend(),
                       [&lower](const QString& marker) { return lower.contains(marker); });
}

// What brew printed, as it came: lines for the caller, the last meaningful ones for a failure,
// and whether it asked for a password.
class BrewWatch {
public:
    explicit BrewWatch(const BrewStreamingRunner::LineHandler& onLine)
        : onLine_(onLine) {}

    bool see(const QString& text, bool isComplete) {
        if (!askedForPassword_ && asksForPassword(text))
            askedForPassword_ = true;
        if (isComplete)
            takeLine(text);
        return !askedForPassword_;
    }

    bool askedForPassword() const { return askedForPassword_; }

    std::optional<BrewError> errorFor(int exitCode) const {
        if (exitCode == 0)
            return std::nullopt;
        if (meaningfulLines_.isEmpty())
            return BrewError::failed(QStringLiteral("brew exited with %1").arg(exitCode));
        return BrewError::failed(meaningfulLines_.join(QLatin1Char('\n')));
    }

private:
    void takeLine(const QString& line) {
        if (!line.trimmed().isEmpty()) {
            meaningfulLines_.append(line.trimmed());
            if (meaningfulLines_.size() > BrewStreamingRunner::failureLineCount)
                meaningfulLines_.removeFirst();
        }
        if (onLine_)
            onLine_(line);
    }

    const BrewStreamingRunner::LineHandler& onLine_;
    bool askedForPassword_ = false;
    // Both streams together, in the order their lines arrived.
    QStringList meaningfulLines_;
};

BrewError failureOf(const ProcessRunnerError& error, double timeout) {
    if (error.kind() == ProcessRunnerError::Case::timedOut)
        return BrewError::failed(
            QStringLiteral("brew timed out after %1 seconds").arg(static_cast<qint64>(timeout)));
    if (error.kind() == ProcessRunnerError::Case::outputTooLarge)
        return BrewError::failed(QStringLiteral("brew printed more than expected, so it was "
                                                "stopped."));
    return BrewError::failed(error.description());
}

} // namespace

const QStringList& BrewStreamingRunner::passwordMarkers() {
    static const QStringList markers{QStringLiteral("sudo:"), QStringLiteral("password:"),
                                     QStringLiteral("a password is required"),
                                     QStringLiteral("a terminal is required to read the password"),
                                     QStringLiteral("no askpass program")};
    return markers;
}

BrewStreamingRunner::Result
BrewStreamingRunner::run(const QString& brew, const QStringList& arguments, double timeoutSeconds,
                         const CancellationToken& cancellation, const LineHandler& onLine,
                         const ProcessRunner& runner) {
    BrewWatch watch(onLine);
    const ProcessRunner::LineCallback see = [&watch](const QString& text, bool isComplete) {
        return watch.see(text, isComplete);
    };
    ProcessResult result;
    try {
        result = runner.run(brew, arguments, std::nullopt, brewEnvironment(brew), timeoutSeconds,
                            cancellation, see);
    } catch (const ProcessRunnerError& error) {
        return {failureOf(error, timeoutSeconds), {}};
    }
    if (watch.askedForPassword())
        return {BrewError::needsPassword(commandLine(arguments)), {}};
    if (cancellation.isCancelled())
        return {BrewError::failed(QStringLiteral("brew was stopped.")), {}};
    return {watch.errorFor(result.exitCode), std::move(result.standardOutput)};
}

QString BrewStreamingRunner::commandLine(const QStringList& arguments) {
    return (QStringList{QStringLiteral("brew")} + arguments).join(QLatin1Char(' '));
}

} // namespace corvane
