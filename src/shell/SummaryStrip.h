#pragma once

#include "scanning/ScanSession.h"

#include <QMap>
#include <QStringList>
#include <QTimer>
#include <QWidget>

class QLabel;
class QHBoxLayout;

namespace corvane {

// The colour of a kind in the summary bar and its legend.
QColor kindColor(ArtifactKind kind);

// A horizontal bar split by kind, each segment as wide as its share of the total.
class KindBar : public QWidget {
    Q_OBJECT

public:
    explicit KindBar(QWidget* parent = nullptr);

    void setShares(const QMap<ArtifactKind, qint64>& bytesByKind);
    const QMap<ArtifactKind, qint64>& shares() const { return bytesByKind_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QMap<ArtifactKind, qint64> bytesByKind_;
};

// The strip above the lists: what the scan found reclaimable, what is ticked, and how the
// reclaimable space splits by kind, with a legend. It follows the session as sizes arrive.
class SummaryStrip : public QWidget {
    Q_OBJECT

public:
    explicit SummaryStrip(const ScanSession& session, QWidget* parent = nullptr);

    // Shows the session's figures now (otherwise shortly after it changes).
    void refresh();
    QString reclaimableText() const;
    QString tickedText() const;
    const KindBar& bar() const { return *bar_; }
    // The legend's entries as shown, e.g. "Dependencies  1.2 GB", in kind order.
    QStringList legendTexts() const;

private:
    void updateLegend(const QMap<ArtifactKind, qint64>& bytesByKind);

    const ScanSession& session_;
    QLabel* reclaimable_;
    QLabel* ticked_;
    KindBar* bar_;
    QHBoxLayout* legend_;
    QMap<ArtifactKind, QLabel*> legendWords_;
    QTimer refreshTimer_;
};

} // namespace corvane
