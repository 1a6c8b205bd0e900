#include "support/GitFixture.h"

#include "platform/Locations.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <cstdlib>
#include <gtest/gtest.h>

namespace corvane::test {
namespace {

QHash<QString, QString> fixedIdentity() {
    const QString date = QStringLiteral("@%1 +0000").arg(fixtureCommitSeconds);
    return {
        {QStringLiteral("GIT_AUTHOR_NAME"), QStringLiteral("Fixture Author")},
        {QStringLiteral("GIT_AUTHOR_EMAIL"), QStringLiteral("author@example.invalid")},
        {QStringLiteral("GIT_COMMITTER_NAME"), QStringLiteral("Fixture Author")},
        {QStringLiteral("GIT_COMMITTER_EMAIL"), QStringLiteral("author@example.invalid")},
        {QStringLiteral("GIT_AUTHOR_DATE"), date},
        {QStringLiteral("GIT_COMMITTER_DATE"), date},
        // The machine's own configuration (signing, hooks, default branch) stays out of it.
        {QStringLiteral("GIT_CONFIG_NOSYSTEM"), QStringLiteral("1")},
        {QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0")},
    };
}

ProcessResult runGit(const QString& folder, const QStringList& arguments,
                     const std::optional<QByteArray>& input) {
    QStringList full{QStringLiteral("-C"), folder};
    full += arguments;
    return ProcessRunner::system().run(Locations::toolPath(Locations::Tool::git), full, input,
                                       fixedIdentity(), 60);
}

void setLocalIdentity(const QString& repo) {
    git(repo,
        {QStringLiteral("config"), QStringLiteral("user.name"), QStringLiteral("Fixture Author")});
    git(repo, {QStringLiteral("config"), QStringLiteral("user.email"),
               QStringLiteral("author@example.invalid")});
    git(repo,
        {QStringLiteral("config"), QStringLiteral("commit.gpgsign"), QStringLiteral("false")});
}

QString orNewFolder(const QString& path, const char* prefix) {
    if (!path.isEmpty()) {
        QDir().mkpath(path);
        return path;
    }
    return makeTempDir(QString::fromLatin1(prefix));
}

} // namespace

ProcessResult git(const QString& folder, const QStringList& arguments,
                  const std::optional<QByteArray>& input) {
    const ProcessResult result = runGit(folder, arguments, input);
    if (result.exitCode != 0)
        ADD_FAILURE() << "git " << arguments.join(u' ').toStdString() << " in "
                      << folder.toStdString() << " exited with " << result.exitCode << ": "
                      << result.standardError.toStdString();
    return result;
}

ProcessResult gitAllowingFailure(const QString& folder, const QStringList& arguments) {
    return runGit(folder, arguments, std::nullopt);
}

QString makeRepo(const QString& path) {
    const QString repo = orNewFolder(path, "repo");
    git(repo, {QStringLiteral("init"), QStringLiteral("-q"), QStringLiteral("-b"),
               QStringLiteral("main")});
    setLocalIdentity(repo);
    return repo;
}

QString makeBareRepo(const QString& path) {
    const QString repo = orNewFolder(path, "bare");
    git(repo, {QStringLiteral("init"), QStringLiteral("-q"), QStringLiteral("--bare"),
               QStringLiteral("-b"), QStringLiteral("main")});
    return repo;
}

QString cloneRepo(const QString& source, const QString& path) {
    const QString clone = orNewFolder(path, "clone");
    git(clone, {QStringLiteral("clone"), QStringLiteral("-q"), source, clone});
    setLocalIdentity(clone);
    return clone;
}

void commitFiles(const QString& repo, const QMap<QString, QByteArray>& files,
                 const QString& message) {
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        writeFile(repo + u'/' + it.key(), it.value());
    commitAll(repo, message);
}

void commitAll(const QString& repo, const QString& message) {
    git(repo, {QStringLiteral("add"), QStringLiteral("-A")});
    git(repo, {QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("-m"), message});
}

void addRemote(const QString& repo, const QString& name, const QString& url) {
    git(repo, {QStringLiteral("remote"), QStringLiteral("add"), name, url});
}

void pushWithUpstream(const QString& repo, const QString& remote) {
    git(repo, {QStringLiteral("push"), QStringLiteral("-q"), QStringLiteral("-u"), remote,
               currentBranch(repo)});
}

QString currentBranch(const QString& repo) {
    return QString::fromUtf8(git(repo, {QStringLiteral("branch"), QStringLiteral("--show-current")})
                                 .standardOutput.trimmed());
}

SyncedRepo makeSyncedRepo() {
    SyncedRepo synced{makeRepo(), makeBareRepo()};
    commitFiles(synced.repo, {{QStringLiteral("README.md"), "hello\n"}}, QStringLiteral("First"));
    addRemote(synced.repo, QStringLiteral("origin"), synced.remote);
    pushWithUpstream(synced.repo);
    return synced;
}

} // namespace corvane::test
