#pragma once

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/DesktopServices.h"
#include "app/SettingsWindow.h"
#include "core/UserDefaults.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimHotKeyService.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"
#include "platform/sim/SimStatusItem.h"
#include "platform/sim/SimVisibilityFramework.h"
#include "platform/sim/VirtualTime.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>
#include <memory>

namespace tk {

// The button inset in its window, so that the two frames differ, as they may on a Mac.
inline Rect buttonInWindow(const Rect& window)
{
    return {window.x + 2, window.y + 1, window.width - 4, window.height - 2};
}

class InsetButtonItem final : public StatusItem {
public:
    explicit InsetButtonItem(std::unique_ptr<StatusItem> item) : m_item(std::move(item)) {}

    bool hasButton() const override { return m_item->hasButton(); }
    void setImage(const GlyphImage& glyph) override { m_item->setImage(glyph); }
    QImage image() const override { return m_item->image(); }
    void setToolTip(const QString& text) override { m_item->setToolTip(text); }
    void setClickHandler(ClickHandler handler) override { m_item->setClickHandler(handler); }
    std::optional<Rect> buttonWindowFrame() const override { return m_item->buttonWindowFrame(); }
    std::optional<Rect> buttonFrameOnScreen() const override
    {
        const std::optional<Rect> window = m_item->buttonWindowFrame();
        return window ? std::optional(buttonInWindow(*window)) : std::nullopt;
    }
    void popUpMenu(const QList<MenuEntry>& menu) override { m_item->popUpMenu(menu); }

private:
    std::unique_ptr<StatusItem> m_item;
};

// The default desktop with a second screen lower than the first, smaller than settings.
inline SimScenario withSmallSecondScreen()
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    scenario.screens[1].frame = Rect{1512, 0, 800, 600};
    scenario.screens[1].visibleFrame = Rect{1512, 0, 800, 570};
    return scenario;
}

// The simulated platform, whose desktop services hand out status items with an inset button.
class InsetButtonPlatform final : public DesktopServices, public ForwardingPlatform {
public:
    explicit InsetButtonPlatform(SimPlatform& sim)
        : ForwardingPlatform(sim), m_desktop(sim.simulatedDesktopServices())
    {
        for (auto signal :
             {&DesktopServices::applicationLaunched, &DesktopServices::applicationTerminated,
              &DesktopServices::screensDidSleep, &DesktopServices::screenParametersChanged,
              &DesktopServices::reopenRequested})
            connect(&m_desktop, signal, this, signal);
    }

    DesktopServices& desktopServices() override { return *this; }

    void becomeAccessory() override { m_desktop.becomeAccessory(); }
    void activateApplication(qint32 pid) override { m_desktop.activateApplication(pid); }
    void activateIgnoringOtherApps() override { m_desktop.activateIgnoringOtherApps(); }
    QList<ScreenInfo> screens() const override { return m_desktop.screens(); }
    std::optional<ScreenInfo> mainScreen() const override { return m_desktop.mainScreen(); }
    QPointF pointerPosition() const override { return m_desktop.pointerPosition(); }
    bool isAnyMouseButtonPressed() const override { return m_desktop.isAnyMouseButtonPressed(); }
    bool isOtherMenuOpen() const override { return m_desktop.isOtherMenuOpen(); }
    std::unique_ptr<StatusItem> createStatusItem(double length, const QString& name) override
    {
        return std::make_unique<InsetButtonItem>(m_desktop.createStatusItem(length, name));
    }
    void bringToFront(QWidget& window) override { m_desktop.bringToFront(window); }
    Rect windowFrame(const QWidget& window) const override { return m_desktop.windowFrame(window); }
    void setWindowFrameOrigin(QWidget& window, const QPointF& origin) override
    {
        m_desktop.setWindowFrameOrigin(window, origin);
    }
    void prepareSettingsWindow(QWidget& w) override { m_desktop.prepareSettingsWindow(w); }
    QString applicationPath() const override { return m_desktop.applicationPath(); }
    QImage bundleIcon(int pixelSize) const override { return m_desktop.bundleIcon(pixelSize); }
    QImage applicationIcon(qint32 pid, int pixelSize) const override
    {
        return m_desktop.applicationIcon(pid, pixelSize);
    }
    QString bundleVersion() const override { return m_desktop.bundleVersion(); }

private:
    SimDesktopServices& m_desktop;
};

// The application on the simulated desktop with virtual time, as a person would use it.
struct Shell {
    explicit Shell(SimScenario scenario = SimScenarioLoader::builtIn(), bool insetButton = false)
        : platform(SimPlatform::forTests(std::move(scenario))), insetPlatform(*platform),
          appPlatform(insetButton ? static_cast<Platform&>(insetPlatform) : *platform),
          time(dynamic_cast<VirtualTimeSource&>(platform->time())), desktop(platform->desktop()),
          services(platform->simulatedDesktopServices()), hotKeys(platform->simulatedHotKeys())
    {
        errors.open(QIODevice::ReadWrite);
        platform->userDefaults().setString(L10n::languageKey, QStringLiteral("es"));
        restart();
    }

    // A new application object over the same desktop, as a later launch would find it.
    void restart()
    {
        quits.reset();
        app.reset();
        app = std::make_unique<AppDelegate>(appPlatform, errors);
        quits = std::make_unique<QSignalSpy>(app.get(), &AppDelegate::quitRequested);
    }

    ~Shell()
    {
        quits.reset();
        app.reset();
        drain();
    }

    AppDelegate::LaunchOutcome launch(QStringList arguments = {})
    {
        arguments.prepend(QStringLiteral("/Applications/Tuckaway.app/Contents/MacOS/Tuckaway"));
        return app->applicationDidFinishLaunching(CommandLine::parse(arguments));
    }

    // Launched, first deliveries made and the initial scan over.
    bool launched(QStringList arguments = {})
    {
        return launch(std::move(arguments)) == AppDelegate::LaunchOutcome::Running && settled();
    }

    SimStatusItem& item() const { return *services.statusItem(); }
    Preferences& preferences() const { return app->preferences(); }
    VisibilityController& visibility() const { return app->visibility(); }

    // Runs what the main thread has been handed, including what that hands on.
    static void drain()
    {
        for (int i = 0; i < 8; ++i)
            QCoreApplication::processEvents();
    }

    // Until no scan runs and nothing is left to deliver; virtual time stands still.
    bool settled()
    {
        drain();
        const bool ended =
            QTest::qWaitFor([this] { return !app->inspector().isScanning(); }, 30000);
        drain();
        return ended;
    }

    // Lets `seconds` pass a tick at a time, each tick's work done before the next one.
    void pass(double seconds)
    {
        const double end = time.now() + seconds;
        while (time.now() + 1e-9 < end) {
            time.advance(std::min(AppDelegate::interactionInterval, end - time.now()));
            settled();
        }
    }

    void click(StatusItemEvent::Kind kind = StatusItemEvent::Kind::LeftMouseUp, bool option = false)
    {
        StatusItemEvent event;
        event.kind = kind;
        event.option = option;
        item().click(event);
    }

    // A left click that ends with the group hidden.
    bool collapsed()
    {
        click();
        settled();
        pass(0.25);
        return visibility().active() && !visibility().pending();
    }

    void changeRecord(const std::function<void(SettingsData&)>& change)
    {
        SettingsData record = preferences().data();
        change(record);
        preferences().setData(record);
    }

    // The middle of Tuckaway's icon, in screen space.
    QPointF onIcon() const
    {
        const Rect frame = *item().buttonWindowFrame();
        return {frame.midX(), frame.midY()};
    }

    std::unique_ptr<SimPlatform> platform;
    InsetButtonPlatform insetPlatform;
    Platform& appPlatform;
    VirtualTimeSource& time;
    SimDesktop& desktop;
    SimDesktopServices& services;
    SimHotKeyService& hotKeys;
    QBuffer errors;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<QSignalSpy> quits;
};

} // namespace tk
