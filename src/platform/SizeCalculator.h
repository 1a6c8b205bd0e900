#pragma once

#include "platform/Cancellation.h"
#include "platform/SpaceUse.h"

#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane {

// Measures what a file or folder occupies on disk.
struct SizeCalculator {
    // The allocated bytes of every regular file in the tree at `path` (the file itself when it is
    // one). No symbolic link is followed, not even `path` itself; a file with several hard links
    // counts once per link met; unreadable folders count 0. Throws CancelledError when
    // `cancellation` is cancelled (looked at every 512 entries). An overflow of the 64-bit sum is a
    // fault (it aborts).
    // Subfolders listed in `excludedPaths` (absolute paths inside `path`) are left out, so a
    // folder whose parts are measured on their own is not read twice.
    static qint64 size(const QString& path, const CancellationToken& cancellation = {},
                       const QSet<QString>& excludedPaths = {});

    // The same walk, also telling what moving the tree away frees: a file with several hard
    // links counts there only when every one of its links lies in the measured tree (links met
    // per device and inode, the file once however many of them are inside). A file given
    // directly is one link: it frees its bytes only when it has no other.
    static SpaceUse measure(const QString& path, const CancellationToken& cancellation = {},
                            const QSet<QString>& excludedPaths = {});
};

} // namespace corvane
