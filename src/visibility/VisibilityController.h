#pragma once

#include "core/Result.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

namespace tk {

class NativeObject;
class NativeVisibilityBridge;
class TimeSource;
class Timer;
class Workspace;

// Holds, watches and drops the menu-bar visibility assertion. Every call, every
// answer of the bridge and the watchdog run on the main thread; `generation` keeps a
// late answer from undoing a newer decision.
//
// Observable states, as (active, pending): idle (false, false), requesting (false,
// true), hiding (true, false) and re-requesting (true, true). The NOTIFY signals fire
// on every assignment, also of an equal value.
class VisibilityController final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(bool pending READ pending NOTIFY pendingChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    static constexpr double watchdogSeconds = 5.0;

    // `isAccessibilityTrusted` is asked at each activation, as is the workspace for
    // the running applications and our own bundle identifier.
    VisibilityController(NativeVisibilityBridge& bridge, Workspace& workspace, TimeSource& time,
                         std::function<bool()> isAccessibilityTrusted, QObject* parent = nullptr);
    ~VisibilityController() override;

    bool active() const { return m_active; }
    bool pending() const { return m_pending; }
    QString message() const { return m_message; }

    qint64 generation() const { return m_generation; }
    QSet<QString> hiddenTargets() const { return m_hiddenTargets; }
    bool refreshNeeded() const { return m_refreshNeeded; }

    // Hides the applications in `hidden`, except the protected ones and ourselves.
    // Accepted in any state: while hiding, it replaces the assertion.
    void activate(const QSet<QString>& hidden);
    // Drops any assertion and shows every item. Goes through every step every time.
    void restore();
    // Re-applies the hiding with the applications running now.
    void runningApplicationsChanged();
    // A status line of the shell's own, such as what a scan found; the hiding state stays.
    void announce(const QString& message) { setMessage(message); }

signals:
    void activeChanged(bool active);
    void pendingChanged(bool pending);
    void messageChanged(const QString& message);

private:
    struct Request;
    struct Plan {
        QSet<QString> targets;
        QStringList allowList;
    };
    using NativeObjectPtr = std::shared_ptr<NativeObject>;

    // The checks that stop a request, each with its message.
    std::optional<Plan> planFor(const QSet<QString>& hidden);
    void send(const QStringList& allowList, const std::shared_ptr<Request>& request);

    void answer(Request& request, const NativeObjectPtr& assertion,
                const std::optional<Error>& error);
    void accept(const NativeObjectPtr& assertion, const std::optional<Error>& error);
    void watchdogExpired();
    void setActive(bool active);
    void setPending(bool pending);
    void setMessage(const QString& message);

    NativeVisibilityBridge& m_bridge;
    Workspace& m_workspace;
    std::function<bool()> m_isAccessibilityTrusted;
    std::unique_ptr<Timer> m_watchdog; // one timer for life: started per request, stopped to clear

    bool m_active = false;
    bool m_pending = false;
    QString m_message;
    NativeObjectPtr m_assertion;
    qint64 m_generation = 0;
    QSet<QString> m_hiddenTargets;
    bool m_refreshNeeded = false;
};

} // namespace tk
