#include "archive/ArchivesModel.h"

#include "agents/AgentFixtures.h"
#include "platform/Paths.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The model over a temporary home with agent history, a catalog beside it and real folders.
class ArchivesModelTest : public testing::Test {
protected:
    void SetUp() override {
        services.relinker = AgentRelinker{locations};
        services.catalog.url = locations.home + s("/support/archive-catalog.json");
        project = locations.home + s("/code/shop");
        test::writeFile(project + s("/README.md"), "hello");
        test::writeFile(project + s("/src/main.c"), "int main(void) { return 0; }\n");
        test::writeClaudeSessionIn(locations, project, s("shop-session"));
    }

    void waitForAction(ArchivesModel& model) {
        ASSERT_TRUE(QTest::qWaitFor([&model] { return !model.isBusy(); }, 20000));
    }

    const AgentLocations locations = test::makeAgentHome();
    ArchivesModel::Services services;
    QString project;
    ToastCenter toasts;
};

} // namespace

TEST_F(ArchivesModelTest, AnArchiveIsRecordedAndRestoresInPlaceOrElsewhereWithHistoryRelinked) {
    ArchivesModel model(toasts, services);
    const QString drive = locations.home + s("/drive");
    model.archive(project, ArchiveTarget::folder(drive));
    ASSERT_TRUE(model.archiveProgress().has_value());
    waitForAction(model);
    ASSERT_FALSE(model.archiveErrorMessage()) << model.archiveErrorMessage()->toStdString();
    EXPECT_FALSE(QFileInfo::exists(project));
    EXPECT_TRUE(QFileInfo::exists(drive + s("/shop/src/main.c")));
    EXPECT_EQ(toasts.current()->message,
              s("Archived shop to ") + drive +
                  s("/shop, verified by content. The original is in the Trash."));
    ASSERT_EQ(model.records().size(), 1);
    const ArchiveRecord record = model.records().first();
    EXPECT_EQ(record.originalPath, project);
    EXPECT_EQ(record.location, ArchiveLocation::folder(drive + s("/shop")));
    EXPECT_EQ(record.agentSessionCount, 1);
    EXPECT_EQ(services.catalog.load(), model.records());
    EXPECT_TRUE(ArchivesModel::canRestoreInPlace(record));
    EXPECT_EQ(ArchivesModel::restoreHint(record), s("Copy it back to ") + project);

    // Back where it was: the history never left, nothing is relinked.
    model.restore(record);
    waitForAction(model);
    ASSERT_FALSE(model.errorMessage()) << model.errorMessage()->toStdString();
    EXPECT_TRUE(QFileInfo::exists(project + s("/src/main.c")));
    EXPECT_TRUE(QFileInfo::exists(drive + s("/shop/src/main.c"))) << "the archive stays";
    EXPECT_FALSE(model.lastRelink());
    EXPECT_EQ(toasts.current()->message,
              s("Restored shop to ") + project + s(" Its agent history is attached again."));
    EXPECT_EQ(model.records().first().restoredPath, project);
    EXPECT_TRUE(model.records().first().restoredAt.has_value());
    EXPECT_EQ(ArchivesModel::restoreHint(record), project + s(" is taken; choose another folder"));

    // A second copy elsewhere: the project in use is the one back in place, and its history
    // stays with it.
    const QString elsewhere = locations.home + s("/restored");
    model.restore(model.records().first(), elsewhere);
    waitForAction(model);
    ASSERT_FALSE(model.errorMessage()) << model.errorMessage()->toStdString();
    EXPECT_TRUE(QFileInfo::exists(elsewhere + s("/shop/src/main.c")));
    EXPECT_FALSE(model.lastRelink());
    EXPECT_EQ(test::sessionIDsIn(locations, project), QStringList{s("shop-session")});
    EXPECT_EQ(toasts.current()->message, s("Restored shop to ") + elsewhere + s("/shop") +
                                             s(" Its agent history stays with the copy at ") +
                                             project + s("."));
    const QList<ArchiveRecord> twice = services.catalog.load();
    ASSERT_EQ(twice.size(), 1);
    EXPECT_EQ(twice.first().restoredPath, elsewhere + s("/shop"));
    QStringList restoredTo;
    for (const ArchiveRestore& restore : twice.first().restores)
        restoredTo.append(restore.path);
    EXPECT_EQ(restoredTo, (QStringList{project, elsewhere + s("/shop")}));

    // Once no copy is in use any more, the next restore elsewhere takes the history along.
    ASSERT_TRUE(QDir(project).removeRecursively());
    ASSERT_TRUE(QDir(elsewhere).removeRecursively());
    const QString later = locations.home + s("/later");
    model.restore(model.records().first(), later);
    waitForAction(model);
    ASSERT_FALSE(model.errorMessage()) << model.errorMessage()->toStdString();
    ASSERT_TRUE(model.lastRelink().has_value());
    EXPECT_EQ(model.lastRelink()->claudeHistoryFolders, 1);
    EXPECT_EQ(test::sessionIDsIn(locations, later + s("/shop")), QStringList{s("shop-session")});
    EXPECT_EQ(toasts.current()->message,
              s("Restored shop to ") + later + s("/shop Its agent history was relinked there."));
    const QList<ArchiveRecord> stored = services.catalog.load();
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(stored.first().restores.size(), 3);
    EXPECT_EQ(stored.first().restoredPath, later + s("/shop"));
    EXPECT_TRUE(stored.first().relink.has_value());
}

TEST_F(ArchivesModelTest, FailuresAreWordedForTheUserAndChangeNothing) {
    ArchivesModel model(toasts, services);
    const QString drive = locations.home + s("/drive");
    test::writeFile(drive + s("/shop/taken"));
    model.archive(project, ArchiveTarget::folder(drive));
    waitForAction(model);
    EXPECT_EQ(model.archiveErrorMessage(),
              s("Archiving shop failed: ") + drive + s("/shop already exists"));
    EXPECT_TRUE(QFileInfo::exists(project + s("/README.md")));
    EXPECT_TRUE(model.records().isEmpty());

    // A record whose drive is gone can't be restored, and says why.
    ArchiveRecord gone;
    gone.id = QUuid::createUuid();
    gone.name = s("blog");
    gone.originalPath = locations.home + s("/code/blog");
    gone.location = ArchiveLocation::folder(s("/nonexistent-drive/CorvaneArchive/blog"));
    EXPECT_FALSE(ArchivesModel::isAvailable(gone));
    EXPECT_FALSE(ArchivesModel::canRestoreInPlace(gone));
    EXPECT_EQ(ArchivesModel::restoreHint(gone),
              s("Connect the drive or share that holds this archive"));
    model.restore(gone);
    waitForAction(model);
    EXPECT_TRUE(model.errorMessage()->startsWith(s("Restoring blog failed: ")));
}

TEST_F(ArchivesModelTest, ACatalogThatCannotBeSavedIsReportedAndTheArchiveStaysDone) {
    // The catalog's folder is a file: nothing can be written there.
    test::writeFile(locations.home + s("/blocked"), "a file, not a folder");
    services.catalog.url = locations.home + s("/blocked/archive-catalog.json");
    ArchivesModel model(toasts, services);
    const QString drive = locations.home + s("/drive");
    model.archive(project, ArchiveTarget::folder(drive));
    waitForAction(model);
    EXPECT_FALSE(model.archiveErrorMessage());
    ASSERT_TRUE(model.errorMessage().has_value());
    EXPECT_TRUE(model.errorMessage()->startsWith(s("Could not save the archive list: ")))
        << model.errorMessage()->toStdString();
    EXPECT_TRUE(QFileInfo::exists(drive + s("/shop/README.md")));
    EXPECT_FALSE(QFileInfo::exists(project));
    EXPECT_EQ(model.records().size(), 1) << "the record is still shown for this session";
}

TEST_F(ArchivesModelTest, AnUnreadableCatalogIsShownAndKeptAsideBeforeTheNextArchiveIsRecorded) {
    const QByteArray cutShort = R"([{"id": "8E0F2D8A-1C3B-4B7E-9A55-0D5B2C1E7F10", "name": "ol)";
    test::writeFile(services.catalog.url, cutShort);
    ArchivesModel model(toasts, services);
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([&model] { return model.hasLoaded(); }, 20000));
    ASSERT_TRUE(model.catalogProblem());
    EXPECT_TRUE(model.catalogProblem()->contains(services.catalog.url));

    model.archive(project, ArchiveTarget::folder(locations.home + s("/drive")));
    waitForAction(model);
    ASSERT_EQ(model.records().size(), 1);
    ASSERT_TRUE(model.errorMessage());
    const QStringList copies = QDir(Paths::parentPath(services.catalog.url))
                                   .entryList({s("archive-catalog.unreadable-*.json")});
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(model.errorMessage()->contains(copies.first()))
        << model.errorMessage()->toStdString();
    QFile copy(Paths::joined(Paths::parentPath(services.catalog.url), copies.first()));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), cutShort);
}
