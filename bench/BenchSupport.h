#pragma once

#include <QByteArray>
#include <cstdint>
#include <valgrind/callgrind.h>

namespace tk::bench {

// Every allocation of this process (malloc, calloc, realloc, and operator new through
// them), counted by BenchSupport.cpp, which each benchmark binary links.
std::uint64_t allocations();

// True for a run under `valgrind --tool=callgrind` given "--instructions": each measured
// operation then runs `repetitions` times between a reset of the counts and a dump named
// "<name>/<repetitions>", which scripts/bench.sh divides. Nothing else runs.
bool instructionsRequested(int argc, char** argv);

// Runs the benchmarks the command line selects; the exit code of the binary.
int runBenchmarks(int& argc, char** argv);

template <typename Operation>
void countInstructions(const char* name, int repetitions, Operation&& operation)
{
    operation(); // caches and first-use tables filled outside the count
    const QByteArray label = QByteArray(name) + '/' + QByteArray::number(repetitions);
    CALLGRIND_ZERO_STATS;
    for (int i = 0; i < repetitions; ++i)
        operation();
    CALLGRIND_DUMP_STATS_AT(label.constData());
}

// Allocations per iteration of a benchmark loop, as a counter.
class AllocationMeter {
public:
    AllocationMeter() : m_start(allocations()) {}
    double perIteration(std::int64_t iterations) const
    {
        return iterations > 0 ? double(allocations() - m_start) / double(iterations) : 0.0;
    }

private:
    std::uint64_t m_start;
};

} // namespace tk::bench
