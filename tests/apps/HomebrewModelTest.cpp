#include "apps/HomebrewModel.h"

#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// A stand-in brew: one outdated formula that upgrades with some output, and one cask whose
// upgrade asks for the Mac password.
QString writeFakeBrew() {
    const QString brew = test::makeTempDir(s("brew")) + s("/brew");
    test::writeScript(brew, R"sh(
case "$*" in
"outdated --json=v2")
  echo '{"formulae":[{"name":"wget","installed_versions":["1.24.4","1.24.5"],"current_version":"1.25.0","pinned":false}],"casks":[{"name":"slack","installed_versions":["4.40"],"current_version":"4.41"}]}' ;;
"upgrade wget")
  echo "==> Upgrading wget"
  echo "==> Pouring wget--1.25.0.bottle.tar.gz" ;;
"upgrade --cask slack")
  printf 'Password:'
  sleep 30 ;;
esac
)sh");
    return brew;
}

} // namespace

TEST(HomebrewModel, ListsOutdatedPackagesStreamsAnUpgradeAndStopsAtAPasswordPrompt) {
    const test::ScopedEnvironment tool("CORVANE_TOOL_BREW", writeFakeBrew());
    ToastCenter toasts;
    HomebrewModel model(toasts);
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.hasLoaded() && !model.isLoading(); }, 20000));
    EXPECT_FALSE(model.loadError().has_value());
    ASSERT_EQ(model.outdated().size(), 2);
    EXPECT_EQ(model.outdated()[0].installedVersion, s("1.24.5"));

    model.upgrade(model.outdated()[0]);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isUpgrading(); }, 20000));
    EXPECT_TRUE(model.lastUpgradeSucceeded());
    EXPECT_EQ(model.output(),
              (QStringList{s("==> Upgrading wget"), s("==> Pouring wget--1.25.0.bottle.tar.gz")}));

    const BrewOutdatedItem slack = model.outdated()[1];
    model.upgrade(slack);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.isUpgrading(); }, 10000));
    EXPECT_FALSE(model.lastUpgradeSucceeded());
    EXPECT_EQ(model.terminalCommand(), s("brew upgrade --cask slack"));
    EXPECT_EQ(model.lastMessage(), s("This update needs ") + PlatformWords::here().password +
                                       s(". Run it in ") + PlatformWords::here().terminal +
                                       s(": brew upgrade --cask slack"));
}

TEST(HomebrewModel, WithoutHomebrewTheModelSaysSo) {
    const test::ScopedEnvironment tool("CORVANE_TOOL_BREW", test::fakeHome() + s("/no-brew"));
    ToastCenter toasts;
    HomebrewModel model(toasts);
    model.reload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.hasLoaded() && !model.isLoading(); }, 20000));
    EXPECT_EQ(model.loadError(), s("Homebrew is not installed."));
    EXPECT_TRUE(model.outdated().isEmpty());
}
