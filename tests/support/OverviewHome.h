#pragma once

// A home in which every area of the overview has work to do: caches of many small files, app
// leftovers, an Android SDK and Ollama models to measure, and stand-ins for docker, xcrun and
// ollama that print the tools' real outputs. Shared by the window's tests and its bench.

#include "support/TestEnvironment.h"

#include <QString>
#include <memory>
#include <vector>

namespace corvane::test {

class OverviewHome {
public:
    // Fills `home` and points every tool, OLLAMA_MODELS and ANDROID_HOME at what it made there,
    // until it is destroyed. HOME itself is the caller's to set. The caches and app leftovers hold
    // `filesPerFolder` files in each of their folders: many for a bench, few for a test.
    explicit OverviewHome(const QString& home, int filesPerFolder = 100);
    OverviewHome(const OverviewHome&) = delete;
    OverviewHome& operator=(const OverviewHome&) = delete;

private:
    void point(const char* name, const QString& value);

    std::vector<std::unique_ptr<ScopedEnvironment>> variables_;
};

} // namespace corvane::test
