#pragma once

#include "core/Time.h"

#include <atomic>
#include <map>
#include <optional>

namespace tk {

// Simulated time: nothing moves until `advance` is called. Timers fire in order of
// their due time, each at its exact moment, so a test that advances 5.0 s sees a
// 5.0 s watchdog fire and a 5.1 s one not. `now()` may be read from any thread.
class VirtualTimeSource final : public TimeSource {
public:
    explicit VirtualTimeSource(QDateTime start = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC));
    ~VirtualTimeSource() override;

    double now() const override { return m_now.load(); }
    QDateTime currentDateTime() const override;
    std::unique_ptr<Timer> createTimer(std::function<void()> handler) override;

    // Moves time forward, firing every timer that falls due on the way.
    void advance(double seconds);
    // Lets time pass without firing timers; for work that runs off the main thread.
    void elapse(double seconds);
    int activeTimerCount() const;
    // When the next timer falls due; nothing when none is active.
    std::optional<double> nextDue() const;

private:
    class VirtualTimer;
    friend class VirtualTimer;

    void schedule(VirtualTimer* timer, double due);
    void unschedule(VirtualTimer* timer);

    QDateTime m_start;
    std::atomic<double> m_now{0.0};
    std::multimap<double, VirtualTimer*> m_queue;
    // The entry of the timer fired last, kept for its next scheduling: a repeating timer
    // then runs without allocating.
    std::multimap<double, VirtualTimer*>::node_type m_spare;
};

} // namespace tk
