// Times measuring what the coding agents keep, over a generated agent home: `make bench` runs it
// warm beside `du -s` of the same folders.

#include "agents/AgentStorage.h"
#include "agents/ClaudeHistory.h"
#include "agents/SessionHead.h"
#include "organize/OrphanFinder.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>
#include <cstdio>

namespace {

using namespace corvane;

constexpr int exitOk = 0;
constexpr int exitBadInput = 2;

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

// Only the head of a session file is ever read (SessionHead), so each is real bytes up to
// `realBytes` and a hole after that up to its share of the history: the measuring does the same
// work as over a home of that many bytes on disk, without filling the disk. Allocated bytes, which
// both the engine and du count, are therefore fewer than the apparent ones.
bool writeSession(const QString& path, const QByteArray& head, qint64 realBytes, qint64 bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(head) != head.size())
        return false;
    const QByteArray line =
        "{\"type\":\"assistant\",\"message\":{\"content\":\"" + QByteArray(400, 'x') + "\"}}\n";
    for (qint64 written = head.size(); written < realBytes; written += line.size()) {
        if (file.write(line) != line.size())
            return false;
    }
    return file.resize(std::max(bytes, file.size()));
}

bool writeSmall(const QString& path, qint64 bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(bytes, 'x')) == bytes;
}

// The lines Claude Code writes first: a summary, a file-history snapshot, then the first prompt
// with the working folder about a hundred bytes in.
QByteArray sessionHead(int index, const QString& id, const QString& cwd) {
    return "{\"type\":\"summary\",\"summary\":\"Session " + QByteArray::number(index) +
           "\",\"leafUuid\":\"9d0c1f4e-2b7a-4c55-8e61-0f3a2d4b5c6e\"}\n"
           "{\"type\":\"file-history-snapshot\",\"messageId\":\"m\",\"snapshot\":{}}\n"
           "{\"parentUuid\":null,\"isSidechain\":false,\"userType\":\"external\",\"cwd\":\"" +
           cwd.toUtf8() + "\",\"sessionId\":\"" + id.toUtf8() +
           "\",\"version\":\"2.0.24\",\"gitBranch\":\"main\",\"type\":\"user\",\"message\":{"
           "\"role\":\"user\",\"content\":\"go on\"}}\n";
}

// One session as current versions keep it: the session file, a companion folder with a tool
// result, a to-do list and, for every other session, its file history.
bool writeClaudeSession(const QString& claude, int index, const QString& cwd, qint64 bytes) {
    constexpr qint64 realBytes = SessionHead::chunkSize;
    constexpr qint64 companionBytes = 4096;
    const QString folder =
        claude + QStringLiteral("/projects/") + ClaudeHistory::encodedFolderName(cwd);
    const QString id =
        QStringLiteral("%1-0000-4000-8000-000000000000").arg(index, 8, 10, QChar(u'0'));
    const QString todo = claude + QStringLiteral("/todos/") + id + QStringLiteral("-agent-") + id +
                         QStringLiteral(".json");
    const QString history = claude + QStringLiteral("/file-history/") + id;
    if (index % 2 == 0 &&
        !(QDir().mkpath(history) && writeSmall(history + QStringLiteral("/a1b2@v1"), 1500)))
        return false;
    return QDir().mkpath(folder + u'/' + id + QStringLiteral("/tool-results")) &&
           writeSession(folder + u'/' + id + QStringLiteral(".jsonl"), sessionHead(index, id, cwd),
                        realBytes, bytes - companionBytes) &&
           writeSmall(folder + u'/' + id + QStringLiteral("/tool-results/r.txt"), companionBytes) &&
           writeSmall(todo, 2);
}

// A record of the Claude app continuing session `index`.
bool writeRecord(const QString& folder, int index, const QString& cwd) {
    const QString id =
        QStringLiteral("%1-0000-4000-8000-000000000000").arg(index, 8, 10, QChar(u'0'));
    QFile file(folder + QStringLiteral("/local_%1.json").arg(index));
    const QByteArray record = "{\"sessionId\":\"local_" + QByteArray::number(index) +
                              "\",\"cliSessionId\":\"" + id.toUtf8() + "\",\"cwd\":\"" +
                              cwd.toUtf8() + "\",\"title\":\"Session " + QByteArray::number(index) +
                              "\",\"lastActivityAt\":1753650000000,\"isArchived\":false}";
    return file.open(QIODevice::WriteOnly) && file.write(record) == record.size();
}

// `sessions` Claude Code sessions over 200 projects, half of them gone, sharing `bytes` of
// history (apparent size); debug logs and a record of the Claude app for every hundredth session.
int makeHome(const QString& home, int sessions, qint64 bytes) {
    const QString claude = home + QStringLiteral("/.claude");
    const QString records =
        home + QStringLiteral("/.config/Claude/claude-code-sessions/account/organisation");
    if (!QDir().mkpath(claude + QStringLiteral("/todos")) || !QDir().mkpath(records))
        return exitBadInput;
    const qint64 perSession = bytes / std::max(sessions, 1);
    for (int index = 0; index < sessions; ++index) {
        const int project = index % 200;
        const QString cwd = home + QStringLiteral("/work/p%1").arg(project);
        if (project % 2 == 0)
            QDir().mkpath(cwd);
        if (!writeClaudeSession(claude, index, cwd, perSession))
            return exitBadInput;
        if (index % 100 == 0 && !writeRecord(records, index, cwd))
            return exitBadInput;
    }
    QDir().mkpath(claude + QStringLiteral("/debug"));
    for (int index = 0; index < 200; ++index)
        writeSmall(claude + QStringLiteral("/debug/%1.txt").arg(index), 8192);
    out() << "made " << sessions << " sessions in " << home << '\n';
    return exitOk;
}

// As the app and `corvane agents storage` measure: the orphan finder places the missing folders.
int measure(const QString& home, bool quiet) {
    AgentStorage::Inputs inputs{AgentLocations(home), [](const AgentHistoryIndex& index) {
                                    return OrphanFinder::newPlaces(index);
                                }};
    QElapsedTimer clock;
    clock.start();
    const AgentStore store = AgentStorage::measure(inputs);
    if (!quiet)
        out() << "measured " << store.rows.size() << " rows, " << store.totalBytes()
              << " allocated bytes (" << store.reclaimableBytes() << " can go) in "
              << clock.elapsed() << " ms\n";
    return exitOk;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    CLI::App app{"Times measuring a generated coding-agent home", "corvane_agents_bench"};
    app.require_subcommand(1);
    std::string home;
    int sessions = 20'000;
    qint64 bytes = 5'000'000'000;
    bool quiet = false;
    int status = exitOk;
    CLI::App* make = app.add_subcommand("make-home", "Write the agent home (kept between runs)");
    make->add_option("HOME", home)->required();
    make->add_option("--sessions", sessions);
    make->add_option("--bytes", bytes);
    make->callback([&] { status = makeHome(QString::fromStdString(home), sessions, bytes); });
    CLI::App* timed = app.add_subcommand("measure", "Measure every agent store of HOME once");
    timed->add_option("HOME", home)->required();
    timed->add_flag("--quiet", quiet);
    timed->callback([&] { status = measure(QString::fromStdString(home), quiet); });
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitOk : exitBadInput;
    }
    out().flush();
    return status;
}
