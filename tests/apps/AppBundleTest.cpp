#include "apps/AppBundle.h"

#include "AppFixtures.h"
#include "apps/AppFinder.h"
#include "apps/BrewService.h"
#include "support/GitFixture.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringEncoder>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;

namespace {

const QByteArray brewInfo = R"({
  "formulae": [],
  "casks": [
    {"token": "chatgpt", "full_token": "chatgpt", "name": ["ChatGPT"],
     "artifacts": [{"uninstall": [{"quit": "com.openai.chat"}]},
                   {"app": ["ChatGPT.app"], "target": "$APPDIR/ChatGPT.app"},
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
    const CaskMap casks = BrewService::parseInstalledCaskApps(brewInfo, apps);
    const QString chat = test::makeBundle(
        apps, s("ChatGPT.app"), test::xmlPlist(test::appKeys(s("com.openai.chat"), s("ChatGPT"))));
    const QString renamed = test::makeBundle(
        apps, s("Renamed.app"), test::xmlPlist(test::appKeys(s("com.example.renamed"), s("R"))));
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

TEST_F(AppBundleTest, OnlyTheBundleTheCaskInstalledIsHomebrewsNotACopyOrANamesake) {
    const CaskMap casks = BrewService::parseInstalledCaskApps(brewInfo, apps);
    const QByteArray plist = test::xmlPlist(test::appKeys(s("com.openai.chat"), s("ChatGPT")));
    const QString installed = test::makeBundle(apps, s("ChatGPT.app"), plist);
    // The same bundle name in a vendor folder, in ~/Applications and the cask's source name.
    const QString nested = test::makeBundle(apps + s("/Beta"), s("ChatGPT.app"), plist);
    const QString home =
        test::makeBundle(test::fakeHome() + s("/Applications"), s("ChatGPT.app"), plist);
    const QString source = test::makeBundle(apps, s("Original.app"), plist);
    // Reached through a link, the cask's bundle is still the cask's.
    const QString linkedFolder = test::makeTempDir(s("linked"));
    ASSERT_TRUE(QFile::link(apps, linkedFolder + s("/Applications")));

    EXPECT_EQ(AppBundle::read(installed, casks)->caskToken, s("chatgpt"));
    EXPECT_EQ(AppBundle::read(linkedFolder + s("/Applications/ChatGPT.app"), casks)->caskToken,
              s("chatgpt"));
    for (const QString& other : {nested, home, source}) {
        const std::optional<InstalledApp> app = AppBundle::read(other, casks);
        ASSERT_TRUE(app);
        EXPECT_EQ(app->caskToken, std::nullopt) << other.toStdString();
        EXPECT_EQ(app->source, AppSource::other);
    }
    QDir(test::fakeHome() + s("/Applications")).removeRecursively();
}

TEST_F(AppBundleTest, InfoPlistsInUtf16OrWithAByteOrderMarkAreRead) {
    const QByteArray xml = test::xmlPlist(test::appKeys(s("com.example.wide"), s("Wide")));
    const QString text = QString::fromUtf8(xml).replace(s("UTF-8"), s("UTF-16"));
    auto utf16 = [&](QStringConverter::Encoding encoding, bool mark) {
        QStringEncoder encode(encoding, mark ? QStringConverter::Flag::WriteBom
                                             : QStringConverter::Flag::Default);
        return QByteArray(encode(text));
    };
    const QList<QByteArray> forms{"\xEF\xBB\xBF" + xml, utf16(QStringConverter::Utf16LE, true),
                                  utf16(QStringConverter::Utf16BE, true),
                                  utf16(QStringConverter::Utf16LE, false)};
    for (const QByteArray& form : forms) {
        const std::optional<BundleInfo> info = AppBundle::parseInfo(form);
        ASSERT_TRUE(info) << form.left(8).toHex().toStdString();
        EXPECT_EQ(info->identifier, s("com.example.wide"));
        EXPECT_EQ(info->name, s("Wide"));
    }
}

TEST_F(AppBundleTest, AStringWithANulByteIsNoValueAndDoesNotAbort) {
    // libplist keeps a NUL byte inside the string, which its plain string getter aborts on.
    const QByteArray xml = test::xmlPlist(test::appKeys(s("com.example.nul"), s("Nul")))
                               .replace("com.example.nul", QByteArray("com.exa\0mple.nul", 16));
    const std::optional<BundleInfo> info = AppBundle::parseInfo(xml);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->identifier, std::nullopt);
    EXPECT_EQ(info->name, s("Nul"));
}

TEST_F(AppBundleTest, FinderSearchesEveryDepthAndLinkedFoldersButNotInsideBundles) {
    const QString keys = s("com.example.a");
    const QString top =
        test::makeBundle(apps, s("Top.app"), test::xmlPlist(test::appKeys(keys, s("Top"))));
    const QString utility = test::makeBundle(apps + s("/Utilities"), s("Util.app"),
                                             test::xmlPlist(test::appKeys(keys, s("U"))));
    const QString deep = test::makeBundle(apps + s("/Vendor/Deep"), s("Deep.app"),
                                          test::xmlPlist(test::appKeys(keys, s("D"))));
    // A subfolder that is a link to a folder elsewhere, and a link back up that is not followed.
    const QString elsewhere = test::makeTempDir(s("suite"));
    const QString linked = test::makeBundle(elsewhere + s("/Tools"), s("Linked.app"),
                                            test::xmlPlist(test::appKeys(keys, s("L"))));
    ASSERT_TRUE(QFile::link(elsewhere, apps + s("/Suite")));
    ASSERT_TRUE(QFile::link(apps, elsewhere + s("/Loop")));
    // A helper inside a bundle is not an installed app.
    test::makeBundle(top + s("/Contents/Helpers"), s("Helper.app"),
                     test::xmlPlist(test::appKeys(keys, s("H"))));
    const QString home = test::makeBundle(test::fakeHome() + s("/Applications"), s("Mine.app"),
                                          test::xmlPlist(test::appKeys(keys, s("M"))));
    // A link to a bundle already listed counts once, under the bundle's real path.
    ASSERT_TRUE(QFile::link(top, apps + s("/Alias.app")));

    const AppFolders found = AppFinder::search();
    auto real = [](const QString& path) { return QFileInfo(path).canonicalFilePath(); };
    EXPECT_EQ(found.bundles,
              (QStringList{real(top), real(linked), real(utility), real(deep), real(home)}));
    EXPECT_TRUE(found.folders.contains(real(elsewhere + s("/Tools"))));
    EXPECT_FALSE(found.folders.contains(real(top + s("/Contents/Helpers"))));
    QDir(test::fakeHome() + s("/Applications")).removeRecursively();
}

} // namespace
