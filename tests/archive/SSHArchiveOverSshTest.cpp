// Archive and restore against a real OpenSSH server on 127.0.0.1 (see SshServer.h); the server's
// folders are on this machine, so what arrived is read straight from the disk.

#include "ArchiveTesting.h"
#include "SshServer.h"
#include "archive/SSHArchiveService.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"
#include "support/TreeFixture.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>
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
              s("Key auth missing. Run once in Terminal: ssh-copy-id ") + login);

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

TEST_F(SSHArchiveOverSsh, AServerWithoutGnuStatFailsVerificationAndKeepsBothCopies) {
    // BSD's stat knows no -c: what a Mac or FreeBSD server would answer.
    test::writeScript(server->shims() + s("/stat"),
                      "echo 'stat: illegal option -- c' >&2\nexit 1\n");
    const QString source = makeProject(work, s("app"));
    const QMap<QString, QByteArray> original = snapshot(source);

    const Events events = archive(source, remotePath);
    EXPECT_EQ(events.size(), 3u);
    EXPECT_EQ(last(events),
              ArchiveEvent::failed(s("Verification mismatch: remote reports 5/0/6 for "
                                     "files/bytes/top-level entries, local has 5/%1/6. Remote copy "
                                     "kept, original untouched.")
                                       .arg(projectBytes)));
    EXPECT_EQ(snapshot(source), original);
    EXPECT_EQ(snapshot(remotePath + s("/app")), original);

    EXPECT_EQ(last(restore(s("app"), remotePath, work + s("/back"))),
              ArchiveEvent::failed(s("Verification failed: the restored copy does not match the "
                                     "archive. The archived copy is untouched.")));
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
                                            "tail -c +65537 stream.tar\n"
                                            ": > ended\n");
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

    // The runner stops the pipeline's whole process group, so the held tar is normally gone
    // too; one that outlived it ends once released.
    test::writeFile(work + s("/release"));
    QFile pidFile(work + s("/tar.pid"));
    ASSERT_TRUE(pidFile.open(QIODevice::ReadOnly));
    const pid_t tarPid = static_cast<pid_t>(pidFile.readAll().trimmed().toLongLong());
    ASSERT_TRUE(waitFor([&] { return exists(work + s("/ended")) || ::kill(tarPid, 0) != 0; }));
    QThread::msleep(500);
    EXPECT_FALSE(exists(remotePath + s("/app"))) << "the cancelled copy went on";
}

} // namespace
} // namespace corvane
