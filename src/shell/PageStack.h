#pragma once

#include <QStackedWidget>
#include <optional>

namespace corvane {

// The window's pages, one on screen at a time, sized by the page on screen.
//
// A plain stacked widget answers for every page it holds: whenever a label on the page on screen
// changed, the splitter beside the sidebar asked the stack for its sizes and every hidden page
// measured its wrapped text again, tens of milliseconds on the main thread while a scan filled
// a page in. The hidden pages' preferred sizes do not matter until they are shown, and showing
// one asks again. Their minimums are taken once, so that switching pages never resizes the
// window.
class PageStack : public QStackedWidget {
    Q_OBJECT

public:
    explicit PageStack(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void childEvent(QChildEvent* event) override;

private:
    QSize frame() const;

    // The largest minimum of all pages, worked out when first asked for.
    mutable std::optional<QSize> pagesMinimum_;
};

} // namespace corvane
