#pragma once

#include <QByteArray>
#include <QIcon>
#include <QImage>

namespace corvane {

// The application's icon, drawn in code at any size: the window icon at run time, and at build
// time the PNG and the macOS icon file of the bundle.
QImage paintAppIcon(int side);

// The icon at the sizes windows, docks and menus ask for.
QIcon appIcon();

// A macOS icon file (.icns) of the icon: the "icns" header, then one PNG-encoded entry per size
// that macOS looks for, from 16 to 1024 pixels (32 to 1024 for the double-density slots). Empty
// when a PNG could not be encoded.
QByteArray icnsData();

} // namespace corvane
