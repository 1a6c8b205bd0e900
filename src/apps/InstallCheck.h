#pragma once

#include <QString>

namespace corvane {

// What an app's own tool (flatpak, snap) said when asked whether one app is installed. Only an
// answer the tool gave in its own words is `notInstalled`: a tool that is missing, failed, timed
// out or printed something else leaves it `unknown`, and data is then never taken for a leftover.
struct InstallCheck {
    enum class Case { installed, notInstalled, unknown };

    Case is = Case::unknown;
    // Why it is not known, for the user ("flatpak info timed out").
    QString reason;

    bool isGone() const { return is == Case::notInstalled; }
};

} // namespace corvane
