#pragma once

#include "scanning/RulesStore.h"

#include <QAbstractTableModel>

namespace corvane {

// The user's custom artifact rules as an editable table: the folder name, the kind of artifact
// it holds, and whether the name alone is trusted. Every edit goes straight to the store, which
// saves it and hands it to the catalog for the next scan.
class RulesModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { nameColumn, kindColumn, highConfidenceColumn, columnTotal };

    // The kinds a rule may give a folder, in the order the kind menu offers them. A whole project
    // or an unknown kind says nothing about a folder name, so neither is offered.
    static const QList<ArtifactKind>& offeredKinds();

    explicit RulesModel(RulesStore& store, QObject* parent = nullptr);

    // Adds a rule that starts as a cache and returns its row.
    int addRule();
    void removeRule(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    void reloadRules();

    RulesStore& store_;
    QList<CustomRule> rules_;
};

// The words shown for a rule's stored kind; a raw value this version does not know is shown as
// stored, so it is not mistaken for the cache kind it counts as.
QString ruleKindWords(const QString& kindRaw);

} // namespace corvane
