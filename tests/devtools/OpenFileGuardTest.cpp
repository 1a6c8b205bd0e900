#include "platform/OpenFileGuard.h"

#include "devtools/AIModelCatalog.h"
#include "devtools/AIModelStores.h"
#include "platform/InputLimits.h"
#include "support/GitFixture.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

TEST(OpenFileGuardTest, ReadsProcessIDsFromBothLsofForms) {
    // macOS prints an "f" line before each name; Linux does not. A PID appears once.
    const QByteArray mac =
        "p501\nczsh\nf3\nn/m/a.gguf\nf4\nn/m/a.gguf\np7712\ncLM Studio\nf5\nn/m/b\n";
    const QByteArray linux = "p13232\ncsleep\nn/m/held\nn/m/held\np13234\ncsleep\nn/m/held\n";
    EXPECT_EQ(OpenFileGuard::pidsFromLsof(mac), QList<qint64>({501, 7712}));
    EXPECT_EQ(OpenFileGuard::pidsFromLsof(linux), QList<qint64>({13232, 13234}));
    EXPECT_EQ(OpenFileGuard::pidsFromLsof(""), QList<qint64>());
    EXPECT_EQ(OpenFileGuard::pidsFromLsof("pnope\np-4\n"), QList<qint64>());
}

TEST(OpenFileGuardTest, ALsofListingOfMoreLinesThanTheLimitIsRefusedWhole) {
    // The same process on every line, as lsof prints one line per open file.
    const QByteArray exactly = QByteArray("p1\n").repeated(InputLimits::recordCount);
    QString problem;
    EXPECT_EQ(OpenFileGuard::pidsFromLsof(exactly, &problem), QList<qint64>{1});
    EXPECT_EQ(problem, QString());

    // A process past the limit could be one that holds the file: none of it is taken.
    EXPECT_EQ(OpenFileGuard::pidsFromLsof(exactly + "p2\n", &problem), std::nullopt);
    EXPECT_EQ(problem, s("it holds more than 1000000 entries, more than such a listing can be"));
}

TEST(OpenFileGuardTest, NamesProcessesAsTheUserKnowsThem) {
    EXPECT_EQ(
        OpenFileGuard::processName(s("/Applications/LM Studio.app/Contents/MacOS/LM Studio\n")),
        s("LM Studio"));
    EXPECT_EQ(OpenFileGuard::processName(s("ollama\n")), s("ollama"));
    EXPECT_EQ(OpenFileGuard::processName(s("-zsh")), s("zsh"));
    EXPECT_EQ(OpenFileGuard::processName(s("(qemu-system-aarc)")), s("qemu-system-aarc"));
    EXPECT_EQ(OpenFileGuard::processName(s("")), QString());
}

// A process of this test that keeps `file` open until it is killed.
class Holder {
public:
    explicit Holder(const QString& file) {
        process_.start(s("/bin/sh"), {s("-c"), s("exec 3<\"$1\"; exec sleep 30"), s("sh"), file});
        process_.waitForStarted();
    }
    ~Holder() {
        process_.kill();
        process_.waitForFinished();
    }

private:
    QProcess process_;
};

TEST(OpenFileGuardTest, FindsARealProcessHoldingAFileInsideAFolder) {
    const QString models = test::makeTempDir(s("lms"));
    const QString folder = test::ai::writeLMStudioModel(models, s("bartowski"), s("Phi-3-GGUF"),
                                                        {s("Phi-3-Q4.gguf"), s("README.md")});
    EXPECT_TRUE(OpenFileGuard::holders({folder}).processNames.isEmpty());

    Holder holder(folder + s("/Phi-3-Q4.gguf"));
    OpenFileGuard::Holders found;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            found = OpenFileGuard::holders({folder});
            return !found.processNames.isEmpty() || found.error;
        },
        10000));
    EXPECT_FALSE(found.error.has_value()) << found.error.value_or(QString()).toStdString();
    EXPECT_EQ(found.processNames, QStringList{s("sleep")});
    // The folder itself is not open, only a file in it: the file alone is found too.
    EXPECT_EQ(OpenFileGuard::holders({folder + s("/Phi-3-Q4.gguf")}).processNames,
              QStringList{s("sleep")});
    EXPECT_TRUE(OpenFileGuard::holders({folder + s("/README.md")}).processNames.isEmpty());

    // Removal leaves the model where it is.
    AIModelCatalog::Stores stores{models, {}, std::nullopt};
    const QList<AIModel> listed = AIModelCatalog::list(stores);
    ASSERT_EQ(listed.size(), 1);
    const AIModelCatalog::RemovalResult result = AIModelCatalog::remove(listed, stores);
    ASSERT_EQ(result.failures.size(), 1);
    EXPECT_EQ(result.failures[0].second, s("sleep has it open. Quit or unload it first."));
    EXPECT_TRUE(result.removed.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(folder + s("/Phi-3-Q4.gguf")));
}

// A folder named "-x", given as the relative path a caller may hold, reaches lsof as a file.
TEST(OpenFileGuardTest, AFolderNamedLikeAnOptionIsAskedAboutAsAFolder) {
    const QString parent = test::makeTempDir(s("dash"));
    test::writeFile(parent + s("/-x/held.bin"), "x");
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(parent));
    Holder holder(parent + s("/-x/held.bin"));
    OpenFileGuard::Holders found;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            found = OpenFileGuard::holders({s("-x")});
            return !found.processNames.isEmpty() || found.error;
        },
        10000));
    QDir::setCurrent(previous);
    EXPECT_FALSE(found.error.has_value()) << found.error.value_or(QString()).toStdString();
    EXPECT_EQ(found.processNames, QStringList{s("sleep")});
}

TEST(OpenFileGuardTest, AnLsofThatCannotRunIsAnErrorNotAnAllClear) {
    const QString file = test::makeTempDir(s("g")) + s("/model.gguf");
    test::writeFile(file, "x");
    test::ScopedEnvironment lsof("CORVANE_TOOL_LSOF", test::fakeHome() + s("/no-such-lsof"));
    const OpenFileGuard::Holders found = OpenFileGuard::holders({file});
    EXPECT_TRUE(found.error.has_value());
    EXPECT_TRUE(found.processNames.isEmpty());
}

} // namespace
