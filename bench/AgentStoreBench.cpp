// Times measuring what the coding agents keep, over a generated agent home: `make bench` runs it
// warm beside `du -s` of the same folders.

#include "agents/AgentStorage.h"
#include "agents/ClaudeHistory.h"

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

// Real bytes, not holes: the sizes measured are allocated bytes.
bool writeFilled(const QString& path, qint64 bytes, const QByteArray& head) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(head);
    QByteArray block(64 * 1024, 'x');
    for (qint64 left = bytes - head.size(); left > 0; left -= block.size())
        file.write(block.constData(), std::min<qint64>(left, block.size()));
    return true;
}

// `sessions` Claude Code sessions over 200 projects, half of them gone, each session a file of
// its share of `bytes` and a small companion folder; Codex logs and editor workspaces beside.
int makeHome(const QString& home, int sessions, qint64 bytes) {
    const QString projects = home + QStringLiteral("/.claude/projects");
    const qint64 perSession = bytes / std::max(sessions, 1);
    for (int index = 0; index < sessions; ++index) {
        const int project = index % 200;
        const QString cwd = home + QStringLiteral("/work/p%1").arg(project);
        if (project % 2 == 0)
            QDir().mkpath(cwd);
        const QString folder = projects + u'/' + ClaudeHistory::encodedFolderName(cwd);
        const QString id =
            QStringLiteral("%1-0000-4000-8000-000000000000").arg(index, 8, 10, QChar(u'0'));
        QDir().mkpath(folder + u'/' + id + QStringLiteral("/tool-results"));
        const QByteArray head = "{\"type\":\"summary\",\"summary\":\"Session " +
                                QByteArray::number(index) + "\"}\n{\"type\":\"user\",\"cwd\":\"" +
                                cwd.toUtf8() + "\",\"message\":{\"content\":\"go\"}}\n";
        if (!writeFilled(folder + u'/' + id + QStringLiteral(".jsonl"), perSession - 4096, head) ||
            !writeFilled(folder + u'/' + id + QStringLiteral("/tool-results/r.txt"), 4096, {}))
            return exitBadInput;
    }
    QDir().mkpath(home + QStringLiteral("/.claude/debug"));
    for (int index = 0; index < 200; ++index)
        writeFilled(home + QStringLiteral("/.claude/debug/%1.txt").arg(index), 8192, {});
    out() << "made " << sessions << " sessions in " << home << '\n';
    return exitOk;
}

int measure(const QString& home, bool quiet) {
    AgentStorage::Inputs inputs{AgentLocations(home), {}};
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
