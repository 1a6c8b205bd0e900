#pragma once

// Running a whole scan in a test and finding things among the events it streamed.

#include "scanning/ScanEngine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <memory>

namespace corvane::test {

inline QList<ScanEvent> ofKind(const QList<ScanEvent>& events, ScanEvent::Kind kind) {
    QList<ScanEvent> found;
    for (const ScanEvent& event : events) {
        if (event.kind == kind)
            found.append(event);
    }
    return found;
}

enum class Cancel { never, atOnce, afterFirstProject };

// Runs a scan to its end on this thread's event loop and returns every event in arrival order,
// including any that arrive shortly after the end (there should be none).
inline QList<ScanEvent> scanToEnd(const QString& root, const ScanOptions& options = {},
                                  Cancel cancel = Cancel::never) {
    std::unique_ptr<ScanStream> stream = ScanEngine::scan(root, options);
    QList<ScanEvent> events;
    QObject::connect(stream.get(), &ScanStream::eventsArrived, stream.get(),
                     [&](const QList<ScanEvent>& batch) {
                         events.append(batch);
                         if (cancel == Cancel::afterFirstProject &&
                             !ofKind(events, ScanEvent::Kind::projectDiscovered).isEmpty())
                             stream->cancel();
                     });
    if (cancel == Cancel::atOnce)
        stream->cancel();
    QElapsedTimer clock;
    clock.start();
    while ((events.isEmpty() || events.last().kind != ScanEvent::Kind::scanCompleted) &&
           clock.elapsed() < 60'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return events;
}

// The project discovered at `url`; nothing when the scan found none there.
inline const Project* projectAt(const QList<ScanEvent>& events, const QString& url) {
    for (const ScanEvent& event : events) {
        if (event.kind == ScanEvent::Kind::projectDiscovered && event.project.url == url)
            return &event.project;
    }
    return nullptr;
}

inline const ScanEvent* itemsOf(const QList<ScanEvent>& events, const QString& projectName) {
    QUuid id;
    for (const ScanEvent& event : events) {
        if (event.kind == ScanEvent::Kind::projectDiscovered && event.project.name == projectName)
            id = event.project.id;
    }
    for (const ScanEvent& event : events) {
        if (event.kind == ScanEvent::Kind::itemsClassified && event.projectID == id)
            return &event;
    }
    return nullptr;
}

inline const CleanableItem* itemNamed(const ScanEvent* classified, const QString& name) {
    if (!classified)
        return nullptr;
    for (const CleanableItem& item : classified->items) {
        if (item.name == name)
            return &item;
    }
    return nullptr;
}

// Every item of every project, whatever project it belongs to.
inline QList<CleanableItem> allItems(const QList<ScanEvent>& events) {
    QList<CleanableItem> items;
    for (const ScanEvent& event : ofKind(events, ScanEvent::Kind::itemsClassified))
        items.append(event.items);
    return items;
}

inline const CleanableItem* itemAt(const QList<ScanEvent>& events, const QString& url) {
    for (const ScanEvent& event : events) {
        for (const CleanableItem& item : event.items) {
            if (item.url == url)
                return &item;
        }
    }
    return nullptr;
}

} // namespace corvane::test
