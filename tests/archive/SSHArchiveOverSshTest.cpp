// Archive and restore against a real OpenSSH server on 127.0.0.1 (see SshServer.h); the server's
// folders are on this machine, so what arrived is read straight from the disk.

#include "ArchiveTesting.h"
#include "SshServer.h"
#include "archive/SSHArchiveService.h"
#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"
#include "support/TreeFixture.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace corvane {
namespace {

using test::s;
using Events = std::vector<ArchiveEvent>;

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

// Every entry below `folder` by relative path: a folder, a link with its target text, or a
// file's bytes.
QMap<QString, QByteArray> snapshot(const QString& folder) {
    QMap<QString, QByteArray> entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo entry = it.nextFileInfo();
        const QString relative = entry.filePath().mid(folder.size() + 1);
        char target[4096];
        const ssize_t length =
            ::readlink(QFile::encodeName(entry.filePath()).constData(), target, sizeof target);
        if (length >= 0)
            entries[relative] = "link to " + QByteArray(target, length);
        else if (entry.isDir())
            entries[relative] = "folder";
        else
            entries[relative] = readBytes(entry.filePath());
    }
    return entries;
}

// Bytes that differ along the file, so a shifted or truncated copy does not compare equal.
QByteArray patterned(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 7 + i / 251) % 256);
    return bytes;
}

// Five regular files (one empty, one hidden), a link and a dangling link at the top: six
// top-level entries.
constexpr qint64 projectBytes = 5 + 8 + 14 + 300 * 1024;

QString makeProject(const QString& parent, const QString& name) {
    const QString root = parent + u'/' + name;
    test::writeFile(root + s("/README.md"), "hello");
    test::writeFile(root + s("/.env"), "SECRET=1");
    test::writeFile(root + s("/src/main.cpp"), "int main() {}\n");
    test::writeFile(root + s("/src/empty.txt"));
    test::writeFile(root + s("/data/blob.bin"), patterned(300 * 1024));
    test::makeLink(s("src/main.cpp"), root + s("/latest"));
    test::makeLink(s("nowhere"), root + s("/gone"));
    return root;
}

bool exists(const QString& path) {
    return QFileInfo(path).exists() || QFileInfo(path).isSymLink();
}

// The last event, or a failure saying there was none.
ArchiveEvent last(const Events& events) {
    return events.empty() ? ArchiveEvent::failed(s("no events")) : events.back();
}

bool waitFor(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > 10000)
            return false;
        QThread::msleep(20);
    }
    return true;
}

class SSHArchiveOverSsh : public testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        server = test::SshServer::start(whyNot);
        if (!server)
            GTEST_SKIP() << "no SSH server for this test: " << whyNot.toStdString();
        ssh.emplace("CORVANE_TOOL_SSH", server->client());
        work = test::makeTempDir(s("ssh-work"));
        remotePath = server->storage() + s("/archive");
    }

    void TearDown() override {
        ssh.reset();
        server.reset();
    }

    Events archive(const QString& source, const QString& into,
                   const SSHArchiveService& service = SSHArchiveService(),
                   const CancellationToken& cancellation = CancellationToken()) const {
        Events events;
        service.archive(
            source, server->user(), server->host(), into,
            [&](const ArchiveEvent& event) { events.push_back(event); }, cancellation);
        return events;
    }

    Events restore(const QString& name, const QString& from, const QString& into) const {
        Events events;
        SSHArchiveService().restore(name, server->user(), server->host(), from, into,
                                    [&](const ArchiveEvent& event) { events.push_back(event); });
        return events;
    }

    QString copyProgress(const QString& name) const {
        return s("Copying ") + name + s(" over SSH to 127.0.0.1…");
    }

    std::unique_ptr<test::SshServer> server;
    std::optional<test::ScopedEnvironment> ssh;
    QString work;
    QString remotePath;
};

TEST_F(SSHArchiveOverSsh, ArchivesVerifiesTrashesAndRestoresByteForByte) {
    const QString source = makeProject(work + s("/code"), s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);

    EXPECT_EQ(archive(source, remotePath),
              (Events{ArchiveEvent::progress(0, projectBytes, copyProgress(s("app"))),
                      ArchiveEvent::verifying(),
                      ArchiveEvent::finished(server->login() + u':' + remotePath + s("/app"))}));
    EXPECT_FALSE(exists(source));
    EXPECT_EQ(snapshot(test::fakeHome() + s("/.local/share/Trash/files/app")), original);
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);

    const QString back = work + s("/back");
    EXPECT_EQ(restore(s("app"), remotePath, back),
              (Events{ArchiveEvent::progress(0, projectBytes, s("Copying app from 127.0.0.1…")),
                      ArchiveEvent::verifying(), ArchiveEvent::finished(back + s("/app"))}));
    EXPECT_EQ(snapshot(back + s("/app")), original);
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);

    EXPECT_EQ(restore(s("app"), remotePath, back),
              Events{ArchiveEvent::failed(back + s("/app already exists"))});
    const Events missing = restore(s("other"), remotePath, work + s("/elsewhere"));
    ASSERT_EQ(missing.size(), 1u);
    EXPECT_TRUE(missing[0].text.startsWith(
        s("The archive is not reachable on 127.0.0.1: ssh failed (exit ")))
        << missing[0].text.toStdString();
    EXPECT_FALSE(exists(work + s("/elsewhere")));
}

TEST_F(SSHArchiveOverSsh, AHomeRelativePathExpandsOnTheServer) {
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);

    const Events events = archive(source, s("~/CorvaneArchive"));
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(last(events), ArchiveEvent::finished(server->login() + s(":~/CorvaneArchive/app")));
    EXPECT_EQ(snapshot(server->home() + s("/CorvaneArchive/app")), original);

    EXPECT_EQ(last(restore(s("app"), s("~/CorvaneArchive"), work)),
              ArchiveEvent::finished(work + s("/app")));
    EXPECT_EQ(snapshot(source), original);
}

TEST_F(SSHArchiveOverSsh, ANameWithAQuoteAndABlankArrivesAndComesBackIntact) {
    const QString name = s("it's my app");
    const QString source = makeProject(work + s("/my code"), name);
    test::writeFile(source + s("/it's \"quoted\" $HOME.txt"), "x");
    const QMap<QString, QByteArray> original = snapshot(source);
    const QString into = server->storage() + s("/Bob's archive");

    EXPECT_EQ(last(archive(source, into)),
              ArchiveEvent::finished(server->login() + u':' + into + u'/' + name));
    EXPECT_EQ(snapshot(into + u'/' + name), original);

    const QString back = work + s("/back 'n forth");
    EXPECT_EQ(last(restore(name, into, back)), ArchiveEvent::finished(back + u'/' + name));
    EXPECT_EQ(snapshot(back + u'/' + name), original);
}

TEST_F(SSHArchiveOverSsh, AnExistingRemoteFolderStopsTheArchiveBeforeAnythingMoves) {
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);
    test::writeFile(remotePath + s("/app/theirs.txt"), "keep me");

    EXPECT_EQ(archive(source, remotePath),
              Events{ArchiveEvent::failed(server->login() + u':' + remotePath +
                                          s("/app already exists"))});
    EXPECT_EQ(snapshot(remotePath),
              (QMap<QString, QByteArray>{{s("app"), "folder"}, {s("app/theirs.txt"), "keep me"}}));
    EXPECT_EQ(snapshot(source), original);
}

TEST_F(SSHArchiveOverSsh, ARefusedKeyIsReportedWithTheSshCopyIdInstruction) {
    EXPECT_EQ(SSHArchiveService::testConnection(server->user(), server->host()), s("Connected"));

    const test::ScopedEnvironment refused("CORVANE_TOOL_SSH", server->refusedClient());
    const QString login = server->login();
    EXPECT_EQ(SSHArchiveService::testConnection(server->user(), server->host()),
              s("Key auth missing. Run once in ") + PlatformWords::here().terminal +
                  s(": ssh-copy-id ") + login);

    const QString keys =
        s("SSH key authentication is not set up for ") + login + s(". Run: ssh-copy-id ") + login;
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);
    EXPECT_EQ(archive(source, remotePath),
              Events{ArchiveEvent::failed(s("Cannot create destination: ") + keys)});
    EXPECT_EQ(snapshot(source), original);
    EXPECT_FALSE(exists(remotePath));
    EXPECT_EQ(
        restore(s("app"), remotePath, work + s("/back")),
        Events{ArchiveEvent::failed(s("The archive is not reachable on 127.0.0.1: ") + keys)});
}

TEST_F(SSHArchiveOverSsh, AServerWithoutADigestToolIsCountedRightAndSaysSo) {
    // Tools that do not work are tools the server does not have.
    for (const char* tool : {"b2sum", "sha256sum", "shasum"})
        test::writeScript(server->shims() + u'/' + s(tool), "exit 127\n");
    const QString source = makeProject(work, s("app"));
    // A newline in a name: counted as one file, not two.
    test::writeFile(source + s("/two\nlines.txt"), "x");
    const QMap<QString, QByteArray> original = snapshot(source);

    const Events events = archive(source, remotePath);
    EXPECT_EQ(last(events), ArchiveEvent::finished(server->login() + u':' + remotePath + s("/app"),
                                                   Verification::count))
        << last(events).text.toStdString();
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);

    const Events back = restore(s("app"), remotePath, work + s("/back"));
    EXPECT_EQ(last(back), ArchiveEvent::finished(work + s("/back/app"), Verification::count))
        << last(back).text.toStdString();
    EXPECT_EQ(snapshot(work + s("/back/app")), original);

    // BSD's stat knows no -c: the byte sum is 0, and a count that does not match fails.
    test::writeScript(server->shims() + s("/stat"),
                      "echo 'stat: illegal option -- c' >&2\nexit 1\n");
    const QString other = makeProject(work, s("other"));
    const Events mismatch = archive(other, remotePath);
    EXPECT_TRUE(last(mismatch).text.startsWith(s("Verification failed (by counting): the server "
                                                 "counts 5/0/6")))
        << last(mismatch).text.toStdString();
    EXPECT_TRUE(last(mismatch).text.endsWith(
        s("The partial copy on the server was removed. Original untouched.")));
    EXPECT_TRUE(exists(other));
    EXPECT_FALSE(exists(remotePath + s("/other")));
}

TEST_F(SSHArchiveOverSsh, AFileChangedAtTheSameSizeFailsVerificationBothWays) {
    // The server's tar unpacks, then one byte of a file changes: same size, other content.
    test::writeScript(server->shims() + s("/tar"),
                      "/usr/bin/tar \"$@\" || exit $?\n"
                      "[ \"$3\" = -xf ] && printf Z | dd of=\"$2/app/data/blob.bin\" bs=1 "
                      "count=1 conv=notrunc 2>/dev/null\nexit 0\n");
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);

    const Events events = archive(source, remotePath);
    EXPECT_EQ(last(events),
              ArchiveEvent::failed(s("Verification failed (by content): the copy of data/blob.bin "
                                     "differs from the original. The partial copy on the server "
                                     "was removed. Original untouched.")));
    EXPECT_EQ(snapshot(source), original);
    EXPECT_FALSE(exists(remotePath + s("/app")));

    // Restoring: the local tar changes the restored file the same way.
    QFile::remove(server->shims() + s("/tar"));
    ASSERT_EQ(last(archive(source, remotePath)).kind, ArchiveEvent::Kind::finished);
    test::writeScript(work + s("/tar"),
                      "/usr/bin/tar \"$@\" || exit $?\n"
                      "printf Z | dd of=\"$2/app/data/blob.bin\" bs=1 count=1 conv=notrunc "
                      "2>/dev/null\n");
    const test::ScopedEnvironment tar("CORVANE_TOOL_TAR", work + s("/tar"));
    EXPECT_EQ(last(restore(s("app"), remotePath, work + s("/back"))),
              ArchiveEvent::failed(s("Verification failed (by content): the copy of data/blob.bin "
                                     "differs from the original. The partial copy was moved to "
                                     "the Trash. The archived copy is untouched.")));
    EXPECT_FALSE(exists(work + s("/back/app")));
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);
}

TEST_F(SSHArchiveOverSsh, ATarThatWarnsTheFileChangedFailsTheArchiveAndKeepsTheOriginal) {
    const QString source = makeProject(work, s("app"));
    test::writeFile(source + s("/busy.log"), patterned(48 * 1024 * 1024));
    // Something keeps writing to the project while it is archived, as a running build would.
    QProcess writer;
    writer.start(s("/bin/sh"),
                 {s("-c"), s("while :; do echo x >> \"$0\"; done"), source + s("/busy.log")});
    ASSERT_TRUE(writer.waitForStarted());

    const Events events = archive(source, remotePath);
    writer.kill();
    writer.waitForFinished();
    EXPECT_EQ(last(events).kind, ArchiveEvent::Kind::failed);
    EXPECT_TRUE(last(events).text.startsWith(s("Copy failed (exit 1): ")) &&
                last(events).text.contains(s("file changed as we read it")) &&
                last(events).text.endsWith(s(" The partial copy on the server was removed. "
                                             "Original untouched.")))
        << last(events).text.toStdString();
    EXPECT_TRUE(exists(source + s("/data/blob.bin")));
    EXPECT_FALSE(exists(remotePath + s("/app")));
}

TEST_F(SSHArchiveOverSsh, NamesAndLoginsThatLookLikeOptionsAreData) {
    for (const char* name : {"--version", "-x"}) {
        const QString source = makeProject(work + s("/code"), s(name));
        const QMap<QString, QByteArray> original = snapshot(source);
        EXPECT_EQ(last(archive(source, remotePath)),
                  ArchiveEvent::finished(server->login() + u':' + remotePath + u'/' + s(name)))
            << name;
        EXPECT_EQ(snapshot(remotePath + u'/' + s(name)), original) << name;
        EXPECT_EQ(last(restore(s(name), remotePath, work + s("/back"))),
                  ArchiveEvent::finished(work + s("/back/") + s(name)))
            << name;
        EXPECT_EQ(snapshot(work + s("/back/") + s(name)), original) << name;
    }

    const QString source = makeProject(work, s("app"));
    const QString touched = work + s("/proxy-ran");
    Events events;
    SSHArchiveService().archive(source, s("-oProxyCommand=touch ") + touched, server->host(),
                                remotePath,
                                [&](const ArchiveEvent& event) { events.push_back(event); });
    EXPECT_EQ(events, Events{ArchiveEvent::failed(s("The SSH user \"-oProxyCommand=touch ") +
                                                  touched + s("\" starts with \"-\"."))});
    EXPECT_FALSE(exists(touched));
    EXPECT_TRUE(exists(source));
}

TEST_F(SSHArchiveOverSsh, ASparseFileStaysSparseOnTheServerAndBack) {
    const QString source = makeProject(work, s("app"));
    const QByteArray sparse = QFile::encodeName(source + s("/disk.img"));
    {
        QFile file(source + s("/disk.img"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(300 * 1024 * 1024));
        file.seek(150 * 1024 * 1024);
        file.write("data in the middle");
    }
    struct stat info {};
    ASSERT_EQ(::stat(sparse.constData(), &info), 0);
    if (info.st_blocks * 512 > 4 * 1024 * 1024)
        GTEST_SKIP() << "this file system does not keep holes";

    ASSERT_EQ(last(archive(source, remotePath)).kind, ArchiveEvent::Kind::finished);
    const QByteArray remote = QFile::encodeName(remotePath + s("/app/disk.img"));
    ASSERT_EQ(::stat(remote.constData(), &info), 0);
    EXPECT_EQ(info.st_size, 300 * 1024 * 1024);
    EXPECT_LT(info.st_blocks * 512, 4 * 1024 * 1024) << "the copy on the server is not sparse";

    ASSERT_EQ(last(restore(s("app"), remotePath, work + s("/back"))).kind,
              ArchiveEvent::Kind::finished);
    const QByteArray back = QFile::encodeName(work + s("/back/app/disk.img"));
    ASSERT_EQ(::stat(back.constData(), &info), 0);
    EXPECT_LT(info.st_blocks * 512, 4 * 1024 * 1024) << "the restored copy is not sparse";
}

TEST_F(SSHArchiveOverSsh, APartialCopyOfAnInterruptedRunIsNamedAndRemovedOnlyWhenAsked) {
    // What an archive killed mid-copy leaves: the folder with the marker and part of the files.
    test::writeFile(remotePath + s("/app/.corvane-partial"), "x");
    test::writeFile(remotePath + s("/app/README.md"), "hel");
    const QString source = makeProject(work, s("app"));
    const QString where = server->login() + u':' + remotePath + s("/app");

    EXPECT_EQ(archive(source, remotePath),
              Events{ArchiveEvent::failed(where + s(" is a partial copy from an interrupted run. "
                                                    "Remove it, then try again."),
                                          where)});
    EXPECT_TRUE(exists(remotePath + s("/app/README.md")));
    // A folder without the marker is someone else's and is never removed.
    test::writeFile(remotePath + s("/theirs/.keep"), "x");
    ArchiveOptions remove;
    remove.removeInterruptedCopy = true;
    Events events;
    SSHArchiveService().archive(
        makeProject(work + s("/other"), s("theirs")), server->user(), server->host(), remotePath,
        [&](const ArchiveEvent& event) { events.push_back(event); }, CancellationToken(), remove);
    EXPECT_EQ(last(events), ArchiveEvent::failed(server->login() + u':' + remotePath +
                                                 s("/theirs already exists")));
    EXPECT_TRUE(exists(remotePath + s("/theirs/.keep")));

    events.clear();
    SSHArchiveService().archive(
        source, server->user(), server->host(), remotePath,
        [&](const ArchiveEvent& event) { events.push_back(event); }, CancellationToken(), remove);
    EXPECT_EQ(last(events), ArchiveEvent::finished(where)) << last(events).text.toStdString();
    EXPECT_FALSE(exists(remotePath + s("/app/.corvane-partial")));
    EXPECT_EQ(readBytes(remotePath + s("/app/README.md")), "hello");
}

TEST_F(SSHArchiveOverSsh, AFailedRestoreMovesItsPartialCopyToTheTrash) {
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);
    ASSERT_EQ(last(archive(source, remotePath)).kind, ArchiveEvent::Kind::finished);
    // The local tar unpacks the start of the stream, then fails.
    test::writeScript(work + s("/tar"), "head -c 20480 | /usr/bin/tar \"$@\"\nexit 2\n");
    const test::ScopedEnvironment tar("CORVANE_TOOL_TAR", work + s("/tar"));

    const Events events = restore(s("app"), remotePath, work + s("/back"));
    EXPECT_TRUE(last(events).text.startsWith(s("Copy failed (exit 2)")) &&
                last(events).text.endsWith(s(" The partial copy was moved to the Trash. The "
                                             "archived copy is untouched.")))
        << last(events).text.toStdString();
    EXPECT_FALSE(exists(work + s("/back/app")));
    // Beside the original trashed by the archive: the partial copy, marker and all.
    const QDir trash(test::fakeHome() + s("/.local/share/Trash/files"));
    const QStringList trashed = trash.entryList({s("app*")}, QDir::Dirs | QDir::NoDotAndDotDot);
    EXPECT_TRUE(std::any_of(trashed.begin(), trashed.end(), [&](const QString& name) {
        return exists(trash.filePath(name) + s("/.corvane-partial"));
    }));
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);
}

TEST_F(SSHArchiveOverSsh, ATruncatedStreamFailsTheCopyAndRemovesThePartialRemoteFolder) {
    test::writeScript(work + s("/tar"), "/usr/bin/tar \"$@\" | head -c 30720\n");
    const test::ScopedEnvironment tar("CORVANE_TOOL_TAR", work + s("/tar"));
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);

    const Events events = archive(source, remotePath);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].kind, ArchiveEvent::Kind::failed);
    EXPECT_TRUE(events[1].text.startsWith(s("Copy failed (exit 2): ")) &&
                events[1].text.contains(s("Unexpected EOF")))
        << events[1].text.toStdString();
    EXPECT_TRUE(exists(remotePath));
    EXPECT_FALSE(exists(remotePath + s("/app")));
    EXPECT_EQ(snapshot(source), original);
}

TEST_F(SSHArchiveOverSsh, ATrashThatRefusesLeavesTheOriginalAndTheVerifiedCopy) {
    struct RefusingTrash : PlatformTrash {
        TrashMove moveToTrash(const QString&) const override {
            return TrashMove::refused(s("The volume is read-only."));
        }
    } refusing;
    SSHArchiveService service;
    service.trash = &refusing;
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);

    EXPECT_EQ(last(archive(source, remotePath, service)),
              ArchiveEvent::failed(s("Copy verified at ") + server->login() + u':' + remotePath +
                                   s("/app, but the original could not be moved to the Trash: "
                                     "The volume is read-only.")));
    EXPECT_EQ(snapshot(source), original);
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);
}

TEST_F(SSHArchiveOverSsh, ACancelledCopyRemovesTheRemoteFolderAndNothingArrivesAfterwards) {
    // The local tar sends the start of the stream, then holds the rest until the test lets go.
    test::writeScript(work + s("/tar"), "cd '" + work.toUtf8() +
                                            "'\necho $$ > tar.pid\n"
                                            "/usr/bin/tar \"$@\" > stream.tar\n"
                                            "head -c 65536 stream.tar\n"
                                            "while [ ! -e release ]; do sleep 0.05; done\n"
                                            "tail -c +65537 stream.tar\n");
    const test::ScopedEnvironment tar("CORVANE_TOOL_TAR", work + s("/tar"));
    const QString source = makeProject(work + s("/code"), s("app"));
    for (int part = 0; part < 4; ++part)
        test::writeFile(source + s("/parts/%1.bin").arg(part), patterned(256 * 1024));
    const QMap<QString, QByteArray> original = snapshot(source);

    CancellationToken cancellation;
    Events events;
    std::thread worker(
        [&] { events = archive(source, remotePath, SSHArchiveService(), cancellation); });
    const bool arrived = waitFor([&] { return exists(remotePath + s("/app")); });
    cancellation.cancel();
    worker.join();
    ASSERT_TRUE(arrived) << "the copy never reached the server";

    EXPECT_EQ(last(events), ArchiveEvent::failed(s("Cancelled")));
    EXPECT_FALSE(exists(remotePath + s("/app")));
    EXPECT_EQ(snapshot(source), original);

    // Every stage was ended, the local tar too: nothing can send the rest afterwards.
    const pid_t tarPid = readBytes(work + s("/tar.pid")).trimmed().toInt();
    ASSERT_GT(tarPid, 0);
    EXPECT_NE(::kill(tarPid, 0), 0) << "the local tar still runs";
    EXPECT_FALSE(exists(remotePath + s("/app"))) << "the cancelled copy went on";
}

} // namespace
} // namespace corvane
