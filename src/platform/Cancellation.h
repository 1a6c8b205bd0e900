#pragma once

#include <atomic>
#include <exception>
#include <memory>

namespace corvane {

// Thrown by long operations (walks, measurements) that notice their token was cancelled.
struct CancelledError : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};

// A shared flag that one side sets and workers poll. Copies share the same flag, so a token can
// be handed to any number of threads.
class CancellationToken {
public:
    CancellationToken()
        : flag_(std::make_shared<std::atomic<bool>>(false)) {}

    void cancel() const { flag_->store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return flag_->load(std::memory_order_relaxed); }
    void throwIfCancelled() const {
        if (isCancelled())
            throw CancelledError();
    }

private:
    std::shared_ptr<std::atomic<bool>> flag_;
};

} // namespace corvane
