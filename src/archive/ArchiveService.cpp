// The local archive and restore: one routine that refuses before it writes, measures the source,
// copies it entry by entry without following a link, measures the copy, and only then trashes the
// original. Nothing is ever deleted: a partial or rejected copy goes to the Trash.
//
// What a copy is made of:
// - Links are recreated with the same target text, never followed.
// - Regular files keep their data, holes (a sparse file stays sparse), mode and times. Paths that
//   are hard links of one file stay linked in the copy where the volume allows it; each path still
//   counts as one file with its whole size, on both sides, as a file enumerator sees them.
// - Fifos and sockets are recreated (they hold no data on disk); device files only where the
//   system allows it, else the copy fails and says why.
// - Modes and times are kept where the volume takes them; a drive that has no permissions does
//   not fail the archive, since verification and the user's work depend on the data alone.

#include "archive/ArchiveService.h"

#include "archive/TreeManifest.h"
#include "platform/DirectoryReader.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace corvane {
namespace {

// A problem with one file or folder, worded for the user.
struct FileError : std::runtime_error {
    explicit FileError(const QString& message)
        : std::runtime_error(message.toStdString()) {}
};

QString textOf(const std::exception& error) {
    return QString::fromStdString(error.what());
}

QString decoded(const QByteArray& path) {
    return QFile::decodeName(path);
}

[[noreturn]] void fail(const QByteArray& path, int error) {
    throw FileError(decoded(path) + QStringLiteral(": ") +
                    QString::fromLocal8Bit(std::strerror(error)));
}

class Descriptor {
public:
    explicit Descriptor(int descriptor)
        : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }
    // Closing can report a write that a network volume deferred.
    bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_;
};

std::array<timespec, 2> timesOf(const struct stat& info) {
#ifdef Q_OS_MACOS
    return {info.st_atimespec, info.st_mtimespec};
#else
    return {info.st_atim, info.st_mtim};
#endif
}

bool sameContentState(const struct stat& before, const struct stat& after) {
    const timespec a = timesOf(before)[1];
    const timespec b = timesOf(after)[1];
    return before.st_size == after.st_size && a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool exists(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

// ---- Measuring ----

void measureFolder(DirectoryReader& reader, const QByteArray& path, ArchiveCounts& counts,
                   const CancellationToken& cancellation, bool isTop) {
    DirectoryReader::Entry entry;
    while (reader.next(entry)) {
        cancellation.throwIfCancelled();
        if (isTop)
            ++counts.topLevelEntries;
        const QByteArray child = path + '/' + entry.name;
        if (entry.kind == EntryKind::regularFile) {
            struct stat info {};
            // Gone since the listing: it is not there to count.
            if (::lstat(child.constData(), &info) != 0 && errno != ENOENT)
                fail(child, errno);
            if (S_ISREG(info.st_mode)) {
                ++counts.files;
                counts.bytes += info.st_size;
            }
        } else if (entry.kind == EntryKind::directory) {
            DirectoryReader folder(reader, entry.name);
            if (!folder.isOpen() && errno == ENOENT)
                continue;
            if (!folder.isOpen())
                fail(child, errno);
            measureFolder(folder, child, counts, cancellation, false);
        }
    }
    if (reader.failed())
        throw FileError(
            QStringLiteral("%1: the folder could not be read to the end").arg(decoded(path)));
}

// ---- Copying ----

class Copier {
public:
    Copier(const ArchiveService& service, const ArchiveEventSink& sink,
           const CancellationToken& cancellation, qint64 totalBytes)
        : service_(service)
        , sink_(sink)
        , cancellation_(cancellation)
        , totalBytes_(totalBytes) {}

    // Copies the folder `source` to the new folder `target`; throws FileError or CancelledError.
    void copy(const QByteArray& source, const QByteArray& target);
    // Whether `target` is this copy's own: only then may a failure clean it up.
    bool createdTarget() const { return createdTarget_; }
    // What was copied, with the digest of every file as it was read for the copy.
    const TreeManifest& copied() const { return copied_; }

private:
    struct Inode {
        dev_t device;
        ino_t inode;
        auto operator<=>(const Inode&) const = default;
    };

    void copyChildren(DirectoryReader& reader, const QByteArray& source, const QByteArray& target,
                      const QByteArray& relativeFolder);
    void copyEntry(const DirectoryReader& parent, const QByteArray& name, const QByteArray& source,
                   const QByteArray& target, const QByteArray& relative);
    void copyFolder(const DirectoryReader& parent, const QByteArray& name, const QByteArray& source,
                    const QByteArray& target, const QByteArray& relative, const struct stat& info);
    void copyFile(const QByteArray& source, const QByteArray& target, const QByteArray& relative,
                  const struct stat& listed);
    void copyContents(int in, int out, off_t size, const QByteArray& source,
                      const QByteArray& target, FileDigest& digest);
    void copyRange(int in, int out, off_t offset, off_t length, const QByteArray& source,
                   const QByteArray& target, FileDigest& digest);
    bool linkToEarlierCopy(const struct stat& info, const QByteArray& target,
                           const QByteArray& relative);
    void counted(qint64 bytes, const QByteArray& relative);

    const ArchiveService& service_;
    const ArchiveEventSink& sink_;
    const CancellationToken& cancellation_;
    const qint64 totalBytes_;
    qint64 copiedBytes_ = 0;
    qint64 sinceLastReport_ = 0;
    bool createdTarget_ = false;
    // The first copy of each file that has several paths, to link the later paths to, and the
    // digest read for it.
    std::map<Inode, std::pair<QByteArray, QByteArray>> firstCopies_;
    std::vector<char> buffer_;
    TreeManifest copied_;
};

void makeFolder(const QByteArray& path) {
    // Private until its contents are in; its own mode is set afterwards.
    if (::mkdir(path.constData(), 0700) != 0)
        fail(path, errno);
}

// Best effort: see the note at the top of the file.
void keepModeAndTimes(const QByteArray& path, const struct stat& info) {
    const std::array<timespec, 2> times = timesOf(info);
    (void)::chmod(path.constData(), info.st_mode & 07777);
    (void)::utimensat(AT_FDCWD, path.constData(), times.data(), 0);
}

void Copier::copy(const QByteArray& source, const QByteArray& target) {
    struct stat info {};
    if (::lstat(source.constData(), &info) != 0)
        fail(source, errno);
    DirectoryReader reader(decoded(source), DirectoryReader::Detail::kinds);
    if (!reader.isOpen())
        fail(source, errno);
    makeFolder(target);
    createdTarget_ = true;
    ArchiveService::writeMarker(target);
    copyChildren(reader, source, target, {});
    keepModeAndTimes(target, info);
    sink_(ArchiveEvent::progress(copiedBytes_, totalBytes_, {}));
}

void Copier::copyChildren(DirectoryReader& reader, const QByteArray& source,
                          const QByteArray& target, const QByteArray& relativeFolder) {
    DirectoryReader::Entry entry;
    while (reader.next(entry)) {
        const QByteArray name(entry.name);
        const QByteArray relative = relativeFolder.isEmpty() ? name : relativeFolder + '/' + name;
        if (service_.beforeEntry)
            service_.beforeEntry(decoded(relative));
        // After the hook, so that a cancel from it stops the copy before this entry.
        cancellation_.throwIfCancelled();
        copyEntry(reader, name, source + '/' + name, target + '/' + name, relative);
    }
    if (reader.failed())
        throw FileError(
            QStringLiteral("%1: the folder could not be read to the end").arg(decoded(source)));
}

void Copier::copyEntry(const DirectoryReader& parent, const QByteArray& name,
                       const QByteArray& source, const QByteArray& target,
                       const QByteArray& relative) {
    struct stat info {};
    if (::lstat(source.constData(), &info) != 0) {
        // Removed since the listing: verification compares with what was measured before.
        if (errno == ENOENT)
            return;
        fail(source, errno);
    }
    switch (info.st_mode & S_IFMT) {
    case S_IFDIR:
        copied_.entries[relative].kind = TreeEntry::Kind::folder;
        copyFolder(parent, name, source, target, relative, info);
        return;
    case S_IFLNK: {
        std::vector<char> text(static_cast<size_t>(std::max<off_t>(info.st_size, 255)) + 1);
        ssize_t length = 0;
        // A link's size may be reported as 0; grow until the whole target text fits.
        while ((length = ::readlink(source.constData(), text.data(), text.size())) >= 0 &&
               static_cast<size_t>(length) == text.size())
            text.resize(text.size() * 2);
        if (length < 0)
            fail(source, errno);
        const QByteArray destination(text.data(), length);
        if (::symlink(destination.constData(), target.constData()) != 0)
            fail(target, errno);
        TreeEntry& entry = copied_.entries[relative];
        entry.kind = TreeEntry::Kind::link;
        entry.linkTarget = destination;
        const std::array<timespec, 2> times = timesOf(info);
        (void)::utimensat(AT_FDCWD, target.constData(), times.data(), AT_SYMLINK_NOFOLLOW);
        return;
    }
    case S_IFREG:
        copyFile(source, target, relative, info);
        return;
    default:
        if (::mknod(target.constData(), info.st_mode, info.st_rdev) != 0)
            fail(target, errno);
        copied_.entries[relative].kind = TreeEntry::Kind::other;
        keepModeAndTimes(target, info);
        return;
    }
}

void Copier::copyFolder(const DirectoryReader& parent, const QByteArray& name,
                        const QByteArray& source, const QByteArray& target,
                        const QByteArray& relative, const struct stat& info) {
    // Opened through the parent's descriptor without following: a folder swapped for a link
    // since the listing fails here instead of being walked into.
    DirectoryReader reader(parent, name.constData());
    if (!reader.isOpen() && errno == ENOENT)
        return;
    if (!reader.isOpen())
        fail(source, errno);
    makeFolder(target);
    copyChildren(reader, source, target, relative);
    keepModeAndTimes(target, info);
}

bool Copier::linkToEarlierCopy(const struct stat& info, const QByteArray& target,
                               const QByteArray& relative) {
    const auto found = firstCopies_.find(Inode{info.st_dev, info.st_ino});
    // A volume without hard links gets a second copy instead.
    if (found == firstCopies_.end() || ::link(found->second.first.constData(), target.constData()))
        return false;
    TreeEntry& entry = copied_.entries[relative];
    entry.kind = TreeEntry::Kind::file;
    entry.size = info.st_size;
    entry.modified = TreeManifest::modifiedOf(info);
    entry.digest = found->second.second;
    return true;
}

void Copier::copyFile(const QByteArray& source, const QByteArray& target,
                      const QByteArray& relative, const struct stat& listed) {
    if (listed.st_nlink > 1 && linkToEarlierCopy(listed, target, relative)) {
        counted(listed.st_size, relative);
        return;
    }
    // Non-blocking, so that a fifo swapped in since the listing cannot hang the copy.
    Descriptor in(::open(source.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!in.isOpen() && errno == ENOENT)
        return;
    if (!in.isOpen())
        fail(source, errno);
    struct stat before {};
    if (::fstat(in.get(), &before) != 0)
        fail(source, errno);
    if (!S_ISREG(before.st_mode))
        throw FileError(
            QStringLiteral("%1 changed while it was being copied").arg(decoded(source)));
    Descriptor out(
        ::open(target.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out.isOpen())
        fail(target, errno);
    FileDigest digest(ArchiveService::localDigest);
    copyContents(in.get(), out.get(), before.st_size, source, target, digest);
    // Sets the length, and with it a hole at the end that no data range covered.
    if (::ftruncate(out.get(), before.st_size) != 0)
        fail(target, errno);
    // A file written to meanwhile would leave the copy older than the original that is trashed.
    struct stat after {};
    if (::fstat(in.get(), &after) != 0 || !sameContentState(before, after))
        throw FileError(QStringLiteral("%1 changed while it was being copied; archive it again "
                                       "when nothing is writing to the project")
                            .arg(decoded(source)));
    const std::array<timespec, 2> times = timesOf(before);
    (void)::fchmod(out.get(), before.st_mode & 07777);
    (void)::futimens(out.get(), times.data());
    if (!out.close())
        fail(target, errno);
    TreeEntry& entry = copied_.entries[relative];
    entry.kind = TreeEntry::Kind::file;
    entry.size = before.st_size;
    entry.modified = TreeManifest::modifiedOf(before);
    entry.digest = digest.result();
    if (before.st_nlink > 1)
        firstCopies_.emplace(Inode{before.st_dev, before.st_ino}, std::pair(target, entry.digest));
    counted(before.st_size, relative);
}

// The data is read into memory rather than copied in the kernel: the digest of each file is taken
// from the very bytes that are written, so the original is read once.
void Copier::copyContents(int in, int out, off_t size, const QByteArray& source,
                          const QByteArray& target, FileDigest& digest) {
    off_t offset = 0;
    while (offset < size) {
        off_t dataStart = offset;
        off_t dataEnd = size;
#if defined(SEEK_DATA) && defined(SEEK_HOLE)
        // Only the data ranges are copied; the holes between them stay holes in the copy.
        dataStart = ::lseek(in, offset, SEEK_DATA);
        if (dataStart < 0 && errno == ENXIO)
            dataStart = size;
        else if (dataStart < 0 && errno != EINVAL && errno != ENOTSUP)
            fail(source, errno);
        else if (dataStart < 0) {
            dataStart = offset; // a file system that cannot tell: all of it is data
        } else {
            const off_t hole = ::lseek(in, dataStart, SEEK_HOLE);
            dataEnd = hole < 0 ? size : std::min(hole, size);
        }
#endif
        dataStart = std::min(dataStart, size);
        digest.addZeros(dataStart - offset);
        if (dataStart >= size)
            return;
        copyRange(in, out, dataStart, dataEnd - dataStart, source, target, digest);
        offset = dataEnd;
    }
}

void Copier::copyRange(int in, int out, off_t offset, off_t length, const QByteArray& source,
                       const QByteArray& target, FileDigest& digest) {
    buffer_.resize(1024 * 1024);
    while (length > 0) {
        cancellation_.throwIfCancelled();
        const size_t wanted = static_cast<size_t>(std::min<off_t>(length, off_t(buffer_.size())));
        const ssize_t count = ::pread(in, buffer_.data(), wanted, offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(source, errno);
        if (count == 0)
            return; // the source got shorter; the check after the copy says so
        digest.add(buffer_.data(), count);
        for (ssize_t written = 0; written < count;) {
            const ssize_t step = ::pwrite(out, buffer_.data() + written,
                                          static_cast<size_t>(count - written), offset + written);
            if (step < 0 && errno == EINTR)
                continue;
            if (step < 0)
                fail(target, errno);
            written += step;
        }
        offset += count;
        length -= count;
    }
}

void Copier::counted(qint64 bytes, const QByteArray& relative) {
    copiedBytes_ += bytes;
    sinceLastReport_ += bytes;
    // One event per step copied, never one per file: small files must not flood the receiver.
    if (sinceLastReport_ >= ArchiveService::progressStep) {
        sink_(ArchiveEvent::progress(copiedBytes_, totalBytes_, decoded(relative)));
        sinceLastReport_ = 0;
    }
}

// ---- The routine ----

// Creates `path` and its missing parents; the reason when that fails. A link on the way is
// followed: the destination the user picked may be reached through one.
std::optional<QString> makePath(const QByteArray& path) {
    struct stat info {};
    if (::stat(path.constData(), &info) == 0)
        return S_ISDIR(info.st_mode)
                   ? std::nullopt
                   : std::optional<QString>(decoded(path) + QStringLiteral(" is not a folder"));
    if (errno != ENOENT)
        return decoded(path) + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
    const qsizetype slash = path.lastIndexOf('/');
    if (slash > 0) {
        if (std::optional<QString> problem = makePath(path.left(slash)))
            return problem;
    }
    if (::mkdir(path.constData(), 0777) != 0 && errno != EEXIST)
        return decoded(path) + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
    return std::nullopt;
}

// The refusals that come before anything is written.
std::optional<QString> refusal(const QString& source, const QString& destinationFolder,
                               const QString& target) {
    if (!exists(source))
        return QStringLiteral("Source no longer exists");
    // lstat: a dangling link there is something too, and would be written through.
    if (exists(target))
        return QStringLiteral("%1 already exists").arg(target);
    // The walk would meet its own copy and never end.
    if (PathIdentity::isInside(destinationFolder, source))
        return QStringLiteral("Cannot copy %1 into itself").arg(source);
    return std::nullopt;
}

class Routine {
public:
    Routine(const ArchiveService& service, const ArchiveEventSink& sink,
            const CancellationToken& cancellation, bool archiving, const ArchiveOptions& options)
        : service_(service)
        , sink_(sink)
        , cancellation_(cancellation)
        , archiving_(archiving)
        , options_(options) {}

    void run(const QString& sourceGiven, const QString& destinationGiven);

private:
    // A partial copy of an interrupted run at the target: removed when the user agreed, else the
    // run stops and says so. True when the run may go on.
    bool handledInterruptedCopy(const QString& target);
    // Moves the copy to the Trash; the suffix of the message that follows.
    QString cleanedUp(const QString& target) const;
    bool verify(const QString& source, const QString& target, const ArchiveCounts& expected,
                const TreeManifest& copied);
    // The copy is whole: its marker goes, and its folder's times are the original's again.
    bool finishCopy(const QString& source, const QString& target);
    void fail(const QString& message) const { sink_(ArchiveEvent::failed(message)); }
    QString untouched() const {
        return archiving_ ? QStringLiteral("Original left untouched.")
                          : QStringLiteral("The archived copy is untouched.");
    }

    const ArchiveService& service_;
    const ArchiveEventSink& sink_;
    const CancellationToken& cancellation_;
    const bool archiving_;
    const ArchiveOptions options_;
};

bool Routine::handledInterruptedCopy(const QString& target) {
    if (!ArchiveService::hasMarker(target))
        return true;
    if (!options_.removeInterruptedCopy) {
        sink_(ArchiveEvent::failed(ArchiveService::interruptedCopyMessage(target), target));
        return false;
    }
    if (const std::optional<QString> problem = service_.trash->moveToTrash(target).failure) {
        fail(QStringLiteral("The partial copy at %1 could not be moved to the Trash: %2")
                 .arg(target, *problem));
        return false;
    }
    return true;
}

void Routine::run(const QString& sourceGiven, const QString& destinationGiven) {
    const QString source = Paths::absoluteStandardized(sourceGiven);
    const QString destinationFolder = Paths::absoluteStandardized(destinationGiven);
    const QString target = Paths::joined(destinationFolder, Paths::lastComponent(source));
    if (archiving_) {
        if (const std::optional<QString> kept = ArchiveService::keepRefusal(source))
            return fail(*kept);
    }
    if (exists(source) && !handledInterruptedCopy(target))
        return;
    if (const std::optional<QString> refused = refusal(source, destinationFolder, target))
        return fail(*refused);
    if (const std::optional<QString> problem = makePath(QFile::encodeName(destinationFolder)))
        return fail(QStringLiteral("Cannot create destination: ") + *problem);

    ArchiveCounts measured;
    try {
        measured = ArchiveService::measure(source, cancellation_);
    } catch (const CancelledError&) {
        return fail(QStringLiteral("Cancelled"));
    } catch (const std::exception& error) {
        return fail(QStringLiteral("Cannot measure source: ") + textOf(error));
    }

    Copier copier(service_, sink_, cancellation_, measured.bytes);
    try {
        copier.copy(QFile::encodeName(source), QFile::encodeName(target));
    } catch (const std::exception& error) {
        const QString message =
            cancellation_.isCancelled() ? QStringLiteral("Cancelled") : textOf(error);
        // A target that was there first is someone else's, and stays.
        return fail(message + (copier.createdTarget() ? cleanedUp(target) : QString()));
    }

    sink_(ArchiveEvent::verifying());
    if (!verify(source, target, measured, copier.copied()) || !finishCopy(source, target))
        return;
    if (archiving_) {
        if (const std::optional<QString> problem =
                ArchiveService::trashOriginal(source, *service_.trash))
            return fail(QStringLiteral("Copy verified at %1, but the original could not be moved "
                                       "to the Trash: %2")
                            .arg(target, *problem));
    }
    sink_(ArchiveEvent::finished(target, Verification::content));
}

// The copy is read back whole and compared, file by file, with the digests taken while the
// original was read; the original is looked at once more (names, kinds, sizes and times, no data)
// to catch what changed in it after its part was copied.
bool Routine::verify(const QString& source, const QString& target, const ArchiveCounts& expected,
                     const TreeManifest& copied) {
    std::optional<QString> difference;
    try {
        const TreeManifest copy =
            TreeManifest::read(target, TreeManifest::Read::digests, ArchiveService::localDigest,
                               cancellation_, ArchiveService::partialMarker);
        const ArchiveCounts counts = copy.counts();
        if (counts != expected) {
            const QString suffix = cleanedUp(target);
            fail(QStringLiteral(
                     "Verification failed: copy has %1 files / %2 bytes, source has %3 / %4. %5")
                     .arg(counts.files)
                     .arg(counts.bytes)
                     .arg(expected.files)
                     .arg(expected.bytes)
                     .arg(untouched()) +
                 suffix);
            return false;
        }
        const TreeManifest now = TreeManifest::read(source, TreeManifest::Read::stamps,
                                                    ArchiveService::localDigest, cancellation_);
        difference = copied.differenceIn(now, TreeManifest::Compare::stamps);
        if (!difference)
            difference = copied.differenceIn(copy, TreeManifest::Compare::content);
    } catch (const CancelledError&) {
        fail(QStringLiteral("Cancelled") + cleanedUp(target));
        return false;
    } catch (const std::exception& error) {
        fail(QStringLiteral("Verification failed: ") + textOf(error) + cleanedUp(target));
        return false;
    }
    if (!difference)
        return true;
    const QString suffix = cleanedUp(target);
    fail(QStringLiteral("Verification failed: %1. %2").arg(*difference, untouched()) + suffix);
    return false;
}

bool Routine::finishCopy(const QString& source, const QString& target) {
    const QByteArray folder = QFile::encodeName(target);
    const QByteArray marker = folder + '/' + ArchiveService::partialMarker;
    if (::unlink(marker.constData()) != 0) {
        fail(QStringLiteral("The copy at %1 was verified, but its marker could not be removed: "
                            "%2. %3")
                 .arg(target, QString::fromLocal8Bit(std::strerror(errno)), untouched()));
        return false;
    }
    struct stat info {};
    if (::lstat(QFile::encodeName(source).constData(), &info) == 0)
        keepModeAndTimes(folder, info);
    return true;
}

QString Routine::cleanedUp(const QString& target) const {
    if (!service_.trash->moveToTrash(target).failure)
        return {};
    return QStringLiteral(" A partial copy was left at %1; delete it manually.").arg(target);
}

} // namespace

void ArchiveService::archive(const QString& source, const QString& destinationFolder,
                             const ArchiveEventSink& sink, const CancellationToken& cancellation,
                             const ArchiveOptions& options) const {
    Routine(*this, sink, cancellation, true, options).run(source, destinationFolder);
}

void ArchiveService::restore(const QString& source, const QString& destinationFolder,
                             const ArchiveEventSink& sink, const CancellationToken& cancellation,
                             const ArchiveOptions& options) const {
    Routine(*this, sink, cancellation, false, options).run(source, destinationFolder);
}

void ArchiveService::writeMarker(const QByteArray& folder) {
    const QByteArray path = folder + '/' + partialMarker;
    Descriptor marker(
        ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!marker.isOpen())
        fail(path, errno);
    const QByteArray text = "A copy by Corvane Clean that is not known to be whole yet.\n";
    if (::write(marker.get(), text.constData(), size_t(text.size())) != text.size())
        fail(path, errno);
}

bool ArchiveService::hasMarker(const QString& folder) {
    struct stat info {};
    const QByteArray path = QFile::encodeName(folder) + '/' + partialMarker;
    return ::lstat(path.constData(), &info) == 0 && S_ISREG(info.st_mode);
}

std::optional<QString> ArchiveService::keepRefusal(const QString& source) {
    const std::optional<QString> kept = TrashService::keepRefusal(source);
    if (kept != TrashService::keptMessage)
        return kept;
    return QStringLiteral("Refused: %1 is marked Keep or holds a kept folder, and archiving moves "
                          "it to the Trash. Remove the mark first to archive it.")
        .arg(source);
}

std::optional<QString> ArchiveService::trashOriginal(const QString& source,
                                                     const PlatformTrash& trash) {
    const TrashOutcome outcome = TrashService::trash({source}, Paths::parentPath(source), trash);
    return outcome.failures.isEmpty() ? std::nullopt
                                      : std::optional(outcome.failures.first().message);
}

QString ArchiveService::interruptedCopyMessage(const QString& where) {
    return QStringLiteral("%1 is a partial copy from an interrupted run. Remove it, then try "
                          "again.")
        .arg(where);
}

ArchiveCounts ArchiveService::measure(const QString& folder,
                                      const CancellationToken& cancellation) {
    cancellation.throwIfCancelled();
    const QByteArray path = QFile::encodeName(folder);
    struct stat info {};
    if (::lstat(path.constData(), &info) != 0)
        fail(path, errno);
    if (!S_ISDIR(info.st_mode))
        throw FileError(QStringLiteral("%1 is not a folder").arg(folder));
    DirectoryReader reader(folder, DirectoryReader::Detail::kinds);
    if (!reader.isOpen())
        fail(path, errno);
    ArchiveCounts counts;
    measureFolder(reader, path, counts, cancellation, true);
    return counts;
}

} // namespace corvane
