#pragma once

#include "platform/Cancellation.h"
#include "scanning/ScanModel.h"

#include <QList>
#include <QObject>
#include <memory>
#include <mutex>

namespace corvane {

class ScanStream;

// The producing side of a scan's event stream: any worker thread may send; events keep the order
// in which they were sent. Once the consumer is gone, sending is a no-op and `cancellation()` is
// cancelled, which tells the workers to stop.
class ScanEventSink {
public:
    void send(ScanEvent event);
    void send(QList<ScanEvent> events);
    const CancellationToken& cancellation() const { return cancellation_; }
    bool isCancelled() const { return cancellation_.isCancelled(); }

private:
    friend class ScanStream;

    void deliverTo(ScanStream* stream);
    void detach();

    std::mutex lock_;
    QList<ScanEvent> pending_;
    ScanStream* receiver_ = nullptr;
    bool deliveryPosted_ = false;
    CancellationToken cancellation_;
};

// The consuming side, living on the thread that made it (the main thread for the models).
// Events arrive in batches: a sender posts one delivery only when none is outstanding, so a scan
// of a million files never queues a million cross-thread calls. `cancel()` asks the scan to stop
// early; what it still sends arrives, ending with `scanCompleted`. Destroying the stream cancels
// the scan too, and then nothing more arrives.
class ScanStream : public QObject {
    Q_OBJECT

public:
    struct Pair;
    // A connected stream and sink. The stream belongs to the caller's thread.
    static Pair create();

    ~ScanStream() override;
    void cancel();

signals:
    // Every event sent since the last batch, in order.
    void eventsArrived(const QList<corvane::ScanEvent>& events);

private:
    explicit ScanStream(std::shared_ptr<ScanEventSink> sink);
    void deliverPending();

    friend class ScanEventSink;
    std::shared_ptr<ScanEventSink> sink_;
};

struct ScanStream::Pair {
    std::unique_ptr<ScanStream> stream;
    std::shared_ptr<ScanEventSink> sink;
};

} // namespace corvane
