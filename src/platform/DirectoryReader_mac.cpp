// macOS listing: getattrlistbulk returns name, object type and (when asked) the allocated and
// private sizes of many entries per call, so measuring a tree needs no per-file stat at all. The
// package test asks Core Foundation, which knows the bundle rules of Launch Services.

#include "platform/DirectoryReader.h"

#include <CoreFoundation/CoreFoundation.h>
#include <QFile>
#include <algorithm>
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

// The request of every listing call. With sizes, the file attributes come with the file's
// private size, asked for among the extended common attributes (which take the place of the
// fork attributes under FSOPT_ATTR_CMN_EXTENDED).
attrlist listingRequest(DirectoryReader::Detail detail) {
    attrlist request{};
    request.bitmapcount = ATTR_BIT_MAP_COUNT;
    request.commonattr =
        ATTR_CMN_RETURNED_ATTRS | ATTR_CMN_NAME | ATTR_CMN_ERROR | ATTR_CMN_OBJTYPE;
    if (detail == DirectoryReader::Detail::kindsAndSizes) {
        // The identity of hard links comes in the same call as the size: device and file id
        // (st_dev and st_ino) and the link count.
        request.commonattr |= ATTR_CMN_DEVID | ATTR_CMN_FILEID;
        request.fileattr = ATTR_FILE_LINKCOUNT | ATTR_FILE_ALLOCSIZE;
        request.forkattr = ATTR_CMNEXT_PRIVATESIZE;
    }
    return request;
}

} // namespace

bool DirectoryReader::refill() {
    if (!buffer_)
        buffer_ = takeBuffer();
    attrlist request = listingRequest(detail_);
    const auto listNext = [&](std::uint64_t options) {
        int count = 0;
        do {
            count = ::getattrlistbulk(fd_, &request, buffer_.get(), bufferSize, options);
        } while (count < 0 && errno == EINTR);
        return count;
    };
    int count = listNext(request.forkattr ? FSOPT_ATTR_CMN_EXTENDED : 0);
    // A file system that knows no extended attributes at all is listed without them; the
    // allocated size then stands for what a removal frees.
    if (count < 0 && errno == EINVAL && request.forkattr) {
        request.forkattr = 0;
        count = listNext(0);
    }
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
    // group order, each group in the order of its bits: error (always first), name reference,
    // device, object type, file id; link count, allocated size; private size.
    const char* record = bytesOf(buffer_) + offset_;
    const char* cursor = record;
    const auto length = readField<std::uint32_t>(cursor);
    offset_ += length;
    const auto returned = readField<attribute_set_t>(cursor);
    const std::uint32_t error =
        (returned.commonattr & ATTR_CMN_ERROR) ? readField<std::uint32_t>(cursor) : 0;
    if (!(returned.commonattr & ATTR_CMN_NAME))
        return Decoded::passedOver; // nothing to name it by, nor to ask about it
    const char* nameField = cursor;
    const auto nameReference = readField<attrreference_t>(cursor);
    const char* name = nameField + nameReference.attr_dataoffset;

    entry.name = name;
    entry.allocatedBytes = 0;
    entry.privateBytes = 0;
    entry.links = 1;
    // The file system could not read this entry's attributes: what follows may be partial or
    // stale, so it is asked once more on its own, or reported.
    if (error != 0 || !(returned.commonattr & ATTR_CMN_OBJTYPE))
        return describeOrReport(name, entry);
    std::optional<dev_t> device;
    if (returned.commonattr & ATTR_CMN_DEVID)
        device = readField<dev_t>(cursor);
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
        return describeOrReport(name, entry);
    entry.allocatedBytes = static_cast<qint64>(readField<off_t>(cursor));
    // Blocks shared with a clone stay when this file goes. Never more than the allocation, so
    // a file system that counts otherwise cannot make a removal seem to free more than it holds.
    entry.privateBytes = (returned.forkattr & ATTR_CMNEXT_PRIVATESIZE)
                             ? std::min<qint64>(readField<off_t>(cursor), entry.allocatedBytes)
                             : entry.allocatedBytes;
    entry.links = *links;
    entry.device = static_cast<quint64>(*device); // as describe() converts st_dev
    entry.inode = *fileID;
    return Decoded::entry;
}

std::optional<qint64> DirectoryReader::privateBytes(const QString& path) {
    attrlist request{};
    request.bitmapcount = ATTR_BIT_MAP_COUNT;
    request.commonattr = ATTR_CMN_RETURNED_ATTRS;
    request.forkattr = ATTR_CMNEXT_PRIVATESIZE;
    // Length, returned set, private size; 8-byte aligned like the listing's buffer.
    std::uint64_t reply[8] = {};
    const QByteArray encoded = QFile::encodeName(path);
    if (::getattrlist(encoded.constData(), &request, reply, sizeof reply,
                      FSOPT_NOFOLLOW | FSOPT_ATTR_CMN_EXTENDED) != 0)
        return std::nullopt;
    const char* cursor = reinterpret_cast<const char*>(reply);
    readField<std::uint32_t>(cursor);
    const auto returned = readField<attribute_set_t>(cursor);
    if (!(returned.forkattr & ATTR_CMNEXT_PRIVATESIZE))
        return std::nullopt;
    return static_cast<qint64>(readField<off_t>(cursor));
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
