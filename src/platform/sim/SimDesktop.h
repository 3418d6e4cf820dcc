#pragma once

#include "platform/sim/SimBarOrder.h"
#include "platform/sim/SimScenario.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <atomic>
#include <memory>
#include <optional>

namespace tk {

class UserDefaults;

// A running application's process, from its launch to its quit, whatever the desktop
// publishes meanwhile: what lasts from one accessibility request to the next. Safe on any
// thread.
class SimProcess {
public:
    explicit SimProcess(std::optional<qint64> answersBeforeHanging)
        : m_answersLeft(answersBeforeHanging.value_or(-1))
    {
    }

    // Takes one request: false once the process has hung, and from then on until it recovers.
    bool answers();
    void hang() { m_answersLeft = 0; }
    void recover() { m_answersLeft = -1; }

private:
    std::atomic<qint64> m_answersLeft; // negative: it never hangs
};

// One running application as the accessibility interface sees it at one moment:
// immutable but for its process, so readers on any thread need no lock.
struct SimApplicationState {
    std::shared_ptr<const SimApplication> application;
    std::shared_ptr<SimProcess> process; // the same in every state while the application runs
    bool visible = true; // false while an allow-list hides its items
    // Where the layout put each item of its extras menu bar (accessibility space);
    // nothing while hidden.
    QList<std::optional<Rect>> barFrames;
    // Where each of its menus stands while it is the frontmost application.
    QList<Rect> menuFrames;
};

// One action an application's item was asked to perform, as the application took it.
struct SimPress {
    qint32 pid = 0;
    QString bundle;
    int item = 0;        // the index of the item of the bar the element belongs to
    QString title;       // the element's title, else its description
    QString action;      // "AXPress", "AXShowMenu", ...
    qint32 result = 0;   // what the press answered
    bool acted = false;  // whether the application acted on it (a late press does)

    // Its bundle identifier, else "pid:N".
    QString applicationId() const
    {
        return bundle.isEmpty() ? QStringLiteral("pid:") + QString::number(pid) : bundle;
    }
};

struct SimWorldState {
    QHash<qint32, std::shared_ptr<const SimApplicationState>> applications;
};

// The simulated macOS desktop: screens, running applications with their menu-bar items,
// the menu bar's layout with Tuckaway's own status item, and what the visibility
// framework hides. Lives on the main thread; `state()` may be read from any thread.
class SimDesktop final : public QObject {
    Q_OBJECT

public:
    static constexpr double menuBarHeight = 24.0; // on a screen without a notch
    static constexpr double menuBarRightMargin = 8.0;
    static constexpr double menuBarLeftMargin = 8.0; // left of the frontmost application's menus
    // Where the system remembers the status item's place: "NSStatusItem Preferred Position "
    // followed by its autosave name. The value is the place in decimal.
    static QString statusItemDefaultsKey();
    // Tuckaway's item in the menu bar's memory.
    static SimBarKey statusItemKey();

    // An item standing in the menu bar, right to left.
    struct BarItem {
        qint32 pid = 0;
        int index = 0; // among the application's extras menu-bar items
        Rect frame;    // accessibility space
        bool own = false;
        // Drawn: neither under nor beyond the primary screen's notch, nor over the frontmost
        // application's menus. The system keeps the others' frames where they would stand.
        bool shown = true;
    };

    // `defaults` (not owned, may be null) remembers the status item's place.
    explicit SimDesktop(SimScenario scenario, UserDefaults* defaults = nullptr,
                        QObject* parent = nullptr);
    ~SimDesktop() override;

    const QList<SimScreen>& screens() const { return m_scenario.screens; }
    // The lists of screens the scenario names, which the desktop can change to.
    const QList<SimScreenSet>& screenSets() const { return m_scenario.screenSets; }
    // The system's screens change: a new list, perhaps with another primary screen (the
    // first), perhaps empty for a moment. The bar, and the status item on it, follow the
    // primary screen; without a screen nothing stands in a bar.
    void setScreens(QList<SimScreen> screens);
    // Running applications in launch order; this application's own process included.
    QList<SimApplication> applications() const;
    const SimApplication* application(qint32 pid) const;
    qint32 ownPid() const { return m_scenario.ownPid; }
    // Nothing for a copy that runs outside an application bundle.
    const std::optional<QString>& ownBundleIdentifier() const
    {
        return m_scenario.ownBundleIdentifier;
    }
    QString operatingSystemVersion() const { return m_scenario.operatingSystemVersion; }
    double requestCost() const { return m_scenario.requestCost; }
    const QList<SimShortcut>& takenShortcuts() const { return m_scenario.takenShortcuts; }
    const SimLoginItems::Behaviour& loginItemBehaviour() const { return m_scenario.loginItem; }

    bool isTrusted() const { return m_trusted.load(); }
    void setTrusted(bool trusted);
    // Records that the system's prompt to grant access was shown; safe on any thread.
    void noteTrustPrompt();
    int trustPromptCount() const { return m_trustPrompts.load(); }

    const SimFrameworkBehaviour& frameworkBehaviour() const { return m_scenario.framework; }
    void setFrameworkBehaviour(const SimFrameworkBehaviour& behaviour);

    // Starts an application; a pid of 0 or one already in use is replaced by a fresh one, a
    // pid that no process has had yet. Its items stand where the bar remembers them, items
    // it has never seen at the left end. Answers its pid.
    qint32 launchApplication(SimApplication application);
    // False for an unknown pid and for this application's own process. The bar keeps the
    // places of its items.
    bool quitApplication(qint32 pid);
    // Applications that quit and have not started again, the latest last: one for each
    // bundle identifier (each name without one), as they ran.
    QList<SimApplication> quitApplications() const;
    // The application puts other items in its extras menu bar; false as for quitting.
    bool changeItems(qint32 pid, QList<SimElement> items);
    // The application stops answering accessibility requests and stays so, scan after scan,
    // until it recovers; false as for quitting.
    bool setHung(qint32 pid, bool hung);

    // Nothing: no assertion in force. Otherwise only the listed applications keep their
    // items in the menu bar; applications without a bundle identifier lose theirs.
    void setAllowList(std::optional<QSet<QString>> allowedBundles);
    const std::optional<QSet<QString>>& allowList() const { return m_allowList; }
    bool isApplicationVisible(qint32 pid) const;
    bool isItemVisible(qint32 pid, int index) const;
    QList<BarItem> visibleMenuBarItems() const;
    // The menu bar of the primary screen, accessibility space; empty without a screen. As
    // tall as the screen's notch when it has one.
    Rect menuBarFrame() const;
    static double barHeight(const SimScreen& screen);

    // The application whose menus the menu bar shows; nothing: none.
    std::optional<qint32> frontmost() const { return m_frontmost; }
    // Nothing, or a running application other than this one; false (nothing changes)
    // for another pid.
    bool setFrontmost(std::optional<qint32> pid);
    // The frontmost application's menus, left to right, accessibility space.
    QList<Rect> frontMenuFrames() const;

    // How many items of running applications stand right of the status item, hidden ones
    // included.
    int statusItemPlace() const;
    // Puts the status item left of this many items (clamped to the bar); the count is
    // remembered in the user defaults.
    void setStatusItemPlace(int place);
    // Drops the status item at this accessibility x, as a ⌘-drag does: between two neighbours;
    // nothing happens without a bar to drop it on.
    void moveStatusItem(double x);
    // Accessibility space; nothing while an allow-list hides it or no screen shows a bar.
    std::optional<Rect> statusItemFrame() const;

    // Between screen space (bottom-left origin, y up) and accessibility space (top-left
    // origin of the primary screen, y down).
    Rect toAccessibilitySpace(const Rect& screenRect) const;
    Rect toScreenSpace(const Rect& accessibilityRect) const;

    // Records a press the accessibility interface passed on; safe on any thread. One the
    // application acted on with "AXPress" or "AXShowMenu" opens the item's menu, closing any
    // other item's.
    void notePress(const SimPress& press);
    // Every press since the start, the latest last.
    QList<SimPress> presses() const;
    // The item whose menu is open; nothing when none is.
    std::optional<SimPress> openItemMenu() const;
    // A click anywhere or Escape closes it; nothing happens when none is open.
    void closeItemMenu();

    // The world as of the last change.
    std::shared_ptr<const SimWorldState> state() const { return std::atomic_load(&m_state); }

signals:
    void screensChanged();
    void menuBarChanged();
    void applicationLaunched(qint32 pid);
    void applicationTerminated(qint32 pid);
    void trustChanged(bool trusted);
    void trustPromptRequested();
    void frameworkBehaviourChanged();
    // An item's menu opened or closed; may be emitted on any thread.
    void itemMenuChanged();

private:
    struct Layout {
        QList<BarItem> bar; // visible items, right to left
        QHash<qint32, QList<std::optional<Rect>>> frames;
        QHash<qint32, QList<Rect>> menus;
    };
    struct Slot {
        const SimApplication* app;
        int index;
    };

    void closeMenuOf(qint32 pid);
    void addOwnApplication();
    void rememberItems(const SimApplication& app);
    SimBarKey keyOf(const SimApplication& app, int index) const;
    // Every running item under its key; items of two copies of one application share one.
    QHash<SimBarKey, QList<Slot>> runningSlots() const;
    void placeStatusItem(int place);
    void rememberStatusItemPlace();
    void start(std::shared_ptr<const SimApplication> application);
    // The running application other than this one, by pid; nothing when there is none.
    std::optional<qsizetype> otherApplication(qint32 pid) const;
    bool allows(const SimApplication& app) const;
    int barItemCount() const;
    Layout computeLayout() const;
    QList<Rect> menuLayout(const SimApplication& app) const;
    // Marks the items the system does not draw on the primary screen's bar.
    void markUnshown(Layout& layout) const;
    // Lays the bar out afresh and publishes the new world; after every change.
    void republish();
    qint32 freshPid() const;

    SimScenario m_scenario;
    UserDefaults* m_defaults = nullptr;
    QList<std::shared_ptr<const SimApplication>> m_running;
    QList<std::shared_ptr<const SimApplication>> m_quit; // as `quitApplications()`
    qint32 m_highestPid = 0;                             // of every process that ran
    QHash<qint32, std::shared_ptr<SimProcess>> m_processes; // of the running applications
    std::optional<QSet<QString>> m_allowList;
    std::optional<qint32> m_frontmost;
    SimBarOrder m_order;
    Layout m_layout; // as of the last change: reads between changes cost nothing
    std::atomic<bool> m_trusted{true};
    std::atomic<int> m_trustPrompts{0};
    mutable QMutex m_pressMutex; // guards the two below
    QList<SimPress> m_presses;
    std::optional<SimPress> m_openItemMenu;
    // Read and replaced only through std::atomic_load and std::atomic_store: libc++ has
    // no std::atomic<std::shared_ptr>.
    std::shared_ptr<const SimWorldState> m_state;
};

} // namespace tk
