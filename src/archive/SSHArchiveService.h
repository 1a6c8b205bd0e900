#pragma once

#include "archive/ArchiveService.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace corvane {

// Archives a project to a folder on a server over SSH (tar and ssh as two stages of a pipeline,
// each one's exit status checked), verifies the remote copy against the original by the digests
// of every file (or, on a server with no digest tool, by counting), and only then trashes the
// original; restores the same way back. The folder a run creates holds a marker until the copy is
// verified; a failed run removes that folder, and only that folder. Key authentication only:
// BatchMode is always on, so nothing ever waits for a password. Blocking; every outcome is an
// event.
struct SSHArchiveService {
    const ProcessRunner* runner = &ProcessRunner::system();
    const PlatformTrash* trash = &PlatformTrash::system();

    void archive(const QString& source, const QString& user, const QString& host,
                 const QString& remotePath, const ArchiveEventSink& sink,
                 const CancellationToken& cancellation = CancellationToken(),
                 const ArchiveOptions& options = {}) const;
    void restore(const QString& name, const QString& user, const QString& host,
                 const QString& basePath, const QString& localFolder, const ArchiveEventSink& sink,
                 const CancellationToken& cancellation = CancellationToken(),
                 const ArchiveOptions& options = {}) const;

    // A path for the remote shell: "~" and "~/..." expand there ("$HOME" then the quoted rest),
    // anything else is single-quoted.
    static QString remoteQuoted(const QString& path);
    // `text` in single quotes, each single quote inside written as '\''.
    static QString shellQuoted(const QString& text);
    // The three numbers the remote count command prints, or nothing.
    static std::optional<ArchiveCounts> parseCounts(const QByteArray& output);
    // What a failed ssh call means, in words for the user.
    static QString sshFailureMessage(int exitCode, const QByteArray& standardError,
                                     const QString& user, const QString& host);
    // The one-line result of the settings screen's test button: "Connected", the ssh-copy-id
    // hint, the local-network hint or "Failed: " + what ssh said.
    static QString testConnection(const QString& user, const QString& host,
                                  const ProcessRunner& runner = ProcessRunner::system());
};

} // namespace corvane
