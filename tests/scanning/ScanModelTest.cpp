#include "scanning/ScanModel.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(ScanModel, RepoDisplayNameOfEachRemoteForm) {
    const auto name = [](const char* url) { return repoDisplayName(QString::fromUtf8(url)); };
    EXPECT_EQ(name("git@example:team/tool.git"), QStringLiteral("team/tool"));
    EXPECT_EQ(name("https://example/team/tool.git/"), QStringLiteral("team/tool"));
    EXPECT_EQ(name("https://example/team/tool.git"), QStringLiteral("team/tool"));
    EXPECT_EQ(name("ssh://git@example:22/group/sub/tool.git"), QStringLiteral("group/sub/tool"));
    EXPECT_EQ(name("/srv/git/tool.git"), QStringLiteral("tool"));
    EXPECT_EQ(name("../tool.git/"), QStringLiteral("tool"));
    EXPECT_EQ(name("https://example/tool"), QStringLiteral("tool"));
    EXPECT_EQ(name(""), std::nullopt);
    EXPECT_EQ(name("https://example"), std::nullopt);
    EXPECT_EQ(name("https://example/.git"), std::nullopt);

    GitDetails details;
    EXPECT_EQ(details.repoDisplayName(), std::nullopt);
    details.remoteURL = QStringLiteral("git@example:team/tool.git");
    EXPECT_EQ(details.repoDisplayName(), QStringLiteral("team/tool"));
}

TEST(ScanModel, EveryItemDrawsItsOwnIdentity) {
    const QUuid project = QUuid::createUuid();
    const CleanableItem a(project, QStringLiteral("/p/node_modules"),
                          QStringLiteral("node_modules"), ArtifactKind::dependencies,
                          CleanConfidence::safe);
    const CleanableItem b(project, QStringLiteral("/p/node_modules"),
                          QStringLiteral("node_modules"), ArtifactKind::dependencies,
                          CleanConfidence::safe);
    EXPECT_NE(a.id, b.id);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, CleanableItem(a));
}
