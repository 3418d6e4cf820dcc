#pragma once

#include "inspection/Accessibility.h"

#include <condition_variable>
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
    std::optional<QStringList> actionNames(const AXElementRef& element) override;
    AXSettable isAttributeSettable(const AXElementRef& element, const QString& name) override;

    bool isProcessTrusted() override;
    bool promptForTrust() override;

    // While held, a walk off the main thread waits before each application, as if every
    // application were busy, so that a scan under way stays under way until it is let go.
    void holdAnswers(bool held);

private:
    void waitWhileHeld();

    SimDesktop& m_desktop;
    TimeSource& m_time;
    std::mutex m_holdMutex;
    std::condition_variable m_released;
    bool m_held = false;
};

} // namespace tk
