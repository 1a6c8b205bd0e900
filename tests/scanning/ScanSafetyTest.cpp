// Whole scans of trees where a careless scanner would offer work that exists nowhere else: other
// repositories inside a repository, submodules at commits only this machine has, a home folder
// kept in git, and folders git ignores where the walk itself would never go.

#include "ScanEvents.h"
#include "platform/Locations.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

bool isOfferedWhole(const QList<ScanEvent>& events, const QString& repo) {
    const CleanableItem* item = test::itemAt(events, repo);
    return item && item->kind == ArtifactKind::wholeProject;
}

GitStatus statusOf(const QList<ScanEvent>& events, const QString& projectURL) {
    const Project* project = test::projectAt(events, projectURL);
    for (const ScanEvent& event : test::ofKind(events, ScanEvent::Kind::gitStatusUpdated)) {
        if (project && event.projectID == project->id)
            return event.details.status;
    }
    return GitStatus::notARepo();
}

} // namespace

TEST(ScanSafety, AnUntrackedFileTheUsersSettingsHideStillCounts) {
    const test::SyncedRepo synced = test::makeSyncedRepo();
    const QString repo = synced.repo;
    test::git(repo, {s("config"), s("status.showUntrackedFiles"), s("no")});
    EXPECT_TRUE(isOfferedWhole(test::scanToEnd(repo), repo));

    test::writeFile(repo + s("/notes.txt"), "only here");
    const QList<ScanEvent> events = test::scanToEnd(repo);
    EXPECT_EQ(statusOf(events, repo), GitStatus::dirty(1));
    EXPECT_FALSE(isOfferedWhole(events, repo));
}
