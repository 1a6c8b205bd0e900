// Linux listing: raw getdents64 records, whose d_type answers the kind of almost every entry
// without a stat call. Only regular files (when sizes are wanted) and the rare file system that
// reports DT_UNKNOWN cost one fstatat each.

#include "platform/DirectoryReader.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace corvane {
namespace {

const char* bytesOf(const std::unique_ptr<std::uint64_t[]>& buffer) {
    return reinterpret_cast<const char*>(buffer.get());
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

bool DirectoryReader::refill() {
    if (!buffer_)
        buffer_ = takeBuffer();
    long count = 0;
    do {
        count = ::syscall(SYS_getdents64, fd_, buffer_.get(), bufferSize);
    } while (count < 0 && errno == EINTR);
    if (count < 0)
        failed_ = true;
    if (count <= 0)
        return false;
    filled_ = static_cast<std::size_t>(count);
    offset_ = 0;
    return true;
}

DirectoryReader::Decoded DirectoryReader::decodeNext(Entry& entry) {
    if (offset_ >= filled_)
        return Decoded::batchDone;
    // The kernel's record layout is glibc's dirent64; fields are read by offset because names
    // run past the declared array.
    const char* record = bytesOf(buffer_) + offset_;
    unsigned short length = 0;
    std::memcpy(&length, record + offsetof(struct dirent64, d_reclen), sizeof length);
    const unsigned char type =
        static_cast<unsigned char>(record[offsetof(struct dirent64, d_type)]);
    const char* name = record + offsetof(struct dirent64, d_name);
    offset_ += length;
    if (isDotOrDotDot(name))
        return Decoded::passedOver;

    entry.name = name;
    entry.allocatedBytes = 0;
    entry.privateBytes = 0;
    entry.links = 1;
    switch (type) {
    case DT_DIR:
        entry.kind = EntryKind::directory;
        return Decoded::entry;
    case DT_LNK:
        entry.kind = EntryKind::symbolicLink;
        return Decoded::entry;
    case DT_REG:
        entry.kind = EntryKind::regularFile;
        if (detail_ == Detail::kinds)
            return Decoded::entry;
        [[fallthrough]];
    case DT_UNKNOWN:
        return describeOrReport(name, entry);
    default:
        entry.kind = EntryKind::other;
        return Decoded::entry;
    }
}

bool DirectoryReader::isPackage(const QString&) {
    return false;
}

// No Linux file system reports the blocks a file shares with its reflinked copies.
std::optional<qint64> DirectoryReader::privateBytes(const QString&) {
    return std::nullopt;
}

} // namespace corvane
