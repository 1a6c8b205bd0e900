#include "platform/SpaceUse.h"

#include "platform/CheckedSum.h"

#include <algorithm>
#include <queue>

namespace corvane {
namespace {

bool before(const LinkedFile& a, const LinkedFile& b) {
    return a.device != b.device ? a.device < b.device : a.inode < b.inode;
}

bool sameFile(const LinkedFile& a, const LinkedFile& b) {
    return a.device == b.device && a.inode == b.inode;
}

// A file counts as freed once all its links were met. More met than reported can only mean
// the file gained links while it was measured; all of them were still inside.
bool allLinksMet(const LinkedFile& file) {
    return file.linksMet >= file.links;
}

// Cursors into the sorted lists, smallest file first.
struct Cursor {
    const LinkedFile* at;
    const LinkedFile* end;
};

struct LaterCursor {
    bool operator()(const Cursor& a, const Cursor& b) const { return before(*b.at, *a.at); }
};

} // namespace

bool SpaceUse::operator==(const SpaceUse& other) const {
    const bool noneHere = !partlyMet || partlyMet->empty();
    const bool noneThere = !other.partlyMet || other.partlyMet->empty();
    const bool sameShared =
        (noneHere && noneThere) || (!noneHere && !noneThere && *partlyMet == *other.partlyMet);
    return sizeBytes == other.sizeBytes && freesBytes == other.freesBytes && sameShared;
}

void LinkCounter::meet(quint64 device, quint64 inode, quint32 links, qint64 bytes) {
    auto [file, isNew] = files_.try_emplace(Key{device, inode});
    if (isNew)
        file->second = LinkedFile{device, inode, links, 0, bytes};
    ++file->second.linksMet;
}

void LinkCounter::finish(SpaceUse& use) {
    auto partly = std::make_shared<PartlyMetFiles>();
    for (const auto& [key, file] : files_) {
        if (allLinksMet(file))
            use.freesBytes = checkedSum(use.freesBytes, file.bytes);
        else
            partly->push_back(file);
    }
    files_.clear();
    std::sort(partly->begin(), partly->end(), before);
    use.partlyMet = partly->empty() ? nullptr : std::move(partly);
}

SpaceUse freedTogether(const QList<SpaceUse>& uses) {
    SpaceUse together;
    std::priority_queue<Cursor, std::vector<Cursor>, LaterCursor> cursors;
    for (const SpaceUse& use : uses) {
        together.sizeBytes = checkedSum(together.sizeBytes, use.sizeBytes);
        together.freesBytes = checkedSum(together.freesBytes, use.freesBytes);
        if (use.partlyMet && !use.partlyMet->empty())
            cursors.push({use.partlyMet->data(), use.partlyMet->data() + use.partlyMet->size()});
    }
    if (cursors.size() == 1) {
        // Nothing to meet: keep the one list as it is.
        for (const SpaceUse& use : uses) {
            if (use.partlyMet && !use.partlyMet->empty())
                together.partlyMet = use.partlyMet;
        }
        return together;
    }
    auto partly = std::make_shared<PartlyMetFiles>();
    // A k-way merge of the sorted lists: the links of one file met in several trees meet here.
    while (!cursors.empty()) {
        Cursor cursor = cursors.top();
        cursors.pop();
        if (!partly->empty() && sameFile(partly->back(), *cursor.at))
            partly->back().linksMet += cursor.at->linksMet;
        else
            partly->push_back(*cursor.at);
        if (++cursor.at != cursor.end)
            cursors.push(cursor);
    }
    const auto complete = std::stable_partition(
        partly->begin(), partly->end(), [](const LinkedFile& file) { return !allLinksMet(file); });
    for (auto file = complete; file != partly->end(); ++file)
        together.freesBytes = checkedSum(together.freesBytes, file->bytes);
    partly->erase(complete, partly->end());
    if (!partly->empty())
        together.partlyMet = std::move(partly);
    return together;
}

} // namespace corvane
