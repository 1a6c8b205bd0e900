#include "apps/AppBundle.h"

#include "AppFixtures.h"
#include "apps/AppFinder.h"
#include "support/GitFixture.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;

namespace {

// The cask map the Homebrew side builds from `brew info --json=v2 --installed --cask`: every
// "app" artifact's bundle name (its "target" when it installs under another name) to the token.
CaskMap casksFrom(const QByteArray& json) {
    CaskMap casks;
    const QJsonArray list = QJsonDocument::fromJson(json).object().value(s("casks")).toArray();
    for (const QJsonValue& cask : list) {
        const QString token = cask[s("token")].toString();
        for (const QJsonValue& artifact : cask[s("artifacts")].toArray()) {
            const QJsonArray app = artifact[s("app")].toArray();
            if (app.isEmpty())
                continue;
            QString name = app.first().toString();
            if (app.size() > 1 && app.at(1).isObject())
                name = app.at(1)[s("target")].toString();
            casks.insert(QFileInfo(name).fileName(), token);
        }
    }
    return casks;
}

const QByteArray brewInfo = R"({
  "formulae": [],
  "casks": [
    {"token": "chatgpt", "full_token": "chatgpt", "name": ["ChatGPT"],
     "artifacts": [{"uninstall": [{"quit": "com.openai.chat"}]},
                   {"app": ["ChatGPT.app"], "target": "/Applications/ChatGPT.app"},
                   {"zap": [{"trash": ["~/Library/Caches/com.openai.chat"]}]}]},
    {"token": "renamed", "artifacts": [{"app": ["Original.app", {"target": "Renamed.app"}]},
                                       {"postflight": null}]}
  ]
})";

class AppBundleTest : public ::testing::Test {
protected:
    QString apps = test::makeTempDir(s("apps"));
    test::ScopedEnvironment appsDir{"CORVANE_APPLICATIONS_DIR", apps};
};

TEST_F(AppBundleTest, ReadsXmlAndBinaryInfoPlistsAndPrefersTheDisplayName) {
    test::PlistKeys withDisplay = test::appKeys(s("com.example.Widget"), s("Widget"), s("2.4.1"));
    withDisplay.append({s("CFBundleDisplayName"), s("Widget Pro")});
    const QString xml = test::makeBundle(apps, s("Widget.app"), test::xmlPlist(withDisplay));
    const QString binary =
        test::makeBundle(apps, s("Notely.app"),
                         test::binaryPlist(test::appKeys(s("com.example.notely"), s("Notely"))));
    ASSERT_TRUE(test::binaryPlist({}).startsWith("bplist00"));

    const std::optional<InstalledApp> widget = AppBundle::read(xml);
    ASSERT_TRUE(widget);
    EXPECT_EQ(widget->name, s("Widget Pro"));
    EXPECT_EQ(widget->bundleIdentifier, s("com.example.Widget"));
    EXPECT_EQ(widget->version, s("2.4.1"));
    EXPECT_EQ(widget->url, xml);
    EXPECT_EQ(widget->source, AppSource::other);

    const std::optional<InstalledApp> notely = AppBundle::read(binary);
    ASSERT_TRUE(notely);
    EXPECT_EQ(notely->name, s("Notely"));
    EXPECT_EQ(notely->bundleIdentifier, s("com.example.notely"));
}

TEST_F(AppBundleTest, MissingOrMistypedKeysFallBackAndUnreadablePlistsAreSkipped) {
    // No names at all: the file name without ".app"; a version that is a number counts as none.
    const QString bare = test::makeBundle(
        apps, s("Bare Tool.app"),
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleShortVersionString"
        "</key><integer>3</integer></dict></plist>");
    const std::optional<InstalledApp> app = AppBundle::read(bare);
    ASSERT_TRUE(app);
    EXPECT_EQ(app->name, s("Bare Tool"));
    EXPECT_EQ(app->bundleIdentifier, std::nullopt);
    EXPECT_EQ(app->version, std::nullopt);

    test::writeFile(apps + s("/Empty.app/Contents/MacOS/Empty"), "binary");
    EXPECT_EQ(AppBundle::read(apps + s("/Empty.app")), std::nullopt);
    const QString garbage = test::makeBundle(apps, s("Garbage.app"), "not a property list");
    EXPECT_EQ(AppBundle::read(garbage), std::nullopt);
    const QString array =
        test::makeBundle(apps, s("Array.app"),
                         "<?xml version=\"1.0\"?><plist><array><string>x</string></array></plist>");
    EXPECT_EQ(AppBundle::read(array), std::nullopt);
}

TEST_F(AppBundleTest, AWrappedIPhoneAppIsReadFromItsInnerBundle) {
    const QString outer = apps + s("/Pocket.app");
    test::writeFile(outer + s("/Wrapper/Pocket.app/Info.plist"),
                    test::binaryPlist(test::appKeys(s("com.example.pocket"), s("Pocket"), s("5"))));
    const std::optional<InstalledApp> app = AppBundle::read(outer);
    ASSERT_TRUE(app);
    EXPECT_EQ(app->bundleIdentifier, s("com.example.pocket"));
    EXPECT_EQ(app->url, outer);
}

TEST_F(AppBundleTest, SourceRulesApplyInOrderAppleStoreHomebrewOther) {
    const CaskMap casks = casksFrom(brewInfo);
    EXPECT_EQ(casks.value(s("ChatGPT.app")), s("chatgpt"));
    EXPECT_EQ(casks.value(s("Renamed.app")), s("renamed"));

    const QString chat = test::makeBundle(
        apps, s("ChatGPT.app"), test::xmlPlist(test::appKeys(s("com.openai.chat"), s("ChatGPT"))));
    const QString renamed = test::makeBundle(
        apps, s("renamed.app"), test::xmlPlist(test::appKeys(s("com.example.renamed"), s("R"))));
    const QString store = test::makeBundle(
        apps, s("Store.app"), test::xmlPlist(test::appKeys(s("com.example.store"), s("Store"))));
    test::writeFile(store + s("/Contents/_MASReceipt/receipt"), "receipt");
    // Apple's own identifier wins even over a receipt.
    const QString pages =
        test::makeBundle(apps, s("Pages.app"),
                         test::xmlPlist(test::appKeys(s("com.apple.iWork.Pages"), s("Pages"))));
    test::writeFile(pages + s("/Contents/_MASReceipt/receipt"), "receipt");
    const QString other = test::makeBundle(
        apps, s("Other.app"), test::xmlPlist(test::appKeys(s("com.example.other"), s("Other"))));

    const std::optional<InstalledApp> chatApp = AppBundle::read(chat, casks);
    ASSERT_TRUE(chatApp);
    EXPECT_EQ(chatApp->source, AppSource::homebrew);
    EXPECT_EQ(chatApp->caskToken, s("chatgpt"));
    // A case-insensitive file system finds "Renamed.app" under this spelling too.
    EXPECT_EQ(AppBundle::read(renamed, casks)->caskToken, s("renamed"));
    EXPECT_EQ(AppBundle::read(store, casks)->source, AppSource::appStore);
    EXPECT_EQ(AppBundle::read(pages, casks)->source, AppSource::apple);
    EXPECT_EQ(AppBundle::read(other, casks)->source, AppSource::other);
    EXPECT_EQ(AppBundle::read(other, casks)->caskToken, std::nullopt);
    EXPECT_EQ(AppBundle::sourceOf(s("/System/Applications/Notes.app"), s("com.example.x"), {}),
              AppSource::apple);
    EXPECT_EQ(AppBundle::sourceOf(s("/Systematic/X.app"), s("com.example.x"), {}),
              AppSource::other);
}

TEST_F(AppBundleTest, FinderSearchesSubfoldersOneLevelAndHomeAppsResolvingLinks) {
    const QString keys = s("com.example.a");
    const QString top =
        test::makeBundle(apps, s("Top.app"), test::xmlPlist(test::appKeys(keys, s("Top"))));
    const QString utility = test::makeBundle(apps + s("/Utilities"), s("Util.app"),
                                             test::xmlPlist(test::appKeys(keys, s("U"))));
    test::makeBundle(apps + s("/Vendor/Deep"), s("TooDeep.app"),
                     test::xmlPlist(test::appKeys(keys, s("D"))));
    // A helper inside a bundle is not an installed app.
    test::makeBundle(top + s("/Contents/Helpers"), s("Helper.app"),
                     test::xmlPlist(test::appKeys(keys, s("H"))));
    const QString home = test::makeBundle(test::fakeHome() + s("/Applications"), s("Mine.app"),
                                          test::xmlPlist(test::appKeys(keys, s("M"))));
    // A link to a bundle already listed counts once, under the bundle's real path.
    ASSERT_TRUE(QFile::link(top, apps + s("/Alias.app")));

    const QStringList found = AppFinder::findBundles();
    EXPECT_EQ(found, (QStringList{QFileInfo(top).canonicalFilePath(),
                                  QFileInfo(utility).canonicalFilePath(),
                                  QFileInfo(home).canonicalFilePath()}));
}

} // namespace
