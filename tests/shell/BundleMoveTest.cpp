#include "shell/BundleMove.h"

#include "support/TestEnvironment.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::MoveToApplications;
using test::s;

namespace {

const QString downloaded = s("/Users/ada/Downloads/Corvane Clean.app");
const QString installed = s("/Applications/Corvane Clean.app");
const QString temporary = s("/Applications/Corvane Clean (older copy).app");

// A disk of names: records every operation in order, carries out the ones that succeed, and
// fails those named in `failing` with the message "<operation> failed".
class RecordingFiles final : public BundleFiles {
public:
    QSet<QString> present;
    QSet<QString> failing;
    QStringList calls;

    bool exists(const QString& path) const override { return present.contains(path); }
    std::optional<QString> copyWithoutQuarantine(const QString& from, const QString& to) override {
        // A copy that fails half-way leaves part of the bundle behind.
        return record(
            s("copy"), {from, to}, [&] { present.insert(to); }, true);
    }
    std::optional<QString> rename(const QString& from, const QString& to) override {
        if (present.contains(to))
            return s("taken");
        return record(s("rename"), {from, to}, [&] {
            present.remove(from);
            present.insert(to);
        });
    }
    std::optional<QString> swap(const QString& first, const QString& second) override {
        return record(s("swap"), {first, second}, [] {});
    }
    std::optional<QString> moveToTrash(const QString& path) override {
        return record(s("trash"), {path}, [&] { present.remove(path); });
    }
    void removeUnfinishedCopy(const QString& path) override {
        calls.append(s("remove ") + path);
        present.remove(path);
    }

private:
    template <typename Effect>
    std::optional<QString> record(const QString& operation, const QStringList& paths, Effect effect,
                                  bool effectOnFailure = false) {
        calls.append(operation + u' ' + paths.join(s(" -> ")));
        const bool fails = failing.contains(operation);
        if (!fails || effectOnFailure)
            effect();
        return fails ? std::optional<QString>(operation + s(" failed")) : std::nullopt;
    }
};

RecordingFiles diskWith(const QStringList& items) {
    RecordingFiles files;
    for (const QString& item : items)
        files.present.insert(item);
    return files;
}

} // namespace

TEST(BundleMoveTest, TheCopyIsWholeBeforeItTakesTheInstalledName) {
    RecordingFiles files = diskWith({downloaded});
    const MoveOutcome outcome = moveBundle(files, downloaded, installed);
    EXPECT_TRUE(outcome.installed);
    EXPECT_TRUE(outcome.problems.isEmpty()) << qPrintable(outcome.problems.join(u'\n'));
    EXPECT_EQ(files.calls, (QStringList{s("copy ") + downloaded + s(" -> ") + temporary,
                                        s("rename ") + temporary + s(" -> ") + installed,
                                        s("trash ") + downloaded}));
    EXPECT_EQ(files.present, (QSet<QString>{installed}));
}

TEST(BundleMoveTest, AnOlderCopyIsSwappedOutAndGoesToTheTrash) {
    RecordingFiles files = diskWith({downloaded, installed});
    const MoveOutcome outcome = moveBundle(files, downloaded, installed);
    EXPECT_TRUE(outcome.installed);
    EXPECT_EQ(files.calls, (QStringList{s("copy ") + downloaded + s(" -> ") + temporary,
                                        s("swap ") + temporary + s(" -> ") + installed,
                                        s("trash ") + temporary, s("trash ") + downloaded}));
    EXPECT_EQ(files.present, (QSet<QString>{installed}));

    // The older copy that will not go leaves the new one installed, and says where it stayed.
    files = diskWith({downloaded, installed});
    files.failing = {s("trash")};
    const MoveOutcome stuck = moveBundle(files, downloaded, installed);
    EXPECT_TRUE(stuck.installed);
    ASSERT_EQ(stuck.problems.size(), 2);
    EXPECT_TRUE(stuck.problems.at(0).contains(temporary));
    EXPECT_TRUE(stuck.problems.at(1).contains(downloaded));
}

TEST(BundleMoveTest, AFailedCopyOrSwapLeavesTheInstalledAppAndRemovesTheTemporaryCopy) {
    for (const QString& failing : {s("copy"), s("swap")}) {
        RecordingFiles files = diskWith({downloaded, installed});
        files.failing = {failing};
        const MoveOutcome outcome = moveBundle(files, downloaded, installed);
        EXPECT_FALSE(outcome.installed) << qPrintable(failing);
        EXPECT_EQ(outcome.problems, QStringList{failing + s(" failed")});
        // Nothing went to the Trash: not the installed app, not the download.
        EXPECT_FALSE(files.calls.join(u'\n').contains(s("trash"))) << qPrintable(failing);
        EXPECT_EQ(files.calls.last(), s("remove ") + temporary);
        EXPECT_EQ(files.present, (QSet<QString>{downloaded, installed})) << qPrintable(failing);
    }

    // Without an older copy, a failed rename leaves nothing behind either.
    RecordingFiles files = diskWith({downloaded});
    files.failing = {s("rename")};
    EXPECT_FALSE(moveBundle(files, downloaded, installed).installed);
    EXPECT_EQ(files.present, (QSet<QString>{downloaded}));
}

TEST(BundleMoveTest, ACopyOnADiskImageOrTheSystemsReadOnlyCopyIsNotTrashed) {
    const QString translocated = s("/private/var/folders/x7/k2/T/AppTranslocation/"
                                   "6C1E8D3A-93F2-4B7E-A1D5-0E2F7C9B4A18/d/Corvane Clean.app");
    for (const QString& opened : {s("/Volumes/Corvane Clean/Corvane Clean.app"),
                                  s("/volumes/corvane clean/Corvane Clean.app"), translocated}) {
        RecordingFiles files = diskWith({opened});
        EXPECT_TRUE(moveBundle(files, opened, installed).installed);
        EXPECT_EQ(files.calls.size(), 2) << qPrintable(files.calls.join(u'\n'));
        EXPECT_FALSE(files.calls.join(u'\n').contains(s("trash"))) << qPrintable(opened);
    }
}

TEST(BundleMoveTest, TheTemporaryNameNeverTakesAnExistingItem) {
    RecordingFiles files =
        diskWith({temporary, s("/Applications/Corvane Clean (older copy 2).app")});
    EXPECT_EQ(temporaryName(files, installed), s("/Applications/Corvane Clean (older copy 3).app"));
    EXPECT_EQ(temporaryName(diskWith({}), s("/Users/ada/Applications/Tool.APP")),
              s("/Users/ada/Applications/Tool (older copy).app"));
}
