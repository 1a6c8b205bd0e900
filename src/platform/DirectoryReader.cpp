// The parts of the directory reader that are the same on every POSIX system: opening relative to
// a parent descriptor, the metadata fallback and the entry loop. The listing itself is in the
// platform files.

#include "platform/DirectoryReader.h"

#include <QFile>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace corvane {
namespace {

// A walk reads one listing at a time per thread, so one spare buffer per thread spares an
// allocation per folder. That matters more than it seems: freeing 32 KiB per folder makes the
// allocator trim and the kernel re-fault the same pages, and both take the address-space lock
// that every measuring thread of the process shares.
thread_local std::unique_ptr<std::uint64_t[]> spareBuffer;

} // namespace

std::unique_ptr<std::uint64_t[]> DirectoryReader::takeBuffer() {
    if (spareBuffer)
        return std::move(spareBuffer);
    // Not zeroed: the kernel writes each record before it is read.
    return std::unique_ptr<std::uint64_t[]>(new std::uint64_t[bufferSize / sizeof(std::uint64_t)]);
}

void DirectoryReader::giveBack(std::unique_ptr<std::uint64_t[]> buffer) {
    if (buffer && !spareBuffer)
        spareBuffer = std::move(buffer);
}

DirectoryReader::DirectoryReader(const QString& path, Detail detail, RootLinks links)
    : detail_(detail) {
    const QByteArray encoded = QFile::encodeName(path);
    openAt(AT_FDCWD, encoded.constData(), links == RootLinks::followed);
}

DirectoryReader::DirectoryReader(const DirectoryReader& parent, const char* name)
    : detail_(parent.detail_) {
    if (parent.fd_ < 0) {
        failed_ = true;
        return;
    }
    openAt(parent.fd_, name, false);
}

DirectoryReader::~DirectoryReader() {
    close();
}

DirectoryReader::DirectoryReader(DirectoryReader&& other) noexcept
    : fd_(std::exchange(other.fd_, -1))
    , detail_(other.detail_)
    , failed_(other.failed_)
    , atEnd_(other.atEnd_)
    , buffer_(std::move(other.buffer_))
    , filled_(other.filled_)
    , offset_(other.offset_)
    , pendingRecords_(other.pendingRecords_) {}

DirectoryReader& DirectoryReader::operator=(DirectoryReader&& other) noexcept {
    if (this != &other) {
        close();
        fd_ = std::exchange(other.fd_, -1);
        detail_ = other.detail_;
        failed_ = other.failed_;
        atEnd_ = other.atEnd_;
        buffer_ = std::move(other.buffer_);
        filled_ = other.filled_;
        offset_ = other.offset_;
        pendingRecords_ = other.pendingRecords_;
    }
    return *this;
}

void DirectoryReader::openAt(int directoryFd, const char* name, bool followLink) {
    // O_NONBLOCK: a FIFO put where a folder was expected must not hang the walk.
    const int flags =
        O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | (followLink ? 0 : O_NOFOLLOW);
    do {
        fd_ = ::openat(directoryFd, name, flags);
    } while (fd_ < 0 && errno == EINTR);
    failed_ = fd_ < 0;
    atEnd_ = fd_ < 0;
}

void DirectoryReader::close() {
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
    giveBack(std::move(buffer_));
}

bool DirectoryReader::next(Entry& entry) {
    entry.error = 0;
    while (!atEnd_) {
        switch (decodeNext(entry)) {
        case Decoded::entry:
            return true;
        case Decoded::passedOver:
            break;
        case Decoded::batchDone:
            if (!refill()) {
                atEnd_ = true;
                // Deep walks keep one reader per level open; only the descriptor is still needed.
                giveBack(std::move(buffer_));
            }
            break;
        }
    }
    return false;
}

std::optional<quint64> DirectoryReader::device() const {
    struct stat info {};
    if (fd_ < 0 || ::fstat(fd_, &info) != 0)
        return std::nullopt;
    return static_cast<quint64>(info.st_dev);
}

bool DirectoryReader::describe(const char* name, Entry& entry) const {
    struct stat info {};
    if (::fstatat(fd_, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    if (S_ISDIR(info.st_mode))
        entry.kind = EntryKind::directory;
    else if (S_ISREG(info.st_mode))
        entry.kind = EntryKind::regularFile;
    else if (S_ISLNK(info.st_mode))
        entry.kind = EntryKind::symbolicLink;
    else
        entry.kind = EntryKind::other;
    const bool counts = entry.kind == EntryKind::regularFile && detail_ == Detail::kindsAndSizes;
    entry.allocatedBytes = counts ? static_cast<qint64>(info.st_blocks) * 512 : 0;
    entry.privateBytes = entry.allocatedBytes;
    entry.links = static_cast<quint32>(info.st_nlink);
    entry.device = static_cast<quint64>(info.st_dev);
    entry.inode = static_cast<quint64>(info.st_ino);
    return true;
}

DirectoryReader::Decoded DirectoryReader::describeOrReport(const char* name, Entry& entry) const {
    if (describe(name, entry))
        return Decoded::entry;
    const int error = errno;
    if (error == ENOENT)
        return Decoded::passedOver;
    // Whatever the listing said of it may be stale or partial: it counts nothing, and the
    // caller hears why.
    entry.kind = EntryKind::other;
    entry.allocatedBytes = 0;
    entry.privateBytes = 0;
    entry.links = 1;
    entry.error = error;
    return Decoded::entry;
}

std::optional<QString> DirectoryReader::canonicalPath(const QString& path) {
    const QByteArray encoded = QFile::encodeName(path);
    char* resolved = ::realpath(encoded.constData(), nullptr);
    if (!resolved)
        return std::nullopt;
    QString result = QFile::decodeName(resolved);
    std::free(resolved);
    return result;
}

} // namespace corvane
