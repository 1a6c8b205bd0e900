#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace corvane {

// What a directory entry is. `unknown` never reaches callers: the reader asks the file system
// when the listing alone cannot tell.
enum class EntryKind : unsigned char { directory, regularFile, symbolicLink, other };

// Reads one folder through its own open descriptor. Children are opened relative to their parent's
// descriptor, so deep trees, long paths and names in any encoding work, and a symbolic link is
// never followed on the way down. Names are raw bytes as the file system stores them.
//
// One listing call fetches the entry kinds (and, when asked, allocated sizes) of many entries at
// once; a per-entry metadata call is made only where the platform's listing cannot answer.
class DirectoryReader {
public:
    enum class Detail {
        kinds,         // names and kinds only
        kindsAndSizes, // also the allocated bytes and link identity of regular files
    };

    enum class RootLinks {
        notFollowed, // a symbolic link in the last component makes the open fail
        followed,    // the folder a user picked may be a link to the real one
    };

    struct Entry {
        // NUL-terminated; valid until the next call of `next()`.
        const char* name = nullptr;
        EntryKind kind = EntryKind::other;
        // Bytes allocated on disk for a regular file when sizes were asked for; 0 otherwise.
        qint64 allocatedBytes = 0;
        // Of those, the bytes no clone or snapshot shares: what removing the file frees. APFS
        // tells them apart; elsewhere, and wherever it cannot say, they are the allocated bytes.
        qint64 privateBytes = 0;
        // With sizes, for a regular file: its hard-link count and the identity its links share.
        // They come from the same metadata call as the size, so they cost nothing extra.
        quint32 links = 1;
        quint64 device = 0;
        quint64 inode = 0;
        // Non-zero when neither the listing nor a metadata call could read the entry: the
        // system's error. Such an entry is of kind `other` and counts nothing.
        int error = 0;
    };

    DirectoryReader(const QString& path, Detail detail, RootLinks links = RootLinks::notFollowed);
    // Opens the folder `name` inside `parent`; never follows a link.
    DirectoryReader(const DirectoryReader& parent, const char* name);
    ~DirectoryReader();

    DirectoryReader(DirectoryReader&& other) noexcept;
    DirectoryReader& operator=(DirectoryReader&& other) noexcept;
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    // False when the folder could not be opened (missing, not a folder, a link, no permission).
    bool isOpen() const { return fd_ >= 0; }
    // The next entry other than "." and "..", in the order the file system lists them. False at
    // the end, or when reading failed; `failed()` tells the two apart. Entries that vanish between
    // the listing and a metadata call are passed over; entries that cannot be read come with
    // their `error`.
    bool next(Entry& entry);
    bool failed() const { return failed_; }
    // The device the open folder lies on, or nothing when it is not open.
    std::optional<quint64> device() const;

    // Whether the platform treats the folder at `path` as a package (an application or document
    // bundle shown as a single file). Never true on Linux.
    static bool isPackage(const QString& path);
    // What removing the regular file at `path` frees of its allocated bytes, leaving out blocks
    // it shares with clones (APFS); nothing where the file system cannot tell (never on Linux).
    static std::optional<qint64> privateBytes(const QString& path);
    // The path with every symbolic link resolved, or nothing when it does not exist.
    static std::optional<QString> canonicalPath(const QString& path);

private:
    enum class Decoded { entry, passedOver, batchDone };

    void openAt(int directoryFd, const char* name, bool followLink);
    // Reads the next batch of records; false at the end or on an error.
    bool refill();
    Decoded decodeNext(Entry& entry);
    // One metadata call for an entry the listing could not describe fully.
    bool describe(const char* name, Entry& entry) const;
    // The same, and what comes of it: the entry, passed over when it is gone since the listing,
    // or delivered with its error when it cannot be read.
    Decoded describeOrReport(const char* name, Entry& entry) const;
    void close();
    // Listing buffers are recycled per thread (see the source for why).
    static std::unique_ptr<std::uint64_t[]> takeBuffer();
    static void giveBack(std::unique_ptr<std::uint64_t[]> buffer);

    static constexpr std::size_t bufferSize = 32 * 1024;

    int fd_ = -1;
    Detail detail_ = Detail::kinds;
    bool failed_ = false;
    bool atEnd_ = false;
    // Raw listing records; 8-byte aligned, as the records themselves are.
    std::unique_ptr<std::uint64_t[]> buffer_;
    std::size_t filled_ = 0;
    std::size_t offset_ = 0;
    // Records of the current batch not yet decoded (the macOS listing counts them).
    int pendingRecords_ = 0;
};

} // namespace corvane
