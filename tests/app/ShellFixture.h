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
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <memory>

namespace tk {

// The application on the simulated desktop with virtual time, as a person would use it.
struct Shell {
    explicit Shell(SimScenario scenario = SimScenarioLoader::builtIn())
        : platform(SimPlatform::forTests(std::move(scenario))),
          time(dynamic_cast<VirtualTimeSource&>(platform->time())), desktop(platform->desktop()),
          services(platform->simulatedDesktopServices()), hotKeys(*platform->simulatedHotKeys())
    {
        errors.open(QIODevice::ReadWrite);
        platform->userDefaults().setString(L10n::languageKey, QStringLiteral("es"));
        app = std::make_unique<AppDelegate>(*platform, errors);
        quits = std::make_unique<QSignalSpy>(app.get(), &AppDelegate::quitRequested);
    }

    // A new application object over the same desktop, as a later launch would find it.
    void restart()
    {
        quits.reset();
        app.reset();
        app = std::make_unique<AppDelegate>(*platform, errors);
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

    // Until no scan runs and nothing is left to deliver; time stands still meanwhile,
    // except what the scan itself takes.
    bool settled()
    {
        drain();
        const bool ended =
            QTest::qWaitFor([this] { return !app->inspector().isScanning(); }, 30000);
        drain();
        return ended;
    }

    // Lets `seconds` pass in steps of one interaction tick, each step's work done before the
    // next one starts, as on a real main thread.
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
    VirtualTimeSource& time;
    SimDesktop& desktop;
    SimDesktopServices& services;
    SimHotKeyService& hotKeys;
    QBuffer errors;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<QSignalSpy> quits;
};

// Keeps every scan waiting in the thread pool until released, so that a test can act while
// one runs. Release it before the application goes away: the inspector waits for its walk.
class HeldScans {
public:
    HeldScans() : m_previousMaximum(QThreadPool::globalInstance()->maxThreadCount())
    {
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        QThreadPool::globalInstance()->start([this] {
            m_started.release();
            m_gate.acquire();
        });
        m_started.acquire();
    }
    ~HeldScans()
    {
        release();
        QThreadPool::globalInstance()->waitForDone();
        QThreadPool::globalInstance()->setMaxThreadCount(m_previousMaximum);
    }
    HeldScans(const HeldScans&) = delete;
    HeldScans& operator=(const HeldScans&) = delete;

    void release()
    {
        if (!m_released)
            m_gate.release();
        m_released = true;
    }

private:
    int m_previousMaximum;
    QSemaphore m_started;
    QSemaphore m_gate;
    bool m_released = false;
};

} // namespace tk
