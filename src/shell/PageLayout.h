#pragma once

#include <QString>

class QLayout;
class QWidget;

namespace corvane {

// Lays out an area page as every one looks: a larger title, a line that says what the page holds,
// the body (which takes the room that is left) and a footer of buttons.
void layOutPage(QWidget& page, const QString& title, const QString& intro, QLayout* body,
                QLayout* footer);

} // namespace corvane
