#include "shell/RulesModel.h"

#include "scanning/ScanWording.h"

#include <QGuiApplication>
#include <QPalette>

namespace corvane {
namespace {

QList<QUuid> idsOf(const QList<CustomRule>& rules) {
    QList<QUuid> ids;
    for (const CustomRule& rule : rules)
        ids.append(rule.id);
    return ids;
}

} // namespace

QString ruleKindWords(const QString& kindRaw) {
    const std::optional<ArtifactKind> kind = artifactKindFromRaw(kindRaw);
    return kind ? ScanWording::kindWords(*kind) : kindRaw;
}

const QList<ArtifactKind>& RulesModel::offeredKinds() {
    static const QList<ArtifactKind> kinds{ArtifactKind::cache, ArtifactKind::buildOutput,
                                           ArtifactKind::dependencies, ArtifactKind::virtualEnv};
    return kinds;
}

RulesModel::RulesModel(RulesStore& store, QObject* parent)
    : QAbstractTableModel(parent)
    , store_(store)
    , rules_(store.rules()) {
    connect(&store_, &RulesStore::rulesChanged, this, &RulesModel::reloadRules);
}

int RulesModel::addRule() {
    store_.addRule();
    return static_cast<int>(rules_.size()) - 1;
}

void RulesModel::removeRule(int row) {
    if (row >= 0 && row < rules_.size())
        store_.removeRule(rules_[row].id);
}

void RulesModel::reloadRules() {
    const QList<CustomRule>& rules = store_.rules();
    const QList<QUuid> before = idsOf(rules_);
    const QList<QUuid> after = idsOf(rules);
    if (before == after) {
        rules_ = rules;
        if (!rules_.isEmpty())
            emit dataChanged(index(0, 0),
                             index(static_cast<int>(rules_.size()) - 1, columnTotal - 1));
        return;
    }
    // Adding appends and removing takes one rule out; anything else is a new list.
    if (after.size() > before.size() && after.mid(0, before.size()) == before) {
        beginInsertRows({}, static_cast<int>(before.size()), static_cast<int>(after.size()) - 1);
        rules_ = rules;
        endInsertRows();
        return;
    }
    for (int row = 0; row < before.size() && after.size() + 1 == before.size(); ++row) {
        QList<QUuid> without = before;
        without.removeAt(row);
        if (without != after)
            continue;
        beginRemoveRows({}, row, row);
        rules_ = rules;
        endRemoveRows();
        return;
    }
    beginResetModel();
    rules_ = rules;
    endResetModel();
}

int RulesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rules_.size());
}

int RulesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QVariant RulesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rules_.size())
        return {};
    const CustomRule& rule = rules_[index.row()];
    switch (index.column()) {
    case nameColumn:
        // A rule without a name matches nothing yet; the row says what it waits for.
        if (role == Qt::DisplayRole)
            return rule.name.isEmpty() ? QStringLiteral("Folder name") : rule.name;
        if (role == Qt::EditRole)
            return rule.name;
        if (role == Qt::ForegroundRole && rule.name.isEmpty())
            return QGuiApplication::palette().brush(QPalette::PlaceholderText);
        return {};
    case kindColumn:
        if (role == Qt::DisplayRole)
            return ruleKindWords(rule.kindRaw);
        if (role == Qt::EditRole)
            return rule.kindRaw;
        return {};
    case highConfidenceColumn:
        if (role == Qt::CheckStateRole)
            return rule.isHighConfidence ? Qt::Checked : Qt::Unchecked;
        if (role == Qt::ToolTipRole)
            return QStringLiteral("Trust the name alone. Otherwise a folder only counts as safe "
                                  "when git ignores it.");
        return {};
    }
    return {};
}

bool RulesModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.row() >= rules_.size())
        return false;
    CustomRule rule = rules_[index.row()];
    if (index.column() == nameColumn && role == Qt::EditRole)
        rule.name = value.toString().trimmed();
    else if (index.column() == kindColumn && role == Qt::EditRole)
        rule.kindRaw = value.toString();
    else if (index.column() == highConfidenceColumn && role == Qt::CheckStateRole)
        rule.isHighConfidence = value.value<Qt::CheckState>() == Qt::Checked;
    else
        return false;
    if (rule == rules_[index.row()])
        return true;
    // The store saves the rule and announces it; the announcement updates this row.
    return store_.updateRule(rule);
}

Qt::ItemFlags RulesModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!index.isValid())
        return flags;
    if (index.column() == highConfidenceColumn)
        return flags | Qt::ItemIsUserCheckable;
    return flags | Qt::ItemIsEditable;
}

QVariant RulesModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case nameColumn:
        return QStringLiteral("Folder name");
    case kindColumn:
        return QStringLiteral("Kind");
    case highConfidenceColumn:
        return QStringLiteral("High confidence");
    }
    return {};
}

} // namespace corvane
