#include "scanning/ArtifactCatalog.h"

#include "scanning/ProjectDetector.h"

#include <QSet>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace corvane;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

QSet<QString> names(std::initializer_list<const char*> list) {
    QSet<QString> set;
    for (const char* name : list)
        set.insert(s(name));
    return set;
}

const CatalogMatch dependenciesHigh{ArtifactKind::dependencies, CatalogTier::high};
const CatalogMatch buildOutputHigh{ArtifactKind::buildOutput, CatalogTier::high};
const CatalogMatch buildOutputMedium{ArtifactKind::buildOutput, CatalogTier::medium};
const CatalogMatch cacheHigh{ArtifactKind::cache, CatalogTier::high};

// The custom table belongs to the process; every test leaves it empty.
class ArtifactCatalogTest : public ::testing::Test {
protected:
    void TearDown() override { ArtifactCatalog::setCustomRules({}); }
};

} // namespace

TEST_F(ArtifactCatalogTest, SiblingConditionsDecideWhetherANameMatches) {
    struct Case {
        const char* name;
        QSet<QString> siblings;
        std::optional<CatalogMatch> expected;
    };
    const Case cases[] = {
        {"Pods", names({"Podfile", "App"}), dependenciesHigh},
        {"Pods", names({"Podfile.lock"}), std::nullopt},
        {"Pods", {}, std::nullopt},
        {"target", names({"pom.xml"}), buildOutputHigh},
        {"target", names({"Cargo.toml", "src"}), buildOutputHigh},
        {"target", names({"package.json"}), std::nullopt},
        {"node_modules", {}, dependenciesHigh},
        {"build", {}, buildOutputMedium},
        {"vendor", {}, CatalogMatch{ArtifactKind::dependencies, CatalogTier::medium}},
        {".venv", {}, CatalogMatch{ArtifactKind::virtualEnv, CatalogTier::high}},
        // Lookups are exact and case-sensitive.
        {"Node_modules", {}, std::nullopt},
        {"Build", {}, std::nullopt},
        {"src", {}, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ArtifactCatalog::match(s(c.name), c.siblings), c.expected) << c.name;

    EXPECT_TRUE(ArtifactCatalog::isKnownArtifactName(s("Pods")));
    EXPECT_TRUE(ArtifactCatalog::isKnownArtifactName(s("target")));
    EXPECT_FALSE(ArtifactCatalog::isKnownArtifactName(s("src")));
}

TEST_F(ArtifactCatalogTest, CustomRulesAddNamesButNeverOverrideOrRescueBuiltInOnes) {
    ArtifactCatalog::setCustomRules({
        {s("build"), ArtifactKind::cache, CatalogTier::high},
        {s("Pods"), ArtifactKind::cache, CatalogTier::high},
        {s(" logs "), ArtifactKind::cache, CatalogTier::high},
        {s("\tgen\t"), ArtifactKind::buildOutput, CatalogTier::medium},
        {s("a/b"), ArtifactKind::cache, CatalogTier::high},
        {s("/"), ArtifactKind::cache, CatalogTier::high},
        {s(" \t "), ArtifactKind::cache, CatalogTier::high},
    });
    EXPECT_EQ(ArtifactCatalog::match(s("build"), {}), buildOutputMedium);
    EXPECT_EQ(ArtifactCatalog::match(s("Pods"), {}), std::nullopt);
    EXPECT_EQ(ArtifactCatalog::match(s("logs"), {}), cacheHigh);
    EXPECT_EQ(ArtifactCatalog::match(s(" logs "), {}), std::nullopt);
    EXPECT_EQ(ArtifactCatalog::match(s("gen"), {}), buildOutputMedium);
    for (const char* dropped : {"a/b", "a", "b", "/", "", " \t "}) {
        EXPECT_EQ(ArtifactCatalog::match(s(dropped), {}), std::nullopt) << dropped;
        EXPECT_FALSE(ArtifactCatalog::isKnownArtifactName(s(dropped))) << dropped;
    }
    EXPECT_TRUE(ArtifactCatalog::isKnownArtifactName(s("logs")));
}

TEST_F(ArtifactCatalogTest, NewRulesReplaceTheOldOnesAndALaterDuplicateWins) {
    ArtifactCatalog::setCustomRules({{s("logs"), ArtifactKind::cache, CatalogTier::high},
                                     {s("logs"), ArtifactKind::buildOutput, CatalogTier::medium}});
    EXPECT_EQ(ArtifactCatalog::match(s("logs"), {}), buildOutputMedium);

    ArtifactCatalog::setCustomRules({{s("gen"), ArtifactKind::cache, CatalogTier::high}});
    EXPECT_EQ(ArtifactCatalog::match(s("logs"), {}), std::nullopt);
    EXPECT_EQ(ArtifactCatalog::match(s("gen"), {}), cacheHigh);

    ArtifactCatalog::setCustomRules({});
    EXPECT_FALSE(ArtifactCatalog::isKnownArtifactName(s("gen")));
}

// Scan threads look names up while the settings replace the rules; each lookup must see one
// whole rule set or the other, and the built-in table must never waver.
TEST_F(ArtifactCatalogTest, LookupsFromManyThreadsWhileRulesAreReplaced) {
    const QList<ArtifactCatalog::CustomRuleTriple> first{
        {s("logs"), ArtifactKind::cache, CatalogTier::high},
        {s("gen"), ArtifactKind::cache, CatalogTier::high}};
    const QList<ArtifactCatalog::CustomRuleTriple> second{
        {s("logs"), ArtifactKind::buildOutput, CatalogTier::medium}};
    ArtifactCatalog::setCustomRules(first);
    std::atomic<bool> done{false};
    std::atomic<int> unexpected{0};
    std::atomic<long> lookups{0};
    std::vector<std::thread> readers;
    for (int thread = 0; thread < 4; ++thread) {
        readers.emplace_back([&] {
            const QSet<QString> siblings = names({"Podfile"});
            while (!done.load()) {
                const auto logs = ArtifactCatalog::match(s("logs"), siblings);
                if (logs != cacheHigh && logs != buildOutputMedium)
                    ++unexpected;
                if (ArtifactCatalog::match(s("Pods"), siblings) != dependenciesHigh ||
                    !ArtifactCatalog::isKnownArtifactName(s("node_modules")))
                    ++unexpected;
                ArtifactCatalog::isKnownArtifactName(s("gen"));
                ++lookups;
            }
        });
    }
    // Keep swapping until the readers have done real work alongside the swaps.
    for (int round = 0; round < 2000 || lookups.load() < 20000; ++round)
        ArtifactCatalog::setCustomRules(round % 2 == 0 ? first : second);
    done = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(unexpected.load(), 0);
}

TEST(ProjectDetector, MarkersAreExactNamesOrBundleSuffixes) {
    const QStringList listing{
        s("src"),       s("package.json"),    s("Package.JSON"),   s("App.xcodeproj"), s(".git"),
        s("README.md"), s("All.xcworkspace"), s("CMakeLists.txt"), s("xcodeproj")};
    EXPECT_EQ(ProjectDetector::markers(listing),
              (QStringList{s("package.json"), s("App.xcodeproj"), s(".git"), s("All.xcworkspace"),
                           s("CMakeLists.txt")}));
    EXPECT_TRUE(ProjectDetector::isProjectRoot(s("build.gradle.kts")));
    EXPECT_FALSE(ProjectDetector::isProjectRoot(s("node_modules")));
    EXPECT_TRUE(ProjectDetector::markers({s("src"), s("docs")}).isEmpty());
}
