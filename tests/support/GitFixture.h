#pragma once

#include "platform/ProcessRunner.h"
#include "support/TestEnvironment.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

// Real repositories for tests: made with the system git in temporary folders, with a fixed
// identity and fixed dates so that what they produce is the same on every run.
namespace corvane::test {

// The author and committer date of every commit made here (2023-11-14 22:13:20 UTC).
constexpr qint64 fixtureCommitSeconds = 1700000000;

// Runs git in `folder`; a non-zero exit fails the current test with git's message.
ProcessResult git(const QString& folder, const QStringList& arguments,
                  const std::optional<QByteArray>& input = std::nullopt);
// The same for commands whose failure is the point (a merge that conflicts).
ProcessResult gitAllowingFailure(const QString& folder, const QStringList& arguments);

// A fresh repository on branch "main" without commits (in a new temporary folder by default).
QString makeRepo(const QString& path = {});
// A bare repository, to serve as a remote.
QString makeBareRepo(const QString& path = {});
// A clone of `source` (a path or URL) with the local identity set.
QString cloneRepo(const QString& source, const QString& path = {});

// Writes each file (path relative to the repository, contents) and commits everything.
void commitFiles(const QString& repo, const QMap<QString, QByteArray>& files,
                 const QString& message = QStringLiteral("Change"));
// Stages everything in the working tree and commits it.
void commitAll(const QString& repo, const QString& message = QStringLiteral("Change"));

void addRemote(const QString& repo, const QString& name, const QString& url);
// Pushes the current branch to `remote` and makes it the branch's upstream.
void pushWithUpstream(const QString& repo, const QString& remote = QStringLiteral("origin"));
QString currentBranch(const QString& repo);

struct SyncedRepo {
    QString repo;
    QString remote;
};
// A repository with one commit on "main", pushed to a bare "origin" that it tracks.
SyncedRepo makeSyncedRepo();

// A machine without developer tools for one scope: docker, xcrun, brew, ollama and flatpak point
// where nothing is, and the applications folder is empty.
struct NoDeveloperTools {
    QString folder = makeTempDir(QStringLiteral("no-tools"));
    ScopedEnvironment docker{"CORVANE_TOOL_DOCKER", folder + QStringLiteral("/docker")};
    ScopedEnvironment xcrun{"CORVANE_TOOL_XCRUN", folder + QStringLiteral("/xcrun")};
    ScopedEnvironment brew{"CORVANE_TOOL_BREW", folder + QStringLiteral("/brew")};
    ScopedEnvironment ollama{"CORVANE_TOOL_OLLAMA", folder + QStringLiteral("/ollama")};
    ScopedEnvironment flatpak{"CORVANE_TOOL_FLATPAK", folder + QStringLiteral("/flatpak")};
    ScopedEnvironment apps{"CORVANE_APPLICATIONS_DIR", folder};
};

} // namespace corvane::test
