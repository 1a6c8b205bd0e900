#include "archive/SSHArchiveService.h"

#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QFile>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace corvane {
namespace {

using Tool = Locations::Tool;

// A remote command that hangs is ended after a quarter of an hour, a copy after four hours.
constexpr double remoteCommandTimeout = 900;
constexpr double copyTimeout = 4 * 60 * 60;

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

// BatchMode turns a password prompt or a host-key question into a failure instead of a wait
// that nobody answers.
QStringList sshOptions() {
    return {text("-o"), text("BatchMode=yes"), text("-o"), text("ConnectTimeout=10")};
}

// Paths that go into a remote command, and anything the local shell reads.
QString remoteQuoted(const QString& path) {
    return SSHArchiveService::remoteQuoted(path);
}
QString shellQuoted(const QString& text) {
    return SSHArchiveService::shellQuoted(text);
}

QString trimmedText(const QByteArray& bytes) {
    return QString::fromUtf8(bytes).trimmed();
}

// The same words for a failed ssh call and for a failed test of a destination.
std::optional<QString> knownSshProblem(const QString& standardError, const QString& login) {
    if (standardError.contains(text("permission denied"), Qt::CaseInsensitive))
        return text("SSH key authentication is not set up for ") + login +
               text(". Run: ssh-copy-id ") + login;
    if (standardError.contains(text("no route to host"), Qt::CaseInsensitive))
        return text("Blocked by macOS Local Network privacy. Allow Corvane Clean under System "
                    "Settings > Privacy & Security > Local Network.");
    return std::nullopt;
}

QString describe(const ArchiveCounts& counts) {
    return QString::number(counts.files) + u'/' + QString::number(counts.bytes) + u'/' +
           QString::number(counts.topLevelEntries);
}

QString countCommand(const QString& remoteFolder) {
    // The sum is printed as a whole number: awk would write a large one in exponent form.
    return text("cd ") + remoteQuoted(remoteFolder) + text(" && find . -type f | wc -l") +
           QStringLiteral(R"sh( && (find . -type f -exec stat -c %s {} + 2>/dev/null)sh"
                          R"sh( | awk '{s+=$1} END {printf "%.0f\n", s}'))sh") +
           text(" && find . -mindepth 1 -maxdepth 1 | wc -l");
}

// The shell does not pass its SIGTERM on to a pipeline it waits for: the pipeline would go on
// copying after a cancel or a time-out, and after the clean-up. So it runs in the background
// and the trap ends its last command, which takes the rest of the pipe down with it.
QString terminablePipeline(const QString& pipeline) {
    return text("trap 'kill $! 2>/dev/null; exit 143' TERM; ") + pipeline + text(" & wait $!");
}

// Whether removing `remotePath`/`name` on the server can only ever remove the project's copy.
bool isCleanableName(const QString& name) {
    return !name.isEmpty() && name != text(".") && name != text("..") && !name.contains(u'/');
}

// One server reached as one user; every call is a fresh ssh process.
struct Server {
    const ProcessRunner& runner;
    QString user;
    QString host;

    QString login() const { return user + u'@' + host; }

    // Runs `command` on the server; throws ProcessRunnerError.
    ProcessResult run(const QString& command, const CancellationToken& cancellation) const {
        return runner.run(Locations::toolPath(Tool::ssh), sshOptions() << login() << command,
                          std::nullopt, {}, remoteCommandTimeout, cancellation);
    }

    // Runs a local pipeline through the shell; throws ProcessRunnerError.
    ProcessResult pipe(const QString& pipeline, const CancellationToken& cancellation) const {
        // No extended-attribute side files ("._name") in the tar stream of a Mac.
        const QHash<QString, QString> environment{{text("COPYFILE_DISABLE"), text("1")}};
        return runner.run(Locations::toolPath(Tool::sh), {text("-c"), terminablePipeline(pipeline)},
                          std::nullopt, environment, copyTimeout, cancellation);
    }

    // The ssh command of a pipeline, up to its remote command.
    QString sshPrefix() const {
        return shellQuoted(Locations::toolPath(Tool::ssh)) + u' ' + sshOptions().join(u' ') + u' ' +
               shellQuoted(login());
    }

    QString failureOf(const ProcessResult& result) const {
        return SSHArchiveService::sshFailureMessage(result.exitCode, result.standardError, user,
                                                    host);
    }

    // The server's counts of `remoteFolder`, or what went wrong.
    std::optional<ArchiveCounts> counts(const QString& remoteFolder,
                                        const CancellationToken& cancellation,
                                        QString& problem) const {
        try {
            const ProcessResult result = run(countCommand(remoteFolder), cancellation);
            if (result.exitCode != 0) {
                problem = failureOf(result);
                return std::nullopt;
            }
            const std::optional<ArchiveCounts> counts =
                SSHArchiveService::parseCounts(result.standardOutput);
            if (!counts)
                problem = text("unexpected answer from the server");
            return counts;
        } catch (const ProcessRunnerError& error) {
            problem = error.description();
            return std::nullopt;
        }
    }
};

// One archive from measuring to trashing; each step sends its own failure and returns false.
class ArchiveRun {
public:
    ArchiveRun(const SSHArchiveService& service, const QString& source, const Server& server,
               const QString& remotePath, const ArchiveEventSink& sink,
               const CancellationToken& cancellation)
        : service_(service)
        , source_(Paths::absoluteStandardized(source))
        , name_(Paths::lastComponent(source_))
        , server_(server)
        , remotePath_(remotePath)
        , remoteFolder_(remotePath + u'/' + name_)
        , sink_(sink)
        , cancellation_(cancellation) {}

    void run() {
        if (!measure() || !probe())
            return;
        sink_(ArchiveEvent::progress(0, local_.bytes,
                                     text("Copying ") + name_ + text(" over SSH to ") +
                                         server_.host + QChar(0x2026)));
        if (!copy())
            return;
        sink_(ArchiveEvent::verifying());
        if (!verify() || !trashOriginal())
            return;
        sink_(ArchiveEvent::finished(where()));
    }

private:
    QString where() const { return server_.login() + u':' + remotePath_ + u'/' + name_; }

    bool fail(const QString& message) {
        sink_(ArchiveEvent::failed(message));
        return false;
    }

    // Once the copy has begun, a cancel takes the remote copy away again.
    bool cancelledAfterCopyBegan() {
        if (!cancellation_.isCancelled())
            return false;
        removeRemoteCopy();
        fail(text("Cancelled"));
        return true;
    }

    bool measure() {
        try {
            local_ = ArchiveService::measure(source_, cancellation_);
            return true;
        } catch (const CancelledError&) {
            return fail(text("Cancelled"));
        } catch (const std::runtime_error& error) {
            return fail(text("Cannot measure source: ") + QString::fromLocal8Bit(error.what()));
        }
    }

    bool probe() {
        const QString command = text("mkdir -p ") + remoteQuoted(remotePath_) +
                                text(" && if [ -e ") + remoteQuoted(remoteFolder_) +
                                text(" ]; then echo EXISTS; else echo READY; fi");
        const QString prefix = text("Cannot create destination: ");
        try {
            const ProcessResult result = server_.run(command, cancellation_);
            if (cancellation_.isCancelled())
                return fail(text("Cancelled"));
            if (result.exitCode != 0)
                return fail(prefix + server_.failureOf(result));
            const QString answer = trimmedText(result.standardOutput);
            if (answer == text("EXISTS"))
                return fail(where() + text(" already exists"));
            if (answer != text("READY"))
                return fail(prefix + text("unexpected answer from the server"));
            return true;
        } catch (const ProcessRunnerError& error) {
            return fail(prefix + error.description());
        }
    }

    bool copy() {
        // Archived relative to its parent, so that it unpacks as remotePath/name.
        const QString unpack = text("mkdir -p ") + remoteQuoted(remotePath_) + text(" && tar -C ") +
                               remoteQuoted(remotePath_) + text(" -xf -");
        const QString pipeline = shellQuoted(Locations::toolPath(Tool::tar)) + text(" -C ") +
                                 shellQuoted(Paths::parentPath(source_)) + text(" -cf - ") +
                                 shellQuoted(name_) + text(" | ") + server_.sshPrefix() + u' ' +
                                 shellQuoted(unpack);
        QString problem;
        try {
            const ProcessResult result = server_.pipe(pipeline, cancellation_);
            if (cancelledAfterCopyBegan())
                return false;
            if (result.exitCode == 0)
                return true;
            problem = text("Copy failed (exit ") + QString::number(result.exitCode) + text("): ") +
                      trimmedText(result.standardError);
        } catch (const ProcessRunnerError& error) {
            problem = text("Copy failed: ") + error.description();
        }
        removeRemoteCopy();
        return fail(problem);
    }

    bool verify() {
        QString problem;
        const std::optional<ArchiveCounts> remote =
            server_.counts(remoteFolder_, cancellation_, problem);
        if (cancelledAfterCopyBegan())
            return false;
        const QString kept = text(" Remote copy kept, original untouched.");
        if (!remote)
            return fail(text("Verification failed: ") + problem + u'.' + kept);
        if (*remote != local_)
            // The remote copy stays: it may be the server's count that is wrong, and either way
            // nothing has been lost.
            return fail(text("Verification mismatch: remote reports ") + describe(*remote) +
                        text(" for files/bytes/top-level entries, local has ") + describe(local_) +
                        u'.' + kept);
        return true;
    }

    bool trashOriginal() {
        if (cancelledAfterCopyBegan())
            return false;
        if (const std::optional<QString> error = service_.trash->moveToTrash(source_).failure)
            return fail(text("Copy verified at ") + where() +
                        text(", but the original could not be moved to the Trash: ") + *error);
        return true;
    }

    // A failure of the clean-up itself changes nothing the user can act on, so it is not
    // reported. A name that could reach outside the project's folder is never removed.
    void removeRemoteCopy() {
        if (!isCleanableName(name_))
            return;
        try {
            server_.run(text("rm -rf ") + remoteQuoted(remoteFolder_), CancellationToken());
        } catch (const ProcessRunnerError&) {
        }
    }

    const SSHArchiveService& service_;
    QString source_;
    QString name_;
    const Server& server_;
    QString remotePath_;
    QString remoteFolder_;
    const ArchiveEventSink& sink_;
    const CancellationToken& cancellation_;
    ArchiveCounts local_;
};

// One restore from the server's counts to the local check; never touches the remote copy.
class RestoreRun {
public:
    RestoreRun(const QString& name, const Server& server, const QString& basePath,
               const QString& localFolder, const ArchiveEventSink& sink,
               const CancellationToken& cancellation)
        : name_(name)
        , server_(server)
        , basePath_(basePath)
        , localFolder_(Paths::absoluteStandardized(localFolder))
        , target_(Paths::joined(localFolder_, name))
        , sink_(sink)
        , cancellation_(cancellation) {}

    void run() {
        if (!checkTarget() || !askServer() || !createFolder())
            return;
        sink_(ArchiveEvent::progress(0, remote_.bytes,
                                     text("Copying ") + name_ + text(" from ") + server_.host +
                                         QChar(0x2026)));
        if (!copy())
            return;
        sink_(ArchiveEvent::verifying());
        if (!verify())
            return;
        sink_(ArchiveEvent::finished(target_));
    }

private:
    bool fail(const QString& message) {
        sink_(ArchiveEvent::failed(message));
        return false;
    }

    bool checkTarget() {
        struct stat info {};
        if (::lstat(QFile::encodeName(target_).constData(), &info) == 0)
            return fail(target_ + text(" already exists"));
        return true;
    }

    // Asked before the local folder is made, so an unreachable server leaves nothing behind.
    bool askServer() {
        QString problem;
        const std::optional<ArchiveCounts> counts =
            server_.counts(basePath_ + u'/' + name_, cancellation_, problem);
        if (cancellation_.isCancelled())
            return fail(text("Cancelled"));
        if (!counts)
            return fail(text("The archive is not reachable on ") + server_.host + text(": ") +
                        problem);
        remote_ = *counts;
        return true;
    }

    bool createFolder() {
        std::error_code error;
        std::filesystem::create_directories(QFile::encodeName(localFolder_).toStdString(), error);
        if (error)
            return fail(text("Cannot create destination: ") +
                        QString::fromStdString(error.message()));
        return true;
    }

    bool copy() {
        const QString pack =
            text("tar -C ") + remoteQuoted(basePath_) + text(" -cf - ") + remoteQuoted(name_);
        const QString pipeline = server_.sshPrefix() + u' ' + shellQuoted(pack) + text(" | ") +
                                 shellQuoted(Locations::toolPath(Tool::tar)) + text(" -C ") +
                                 shellQuoted(localFolder_) + text(" -xf -");
        const QString untouched = text(". The archived copy is untouched.");
        try {
            const ProcessResult result = server_.pipe(pipeline, cancellation_);
            if (cancellation_.isCancelled())
                return fail(text("Cancelled"));
            if (result.exitCode != 0)
                return fail(text("Copy failed (exit ") + QString::number(result.exitCode) +
                            text("): ") + trimmedText(result.standardError) + untouched);
            return true;
        } catch (const ProcessRunnerError& error) {
            return fail(text("Copy failed: ") + error.description() + untouched);
        }
    }

    bool verify() {
        std::optional<ArchiveCounts> local;
        try {
            local = ArchiveService::measure(target_, cancellation_);
        } catch (const CancelledError&) {
            return fail(text("Cancelled"));
        } catch (const std::runtime_error&) {
        }
        if (local != remote_)
            return fail(text("Verification failed: the restored copy does not match the archive. "
                             "The archived copy is untouched."));
        return true;
    }

    QString name_;
    const Server& server_;
    QString basePath_;
    QString localFolder_;
    QString target_;
    const ArchiveEventSink& sink_;
    const CancellationToken& cancellation_;
    ArchiveCounts remote_;
};

} // namespace

void SSHArchiveService::archive(const QString& source, const QString& user, const QString& host,
                                const QString& remotePath, const ArchiveEventSink& sink,
                                const CancellationToken& cancellation) const {
    const Server server{*runner, user, host};
    ArchiveRun(*this, source, server, remotePath, sink, cancellation).run();
}

void SSHArchiveService::restore(const QString& name, const QString& user, const QString& host,
                                const QString& basePath, const QString& localFolder,
                                const ArchiveEventSink& sink,
                                const CancellationToken& cancellation) const {
    const Server server{*runner, user, host};
    RestoreRun(name, server, basePath, localFolder, sink, cancellation).run();
}

QString SSHArchiveService::remoteQuoted(const QString& path) {
    const QString home = text("\"$HOME\"");
    if (path == text("~"))
        return home;
    if (path.startsWith(text("~/")))
        return home + shellQuoted(path.mid(1));
    return shellQuoted(path);
}

QString SSHArchiveService::shellQuoted(const QString& text) {
    QString quoted = text;
    quoted.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + quoted + u'\'';
}

std::optional<ArchiveCounts> SSHArchiveService::parseCounts(const QByteArray& output) {
    const QList<QByteArray> lines = output.trimmed().split('\n');
    if (lines.size() < 3)
        return std::nullopt;
    qint64 numbers[3] = {};
    for (qsizetype index = 0; index < lines.size(); ++index) {
        const QByteArray line = lines[index].trimmed();
        const qsizetype digitsFrom = line.startsWith('+') || line.startsWith('-') ? 1 : 0;
        if (line.size() == digitsFrom)
            return std::nullopt;
        for (qsizetype at = digitsFrom; at < line.size(); ++at)
            if (line[at] < '0' || line[at] > '9')
                return std::nullopt;
        bool ok = false;
        const qint64 number = line.toLongLong(&ok);
        if (!ok)
            return std::nullopt;
        if (index < 3)
            numbers[index] = number;
    }
    return ArchiveCounts{numbers[0], numbers[1], numbers[2]};
}

QString SSHArchiveService::sshFailureMessage(int exitCode, const QByteArray& standardError,
                                             const QString& user, const QString& host) {
    const QString said = trimmedText(standardError);
    if (const std::optional<QString> known = knownSshProblem(said, user + u'@' + host))
        return *known;
    return text("ssh failed (exit ") + QString::number(exitCode) + text("): ") + said;
}

QString SSHArchiveService::testConnection(const QString& user, const QString& host,
                                          const ProcessRunner& runner) {
    const QString login = user + u'@' + host;
    QString said;
    try {
        const ProcessResult result = runner.run(Locations::toolPath(Tool::ssh),
                                                {text("-o"), text("BatchMode=yes"), text("-o"),
                                                 text("ConnectTimeout=5"), login, text("echo OK")},
                                                std::nullopt, {}, 20);
        if (result.exitCode == 0)
            return text("Connected");
        said = trimmedText(result.standardError);
    } catch (const ProcessRunnerError& error) {
        said = error.description().trimmed();
    }
    if (said.isEmpty())
        said = text("no response");
    if (said.contains(text("permission denied"), Qt::CaseInsensitive))
        return text("Key auth missing. Run once in Terminal: ssh-copy-id ") + login;
    if (const std::optional<QString> known = knownSshProblem(said, login))
        return *known;
    return text("Failed: ") + said;
}

} // namespace corvane
