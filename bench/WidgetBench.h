#pragma once

#include "BenchSupport.h"

#include <QApplication>

namespace tk::bench {

// The main of a benchmark binary whose application has windows, drawn offscreen unless the
// environment chooses: under callgrind with "--instructions" only `countInstructions` runs,
// else the benchmarks the command line selects.
template <typename Count>
int runWithWindows(int argc, char** argv, Count&& countInstructions)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    if (instructionsRequested(argc, argv)) {
        countInstructions();
        return 0;
    }
    return runBenchmarks(argc, argv);
}

} // namespace tk::bench
