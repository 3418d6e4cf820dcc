#include "BenchSupport.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstring>

namespace {

std::atomic<std::uint64_t> counted{0};

void count()
{
    counted.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

// Qt's containers and strings allocate with malloc, and operator new ends there too: the
// benchmark binaries count at malloc, then hand every request to the C library's allocator.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size)
{
    count();
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size)
{
    count();
    return __libc_calloc(number, size);
}

void* realloc(void* block, std::size_t size)
{
    count();
    return __libc_realloc(block, size);
}

void free(void* block)
{
    __libc_free(block);
}
}

namespace tk::bench {

std::uint64_t allocations()
{
    return counted.load(std::memory_order_relaxed);
}

bool instructionsRequested(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--instructions") == 0)
            return RUNNING_ON_VALGRIND != 0;
    }
    return false;
}

int runBenchmarks(int& argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace tk::bench
