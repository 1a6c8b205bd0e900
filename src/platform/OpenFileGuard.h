#pragma once

#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// Finds the processes that have a file, or any file inside a folder, open, so that nothing an
// app is using is taken away from under it. Asks lsof, then ps for each process's name.
struct OpenFileGuard {
    struct Holders {
        // The names of the holding processes ("ollama", "LM Studio"), sorted, each once.
        QStringList processNames;
        // Why the check could not be made; the caller should not assume nobody holds the files.
        std::optional<QString> error;
    };

    // `paths` are files or folders; the regular files inside a folder are checked one by one,
    // since lsof matches a folder argument only when the folder itself is open.
    static Holders holders(const QStringList& paths,
                           const ProcessRunner& runner = ProcessRunner::system(),
                           const CancellationToken& cancellation = {});

    // The process ids of lsof's field output ("p<pid>" lines), in order, each once; nothing when
    // the output is over a limit of InputLimits, and then `problem` says which.
    static std::optional<QList<qint64>> pidsFromLsof(const QByteArray& output,
                                                     QString* problem = nullptr);
    // A name from ps's "comm" column, as the user knows it: "(short)" unwrapped, an absolute
    // path cut to its last part, a login shell's leading "-" dropped.
    static QString processName(const QString& comm);
};

} // namespace corvane
