#pragma once

#include <QtGlobal>

// The bounds a scenario file keeps within, so that any desktop it describes runs in little
// memory: the loader refuses a file beyond them, and an export never writes one.
namespace tk::ScenarioLimits {

constexpr qint64 maximumFileBytes = 16 * 1024 * 1024;
constexpr int maximumElements = 100000; // applications, their elements, remembered places
constexpr int maximumDepth = 64;        // levels of children below the extras menu bar
constexpr int maximumScreens = 16;
constexpr double longestMenuBar = 4'000'000.0; // points: the widths of every bar item together
constexpr double largestCoordinate = 1'000'000.0;
constexpr double longestLength = 16'384.0;
constexpr double longestDelay = 3'600.0;

} // namespace tk::ScenarioLimits
