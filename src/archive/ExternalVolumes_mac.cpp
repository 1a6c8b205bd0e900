// macOS listing: Core Foundation's enumerator of mounted volumes (the one NSFileManager's
// mountedVolumeURLsIncludingResourceValuesForKeys uses), with the volume properties
// prefetched; volumeFrom() decides.

#include "archive/ExternalVolumes.h"
#include "platform/CFOwned_mac.h"
#include "platform/CFText_mac.h"
#include "platform/Locations.h"

#include <CoreFoundation/CoreFoundation.h>
#include <QStorageInfo>
#include <QString>
#include <iterator>

namespace corvane::ExternalVolumes {
namespace {

// Nothing when the volume does not report the property.
std::optional<bool> boolProperty(CFURLRef url, CFStringRef key) {
    CFTypeRef value = nullptr;
    if (!CFURLCopyResourcePropertyForKey(url, key, &value, nullptr) || !value)
        return std::nullopt;
    const CFOwned owned(value);
    if (CFGetTypeID(value) != CFBooleanGetTypeID())
        return std::nullopt;
    return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
}

std::optional<QString> stringProperty(CFURLRef url, CFStringRef key) {
    CFTypeRef value = nullptr;
    if (!CFURLCopyResourcePropertyForKey(url, key, &value, nullptr) || !value)
        return std::nullopt;
    const CFOwned owned(value);
    if (CFGetTypeID(value) != CFStringGetTypeID())
        return std::nullopt;
    return fromCFString(static_cast<CFStringRef>(value));
}

QString pathOf(CFURLRef url) {
    const CFOwned path(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
    if (!path.get())
        return {};
    return fromCFString(static_cast<CFStringRef>(path.get()));
}

VolumeProperties propertiesOf(CFURLRef url) {
    VolumeProperties properties;
    properties.path = pathOf(url);
    properties.name = stringProperty(url, kCFURLVolumeNameKey);
    properties.isInternal = boolProperty(url, kCFURLVolumeIsInternalKey);
    properties.isBrowsable = boolProperty(url, kCFURLVolumeIsBrowsableKey);
    properties.isLocal = boolProperty(url, kCFURLVolumeIsLocalKey);
    properties.isReadOnly = boolProperty(url, kCFURLVolumeIsReadOnlyKey);
    properties.isRootFileSystem = boolProperty(url, kCFURLVolumeIsRootFileSystemKey);
    return properties;
}

} // namespace

QList<Volume> systemVolumes() {
    const void* keys[] = {kCFURLVolumeNameKey,        kCFURLVolumeIsInternalKey,
                          kCFURLVolumeIsBrowsableKey, kCFURLVolumeIsLocalKey,
                          kCFURLVolumeIsReadOnlyKey,  kCFURLVolumeIsRootFileSystemKey};
    const CFOwned keyArray(CFArrayCreate(
        kCFAllocatorDefault, keys, static_cast<CFIndex>(std::size(keys)), &kCFTypeArrayCallBacks));
    // The home folder lives on the data volume ("/System/Volumes/Data"), or on a drive of its
    // own; either way it is the disk archiving should free, never the target.
    const QString homeVolume = QStorageInfo(Locations::homeDir()).rootPath();
    const CFOwned enumerator(
        CFURLEnumeratorCreateForMountedVolumes(kCFAllocatorDefault, kCFURLEnumeratorSkipInvisibles,
                                               static_cast<CFArrayRef>(keyArray.get())));
    QList<Volume> volumes;
    if (!enumerator.get())
        return volumes;
    const auto volumeEnumerator = static_cast<CFURLEnumeratorRef>(enumerator.get());
    for (;;) {
        CFURLRef url = nullptr;
        CFErrorRef error = nullptr;
        const CFURLEnumeratorResult result =
            CFURLEnumeratorGetNextURL(volumeEnumerator, &url, &error);
        if (result == kCFURLEnumeratorEnd)
            break;
        // One volume that cannot be read does not hide the others.
        if (result == kCFURLEnumeratorError) {
            if (error)
                CFRelease(error);
            continue;
        }
        // The enumerator keeps ownership of `url` (the Get rule).
        if (result == kCFURLEnumeratorSuccess && url) {
            if (const std::optional<Volume> volume = volumeFrom(propertiesOf(url), homeVolume))
                volumes.append(*volume);
        }
    }
    return volumes;
}

} // namespace corvane::ExternalVolumes
