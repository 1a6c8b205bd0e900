#pragma once

#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// Runs git the same safe way every time: in the given working tree, with unquoted paths (so
// non-ASCII names come back as UTF-8), without the file-system monitor (inspecting hundreds of
// repositories must not start hundreds of daemons), without optional locks (a read-only look
// must not take the index lock of a repository an editor is using), without ever prompting, and
// with untracked files shown whatever the user's settings say (a setting that hides them would
// make a repository with work in it look clean).
struct GitClient {
    static constexpr double timeLimitSeconds = 10.0;

    // Throws ProcessRunnerError when git cannot start or exceeds the time limit.
    static ProcessResult run(const QString& workingTree, const QStringList& arguments,
                             const std::optional<QByteArray>& stdinData = std::nullopt,
                             const CancellationToken& cancellation = {});
};

} // namespace corvane
