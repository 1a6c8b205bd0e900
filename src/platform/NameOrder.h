#pragma once

#include <QString>

namespace corvane::NameOrder {

// Names in the order people expect from a file manager: letters whatever their case, and the
// numbers in them by value, so "build 2" comes before "build 10" and "App" beside "app". Every
// list of names sorts through this, whether an engine or a page orders it.
int compare(const QString& a, const QString& b);

// A strict order: names that compare equal above (differing only in case) still have a fixed
// order, so a sort gives the same list each time.
bool less(const QString& a, const QString& b);

} // namespace corvane::NameOrder
