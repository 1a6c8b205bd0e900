#include "AgentStorageUiBench.h"

#include "TimedApplication.h"
#include "scanning/ScanEngine.h"
#include "shell/AgentsView.h"
#include "shell/MainWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>

namespace corvane::bench {
namespace {

constexpr int tickInterval = 10;
constexpr double gapLimitMs = 50.0;

} // namespace

int runAgentStorageBench(int argc, char** argv) {
    if (argc != 3 || !QFileInfo(QString::fromLocal8Bit(argv[2])).isDir()) {
        std::fprintf(stderr, "usage: corvane_ui_bench --agent-storage HOME\n");
        return 2;
    }
    // The agents' files are read from HOME; the app's own settings and records go to a
    // temporary folder, so the kept home stays as it was made.
    QTemporaryDir own;
    if (!own.isValid())
        return 2;
    qputenv("HOME", argv[2]);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(own.path() + QStringLiteral("/config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(own.path() + QStringLiteral("/data")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(own.path() + QStringLiteral("/cache")));
    int appArgc = 1;
    TimedApplication application(appArgc, argv);
    QApplication::setOrganizationName(QStringLiteral("Corvane"));
    QApplication::setApplicationName(QStringLiteral("Corvane Clean UI bench"));

    AppModels models(ScanEngine::scan);
    MainWindow window(models);
    window.show();
    AgentStorageModel& storage = models.agentStorage;

    QList<double> gaps;
    QElapsedTimer sinceTick;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    ticker.setInterval(tickInterval);
    QObject::connect(&ticker, &QTimer::timeout, &ticker, [&] {
        gaps.append(static_cast<double>(sinceTick.nsecsElapsed()) / 1e6);
        sinceTick.restart();
    });
    QElapsedTimer clock;
    qint64 listedMs = -1;
    bool ticked = false;
    QObject::connect(&storage, &InventoryModel::isLoadingChanged, &application, [&] {
        if (storage.isLoading() || !storage.hasLoaded() || ticked)
            return;
        listedMs = clock.elapsed();
        // One tick, as a user's first click on the list.
        QTimer::singleShot(200, &application, [&] {
            ticked = true;
            for (const AgentStoreRow& row : storage.store().rows) {
                if (row.isOffered() && !storage.selectedIDs().contains(row.id)) {
                    storage.setSelected(row.id, true);
                    break;
                }
            }
            QTimer::singleShot(300, &application, &QCoreApplication::quit);
        });
    });
    QTimer::singleShot(200, &application, [&] {
        application.forget();
        clock.start();
        sinceTick.start();
        ticker.start();
        window.showArea(QStringLiteral("agents"));
        window.page<AgentsView>()->showStorage(true);
    });
    QApplication::exec();
    ticker.stop();

    const double longest = gaps.isEmpty() ? 0 : *std::max_element(gaps.cbegin(), gaps.cend());
    std::printf("ui bench: the agents' storage listed %lld rows after %.1f s; main-thread timer "
                "every %d ms: longest gap %.1f ms (limit %.0f ms): %s\n",
                static_cast<long long>(storage.store().rows.size()),
                static_cast<double>(listedMs) / 1000.0, tickInterval, longest, gapLimitMs,
                longest < gapLimitMs ? "ok" : "TOO LONG");
    std::printf("ui bench: slowest events on the main thread: %s\n",
                qPrintable(application.slowest().join(QStringLiteral("; "))));
    return longest < gapLimitMs ? 0 : 1;
}

} // namespace corvane::bench
