#pragma once

#include <QtGlobal>
#include <cstdlib>

namespace corvane {

// Byte counts never wrap: a sum beyond 64 bits is a fault, and the program stops rather than
// report a negative or tiny size that could talk the user into trashing something.
inline qint64 checkedSum(qint64 sum, qint64 bytes) {
    qint64 result = 0;
    if (__builtin_add_overflow(sum, bytes, &result))
        std::abort();
    return result;
}

} // namespace corvane
