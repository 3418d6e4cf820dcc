#pragma once

#include "app/DesktopServices.h"
#include "platform/sim/SimScenario.h"
#include "platform/sim/SimStatusItem.h"

#include <QPointer>

namespace tk {

class SimDesktop;

// The shell's view of the simulated desktop: its screens, a pointer and mouse buttons that
// tests and the simulator window move, the system's notifications, and the status items
// the application creates.
class SimDesktopServices final : public DesktopServices {
    Q_OBJECT

public:
    explicit SimDesktopServices(SimDesktop& desktop, QObject* parent = nullptr);
    ~SimDesktopServices() override;

    void becomeAccessory() override { m_accessory = true; }
    void activateApplication(qint32 pid) override;
    void activateIgnoringOtherApps() override { ++m_selfActivations; }
    QList<ScreenInfo> screens() const override;
    std::optional<ScreenInfo> mainScreen() const override;
    QPointF pointerPosition() const override { return m_pointer; }
    bool isAnyMouseButtonPressed() const override { return m_buttonPressed; }
    // An item's menu that a press opened.
    bool isOtherMenuOpen() const override;
    std::unique_ptr<StatusItem> createStatusItem(double length,
                                                 const QString& autosaveName) override;
    void bringToFront(QWidget& window) override;
    Rect windowFrame(const QWidget& window) const override;
    void setWindowFrameOrigin(QWidget& window, const QPointF& origin) override;
    // Qt's windows here are never restored by the system and act on the first click.
    void prepareSettingsWindow(QWidget&) override {}
    QList<ScreenInfo> windowScreens() const override;
    QPointF windowPointerPosition() const override;
    QString applicationPath() const override;
    QImage bundleIcon(int pixelSize) const override;
    // A tile in a colour of the application's own, with its name's first letter.
    QImage applicationIcon(qint32 pid, int pixelSize) const override;
    QString bundleVersion() const override;

    // What the person and the system do.
    void setPointerPosition(const QPointF& position) { m_pointer = position; }
    void setMouseButtonPressed(bool pressed) { m_buttonPressed = pressed; }
    void sleepScreens() { Q_EMIT screensDidSleep(); }
    // A change of screen parameters that leaves the list of screens as it was.
    void changeScreenParameters() { Q_EMIT screenParametersChanged(); }
    // The screens change to `screens` (perhaps none), and the system says so.
    void changeScreens(QList<SimScreen> screens);
    void reopen() { Q_EMIT reopenRequested(); }
    // Windows appear on the host's real screens, under its real pointer, as they do when the
    // simulated desktop is shown on a display; the desktop's own screens serve the rest.
    void placeWindowsOnHostScreens(bool onHost) { m_windowsOnHost = onHost; }
    // Later status items come without a button, as a system out of room gives them.
    void setStatusItemsGetButtons(bool withButton) { m_statusItemsGetButtons = withButton; }
    // Later status items have a place only once the event loop has turned this many times:
    // once, as on a Mac, unless told otherwise; never when it is negative.
    void setStatusItemLayoutTurns(int turns) { m_statusItemLayoutTurns = turns; }

    // What the application did.
    bool isAccessory() const { return m_accessory; }
    const QList<qint32>& activatedApplications() const { return m_activated; }
    int selfActivationCount() const { return m_selfActivations; }
    int statusItemCount() const { return m_statusItemCount; }
    // The newest status item that still exists: a second copy's goes with it.
    SimStatusItem* statusItem() const;

private:
    // Qt's global coordinates have their origin at the primary screen's top-left, y down:
    // the screen-space height of that origin, on the screens windows appear on.
    double primaryTop() const;

    SimDesktop& m_desktop;
    QPointF m_pointer;
    bool m_buttonPressed = false;
    bool m_accessory = false;
    bool m_statusItemsGetButtons = true;
    int m_statusItemLayoutTurns = 1;
    bool m_windowsOnHost = false;
    QList<qint32> m_activated;
    int m_selfActivations = 0;
    int m_statusItemCount = 0;
    QList<QPointer<SimStatusItem>> m_statusItems; // in the order they were created
    // The desktop's screens as last read, sharing its list, and what they read as: asked at
    // every interaction tick, the screens are converted again only once the list changed.
    mutable QList<SimScreen> m_screensRead;
    mutable QList<ScreenInfo> m_screenInfos;
};

} // namespace tk
