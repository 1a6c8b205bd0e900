#include "archive/SSHArchiveService.h"

#include "archive/RemoteTree.h"
#include "archive/SshLogin.h"
#include "archive/TreeManifest.h"
#include "platform/InputLimits.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"
#include "platform/ProcessPipeline.h"
#include "platform/ShellWords.h"

#include <QFile>
#include <QFileInfo>
#include <filesystem>
#include <future>
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

QString trimmedText(const QByteArray& bytes) {
    return QString::fromUtf8(bytes).trimmed();
}

// The same words for a failed ssh call and for a failed test of a destination.
std::optional<QString> knownSshProblem(const QString& standardError, const QString& login) {
    if (standardError.contains(text("permission denied"), Qt::CaseInsensitive))
        return text("SSH key authentication is not set up for ") + login +
               text(". Run: ssh-copy-id ") + login;
    if (standardError.contains(text("no route to host"), Qt::CaseInsensitive))
        return PlatformWords::here().noRouteToHost;
    return std::nullopt;
}

QString describe(const ArchiveCounts& counts) {
    return QString::number(counts.files) + u'/' + QString::number(counts.bytes) + u'/' +
           QString::number(counts.topLevelEntries);
}

const QString marker = QString::fromLatin1(ArchiveService::partialMarker);

// Creates the project's folder on the server (failing when anything is there: the folder is this
// run's own) with the marker in it, then unpacks the stream into it.
QString unpackCommand(const QString& remotePath, const QString& remoteFolder) {
    return text("mkdir -p -- ") + remoteQuoted(remotePath) + text(" && mkdir -- ") +
           remoteQuoted(remoteFolder) +
           text(" && echo 'A copy by Corvane Clean that is not "
                "known to be whole yet.' > ") +
           remoteQuoted(remoteFolder + u'/' + marker) + text(" && tar -C ") +
           remoteQuoted(remotePath) + text(" -xf -");
}

// Removes the folder only when it holds the marker: only a folder a run of ours created.
QString removePartialCommand(const QString& remoteFolder) {
    return text("if [ -f ") + remoteQuoted(remoteFolder + u'/' + marker) +
           text(" ]; then rm -rf -- ") + remoteQuoted(remoteFolder) + text("; fi");
}

// GNU tar keeps holes only when asked; bsdtar, a Mac's tar, finds them by itself.
QStringList localSparseOption() {
#ifdef Q_OS_MACOS
    return {};
#else
    return {text("--sparse")};
#endif
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

    // The login is checked again before it is used: a saved list can be edited by hand.
    std::optional<QString> loginProblem() const { return SshLogin::problem(user, host); }

    // ssh's arguments up to the remote command; "--" keeps the login an operand.
    QStringList sshArguments() const { return sshOptions() << text("--") << login(); }

    // Runs `command` on the server; throws ProcessRunnerError.
    ProcessResult run(const QString& command, const CancellationToken& cancellation) const {
        return runner.run(Locations::toolPath(Tool::ssh), sshArguments() << command, std::nullopt,
                          {}, remoteCommandTimeout, cancellation);
    }

    // Runs a copy, every stage's status kept; throws ProcessRunnerError.
    PipelineResult pipe(const std::vector<PipelineStage>& stages,
                        const CancellationToken& cancellation) const {
        // No extended-attribute side files ("._name") in the tar stream of a Mac.
        const QHash<QString, QString> environment{{text("COPYFILE_DISABLE"), text("1")}};
        return ProcessPipeline::run(stages, environment, copyTimeout, cancellation);
    }

    PipelineStage sshStage(const QString& command) const {
        return {Locations::toolPath(Tool::ssh), sshArguments() << command};
    }

    QString failureOf(const ProcessResult& result) const {
        return SSHArchiveService::sshFailureMessage(result.exitCode, result.standardError, user,
                                                    host);
    }

    // Runs `command` and returns its output, or nothing with `problem` set.
    std::optional<QByteArray> answer(const QString& command, const CancellationToken& cancellation,
                                     QString& problem) const {
        try {
            const ProcessResult result = run(command, cancellation);
            if (result.exitCode == 0)
                return result.standardOutput;
            problem = failureOf(result);
        } catch (const ProcessRunnerError& error) {
            problem = error.description();
        }
        return std::nullopt;
    }

    // The state of `remoteFolder` ("READY", "EXISTS", "PARTIAL" or "MISSING" when `mustExist`)
    // and the tools of the server, from one call; `prepare` runs first.
    std::optional<std::pair<QByteArray, RemoteTools>> probe(const QString& prepare,
                                                            const QString& remoteFolder,
                                                            const CancellationToken& cancellation,
                                                            QString& problem) const {
        const QString folder = remoteQuoted(remoteFolder);
        const QString command =
            prepare + text("{ if [ -f ") + remoteQuoted(remoteFolder + u'/' + marker) +
            text(" ]; then echo PARTIAL; elif [ -e ") + folder + text(" ] || [ -h ") + folder +
            text(" ]; then echo EXISTS; else echo READY; fi; ") + RemoteTree::toolsProbe() +
            text("; }");
        const std::optional<QByteArray> output = answer(command, cancellation, problem);
        if (!output)
            return std::nullopt;
        const QList<QByteArray> lines = output->split('\n');
        const QByteArray state = lines.value(0).trimmed();
        if (state != "READY" && state != "EXISTS" && state != "PARTIAL") {
            problem = text("unexpected answer from the server");
            return std::nullopt;
        }
        return std::pair(state, RemoteTree::parseTools(lines.value(1), lines.value(2)));
    }

    // The manifest of `remoteFolder` with the server's digests, or nothing with `problem` set.
    std::optional<TreeManifest> manifest(const QString& remoteFolder, const RemoteTools& tools,
                                         const CancellationToken& cancellation,
                                         QString& problem) const {
        const std::optional<QByteArray> output =
            answer(text("cd -- ") + remoteQuoted(remoteFolder) + text(" && ") +
                       RemoteTree::manifestCommand(tools),
                   cancellation, problem);
        if (!output)
            return std::nullopt;
        QString refused;
        std::optional<TreeManifest> manifest = RemoteTree::parseManifest(*output, &refused);
        if (!manifest)
            problem = refused.isEmpty()
                          ? text("unexpected answer from the server")
                          : InputLimits::refusal(text("the server's listing of ") + remoteFolder,
                                                 refused);
        return manifest;
    }

    // The server's counts of `remoteFolder`, or nothing with `problem` set.
    std::optional<ArchiveCounts> counts(const QString& remoteFolder,
                                        const CancellationToken& cancellation,
                                        QString& problem) const {
        const std::optional<QByteArray> output = answer(
            text("cd -- ") + remoteQuoted(remoteFolder) + text(" && ") + RemoteTree::countCommand(),
            cancellation, problem);
        if (!output)
            return std::nullopt;
        const std::optional<ArchiveCounts> counts = SSHArchiveService::parseCounts(*output);
        if (!counts)
            problem = text("unexpected answer from the server");
        return counts;
    }

    // Removes the partial copy at `remoteFolder` if it is one of ours; whether it is gone.
    bool removePartial(const QString& remoteFolder) const {
        try {
            return run(removePartialCommand(remoteFolder), CancellationToken()).exitCode == 0;
        } catch (const ProcessRunnerError&) {
            return false;
        }
    }
};

// Why a copy is not whole, from the first stage that did not end well: its exit status and what
// it said (tar's "file changed as we read it" is exit 1: the stream is complete but not a copy
// of one moment).
QString copyProblem(const PipelineResult& result, const std::vector<PipelineStage>& stages,
                    const Server& server, int sshStage) {
    // A stage that failed because a later one stopped reading (a broken pipe) says nothing; the
    // one that says why comes first.
    int failed = result.firstFailedStage();
    for (size_t index = 0; index < result.stages.size(); ++index) {
        if (result.stages[index].exitCode != 0 &&
            !result.stages[index].standardError.trimmed().isEmpty()) {
            failed = int(index);
            break;
        }
    }
    const StageResult& stage = result.stages[size_t(failed)];
    const QString said = trimmedText(stage.standardError);
    const QString program = Paths::lastComponent(stages[size_t(failed)].executable);
    if (failed == sshStage) {
        ProcessResult asRun{stage.exitCode, {}, stage.standardError, stage.terminationSignal};
        const QString mapped = server.failureOf(asRun);
        if (!mapped.startsWith(text("ssh failed")))
            return mapped;
    }
    return text("Copy failed (exit ") + QString::number(stage.exitCode) + text("): ") +
           (said.isEmpty() ? program + text(" ended without saying why") : said);
}

// The digests of a local folder, worked out while the server works out its own.
class LocalDigests {
public:
    LocalDigests(const QString& folder, DigestAlgorithm algorithm, const QByteArray& skip,
                 const CancellationToken& cancellation)
        : future_(std::async(std::launch::async, [=] {
            return TreeManifest::read(folder, TreeManifest::Read::digests, algorithm, cancellation,
                                      skip);
        })) {}

    // Throws what reading threw.
    TreeManifest get() { return future_.get(); }

private:
    std::future<TreeManifest> future_;
};

// What a verification found: nothing wrong, or the problem in words.
struct Checked {
    std::optional<QString> problem;
    Verification by = Verification::content;
};

// Compares the copy at one end with the tree at the other: by digests when the server has a tool
// for them, else by counting.
Checked compare(const Server& server, const RemoteTools& tools, const QString& remoteFolder,
                const QString& localFolder, const QByteArray& localSkip,
                const CancellationToken& cancellation) {
    Checked checked;
    QString problem;
    try {
        if (tools.canDigest()) {
            LocalDigests local(localFolder, tools.algorithm, localSkip, cancellation);
            const std::optional<TreeManifest> remote =
                server.manifest(remoteFolder, tools, cancellation, problem);
            const TreeManifest mine = local.get();
            if (!remote)
                checked.problem = problem;
            else
                checked.problem = mine.differenceIn(*remote, TreeManifest::Compare::content);
            return checked;
        }
        checked.by = Verification::count;
        const ArchiveCounts mine = ArchiveService::measure(localFolder, cancellation);
        const std::optional<ArchiveCounts> remote =
            server.counts(remoteFolder, cancellation, problem);
        ArchiveCounts local = mine;
        // The local side's marker (a restore in progress) is not part of the copy.
        if (!localSkip.isEmpty() && ArchiveService::hasMarker(localFolder)) {
            --local.topLevelEntries;
            --local.files;
            local.bytes -= QFileInfo(localFolder + u'/' + marker).size();
        }
        if (!remote)
            checked.problem = problem;
        else if (*remote != local)
            checked.problem = text("the server counts ") + describe(*remote) +
                              text(" files/bytes/top-level entries, here there are ") +
                              describe(local);
    } catch (const CancelledError&) {
        checked.problem = text("Cancelled");
    } catch (const std::exception& error) {
        checked.problem = QString::fromLocal8Bit(error.what());
    }
    return checked;
}

QString verifiedText(Verification by) {
    return by == Verification::content ? text("by content") : text("by counting");
}

// One archive from measuring to trashing; each step sends its own failure and returns false.
class ArchiveRun {
public:
    ArchiveRun(const SSHArchiveService& service, const QString& source, const Server& server,
               const QString& remotePath, const ArchiveEventSink& sink,
               const CancellationToken& cancellation, const ArchiveOptions& options)
        : service_(service)
        , source_(Paths::absoluteStandardized(source))
        , name_(Paths::lastComponent(source_))
        , server_(server)
        , remotePath_(remotePath)
        , remoteFolder_(remotePath + u'/' + name_)
        , sink_(sink)
        , cancellation_(cancellation)
        , options_(options) {}

    void run() {
        if (const std::optional<QString> problem = server_.loginProblem()) {
            fail(*problem);
            return;
        }
        if (const std::optional<QString> kept = ArchiveService::keepRefusal(source_)) {
            fail(*kept);
            return;
        }
        if (!measure() || !probe())
            return;
        sink_(ArchiveEvent::progress(0, local_.bytes,
                                     text("Copying ") + name_ + text(" over SSH to ") +
                                         server_.host + QChar(0x2026)));
        if (!copy())
            return;
        sink_(ArchiveEvent::verifying());
        if (!verify() || !unmark() || !trashOriginal())
            return;
        sink_(ArchiveEvent::finished(where(), verifiedBy_));
    }

private:
    QString where() const { return server_.login() + u':' + remotePath_ + u'/' + name_; }

    bool fail(const QString& message) {
        sink_(ArchiveEvent::failed(message));
        return false;
    }

    // What became of the partial copy on the server, as the end of a message.
    QString removedRemoteCopy() const {
        if (!isCleanableName(name_) || !server_.removePartial(remoteFolder_))
            return text(" A partial copy may be left at ") + where() + text("; delete it there.");
        return text(" The partial copy on the server was removed.");
    }

    // Once the copy has begun, a cancel takes the remote copy away again.
    bool cancelledAfterCopyBegan() {
        if (!cancellation_.isCancelled())
            return false;
        const QString removed = removedRemoteCopy();
        fail(text("Cancelled") +
             (removed.startsWith(text(" The partial copy on the server was removed")) ? QString()
                                                                                      : removed));
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
        const QString prefix = text("Cannot create destination: ");
        QString problem;
        const auto probed =
            server_.probe(text("mkdir -p -- ") + remoteQuoted(remotePath_) + text(" && "),
                          remoteFolder_, cancellation_, problem);
        if (cancellation_.isCancelled())
            return fail(text("Cancelled"));
        if (!probed)
            return fail(prefix + problem);
        tools_ = probed->second;
        if (probed->first == "EXISTS")
            return fail(where() + text(" already exists"));
        if (probed->first == "PARTIAL") {
            if (!options_.removeInterruptedCopy) {
                sink_(
                    ArchiveEvent::failed(ArchiveService::interruptedCopyMessage(where()), where()));
                return false;
            }
            if (!isCleanableName(name_) || !server_.removePartial(remoteFolder_))
                return fail(text("The partial copy at ") + where() +
                            text(" could not be removed."));
        }
        return true;
    }

    bool copy() {
        // Archived relative to its parent, so that it unpacks as remotePath/name.
        const std::vector<PipelineStage> stages{
            {Locations::toolPath(Tool::tar),
             localSparseOption() << text("-C") << Paths::parentPath(source_) << text("-cf")
                                 << text("-") << text("--") << name_},
            server_.sshStage(unpackCommand(remotePath_, remoteFolder_))};
        QString problem;
        try {
            const PipelineResult result = server_.pipe(stages, cancellation_);
            if (cancelledAfterCopyBegan())
                return false;
            if (result.firstFailedStage() < 0)
                return true;
            problem = copyProblem(result, stages, server_, 1);
        } catch (const ProcessRunnerError& error) {
            problem = text("Copy failed: ") + error.description();
        }
        return fail(problem + removedRemoteCopy() + text(" Original untouched."));
    }

    bool verify() {
        const Checked checked = compare(server_, tools_, remoteFolder_, source_, {}, cancellation_);
        if (cancelledAfterCopyBegan())
            return false;
        verifiedBy_ = checked.by;
        if (!checked.problem)
            return true;
        return fail(text("Verification failed (") + verifiedText(checked.by) + text("): ") +
                    *checked.problem + u'.' + removedRemoteCopy() + text(" Original untouched."));
    }

    // The copy is whole: the marker goes, so nothing takes it for an interrupted one.
    bool unmark() {
        QString problem;
        if (server_.answer(text("rm -f -- ") + remoteQuoted(remoteFolder_ + u'/' + marker),
                           CancellationToken(), problem))
            return true;
        return fail(text("Copy verified at ") + where() + text(", but its marker ") + marker +
                    text(" could not be removed: ") + problem + text(". Original untouched."));
    }

    bool trashOriginal() {
        if (const std::optional<QString> error =
                ArchiveService::trashOriginal(source_, *service_.trash))
            return fail(text("Copy verified at ") + where() +
                        text(", but the original could not be moved to the Trash: ") + *error);
        return true;
    }

    const SSHArchiveService& service_;
    QString source_;
    QString name_;
    const Server& server_;
    QString remotePath_;
    QString remoteFolder_;
    const ArchiveEventSink& sink_;
    const CancellationToken& cancellation_;
    const ArchiveOptions options_;
    ArchiveCounts local_;
    RemoteTools tools_;
    Verification verifiedBy_ = Verification::content;
};

// One restore from the server's tools to the local check; never touches the remote copy.
class RestoreRun {
public:
    RestoreRun(const SSHArchiveService& service, const QString& name, const Server& server,
               const QString& basePath, const QString& localFolder, const ArchiveEventSink& sink,
               const CancellationToken& cancellation, const ArchiveOptions& options)
        : service_(service)
        , name_(name)
        , server_(server)
        , basePath_(basePath)
        , localFolder_(Paths::absoluteStandardized(localFolder))
        , target_(Paths::joined(localFolder_, name))
        , sink_(sink)
        , cancellation_(cancellation)
        , options_(options) {}

    void run() {
        if (const std::optional<QString> problem = server_.loginProblem()) {
            fail(*problem);
            return;
        }
        if (!isCleanableName(name_)) {
            fail(text("\"") + name_ + text("\" is not the name of a folder"));
            return;
        }
        if (!checkTarget() || !askServer() || !createFolder())
            return;
        sink_(ArchiveEvent::progress(0, remote_.bytes,
                                     text("Copying ") + name_ + text(" from ") + server_.host +
                                         QChar(0x2026)));
        if (!copy())
            return;
        sink_(ArchiveEvent::verifying());
        if (!verify() || !unmark())
            return;
        sink_(ArchiveEvent::finished(target_, verifiedBy_));
    }

private:
    bool fail(const QString& message) {
        sink_(ArchiveEvent::failed(message));
        return false;
    }

    bool checkTarget() {
        if (ArchiveService::hasMarker(target_)) {
            if (!options_.removeInterruptedCopy) {
                sink_(
                    ArchiveEvent::failed(ArchiveService::interruptedCopyMessage(target_), target_));
                return false;
            }
            if (const std::optional<QString> problem = service_.trash->moveToTrash(target_).failure)
                return fail(text("The partial copy at ") + target_ +
                            text(" could not be moved to the Trash: ") + *problem);
        }
        struct stat info {};
        if (::lstat(QFile::encodeName(target_).constData(), &info) == 0)
            return fail(target_ + text(" already exists"));
        return true;
    }

    // Asked before the local folder is made, so an unreachable server leaves nothing behind.
    bool askServer() {
        QString problem;
        const QString folder = basePath_ + u'/' + name_;
        const auto probed = server_.probe(text("cd -- ") + remoteQuoted(folder) + text(" && "),
                                          folder, cancellation_, problem);
        std::optional<ArchiveCounts> counts;
        if (probed && probed->first == "PARTIAL")
            return fail(text("The archived copy at ") + server_.login() + u':' + folder +
                        text(" is a partial copy from an interrupted archive; it cannot be "
                             "restored."));
        if (probed)
            counts = server_.counts(folder, cancellation_, problem);
        if (cancellation_.isCancelled())
            return fail(text("Cancelled"));
        if (!counts)
            return fail(text("The archive is not reachable on ") + server_.host + text(": ") +
                        problem);
        tools_ = probed->second;
        remote_ = *counts;
        return true;
    }

    bool createFolder() {
        std::error_code error;
        std::filesystem::create_directories(QFile::encodeName(localFolder_).toStdString(), error);
        if (!error && ::mkdir(QFile::encodeName(target_).constData(), 0700) != 0)
            error = std::error_code(errno, std::generic_category());
        if (error)
            return fail(text("Cannot create destination: ") +
                        QString::fromStdString(error.message()));
        try {
            ArchiveService::writeMarker(QFile::encodeName(target_));
        } catch (const std::exception& problem) {
            return fail(text("Cannot create destination: ") +
                        QString::fromLocal8Bit(problem.what()) + cleanedUp());
        }
        return true;
    }

    bool copy() {
        QStringList pack{text("tar")};
        if (tools_.gnuTar)
            pack << text("--sparse");
        pack << text("-C") << remoteQuoted(basePath_) << text("-cf - --") << remoteQuoted(name_);
        const std::vector<PipelineStage> stages{
            server_.sshStage(pack.join(u' ')),
            {Locations::toolPath(Tool::tar), {text("-C"), localFolder_, text("-xf"), text("-")}}};
        QString problem;
        try {
            const PipelineResult result = server_.pipe(stages, cancellation_);
            if (cancellation_.isCancelled())
                return fail(text("Cancelled") + cleanedUp());
            if (result.firstFailedStage() < 0)
                return true;
            problem = copyProblem(result, stages, server_, 0);
        } catch (const ProcessRunnerError& error) {
            problem = text("Copy failed: ") + error.description();
        }
        return fail(problem + cleanedUp() + text(" The archived copy is untouched."));
    }

    bool verify() {
        const Checked checked = compare(server_, tools_, basePath_ + u'/' + name_, target_,
                                        ArchiveService::partialMarker, cancellation_);
        if (cancellation_.isCancelled())
            return fail(text("Cancelled") + cleanedUp());
        verifiedBy_ = checked.by;
        if (!checked.problem)
            return true;
        return fail(text("Verification failed (") + verifiedText(checked.by) + text("): ") +
                    *checked.problem + u'.' + cleanedUp() +
                    text(" The archived copy is untouched."));
    }

    bool unmark() {
        const QByteArray path = QFile::encodeName(target_ + u'/' + marker);
        if (::unlink(path.constData()) == 0)
            return true;
        return fail(text("The restored copy at ") + target_ +
                    text(" was verified, but its marker ") + marker +
                    text(" could not be removed: ") + QString::fromLocal8Bit(std::strerror(errno)));
    }

    // The partial copy goes to the Trash, as a local restore's does; the end of the message.
    QString cleanedUp() const {
        if (!service_.trash->moveToTrash(target_).failure)
            return text(" The partial copy was moved to the Trash.");
        return text(" A partial copy was left at ") + target_ + text("; delete it manually.");
    }

    const SSHArchiveService& service_;
    QString name_;
    const Server& server_;
    QString basePath_;
    QString localFolder_;
    QString target_;
    const ArchiveEventSink& sink_;
    const CancellationToken& cancellation_;
    const ArchiveOptions options_;
    ArchiveCounts remote_;
    RemoteTools tools_;
    Verification verifiedBy_ = Verification::content;
};

} // namespace

void SSHArchiveService::archive(const QString& source, const QString& user, const QString& host,
                                const QString& remotePath, const ArchiveEventSink& sink,
                                const CancellationToken& cancellation,
                                const ArchiveOptions& options) const {
    const Server server{*runner, user, host};
    ArchiveRun(*this, source, server, remotePath, sink, cancellation, options).run();
}

void SSHArchiveService::restore(const QString& name, const QString& user, const QString& host,
                                const QString& basePath, const QString& localFolder,
                                const ArchiveEventSink& sink, const CancellationToken& cancellation,
                                const ArchiveOptions& options) const {
    const Server server{*runner, user, host};
    RestoreRun(*this, name, server, basePath, localFolder, sink, cancellation, options).run();
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
    return corvane::shellQuoted(text);
}

std::optional<ArchiveCounts> SSHArchiveService::parseCounts(const QByteArray& output) {
    // Exactly the three lines the count command prints; a fourth is not ours to ignore.
    const QList<QByteArray> lines = output.trimmed().split('\n');
    if (lines.size() != 3)
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
        // No count is below zero: "-8" bytes would make a short copy look whole.
        if (!ok || number < 0)
            return std::nullopt;
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
    if (const std::optional<QString> problem = SshLogin::problem(user, host))
        return text("Failed: ") + *problem;
    QString said;
    try {
        const ProcessResult result =
            runner.run(Locations::toolPath(Tool::ssh),
                       {text("-o"), text("BatchMode=yes"), text("-o"), text("ConnectTimeout=5"),
                        text("--"), login, text("echo OK")},
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
        return text("Key auth missing. Run once in ") + PlatformWords::here().terminal +
               text(": ssh-copy-id ") + login;
    if (const std::optional<QString> known = knownSshProblem(said, login))
        return *known;
    return text("Failed: ") + said;
}

} // namespace corvane
