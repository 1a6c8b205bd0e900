#pragma once

#include "devtools/DockerFixtures.h"
#include "platform/ProcessRunner.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QMutex>
#include <QStringList>

namespace corvane::test {

// A stand-in for the docker tool, named by CORVANE_TOOL_DOCKER for as long as it lives. It logs
// its arguments, one call per line, and answers each argument list with what respond() set
// (exit 0 and no output otherwise). It starts as a running Docker holding the captured report.
class FakeDocker {
public:
    FakeDocker()
        : folder_(makeTempDir(QStringLiteral("docker")))
        , tool_(folder_ + QStringLiteral("/bin/docker"))
        , environment_("CORVANE_TOOL_DOCKER", tool_) {
        writeScript(tool_, "dir='" + folder_.toUtf8() + "'\n" + R"sh(
printf '%s\n' "$*" >> "$dir/calls.log"
key=$(printf '%s' "$*" | tr -c 'A-Za-z0-9' '_')
[ -f "$dir/answers/$key.out" ] && cat "$dir/answers/$key.out"
[ -f "$dir/answers/$key.err" ] && cat "$dir/answers/$key.err" >&2
[ -f "$dir/answers/$key.exit" ] && exit "$(cat "$dir/answers/$key.exit")"
exit 0
)sh");
        respond(version, "27.0.3\n");
        respond(report, docker::report28);
        respond(listing, docker::imageListing);
        respond(totals, docker::totals);
    }

    inline static const QStringList version = {QStringLiteral("version"),
                                               QStringLiteral("--format"),
                                               QStringLiteral("{{.Server.Version}}")};
    inline static const QStringList report = {QStringLiteral("system"), QStringLiteral("df"),
                                              QStringLiteral("-v"), QStringLiteral("--format"),
                                              QStringLiteral("{{json .}}")};
    inline static const QStringList listing = {
        QStringLiteral("image"), QStringLiteral("ls"), QStringLiteral("--no-trunc"),
        QStringLiteral("--format"), QStringLiteral("{{json .}}")};
    inline static const QStringList totals = {QStringLiteral("system"), QStringLiteral("df"),
                                              QStringLiteral("--format"),
                                              QStringLiteral("{{json .}}")};

    const QString& tool() const { return tool_; }

    void respond(const QStringList& arguments, const QByteArray& standardOutput, int exitCode = 0,
                 const QByteArray& standardError = {}) const {
        const QString base = folder_ + QStringLiteral("/answers/") + key(arguments);
        writeFile(base + QStringLiteral(".out"), standardOutput);
        writeFile(base + QStringLiteral(".err"), standardError);
        writeFile(base + QStringLiteral(".exit"), QByteArray::number(exitCode));
    }

    // Every call so far, its arguments joined by spaces.
    QStringList calls() const {
        QFile log(folder_ + QStringLiteral("/calls.log"));
        if (!log.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

    // The calls that are not one of the three listings or the version.
    QStringList changingCalls() const {
        QStringList result;
        for (const QString& call : calls()) {
            if (!isReading(call))
                result.append(call);
        }
        return result;
    }

    static bool isReading(const QString& call) {
        for (const QStringList* reading : {&version, &report, &listing, &totals}) {
            if (call == reading->join(u' '))
                return true;
        }
        return false;
    }

private:
    // The script's name for an argument list: every byte but a letter or digit becomes "_".
    static QString key(const QStringList& arguments) {
        QByteArray name = arguments.join(u' ').toUtf8();
        for (char& c : name) {
            if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')))
                c = '_';
        }
        return QString::fromLatin1(name);
    }

    QString folder_;
    QString tool_;
    ScopedEnvironment environment_;
};

// Passes every call to the real runner and keeps what it was given, for checks of the
// environment and time limits; `timeOutWhen` makes matching calls time out instead.
class RecordingRunner : public ProcessRunner {
public:
    struct Record {
        QStringList arguments;
        QHash<QString, QString> environment;
        double timeout;
    };

    explicit RecordingRunner(QStringList timeOutWhen = {})
        : timeOutWhen_(std::move(timeOutWhen)) {}

    QList<Record> records() const {
        QMutexLocker lock(&mutex_);
        return records_;
    }

protected:
    ProcessResult execute(const Call& call) const override {
        {
            QMutexLocker lock(&mutex_);
            records_.append({call.arguments, call.environmentOverrides, call.timeout});
        }
        if (!timeOutWhen_.isEmpty() && call.arguments == timeOutWhen_)
            throw ProcessRunnerError::timedOut();
        return ProcessRunner::execute(call);
    }

private:
    QStringList timeOutWhen_;
    mutable QMutex mutex_;
    mutable QList<Record> records_;
};

} // namespace corvane::test
