#include "platform/ChildSpawn.h"

#include "platform/ProcessRunner.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace corvane::detail {
namespace {

// The inherited environment with every override replacing the variable of the same name.
std::vector<QByteArray> mergedEnvironment(const QHash<QString, QString>& overrides) {
    std::vector<QByteArray> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        const QByteArray text(*entry);
        const QString name = QString::fromLocal8Bit(text.left(text.indexOf('=')));
        if (!overrides.contains(name))
            entries.push_back(text);
    }
    for (auto it = overrides.cbegin(); it != overrides.cend(); ++it) {
        if (!it.value().isNull())
            entries.push_back(it.key().toLocal8Bit() + '=' + it.value().toLocal8Bit());
    }
    return entries;
}

std::vector<char*> pointersTo(std::vector<QByteArray>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (QByteArray& text : strings)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

// Writing to a child that closed its input must give EPIPE, not kill the whole application.
void ignoreBrokenPipesOnce() {
    static std::once_flag once;
    std::call_once(once, [] { std::signal(SIGPIPE, SIG_IGN); });
}

QString errorText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// Both ends are close-on-exec, so no child inherits pipes meant for another one.
bool openPipe(Pipe& pipe) {
    int fds[2];
#ifdef __linux__
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return false;
#else
    if (::pipe(fds) != 0)
        return false;
    ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(fds[1], F_SETFD, FD_CLOEXEC);
#endif
    pipe.read.reset(fds[0]);
    pipe.write.reset(fds[1]);
    return true;
}

void setNonBlocking(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

pid_t spawnChild(const QString& executable, const QStringList& arguments,
                 const QHash<QString, QString>& overrides, Pipe& input, Pipe& output, Pipe& error) {
    return spawnChild(executable, arguments, overrides, input.read.get(), output.write.get(),
                      error.write.get());
}

pid_t spawnChild(const QString& executable, const QStringList& arguments,
                 const QHash<QString, QString>& overrides, int input, int output, int error) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigset_t emptyMask;
    sigemptyset(&emptyMask);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setsigmask(&attributes, &emptyMask);
    // A group of its own, so that stopping the child also stops whatever it started.
    posix_spawnattr_setpgroup(&attributes, 0);
    short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP;
#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
    posix_spawnattr_setflags(&attributes, flags);

    const QByteArray path = executable.toLocal8Bit();
    std::vector<QByteArray> argumentStrings{path};
    for (const QString& argument : arguments)
        argumentStrings.push_back(argument.toLocal8Bit());
    std::vector<QByteArray> environmentStrings = mergedEnvironment(overrides);
    std::vector<char*> argv = pointersTo(argumentStrings);
    std::vector<char*> envp = pointersTo(environmentStrings);

    pid_t pid = -1;
    const int status =
        ::posix_spawn(&pid, path.constData(), &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (status != 0)
        throw ProcessRunnerError::launchFailed(errorText(status));
    return pid;
}

} // namespace corvane::detail
