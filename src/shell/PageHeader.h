#pragma once

#include <QString>

class QLabel;
class QWidget;

namespace corvane {

// The heading every area page opens with: a larger title and a line that says what the page
// holds.
QLabel* makePageTitle(const QString& text, QWidget* parent);
QLabel* makePageIntro(const QString& text, QWidget* parent);

} // namespace corvane
