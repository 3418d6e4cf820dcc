#include "Time.h"

#include <QElapsedTimer>
#include <QTimer>

#include <cmath>

namespace tk {

namespace {

class QtTimer final : public Timer {
public:
    explicit QtTimer(std::function<void()> handler)
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, std::move(handler));
    }
    void start(double seconds, bool repeating) override
    {
        m_timer.setSingleShot(!repeating);
        m_timer.start(static_cast<int>(std::lround(seconds * 1000.0)));
    }
    void stop() override { m_timer.stop(); }
    bool isActive() const override { return m_timer.isActive(); }

private:
    QTimer m_timer;
};

} // namespace

struct SystemTimeSource::Private {
    QElapsedTimer elapsed;
};

SystemTimeSource::SystemTimeSource() : d(std::make_unique<Private>())
{
    d->elapsed.start();
}

SystemTimeSource::~SystemTimeSource() = default;

double SystemTimeSource::now() const
{
    return static_cast<double>(d->elapsed.nsecsElapsed()) / 1e9;
}

QDateTime SystemTimeSource::currentDateTime() const
{
    return QDateTime::currentDateTimeUtc();
}

std::unique_ptr<Timer> SystemTimeSource::createTimer(std::function<void()> handler)
{
    return std::make_unique<QtTimer>(std::move(handler));
}

} // namespace tk
