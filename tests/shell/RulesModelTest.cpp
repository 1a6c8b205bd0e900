#include "shell/RulesModel.h"

#include "shell/SettingsDialog.h"
#include "shell/ShellTesting.h"
#include "support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QSettings>
#include <QSignalSpy>
#include <QTableView>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

class RulesModelTest : public testing::Test {
protected:
    void SetUp() override { QSettings().remove(RulesStore::settingsKey); }

    QList<CustomRule> stored() {
        return RulesStore::decode(QSettings().value(RulesStore::settingsKey).toByteArray())
            .value_or(QList<CustomRule>{});
    }

    RulesStore store;
    RulesModel model{store};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

} // namespace

TEST_F(RulesModelTest, EveryEditIsSavedAtOnceAndANewRuleStartsAsACache) {
    QSignalSpy inserts(&model, &QAbstractItemModel::rowsInserted);
    const int row = model.addRule();
    EXPECT_EQ(row, 0);
    EXPECT_EQ(inserts.count(), 1);
    EXPECT_EQ(model.index(row, RulesModel::kindColumn).data().toString(), QStringLiteral("Cache"));
    EXPECT_EQ(model.index(row, RulesModel::kindColumn).data(Qt::EditRole).toString(),
              QStringLiteral("cache"));

    ASSERT_TRUE(
        model.setData(model.index(row, RulesModel::nameColumn), QStringLiteral(" gen-out ")));
    ASSERT_TRUE(
        model.setData(model.index(row, RulesModel::kindColumn), QStringLiteral("buildOutput")));
    ASSERT_TRUE(model.setData(model.index(row, RulesModel::highConfidenceColumn), Qt::Checked,
                              Qt::CheckStateRole));
    const QList<CustomRule> saved = stored();
    ASSERT_EQ(saved.size(), 1);
    EXPECT_EQ(saved[0].name, QStringLiteral("gen-out"));
    EXPECT_EQ(saved[0].kindRaw, QStringLiteral("buildOutput"));
    EXPECT_TRUE(saved[0].isHighConfidence);
    EXPECT_EQ(model.index(row, RulesModel::kindColumn).data().toString(),
              QStringLiteral("Build output"));
    // The catalog knows the rule for the next scan.
    const std::optional<CatalogMatch> match = ArtifactCatalog::match(QStringLiteral("gen-out"), {});
    ASSERT_TRUE(match);
    EXPECT_EQ(match->kind, ArtifactKind::buildOutput);
    EXPECT_EQ(match->tier, CatalogTier::high);

    model.addRule();
    QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    model.removeRule(0);
    EXPECT_EQ(removals.count(), 1);
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(stored().size(), 1);
    EXPECT_FALSE(ArtifactCatalog::match(QStringLiteral("gen-out"), {}));
}

TEST_F(RulesModelTest, AKindThisVersionDoesNotKnowIsShownAndKeptAsStored) {
    store.setRules({CustomRule{QUuid::createUuid(), QStringLiteral("bazel-out"), false,
                               QStringLiteral("generatedSources")}});
    EXPECT_EQ(model.index(0, RulesModel::kindColumn).data().toString(),
              QStringLiteral("generatedSources"));

    RuleKindDelegate delegate;
    QWidget parent;
    const QModelIndex kind = model.index(0, RulesModel::kindColumn);
    std::unique_ptr<QWidget> editor(delegate.createEditor(&parent, {}, kind));
    auto* menu = qobject_cast<QComboBox*>(editor.get());
    ASSERT_NE(menu, nullptr);
    delegate.setEditorData(menu, kind);
    EXPECT_EQ(menu->currentData().toString(), QStringLiteral("generatedSources"));
    EXPECT_EQ(menu->count(), RulesModel::offeredKinds().size() + 1);
    // Putting the menu back without a choice changes nothing.
    delegate.setModelData(menu, &model, kind);
    EXPECT_EQ(stored()[0].kindRaw, QStringLiteral("generatedSources"));

    menu->setCurrentIndex(menu->findData(QStringLiteral("virtualEnv")));
    delegate.setModelData(menu, &model, kind);
    EXPECT_EQ(stored()[0].kindRaw, QStringLiteral("virtualEnv"));
}

TEST_F(RulesModelTest, TheSettingsButtonsAddAndRemoveTheSelectedRule) {
    DestinationsStore destinations;
    SettingsDialog dialog(store, destinations);
    dialog.show();
    EXPECT_FALSE(dialog.removeButton()->isEnabled());
    dialog.addButton()->click();
    dialog.addButton()->click();
    ASSERT_EQ(store.rules().size(), 2);
    EXPECT_EQ(store.rules()[0].kindRaw, QStringLiteral("cache"));

    dialog.rulesView()->selectRow(0);
    const QUuid kept = store.rules()[1].id;
    ASSERT_TRUE(dialog.removeButton()->isEnabled());
    dialog.removeButton()->click();
    ASSERT_EQ(store.rules().size(), 1);
    EXPECT_EQ(store.rules()[0].id, kept);
    test::saveScreenshot(dialog, QStringLiteral("settings-rules"));
}
