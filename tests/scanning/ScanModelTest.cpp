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

TEST(ScanModel, RawValuesAndOrdinalsAreTheCaseNamesInOrder) {
    EXPECT_EQ(static_cast<int>(ArtifactKind::wholeProject), 4);
    EXPECT_EQ(rawValue(ArtifactKind::buildOutput), QStringLiteral("buildOutput"));
    EXPECT_EQ(artifactKindFromRaw(QStringLiteral("virtualEnv")), ArtifactKind::virtualEnv);
    EXPECT_EQ(artifactKindFromRaw(QStringLiteral("VirtualEnv")), std::nullopt);
    EXPECT_EQ(static_cast<int>(CleanConfidence::reclonable), 3);
    EXPECT_EQ(rawValue(CleanConfidence::ignoredButUnknown), QStringLiteral("ignoredButUnknown"));
    EXPECT_EQ(cleanConfidenceFromRaw(QStringLiteral("caution")), CleanConfidence::caution);
    EXPECT_EQ(rawValue(GitChange::Kind::conflicted), QStringLiteral("conflicted"));
    EXPECT_EQ(GitStatus::upstreamGone().caseName(), QStringLiteral("upstreamGone"));
}

TEST(ScanModel, GitStatusComparesCaseAndPayload) {
    EXPECT_EQ(GitStatus::dirty(3), GitStatus::dirty(3));
    EXPECT_NE(GitStatus::dirty(3), GitStatus::dirty(4));
    EXPECT_NE(GitStatus::dirty(3), GitStatus::aheadOfRemote(3));
    EXPECT_EQ(qHash(GitStatus::aheadOfRemote(2)), qHash(GitStatus::aheadOfRemote(2)));
    EXPECT_NE(qHash(GitStatus::aheadOfRemote(2)), qHash(GitStatus::aheadOfRemote(5)));
    EXPECT_EQ(GitStatus::dirty(7).changedCount(), 7);
    EXPECT_EQ(GitStatus::dirty(7).commits(), 0);
    EXPECT_EQ(GitStatus::aheadOfRemote(2).commits(), 2);
}
