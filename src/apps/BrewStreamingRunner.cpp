#include "apps/BrewStreamingRunner.h"

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
#include <unistd.h>
#include <vector>

extern char** environ;

namespace corvane {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int pollIntervalMs = 50;
// Longer than the longest marker, so a prompt split across reads is still seen whole.
constexpr qsizetype detectionTailLength = 64;

enum class StopReason { none, cancelled, password, timeout };

void ignoreBrokenPipesOnce() {
    static std::once_flag once;
    std::call_once(once, [] { std::signal(SIGPIPE, SIG_IGN); });
}

// One output pipe of the child and what has been read from it.
struct Stream {
    int fd = -1;
    QByteArray data;
    QByteArray pending;
    QByteArray detectionTail;

    bool isOpen() const { return fd >= 0; }
    void close() {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
};

// The inherited environment without SUDO_ASKPASS (sudo would run it and wait for a password in
// a window we do not control), with brew's folder first on PATH and brew told to keep quiet.
std::vector<QByteArray> brewEnvironment(const QString& brew) {
    const QList<QByteArray> replaced{"SUDO_ASKPASS",          "PATH",
                                     "HOMEBREW_NO_ENV_HINTS", "HOMEBREW_NO_COLOR",
                                     "NONINTERACTIVE",        "HOMEBREW_NO_AUTO_UPDATE"};
    std::vector<QByteArray> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        const QByteArray text(*entry);
        if (!replaced.contains(text.left(text.indexOf('='))))
            entries.push_back(text);
    }
    entries.push_back("PATH=" + Paths::parentPath(brew).toLocal8Bit() +
                      ":/usr/bin:/bin:/usr/sbin:/sbin");
    for (const char* name : {"HOMEBREW_NO_ENV_HINTS", "HOMEBREW_NO_COLOR", "NONINTERACTIVE",
                             "HOMEBREW_NO_AUTO_UPDATE"})
        entries.push_back(QByteArray(name) + "=1");
    return entries;
}

std::vector<char*> pointersTo(std::vector<QByteArray>& strings) {
    std::vector<char*> pointers;
    for (QByteArray& text : strings)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

class Session {
public:
    Session(const QStringList& arguments, double timeout, const CancellationToken& cancellation,
            const BrewStreamingRunner::LineHandler& onLine)
        : arguments_(arguments)
        , timeout_(timeout)
        , deadline_(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                       std::chrono::duration<double>(timeout)))
        , cancellation_(cancellation)
        , onLine_(onLine) {}

    ~Session() {
        out_.close();
        err_.close();
    }

    BrewStreamingRunner::Result run(const QString& brew) {
        if (const std::optional<QString> problem = spawn(brew))
            return {BrewError::failed(*problem), {}};
        std::optional<int> status;
        while (!status) {
            pollOnce();
            stopWhenDue();
            status = reap(WNOHANG);
            // Once the output is closed, wait for the exit itself without spinning.
            if (!status && !out_.isOpen() && !err_.isOpen()) {
                ::poll(nullptr, 0, 10);
            }
        }
        // The child is gone: take what is left, even if a grandchild still holds a pipe.
        for (Stream* stream : {&out_, &err_}) {
            if (stream->isOpen())
                readFrom(*stream);
            flushPending(*stream);
            stream->close();
        }
        return {errorFor(*status), out_.data};
    }

private:
    std::optional<QString> spawn(const QString& brew) {
        int outFds[2];
        int errFds[2];
        if (::pipe(outFds) != 0)
            return QString::fromLocal8Bit(std::strerror(errno));
        if (::pipe(errFds) != 0) {
            ::close(outFds[0]);
            ::close(outFds[1]);
            return QString::fromLocal8Bit(std::strerror(errno));
        }
        for (int fd : {outFds[0], outFds[1], errFds[0], errFds[1]})
            ::fcntl(fd, F_SETFD, FD_CLOEXEC);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, outFds[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errFds[1], STDERR_FILENO);

        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        sigset_t emptyMask;
        sigemptyset(&emptyMask);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        posix_spawnattr_setsigmask(&attributes, &emptyMask);
        // Its own process group, so the kill also takes sudo, curl and whatever brew started.
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                                  POSIX_SPAWN_SETPGROUP);

        const QByteArray path = brew.toLocal8Bit();
        std::vector<QByteArray> argumentStrings{path};
        for (const QString& argument : arguments_)
            argumentStrings.push_back(argument.toLocal8Bit());
        std::vector<QByteArray> environment = brewEnvironment(brew);
        std::vector<char*> argv = pointersTo(argumentStrings);
        std::vector<char*> envp = pointersTo(environment);

        const int result =
            ::posix_spawn(&pid_, path.constData(), &actions, &attributes, argv.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
        ::close(outFds[1]);
        ::close(errFds[1]);
        out_.fd = outFds[0];
        err_.fd = errFds[0];
        if (result != 0) {
            pid_ = -1;
            return QString::fromLocal8Bit(std::strerror(result));
        }
        for (int fd : {out_.fd, err_.fd})
            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        return std::nullopt;
    }

    void pollOnce() {
        pollfd fds[2];
        Stream* streams[2];
        nfds_t count = 0;
        for (Stream* stream : {&out_, &err_}) {
            if (stream->isOpen()) {
                streams[count] = stream;
                fds[count++] = pollfd{stream->fd, POLLIN, 0};
            }
        }
        if (count == 0)
            return;
        if (::poll(fds, count, pollIntervalMs) <= 0)
            return;
        for (nfds_t index = 0; index < count; ++index) {
            if (fds[index].revents != 0)
                readFrom(*streams[index]);
        }
    }

    void readFrom(Stream& stream) {
        char buffer[65536];
        for (;;) {
            const ssize_t count = ::read(stream.fd, buffer, sizeof buffer);
            if (count > 0) {
                take(stream, QByteArray(buffer, count));
                if (stopReason_ == StopReason::password)
                    return;
                continue;
            }
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
                return;
            stream.close();
            return;
        }
    }

    void take(Stream& stream, const QByteArray& bytes) {
        stream.data += bytes;
        stream.pending += bytes;
        for (qsizetype end = stream.pending.indexOf('\n'); end >= 0;
             end = stream.pending.indexOf('\n')) {
            emitLine(stream.pending.left(end));
            stream.pending.remove(0, end + 1);
        }
        const QByteArray recent = stream.detectionTail + bytes.toLower();
        stream.detectionTail = recent.right(detectionTailLength);
        if (stopReason_ != StopReason::none)
            return;
        for (const QString& marker : BrewStreamingRunner::passwordMarkers()) {
            if (recent.contains(marker.toUtf8())) {
                stop(StopReason::password);
                return;
            }
        }
    }

    void flushPending(Stream& stream) {
        if (!stream.pending.isEmpty())
            emitLine(stream.pending);
        stream.pending.clear();
    }

    void emitLine(QByteArray bytes) {
        if (bytes.endsWith('\r'))
            bytes.chop(1);
        const QString line = QString::fromUtf8(bytes);
        if (!line.trimmed().isEmpty()) {
            meaningfulLines_.append(line.trimmed());
            if (meaningfulLines_.size() > BrewStreamingRunner::failureLineCount)
                meaningfulLines_.removeFirst();
        }
        if (onLine_)
            onLine_(line);
    }

    void stopWhenDue() {
        if (stopReason_ != StopReason::none)
            return;
        if (cancellation_.isCancelled())
            stop(StopReason::cancelled);
        else if (Clock::now() >= deadline_)
            stop(StopReason::timeout);
    }

    void stop(StopReason reason) {
        stopReason_ = reason;
        ::kill(-pid_, SIGKILL);
        ::kill(pid_, SIGKILL);
    }

    std::optional<int> reap(int options) {
        int status = 0;
        pid_t result;
        do {
            result = ::waitpid(pid_, &status, options);
        } while (result < 0 && errno == EINTR);
        if (result == pid_)
            return status;
        if (result < 0)
            return 255 << 8;
        return std::nullopt;
    }

    std::optional<BrewError> errorFor(int waitStatus) const {
        switch (stopReason_) {
        case StopReason::password:
            return BrewError::needsPassword(BrewStreamingRunner::commandLine(arguments_));
        case StopReason::timeout:
            return BrewError::failed(QStringLiteral("brew timed out after %1 seconds")
                                         .arg(static_cast<qint64>(timeout_)));
        case StopReason::cancelled:
            return BrewError::failed(QStringLiteral("brew was stopped."));
        case StopReason::none:
            break;
        }
        const int status =
            WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
        if (status == 0)
            return std::nullopt;
        if (meaningfulLines_.isEmpty())
            return BrewError::failed(QStringLiteral("brew exited with %1").arg(status));
        return BrewError::failed(meaningfulLines_.join(QLatin1Char('\n')));
    }

    const QStringList& arguments_;
    double timeout_;
    Clock::time_point deadline_;
    CancellationToken cancellation_;
    const BrewStreamingRunner::LineHandler& onLine_;
    pid_t pid_ = -1;
    Stream out_;
    Stream err_;
    StopReason stopReason_ = StopReason::none;
    // Both streams together, in the order their lines arrived.
    QStringList meaningfulLines_;
};

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
                         const CancellationToken& cancellation, const LineHandler& onLine) {
    ignoreBrokenPipesOnce();
    Session session(arguments, timeoutSeconds, cancellation, onLine);
    return session.run(brew);
}

QString BrewStreamingRunner::commandLine(const QStringList& arguments) {
    return (QStringList{QStringLiteral("brew")} + arguments).join(QLatin1Char(' '));
}

} // namespace corvane
