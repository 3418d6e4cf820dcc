#pragma once

#include "core/Time.h"

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace tk {

// Simulated time: nothing moves until `advance` is called. Timers fire in order of
// their due time, each at its exact moment, so a test that advances 5.0 s sees a
// 5.0 s watchdog fire and a 5.1 s one not. `now()` may be read from any thread.
//
// Paced, the clock belongs to one thread, the one that paced it: work on any other thread
// that lets time pass (a request to another application) waits until that thread lets the
// clock reach the moment it would end, even when it takes no time at all. Work off the
// main thread then moves with virtual time, step by step, whatever the machine's load.
class VirtualTimeSource final : public TimeSource {
public:
    explicit VirtualTimeSource(QDateTime start = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC));
    ~VirtualTimeSource() override;

    double now() const override { return m_now.load(); }
    QDateTime currentDateTime() const override;
    std::unique_ptr<Timer> createTimer(std::function<void()> handler) override;

    // Moves time forward, firing every timer that falls due on the way.
    void advance(double seconds);
    // Lets time pass without firing timers; for work that runs off the main thread. Paced,
    // another thread waits here until the clock is let through to its end.
    void elapse(double seconds);
    void setPaced(bool paced);
    // Paced: when the earliest work waiting for the clock would end; nothing when none waits.
    std::optional<double> nextWaking() const;
    // Paced: moves the clock to `moment` without firing timers, and lets every work waiting
    // for a moment up to it go on.
    void wake(double moment);
    // Paced: waits at most `timeout` for some work to wait for the clock.
    bool waitForSleeper(std::chrono::milliseconds timeout) const;
    int activeTimerCount() const;
    // When the next timer falls due; nothing when none is active.
    std::optional<double> nextDue() const;

private:
    class VirtualTimer;
    friend class VirtualTimer;

    void schedule(VirtualTimer* timer, double due);
    void unschedule(VirtualTimer* timer);

    void sleep(std::unique_lock<std::mutex>& lock, double seconds);

    struct Sleeper {
        double due = 0.0;
        bool woken = false;
    };

    QDateTime m_start;
    mutable std::mutex m_pacing;
    mutable std::condition_variable m_pacingChanged;
    std::atomic<bool> m_paced{false}; // written under the lock
    std::thread::id m_driver;
    std::vector<Sleeper*> m_sleepers; // each on the stack of the thread it stops
    std::atomic<double> m_now{0.0};
    std::multimap<double, VirtualTimer*> m_queue;
    // The entry of the timer fired last, kept for its next scheduling: a repeating timer
    // then runs without allocating.
    std::multimap<double, VirtualTimer*>::node_type m_spare;
};

} // namespace tk
