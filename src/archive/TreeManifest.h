#pragma once

// What a copy must match: every entry of a tree by relative path, its kind, and for a regular file
// the digest of its bytes (or its size and modification time), for a link its target text. Two
// manifests are compared entry by entry, so a file changed at the same size, a link that points
// elsewhere or an entry missing on one side is found, not only a different count.

#include "archive/ArchiveService.h"
#include "platform/Cancellation.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>
#include <map>
#include <optional>
#include <sys/stat.h>

namespace corvane {

// Feeds a file's bytes to a digest; a hole reads as the zeros it stands for.
class FileDigest {
public:
    explicit FileDigest(DigestAlgorithm algorithm);
    void add(const char* data, qsizetype size) { hash_.addData(QByteArrayView(data, size)); }
    void addZeros(qint64 count);
    QByteArray result() const { return hash_.result(); }

    // The digest of the open file `fd` of `size` bytes, read past its holes. Throws
    // std::runtime_error naming `path` when it can't be read, CancelledError when cancelled.
    static QByteArray ofFile(int fd, qint64 size, const QByteArray& path, DigestAlgorithm algorithm,
                             const CancellationToken& cancellation);

private:
    QCryptographicHash hash_;
};

struct TreeEntry {
    enum class Kind { folder, file, link, other };

    Kind kind = Kind::other;
    // `file`: the digest, empty when only the stamp was taken.
    QByteArray digest;
    // `file`: size and modification time (nanoseconds), to notice a change without reading.
    qint64 size = 0;
    qint64 modified = 0;
    // `link`: the target text.
    QByteArray linkTarget;
};

struct TreeManifest {
    // Paths relative to the tree's top, as bytes; sorted, so both sides compare in one pass.
    std::map<QByteArray, TreeEntry> entries;

    enum class Read { digests, stamps };
    enum class Compare { content, stamps };

    // Reads the folder `folder` without following links. `skipAtTop` is left out (the marker of a
    // copy in progress). Throws std::runtime_error with the description, or CancelledError.
    static TreeManifest read(const QString& folder, Read what, DigestAlgorithm algorithm,
                             const CancellationToken& cancellation,
                             const QByteArray& skipAtTop = {});

    // A file's modification time in nanoseconds, as entries keep it.
    static qint64 modifiedOf(const struct stat& info);

    ArchiveCounts counts() const;
    // The first way `copy` differs from this tree (the original), in words, or nothing.
    std::optional<QString> differenceIn(const TreeManifest& copy, Compare how) const;
};

} // namespace corvane
