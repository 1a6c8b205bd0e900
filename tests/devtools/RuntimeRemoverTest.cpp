#include "devtools/RuntimeRemover.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace corvane;
using test::s;

namespace {

const QString a = QStringLiteral("A");
const QString b = QStringLiteral("B");
const QString c = QStringLiteral("C");

// The remover's operations, played by hand: a clock that only moves when the remover sleeps,
// listings given per poll (the last one repeats), and errors per runtime.
class RuntimeRemoverTest : public testing::Test {
protected:
    RuntimeRemover remover() {
        RuntimeRemover r;
        r.shutDown = [this](const QStringList& ids) {
            calls.append(s("shutdown ") + ids.join(u' '));
            if (shutDownFails)
                throw std::runtime_error("Unable to shutdown device in current state: Shutdown");
        };
        r.deleteDevices = [this](const QStringList& ids) {
            calls.append(s("delete ") + ids.join(u' '));
            if (deviceDeleteFails)
                throw std::runtime_error("simctl exited with 1: device busy");
        };
        r.deleteRuntime = [this](const QString& id) {
            calls.append(s("runtime delete ") + id);
            if (deleteErrors.contains(id))
                throw std::runtime_error(deleteErrors.value(id).toStdString());
        };
        r.installedIDs = [this] {
            const int poll = polls++;
            if (failingPolls.contains(poll))
                throw std::runtime_error("simctl exited with 1: busy");
            return listings.value(std::min<qsizetype>(poll, listings.size() - 1));
        };
        r.sleep = [this](double seconds) { clock += seconds; };
        return r;
    }

    QStringList calls;
    QMap<QString, QString> deleteErrors;
    QList<QSet<QString>> listings{{}};
    QSet<int> failingPolls;
    bool shutDownFails = false;
    bool deviceDeleteFails = false;
    int polls = 0;
    double clock = 0;
};

} // namespace

TEST_F(RuntimeRemoverTest, ARuntimeGoneByTheFirstPollIsRemovedWithoutTouchingDevices) {
    listings = {{c}};
    const RuntimeRemover::Result result = remover().remove({a, b});
    EXPECT_EQ(result.removed, (QStringList{a, b}));
    EXPECT_TRUE(result.stillRemoving.isEmpty());
    EXPECT_TRUE(result.failed.isEmpty());
    // No devices run on them, so neither a shutdown nor a device delete runs.
    EXPECT_EQ(calls, (QStringList{s("runtime delete A"), s("runtime delete B")}));
    EXPECT_EQ(polls, 1);
    EXPECT_EQ(clock, 2);
}

TEST_F(RuntimeRemoverTest, DevicesGoOnlyAfterEveryRuntimeTheyBootFromWasDeleted) {
    // A refused shutdown (the device stopped meanwhile) does not hold the deletion up.
    shutDownFails = true;
    const RuntimeRemover::DeviceGroup onA{{a}, {s("d1"), s("d2")}, {s("d1")}};
    RuntimeRemover::Result result = remover().remove({a}, {onA});
    EXPECT_EQ(calls, (QStringList{s("shutdown d1"), s("runtime delete A"), s("delete d1 d2")}));
    EXPECT_EQ(result.removed, QStringList{a});
    EXPECT_EQ(result.deletedDevices, (QStringList{s("d1"), s("d2")}));

    // A refused runtime keeps its devices; so does one of two images sharing an identifier. The
    // devices of the runtime that went are deleted and listed, also while macOS still removes it.
    calls.clear();
    polls = 0;
    deleteErrors = {{b, s("simctl exited with 1: boom")}};
    listings = {{c}};
    const RuntimeRemover::DeviceGroup onBAndA{{b, a}, {s("d3")}, {}};
    const RuntimeRemover::DeviceGroup onC{{c}, {s("d4")}, {}};
    result = remover().remove({a, b, c}, {onBAndA, onC});
    EXPECT_EQ(calls, (QStringList{s("runtime delete A"), s("runtime delete B"),
                                  s("runtime delete C"), s("delete d4")}));
    EXPECT_EQ(result.deletedDevices, QStringList{s("d4")});
    EXPECT_EQ(result.stillRemoving, QStringList{c});
    EXPECT_EQ(result.failed.keys(), QList<QString>{b});

    // Devices that cannot be deleted fail one by one; the runtime is gone all the same.
    calls.clear();
    polls = 0;
    deleteErrors.clear();
    listings = {{}};
    deviceDeleteFails = true;
    result = remover().remove({a}, {onA});
    EXPECT_EQ(result.removed, QStringList{a});
    EXPECT_TRUE(result.deletedDevices.isEmpty());
    EXPECT_EQ(result.failedDevices,
              (QMap<QString, QString>{{s("d1"), s("simctl exited with 1: device busy")},
                                      {s("d2"), s("simctl exited with 1: device busy")}}));
}

TEST_F(RuntimeRemoverTest, ARuntimeAlreadyOnItsWayOutIsNotAFailure) {
    deleteErrors = {{a, s("simctl exited with 1: No Runtime Disk Images found for A")},
                    {b, s("simctl exited with 1: NO MATCHING IMAGES")}};
    listings = {{a, b}, {a}, {}};
    const RuntimeRemover::Result result = remover().remove({a, b});
    EXPECT_TRUE(result.failed.isEmpty());
    // In the order given, not the order they vanished in.
    EXPECT_EQ(result.removed, (QStringList{a, b}));
    EXPECT_EQ(polls, 3);
    EXPECT_EQ(clock, 6);
}

TEST_F(RuntimeRemoverTest, OtherErrorsFailOnlyTheirRuntimeWhichIsNotWaitedFor) {
    deleteErrors = {{b, s("simctl exited with 1: boom")}};
    // B stays listed for good, but it failed: the remover must not wait for it.
    listings = {{b}};
    const RuntimeRemover::Result result = remover().remove({a, b, c});
    EXPECT_EQ(result.removed, (QStringList{a, c}));
    EXPECT_EQ(result.failed, (QMap<QString, QString>{{b, s("simctl exited with 1: boom")}}));
    EXPECT_TRUE(result.stillRemoving.isEmpty());
    EXPECT_EQ(polls, 1);
}

TEST_F(RuntimeRemoverTest, ARuntimeStillListedWhenTimeIsUpIsStillRemovingNotFailed) {
    // C goes on the third poll; A never does within the 180 seconds.
    listings = {{a, c}, {a, c}, {a}};
    const RuntimeRemover::Result result = remover().remove({a, c});
    EXPECT_EQ(result.stillRemoving, QStringList{a});
    EXPECT_EQ(result.removed, QStringList{c});
    EXPECT_TRUE(result.failed.isEmpty());
    EXPECT_EQ(clock, 180);
    EXPECT_EQ(polls, 90);
}

TEST_F(RuntimeRemoverTest, AListingThatFailsIsAskedAgainAtTheNextPoll) {
    failingPolls = {0};
    listings = {{a}, {}};
    RuntimeRemover r = remover();
    r.pollInterval = 5;
    r.timeout = 12;
    EXPECT_EQ(r.remove({a}).removed, QStringList{a});
    EXPECT_EQ(clock, 10);

    // With every listing failing, the time limit still ends the wait.
    clock = 0;
    polls = 0;
    failingPolls = {0, 1, 2, 3};
    EXPECT_EQ(r.remove({a}).stillRemoving, QStringList{a});
    EXPECT_EQ(clock, 15);
}
