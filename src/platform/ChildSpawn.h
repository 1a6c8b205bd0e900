#pragma once

// What the process runner and the process pipeline share to start children: owned descriptors,
// close-on-exec pipes and the spawn itself. Internal to the platform library.

#include <QHash>
#include <QString>
#include <QStringList>
#include <sys/types.h>
#include <unistd.h>

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

// Starts the child with the given descriptors as its standard streams and default signal
// handling; throws ProcessRunnerError::launchFailed.
pid_t spawnChild(const QString& executable, const QStringList& arguments,
                 const QHash<QString, QString>& overrides, int input, int output, int error);
// The same with the child's ends of three pipes (input's read end, the others' write ends).
pid_t spawnChild(const QString& executable, const QStringList& arguments,
                 const QHash<QString, QString>& overrides, Pipe& input, Pipe& output, Pipe& error);

} // namespace corvane::detail
