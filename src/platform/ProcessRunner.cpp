#include "platform/ProcessRunner.h"

#include "platform/ChildSpawn.h"
#include "platform/Paths.h"

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
using detail::openPipe;
using detail::Pipe;
using detail::setNonBlocking;
using detail::spawnChild;

// Reads what is available; returns false once the pipe is at its end.
bool drain(Descriptor& fd, QByteArray& into) {
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(fd.get(), buffer, sizeof buffer);
        if (count > 0) {
            into.append(buffer, count);
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return true;
        fd.close();
        return false;
    }
}

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

// One child from launch to reaping.
class ChildSession {
public:
    ChildSession(pid_t pid, Pipe& input, Pipe& output, Pipe& error, const QByteArray& stdinData,
                 double timeout, const CancellationToken& cancellation)
        : pid_(pid)
        , stdin_(input.write)
        , stdout_(output.read)
        , stderr_(error.read)
        , stdinData_(stdinData)
        , deadline_(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                       std::chrono::duration<double>(timeout)))
        , cancellation_(cancellation) {}

    ProcessResult runToEnd() {
        setNonBlocking(stdout_.get());
        setNonBlocking(stderr_.get());
        setNonBlocking(stdin_.get());
        if (stdinData_.isEmpty())
            stdin_.close();
        std::optional<int> status;
        while (stdout_.isOpen() || stderr_.isOpen()) {
            pollOnce();
            terminateWhenDue();
            if (status = reaped(pid_, WNOHANG); status) {
                // The child is gone; take what it left in the pipes and stop, even if a
                // grandchild still holds them open.
                if (stdout_.isOpen())
                    drain(stdout_, result_.standardOutput);
                if (stderr_.isOpen())
                    drain(stderr_, result_.standardError);
                break;
            }
        }
        stdin_.close();
        if (!status)
            status = waitForExit();
        if (timedOut_)
            throw ProcessRunnerError::timedOut();
        if (WIFSIGNALED(*status)) {
            result_.terminationSignal = WTERMSIG(*status);
            result_.exitCode = 128 + WTERMSIG(*status);
        } else {
            result_.exitCode = WEXITSTATUS(*status);
        }
        return std::move(result_);
    }

private:
    void pollOnce() {
        pollfd fds[3];
        nfds_t count = 0;
        auto add = [&](Descriptor& fd, short events) {
            if (fd.isOpen())
                fds[count++] = pollfd{fd.get(), events, 0};
        };
        add(stdout_, POLLIN);
        add(stderr_, POLLIN);
        add(stdin_, POLLOUT);
        const int ready = ::poll(fds, count, pollIntervalMs);
        if (ready <= 0)
            return;
        for (nfds_t index = 0; index < count; ++index) {
            if (fds[index].revents == 0)
                continue;
            if (fds[index].fd == stdout_.get())
                drain(stdout_, result_.standardOutput);
            else if (fds[index].fd == stderr_.get())
                drain(stderr_, result_.standardError);
            else if (fds[index].fd == stdin_.get())
                feed(stdin_, stdinData_, stdinWritten_);
        }
    }

    // The output is closed, but the child may go on (it closed its pipes and works or sleeps):
    // the time limit and cancellation still hold until it exits. Exiting usually follows the
    // closing within microseconds, so the pauses start short and grow.
    int waitForExit() {
        auto pause = std::chrono::microseconds(50);
        for (;;) {
            if (const std::optional<int> status = reaped(pid_, WNOHANG))
                return *status;
            terminateWhenDue();
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::microseconds(pollIntervalMs * 1000));
        }
    }

    // One SIGTERM, for the time limit or for cancellation; no escalation.
    void terminateWhenDue() {
        if (terminationSent_)
            return;
        const bool expired = Clock::now() >= deadline_;
        if (!expired && !cancellation_.isCancelled())
            return;
        timedOut_ = expired;
        terminationSent_ = true;
        ::kill(pid_, SIGTERM);
    }

    pid_t pid_;
    Descriptor& stdin_;
    Descriptor& stdout_;
    Descriptor& stderr_;
    const QByteArray& stdinData_;
    qsizetype stdinWritten_ = 0;
    Clock::time_point deadline_;
    CancellationToken cancellation_;
    bool terminationSent_ = false;
    bool timedOut_ = false;
    ProcessResult result_;
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
    ChildSession child(pid, input, output, error, call.stdinData ? *call.stdinData : noInput,
                       call.timeout, call.cancellation);
    return child.runToEnd();
}

QString ProcessRunner::toolSearchPath(const QString& executable) {
    return Paths::parentPath(executable) +
           QStringLiteral(":/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin");
}

} // namespace corvane
