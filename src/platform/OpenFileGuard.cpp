#include "platform/OpenFileGuard.h"

#include "platform/InputLimits.h"
#include "platform/Locations.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace corvane {
namespace {

constexpr double queryTimeout = 10.0;
// Keeps each lsof command line well below the system's argument limit.
constexpr qsizetype filesPerCall = 200;

QStringList regularFilesUnder(const QStringList& paths, const CancellationToken& cancellation) {
    QStringList files;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (info.isSymLink())
            continue;
        if (info.isFile()) {
            files.append(info.absoluteFilePath());
            continue;
        }
        if (!info.isDir())
            continue;
        QDirIterator it(path, QDir::Files | QDir::Hidden | QDir::System | QDir::NoSymLinks,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            files.append(it.next());
            if (files.size() % 512 == 0)
                cancellation.throwIfCancelled();
        }
    }
    return files;
}

} // namespace

std::optional<QList<qint64>> OpenFileGuard::pidsFromLsof(const QByteArray& output,
                                                         QString* problem) {
    const InputLimits::Records lines = InputLimits::split(output);
    if (!lines.records) {
        if (problem)
            *problem = lines.problem;
        return std::nullopt;
    }
    QList<qint64> pids;
    QSet<qint64> seen;
    for (const QByteArray& line : *lines.records) {
        if (!line.startsWith('p'))
            continue;
        bool ok = false;
        const qint64 pid = line.mid(1).trimmed().toLongLong(&ok);
        if (ok && pid > 0 && !seen.contains(pid)) {
            seen.insert(pid);
            pids.append(pid);
        }
    }
    return pids;
}

QString OpenFileGuard::processName(const QString& comm) {
    QString name = comm.trimmed();
    if (name.size() >= 2 && name.startsWith(u'(') && name.endsWith(u')'))
        name = name.mid(1, name.size() - 2);
    const qsizetype slash = name.lastIndexOf(u'/');
    if (slash >= 0 && slash + 1 < name.size())
        name = name.mid(slash + 1);
    if (name.startsWith(u'-'))
        name.remove(0, 1);
    return name;
}

OpenFileGuard::Holders OpenFileGuard::holders(const QStringList& paths, const ProcessRunner& runner,
                                              const CancellationToken& cancellation) {
    Holders result;
    const QStringList files = regularFilesUnder(paths, cancellation);
    const QString lsof = Locations::toolPath(Locations::Tool::lsof);
    const QString ps = Locations::toolPath(Locations::Tool::ps);
    QList<qint64> pids;
    try {
        for (qsizetype start = 0; start < files.size(); start += filesPerCall) {
            // "--": a file whose path starts with "-" is a file, not an option.
            QStringList arguments{QStringLiteral("-F"), QStringLiteral("pcn"),
                                  QStringLiteral("--")};
            arguments += files.mid(start, filesPerCall);
            const ProcessResult listed =
                runner.run(lsof, arguments, std::nullopt, {}, queryTimeout, cancellation);
            cancellation.throwIfCancelled();
            // Exit 1 means nobody has the files open (or one vanished meanwhile); anything else
            // is lsof failing, and then nobody can say the files are free.
            if (listed.exitCode != 0 && listed.exitCode != 1) {
                result.error = QStringLiteral("lsof exited with %1").arg(listed.exitCode);
                return result;
            }
            QString problem;
            const std::optional<QList<qint64>> listedPids =
                pidsFromLsof(listed.standardOutput, &problem);
            if (!listedPids) {
                result.error =
                    InputLimits::refusal(QStringLiteral("lsof's list of open files"), problem);
                return result;
            }
            for (qint64 pid : *listedPids) {
                if (!pids.contains(pid))
                    pids.append(pid);
            }
        }
        for (qint64 pid : pids) {
            const ProcessResult named = runner.run(ps,
                                                   {QStringLiteral("-o"), QStringLiteral("comm="),
                                                    QStringLiteral("-p"), QString::number(pid)},
                                                   std::nullopt, {}, queryTimeout, cancellation);
            cancellation.throwIfCancelled();
            // A process that ended between the two calls no longer holds anything.
            const QString name = processName(QString::fromUtf8(named.standardOutput));
            if (named.exitCode == 0 && !name.isEmpty() && !result.processNames.contains(name))
                result.processNames.append(name);
        }
    } catch (const ProcessRunnerError& error) {
        result.error = error.description();
        return result;
    }
    std::sort(result.processNames.begin(), result.processNames.end());
    return result;
}

} // namespace corvane
