#include "agents/AgentLocations.h"

#include "AgentFixtures.h"
#include "platform/Locations.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(AgentKind, RawValuesAndDisplayNamesRoundTrip) {
    QStringList names;
    for (AgentKind kind : allAgentKinds()) {
        EXPECT_EQ(agentKindFromRaw(rawValue(kind)), kind);
        names.append(displayName(kind));
    }
    EXPECT_EQ(names, (QStringList{QStringLiteral("Claude Code"), QStringLiteral("Codex"),
                                  QStringLiteral("Cursor"), QStringLiteral("VS Code"),
                                  QStringLiteral("Antigravity")}));
    EXPECT_EQ(rawValue(AgentKind::vscode), QStringLiteral("vscode"));
    EXPECT_FALSE(agentKindFromRaw(QStringLiteral("VS Code")));
}

TEST(AgentLocations, MacPlacesComeFirstThenTheLinuxOnes) {
    const AgentLocations locations(QStringLiteral("/home/me/"));
    EXPECT_EQ(locations.claudeProjects, QStringLiteral("/home/me/.claude/projects"));
    EXPECT_EQ(locations.claudeConfig, QStringLiteral("/home/me/.claude.json"));
    EXPECT_EQ(locations.codexHome, QStringLiteral("/home/me/.codex"));
    EXPECT_EQ(locations.claudeDesktopSessions,
              (QStringList{QStringLiteral(
                               "/home/me/Library/Application Support/Claude/claude-code-sessions"),
                           QStringLiteral("/home/me/.config/Claude/claude-code-sessions")}));
    ASSERT_EQ(locations.editorStorages.size(), 8);
    const EditorStorage& macIDE = locations.editorStorages[3];
    EXPECT_EQ(macIDE.url, QStringLiteral("/home/me/Library/Application Support/Antigravity "
                                         "IDE/User/workspaceStorage"));
    EXPECT_EQ(macIDE.appBundleID, QStringLiteral("com.google.antigravity-ide"));
    const EditorStorage& linuxCode = locations.editorStorages[5];
    EXPECT_EQ(linuxCode.url, QStringLiteral("/home/me/.config/Code/User/workspaceStorage"));
    EXPECT_EQ(linuxCode.agent, AgentKind::vscode);
    EXPECT_EQ(linuxCode.appName, QStringLiteral("VS Code"));
    EXPECT_EQ(locations.claudeFolderLedger.url,
              Locations::appSupportDir() + QStringLiteral("/claude-folder-paths.json"));
    EXPECT_EQ(AgentLocations().home, Locations::homeDir());
}
