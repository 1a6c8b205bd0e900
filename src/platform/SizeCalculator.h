#pragma once

#include "platform/Cancellation.h"
#include "platform/SpaceUse.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace corvane {

// Told about every folder of a walk (SizeCalculator::walk) as it is met, on the walking thread.
class FolderVisitor {
public:
    virtual ~FolderVisitor() = default;

    // Entry names (files or folders) worth knowing about beside the folders, such as project
    // markers; looked up for every entry.
    virtual const std::unordered_set<std::string>& notedNames() const = 0;
    // A folder was listed: its raw name (empty for the walked folder itself), the allocated
    // bytes of its own regular files, and which noted names it holds. Its subfolders follow,
    // each entered and left, then it is left.
    virtual void folderEntered(std::string_view name, qint64 fileBytes,
                               const std::vector<std::string>& noted) = 0;
    virtual void folderLeft() = 0;
    // An entry of the current folder that counts nothing: a subfolder that could not be opened
    // (`errorCode` is the system's error, ENOENT when it vanished since the listing) or lies on
    // another volume (EXDEV), or an entry whose attributes could not be read. Told after the
    // folder is entered.
    virtual void folderSkipped(std::string_view name, int errorCode) = 0;
};

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

    // The same walk of the folder at `path`, telling `visitor` about each folder as it goes.
    // Unlike `size`, it stays on the folder's volume, and a file with several hard links counts
    // once, at the first link met: the sizes the visitor sees add up to what the disk holds.
    // Throws CancelledError like `size`; nothing is told when `path` is no readable folder.
    static void walk(const QString& path, FolderVisitor& visitor,
                     const CancellationToken& cancellation = {});
};

} // namespace corvane
