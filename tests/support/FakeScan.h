#pragma once

// Stand-ins for the scan engine: a starter that hands the session a real event stream and keeps
// its sink, so a test sends exactly the events it wants, and builders for scan records.

#include "scanning/ScanSessionTypes.h"
#include "scanning/ScanStream.h"

#include <QPointer>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace corvane::test {

class FakeScans {
public:
    ScanStarter starter() {
        return [this](const QString& root, const ScanOptions&) {
            ScanStream::Pair pair = ScanStream::create();
            roots.append(root);
            sinks.append(pair.sink);
            streams.append(pair.stream.get());
            return std::move(pair.stream);
        };
    }

    // Sends `events` through the newest scan and waits until the session has had them.
    void feed(const QList<ScanEvent>& events) {
        ASSERT_FALSE(sinks.isEmpty()) << "no scan was started";
        QSignalSpy delivered(streams.last().data(), &ScanStream::eventsArrived);
        sinks.last()->send(events);
        ASSERT_TRUE(delivered.wait(10000)) << "the events never arrived";
    }

    QList<QString> roots;
    QList<std::shared_ptr<ScanEventSink>> sinks;
    QList<QPointer<ScanStream>> streams;
};

inline Project makeProject(const QString& url, const std::optional<QUuid>& parent = std::nullopt,
                           const std::optional<QString>& repo = std::nullopt) {
    const QString name = url.section(u'/', -1);
    return Project{QUuid::createUuid(), name, url, {QStringLiteral("package.json")}, repo, parent};
}

inline CleanableItem makeItem(const Project& project, const QString& name,
                              ArtifactKind kind = ArtifactKind::dependencies,
                              CleanConfidence confidence = CleanConfidence::safe) {
    const QString url = name.isEmpty() ? project.url : project.url + u'/' + name;
    return CleanableItem(project.id, url, name.isEmpty() ? project.name : name, kind, confidence);
}

inline GitDetails makeDetails(const GitStatus& status,
                              const std::optional<QDateTime>& lastCommit = std::nullopt) {
    GitDetails details;
    details.status = status;
    details.branch = QStringLiteral("main");
    details.remoteURL = QStringLiteral("git@example:team/tool.git");
    details.lastCommitDate = lastCommit;
    return details;
}

} // namespace corvane::test
