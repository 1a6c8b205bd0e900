#pragma once

#include "platform/Cancellation.h"

#include <QString>

namespace corvane {

// Measures what a file or folder occupies on disk.
struct SizeCalculator {
    // The allocated bytes of every regular file in the tree at `path` (the file itself when it is
    // one). No symbolic link is followed; a file with several hard links counts once per link met;
    // unreadable folders count 0. Throws CancelledError when `cancellation` is cancelled (looked
    // at every 512 entries). An overflow of the 64-bit sum is a fault (it aborts).
    static qint64 size(const QString& path, const CancellationToken& cancellation = {});
};

} // namespace corvane
