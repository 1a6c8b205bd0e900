#pragma once

#include <QString>
#include <QtGlobal>

namespace corvane {

// The one byte-count formatter, styled as macOS shows file sizes: decimal units (1 KB = 1000
// bytes), "Zero KB" for nothing, whole bytes below 1 KB ("1 byte", "999 bytes"), whole kilobytes
// ("12 KB"), one decimal for megabytes ("1.5 MB") and two from gigabytes on ("1.23 GB"), with
// trailing zeros dropped ("2 GB"). A value that rounds up to 1000 of a unit moves to the next.
// The decimal point is the default locale's.
QString formatBytes(qint64 bytes);

} // namespace corvane
