#pragma once

// A fake home for the window bench in which every area of the overview has work to do: caches of
// many small files, app leftovers, an Android SDK and Ollama models to measure, and stand-ins for
// docker, xcrun and ollama that print the tools' real outputs.
namespace corvane::bench {

// Points HOME, the XDG folders and every tool at a new temporary home and fills it; false when
// that could not be done safely.
bool makeOverviewHome();

// Removes the home made above.
void removeOverviewHome();

} // namespace corvane::bench
