#pragma once

#include <memory>

class TimeSource;
class UserDefaults;

// Hands out the seams of the platform chosen at start: the Mac's own services on
// macOS, the simulated desktop (with Linux's real services where it has them)
// everywhere else.
class Platform {
public:
    virtual ~Platform() = default;

    virtual UserDefaults& userDefaults() = 0;
    virtual TimeSource& time() = 0;
};
