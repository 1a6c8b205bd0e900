#include "apps/BrewService.h"

#include "platform/PlatformWords.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::s;

namespace {

const QByteArray outdatedJson = R"({
  "formulae": [
    {"name": "node", "installed_versions": ["22.2.0"], "current_version": "22.3.0",
     "pinned": false, "pinned_version": null},
    {"name": "openssl@3", "installed_versions": ["3.3.0", "3.3.1"], "current_version": "3.3.2",
     "pinned": true, "pinned_version": "3.3.1"},
    {"name": "acme/tools/widgetctl", "installed_versions": ["0.9.1_1"],
     "current_version": "0.9.2", "pinned": false, "pinned_version": null}
  ],
  "casks": [
    {"name": "android-studio", "installed_versions": ["2024.1.1.11"],
     "current_version": "2024.1.1.12,241.18034.62.2411.12071903"}
  ]
})";

const QByteArray installedCasksJson = R"({
  "formulae": [],
  "casks": [
    {"token": "chatgpt", "artifacts": [
      {"uninstall": [{"quit": "com.openai.chat"}]},
      {"app": ["ChatGPT.app"], "target": "/Applications/ChatGPT.app"},
      {"zap": [{"trash": ["~/Library/Caches/com.openai.chat"]}]}]},
    {"token": "firefox@developer-edition", "artifacts": [
      {"app": ["Firefox Developer Edition.app"]},
      {"binary": ["/Applications/Firefox Developer Edition.app/Contents/MacOS/firefox",
                  {"target": "firefox@developer-edition"}]},
      {"preflight": null}]},
    {"token": "renamed", "artifacts": [
      {"app": ["Source Name.app", {"target": "Installed Name.app"}]}]},
    {"token": "cli-only", "artifacts": [{"binary": ["tool"]}]},
    {"token": "placeholder", "artifacts": [
      {"app": ["Everything.app"], "target": "$APPDIR/Everything.app"}]},
    {"token": "own-folder", "artifacts": [
      {"app": ["dist/Mine.app", {"target": "~/Applications/Mine.app"}]}]},
    {"token": "vendor", "artifacts": [
      {"app": ["Tool.app", {"target": "Vendor/Tool.app"}]}]}
  ]
})";

// A fake brew that records its arguments and runs `body`.
QString fakeBrew(const QByteArray& body) {
    const QString brew = test::makeTempDir() + s("/brew");
    test::writeScript(brew, "#!/bin/sh\necho \"$@\" >> \"$0.args\"\n" + body);
    return brew;
}

QString recordedArguments(const QString& brew) {
    QFile file(brew + s(".args"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

} // namespace

TEST(BrewService, OutdatedTakesTheNewestInstalledKegAndKeepsPins) {
    const QList<BrewOutdatedItem> items = BrewService::parseOutdated(outdatedJson);
    using Kind = BrewOutdatedItem::Kind;
    const QList<BrewOutdatedItem> expected{
        {Kind::formula, s("node"), s("22.2.0"), s("22.3.0"), false},
        {Kind::formula, s("openssl@3"), s("3.3.1"), s("3.3.2"), true},
        {Kind::formula, s("acme/tools/widgetctl"), s("0.9.1_1"), s("0.9.2"), false},
        {Kind::cask, s("android-studio"), s("2024.1.1.11"),
         s("2024.1.1.12,241.18034.62.2411.12071903"), false}};
    EXPECT_EQ(items, expected);
    EXPECT_TRUE(BrewService::parseOutdated("{\"formulae\": [], \"casks\": []}").isEmpty());
    EXPECT_THROW(BrewService::parseOutdated("Error: no JSON"), BrewError);
}

TEST(BrewService, InstalledCasksMapThePathTheirRecordSaysTheyInstalled) {
    // Newer brew's resolved target, the inner target (relative, "~" or "$APPDIR"), else the
    // listed bundle in the app folder.
    const CaskMap apps = BrewService::parseInstalledCaskApps(installedCasksJson, s("/Apps"));
    const CaskMap expected{
        {s("/Applications/ChatGPT.app"), s("chatgpt")},
        {s("/Apps/Firefox Developer Edition.app"), s("firefox@developer-edition")},
        {s("/Apps/Installed Name.app"), s("renamed")},
        {s("/Apps/Everything.app"), s("placeholder")},
        {test::fakeHome() + s("/Applications/Mine.app"), s("own-folder")},
        {s("/Apps/Vendor/Tool.app"), s("vendor")}};
    EXPECT_EQ(apps, expected);
}

TEST(BrewService, RunsTheFakeBrewWithTheDocumentedArguments) {
    const QString brew = fakeBrew("case \"$1\" in\n"
                                  "outdated) cat <<'JSON'\n" +
                                  outdatedJson +
                                  "\nJSON\n;;\n"
                                  "info) cat <<'JSON'\n" +
                                  installedCasksJson + "\nJSON\n;;\nesac\n");
    test::ScopedEnvironment tool("CORVANE_TOOL_BREW", brew);
    const BrewService service;
    EXPECT_EQ(service.outdated().size(), 4);
    EXPECT_EQ(service.installedCaskApps().value(s("/Applications/ChatGPT.app")), s("chatgpt"));
    QStringList lines;
    service.upgrade({BrewOutdatedItem::Kind::cask, s("android-studio"), {}, {}, false}, {},
                    [&](const QString& line) { lines.append(line); });
    service.upgrade({BrewOutdatedItem::Kind::formula, s("node"), {}, {}, false});
    service.uninstallCask(s("chatgpt"));
    // A token that could be read as an option never reaches brew.
    EXPECT_THROW(service.uninstallCask(s("--force")), BrewError);
    EXPECT_EQ(recordedArguments(brew), s("outdated --json=v2\ninfo --json=v2 --installed --cask\n"
                                         "upgrade --cask android-studio\nupgrade node\n"
                                         "uninstall --cask -- chatgpt"));
}

TEST(BrewService, PasswordFailureAndMissingBrewBecomeBrewErrors) {
    const BrewOutdatedItem cask{BrewOutdatedItem::Kind::cask, s("zoom"), {}, {}, false};
    {
        test::ScopedEnvironment tool("CORVANE_TOOL_BREW",
                                     fakeBrew("echo '==> Upgrading zoom'\nprintf 'Password:'\n"
                                              "sleep 30\n"));
        try {
            BrewService().upgrade(cask);
            ADD_FAILURE() << "no error";
        } catch (const BrewError& error) {
            EXPECT_EQ(error, BrewError::needsPassword(s("brew upgrade --cask zoom")));
        }
        EXPECT_EQ(BrewService::upgradePasswordText(cask),
                  s("This update needs ") + PlatformWords::here().password + s(". Run it in ") +
                      PlatformWords::here().terminal + s(": brew upgrade --cask zoom"));
    }
    {
        test::ScopedEnvironment tool("CORVANE_TOOL_BREW",
                                     fakeBrew("echo 'Error: Cask zoom is not installed.' >&2\n"
                                              "exit 1\n"));
        try {
            BrewService().uninstallCask(s("zoom"));
            ADD_FAILURE() << "no error";
        } catch (const BrewError& error) {
            EXPECT_EQ(error, BrewError::failed(s("Error: Cask zoom is not installed.")));
        }
    }
    test::ScopedEnvironment tool("CORVANE_TOOL_BREW", test::fakeHome() + s("/no/brew"));
    EXPECT_FALSE(BrewService::locate());
    try {
        BrewService().outdated();
        ADD_FAILURE() << "no error";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Case::notInstalled);
        EXPECT_EQ(error.text(), s("Homebrew is not installed."));
    }
}
