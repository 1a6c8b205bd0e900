#pragma once

#include "scanning/ArtifactCatalog.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>
#include <optional>

namespace corvane {

// One folder name the user wants treated as an artifact.
struct CustomRule {
    QUuid id;
    QString name;
    // true: tier `high`; false: `medium`, trusted only when git ignores the folder.
    bool isHighConfidence = false;
    // The raw value of an ArtifactKind, kept as stored even when this version does not know it.
    QString kindRaw = QStringLiteral("cache");

    // The kind the catalog uses: `cache` for a raw value this version does not know.
    ArtifactKind kind() const;

    bool operator==(const CustomRule&) const = default;
};

// The user's custom rules (main thread). Loads them from the settings when made, and saves every
// change and installs it in the catalog, so a scan sees the rules as they are now.
class RulesStore : public QObject {
    Q_OBJECT

public:
    static const QString settingsKey;

    explicit RulesStore(QObject* parent = nullptr);

    const QList<CustomRule>& rules() const { return rules_; }
    void setRules(const QList<CustomRule>& rules);
    // Appends an unnamed rule of kind "cache" and returns it.
    CustomRule addRule();
    // Replaces the rule with the same id; false when there is none.
    bool updateRule(const CustomRule& rule);
    // False when no rule has this id.
    bool removeRule(const QUuid& id);

    // The stored JSON text of `rules`, and back; nothing when the text is malformed.
    static QByteArray encode(const QList<CustomRule>& rules);
    static std::optional<QList<CustomRule>> decode(const QByteArray& text);

signals:
    void rulesChanged();

private:
    void apply();

    QList<CustomRule> rules_;
};

} // namespace corvane
