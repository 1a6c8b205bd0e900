#include "platform/KeepStore.h"
#include "scanning/DiskMapInbox.h"
#include "scanning/DiskMapModel.h"
#include "support/TreeFixture.h"

#include <QDir>
#include <QTest>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace corvane;
using namespace corvane::test;

namespace {

constexpr int patience = 20000;
using FolderID = DiskMapModel::FolderID;

class DiskMapTest : public testing::Test {
protected:
    void mapAndWait(const QString& folder, const QHash<QString, MapCategory>& known = {}) {
        model.map(folder, [known] { return known; });
        ASSERT_TRUE(QTest::qWaitFor([this] { return !model.isLoading(); }, patience));
    }

    // The folder at `relative` below the mapped one, found by name from the top.
    const DiskMapModel::Node* at(const QString& relative) const {
        FolderID current = DiskMapModel::rootFolder;
        for (const QString& name : relative.split(u'/', Qt::SkipEmptyParts)) {
            const QList<FolderID> children = model.childrenBySize(current);
            const auto child = std::find_if(children.cbegin(), children.cend(), [&](FolderID id) {
                return model.node(id)->name == name;
            });
            if (child == children.cend())
                return nullptr;
            current = *child;
        }
        return model.node(current);
    }
    std::optional<FolderID> idOf(const QString& relative) const {
        const DiskMapModel::Node* wanted = at(relative);
        for (FolderID id = 0; wanted && id < 100000; ++id) {
            if (model.node(id) == wanted)
                return id;
        }
        return std::nullopt;
    }

    ToastCenter toasts;
    DiskMapModel model{toasts};
};

} // namespace

TEST_F(DiskMapTest, MeasuresEachFolderOnceWithoutLeavingTheTree) {
    const QString root = makeTempDir(s("map"));
    writeFileOfSize(root + s("/a/one.bin"), 200'000);
    writeFileOfSize(root + s("/a/inner/two.bin"), 90'000);
    // The same file by a second name elsewhere in the tree counts once.
    makeHardLink(root + s("/a/one.bin"), root + s("/b/again.bin"));
    writeFileOfSize(root + s("/b/own.bin"), 40'000);
    // A link to a large folder outside is not followed.
    const QString outside = makeTempDir(s("outside"));
    writeFileOfSize(outside + s("/big.bin"), 2'000'000);
    makeLink(outside, root + s("/b/link"));
    mapAndWait(root);

    const qint64 one = allocatedBytes(root + s("/a/one.bin"));
    const qint64 two = allocatedBytes(root + s("/a/inner/two.bin"));
    const qint64 own = allocatedBytes(root + s("/b/own.bin"));
    ASSERT_GT(one, 0);
    EXPECT_EQ(model.node(DiskMapModel::rootFolder)->bytes, one + two + own);
    ASSERT_TRUE(at(s("a/inner")));
    EXPECT_EQ(at(s("a/inner"))->bytes, two);
    // Whichever name the walk met first carries the linked file.
    EXPECT_EQ(at(s("a"))->bytes + at(s("b"))->bytes, one + two + own);
    EXPECT_TRUE(at(s("a"))->isMeasured);
    EXPECT_EQ(model.pathOf(*idOf(s("a/inner"))), root + s("/a/inner"));
    EXPECT_TRUE(model.skippedFolders().isEmpty());
}

TEST_F(DiskMapTest, ColoursWhatTheAppKnows) {
    const QString root = makeTempDir(s("kinds"));
    writeFile(root + s("/app/package.json"), "{}");
    writeFileOfSize(root + s("/app/node_modules/left-pad/index.js"), 9000);
    writeFileOfSize(root + s("/app/build/out.o"), 9000);
    writeFileOfSize(root + s("/app/Pods/Lib/lib.a"), 9000);
    // A generic name outside a project is just a folder.
    writeFileOfSize(root + s("/notes/build/page.html"), 9000);
    writeFileOfSize(root + s("/tools/.cache/pip/wheel"), 9000);
    writeFileOfSize(root + s("/models/llama/weights.gguf"), 9000);
    writeFileOfSize(root + s("/.claude/projects/x/session.jsonl"), 9000);
    mapAndWait(root, {{root + s("/tools/.cache/pip"), MapCategory::developerCache},
                      {root + s("/models"), MapCategory::aiModels},
                      {root + s("/.claude/projects"), MapCategory::agentHistory}});

    const auto category = [this](const char* path) {
        const DiskMapModel::Node* node = at(s(path));
        return node ? std::optional(node->category) : std::nullopt;
    };
    EXPECT_EQ(category("app"), MapCategory::other);
    EXPECT_EQ(category("app/node_modules"), MapCategory::dependencies);
    EXPECT_EQ(category("app/node_modules/left-pad"), MapCategory::dependencies);
    EXPECT_EQ(category("app/build"), MapCategory::buildOutput);
    // "Pods" needs a Podfile beside it.
    EXPECT_EQ(category("app/Pods"), MapCategory::other);
    EXPECT_EQ(category("notes/build"), MapCategory::other);
    EXPECT_EQ(category("tools/.cache/pip"), MapCategory::developerCache);
    EXPECT_EQ(category("models/llama"), MapCategory::aiModels);
    EXPECT_EQ(category(".claude/projects/x"), MapCategory::agentHistory);
}

TEST_F(DiskMapTest, SmallFoldersCollapseIntoTheirParentsRest) {
    const QString root = makeTempDir(s("rest"));
    writeFileOfSize(root + s("/big/data.bin"), 6'000'000);
    writeFileOfSize(root + s("/tiny/note.txt"), 100);
    makeFolder(root + s("/empty"));
    // 250 folders, of which the 200 allowed are the larger ones.
    for (int i = 0; i < 250; ++i)
        writeFileOfSize(root + s("/many/%1/f").arg(i), i < 200 ? 8192 : 4096);
    writeFileOfSize(root + s("/loose.bin"), 30'000);
    mapAndWait(root);

    const qint64 total = model.node(DiskMapModel::rootFolder)->bytes;
    ASSERT_GT(total, 6'000'000);
    QStringList kept;
    for (const FolderID id : model.childrenBySize(DiskMapModel::rootFolder))
        kept.append(model.node(id)->name);
    EXPECT_EQ(kept, (QStringList{s("big"), s("many")}));
    EXPECT_EQ(model.restBytes(DiskMapModel::rootFolder),
              total - at(s("big"))->bytes - at(s("many"))->bytes);
    // The largest of a crowd are kept, and the crowd still weighs all of itself.
    const QList<FolderID> crowd = model.childrenBySize(*idOf(s("many")));
    ASSERT_EQ(static_cast<std::size_t>(crowd.size()), DiskMapModel::maxChildren);
    for (const FolderID id : crowd)
        EXPECT_LT(model.node(id)->name.toInt(), 200) << qPrintable(model.node(id)->name);
    EXPECT_EQ(model.restBytes(*idOf(s("many"))), 50 * allocatedBytes(root + s("/many/249/f")));
    EXPECT_LT(model.nodeCount(), 210u);
}

TEST(DiskMapWalkTest, AFolderThatVanishesMidWalkIsReportedAndTheWalkGoesOn) {
    const QString root = makeTempDir(s("vanish"));
    writeFileOfSize(root + s("/a/file"), 5000);
    writeFileOfSize(root + s("/b/file"), 5000);
    writeFileOfSize(root + s("/c/file"), 5000);
    MapEvents events;
    DiskMapWalk::Options options;
    options.batchIntervalMs = 0;
    QString removed;
    DiskMapWalk::run(root, options, [&](const MapEvents& batch) {
        events.append(batch);
        // The first subfolder entered takes a sibling with it that the walk listed already.
        for (const MapEvent& event : batch) {
            if (event.kind == MapEvent::Kind::entered && event.folder == 1) {
                for (const char* name : {"a", "b", "c"}) {
                    if (s(name) != event.name && removed.isEmpty()) {
                        removed = s(name);
                        QDir(root + u'/' + removed).removeRecursively();
                    }
                }
            }
        }
    });

    QStringList skipped;
    int entered = 0;
    for (const MapEvent& event : events) {
        if (event.kind == MapEvent::Kind::skipped)
            skipped.append(event.name + s(": ") + event.message);
        entered += event.kind == MapEvent::Kind::entered;
    }
    EXPECT_EQ(skipped, QStringList{removed + s(": Vanished while it was measured")});
    EXPECT_EQ(entered, 3);
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last().kind, MapEvent::Kind::left);
    EXPECT_EQ(events.last().folder, 0u);
}

TEST_F(DiskMapTest, MovesAFolderToTheTrashButNeverAKeptOneOrTheMappedFolder) {
    const QString root = makeTempDir(s("trash"));
    writeFileOfSize(root + s("/old/data.bin"), 300'000);
    writeFileOfSize(root + s("/kept/inner/data.bin"), 300'000);
    const KeepStore keep;
    ASSERT_EQ(keep.add(root + s("/kept/inner")), QString());
    mapAndWait(root);

    EXPECT_EQ(model.trashRefusal(DiskMapModel::rootFolder), DiskMapModel::mapFolderMessage);
    // A folder that holds a kept one would take it along.
    EXPECT_EQ(model.trashRefusal(*idOf(s("kept"))), TrashService::keptMessage);
    EXPECT_TRUE(model.trashPlan(*idOf(s("kept"))).isEmpty());

    const qint64 before = model.node(DiskMapModel::rootFolder)->bytes;
    const qint64 old = at(s("old"))->bytes;
    const TrashPlan plan = model.trashPlan(*idOf(s("old")));
    EXPECT_EQ(plan.batches, (QList<TrashPlan::Batch>{{root, {root + s("/old")}}}));
    EXPECT_EQ(plan.totalBytes(), old);
    std::optional<TrashResult> result;
    QObject::connect(&model, &DiskMapModel::trashCompleted, &model,
                     [&result](const TrashResult& done) { result = done; });
    model.trash(plan);
    ASSERT_TRUE(QTest::qWaitFor([&] { return result.has_value(); }, patience));
    QFile::remove(keep.url());

    EXPECT_EQ(result->outcome.trashed, QList<QString>{root + s("/old")});
    EXPECT_FALSE(QFileInfo::exists(root + s("/old")));
    EXPECT_FALSE(at(s("old")));
    EXPECT_EQ(model.node(DiskMapModel::rootFolder)->bytes, before - old);
    ASSERT_TRUE(toasts.current());
}

TEST(DiskMapInboxTest, EveryEventArrivesInOrderBeforeTheWalkIsOver) {
    DiskMapInbox inbox;
    std::atomic<int> deliveriesAsked = 0;
    std::thread walk([&] {
        for (quint32 folder = 0; folder < 20'000; ++folder) {
            MapEvent event;
            event.folder = folder;
            deliveriesAsked += inbox.send({event}) ? 1 : 0;
        }
        deliveriesAsked += inbox.end() ? 1 : 0;
    });
    MapEvents received;
    DiskMapInbox::Take state = DiskMapInbox::Take::took;
    int deliveries = 0;
    // The main thread's side: a delivery takes until nothing waits, as the model's does. While
    // it runs, the walk never asks for another.
    bool overlapped = false;
    while (state != DiskMapInbox::Take::over) {
        const int asked = deliveriesAsked.load();
        if (deliveries == asked)
            continue;
        overlapped |= asked != deliveries + 1;
        ++deliveries;
        while ((state = inbox.take(received)) == DiskMapInbox::Take::took)
            overlapped |= deliveriesAsked.load() != asked;
    }
    walk.join();

    EXPECT_FALSE(overlapped);

    ASSERT_EQ(received.size(), 20'000);
    for (qsizetype index = 0; index < received.size(); ++index)
        ASSERT_EQ(received[index].folder, static_cast<quint32>(index));
    EXPECT_EQ(deliveries, deliveriesAsked.load());
    EXPECT_EQ(inbox.take(received), DiskMapInbox::Take::over);
}
