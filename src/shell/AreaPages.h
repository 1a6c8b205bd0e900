#pragma once

#include "shell/AppModels.h"

#include <QIcon>
#include <functional>

class QStyle;
class QWidget;

namespace corvane {

// An area's page and what happens each time it is shown.
struct AreaPage {
    QWidget* widget = nullptr;
    std::function<void()> shown = [] {};
};

// Opens the area with this id.
using AreaOpener = std::function<void(const QString& areaID)>;

// The page of the area `areaID` of the table of areas, made over `models`; a page that links to
// other areas opens them through `open`. Every row of the table has one.
AreaPage makeAreaPage(const QString& areaID, AppModels& models, const AreaOpener& open,
                      QWidget* parent);

// The sidebar's picture for an area's icon key.
QIcon areaIcon(const QString& iconKey, const QStyle& style);

} // namespace corvane
