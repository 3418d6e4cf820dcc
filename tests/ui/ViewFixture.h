#pragma once

#include "inspection/Accessibility.h"
#include "inspection/Inspector.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimPrivacySettings.h"
#include "platform/sim/VirtualTime.h"
#include "settings/FilePanels.h"
#include "settings/Preferences.h"
#include "ui/ChoicePicker.h"
#include "ui/ConfigurationView.h"
#include "visibility/NativeVisibilityBridge.h"
#include "visibility/VisibilityController.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QPalette>
#include <QSemaphore>
#include <QTest>
#include <atomic>
#include <memory>

namespace tk {

// Save panels that answer from a script and note every time they are shown.
class RecordingPanels final : public FilePanels {
public:
    explicit RecordingPanels(QStringList& log) : m_log(log) {}

    std::optional<QString> chooseSaveLocation(const QString& proposedName) override
    {
        m_log.append(QStringLiteral("panel"));
        proposedNames.append(proposedName);
        return next();
    }
    std::optional<QString> chooseFileToOpen() override
    {
        m_log.append(QStringLiteral("panel"));
        return next();
    }

    QList<std::optional<QString>> answers;
    QStringList proposedNames;

private:
    std::optional<QString> next() { return answers.isEmpty() ? std::nullopt : answers.takeFirst(); }

    QStringList& m_log;
};

// What the next scans find. A held scan waits on the pool until it is released.
struct ScanSource {
    ScanResult result;
    std::atomic<bool> held{false};
    QSemaphore gate;
};

inline ExternalItem detected(const std::optional<QString>& bundle, const QString& app)
{
    ExternalItem item;
    item.bundleID = bundle;
    item.app = app;
    item.id = bundle.value_or(QStringLiteral("0")) + QStringLiteral(":0:") + app;
    return item;
}

// A dark palette close to the Mac's dark appearance.
inline QPalette darkPalette()
{
    const QColor text(223, 223, 223);
    const QColor dimmed(112, 112, 112);
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(50, 50, 50));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::AlternateBase, QColor(38, 38, 38));
    dark.setColor(QPalette::Button, QColor(72, 72, 72));
    dark.setColor(QPalette::Light, QColor(100, 100, 100));
    dark.setColor(QPalette::Midlight, QColor(80, 80, 80));
    dark.setColor(QPalette::Mid, QColor(92, 92, 92));
    dark.setColor(QPalette::Dark, QColor(22, 22, 22));
    dark.setColor(QPalette::Shadow, Qt::black);
    dark.setColor(QPalette::Highlight, QColor(10, 132, 255));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::PlaceholderText, QColor(160, 160, 160));
    dark.setColor(QPalette::Link, QColor(64, 156, 255));
    for (QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::BrightText}) {
        dark.setColor(QPalette::Active, role, text);
        dark.setColor(QPalette::Inactive, role, text);
        dark.setColor(QPalette::Disabled, role, dimmed);
    }
    dark.setColor(QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80));
    return dark;
}

// The settings view over a store, an inspector and a visibility controller on the simulated
// desktop; the three actions are counted.
struct ViewFixture {
    ViewFixture()
        : platform(SimPlatform::forTests()), desktop(platform->desktop()), panels(log),
          scans(std::make_shared<ScanSource>()),
          preferences(platform->userDefaults(), platform->loginItems(), panels),
          inspector(
              scanner(scans), [this] { return platform->accessibility().isProcessTrusted(); },
              platform->workspace()),
          visibility(platform->visibilityBridge(), platform->workspace(), platform->time(),
                     [this] { return platform->accessibility().isProcessTrusted(); })
    {
        preferences.setLanguage(QStringLiteral("es"));
        preferences.setNeedsApply(false);
        view = std::make_unique<ConfigurationView>(
            preferences, inspector, visibility,
            ConfigurationView::Actions{[this] { ++refreshes; }, [this] { ++toggles; },
                                       [this] { ++applies; }},
            ConfigurationView::Services{panels, platform->accessibility(),
                                        platform->privacySettings(), platform->visibilityBridge(),
                                        platform->workspace(), {}, {},
                                        [this] { return boundary; }});
        view->resize(ConfigurationView::idealSize);
        view->show();
    }

    ~ViewFixture()
    {
        release();
        view.reset();
    }

    static Inspector::Scanner scanner(const std::shared_ptr<ScanSource>& source)
    {
        return [source](const QList<ScanApp>&) {
            if (source->held.load())
                source->gate.acquire();
            return source->result;
        };
    }

    // Runs a scan that finds `items` and waits for its outcome to be published.
    bool scan(const QList<ExternalItem>& items,
              const QString& report = QStringLiteral("Fecha: hoy"))
    {
        scans->result = {items, report};
        inspector.scan();
        return settled();
    }

    // Starts a scan that stays running until `release`.
    void holdScan()
    {
        scans->held = true;
        inspector.scan();
    }

    void release()
    {
        if (scans->held.exchange(false))
            scans->gate.release();
        settled();
    }

    bool settled()
    {
        const bool ended = QTest::qWaitFor([this] { return !inspector.isScanning(); }, 10000);
        QCoreApplication::processEvents();
        return ended;
    }

    void passTime(double seconds)
    {
        static_cast<VirtualTimeSource&>(platform->time()).advance(seconds);
        QCoreApplication::processEvents();
    }

    template <typename T> T* find(const QString& name) const { return view->findChild<T*>(name); }
    QString labelText(const QString& name) const { return find<QLabel>(name)->text(); }
    QAbstractButton* button(const QString& name) const { return find<QAbstractButton>(name); }
    ChoicePicker* picker(const QString& name) const { return find<ChoicePicker>(name); }

    void changeRecord(const std::function<void(SettingsData&)>& change)
    {
        SettingsData record = preferences.data();
        change(record);
        preferences.setData(record);
    }

    std::unique_ptr<SimPlatform> platform;
    SimDesktop& desktop;
    QStringList log;
    RecordingPanels panels;
    std::shared_ptr<ScanSource> scans;
    Preferences preferences;
    Inspector inspector;
    VisibilityController visibility;
    std::unique_ptr<ConfigurationView> view;
    int refreshes = 0;
    int toggles = 0;
    int applies = 0;
    std::optional<Rect> boundary = Rect{1000.0, 0.0, 22.0, 24.0}; // Tuckaway's icon
};

} // namespace tk
