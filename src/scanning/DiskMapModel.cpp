#include "scanning/DiskMapModel.h"

#include "platform/CheckedSum.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

#include <QElapsedTimer>
#include <algorithm>

namespace corvane {

DiskMapModel::DiskMapModel(ToastCenter& toasts, QObject* parent, const PlatformTrash& trash)
    : InventoryModel(toasts, false, parent)
    , platformTrash_(trash) {}

void DiskMapModel::map(const QString& folder, KnownFolders knownFolders) {
    folder_ = Paths::absoluteStandardized(folder);
    knownFolders_ = std::move(knownFolders);
    nodes_.clear();
    protectedFolders_.reset();
    if (!skipped_.isEmpty()) {
        skipped_.clear();
        emit skippedFoldersChanged();
    }
    emit mapReset();
    // A walk still running is replaced at once, not after it ends: its folder is no longer
    // wanted.
    if (isLoading())
        startLoading();
    else
        reload();
}

void DiskMapModel::startLoading() {
    auto inbox = std::make_shared<DiskMapInbox>();
    inbox_ = inbox;
    backlog_.clear();
    backlogApplied_ = 0;
    startJob(JobKind::load, [this, folder = folder_, known = knownFolders_, inbox](
                                const CancellationToken& cancellation, const MainThreadPost& post) {
        DiskMapWalk::Options options;
        if (known)
            options.knownFolders = known();
        // Made here: it reads the desktop's settings file.
        ProtectedFolders protectedFolders = ProtectedFolders::ofCurrentUser(folder);
        post([this, protectedFolders] { protectedFolders_ = protectedFolders; });
        const auto deliver = [this] { this->deliver(); };
        DiskMapWalk::run(
            folder, options,
            [&post, &inbox, &deliver](MapEvents batch) {
                if (inbox->send(std::move(batch)))
                    post(deliver);
            },
            cancellation);
        if (inbox->end())
            post(deliver);
    });
}

// Applies what the walk sent for at most `deliveryBudgetMs`, then lets the window paint and
// answer before it goes on with the rest.
void DiskMapModel::deliver() {
    constexpr qsizetype eventsPerLook = 256;
    QElapsedTimer clock;
    clock.start();
    bool changed = false;
    bool skippedMore = false;
    DiskMapInbox::Take state = DiskMapInbox::Take::took;
    while (clock.elapsed() < deliveryBudgetMs) {
        if (backlogApplied_ == backlog_.size()) {
            backlog_.clear();
            backlogApplied_ = 0;
            state = inbox_->take(backlog_);
            if (state != DiskMapInbox::Take::took)
                break;
        }
        const qsizetype end = std::min(backlog_.size(), backlogApplied_ + eventsPerLook);
        for (; backlogApplied_ < end; ++backlogApplied_)
            skippedMore |= apply(backlog_[backlogApplied_]);
        changed = true;
    }
    if (changed)
        emit mapChanged();
    if (skippedMore)
        emit skippedFoldersChanged();
    if (state == DiskMapInbox::Take::over)
        finishLoading();
    if (state != DiskMapInbox::Take::took)
        return;
    // Queued behind the paint and input events that came meanwhile; dropped when a new map
    // has started since.
    QMetaObject::invokeMethod(
        this,
        [this, inbox = inbox_] {
            if (inbox == inbox_)
                deliver();
        },
        Qt::QueuedConnection);
}

bool DiskMapModel::apply(const MapEvent& event) {
    switch (event.kind) {
    case MapEvent::Kind::entered:
        enter(event);
        break;
    case MapEvent::Kind::left:
        if (const auto found = nodes_.find(event.folder); found != nodes_.end()) {
            found->second.isMeasured = true;
            keepLargest(event.folder);
        }
        break;
    case MapEvent::Kind::skipped: {
        const QString path = Paths::joined(pathOf(event.parent), event.name);
        skipped_.append({path, path, event.message});
        return true;
    }
    }
    return false;
}

void DiskMapModel::enter(const MapEvent& event) {
    if (event.folder != rootFolder) {
        const auto parent = nodes_.find(event.parent);
        // Gone when it was moved to the Trash while the walk was inside it.
        if (parent == nodes_.end())
            return;
        parent->second.children.push_back(event.folder);
    }
    Node node;
    node.name = event.name;
    node.parent = event.parent;
    node.category = event.category;
    nodes_.emplace(event.folder, std::move(node));
    addBytes(event.folder, event.fileBytes);
}

// The sizes of a folder and all that hold it grow together, so a folder still being measured
// shows what it has so far.
void DiskMapModel::addBytes(FolderID id, qint64 bytes) {
    if (bytes == 0)
        return;
    for (;;) {
        const auto found = nodes_.find(id);
        if (found == nodes_.end())
            return;
        found->second.bytes = checkedSum(found->second.bytes, bytes);
        if (id == rootFolder)
            return;
        id = found->second.parent;
    }
}

void DiskMapModel::keepLargest(FolderID id) {
    Node& node = nodes_.at(id);
    std::vector<FolderID>& children = node.children;
    const qint64 whole = nodes_.at(rootFolder).bytes;
    const qint64 threshold =
        std::max({qint64(1), node.bytes / keptShareDivisor, whole / keptShareOfWholeDivisor});
    std::sort(children.begin(), children.end(),
              [this](FolderID a, FolderID b) { return nodes_.at(a).bytes > nodes_.at(b).bytes; });
    std::size_t kept = 0;
    while (kept < children.size() && kept < maxChildren &&
           nodes_.at(children[kept]).bytes >= threshold)
        ++kept;
    for (std::size_t i = kept; i < children.size(); ++i)
        erase(children[i]);
    children.resize(kept);
    children.shrink_to_fit();
}

// Drops a folder and what it holds from the tree; the sizes above it stay as they are.
void DiskMapModel::erase(FolderID id) {
    std::vector<FolderID> doomed{id};
    while (!doomed.empty()) {
        const FolderID next = doomed.back();
        doomed.pop_back();
        const auto found = nodes_.find(next);
        if (found == nodes_.end())
            continue;
        doomed.insert(doomed.end(), found->second.children.begin(), found->second.children.end());
        nodes_.erase(found);
    }
}

const DiskMapModel::Node* DiskMapModel::node(FolderID id) const {
    const auto found = nodes_.find(id);
    return found == nodes_.end() ? nullptr : &found->second;
}

QString DiskMapModel::pathOf(FolderID id) const {
    QStringList names;
    while (id != rootFolder) {
        const Node* folder = node(id);
        if (!folder)
            return {};
        names.prepend(folder->name);
        id = folder->parent;
    }
    names.prepend(folder_);
    return names.join(u'/').replace(QStringLiteral("//"), QStringLiteral("/"));
}

QList<DiskMapModel::FolderID> DiskMapModel::childrenBySize(FolderID id, qsizetype limit) const {
    const Node* folder = node(id);
    if (!folder)
        return {};
    QList<FolderID> children(folder->children.cbegin(), folder->children.cend());
    children.removeIf([this](FolderID child) { return nodes_.at(child).bytes <= 0; });
    const auto larger = [this](FolderID a, FolderID b) {
        return nodes_.at(a).bytes > nodes_.at(b).bytes;
    };
    // A folder still being measured may hold thousands; only the largest are wanted.
    if (limit >= 0 && limit < children.size()) {
        std::partial_sort(children.begin(), children.begin() + limit, children.end(), larger);
        children.resize(limit);
    } else {
        std::sort(children.begin(), children.end(), larger);
    }
    return children;
}

qint64 DiskMapModel::restBytes(FolderID id) const {
    const Node* folder = node(id);
    if (!folder)
        return 0;
    qint64 children = 0;
    for (const FolderID child : folder->children)
        children = checkedSum(children, nodes_.at(child).bytes);
    return folder->bytes - children;
}

std::optional<DiskMapModel::FolderID> DiskMapModel::folderAt(const QString& path) const {
    if (!node(rootFolder))
        return std::nullopt;
    if (Paths::standardized(path) == folder_)
        return rootFolder;
    const std::optional<QString> inside = Paths::pathInside(Paths::standardized(path), folder_);
    if (!inside)
        return std::nullopt;
    FolderID current = rootFolder;
    for (const QString& name : inside->split(u'/')) {
        const std::vector<FolderID>& children = nodes_.at(current).children;
        const auto child = std::find_if(children.cbegin(), children.cend(),
                                        [&](FolderID id) { return nodes_.at(id).name == name; });
        if (child == children.cend())
            return std::nullopt;
        current = *child;
    }
    return current;
}

std::optional<QString> DiskMapModel::trashRefusal(FolderID id) const {
    if (id == rootFolder)
        return mapFolderMessage;
    const QString path = pathOf(id);
    if (path.isEmpty())
        return TrashService::goneMessage;
    if (!protectedFolders_ || !protectedFolders_->allowsItem(path))
        return ownFolderMessage;
    return TrashService::keepRefusal(path);
}

TrashPlan DiskMapModel::trashPlan(FolderID id) const {
    TrashPlan plan;
    plan.area = cleanupArea;
    if (trashRefusal(id))
        return plan;
    plan.add(folder_, pathOf(id), node(id)->bytes);
    return plan;
}

void DiskMapModel::trash(const TrashPlan& plan) {
    trashInBackground(plan, platformTrash_,
                      [this](const TrashResult& result) { applyTrashResult(result); });
}

void DiskMapModel::applyTrashResult(const TrashResult& result) {
    if (const QString toast = trashToastText(result); !toast.isEmpty())
        toasts().post(toast, ToastStyle::success, putBackOffer(result.cleanup));
    QList<ItemFailure> failures;
    for (const TrashFailure& failure : result.outcome.failures)
        failures.append({failure.url, failure.url, failure.message});
    bool changed = false;
    for (const QString& url : result.wasDryRun ? QList<QString>() : result.outcome.trashed) {
        const std::optional<FolderID> id = folderAt(url);
        if (!id || *id == rootFolder)
            continue;
        const Node& gone = nodes_.at(*id);
        const FolderID parent = gone.parent;
        addBytes(parent, -gone.bytes);
        std::erase(nodes_.at(parent).children, *id);
        erase(*id);
        changed = true;
    }
    if (changed)
        emit mapChanged();
    finishRemoval(failures);
    emit trashCompleted(result);
}

} // namespace corvane
