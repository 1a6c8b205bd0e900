#include "archive/ArchiveService.h"

#include "ArchiveTesting.h"
#include "platform/TrashService.h"
#include "support/KeepMarks.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QTimeZone>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvane;
using test::s;

namespace {

constexpr qint64 mebibyte = 1024 * 1024;

// Refuses to trash the paths it is given (all of them when given none), like a locked item or a
// volume without a Trash would; everything else goes to the real Trash.
class RefusingTrash : public PlatformTrash {
public:
    explicit RefusingTrash(QSet<QString> refused = {})
        : refused_(std::move(refused)) {}

    TrashMove moveToTrash(const QString& path) const override {
        if (refused_.isEmpty() || refused_.contains(path))
            return TrashMove::refused(s("The item is locked"));
        return PlatformTrash::system().moveToTrash(path);
    }

private:
    QSet<QString> refused_;
};

QList<ArchiveEvent> archived(const ArchiveService& service, const QString& source,
                             const QString& destination, bool archiving = true,
                             const CancellationToken& cancellation = CancellationToken()) {
    QList<ArchiveEvent> events;
    const ArchiveEventSink sink = [&](const ArchiveEvent& event) { events.append(event); };
    if (archiving)
        service.archive(source, destination, sink, cancellation);
    else
        service.restore(source, destination, sink, cancellation);
    return events;
}

// lstat, so a dangling link is present too.
bool isPresent(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

bool isInTrash(const QString& name) {
    return isPresent(qEnvironmentVariable("XDG_DATA_HOME") + s("/Trash/files/") + name);
}

struct stat statOf(const QString& path) {
    struct stat info {};
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &info), 0) << qPrintable(path);
    return info;
}

QByteArray bytesAt(const QString& path, qint64 offset, qint64 length) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(offset))
        return {};
    return file.read(length);
}

QByteArray linkText(const QString& path) {
    char text[4096];
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), text, sizeof text);
    return length < 0 ? QByteArray() : QByteArray(text, length);
}

QStringList entriesOf(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

TEST(ArchiveService, AnEmptyProjectArchivesAndItsOriginalGoesToTheTrash) {
    const QString base = test::makeTempDir(s("archive-empty"));
    const QString source = base + s("/code/empty-project");
    QDir().mkpath(source);
    // The archive folder does not exist yet: it is made with its parents.
    const QString destination = base + s("/drive/CorvaneArchive");
    const QString target = destination + s("/empty-project");

    const QList<ArchiveEvent> events = archived(ArchiveService(), source, destination);

    const QList<ArchiveEvent> expected{ArchiveEvent::progress(0, 0, {}), ArchiveEvent::verifying(),
                                       ArchiveEvent::finished(target)};
    EXPECT_EQ(events, expected);
    EXPECT_EQ(ArchiveService::measure(target), ArchiveCounts());
    EXPECT_FALSE(isPresent(source));
    EXPECT_TRUE(isInTrash(s("empty-project")));
}

TEST(ArchiveService, MeasuringCountsRegularFilesAndTopLevelEntriesWithoutFollowingLinks) {
    const QString base = test::makeTempDir(s("archive-measure"));
    const QString folder = base + s("/app");
    test::writeFile(folder + s("/src/main.c"), "int main;");
    test::writeFile(folder + s("/.env"), "A=1");
    test::writeFile(base + s("/elsewhere/big.bin"), QByteArray(4096, 'x'));
    ASSERT_TRUE(QFile::link(base + s("/elsewhere"), folder + s("/linked-folder")));
    ASSERT_TRUE(QFile::link(base + s("/elsewhere/big.bin"), folder + s("/src/linked-file")));
    QDir().mkpath(folder + s("/empty"));

    EXPECT_EQ(ArchiveService::measure(folder), (ArchiveCounts{2, 12, 4}));

    CancellationToken cancelled;
    cancelled.cancel();
    EXPECT_THROW(ArchiveService::measure(folder, cancelled), CancelledError);
    try {
        ArchiveService::measure(base + s("/gone"));
        ADD_FAILURE() << "a missing folder was measured";
    } catch (const std::runtime_error& error) {
        EXPECT_TRUE(QString::fromUtf8(error.what()).startsWith(base + s("/gone: ")))
            << error.what();
    }
    // A link to a folder is not the folder.
    EXPECT_THROW(ArchiveService::measure(folder + s("/linked-folder")), std::runtime_error);
}

TEST(ArchiveService, LinksHardLinksSpecialFilesAndUnicodeNamesAreCopiedAsTheyAre) {
    const QString base = test::makeTempDir(s("archive-odd"));
    const QString source = base + s("/code/Café ✓");
    const QString outside = base + s("/outside");
    test::writeFile(outside + s("/secret.txt"), "not part of the project");
    test::writeFile(source + s("/src/main.c"), "int main(void) { return 0; }\n");
    test::writeFile(source + s("/.env"), "TOKEN=1\n");
    test::writeFile(source + s("/bin/tool"), "#!/bin/sh\n");
    QFile::setPermissions(source + s("/bin/tool"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
                              QFileDevice::ReadOther);
    const QDateTime modified(QDate(2020, 2, 3), QTime(4, 5, 6), QTimeZone::utc());
    {
        QFile file(source + s("/src/main.c"));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(modified, QFileDevice::FileModificationTime));
    }
    ASSERT_TRUE(QFile::link(s("../nowhere"), source + s("/dangling")));
    ASSERT_TRUE(QFile::link(outside, source + s("/outside-link")));
    ASSERT_EQ(::link(QFile::encodeName(source + s("/src/main.c")).constData(),
                     QFile::encodeName(source + s("/hard-link.c")).constData()),
              0);
    ASSERT_EQ(::mkfifo(QFile::encodeName(source + s("/pipe")).constData(), 0600), 0);
    QDir().mkpath(source + s("/empty"));
    const ArchiveCounts before = ArchiveService::measure(source);
    // main.c and its hard link are two paths, each counted whole; links count nothing.
    EXPECT_EQ(before, (ArchiveCounts{4, 29 + 29 + 8 + 10, 8}));

    const QString destination = base + s("/drive");
    const QString target = destination + s("/Café ✓");
    const QList<ArchiveEvent> events = archived(ArchiveService(), source, destination);

    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(), ArchiveEvent::finished(target));
    EXPECT_EQ(ArchiveService::measure(target), before);
    EXPECT_EQ(entriesOf(target),
              (QStringList{s(".env"), s("bin"), s("dangling"), s("empty"), s("hard-link.c"),
                           s("outside-link"), s("pipe"), s("src")}));
    EXPECT_EQ(linkText(target + s("/dangling")), "../nowhere");
    EXPECT_EQ(linkText(target + s("/outside-link")), QFile::encodeName(outside));
    EXPECT_TRUE(S_ISFIFO(statOf(target + s("/pipe")).st_mode));
    EXPECT_EQ(statOf(target + s("/hard-link.c")).st_ino, statOf(target + s("/src/main.c")).st_ino);
    EXPECT_EQ(bytesAt(target + s("/src/main.c"), 0, 100), "int main(void) { return 0; }\n");
    EXPECT_EQ(QFileInfo(target + s("/src/main.c")).lastModified(), modified);
    EXPECT_EQ(statOf(target + s("/bin/tool")).st_mode & 07777, 0704u);

    EXPECT_FALSE(isPresent(source));
    EXPECT_TRUE(isInTrash(s("Café ✓")));
    // What the link pointed at was neither copied nor trashed.
    EXPECT_EQ(bytesAt(outside + s("/secret.txt"), 0, 100), "not part of the project");
}

TEST(ArchiveService, ASparseFileStaysSparseAndVerifies) {
    const QString base = test::makeTempDir(s("archive-sparse"));
    const QString source = base + s("/model");
    const QString file = source + s("/weights.bin");
    const qint64 size = 100 * 1000 * 1000;
    test::writeFile(file, "head");
    {
        QFile handle(file);
        ASSERT_TRUE(handle.open(QIODevice::ReadWrite));
        ASSERT_TRUE(handle.seek(50 * mebibyte));
        ASSERT_EQ(handle.write("middle"), 6);
        ASSERT_TRUE(handle.resize(size));
    }

    const qint64 sourceAllocated = qint64(statOf(file).st_blocks) * 512;
    const QString target = base + s("/drive/model");
    const QList<ArchiveEvent> events = archived(ArchiveService(), source, base + s("/drive"));

    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(), ArchiveEvent::finished(target));
    const QString copy = target + s("/weights.bin");
    EXPECT_EQ(statOf(copy).st_size, size);
    EXPECT_EQ(bytesAt(copy, 0, 4), "head");
    EXPECT_EQ(bytesAt(copy, 50 * mebibyte - 2, 8), QByteArray("\0\0middle", 8));
    EXPECT_EQ(bytesAt(copy, size - 3, 3), QByteArray(3, '\0'));
    // Where the file system keeps holes, the copy keeps them too.
    if (sourceAllocated < 2 * mebibyte) {
        EXPECT_LT(qint64(statOf(copy).st_blocks) * 512, 2 * mebibyte);
    }
}

TEST(ArchiveService, RefusesBeforeWritingAnything) {
    const QString base = test::makeTempDir(s("archive-refusals"));
    const QString source = base + s("/code/app");
    test::writeFile(source + s("/main.c"), "int main;");
    const QString drive = base + s("/drive");
    test::writeFile(drive + s("/app/mine.txt"), "already here");
    const ArchiveService service;

    EXPECT_EQ(archived(service, source, drive),
              QList<ArchiveEvent>{ArchiveEvent::failed(drive + s("/app already exists"))});
    EXPECT_EQ(entriesOf(drive + s("/app")), QStringList{s("mine.txt")});

    // A dangling link is something too: writing there would write through it.
    const QString linked = base + s("/linked");
    QDir().mkpath(linked);
    ASSERT_TRUE(QFile::link(base + s("/somewhere"), linked + s("/app")));
    EXPECT_EQ(archived(service, source, linked),
              QList<ArchiveEvent>{ArchiveEvent::failed(linked + s("/app already exists"))});
    EXPECT_FALSE(isPresent(base + s("/somewhere")));

    EXPECT_EQ(archived(service, base + s("/code/gone"), base + s("/new-drive")),
              QList<ArchiveEvent>{ArchiveEvent::failed(s("Source no longer exists"))});
    EXPECT_FALSE(isPresent(base + s("/new-drive")));

    // Into itself, also when the destination is reached through a link.
    ASSERT_TRUE(QFile::link(source, base + s("/shortcut")));
    EXPECT_EQ(
        archived(service, source, base + s("/shortcut/backups")),
        QList<ArchiveEvent>{ArchiveEvent::failed(s("Cannot copy %1 into itself").arg(source))});
    EXPECT_EQ(entriesOf(source), QStringList{s("main.c")});

    // A file where a folder of the destination would have to be: refused even to root.
    test::writeFile(base + s("/blocker"), "a file");
    const QList<ArchiveEvent> blocked = archived(service, source, base + s("/blocker/x"));
    ASSERT_EQ(blocked.size(), 1);
    EXPECT_TRUE(blocked[0].text.startsWith(s("Cannot create destination: ")))
        << qPrintable(blocked[0].text);
    EXPECT_TRUE(isPresent(source + s("/main.c")));
}

// Archiving ends by moving the original to the Trash, so a kept project, or one holding a kept
// folder, is refused before anything is copied; a mark made while the copy runs still holds.
TEST(ArchiveService, AKeptProjectIsRefusedBeforeTheCopyAndAMarkMadeDuringItStillHolds) {
    const QString base = test::makeTempDir(s("archive-kept"));
    const QString source = base + s("/code/app");
    test::writeFile(source + s("/vendor/lib.c"), "int lib;");
    const QString drive = base + s("/drive");
    {
        const test::ScopedKeepMarks marks({source + s("/vendor")});
        EXPECT_EQ(archived(ArchiveService(), source, drive),
                  QList<ArchiveEvent>{ArchiveEvent::failed(
                      s("Refused: %1 is marked Keep or holds a kept folder, and archiving moves it "
                        "to the Trash. Remove the mark first to archive it.")
                          .arg(source))});
        EXPECT_FALSE(isPresent(drive));
    }

    ArchiveService service;
    std::optional<test::ScopedKeepMarks> markedDuringCopy;
    service.beforeEntry = [&](const QString&) {
        if (!markedDuringCopy)
            markedDuringCopy.emplace(QStringList{source});
    };
    const QList<ArchiveEvent> events = archived(service, source, drive);
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(),
              ArchiveEvent::failed(s("Copy verified at %1, but the original could not be moved to "
                                     "the Trash: ")
                                       .arg(drive + s("/app")) +
                                   TrashService::keptMessage));
    EXPECT_TRUE(isPresent(source + s("/vendor/lib.c")));
    EXPECT_TRUE(isPresent(drive + s("/app/vendor/lib.c")));
}

TEST(ArchiveService, AFileAddedDuringTheCopyFailsVerificationAndTheCopyGoesToTheTrash) {
    const QString base = test::makeTempDir(s("archive-grows"));
    const QString source = base + s("/grows");
    test::writeFile(source + s("/a/one.txt"), "one");
    test::writeFile(source + s("/b.txt"), "bb");
    ArchiveService service;
    // Before the folder "a" is read, so the copy sees the new file and the measurement did not.
    service.beforeEntry = [&](const QString& relative) {
        if (relative == s("a"))
            test::writeFile(source + s("/a/late.txt"), "late!!");
    };

    const QList<ArchiveEvent> events = archived(service, source, base + s("/drive"));

    const QList<ArchiveEvent> expected{
        ArchiveEvent::progress(11, 5, {}), ArchiveEvent::verifying(),
        ArchiveEvent::failed(s("Verification failed: copy has 3 files / 11 bytes, source has 2 / "
                               "5. Original left untouched."))};
    EXPECT_EQ(events, expected);
    EXPECT_FALSE(isPresent(base + s("/drive/grows")));
    EXPECT_TRUE(isInTrash(s("grows")));
    EXPECT_EQ(ArchiveService::measure(source), (ArchiveCounts{3, 11, 2}));
}

TEST(ArchiveService, ARestoreLeavesTheArchivedCopyInPlaceAndSaysSoOnAMismatch) {
    const QString base = test::makeTempDir(s("archive-restore"));
    const QString archive = base + s("/drive/CorvaneArchive/site");
    test::writeFile(archive + s("/index.html"), "<html>");
    test::writeFile(archive + s("/assets/app.css"), "body{}");

    const QString home = base + s("/code");
    EXPECT_EQ(archived(ArchiveService(), archive, home, false).last(),
              ArchiveEvent::finished(home + s("/site")));
    EXPECT_EQ(ArchiveService::measure(home + s("/site")), ArchiveService::measure(archive));
    EXPECT_TRUE(isPresent(archive + s("/index.html")));

    ArchiveService service;
    service.beforeEntry = [&](const QString& relative) {
        if (relative == s("assets"))
            test::writeFile(archive + s("/assets/late.css"), "p{}");
    };
    const QList<ArchiveEvent> events = archived(service, archive, base + s("/elsewhere"), false);
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(),
              ArchiveEvent::failed(s("Verification failed: copy has 3 files / 15 bytes, source has "
                                     "2 / 12. The archived copy is untouched.")));
    EXPECT_FALSE(isPresent(base + s("/elsewhere/site")));
    EXPECT_TRUE(isPresent(archive + s("/index.html")));
}

TEST(ArchiveService, ACancelledOrFailedCopyGoesToTheTrashAndTheOriginalStays) {
    const QString base = test::makeTempDir(s("archive-cancel"));
    const QString source = base + s("/stopped");
    for (const char* name : {"a/1.txt", "b/2.txt", "c/3.txt"})
        test::writeFile(source + u'/' + s(name), "data");
    const ArchiveCounts before = ArchiveService::measure(source);

    ArchiveService service;
    CancellationToken cancellation;
    int entries = 0;
    service.beforeEntry = [&](const QString&) {
        if (++entries == 3)
            cancellation.cancel();
    };
    EXPECT_EQ(archived(service, source, base + s("/drive"), true, cancellation),
              QList<ArchiveEvent>{ArchiveEvent::failed(s("Cancelled"))});
    EXPECT_EQ(entries, 3);
    EXPECT_FALSE(isPresent(base + s("/drive/stopped")));
    EXPECT_TRUE(isInTrash(s("stopped")));
    EXPECT_EQ(ArchiveService::measure(source), before);

    // Something appears at an entry's place in the copy before it is written: the copy never
    // writes over it, stops, and the partial copy goes to the Trash.
    const QString target = base + s("/other-drive/stopped");
    service.beforeEntry = [&](const QString& relative) {
        if (relative == s("b"))
            QDir().mkpath(target + s("/b"));
    };
    const QList<ArchiveEvent> failed = archived(service, source, base + s("/other-drive"));
    EXPECT_EQ(failed, QList<ArchiveEvent>{ArchiveEvent::failed(target + s("/b: File exists"))});
    EXPECT_FALSE(isPresent(target));
    EXPECT_EQ(ArchiveService::measure(source), before);
}

TEST(ArchiveService, APartialCopyThatCannotBeTrashedIsNamedInTheMessage) {
    const QString base = test::makeTempDir(s("archive-locked"));
    const QString source = base + s("/kept");
    test::writeFile(source + s("/a/1.txt"), "data");
    test::writeFile(source + s("/b/2.txt"), "data");
    const RefusingTrash refusing;
    ArchiveService service;
    service.trash = &refusing;
    CancellationToken cancellation;
    service.beforeEntry = [&](const QString&) { cancellation.cancel(); };

    const QString target = base + s("/drive/kept");
    EXPECT_EQ(archived(service, source, base + s("/drive"), true, cancellation),
              QList<ArchiveEvent>{ArchiveEvent::failed(
                  s("Cancelled A partial copy was left at %1; delete it manually.").arg(target))});
    EXPECT_TRUE(isPresent(target));
    EXPECT_TRUE(isPresent(source + s("/b/2.txt")));
}

TEST(ArchiveService, AnOriginalThatCannotBeTrashedKeepsTheVerifiedCopy) {
    const QString base = test::makeTempDir(s("archive-original-locked"));
    const QString source = base + s("/project");
    test::writeFile(source + s("/README"), "hello");
    const RefusingTrash refusing({source});
    ArchiveService service;
    service.trash = &refusing;

    const QString target = base + s("/drive/project");
    const QList<ArchiveEvent> events = archived(service, source, base + s("/drive"));

    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(),
              ArchiveEvent::failed(s("Copy verified at %1, but the original could not be moved to "
                                     "the Trash: The item is locked")
                                       .arg(target)));
    EXPECT_EQ(bytesAt(target + s("/README"), 0, 10), "hello");
    EXPECT_EQ(bytesAt(source + s("/README"), 0, 10), "hello");
}

TEST(ArchiveService, ProgressComesOncePerStepCopiedThenOnceAtTheEnd) {
    const QString base = test::makeTempDir(s("archive-progress"));
    const QString source = base + s("/data");
    QSet<QString> names;
    for (int index = 1; index <= 5; ++index) {
        names.insert(s("part-%1.bin").arg(index));
        test::writeFile(source + s("/part-%1.bin").arg(index), QByteArray(4 * mebibyte, 'z'));
    }

    const QString target = base + s("/drive/data");
    const QList<ArchiveEvent> events = archived(ArchiveService(), source, base + s("/drive"));

    ASSERT_EQ(events.size(), 5);
    const qint64 total = 20 * mebibyte;
    for (int index = 0; index < 2; ++index) {
        EXPECT_EQ(events[index].kind, ArchiveEvent::Kind::progress);
        EXPECT_EQ(events[index].copiedBytes, (index + 1) * ArchiveService::progressStep);
        EXPECT_EQ(events[index].totalBytes, total);
        EXPECT_TRUE(names.contains(events[index].currentPath))
            << qPrintable(events[index].currentPath);
    }
    EXPECT_EQ(events[2], ArchiveEvent::progress(total, total, {}));
    EXPECT_EQ(events[3], ArchiveEvent::verifying());
    EXPECT_EQ(events[4], ArchiveEvent::finished(target));
}

TEST(ArchiveService, ACopyThatChangedAtTheSameSizeOrAnOriginalChangedAfterItsCopyFails) {
    const QString base = test::makeTempDir(s("archive-same-size"));
    const QString source = base + s("/proj");
    test::writeFile(source + s("/a.txt"), "original");
    test::writeFile(source + s("/b/c.txt"), "original");
    // Before the next entry, one file already copied is rewritten at the same size: in the copy
    // (`into` is the copy's folder) or in the original.
    QString changed;
    QString into;
    bool inOriginal = false;
    ArchiveService service;
    service.beforeEntry = [&](const QString&) {
        for (const QString& relative : {s("a.txt"), s("b/c.txt")}) {
            if (!changed.isEmpty() || !QFileInfo::exists(into + u'/' + relative))
                continue;
            changed = relative;
            test::writeFile((inOriginal ? source : into) + u'/' + relative, "ORIGINAL");
        }
    };

    into = base + s("/drive/proj");
    QList<ArchiveEvent> events = archived(service, source, base + s("/drive"));
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(), ArchiveEvent::failed(s("Verification failed: the copy of %1 differs "
                                                    "from the original. Original left untouched.")
                                                      .arg(changed)));
    EXPECT_FALSE(isPresent(into));
    EXPECT_TRUE(isPresent(source + s("/a.txt")));

    changed.clear();
    into = base + s("/other/proj");
    inOriginal = true;
    events = archived(service, source, base + s("/other"));
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(), ArchiveEvent::failed(s("Verification failed: %1 changed in the "
                                                    "original during the copy. Original left "
                                                    "untouched.")
                                                      .arg(changed)));
    EXPECT_FALSE(isPresent(into));
    EXPECT_TRUE(isPresent(source + s("/a.txt")));
}

TEST(ArchiveService, NamesThatLookLikeOptionsArchiveAndRestoreIntact) {
    const QString base = test::makeTempDir(s("archive-dash"));
    for (const char* name : {"-x", "--version"}) {
        const QString source = base + s("/code/") + s(name);
        test::writeFile(source + s("/-rf"), "keep");
        EXPECT_EQ(archived(ArchiveService(), source, base + s("/drive")).last(),
                  ArchiveEvent::finished(base + s("/drive/") + s(name)));
        EXPECT_EQ(
            archived(ArchiveService(), base + s("/drive/") + s(name), base + s("/back"), false)
                .last(),
            ArchiveEvent::finished(base + s("/back/") + s(name)));
        EXPECT_EQ(bytesAt(base + s("/back/") + s(name) + s("/-rf"), 0, 10), "keep");
        EXPECT_FALSE(isPresent(base + s("/back/") + s(name) + s("/.corvane-partial")));
    }
}

TEST(ArchiveService, APartialCopyOfAnInterruptedRunIsNamedAndGoesToTheTrashOnlyWhenAsked) {
    const QString base = test::makeTempDir(s("archive-interrupted"));
    const QString source = base + s("/halfway");
    test::writeFile(source + s("/a.txt"), "all of it");
    const QString partial = base + s("/drive/halfway");
    test::writeFile(partial + s("/.corvane-partial"), "x");
    test::writeFile(partial + s("/a.txt"), "all");

    EXPECT_EQ(archived(ArchiveService(), source, base + s("/drive")),
              QList<ArchiveEvent>{ArchiveEvent::failed(
                  partial + s(" is a partial copy from an interrupted run. Remove it, then try "
                              "again."),
                  partial)});
    EXPECT_TRUE(isPresent(partial + s("/a.txt")));

    QList<ArchiveEvent> events;
    ArchiveOptions remove;
    remove.removeInterruptedCopy = true;
    ArchiveService().archive(
        source, base + s("/drive"), [&](const ArchiveEvent& event) { events.append(event); },
        CancellationToken(), remove);
    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.last(), ArchiveEvent::finished(partial));
    EXPECT_EQ(bytesAt(partial + s("/a.txt"), 0, 20), "all of it");
    EXPECT_FALSE(isPresent(partial + s("/.corvane-partial")));
    EXPECT_TRUE(isInTrash(s("halfway/.corvane-partial")));
}
