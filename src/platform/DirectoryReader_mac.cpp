// macOS listing: getattrlistbulk returns name, object type and (when asked) the allocated size of
// many entries per call, so measuring a tree needs no per-file stat at all. The package test asks
// Core Foundation, which knows the bundle rules of Launch Services.

#include "platform/DirectoryReader.h"

#include <CoreFoundation/CoreFoundation.h>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <optional>
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
    if (detail_ == Detail::kindsAndSizes) {
        // The identity of hard links comes in the same call as the size: device and file id
        // (st_dev and st_ino) and the link count.
        request.commonattr |= ATTR_CMN_DEVID | ATTR_CMN_FILEID;
        request.fileattr = ATTR_FILE_LINKCOUNT | ATTR_FILE_ALLOCSIZE;
    }
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
    // the order of their bits (error, name reference, device, object type, file id; then the
    // file attributes: link count, allocated size).
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
    entry.links = 1;
    std::optional<dev_t> device;
    if (returned.commonattr & ATTR_CMN_DEVID)
        device = readField<dev_t>(cursor);
    if (!(returned.commonattr & ATTR_CMN_OBJTYPE))
        return describe(name, entry) ? Decoded::entry : Decoded::passedOver;
    entry.kind = kindOf(readField<fsobj_type_t>(cursor));
    std::optional<std::uint64_t> fileID;
    if (returned.commonattr & ATTR_CMN_FILEID)
        fileID = readField<std::uint64_t>(cursor);
    if (entry.kind != EntryKind::regularFile || detail_ == Detail::kinds)
        return Decoded::entry;
    std::optional<std::uint32_t> links;
    if (returned.fileattr & ATTR_FILE_LINKCOUNT)
        links = readField<std::uint32_t>(cursor);
    const bool complete = device && fileID && links && (returned.fileattr & ATTR_FILE_ALLOCSIZE);
    if (!complete)
        return describe(name, entry) ? Decoded::entry : Decoded::passedOver;
    entry.allocatedBytes = static_cast<qint64>(readField<off_t>(cursor));
    entry.links = *links;
    entry.device = static_cast<quint64>(*device); // as describe() converts st_dev
    entry.inode = *fileID;
    return Decoded::entry;
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
