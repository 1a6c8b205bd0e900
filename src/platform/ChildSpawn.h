#pragma once

// What the process runner and the process pipeline share to start children: owned descriptors,
// close-on-exec pipes and the spawn itself. Internal to the platform library.

#include <QHash>
#include <QString>
#include <QStringList>
#include <array>
#include <atomic>
#include <csignal>
#include <mutex>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace corvane::detail {

// Writing to a child that closed its input must give EPIPE, not kill the whole application.
void ignoreBrokenPipesOnce();
QString errorText(int error);

// Owns one file descriptor and closes it once.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd)
        : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    int get() const { return fd_; }
    bool isOpen() const { return fd_ >= 0; }
    void close() {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }
    void reset(int fd) {
        close();
        fd_ = fd;
    }
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_ = -1;
};

struct Pipe {
    Descriptor read;
    Descriptor write;
};

// Both ends are close-on-exec, so no child inherits pipes meant for another one.
bool openPipe(Pipe& pipe);
void setNonBlocking(int fd);

// Starts the child with the given descriptors as its standard streams, default signal handling and
// a process group of its own (so that stopping it also stops whatever it started); an override
// with a null value removes the variable. Throws ProcessRunnerError::launchFailed.
pid_t spawnChild(const QString& executable, const QStringList& arguments,
                 const QHash<QString, QString>& overrides, int input, int output, int error);
// The same with the child's ends of three pipes (input's read end, the others' write ends).
pid_t spawnChild(const QString& executable, const QStringList& arguments,
                 const QHash<QString, QString>& overrides, Pipe& input, Pipe& output, Pipe& error);

// The process groups of the children running now. Each child runs in a group of its own, so a
// Ctrl-C on the terminal no longer reaches it; when the program is ended by SIGINT, SIGTERM or
// SIGHUP (and nobody else handles them), these groups are killed first, so no child outlives it.
class LiveGroups {
public:
    static LiveGroups& instance() {
        static LiveGroups groups;
        return groups;
    }

    void add(pid_t group) {
        installOnce();
        for (std::atomic<pid_t>& slot : slots_) {
            pid_t empty = 0;
            if (slot.compare_exchange_strong(empty, group))
                return;
        }
    }

    void remove(pid_t group) {
        for (std::atomic<pid_t>& slot : slots_) {
            pid_t expected = group;
            if (slot.compare_exchange_strong(expected, 0))
                return;
        }
    }

private:
    static void installOnce() {
        static std::once_flag once;
        std::call_once(once, [] {
            for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
                struct sigaction current {};
                if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
                    std::signal(signal, &LiveGroups::endWithChildren);
            }
        });
    }

    // Runs in a signal handler: only kill, signal and raise, which are safe there.
    static void endWithChildren(int signal) {
        for (std::atomic<pid_t>& slot : instance().slots_) {
            if (const pid_t group = slot.load(); group > 0)
                ::kill(-group, SIGKILL);
        }
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }

    std::array<std::atomic<pid_t>, 256> slots_{};
};

} // namespace corvane::detail
