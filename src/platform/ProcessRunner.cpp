#include "platform/ProcessRunner.h"

#include "platform/ChildSpawn.h"
#include "platform/Paths.h"

#include <QScopeGuard>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace corvane {
namespace {

using Clock = std::chrono::steady_clock;

// How often a waiting call looks at its cancellation token and the clock when the child is quiet.
constexpr int pollIntervalMs = 50;

using detail::Descriptor;
using detail::errorText;
using detail::ignoreBrokenPipesOnce;
using detail::LiveGroups;
using detail::openPipe;
using detail::Pipe;
using detail::setNonBlocking;
using detail::spawnChild;

// One output pipe of the child: what was read, and the line not yet ended.
struct OutputStream {
    Descriptor fd;
    QByteArray data;
    QByteArray unfinished;
    bool overflowed = false;
};

// Writes what the pipe accepts; closes the pipe when all is written or the child stopped reading.
void feed(Descriptor& fd, const QByteArray& data, qsizetype& written) {
    while (written < data.size()) {
        const ssize_t count = ::write(fd.get(), data.constData() + written,
                                      static_cast<size_t>(data.size() - written));
        if (count > 0) {
            written += count;
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return;
        break; // EPIPE and other errors: the child no longer reads, which is its business.
    }
    fd.close();
}

// The child's wait status once it has exited, or nothing while it runs. A child that someone
// else reaped (SIGCHLD ignored by the whole program) counts as exited with status 255, so no
// caller mistakes it for success.
std::optional<int> reaped(pid_t pid, int options) {
    int status = 0;
    pid_t result;
    do {
        result = ::waitpid(pid, &status, options);
    } while (result < 0 && errno == EINTR);
    if (result == pid)
        return status;
    if (result < 0)
        return 255 << 8;
    return std::nullopt;
}

Clock::duration seconds(double value) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(value));
}

// One child from launch to reaping.
class ChildSession {
public:
    ChildSession(pid_t pid, Pipe& input, Pipe& output, Pipe& error, const QByteArray& stdinData,
                 const ProcessRunner::Call& call)
        : pid_(pid)
        , stdin_(input.write)
        , stdinData_(stdinData)
        , deadline_(Clock::now() + seconds(call.timeout))
        , cancellation_(call.cancellation)
        , onLine_(call.onLine) {
        stdout_.fd.reset(output.read.release());
        stderr_.fd.reset(error.read.release());
    }

    ProcessResult runToEnd() {
        LiveGroups::instance().add(pid_);
        // Forgotten once the call ends: a reaped child's id may be given to another process.
        const auto forget = qScopeGuard([this] { LiveGroups::instance().remove(pid_); });
        setNonBlocking(stdout_.fd.get());
        setNonBlocking(stderr_.fd.get());
        setNonBlocking(stdin_.get());
        if (stdinData_.isEmpty())
            stdin_.close();
        std::optional<int> status;
        while (stdout_.fd.isOpen() || stderr_.fd.isOpen()) {
            pollOnce();
            stopWhenDue();
            if (status = reaped(pid_, WNOHANG); status) {
                // The child is gone; take what it left in the pipes and stop, even if a
                // grandchild still holds them open.
                drain(stdout_);
                drain(stderr_);
                break;
            }
        }
        stdin_.close();
        if (!status)
            status = waitForExit();
        finishLines(stdout_);
        finishLines(stderr_);
        if (stdout_.overflowed || stderr_.overflowed)
            throw ProcessRunnerError::outputTooLarge();
        if (timedOut_)
            throw ProcessRunnerError::timedOut();
        return resultFor(*status);
    }

private:
    ProcessResult resultFor(int status) {
        ProcessResult result;
        result.standardOutput = std::move(stdout_.data);
        result.standardError = std::move(stderr_.data);
        if (WIFSIGNALED(status)) {
            result.terminationSignal = WTERMSIG(status);
            result.exitCode = 128 + WTERMSIG(status);
        } else {
            result.exitCode = WEXITSTATUS(status);
        }
        return result;
    }

    void pollOnce() {
        pollfd fds[3];
        nfds_t count = 0;
        auto add = [&](Descriptor& fd, short events) {
            if (fd.isOpen())
                fds[count++] = pollfd{fd.get(), events, 0};
        };
        add(stdout_.fd, POLLIN);
        add(stderr_.fd, POLLIN);
        add(stdin_, POLLOUT);
        const int ready = ::poll(fds, count, pollIntervalMs);
        if (ready <= 0)
            return;
        for (nfds_t index = 0; index < count; ++index) {
            if (fds[index].revents == 0)
                continue;
            if (fds[index].fd == stdout_.fd.get())
                drain(stdout_);
            else if (fds[index].fd == stderr_.fd.get())
                drain(stderr_);
            else if (fds[index].fd == stdin_.get())
                feed(stdin_, stdinData_, stdinWritten_);
        }
    }

    // Reads what is available, up to the cap; closes the pipe at its end or past the cap.
    void drain(OutputStream& stream) {
        char buffer[65536];
        while (stream.fd.isOpen()) {
            const ssize_t count = ::read(stream.fd.get(), buffer, sizeof buffer);
            if (count > 0) {
                take(stream, QByteArrayView(buffer, count));
                continue;
            }
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
                return;
            stream.fd.close();
        }
    }

    void take(OutputStream& stream, QByteArrayView bytes) {
        if (stream.data.size() + bytes.size() > ProcessRunner::outputCap) {
            // A tool that floods would fill the memory; the rest is not read, and closing the
            // pipe also stops a child that ignores the signals at its next write.
            stream.overflowed = true;
            stream.fd.close();
            requestTermination();
            return;
        }
        stream.data.append(bytes);
        if (!onLine_)
            return;
        stream.unfinished.append(bytes);
        for (qsizetype end = stream.unfinished.indexOf('\n'); end >= 0;
             end = stream.unfinished.indexOf('\n')) {
            hand(stream.unfinished.left(end), true);
            stream.unfinished.remove(0, end + 1);
        }
        if (!stream.unfinished.isEmpty())
            hand(stream.unfinished, false);
    }

    // What is left of a line once the stream has ended counts as a line of its own.
    void finishLines(OutputStream& stream) {
        if (onLine_ && !stream.unfinished.isEmpty())
            hand(stream.unfinished, true);
        stream.unfinished.clear();
    }

    void hand(QByteArray bytes, bool isComplete) {
        if (bytes.endsWith('\r'))
            bytes.chop(1);
        if (!onLine_(QString::fromUtf8(bytes), isComplete))
            killGroup();
    }

    // The output is closed, but the child may go on (it closed its pipes and works or sleeps):
    // the time limit and cancellation still hold until it exits. Exiting usually follows the
    // closing within microseconds, so the pauses start short and grow.
    int waitForExit() {
        auto pause = std::chrono::microseconds(50);
        for (;;) {
            if (const std::optional<int> status = reaped(pid_, WNOHANG))
                return *status;
            stopWhenDue();
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::microseconds(pollIntervalMs * 1000));
        }
    }

    // SIGTERM for the time limit or cancellation; SIGKILL to the whole group after the grace: a
    // child that ignores SIGTERM must not hold the caller, nor leave its own children running.
    void stopWhenDue() {
        if (killed_)
            return;
        if (terminationSentAt_) {
            if (Clock::now() >= *terminationSentAt_ + seconds(ProcessRunner::terminationGrace))
                killGroup();
            return;
        }
        const bool expired = Clock::now() >= deadline_;
        if (!expired && !cancellation_.isCancelled())
            return;
        timedOut_ = expired;
        requestTermination();
    }

    void requestTermination() {
        if (terminationSentAt_ || killed_)
            return;
        terminationSentAt_ = Clock::now();
        signalGroup(SIGTERM);
    }

    void killGroup() {
        if (killed_)
            return;
        killed_ = true;
        signalGroup(SIGKILL);
    }

    // The group has the child's id; the child itself is named too in case it left the group.
    void signalGroup(int signal) const {
        ::kill(-pid_, signal);
        ::kill(pid_, signal);
    }

    pid_t pid_;
    Descriptor& stdin_;
    OutputStream stdout_;
    OutputStream stderr_;
    const QByteArray& stdinData_;
    qsizetype stdinWritten_ = 0;
    Clock::time_point deadline_;
    CancellationToken cancellation_;
    const ProcessRunner::LineCallback& onLine_;
    std::optional<Clock::time_point> terminationSentAt_;
    bool killed_ = false;
    bool timedOut_ = false;
};

} // namespace

const ProcessRunner& ProcessRunner::system() {
    static const ProcessRunner runner;
    return runner;
}

ProcessResult ProcessRunner::execute(const Call& call) const {
    ignoreBrokenPipesOnce();
    Pipe input;
    Pipe output;
    Pipe error;
    if (!openPipe(input) || !openPipe(output) || !openPipe(error))
        throw ProcessRunnerError::launchFailed(errorText(errno));

    const pid_t pid = spawnChild(call.executable, call.arguments, call.environmentOverrides, input,
                                 output, error);
    // Only the child keeps these ends; our copies would hide the end of its output.
    input.read.close();
    output.write.close();
    error.write.close();

    const QByteArray noInput;
    ChildSession child(pid, input, output, error, call.stdinData ? *call.stdinData : noInput, call);
    return child.runToEnd();
}

std::variant<ProcessResult, QString>
ProcessRunner::attempt(const QString& label, const QString& executable,
                       const QStringList& arguments, double timeout,
                       const CancellationToken& cancellation) const {
    try {
        return run(executable, arguments, std::nullopt, {}, timeout, cancellation);
    } catch (const ProcessRunnerError& error) {
        return label + QStringLiteral(" could not run: ") + error.message();
    }
}

QString ProcessRunner::failureText(const QString& label, const ProcessResult& result) {
    const QString said = QString::fromUtf8(result.standardError).trimmed().section(u'\n', 0, 0);
    return QStringLiteral("%1 failed (exit %2)%3")
        .arg(label)
        .arg(result.exitCode)
        .arg(said.isEmpty() ? QString() : QStringLiteral(": ") + said.left(160));
}

QString ProcessRunner::toolSearchPath(const QString& executable) {
    return Paths::parentPath(executable) +
           QStringLiteral(":/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin");
}

} // namespace corvane
