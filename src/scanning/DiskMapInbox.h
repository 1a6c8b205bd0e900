#pragma once

#include "scanning/DiskMapTypes.h"

#include <mutex>

namespace corvane {

// The map events a walk has sent that the main thread has not taken yet. The walk asks for a
// delivery only when none is outstanding, so however fast it goes the main thread's queue holds
// one of its deliveries at most, and a delivery takes what has gathered since the last one.
class DiskMapInbox {
public:
    enum class Take {
        // Events were moved out.
        took,
        // Nothing waits; the next send asks for a delivery again.
        empty,
        // Nothing waits and the walk is over.
        over,
    };

    // Walking thread: true when the caller must post a delivery.
    bool send(MapEvents batch);
    // Walking thread, once the walk is over: true when the caller must post a delivery.
    bool end();
    // Main thread: appends every waiting event to `into`.
    Take take(MapEvents& into);

private:
    bool askForDelivery();

    std::mutex lock_;
    MapEvents pending_;
    bool deliveryAsked_ = false;
    bool ended_ = false;
};

} // namespace corvane
