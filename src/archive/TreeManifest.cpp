#include "archive/TreeManifest.h"

#include "platform/DirectoryReader.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace corvane {
namespace {

QCryptographicHash::Algorithm qtAlgorithm(DigestAlgorithm algorithm) {
    return algorithm == DigestAlgorithm::sha256 ? QCryptographicHash::Sha256
                                                : QCryptographicHash::Blake2b_512;
}

[[noreturn]] void fail(const QByteArray& path, int error) {
    throw std::runtime_error((QFile::decodeName(path) + QStringLiteral(": ") +
                              QString::fromLocal8Bit(std::strerror(error)))
                                 .toStdString());
}

QString shown(const QByteArray& relative) {
    return QFile::decodeName(relative);
}

QString kindName(TreeEntry::Kind kind) {
    switch (kind) {
    case TreeEntry::Kind::folder:
        return QStringLiteral("a folder");
    case TreeEntry::Kind::file:
        return QStringLiteral("a file");
    case TreeEntry::Kind::link:
        return QStringLiteral("a link");
    case TreeEntry::Kind::other:
        return QStringLiteral("a special file");
    }
    return {};
}

class Walker {
public:
    Walker(TreeManifest& manifest, TreeManifest::Read what, DigestAlgorithm algorithm,
           const CancellationToken& cancellation)
        : manifest_(manifest)
        , what_(what)
        , algorithm_(algorithm)
        , cancellation_(cancellation) {}

    void walk(DirectoryReader& reader, const QByteArray& path, const QByteArray& relativeFolder,
              const QByteArray& skip) {
        DirectoryReader::Entry listed;
        while (reader.next(listed)) {
            cancellation_.throwIfCancelled();
            const QByteArray name(listed.name);
            if (relativeFolder.isEmpty() && !skip.isEmpty() && name == skip)
                continue;
            const QByteArray relative =
                relativeFolder.isEmpty() ? name : relativeFolder + '/' + name;
            const QByteArray child = path + '/' + name;
            if (listed.kind == EntryKind::directory) {
                DirectoryReader folder(reader, listed.name);
                if (!folder.isOpen())
                    fail(child, errno);
                manifest_.entries[relative].kind = TreeEntry::Kind::folder;
                walk(folder, child, relative, {});
            } else {
                manifest_.entries[relative] = entryOf(child);
            }
        }
        if (reader.failed())
            throw std::runtime_error(QStringLiteral("%1: the folder could not be read to the end")
                                         .arg(QFile::decodeName(path))
                                         .toStdString());
    }

private:
    TreeEntry entryOf(const QByteArray& path) const {
        TreeEntry entry;
        struct stat info {};
        if (::lstat(path.constData(), &info) != 0)
            fail(path, errno);
        if (S_ISLNK(info.st_mode)) {
            entry.kind = TreeEntry::Kind::link;
            std::vector<char> text(4096);
            ssize_t length = 0;
            while ((length = ::readlink(path.constData(), text.data(), text.size())) >= 0 &&
                   size_t(length) == text.size())
                text.resize(text.size() * 2);
            if (length < 0)
                fail(path, errno);
            entry.linkTarget = QByteArray(text.data(), length);
        } else if (S_ISREG(info.st_mode)) {
            entry.kind = TreeEntry::Kind::file;
            entry.size = info.st_size;
            entry.modified = TreeManifest::modifiedOf(info);
            if (what_ == TreeManifest::Read::digests)
                entry.digest = digestOf(path, info.st_size);
        }
        return entry;
    }

    QByteArray digestOf(const QByteArray& path, qint64 size) const {
        const int fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0)
            fail(path, errno);
        try {
            QByteArray digest = FileDigest::ofFile(fd, size, path, algorithm_, cancellation_);
            ::close(fd);
            return digest;
        } catch (...) {
            ::close(fd);
            throw;
        }
    }

    TreeManifest& manifest_;
    TreeManifest::Read what_;
    DigestAlgorithm algorithm_;
    const CancellationToken& cancellation_;
};

} // namespace

FileDigest::FileDigest(DigestAlgorithm algorithm)
    : hash_(qtAlgorithm(algorithm)) {}

void FileDigest::addZeros(qint64 count) {
    static const std::vector<char> zeros(1024 * 1024, 0);
    while (count > 0) {
        const qint64 step = std::min<qint64>(count, qint64(zeros.size()));
        add(zeros.data(), step);
        count -= step;
    }
}

QByteArray FileDigest::ofFile(int fd, qint64 size, const QByteArray& path,
                              DigestAlgorithm algorithm, const CancellationToken& cancellation) {
    FileDigest digest(algorithm);
    // One buffer per thread: most files are small, and a fresh megabyte for each would cost more
    // than reading them.
    thread_local std::vector<char> buffer(1024 * 1024);
    qint64 offset = 0;
    while (offset < size) {
        qint64 start = offset;
        qint64 end = size;
#if defined(SEEK_DATA) && defined(SEEK_HOLE)
        // Holes are added as zeros without reading them.
        const off_t data = ::lseek(fd, off_t(offset), SEEK_DATA);
        if (data < 0 && errno == ENXIO) {
            start = size;
        } else if (data >= 0) {
            start = data;
            const off_t hole = ::lseek(fd, data, SEEK_HOLE);
            end = hole < 0 ? size : std::min<qint64>(hole, size);
        }
#endif
        start = std::min(start, size);
        digest.addZeros(start - offset);
        offset = start;
        while (offset < end) {
            cancellation.throwIfCancelled();
            const ssize_t count = ::pread(
                fd, buffer.data(), size_t(std::min<qint64>(end - offset, qint64(buffer.size()))),
                off_t(offset));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                fail(path, errno);
            if (count == 0)
                return digest.result(); // shorter than listed: the digests will differ
            digest.add(buffer.data(), count);
            offset += count;
        }
    }
    return digest.result();
}

TreeManifest TreeManifest::read(const QString& folder, Read what, DigestAlgorithm algorithm,
                                const CancellationToken& cancellation,
                                const QByteArray& skipAtTop) {
    cancellation.throwIfCancelled();
    const QByteArray path = QFile::encodeName(folder);
    DirectoryReader reader(folder, DirectoryReader::Detail::kinds);
    if (!reader.isOpen())
        fail(path, errno);
    TreeManifest manifest;
    Walker(manifest, what, algorithm, cancellation).walk(reader, path, {}, skipAtTop);
    return manifest;
}

qint64 TreeManifest::modifiedOf(const struct stat& info) {
#ifdef Q_OS_MACOS
    const timespec time = info.st_mtimespec;
#else
    const timespec time = info.st_mtim;
#endif
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

ArchiveCounts TreeManifest::counts() const {
    ArchiveCounts counts;
    for (const auto& [path, entry] : entries) {
        if (!path.contains('/'))
            ++counts.topLevelEntries;
        if (entry.kind == TreeEntry::Kind::file) {
            ++counts.files;
            counts.bytes += entry.size;
        }
    }
    return counts;
}

std::optional<QString> TreeManifest::differenceIn(const TreeManifest& copy, Compare how) const {
    auto mine = entries.begin();
    auto theirs = copy.entries.begin();
    while (mine != entries.end() || theirs != copy.entries.end()) {
        if (theirs == copy.entries.end() || (mine != entries.end() && mine->first < theirs->first))
            return QStringLiteral("%1 is missing from the copy").arg(shown(mine->first));
        if (mine == entries.end() || theirs->first < mine->first)
            return QStringLiteral("the copy has %1, which the original does not")
                .arg(shown(theirs->first));
        const TreeEntry& a = mine->second;
        const TreeEntry& b = theirs->second;
        const QString path = shown(mine->first);
        if (a.kind != b.kind)
            return QStringLiteral("%1 is %2 in the copy but %3 in the original")
                .arg(path, kindName(b.kind), kindName(a.kind));
        if (a.kind == TreeEntry::Kind::link && a.linkTarget != b.linkTarget)
            return QStringLiteral("the link %1 points elsewhere in the copy").arg(path);
        if (a.kind == TreeEntry::Kind::file && how == Compare::content && a.digest != b.digest)
            return QStringLiteral("the copy of %1 differs from the original").arg(path);
        if (a.kind == TreeEntry::Kind::file && how == Compare::stamps &&
            (a.size != b.size || a.modified != b.modified))
            return QStringLiteral("%1 changed in the original during the copy").arg(path);
        ++mine;
        ++theirs;
    }
    return std::nullopt;
}

} // namespace corvane
