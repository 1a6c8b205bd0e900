#include "scanning/RulesStore.h"

#include "scanning/ArtifactCatalog.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

// Settings and the catalog's custom table outlive a test; each test starts and ends empty.
class RulesStoreTest : public ::testing::Test {
protected:
    void SetUp() override { clear(); }
    void TearDown() override { clear(); }

    static void clear() {
        QSettings().remove(RulesStore::settingsKey);
        ArtifactCatalog::setCustomRules({});
    }
    static void store(const QByteArray& text) {
        QSettings().setValue(RulesStore::settingsKey, QString::fromUtf8(text));
    }
    static std::optional<CatalogMatch> lookUp(const char* name) {
        return ArtifactCatalog::match(s(name), {});
    }
};

} // namespace

TEST_F(RulesStoreTest, RulesSurviveARestartAndReachTheCatalog) {
    const CustomRule logs{QUuid::createUuid(), s(" logs "), true, s("buildOutput")};
    const CustomRule gen{QUuid::createUuid(), s("gen"), false, s("virtualEnv")};
    {
        RulesStore first;
        QSignalSpy changed(&first, &RulesStore::rulesChanged);
        first.setRules({logs, gen});
        EXPECT_EQ(changed.count(), 1);
    }
    ArtifactCatalog::setCustomRules({});

    const RulesStore second;
    EXPECT_EQ(second.rules(), (QList<CustomRule>{logs, gen}));
    EXPECT_EQ(lookUp("logs"), (CatalogMatch{ArtifactKind::buildOutput, CatalogTier::high}));
    EXPECT_EQ(lookUp("gen"), (CatalogMatch{ArtifactKind::virtualEnv, CatalogTier::medium}));

    // Stored as JSON text: an array of objects with exactly the four keys.
    const QJsonDocument stored =
        QJsonDocument::fromJson(QSettings().value(RulesStore::settingsKey).toString().toUtf8());
    ASSERT_TRUE(stored.isArray());
    const QJsonObject first = stored.array().at(0).toObject();
    EXPECT_EQ(first.keys(), (QStringList{s("id"), s("isHighConfidence"), s("kindRaw"), s("name")}));
    EXPECT_EQ(QUuid(first.value(s("id")).toString()), logs.id);
    EXPECT_EQ(first.value(s("name")).toString(), s(" logs "));
}

TEST_F(RulesStoreTest, AddUpdateAndRemoveEachSaveAndSignal) {
    RulesStore rules;
    QSignalSpy changed(&rules, &RulesStore::rulesChanged);
    CustomRule added = rules.addRule();
    EXPECT_EQ(added.kindRaw, s("cache"));
    EXPECT_FALSE(added.isHighConfidence);
    EXPECT_FALSE(added.id.isNull());
    EXPECT_NE(rules.addRule().id, added.id);

    added.name = s("artifacts");
    added.isHighConfidence = true;
    EXPECT_TRUE(rules.updateRule(added));
    EXPECT_EQ(lookUp("artifacts"), (CatalogMatch{ArtifactKind::cache, CatalogTier::high}));
    EXPECT_EQ(RulesStore().rules().first().name, s("artifacts"));

    EXPECT_TRUE(rules.removeRule(added.id));
    EXPECT_EQ(lookUp("artifacts"), std::nullopt);
    EXPECT_EQ(RulesStore().rules().size(), 1);

    EXPECT_FALSE(rules.updateRule(CustomRule{QUuid::createUuid(), s("x"), true, s("cache")}));
    EXPECT_FALSE(rules.removeRule(QUuid::createUuid()));
    EXPECT_EQ(changed.count(), 4);
}

TEST_F(RulesStoreTest, UnknownKindFallsBackToCacheAndIsKeptAsStored) {
    store(R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":"gen",)"
          R"("isHighConfidence":true,"kindRaw":"sparkles"}])");
    const RulesStore rules;
    ASSERT_EQ(rules.rules().size(), 1);
    EXPECT_EQ(rules.rules()[0].kindRaw, s("sparkles"));
    EXPECT_EQ(lookUp("gen"), (CatalogMatch{ArtifactKind::cache, CatalogTier::high}));
}

TEST_F(RulesStoreTest, MalformedStoredRulesLoadAsNone) {
    const char* good = R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":"gen",)"
                       R"("isHighConfidence":true,"kindRaw":"cache"})";
    const QByteArray texts[] = {
        "not json",
        R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF"})",
        QByteArray("[") + good +
            R"(,{"id":"nope","name":"x","isHighConfidence":true,"kindRaw":"cache"}])",
        QByteArray("[") + good + R"(,{"name":"x","isHighConfidence":true,"kindRaw":"cache"}])",
        QByteArray("[") + good +
            R"(,{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FE","name":"x","isHighConfidence":"yes","kindRaw":"cache"}])",
        QByteArray("[") + good + ",42]",
    };
    for (const QByteArray& text : texts) {
        ArtifactCatalog::setCustomRules({{s("stale"), ArtifactKind::cache, CatalogTier::high}});
        store(text);
        const RulesStore rules;
        EXPECT_TRUE(rules.rules().isEmpty()) << text.constData();
        EXPECT_EQ(lookUp("gen"), std::nullopt) << text.constData();
        EXPECT_EQ(lookUp("stale"), std::nullopt) << text.constData();
    }
}
