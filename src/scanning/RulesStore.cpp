#include "scanning/RulesStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

namespace corvane {
namespace {

const QString idKey = QStringLiteral("id");
const QString nameKey = QStringLiteral("name");
const QString highKey = QStringLiteral("isHighConfidence");
const QString kindKey = QStringLiteral("kindRaw");

std::optional<CustomRule> ruleFrom(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    const QJsonValue id = object.value(idKey);
    const QJsonValue name = object.value(nameKey);
    const QJsonValue high = object.value(highKey);
    const QJsonValue kind = object.value(kindKey);
    if (!value.isObject() || !id.isString() || !name.isString() || !high.isBool() ||
        !kind.isString())
        return std::nullopt;
    const QUuid uuid(id.toString());
    if (uuid.isNull())
        return std::nullopt;
    return CustomRule{uuid, name.toString(), high.toBool(), kind.toString()};
}

QList<ArtifactCatalog::CustomRuleTriple> triplesOf(const QList<CustomRule>& rules) {
    QList<ArtifactCatalog::CustomRuleTriple> triples;
    for (const CustomRule& rule : rules)
        triples.append({rule.name, rule.kind(),
                        rule.isHighConfidence ? CatalogTier::high : CatalogTier::medium});
    return triples;
}

} // namespace

const QString RulesStore::settingsKey = QStringLiteral("customArtifactRules");

ArtifactKind CustomRule::kind() const {
    return artifactKindFromRaw(kindRaw).value_or(ArtifactKind::cache);
}

RulesStore::RulesStore(QObject* parent)
    : QObject(parent) {
    const QSettings settings;
    rules_ = decode(settings.value(settingsKey).toByteArray()).value_or(QList<CustomRule>{});
    ArtifactCatalog::setCustomRules(triplesOf(rules_));
}

void RulesStore::setRules(const QList<CustomRule>& rules) {
    rules_ = rules;
    apply();
}

CustomRule RulesStore::addRule() {
    const CustomRule rule{QUuid::createUuid(), QString(), false, rawValue(ArtifactKind::cache)};
    rules_.append(rule);
    apply();
    return rule;
}

bool RulesStore::updateRule(const CustomRule& rule) {
    for (CustomRule& existing : rules_) {
        if (existing.id == rule.id) {
            existing = rule;
            apply();
            return true;
        }
    }
    return false;
}

bool RulesStore::removeRule(const QUuid& id) {
    if (rules_.removeIf([&](const CustomRule& rule) { return rule.id == id; }) == 0)
        return false;
    apply();
    return true;
}

void RulesStore::apply() {
    ArtifactCatalog::setCustomRules(triplesOf(rules_));
    QSettings settings;
    settings.setValue(settingsKey, QString::fromUtf8(encode(rules_)));
    emit rulesChanged();
}

QByteArray RulesStore::encode(const QList<CustomRule>& rules) {
    QJsonArray array;
    for (const CustomRule& rule : rules) {
        array.append(QJsonObject{{idKey, rule.id.toString(QUuid::WithoutBraces).toUpper()},
                                 {nameKey, rule.name},
                                 {highKey, rule.isHighConfidence},
                                 {kindKey, rule.kindRaw}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<QList<CustomRule>> RulesStore::decode(const QByteArray& text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    QList<CustomRule> rules;
    for (const QJsonValue& value : document.array()) {
        const std::optional<CustomRule> rule = ruleFrom(value);
        // One unreadable rule makes the stored list untrustworthy as a whole.
        if (!rule)
            return std::nullopt;
        rules.append(*rule);
    }
    return rules;
}

} // namespace corvane
