#include "SimVisibilityFramework.h"

#include "core/Time.h"
#include "platform/sim/SimDesktop.h"

#include <algorithm>

namespace tk {

namespace {

// The domain of the errors the simulated framework itself reports.
const QString frameworkErrorDomain = QStringLiteral("SimVisibilityFramework");

} // namespace

class SimVisibilityFramework::Assertion final : public NativeObject {
public:
    explicit Assertion(QSet<QString> allowedBundles) : allowed(std::move(allowedBundles)) {}

    const QSet<QString> allowed;
    bool invalidated = false;
};

SimVisibilityFramework::SimVisibilityFramework(SimDesktop& desktop, TimeSource& time)
    : m_desktop(desktop), m_time(time)
{
}

// Assertions still in force are left alone: the desktop may already be gone.
SimVisibilityFramework::~SimVisibilityFramework() = default;

bool SimVisibilityFramework::isAvailable()
{
    return m_desktop.frameworkBehaviour().present;
}

void SimVisibilityFramework::activate(const QList<int>& allowedSystemItems,
                                      const QStringList& allowedBundleIdentifiers,
                                      Completion completion)
{
    ++m_requestCount;
    m_lastSystemItems = allowedSystemItems;
    m_lastAllowed = allowedBundleIdentifiers;
    const SimFrameworkBehaviour behaviour = m_desktop.frameworkBehaviour();
    if (!behaviour.present) {
        deliver(completion, nullptr, error(unavailableDescription));
        return;
    }
    const double due = std::max(m_time.now() + std::max(behaviour.delaySeconds, 0.0), m_lastDue);
    switch (behaviour.answer) {
    case SimFrameworkBehaviour::Answer::Success: {
        auto assertion = std::make_shared<Assertion>(
            QSet<QString>(allowedBundleIdentifiers.begin(), allowedBundleIdentifiers.end()));
        m_lastDue = due;
        answerAt(due, [this, assertion, completion] { answer(assertion, completion); });
        return;
    }
    case SimFrameworkBehaviour::Answer::Error: {
        const Error failure{frameworkErrorDomain, 1, behaviour.errorDescription};
        m_lastDue = due;
        answerAt(due, [this, failure, completion] { deliver(completion, nullptr, failure); });
        return;
    }
    case SimFrameworkBehaviour::Answer::Exception:
        // Raised inside the call, so caught by the bridge's guard before any delay.
        deliver(completion, nullptr,
                exceptionError(behaviour.exceptionName, behaviour.exceptionReason));
        return;
    case SimFrameworkBehaviour::Answer::None:
        return;
    }
}

void SimVisibilityFramework::invalidate(const NativeObjectPtr& object)
{
    const auto assertion = std::dynamic_pointer_cast<Assertion>(object);
    if (!assertion || assertion->invalidated)
        return;
    assertion->invalidated = true;
    const auto found = std::find(m_inForce.begin(), m_inForce.end(), assertion);
    if (found == m_inForce.end())
        return;
    m_inForce.erase(found);
    enforce();
}

void SimVisibilityFramework::answer(const std::shared_ptr<Assertion>& assertion,
                                    const Completion& completion)
{
    // Nobody holds the assertion before this answer hands it over: it takes effect now.
    m_inForce.push_back(assertion);
    enforce();
    deliver(completion, assertion, std::nullopt);
}

void SimVisibilityFramework::answerAt(double due, std::function<void()> work)
{
    const double wait = due - m_time.now();
    if (wait <= 0.0) {
        work();
        return;
    }
    const quint64 id = m_nextDelayed++;
    auto timer = m_time.createTimer([this, id, work = std::move(work)] {
        work();
        // Not from inside the timer's own handler.
        QMetaObject::invokeMethod(
            &m_mainThread, [this, id] { m_delayed.erase(id); }, Qt::QueuedConnection);
    });
    timer->start(wait, false);
    m_delayed.emplace(id, std::move(timer));
}

void SimVisibilityFramework::deliver(const Completion& completion, NativeObjectPtr assertion,
                                     std::optional<Error> error)
{
    QMetaObject::invokeMethod(
        &m_mainThread,
        [completion, assertion = std::move(assertion), error = std::move(error)] {
            completion(assertion, error);
        },
        Qt::QueuedConnection);
}

void SimVisibilityFramework::enforce()
{
    if (m_inForce.empty()) {
        m_desktop.setAllowList(std::nullopt);
        return;
    }
    QSet<QString> allowed = m_inForce.front()->allowed;
    for (const auto& assertion : m_inForce)
        allowed.intersect(assertion->allowed);
    m_desktop.setAllowList(allowed);
}

} // namespace tk
