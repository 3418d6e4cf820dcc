#pragma once

#include <QByteArray>
#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

namespace tk::fuzz {

// A broken invariant is a finding: say which, and stop the run the way a crash does.
[[noreturn]] inline void fail(const char* invariant)
{
    std::fprintf(stderr, "invariant broken: %s\n", invariant);
    std::abort();
}

inline void check(bool holds, const char* invariant)
{
    if (!holds)
        fail(invariant);
}

inline QByteArray bytes(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

// Qt's objects want an application object; one lives for the whole run.
inline void ensureApplication()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

} // namespace tk::fuzz
