#pragma once

#include "platform/TrashGauge.h"
#include "scanning/ScanSession.h"

#include <QMap>
#include <QStringList>
#include <QTimer>
#include <QWidget>

class QLabel;

namespace corvane {

class FlowLayout;

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

// The strip above the lists: what trashing the scan's reclaimable and ticked items would free,
// how that splits by kind, with a legend, and what already waits in the Trash. It follows the
// session as sizes arrive, and measures the Trash again after each trash action. In a narrow window
// it collapses to one line (the figures beside their captions, and the bar, whose tooltip keeps the
// legend), and the legend wraps before it would be cut off.
class SummaryStrip : public QWidget {
    Q_OBJECT

public:
    // The Trash line shows `trash`, which the app refreshes after every trash action.
    SummaryStrip(const ScanSession& session, TrashGauge& trash, QWidget* parent = nullptr);

    // Shows the session's figures now (otherwise shortly after it changes).
    void refresh();
    QString reclaimableText() const;
    QString tickedText() const;
    // "Trash: 1.2 GB — the space comes back when you empty the Trash"; empty while measuring.
    QString trashText() const;
    const KindBar& bar() const { return *bar_; }
    // The legend's entries as shown, e.g. "Dependencies  1.2 GB", in kind order.
    QStringList legendTexts() const;
    // Narrower than this, the strip takes one line.
    static constexpr int compactWidth = 820;
    bool isCompact() const { return compact_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void updateLegend(const QMap<ArtifactKind, qint64>& bytesByKind);
    void showTrash();
    void setCompact(bool compact);

    const ScanSession& session_;
    QLabel* reclaimable_;
    QLabel* ticked_;
    KindBar* bar_;
    QList<QWidget*> figures_;
    FlowLayout* legend_;
    QWidget* legendLine_;
    bool compact_ = false;
    QMap<ArtifactKind, QLabel*> legendWords_;
    QLabel* trashLine_;
    TrashGauge& trash_;
    QTimer refreshTimer_;
};

} // namespace corvane
