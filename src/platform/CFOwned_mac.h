#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace corvane {

// Releases a Core Foundation object obtained under the Create or Copy rule.
class CFOwned {
public:
    explicit CFOwned(CFTypeRef object)
        : object_(object) {}
    ~CFOwned() {
        if (object_)
            CFRelease(object_);
    }
    CFOwned(const CFOwned&) = delete;
    CFOwned& operator=(const CFOwned&) = delete;

    CFTypeRef get() const { return object_; }

private:
    CFTypeRef object_;
};

} // namespace corvane
