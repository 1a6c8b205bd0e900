#include "organize/ProcessInspector.h"

#include "agents/AgentPaths.h"
#include "platform/InputLimits.h"
#include "platform/Locations.h"

#include <QCoreApplication>
#include <optional>

namespace corvane {
namespace {

constexpr double lsofTimeoutSeconds = 20.0;

struct PartialProcess {
    std::optional<qint64> pid;
    std::optional<QString> command;
    std::optional<QString> cwd;

    bool isComplete() const { return pid && command && cwd; }
};

// lsof writes bytes it can't print as \xNN, control characters as \n, \t and so on, and a
// backslash as two; this gives back the bytes the file system holds.
QByteArray unescaped(const QByteArray& field) {
    QByteArray bytes;
    bytes.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] != '\\' || i + 1 == field.size()) {
            bytes.append(field[i]);
            continue;
        }
        const char next = field[++i];
        bool isHex = false;
        switch (next) {
        case 'x':
            if (i + 2 < field.size()) {
                const int value = field.mid(i + 1, 2).toInt(&isHex, 16);
                if (isHex) {
                    bytes.append(static_cast<char>(value));
                    i += 2;
                    break;
                }
            }
            bytes.append("\\x");
            break;
        case 'n':
            bytes.append('\n');
            break;
        case 't':
            bytes.append('\t');
            break;
        case 'r':
            bytes.append('\r');
            break;
        case 'b':
            bytes.append('\b');
            break;
        case 'f':
            bytes.append('\f');
            break;
        default:
            bytes.append(next);
            break;
        }
    }
    return bytes;
}

// An unreadable directory comes as "/proc/1/cwd (readlink: Permission denied)" or without a
// leading slash; such a value names no folder.
bool isUsableDirectory(const QString& path) {
    return path.startsWith(u'/') && !(path.endsWith(u')') && path.contains(QStringLiteral(" (")));
}

void keepIfWanted(const PartialProcess& partial,
                  QList<ProcessInspector::WorkingProcess>& processes) {
    // A helper that wraps terminal sessions; the shell inside it is listed on its own.
    if (!partial.isComplete() || *partial.command == QStringLiteral("disclaimer"))
        return;
    processes.append({*partial.pid, *partial.command, *partial.cwd});
}

} // namespace

QList<ProcessInspector::WorkingProcess> ProcessInspector::workingProcesses() const {
    try {
        const ProcessResult result =
            runner_->run(Locations::toolPath(Locations::Tool::lsof),
                         {QStringLiteral("-a"), QStringLiteral("-d"), QStringLiteral("cwd"),
                          QStringLiteral("-F"), QStringLiteral("pcn")},
                         std::nullopt, {}, lsofTimeoutSeconds);
        // lsof exits with 1 when some process could not be read, yet lists the others. This
        // process and lsof itself work wherever the user started them; neither holds a folder.
        // A listing over its limits is one lsof could not give, as when it fails.
        QList<WorkingProcess> processes =
            parse(result.standardOutput).value_or(QList<WorkingProcess>());
        processes.removeIf([](const WorkingProcess& process) {
            return process.pid == QCoreApplication::applicationPid() ||
                   process.command == QStringLiteral("lsof");
        });
        return processes;
    } catch (const ProcessRunnerError&) {
        return {};
    }
}

std::optional<QList<ProcessInspector::WorkingProcess>>
ProcessInspector::parse(const QByteArray& output, QString* problem) {
    const InputLimits::Records lines = InputLimits::split(output);
    if (!lines.records) {
        if (problem)
            *problem = lines.problem;
        return std::nullopt;
    }
    QList<WorkingProcess> processes;
    PartialProcess current;
    for (const QByteArray& line : *lines.records) {
        if (line.isEmpty())
            continue;
        const QString value = QString::fromUtf8(unescaped(line.mid(1)));
        switch (line.at(0)) {
        case 'p': {
            keepIfWanted(current, processes);
            current = {};
            // lsof writes a process id as plain digits; anything else ("-1", "+7") names none.
            bool isNumber = false;
            const qint64 pid = value.toLongLong(&isNumber);
            if (isNumber && pid > 0 && value.at(0).isDigit())
                current.pid = pid;
            break;
        }
        case 'c':
            current.command = value;
            break;
        case 'n':
            // One directory per process; a second one would be another file, never its cwd.
            if (!current.cwd && isUsableDirectory(value))
                current.cwd = value;
            break;
        default:
            break;
        }
    }
    keepIfWanted(current, processes);
    return processes;
}

QList<ProcessInspector::WorkingProcess>
ProcessInspector::inside(const QList<WorkingProcess>& processes, const QString& folder) {
    const bool mac = Locations::isMac();
    const QString normalizedFolder = AgentPaths::normalized(folder, mac);
    QList<WorkingProcess> found;
    for (const WorkingProcess& process : processes) {
        if (AgentPaths::isAtOrInside(AgentPaths::normalized(process.cwd, mac), normalizedFolder))
            found.append(process);
    }
    return found;
}

QString ProcessInspector::displayName(const WorkingProcess& process) {
    static const QStringList shells{QStringLiteral("zsh"),  QStringLiteral("bash"),
                                    QStringLiteral("fish"), QStringLiteral("sh"),
                                    QStringLiteral("-zsh"), QStringLiteral("-bash")};
    if (process.command == QStringLiteral("claude"))
        return QStringLiteral("Claude Code");
    if (process.command == QStringLiteral("codex"))
        return QStringLiteral("Codex");
    if (shells.contains(process.command))
        return QStringLiteral("a terminal");
    return QStringLiteral("process ") + process.command;
}

} // namespace corvane
