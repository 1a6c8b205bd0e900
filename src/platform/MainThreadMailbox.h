#pragma once

#include <QMetaObject>
#include <QObject>
#include <mutex>
#include <utility>

namespace corvane {

// How a worker job hands its result to a model on the main thread. The model closes the mailbox
// before it dies; a result posted after that is dropped, and one posted just before is discarded
// by Qt together with the dead receiver's pending events. Either way it never reaches freed
// memory.
class MainThreadMailbox {
public:
    explicit MainThreadMailbox(QObject* receiver)
        : receiver_(receiver) {}

    void close() {
        std::lock_guard guard(lock_);
        receiver_ = nullptr;
    }

    // Runs `function` on the receiver's thread, after the events already queued there.
    template <typename Function> void post(Function function) {
        std::lock_guard guard(lock_);
        if (receiver_)
            QMetaObject::invokeMethod(receiver_, std::move(function), Qt::QueuedConnection);
    }

private:
    std::mutex lock_;
    QObject* receiver_;
};

} // namespace corvane
