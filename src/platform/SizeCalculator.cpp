#include "platform/SizeCalculator.h"

#include "platform/CheckedSum.h"
#include "platform/DirectoryReader.h"
#include "platform/Paths.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unordered_set>
#include <utility>
#include <vector>

namespace corvane {
namespace {

constexpr qint64 cancellationCheckInterval = 512;

// One level of the depth-first walk: the open folder and the subfolders still to visit. Keeping
// the parent open lets each child be opened relative to it, so no path is ever rebuilt and no
// length limit applies. The cost is one descriptor per level: deeper than the descriptor
// limit allows (about a thousand levels), folders count nothing, like unreadable ones.
struct Level {
    DirectoryReader reader;
    std::vector<std::string> subfolders;
    // Relative to the measured folder; kept only when some subfolders are excluded.
    std::string relativePath;
};

// Excluded subfolders as paths relative to the measured folder, their names composed (see
// Paths::composed) and encoded as the file system's names are.
using Exclusions = std::unordered_set<std::string>;

// A listed name in the form the exclusions hold: the same folder may be listed decomposed and
// excluded composed, or the other way round. Plain ASCII names need no work.
std::string composedName(const std::string& name) {
    const bool ascii = std::all_of(name.begin(), name.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (ascii)
        return name;
    const QString text = QFile::decodeName(QByteArray::fromStdString(name));
    return QFile::encodeName(Paths::composed(text)).toStdString();
}

class TreeMeasurement {
public:
    TreeMeasurement(const CancellationToken& cancellation, const Exclusions& excluded,
                    FolderVisitor* visitor = nullptr)
        : cancellation_(cancellation)
        , excluded_(excluded)
        , visitor_(visitor) {}

    SpaceUse run(DirectoryReader root) {
        if (visitor_)
            device_ = root.device();
        std::vector<Level> stack;
        stack.push_back(list(std::move(root), {}));
        while (!stack.empty()) {
            Level& top = stack.back();
            if (top.subfolders.empty()) {
                stack.pop_back();
                if (visitor_)
                    visitor_->folderLeft();
                continue;
            }
            const std::string name = std::move(top.subfolders.back());
            top.subfolders.pop_back();
            std::string relativePath;
            if (!excluded_.empty()) {
                const std::string key = composedName(name);
                relativePath = top.relativePath.empty() ? key : top.relativePath + '/' + key;
                if (excluded_.count(relativePath))
                    continue;
            }
            DirectoryReader child(top.reader, name.c_str());
            // A folder that vanished or refuses to open simply counts nothing. The reader's only
            // call is the open, so errno still says why.
            if (!child.isOpen()) {
                const int error = errno;
                if (visitor_)
                    visitor_->folderSkipped(name, error);
                continue;
            }
            if (visitor_ && child.device() != device_) {
                visitor_->folderSkipped(name, EXDEV);
                continue;
            }
            stack.push_back(list(std::move(child), name));
            stack.back().relativePath = std::move(relativePath);
        }
        SpaceUse use{total_, unlinkedTotal_, nullptr};
        links_.finish(use);
        return use;
    }

private:
    Level list(DirectoryReader reader, std::string_view name) {
        Level level{std::move(reader), {}, {}};
        qint64 fileBytes = 0;
        noted_.clear();
        DirectoryReader::Entry entry;
        while (level.reader.next(entry)) {
            if (++entries_ % cancellationCheckInterval == 0)
                cancellation_.throwIfCancelled();
            if (entry.kind == EntryKind::regularFile) {
                count(entry);
                if (visitor_)
                    fileBytes = checkedSum(fileBytes, firstLinkBytes(entry));
            } else if (entry.kind == EntryKind::directory) {
                level.subfolders.emplace_back(entry.name);
            }
            if (visitor_ && visitor_->notedNames().count(entry.name))
                noted_.emplace_back(entry.name);
            if (visitor_ && entry.error != 0)
                unreadable_.emplace_back(entry.name, entry.error);
        }
        if (visitor_) {
            visitor_->folderEntered(name, fileBytes, noted_);
            for (const auto& [entryName, error] : unreadable_)
                visitor_->folderSkipped(entryName, error);
            unreadable_.clear();
        }
        return level;
    }

    // A file weighs its allocated bytes; what its removal frees is its private part (blocks
    // shared with a clone stay), and only once every hard link of it goes.
    void count(const DirectoryReader::Entry& entry) {
        total_ = checkedSum(total_, entry.allocatedBytes);
        if (entry.links <= 1)
            unlinkedTotal_ = checkedSum(unlinkedTotal_, entry.privateBytes);
        else
            links_.meet(entry.device, entry.inode, entry.links, entry.privateBytes);
    }

    // A file's bytes at the first of its links the walk meets, nothing at the others.
    qint64 firstLinkBytes(const DirectoryReader::Entry& entry) {
        if (entry.links <= 1)
            return entry.allocatedBytes;
        return linksMet_.insert({entry.device, entry.inode}).second ? entry.allocatedBytes : 0;
    }

    struct FileKey {
        quint64 device;
        quint64 inode;
        bool operator==(const FileKey&) const = default;
    };
    struct FileKeyHash {
        size_t operator()(const FileKey& key) const noexcept {
            return std::hash<quint64>()(key.inode * 0x9e3779b97f4a7c15ULL ^ key.device);
        }
    };

    const CancellationToken& cancellation_;
    const Exclusions& excluded_;
    FolderVisitor* visitor_;
    qint64 total_ = 0;
    // Files with a single link: freed with the tree, no bookkeeping needed.
    qint64 unlinkedTotal_ = 0;
    LinkCounter links_;
    qint64 entries_ = 0;
    // Only for a visitor: the volume the walk stays on, the linked files met, and the noted
    // names and unreadable entries of the folder being listed.
    std::optional<quint64> device_;
    std::unordered_set<FileKey, FileKeyHash> linksMet_;
    std::vector<std::string> noted_;
    std::vector<std::pair<std::string, int>> unreadable_;
};

} // namespace

qint64 SizeCalculator::size(const QString& path, const CancellationToken& cancellation,
                            const QSet<QString>& excludedPaths) {
    return measure(path, cancellation, excludedPaths).sizeBytes;
}

SpaceUse SizeCalculator::measure(const QString& path, const CancellationToken& cancellation,
                                 const QSet<QString>& excludedPaths) {
    struct stat info {};
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    if (S_ISREG(info.st_mode)) {
        const qint64 bytes = static_cast<qint64>(info.st_blocks) * 512;
        const qint64 frees = std::min(DirectoryReader::privateBytes(path).value_or(bytes), bytes);
        if (info.st_nlink <= 1)
            return {bytes, frees, nullptr};
        LinkCounter links;
        links.meet(static_cast<quint64>(info.st_dev), static_cast<quint64>(info.st_ino),
                   static_cast<quint32>(info.st_nlink), frees);
        SpaceUse use{bytes, 0, nullptr};
        links.finish(use);
        return use;
    }
    if (!S_ISDIR(info.st_mode))
        return {};
    Exclusions excluded;
    const QString folder = Paths::composed(Paths::standardized(path));
    for (const QString& excludedPath : excludedPaths) {
        const QString composedPath = Paths::composed(Paths::standardized(excludedPath));
        if (const std::optional<QString> relative = Paths::pathInside(composedPath, folder))
            excluded.insert(QFile::encodeName(*relative).toStdString());
    }
    DirectoryReader root(path, DirectoryReader::Detail::kindsAndSizes);
    return TreeMeasurement(cancellation, excluded).run(std::move(root));
}

void SizeCalculator::walk(const QString& path, FolderVisitor& visitor,
                          const CancellationToken& cancellation) {
    // The folder the user picked may be a link to the real one; below it, none is followed.
    DirectoryReader root(path, DirectoryReader::Detail::kindsAndSizes,
                         DirectoryReader::RootLinks::followed);
    if (!root.isOpen())
        return;
    const Exclusions none;
    TreeMeasurement(cancellation, none, &visitor).run(std::move(root));
}

} // namespace corvane
