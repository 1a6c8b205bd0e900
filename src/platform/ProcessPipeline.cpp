#include "platform/ProcessPipeline.h"

#include "platform/ChildSpawn.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <sys/wait.h>

namespace corvane {
namespace {

using Clock = std::chrono::steady_clock;
using detail::Descriptor;
using detail::Pipe;

constexpr int pollIntervalMs = 50;
// A stage that ignores SIGTERM must not hold a cancelled copy open for long: the same grace the
// runner gives a single child.
constexpr auto killGrace = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
    std::chrono::duration<double>(ProcessRunner::terminationGrace));

// Reads what is available; closes the pipe at its end.
void drain(Descriptor& fd, QByteArray& into) {
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
            return;
        fd.close();
        return;
    }
}

class Stages {
public:
    Stages(const std::vector<PipelineStage>& stages, double timeout,
           const CancellationToken& cancellation)
        : count_(stages.size())
        , pids_(count_, -1)
        , statuses_(count_)
        , errors_(std::make_unique<Pipe[]>(count_))
        , deadline_(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                       std::chrono::duration<double>(timeout)))
        , cancellation_(cancellation) {}

    void start(const std::vector<PipelineStage>& stages,
               const QHash<QString, QString>& environment);
    PipelineResult wait();

private:
    bool allReaped() const;
    void reapExited();
    void pollOnce();
    void terminateWhenDue();
    void signalRunning(int signal);

    size_t count_;
    std::vector<pid_t> pids_;
    std::vector<std::optional<int>> statuses_;
    std::unique_ptr<Pipe[]> errors_;
    std::vector<QByteArray> errorTexts_ = std::vector<QByteArray>(count_);
    Pipe output_;
    QByteArray outputText_;
    Clock::time_point deadline_;
    CancellationToken cancellation_;
    std::optional<Clock::time_point> terminatedAt_;
    bool killed_ = false;
    bool timedOut_ = false;
};

void Stages::start(const std::vector<PipelineStage>& stages,
                   const QHash<QString, QString>& environment) {
    Pipe input;
    if (!detail::openPipe(input) || !detail::openPipe(output_))
        throw ProcessRunnerError::launchFailed(detail::errorText(errno));
    input.write.close(); // the first stage reads an empty input
    Descriptor previous(::dup(input.read.get()));
    ::fcntl(previous.get(), F_SETFD, FD_CLOEXEC);
    for (size_t index = 0; index < count_; ++index) {
        Pipe link;
        const bool last = index + 1 == count_;
        if (!detail::openPipe(errors_[index]) || (!last && !detail::openPipe(link))) {
            signalRunning(SIGKILL);
            wait();
            throw ProcessRunnerError::launchFailed(detail::errorText(errno));
        }
        try {
            pids_[index] = detail::spawnChild(
                stages[index].executable, stages[index].arguments, environment, previous.get(),
                last ? output_.write.get() : link.write.get(), errors_[index].write.get());
            detail::LiveGroups::instance().add(pids_[index]);
        } catch (const ProcessRunnerError&) {
            signalRunning(SIGKILL);
            wait();
            throw;
        }
        // Only the children keep their ends; ours would hide the end of a stream.
        errors_[index].write.close();
        previous.reset(link.read.isOpen() ? ::dup(link.read.get()) : -1);
        if (previous.isOpen())
            ::fcntl(previous.get(), F_SETFD, FD_CLOEXEC);
    }
    output_.write.close();
}

PipelineResult Stages::wait() {
    for (size_t index = 0; index < count_; ++index)
        if (errors_[index].read.isOpen())
            detail::setNonBlocking(errors_[index].read.get());
    if (output_.read.isOpen())
        detail::setNonBlocking(output_.read.get());
    while (!allReaped()) {
        pollOnce();
        terminateWhenDue();
        reapExited();
    }
    // The stages are gone; take what they left in the pipes, even if a grandchild holds them.
    for (size_t index = 0; index < count_; ++index)
        if (errors_[index].read.isOpen())
            drain(errors_[index].read, errorTexts_[index]);
    if (output_.read.isOpen())
        drain(output_.read, outputText_);
    if (timedOut_)
        throw ProcessRunnerError::timedOut();
    PipelineResult result;
    for (size_t index = 0; index < count_; ++index) {
        StageResult stage;
        const int status = statuses_[index].value_or(255 << 8);
        if (WIFSIGNALED(status)) {
            stage.terminationSignal = WTERMSIG(status);
            stage.exitCode = 128 + WTERMSIG(status);
        } else {
            stage.exitCode = WEXITSTATUS(status);
        }
        stage.standardError = std::move(errorTexts_[index]);
        result.stages.push_back(std::move(stage));
    }
    result.standardOutput = std::move(outputText_);
    return result;
}

bool Stages::allReaped() const {
    for (size_t index = 0; index < count_; ++index)
        if (pids_[index] > 0 && !statuses_[index])
            return false;
    return true;
}

void Stages::reapExited() {
    for (size_t index = 0; index < count_; ++index) {
        if (pids_[index] <= 0 || statuses_[index])
            continue;
        int status = 0;
        pid_t result;
        do {
            result = ::waitpid(pids_[index], &status, WNOHANG);
        } while (result < 0 && errno == EINTR);
        if (result == pids_[index])
            statuses_[index] = status;
        else if (result < 0)
            statuses_[index] = 255 << 8; // reaped by someone else: never a success
        // Forgotten once reaped: its id may be given to another process.
        if (statuses_[index])
            detail::LiveGroups::instance().remove(pids_[index]);
    }
}

void Stages::pollOnce() {
    std::vector<pollfd> fds;
    std::vector<Descriptor*> owners;
    std::vector<QByteArray*> texts;
    auto add = [&](Descriptor& fd, QByteArray& text) {
        if (fd.isOpen()) {
            fds.push_back(pollfd{fd.get(), POLLIN, 0});
            owners.push_back(&fd);
            texts.push_back(&text);
        }
    };
    for (size_t index = 0; index < count_; ++index)
        add(errors_[index].read, errorTexts_[index]);
    add(output_.read, outputText_);
    if (fds.empty()) {
        ::poll(nullptr, 0, 5);
        return;
    }
    if (::poll(fds.data(), fds.size(), pollIntervalMs) <= 0)
        return;
    for (size_t index = 0; index < fds.size(); ++index)
        if (fds[index].revents != 0)
            drain(*owners[index], *texts[index]);
}

void Stages::terminateWhenDue() {
    if (terminatedAt_) {
        if (!killed_ && Clock::now() - *terminatedAt_ >= killGrace) {
            killed_ = true;
            signalRunning(SIGKILL);
        }
        return;
    }
    const bool expired = Clock::now() >= deadline_;
    if (!expired && !cancellation_.isCancelled())
        return;
    timedOut_ = expired;
    terminatedAt_ = Clock::now();
    signalRunning(SIGTERM);
}

void Stages::signalRunning(int signal) {
    for (size_t index = 0; index < count_; ++index)
        if (pids_[index] > 0 && !statuses_[index])
            ::kill(-pids_[index], signal); // each stage leads a group of its own
}

} // namespace

int PipelineResult::firstFailedStage() const {
    for (size_t index = 0; index < stages.size(); ++index)
        if (stages[index].exitCode != 0)
            return int(index);
    return -1;
}

PipelineResult ProcessPipeline::run(const std::vector<PipelineStage>& stages,
                                    const QHash<QString, QString>& environmentOverrides,
                                    double timeout, const CancellationToken& cancellation) {
    detail::ignoreBrokenPipesOnce();
    Stages running(stages, timeout, cancellation);
    running.start(stages, environmentOverrides);
    return running.wait();
}

} // namespace corvane
