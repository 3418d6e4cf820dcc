#pragma once

#include "core/Rect.h"
#include "inspection/Workspace.h"

#include <QList>
#include <QObject>
#include <QPointF>
#include <QString>
#include <memory>
#include <optional>

class QImage;
class QWidget;

namespace tk {

class StatusItem;

struct ScreenInfo {
    Rect frame;
    Rect visibleFrame; // without the menu bar and the Dock
    // The camera housing at the top of the screen, which no menu-bar item shows under.
    std::optional<Rect> notch = std::nullopt;

    friend bool operator==(const ScreenInfo&, const ScreenInfo&) = default;
};

// What the application shell asks of the desktop it runs on, beyond the running
// applications (`Workspace`). Every rectangle and point is in screen space: origin at the
// bottom-left of the primary screen, y up. Main thread; the signals are the system's
// notifications and are emitted on the main thread.
class DesktopServices : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~DesktopServices() override;

    // No Dock icon and no menu bar of our own.
    virtual void becomeAccessory() = 0;
    // Brings another running application forward, without options.
    virtual void activateApplication(qint32 pid) = 0;
    // Brings this application forward, ignoring other applications.
    virtual void activateIgnoringOtherApps() = 0;

    // In the platform's order; the first is the primary screen.
    virtual QList<ScreenInfo> screens() const = 0;
    // The screen the user works on, among `windowScreens`; nothing without screens.
    virtual std::optional<ScreenInfo> mainScreen() const = 0;
    virtual QPointF pointerPosition() const = 0;
    virtual bool isAnyMouseButtonPressed() const = 0;
    // Whether a menu of another application is open (one of its menu-bar items' menus).
    virtual bool isOtherMenuOpen() const = 0;

    // A new item in the system menu bar of fixed `length` points, whose place the system
    // remembers under `autosaveName`.
    virtual std::unique_ptr<StatusItem> createStatusItem(double length,
                                                         const QString& autosaveName) = 0;

    // Where windows appear: the screens that show them and the pointer over those screens.
    // On a Mac these are the screens above; a simulated desktop shown on a real display puts
    // its windows on the display's own screens.
    virtual QList<ScreenInfo> windowScreens() const { return screens(); }
    virtual QPointF windowPointerPosition() const { return pointerPosition(); }

    // Puts a shown top-level window in front of the others and gives it the keyboard.
    virtual void bringToFront(QWidget& window) = 0;
    // A top-level window's frame (title bar included) and moving it by that frame's origin,
    // on the screens of `windowScreens`.
    virtual Rect windowFrame(const QWidget& window) const = 0;
    virtual void setWindowFrameOrigin(QWidget& window, const QPointF& origin) = 0;
    // What only the platform can set on the settings window, once, when it is made: the
    // system does not restore it at the next launch, and a click into it while another
    // application is active acts at once instead of only activating it.
    virtual void prepareSettingsWindow(QWidget& window) = 0;

    // Where the application lives: its bundle, or its program file where there is none.
    virtual QString applicationPath() const = 0;
    // The icon the bundle ships, `pixelSize` pixels square; null when there is none.
    virtual QImage bundleIcon(int pixelSize) const = 0;
    // The icon of the running application `pid`, `pixelSize` pixels square; null when it
    // runs no more or has none.
    virtual QImage applicationIcon(qint32 pid, int pixelSize) const = 0;
    // The version the bundle declares for people ("CFBundleShortVersionString" on macOS);
    // empty when it declares none.
    virtual QString bundleVersion() const = 0;

Q_SIGNALS:
    // Once for each application that started or quit.
    void applicationLaunched();
    void applicationTerminated();
    void screensDidSleep();
    void screenParametersChanged();
    // The user opened the application again while it runs.
    void reopenRequested();

protected:
    // The platform hands over the running applications whenever it sees them change; each
    // one that started or quit since the list before is reported. The first list handed
    // over is where the comparison starts: nothing is reported for it.
    void runningApplicationsSeen(const QList<RunningApplication>& running);

private:
    std::optional<QList<RunningApplication>> m_running;
};

} // namespace tk
