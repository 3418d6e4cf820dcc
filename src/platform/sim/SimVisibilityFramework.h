#pragma once

#include "visibility/NativeVisibilityBridge.h"

#include <QObject>
#include <map>
#include <memory>
#include <vector>

namespace tk {

class SimDesktop;
class TimeSource;
class Timer;

// The menu-bar visibility framework of the simulated desktop, behind the same bridge
// contract as the Mac's. It is present or absent and answers as the desktop's
// framework behaviour says at the moment of each request. While assertions are in
// force, an application's items stay in the menu bar only if every one of them allows
// it. The framework's answers come in the order of the requests, each on a later turn of
// the main thread; one that never comes holds up no other. What the bridge answers for
// the framework (absent, or an exception raised inside the call) is not delayed, so it
// may come before the answer to an earlier, delayed request, as on a Mac.
class SimVisibilityFramework final : public NativeVisibilityBridge {
public:
    SimVisibilityFramework(SimDesktop& desktop, TimeSource& time);
    ~SimVisibilityFramework() override;

    bool isAvailable() override;
    void activate(const QList<int>& allowedSystemItems, const QStringList& allowedBundleIdentifiers,
                  Completion completion) override;
    void invalidate(const NativeObjectPtr& object) override;

    // Activated and not yet invalidated.
    int liveAssertionCount() const { return static_cast<int>(m_inForce.size()); }
    int activationRequestCount() const { return m_requestCount; }
    QStringList lastAllowedBundleIdentifiers() const { return m_lastAllowed; }
    QList<int> lastAllowedSystemItems() const { return m_lastSystemItems; }

private:
    class Assertion;

    void answer(const std::shared_ptr<Assertion>& assertion, const Completion& completion);
    void answerAt(double due, std::function<void()> work);
    void deliver(const Completion& completion, NativeObjectPtr assertion,
                 std::optional<Error> error);
    void enforce();

    SimDesktop& m_desktop;
    TimeSource& m_time;
    QObject m_mainThread; // queued deliveries die with the framework
    std::vector<std::shared_ptr<Assertion>> m_inForce;
    std::map<quint64, std::unique_ptr<Timer>> m_delayed;
    quint64 m_nextDelayed = 0;
    double m_lastDue = 0.0;
    int m_requestCount = 0;
    QStringList m_lastAllowed;
    QList<int> m_lastSystemItems;
};

} // namespace tk
