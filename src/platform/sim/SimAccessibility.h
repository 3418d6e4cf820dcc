#pragma once

#include "inspection/Accessibility.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace tk {

class SimDesktop;
class TimeSource;

// The simulated applications' accessibility interface. Elements are live, as on the Mac:
// each request answers from the desktop's state published at that moment (read without a
// lock, safe on any thread), so an item that moved, left or came back between two reads
// is seen as it is at the second, and once an element's application has quit its
// requests fail with `AXResult::invalidUIElement`. Each request costs the application's
// response delay on `time`; a delay longer than the messaging timeout, or a process that
// has hung, costs the timeout and fails with `AXResult::cannotComplete`, as an
// unresponsive process does on the Mac. While this process is not trusted, every request
// fails at once with `AXResult::apiDisabled`: trust is asked at each one.
class SimAccessibility final : public Accessibility {
public:
    // The Mac's messaging timeout for elements that were not given one.
    static constexpr double defaultMessagingTimeout = 6.0;

    SimAccessibility(SimDesktop& desktop, TimeSource& time);
    ~SimAccessibility() override;

    AXElementRef applicationElement(qint32 pid) override;
    void setMessagingTimeout(const AXElementRef& element, double seconds) override;
    AXAttribute attribute(const AXElementRef& element, const QString& name) override;
    // One round trip for all of them: a hung application fails it as a whole.
    QList<AXAttribute> attributes(const AXElementRef& element, const QStringList& names) override;
    std::optional<QStringList> actionNames(const AXElementRef& element) override;
    AXSettable isAttributeSettable(const AXElementRef& element, const QString& name) override;
    // An item acts on any action it lists, as its scenario says (`pressResult`,
    // `pressDelay`); every press that reaches an item is recorded on the desktop.
    qint32 performAction(const AXElementRef& element, const QString& name) override;

    bool isProcessTrusted() override;
    bool promptForTrust() override;

    // The round trips that reached an application since the last `resetRoundTrips`: how
    // many, how many of them were answered, and the time they take on a Mac (the desktop's
    // cost per request, or a slower application's delay, or the timeout of one that did not
    // answer). The virtual clock is charged only an application's own delay or timeout,
    // so a scenario's times stay as its delays make them.
    struct RoundTrips {
        quint64 requests = 0;
        quint64 answered = 0;
        double seconds = 0.0;
    };
    RoundTrips roundTrips() const;
    void resetRoundTrips();

    // Given the pid a request goes to (0 for an element that is not a simulated one),
    // whether a walk off the main thread must wait before making it.
    using HoldCondition = std::function<bool(qint32 pid)>;

    // While held, a walk off the main thread waits before each request (an application
    // element, a read, the action names, a settable query), as if every application were
    // busy, so that a scan under way stays under way until it is let go.
    void holdAnswers(bool held);
    // Holds the requests for which `condition` answers true; nothing holds none. It is asked
    // on the walk's thread, one request at a time, as each comes and again whenever the
    // hold changes, so that a test or a script can stop a walk at a chosen request, change
    // the desktop and let it go on.
    void holdAnswersWhen(HoldCondition condition);
    // Waits up to `timeout` for a walk to wait at the hold now in force; true when one does.
    bool waitForHeldWalk(std::chrono::milliseconds timeout);

    // Counts one round trip that took `seconds`.
    void noteRoundTrip(bool answered, double seconds);

private:
    void waitWhileHeld(qint32 pid);
    void waitWhileHeld(const AXElementRef& element);

    SimDesktop& m_desktop;
    TimeSource& m_time;
    std::atomic<bool> m_holding{false}; // whether a condition is in force; read without the lock
    std::mutex m_holdMutex;
    std::condition_variable m_holdChanged;
    HoldCondition m_holdCondition;
    quint64 m_holdGeneration = 0; // raised at every change of the hold
    quint64 m_heldGeneration = 0; // the hold the last walk to stop stopped at
    int m_heldWalks = 0;
    std::atomic<quint64> m_requests{0};
    std::atomic<quint64> m_answered{0};
    std::atomic<quint64> m_nanoseconds{0};
};

} // namespace tk
