#pragma once

#include "platform/Cancellation.h"
#include "platform/MessageError.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <exception>
#include <functional>
#include <optional>

namespace corvane {

// Why a brew command gave nothing usable.
class BrewError : public MessageError {
public:
    enum class Case { needsPassword, failed, notInstalled };

    static inline const QString notInstalledText = QStringLiteral("Homebrew is not installed.");

    // `command` is what the user runs in Terminal instead ("brew upgrade --cask foo").
    static BrewError needsPassword(const QString& command) {
        return {Case::needsPassword, command};
    }
    static BrewError failed(const QString& message) { return {Case::failed, message}; }
    static BrewError notInstalled() { return {Case::notInstalled, notInstalledText}; }

    Case kind() const { return case_; }
    // The Terminal command for `needsPassword`; the text shown for the other two.
    const QString& text() const { return message(); }

    bool operator==(const BrewError& other) const {
        return case_ == other.case_ && text() == other.text();
    }

private:
    BrewError(Case kind, const QString& text)
        : MessageError(text)
        , case_(kind) {}

    Case case_;
};

// Runs one brew command through the process runner, handing each output line to the caller as it
// comes, and kills brew's whole process group (signal 9, no grace) the moment it asks for a
// password: nobody can type one into a desktop app, and a waiting sudo would hang until the
// time-out.
class BrewStreamingRunner {
public:
    // Called on the running thread for every complete line of standard output or error.
    using LineHandler = std::function<void(const QString& line)>;

    struct Result {
        // Absent on success (exit status 0).
        std::optional<BrewError> error;
        // All of standard output, for commands whose answer is JSON.
        QByteArray standardOutput;
    };

    // Lower-case texts that mean brew (or sudo under it) waits for a password.
    static const QStringList& passwordMarkers();
    // How many of the last non-empty lines a failure message quotes.
    static constexpr int failureLineCount = 10;

    // Runs `brew` (an absolute path) with `arguments`, an empty standard input and the
    // environment brew needs to stay quiet and non-interactive. Blocks until brew has ended;
    // never throws. A launch failure, a time-out after `timeoutSeconds`, output past the runner's
    // cap and cancellation all come back as `failed`.
    static Result run(const QString& brew, const QStringList& arguments, double timeoutSeconds,
                      const CancellationToken& cancellation = CancellationToken(),
                      const LineHandler& onLine = {},
                      const ProcessRunner& runner = ProcessRunner::system());

    // "brew " and the arguments: what the user types in Terminal.
    static QString commandLine(const QStringList& arguments);
};

} // namespace corvane
