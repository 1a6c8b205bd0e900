#include "agents/CodexTrustStep.h"

#include "AgentFixtures.h"
#include "agents/TomlKey.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

const auto runStep = [](const auto&... arguments) {
    return test::runStep<CodexTrustStep>(arguments...);
};

QString configPath(const AgentLocations& locations) {
    return locations.codexHome + s("/config.toml");
}

} // namespace

TEST(TomlKey, QuotedKeysDecodeAndEncode) {
    EXPECT_EQ(TomlKey::decoded(u"\"/a/q\\\"x\\\\y\\u00e9\\U0001F600\""), s("/a/q\"x\\yé😀"));
    EXPECT_EQ(TomlKey::decoded(u"'C:\\path'"), s("C:\\path"));
    EXPECT_FALSE(TomlKey::decoded(u"\"bad \\q escape\""));
    EXPECT_FALSE(TomlKey::decoded(u"\"\\ud800\""));
    EXPECT_FALSE(TomlKey::decoded(u"\"unterminated"));
    EXPECT_EQ(TomlKey::basicString(s("/n/\"q\"\\\t\x01ü")), s("\"/n/\\\"q\\\"\\\\\\t\\u0001ü\""));
}

TEST(CodexTrustStep, RewritesTheHeadersOfThePathAndKeepsEveryOtherByte) {
    const AgentLocations locations = test::makeAgentHome();
    const QByteArray before = "model = \"gpt-5-codex\"\n\n"
                              "[projects.\"/a/b\"]\ntrust_level = \"trusted\"\n\n"
                              "[projects.\"/a/bc\"]\ntrust_level = \"untrusted\"\n\n"
                              "[projects.'/a/b/lit']\ntrust_level = \"trusted\"\r\n"
                              "  [projects.\"/a/b/q\\\"x\\\\y\"]  # quoted\n"
                              "notes = \"[projects.\\\"/a/b\\\"]\"\n";
    const QByteArray after = "model = \"gpt-5-codex\"\n\n"
                             "[projects.\"/c/$1 \\\"ü\\\"\"]\ntrust_level = \"trusted\"\n\n"
                             "[projects.\"/a/bc\"]\ntrust_level = \"untrusted\"\n\n"
                             "[projects.'/c/$1 \"ü\"/lit']\ntrust_level = \"trusted\"\r\n"
                             "  [projects.\"/c/$1 \\\"ü\\\"/q\\\"x\\\\y\"]  # quoted\n"
                             "notes = \"[projects.\\\"/a/b\\\"]\"\n";
    test::writeFile(configPath(locations), before);
    const QString newPath = s("/c/$1 \"ü\"");

    EXPECT_EQ(runStep(locations, s("/a/b"), newPath, RelinkMode::preview).codexTrustEntries, 3);
    EXPECT_EQ(test::readBytes(configPath(locations)), before);
    const RelinkReport report = runStep(locations, s("/a/b"), newPath);
    EXPECT_EQ(report.warnings, QStringList());
    EXPECT_EQ(report.codexTrustEntries, 3);
    EXPECT_EQ(test::readBytes(configPath(locations)), after);
}

TEST(CodexTrustStep, EntriesItMustNotRewriteAreReported) {
    const AgentLocations locations = test::makeAgentHome();
    const QByteArray before = "projects = { \"/a/b/inline\" = { trust_level = \"trusted\" } }\n"
                              "projects.\"/a/b/dotted\".trust_level = \"trusted\"\n"
                              "[projects]\n\"/a/b/bare\" = { trust_level = \"trusted\" }\n"
                              "[projects.\"/a/b\"]\ntrust_level = \"trusted\"\n"
                              "[projects.\"/c/b\"]\ntrust_level = \"untrusted\"\n"
                              "[other]\nkey = \"/a/b/not-trust\"\n";
    test::writeFile(configPath(locations), before);

    const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"));
    const QString notATable = QStringLiteral(" is not written as a [projects.\"...\"] table and "
                                             "was left unchanged.");
    EXPECT_EQ(report.warnings,
              (QStringList{
                  s("Codex project trust: the entry for /a/b/inline") + notATable,
                  s("Codex project trust: the entry for /a/b/dotted") + notATable,
                  s("Codex project trust: the entry for /a/b/bare") + notATable,
                  QStringLiteral("Codex project trust: /c/b already has an entry; the one for the "
                                 "old path was left unchanged.")}));
    EXPECT_EQ(report.codexTrustEntries, 0);
    EXPECT_EQ(test::readBytes(configPath(locations)), before);
}
