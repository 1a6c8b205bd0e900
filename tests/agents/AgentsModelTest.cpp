#include "agents/AgentsModel.h"

#include "AgentFixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

constexpr int patience = 10000;

void waitForLoad(const AgentsModel& model) {
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isLoading() && !model.isReloadRequested(); },
                                patience));
}

} // namespace

TEST(AgentsModel, GathersEachProjectsHistoryOffTheMainThreadAndReloadsToTheNewestState) {
    const AgentLocations locations = test::makeAgentHome();
    test::writeClaudeSessionIn(locations, s("/w/app"), s("in-app"));
    test::writeClaudeSessionIn(locations, s("/w/app/src"), s("in-src"));
    test::writeClaudeSessionIn(locations, s("/w"), s("one-level-up"));
    test::writeClaudeSessionIn(locations, s("/w/other"), s("elsewhere"));
    ToastCenter toasts;
    AgentsModel model(toasts, nullptr, locations);
    model.setProjectFolders({s("/w/app"), s("/v/quiet"), s("/w/sibling")});

    model.reload();
    // Nothing is read on the main thread: until the job is back, the model knows nothing.
    EXPECT_TRUE(model.isLoading());
    EXPECT_TRUE(model.activities(s("/w/app")).isEmpty());
    waitForLoad(model);

    const QList<AgentActivity> app = model.activities(s("/w/app"));
    ASSERT_EQ(app.size(), 1);
    EXPECT_EQ(app[0].agent, AgentKind::claudeCode);
    QStringList ids = test::idsOf(app[0].sessions);
    ids.sort();
    EXPECT_EQ(ids, (QStringList{s("in-app"), s("in-src"), s("one-level-up")}));
    EXPECT_EQ(app[0].parentFolderSessionIDs, QSet<QString>{s("one-level-up")});
    EXPECT_EQ(app[0].parentFolderName, s("w"));
    EXPECT_EQ(model.sessionCount(s("/w/app")), 3);
    EXPECT_EQ(model.sessionCount(s("/v/quiet")), 0);
    // A project beside it shares only the session of the folder that holds them both.
    EXPECT_EQ(model.sessionCount(s("/w/sibling")), 1);
    EXPECT_EQ(model.historyByFolder().keys(),
              (QList<QString>{s("/w"), s("/w/app"), s("/w/app/src"), s("/w/other")}));

    // A session that appears while a load runs is there once the reload asked for meanwhile ends.
    model.reload();
    test::writeClaudeSessionIn(locations, s("/w/app"), s("newer"));
    model.reload();
    EXPECT_TRUE(model.isReloadRequested());
    waitForLoad(model);
    EXPECT_EQ(model.sessionCount(s("/w/app")), 4);
}
