#pragma once

#include <QLayout>
#include <QList>

namespace corvane {

// Lays its widgets out left to right and starts a new line where the next one would not fit, so
// a legend wraps in a narrow window instead of being cut off.
class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* parent = nullptr, int horizontalSpacing = 12,
                        int verticalSpacing = 2);
    ~FlowLayout() override;

    void insertWidget(int index, QWidget* widget);

    void addItem(QLayoutItem* item) override;
    int count() const override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    QSize minimumSize() const override;
    QSize sizeHint() const override;
    void setGeometry(const QRect& rect) override;

private:
    // Places the items in `rect` (only measures when `place` is false) and returns the height used.
    int arrange(const QRect& rect, bool place) const;

    QList<QLayoutItem*> items_;
    int horizontalSpacing_;
    int verticalSpacing_;
};

} // namespace corvane
