#include "agents/CodexTrustStep.h"

#include "AgentFixtures.h"
#include "agents/TomlKey.h"
#include "agents/TomlSyntax.h"
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

TEST(CodexTrustStep, AConfigThatIsNotTomlIsLeftByteForByteWithOneWarning) {
    const AgentLocations locations = test::makeAgentHome();
    // A header that would be rewritten, in a file Codex itself would refuse.
    const QByteArray before = "model = \"gpt-5-codex\n"
                              "[projects.\"/a/b\"]\ntrust_level = \"trusted\"\n";
    test::writeFile(configPath(locations), before);

    for (const RelinkMode mode : {RelinkMode::preview, RelinkMode::write}) {
        const RelinkReport report = runStep(locations, s("/a/b"), s("/c/b"), mode);
        EXPECT_EQ(report.warnings,
                  QStringList{s("Codex project trust: config.toml is not valid TOML (line 1: a "
                                "string is not closed); it was left untouched.")});
        EXPECT_EQ(report.codexTrustEntries, 0);
    }
    EXPECT_EQ(test::readBytes(configPath(locations)), before);
}

TEST(TomlSyntax, ReadsWhatCodexWritesAndFindsWhatItWouldRefuse) {
    const QString valid = s("# Codex\nmodel = \"o3\"\nmodel_reasoning_effort = 'high'\n"
                            "approvals = [\n  \"a\", # first\n  'b',\n]\nlimit = 1_000\n"
                            "ratio = -0.5e3\nwhen = 1979-05-27 07:32:00Z\n"
                            "env = { PATH = \"/bin\", \"k.2\" = true }\n"
                            "notes = \"\"\"\nline \"quoted\"\"\"\"\n\n"
                            "[projects.\"/a/b\"]\r\ntrust_level = \"trusted\"\n"
                            "[ mcp_servers . docs ]  # spaced\ncommand = \"npx\"\n"
                            "[[profiles]]\nname = 1\n[[profiles]]\nname = 2\n");
    EXPECT_EQ(TomlSyntax::problem(valid), std::nullopt);
    EXPECT_EQ(TomlSyntax::problem(u"[a]\nx = 1\n[a]\n"), s("line 3: a table is defined twice"));
    EXPECT_EQ(TomlSyntax::problem(u"x = 1 2\n"),
              s("line 1: unexpected text after a value or table header"));
    EXPECT_EQ(TomlSyntax::problem(u"x =\n"), s("line 1: a value is malformed"));
    EXPECT_EQ(TomlSyntax::problem(u"[projects.\"/a\"\nx = 1\n"),
              s("line 1: a table header is not closed"));
    EXPECT_EQ(TomlSyntax::problem(u"x = [1,\n2\n"), s("line 3: an array is not closed"));
    EXPECT_EQ(TomlSyntax::problem(u"just words\n"), s("line 1: a key has no value"));
}

TEST(TomlSyntax, RefusesNestingThatWouldExhaustTheStack) {
    // A config of nothing but openers is refused, not read by recursion until the stack runs out.
    EXPECT_EQ(TomlSyntax::problem(s("x = ") + QString(200'000, u'[')),
              s("line 1: values nest deeper than 128 levels"));
    EXPECT_EQ(TomlSyntax::problem(s("x = ") + QString(200'000, u'{').replace(u'{', s("{a="))),
              s("line 1: values nest deeper than 128 levels"));
    // What Codex itself writes nests a few levels, and closing a level makes room again.
    const QString deepButFine = s("x = ") + QString(128, u'[') + QString(128, u']') + s("\ny = ") +
                                QString(128, u'[') + QString(128, u']') + u'\n';
    EXPECT_EQ(TomlSyntax::problem(deepButFine), std::nullopt);
}
