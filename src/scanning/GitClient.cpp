#include "scanning/GitClient.h"

#include "platform/Locations.h"

namespace corvane {

ProcessResult GitClient::run(const QString& workingTree, const QStringList& arguments,
                             const std::optional<QByteArray>& stdinData,
                             const CancellationToken& cancellation) {
    QStringList fullArguments{QStringLiteral("-C"), workingTree,
                              QStringLiteral("-c"), QStringLiteral("core.quotepath=off"),
                              QStringLiteral("-c"), QStringLiteral("core.fsmonitor=false")};
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
