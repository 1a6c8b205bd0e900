#pragma once

namespace corvane {

// Names the application for Qt, so settings land in the application's own preferences (the
// bundle identifier's user defaults on macOS, ~/.config/Corvane/Corvane Clean.conf on Linux).
void applyAppIdentity();

} // namespace corvane
