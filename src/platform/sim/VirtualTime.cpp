#include "VirtualTime.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tk {

class VirtualTimeSource::VirtualTimer final : public Timer {
public:
    VirtualTimer(VirtualTimeSource& owner, std::function<void()> handler)
        : m_owner(owner), m_handler(std::move(handler))
    {
    }
    ~VirtualTimer() override { m_owner.unschedule(this); }

    void start(double seconds, bool repeating) override
    {
        m_owner.unschedule(this);
        m_interval = seconds;
        m_repeating = repeating;
        m_active = true;
        m_owner.schedule(this, m_owner.now() + seconds);
    }
    void stop() override
    {
        m_active = false;
        m_owner.unschedule(this);
    }
    bool isActive() const override { return m_active; }

    void fire()
    {
        if (m_repeating)
            m_owner.schedule(this, m_owner.now() + std::max(m_interval, 1e-9));
        else
            m_active = false;
        m_handler(); // last: the handler may restart, stop or destroy this timer
    }

private:
    VirtualTimeSource& m_owner;
    std::function<void()> m_handler;
    double m_interval = 0.0;
    bool m_repeating = false;
    bool m_active = false;
};

VirtualTimeSource::VirtualTimeSource(QDateTime start) : m_start(std::move(start)) {}

VirtualTimeSource::~VirtualTimeSource() = default;

QDateTime VirtualTimeSource::currentDateTime() const
{
    return m_start.addMSecs(static_cast<qint64>(std::llround(now() * 1000.0)));
}

std::unique_ptr<Timer> VirtualTimeSource::createTimer(std::function<void()> handler)
{
    return std::make_unique<VirtualTimer>(*this, std::move(handler));
}

void VirtualTimeSource::advance(double seconds)
{
    const double target = now() + seconds;
    while (!m_queue.empty() && m_queue.begin()->first <= target) {
        m_spare = m_queue.extract(m_queue.begin());
        VirtualTimer* timer = m_spare.mapped();
        m_now.store(std::max(now(), m_spare.key()));
        timer->fire();
    }
    m_now.store(std::max(now(), target));
}

void VirtualTimeSource::elapse(double seconds)
{
    // Unpaced, as in every test that drives the clock itself, no lock is taken.
    if (m_paced.load()) {
        std::unique_lock lock(m_pacing);
        if (m_paced && std::this_thread::get_id() != m_driver)
            return sleep(lock, seconds);
    }
    double current = m_now.load();
    while (!m_now.compare_exchange_weak(current, current + seconds)) {
    }
}

void VirtualTimeSource::sleep(std::unique_lock<std::mutex>& lock, double seconds)
{
    Sleeper self{now() + std::max(seconds, 0.0)};
    m_sleepers.push_back(&self);
    m_pacingChanged.notify_all();
    m_pacingChanged.wait(lock, [&] { return self.woken || !m_paced; });
    std::erase(m_sleepers, &self);
    if (!self.woken) // let go when the pacing ended: the time passes all the same
        m_now.store(std::max(now(), self.due));
}

void VirtualTimeSource::setPaced(bool paced)
{
    const std::lock_guard lock(m_pacing);
    m_paced = paced;
    m_driver = std::this_thread::get_id();
    m_pacingChanged.notify_all();
}

std::optional<double> VirtualTimeSource::nextWaking() const
{
    const std::lock_guard lock(m_pacing);
    std::optional<double> next;
    for (const Sleeper* sleeper : m_sleepers) {
        if (!sleeper->woken && (!next || sleeper->due < *next))
            next = sleeper->due;
    }
    return next;
}

void VirtualTimeSource::wake(double moment)
{
    const std::lock_guard lock(m_pacing);
    m_now.store(std::max(now(), moment));
    for (Sleeper* sleeper : m_sleepers)
        sleeper->woken = sleeper->woken || sleeper->due <= moment;
    m_pacingChanged.notify_all();
}

bool VirtualTimeSource::waitForSleeper(std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(m_pacing);
    return m_pacingChanged.wait_for(lock, timeout, [&] {
        return std::any_of(m_sleepers.cbegin(), m_sleepers.cend(),
                           [](const Sleeper* sleeper) { return !sleeper->woken; });
    });
}

int VirtualTimeSource::activeTimerCount() const
{
    return static_cast<int>(m_queue.size());
}

std::optional<double> VirtualTimeSource::nextDue() const
{
    if (m_queue.empty())
        return std::nullopt;
    return m_queue.begin()->first;
}

void VirtualTimeSource::schedule(VirtualTimer* timer, double due)
{
    if (m_spare.empty()) {
        m_queue.emplace(due, timer);
        return;
    }
    m_spare.key() = due;
    m_spare.mapped() = timer;
    m_queue.insert(std::move(m_spare));
}

void VirtualTimeSource::unschedule(VirtualTimer* timer)
{
    for (auto it = m_queue.begin(); it != m_queue.end();) {
        if (it->second == timer)
            it = m_queue.erase(it);
        else
            ++it;
    }
}

} // namespace tk
