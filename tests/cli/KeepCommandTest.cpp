#include "cli/KeepCommand.h"

#include "cli/Command.h"
#include "cli/ScanCommands.h"
#include "platform/KeepStore.h"
#include "support/FakeScan.h"
#include "support/JsonText.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using test::parsed;
using namespace corvane::cli;
using test::makeItem;
using test::makeProject;
using test::s;

namespace {

ScanStarter scripted(const QList<ScanEvent>& events) {
    return [events](const QString&, const ScanOptions&) {
        ScanStream::Pair pair = ScanStream::create();
        pair.sink->send(events + QList<ScanEvent>{ScanEvent::scanCompleted()});
        return std::move(pair.stream);
    };
}

// Two projects with real folders; the command's marks live in the fake home's support folder.
class KeepCommandTest : public testing::Test {
protected:
    void SetUp() override {
        QFile::remove(KeepStore().url());
        appModules.restoreHint = {s("npm ci"), false};
        for (const CleanableItem& item : {appModules, toolModules})
            test::writeFile(item.url + s("/content"), "bytes");
    }
    void TearDown() override { QFile::remove(KeepStore().url()); }

    QList<ScanEvent> events() const {
        return {ScanEvent::projectDiscovered(app),
                ScanEvent::projectDiscovered(tool),
                ScanEvent::itemsClassified(app.id, {appModules}),
                ScanEvent::itemsClassified(tool.id, {toolModules}),
                ScanEvent::sizeUpdated(appModules.id, 1000),
                ScanEvent::sizeUpdated(toolModules.id, 20)};
    }

    int keep(KeepRequest::Action action, const QString& path = {}, bool json = false) {
        out.clear();
        err.clear();
        return runKeep({action, path, json}, console);
    }

    QString root = test::makeTempDir(s("keep"));
    Project app = makeProject(root + s("/app"));
    Project tool = makeProject(root + s("/tool"));
    CleanableItem appModules = makeItem(app, s("node_modules"));
    CleanableItem toolModules = makeItem(tool, s("node_modules"));
    QString out;
    QString err;
    Console console{&out, &err};
};

} // namespace

TEST_F(KeepCommandTest, KeepMarksListsAndRemovesFoldersAndRefusesWhatItCannotDo) {
    EXPECT_EQ(keep(KeepRequest::Action::list), exitOk);
    EXPECT_TRUE(out.contains(s("Nothing is marked Keep."))) << qPrintable(out);

    EXPECT_EQ(keep(KeepRequest::Action::add, app.url + s("/")), exitOk) << qPrintable(err);
    EXPECT_TRUE(out.contains(s("Kept ") + app.url)) << qPrintable(out);
    EXPECT_EQ(keep(KeepRequest::Action::add, app.url), exitOk);
    EXPECT_TRUE(out.contains(s("already kept")));
    EXPECT_EQ(keep(KeepRequest::Action::add, root + s("/gone")), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("No such folder: ") + root + s("/gone")));
    EXPECT_EQ(KeepStore().load().paths, QStringList{app.url});

    QDir().mkpath(root + s("/old"));
    ASSERT_EQ(keep(KeepRequest::Action::add, root + s("/old")), exitOk);
    QDir().rmdir(root + s("/old"));
    ASSERT_EQ(keep(KeepRequest::Action::list, {}, true), exitOk);
    const QJsonArray kept = parsed(out)[u"kept"].toArray();
    ASSERT_EQ(kept.size(), 2);
    EXPECT_EQ(kept[0][u"path"].toString(), app.url);
    EXPECT_TRUE(kept[0][u"exists"].toBool());
    EXPECT_EQ(kept[1][u"path"].toString(), root + s("/old"));
    EXPECT_FALSE(kept[1][u"exists"].toBool());

    // A folder inside a kept one has no mark of its own to remove.
    EXPECT_EQ(keep(KeepRequest::Action::remove, appModules.url), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("is not marked Keep. It lies in a kept folder"))) << qPrintable(err);
    EXPECT_EQ(keep(KeepRequest::Action::remove, root + s("/old")), exitOk);
    EXPECT_EQ(KeepStore().load().paths, QStringList{app.url});
}

TEST_F(KeepCommandTest, CleaningAnItemOfAKeptProjectIsRefusedBeforeAnythingMoves) {
    ASSERT_EQ(keep(KeepRequest::Action::add, app.url), exitOk);

    CleanRequest request;
    request.folder = root;
    request.trash.yes = true;
    request.items = {toolModules.url, appModules.url};
    out.clear();
    EXPECT_EQ(runClean(request, scripted(events()), console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(appModules.url + s(": ") + ScanSession::keptMessage))
        << qPrintable(err);
    EXPECT_TRUE(err.contains(s("Nothing was moved.")));
    EXPECT_TRUE(QFile::exists(appModules.url + s("/content")));
    EXPECT_TRUE(QFile::exists(toolModules.url + s("/content")));

    // The scan shows the mark and every item's hint; the ticked clean leaves the kept project.
    ASSERT_EQ(runScan({root, ProjectSortMode::size, false, true}, scripted(events()), console),
              exitOk);
    const QJsonObject scan = parsed(out);
    EXPECT_EQ(scan[u"reclaimableBytes"].toInteger(), 20);
    const QJsonArray projects = scan[u"projects"].toArray();
    const QJsonObject appJson =
        projects[0][u"name"] == s("app") ? projects[0].toObject() : projects[1].toObject();
    EXPECT_TRUE(appJson[u"kept"].toBool());
    EXPECT_TRUE(appJson[u"items"][0][u"kept"].toBool());
    EXPECT_FALSE(appJson[u"items"][0][u"selected"].toBool());
    EXPECT_EQ(appJson[u"items"][0][u"restoreHint"].toString(), s("npm ci"));

    out.clear();
    request.items.clear();
    request.trash.json = true;
    EXPECT_EQ(runClean(request, scripted(events()), console), exitOk) << qPrintable(err);
    EXPECT_EQ(parsed(out)[u"trashed"].toArray(), QJsonArray{toolModules.url});
    EXPECT_TRUE(QFile::exists(appModules.url + s("/content")));
}

TEST_F(KeepCommandTest, AMarksFileThatCannotBeReadStopsEveryCleanAndStaysAsItIs) {
    test::writeFile(KeepStore().url(), "not json");
    EXPECT_EQ(keep(KeepRequest::Action::list), exitSomeFailed);
    EXPECT_TRUE(err.contains(KeepStore().url() + s(" could not be read"))) << qPrintable(err);
    EXPECT_EQ(keep(KeepRequest::Action::add, app.url), exitSomeFailed);

    CleanRequest request;
    request.folder = root;
    request.trash.yes = true;
    EXPECT_EQ(runClean(request, scripted(events()), console), exitRefusedOrBadArguments);
    EXPECT_TRUE(err.contains(s("Nothing was moved.")));
    EXPECT_TRUE(QFile::exists(toolModules.url + s("/content")));
    QFile file(KeepStore().url());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("not json"));
}
