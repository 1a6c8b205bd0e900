#include "scanning/GitClient.h"

#include "platform/Locations.h"

namespace corvane {

ProcessResult GitClient::run(const QString& workingTree, const QStringList& arguments,
                             const std::optional<QByteArray>& stdinData,
                             const CancellationToken& cancellation) {
    // The untracked-files setting is given as configuration, not only as the status option the
    // inspection passes: the status git runs inside each submodule reads its own configuration,
    // and only command-line configuration reaches it there.
    QStringList fullArguments{
        QStringLiteral("-C"), workingTree,
        QStringLiteral("-c"), QStringLiteral("core.quotepath=off"),
        QStringLiteral("-c"), QStringLiteral("core.fsmonitor=false"),
        QStringLiteral("-c"), QStringLiteral("status.showUntrackedFiles=normal")};
    fullArguments += arguments;
    // A credential prompt would wait for an answer nobody can give.
    const QHash<QString, QString> overrides{
        {QStringLiteral("GIT_OPTIONAL_LOCKS"), QStringLiteral("0")},
        {QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0")},
    };
    return ProcessRunner::system().run(Locations::toolPath(Locations::Tool::git), fullArguments,
                                       stdinData, overrides, timeLimitSeconds, cancellation);
}

} // namespace corvane
