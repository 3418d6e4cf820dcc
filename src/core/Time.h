#pragma once

#include <QDateTime>

#include <functional>
#include <memory>

namespace tk {

// A one-shot or repeating timer that calls its handler on the thread that owns it
// (the main thread, for every timer of the application).
class Timer {
public:
    virtual ~Timer() = default;
    virtual void start(double seconds, bool repeating) = 0; // restarts when active
    virtual void stop() = 0;
    virtual bool isActive() const = 0;
};

// The one source of time. Monotonic seconds for deadlines and countdowns, the wall
// clock for dates shown to people, and timers. `now()` and `currentDateTime()` may be
// called from any thread; timers belong to the main thread.
class TimeSource {
public:
    virtual ~TimeSource() = default;
    virtual double now() const = 0;
    virtual QDateTime currentDateTime() const = 0;
    virtual std::unique_ptr<Timer> createTimer(std::function<void()> handler) = 0;
};

// Real time: QElapsedTimer, the system clock and QTimer.
class SystemTimeSource final : public TimeSource {
public:
    SystemTimeSource();
    ~SystemTimeSource() override;
    double now() const override;
    QDateTime currentDateTime() const override;
    std::unique_ptr<Timer> createTimer(std::function<void()> handler) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
