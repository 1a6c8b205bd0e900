// macOS listing: getattrlistbulk returns name, object type and (when asked) the allocated size of
// many entries per call, so measuring a tree needs no per-file stat at all. The package test asks
// Core Foundation, which knows the bundle rules of Launch Services.

#include "platform/DirectoryReader.h"

#include <CoreFoundation/CoreFoundation.h>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <sys/attr.h>
#include <sys/vnode.h>
#include <unistd.h>

namespace corvane {
namespace {

const char* bytesOf(const std::unique_ptr<std::uint64_t[]>& buffer) {
    return reinterpret_cast<const char*>(buffer.get());
}

// Attribute records are only 4-byte aligned: read every field by copying.
template <typename T> T readField(const char*& cursor) {
    T value{};
    std::memcpy(&value, cursor, sizeof value);
    cursor += sizeof value;
    return value;
}

EntryKind kindOf(fsobj_type_t type) {
    switch (type) {
    case VDIR:
        return EntryKind::directory;
    case VREG:
        return EntryKind::regularFile;
    case VLNK:
        return EntryKind::symbolicLink;
    default:
        return EntryKind::other;
    }
}

} // namespace

bool DirectoryReader::refill() {
    if (!buffer_)
        buffer_ = takeBuffer();
    attrlist request{};
    request.bitmapcount = ATTR_BIT_MAP_COUNT;
    request.commonattr =
        ATTR_CMN_RETURNED_ATTRS | ATTR_CMN_NAME | ATTR_CMN_ERROR | ATTR_CMN_OBJTYPE;
    request.fileattr = detail_ == Detail::kindsAndSizes ? ATTR_FILE_ALLOCSIZE : 0;
    int count = 0;
    do {
        count = ::getattrlistbulk(fd_, &request, buffer_.get(), bufferSize, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0)
        failed_ = true;
    if (count <= 0)
        return false;
    pendingRecords_ = count;
    offset_ = 0;
    return true;
}

DirectoryReader::Decoded DirectoryReader::decodeNext(Entry& entry) {
    if (pendingRecords_ == 0)
        return Decoded::batchDone;
    --pendingRecords_;
    // Record layout: length, the set of attributes returned, then the returned attributes in
    // the order of their bits (error, name reference, object type; then the file attributes).
    const char* record = bytesOf(buffer_) + offset_;
    const char* cursor = record;
    const auto length = readField<std::uint32_t>(cursor);
    offset_ += length;
    const auto returned = readField<attribute_set_t>(cursor);
    if (returned.commonattr & ATTR_CMN_ERROR)
        readField<std::uint32_t>(cursor);
    if (!(returned.commonattr & ATTR_CMN_NAME))
        return Decoded::passedOver;
    const char* nameField = cursor;
    const auto nameReference = readField<attrreference_t>(cursor);
    const char* name = nameField + nameReference.attr_dataoffset;

    entry.name = name;
    entry.allocatedBytes = 0;
    if (!(returned.commonattr & ATTR_CMN_OBJTYPE))
        return describe(name, entry) ? Decoded::entry : Decoded::passedOver;
    entry.kind = kindOf(readField<fsobj_type_t>(cursor));
    if (entry.kind != EntryKind::regularFile || detail_ == Detail::kinds)
        return Decoded::entry;
    if (returned.fileattr & ATTR_FILE_ALLOCSIZE) {
        entry.allocatedBytes = static_cast<qint64>(readField<off_t>(cursor));
        return Decoded::entry;
    }
    return describe(name, entry) ? Decoded::entry : Decoded::passedOver;
}

bool DirectoryReader::isPackage(const QString& path) {
    const QByteArray encoded = QFile::encodeName(path);
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(encoded.constData()), encoded.size(),
        true);
    if (!url)
        return false;
    CFBooleanRef value = nullptr;
    const bool known = CFURLCopyResourcePropertyForKey(url, kCFURLIsPackageKey, &value, nullptr);
    const bool package = known && value && CFBooleanGetValue(value);
    if (value)
        CFRelease(value);
    CFRelease(url);
    return package;
}

} // namespace corvane
