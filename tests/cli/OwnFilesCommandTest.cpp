// What the command line says about the app's own files and about names it cannot read.
#include "archive/ArchiveCatalog.h"
#include "archive/DestinationsStore.h"
#include "cli/Command.h"
#include "organize/OrganizeJournal.h"
#include "platform/Paths.h"
#include "platform/ProcessRunner.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::cli;
using test::s;

namespace {

ProcessResult runCorvane(const QStringList& arguments) {
    return ProcessRunner::system().run(s(CORVANE_EXECUTABLE), arguments, {}, {}, 60);
}

QStringList asideCopiesOf(const QString& stem) {
    return QDir(Paths::parentPath(ArchiveCatalog::defaultURL()))
        .entryList({stem + s(".unreadable-*.json")}, QDir::Files);
}

} // namespace

TEST(OwnFilesCommand, AnUnreadableCatalogOrJournalIsAFailureNeverAnEmptyList) {
    const QString catalog = ArchiveCatalog::defaultURL();
    test::writeFile(catalog, "[{\"id\": \"8E0F2D8A-1C3B-4B7E-9A55-0D5B2C1E7F10\", \"na");
    for (const QStringList& arguments :
         {QStringList{s("archives")}, QStringList{s("archives"), s("--json")}}) {
        const ProcessResult listed = runCorvane(arguments);
        EXPECT_EQ(listed.exitCode, exitSomeFailed) << arguments.join(u' ').toStdString();
        EXPECT_FALSE(listed.standardOutput.contains("No project has been archived yet"));
        EXPECT_TRUE(listed.standardError.contains(catalog.toUtf8()))
            << listed.standardError.constData();
    }
    QFile::remove(catalog);

    const QString journal = OrganizeJournal().url();
    test::writeFile(journal, "{\"not\": \"a list of runs\"}");
    const ProcessResult undo = runCorvane({s("organize"), s("undo"), s("--yes")});
    EXPECT_EQ(undo.exitCode, exitSomeFailed);
    EXPECT_FALSE(undo.standardOutput.contains("Nothing to undo"));
    EXPECT_TRUE(undo.standardError.contains(journal.toUtf8())) << undo.standardError.constData();
    QFile::remove(journal);
}

TEST(OwnFilesCommand, AddingADestinationKeepsAnUnreadableListAsideAndSaysSo) {
    QSettings().setValue(DestinationsStore::settingsKey, s("[{\"id\": \"cut off"));
    QSettings().sync();
    const ProcessResult added =
        runCorvane({s("destinations"), s("add-ssh"), s("Box"), s("me@box.lan")});
    EXPECT_EQ(added.exitCode, exitSomeFailed) << added.standardError.constData();
    EXPECT_TRUE(added.standardError.contains("archive-destinations.unreadable-"))
        << added.standardError.constData();
    const QStringList copies = asideCopiesOf(s("archive-destinations"));
    ASSERT_EQ(copies.size(), 1);
    QFile copy(Paths::joined(Paths::parentPath(ArchiveCatalog::defaultURL()), copies.first()));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), QByteArray("[{\"id\": \"cut off"));
    QSettings().sync();
    EXPECT_EQ(DestinationsStore().destinations().size(), 1);
    QSettings().remove(DestinationsStore::settingsKey);
}

TEST(OwnFilesCommand, ANameThatIsNotUtf8IsSaidToBeSoNotMissing) {
    const QString parent = test::makeTempDir(s("names"));
    // The shell makes the folder and passes its name as raw bytes: "caf" then Latin-1 "é".
    const QString script =
        s(R"sh(name="$1/$(printf 'caf\351')"; mkdir "$name" && exec "$0" keep "$name")sh");
    const ProcessResult result = ProcessRunner::system().run(
        s("/bin/sh"), {s("-c"), script, s(CORVANE_EXECUTABLE), parent}, {}, {}, 60);
    EXPECT_EQ(result.exitCode, exitRefusedOrBadArguments);
    EXPECT_TRUE(result.standardError.contains("caf\\xE9 is not valid UTF-8"))
        << result.standardError.constData();
    EXPECT_FALSE(result.standardError.contains("No such folder"));
}
