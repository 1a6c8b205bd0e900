#include "scanning/DiskMapInbox.h"

namespace corvane {

bool DiskMapInbox::send(MapEvents batch) {
    std::lock_guard guard(lock_);
    pending_.append(std::move(batch));
    return askForDelivery();
}

bool DiskMapInbox::end() {
    std::lock_guard guard(lock_);
    ended_ = true;
    return askForDelivery();
}

bool DiskMapInbox::askForDelivery() {
    if (deliveryAsked_)
        return false;
    deliveryAsked_ = true;
    return true;
}

DiskMapInbox::Take DiskMapInbox::take(MapEvents& into) {
    std::lock_guard guard(lock_);
    if (pending_.isEmpty()) {
        // Cleared under the lock, so a batch sent after this asks for its own delivery.
        deliveryAsked_ = false;
        return ended_ ? Take::over : Take::empty;
    }
    if (into.isEmpty())
        into.swap(pending_);
    else
        into.append(std::move(pending_));
    pending_.clear();
    return Take::took;
}

} // namespace corvane
