// The macOS Trash: NSFileManager moves the item into the Trash of its volume and records what
// Finder's "Put Back" needs. Called directly rather than through QFile::moveToTrash, which turns
// the NSError into an unrelated errno text ("Interrupted system call" for a missing file).

#include "platform/Locations.h"
#include "platform/PlatformTrash.h"
#include "platform/TrashStandIn.h"

#import <Foundation/Foundation.h>
#include <QFile>
#include <sys/stat.h>

namespace corvane {
namespace {

QString textOf(NSString* text) {
    return text ? QString::fromUtf8(text.UTF8String) : QString();
}

// The URL of `path` itself. fileURLWithPath: alone asks the file system whether the path is a
// folder, following a link to one and adding a trailing slash that would make the move take the
// link's target; lstat says what the last component really is.
NSURL* urlOfItem(const QByteArray& path) {
    struct stat info {};
    const bool folder = ::lstat(path.constData(), &info) == 0 && S_ISDIR(info.st_mode);
    NSString* text = [NSFileManager.defaultManager
        stringWithFileSystemRepresentation:path.constData()
                                    length:static_cast<NSUInteger>(path.size())];
    return text ? [NSURL fileURLWithPath:text isDirectory:folder ? YES : NO] : nil;
}

} // namespace

TrashMove PlatformTrash::moveToTrash(const QString& path) const {
    if (const QString standIn = Locations::trashStandIn(); !standIn.isEmpty())
        return moveIntoStandIn(path, standIn);
    @autoreleasepool {
        NSURL* url = urlOfItem(QFile::encodeName(path));
        if (!url)
            return TrashMove::refused(QStringLiteral("The path cannot be given to the Trash"));
        NSURL* resulting = nil;
        NSError* error = nil;
        if (![NSFileManager.defaultManager trashItemAtURL:url
                                         resultingItemURL:&resulting
                                                    error:&error]) {
            const QString message = error ? textOf(error.localizedDescription) : QString();
            return TrashMove::refused(
                message.isEmpty() ? QStringLiteral("The Trash refused the item") : message);
        }
        // Without a resulting URL, where it went is not known.
        const char* trashed = resulting ? resulting.fileSystemRepresentation : nullptr;
        if (!trashed)
            return TrashMove::movedTo({});
        // Recorded at once: what lies there later is only this item if it is still the same file.
        const QString location = QFile::decodeName(trashed);
        return TrashMove::movedTo({location, {}, {}, {}, FileIdentity::of(location)});
    }
}

} // namespace corvane
