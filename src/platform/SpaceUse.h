#pragma once

#include <QList>
#include <QtGlobal>
#include <memory>
#include <unordered_map>
#include <vector>

namespace corvane {

// A file with more than one hard link, as far as one measurement met it.
struct LinkedFile {
    quint64 device = 0;
    quint64 inode = 0;
    // The link count the file system reports, and how many of those links the measurement met.
    quint32 links = 0;
    quint32 linksMet = 0;
    // What removing the file frees once all its links go.
    qint64 bytes = 0;

    bool operator==(const LinkedFile&) const = default;
};

// Linked files some of whose links lie outside the measured tree, ordered by (device, inode)
// so that the lists of several trees merge in one pass.
using PartlyMetFiles = std::vector<LinkedFile>;

// What a tree occupies and what moving it away gives back. The two differ by hard links: a
// file whose other links live elsewhere (a pnpm store, a shared build cache) keeps its blocks
// when this tree goes. On APFS they differ by clones too: blocks a file shares with a clone
// stay while the clone does (two clones inside one tree are counted cautiously, each without
// what it shares).
struct SpaceUse {
    // Allocated bytes, once per link met: what the tree seems to weigh.
    qint64 sizeBytes = 0;
    // Private bytes (see DirectoryReader::Entry) of the files whose every link lies in the
    // tree, once per file.
    qint64 freesBytes = 0;
    // The rest of the linked files, kept so that trees removed together can be counted together
    // (see `freedTogether`). Absent when there are none, which is the common case; shared
    // because it can be large and travels between threads by copy.
    std::shared_ptr<const PartlyMetFiles> partlyMet;

    bool operator==(const SpaceUse& other) const;
};

// Counts the links of multi-link files during one measurement. Files with a single link never
// reach it, so a tree without hard links costs nothing beyond a branch per file.
class LinkCounter {
public:
    void meet(quint64 device, quint64 inode, quint32 links, qint64 bytes);
    // Adds the files whose every link was met to `use.freesBytes` and keeps the others in
    // `use.partlyMet`.
    void finish(SpaceUse& use);

private:
    struct Key {
        quint64 device;
        quint64 inode;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        size_t operator()(const Key& key) const noexcept {
            return std::hash<quint64>()(key.inode * 0x9e3779b97f4a7c15ULL ^ key.device);
        }
    };
    std::unordered_map<Key, LinkedFile, KeyHash> files_;
};

// What removing all of `uses` together frees, the trees being disjoint: each tree's own
// `freesBytes`, plus every linked file whose links all lie in these trees taken together.
// `sizeBytes` is the plain sum; `partlyMet` keeps what is still shared with other places.
SpaceUse freedTogether(const QList<SpaceUse>& uses);

} // namespace corvane
