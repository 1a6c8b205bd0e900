#include "scanning/ScanStream.h"

namespace corvane {

void ScanEventSink::send(ScanEvent event) {
    send(QList<ScanEvent>{std::move(event)});
}

void ScanEventSink::send(QList<ScanEvent> events) {
    std::lock_guard guard(lock_);
    if (!receiver_)
        return;
    pending_.append(std::move(events));
    if (deliveryPosted_)
        return;
    deliveryPosted_ = true;
    // Posted under the lock: the stream clears `receiver_` under the same lock before it dies,
    // and a dying QObject discards the events still posted to it.
    QMetaObject::invokeMethod(receiver_, &ScanStream::deliverPending, Qt::QueuedConnection);
}

void ScanEventSink::deliverTo(ScanStream* stream) {
    std::lock_guard guard(lock_);
    receiver_ = stream;
}

void ScanEventSink::detach() {
    cancellation_.cancel();
    std::lock_guard guard(lock_);
    receiver_ = nullptr;
    pending_.clear();
}

ScanStream::Pair ScanStream::create() {
    auto sink = std::make_shared<ScanEventSink>();
    std::unique_ptr<ScanStream> stream(new ScanStream(sink));
    sink->deliverTo(stream.get());
    return {std::move(stream), std::move(sink)};
}

ScanStream::ScanStream(std::shared_ptr<ScanEventSink> sink)
    : sink_(std::move(sink)) {}

ScanStream::~ScanStream() {
    sink_->detach();
}

void ScanStream::cancel() {
    sink_->cancellation().cancel();
}

void ScanStream::deliverPending() {
    QList<ScanEvent> batch;
    {
        std::lock_guard guard(sink_->lock_);
        batch.swap(sink_->pending_);
        sink_->deliveryPosted_ = false;
    }
    if (!batch.isEmpty())
        emit eventsArrived(batch);
}

} // namespace corvane
