#include "AppDelegate.h"

#include "app/AppControl.h"
#include "app/CommandLine.h"
#include "app/DesktopServices.h"
#include "app/SettingsWindow.h"
#include "app/ScenarioExport.h"
#include "inspection/AXScanner.h"
#include "app/StatusItem.h"
#include "app/StatusItemPlaceWait.h"
#include "core/Identity.h"
#include "core/Time.h"
#include "core/WorkerThread.h"
#include "diagnostics/DiagnosticRun.h"
#include "diagnostics/InterfaceReport.h"
#include "inspection/Workspace.h"
#include "l10n/L10n.h"
#include "app/Platform.h"
#include "visibility/NativeVisibilityBridge.h"

#include <QFileInfo>
#include <QImage>
#include <QPointer>

namespace tk {

using namespace Qt::StringLiterals;

namespace {
const QString appliedNotice = u"Configuración aplicada."_s;
const QString applyingNotice = u"Aplicando configuración…"_s;
const QString otherCopyServes = u"Otra copia de Tuckaway atiende las órdenes de control."_s;
} // namespace

AppDelegate::AppDelegate(Platform& platform, QIODevice& errors, QObject* parent)
    : QObject(parent), m_platform(platform), m_desktop(platform.desktopServices()),
      m_errors(errors),
      m_inspector(platform.accessibility(), platform.workspace(), platform.time()),
      m_preferences(platform.userDefaults(), platform.loginItems(), platform.filePanels()),
      m_visibility(platform.visibilityBridge(), platform.workspace(), platform.time(),
                   [this] { return m_inspector.isAuthorized(); }),
      m_hotKey(platform.hotKeys())
{
    // Texts translated without a language named read it from this application's defaults.
    L10n::setStandardDefaults(&platform.userDefaults());
}

AppDelegate::~AppDelegate()
{
    L10n::setStandardDefaults(nullptr);
}

AppDelegate::LaunchOutcome AppDelegate::applicationDidFinishLaunching(const CommandLine& commandLine)
{
    m_desktop.becomeAccessory();
    if (handOverToRunningCopy(!commandLine.checksSingleInstance()))
        return LaunchOutcome::HandedOver;
    if (commandLine.uiReportPath)
        m_qaReportPath = QFileInfo(*commandLine.uiReportPath).absoluteFilePath();
    if (commandLine.diagnosticReportPath) {
        startDiagnosticRun(*commandLine.diagnosticReportPath);
        return LaunchOutcome::DiagnosticRun;
    }
    createStatusItem();
    if (commandLine.exportScenarioPath) {
        startExportRun(*commandLine.exportScenarioPath);
        return LaunchOutcome::ExportRun;
    }
    subscribe();
    observe();
    scheduleInteractionTimer();
    configureHotKey(m_preferences.data().hotkey);
    later([this] { m_inspector.scan(); });
    scheduleStartAction(commandLine.openSettings);
    connect(&m_desktop, &DesktopServices::reopenRequested, this,
            [this] { applicationShouldHandleReopen(); });
    m_control = std::make_unique<AppControl>(*this, m_platform.workspace(), m_platform.time());
    return LaunchOutcome::Running;
}

// Another copy with our bundle identifier is brought forward and this one quits, unless
// a diagnostic report was asked for, which never disturbs a running copy.
bool AppDelegate::handOverToRunningCopy(bool diagnosticRequested)
{
    const Workspace& workspace = m_platform.workspace();
    const QString bundle = workspace.mainBundleIdentifier().value_or(Identity::bundleIdentifier);
    const qint32 ownPid = workspace.currentProcessId();
    for (const RunningApplication& app : workspace.runningApplications()) {
        if (app.bundleIdentifier != bundle || app.pid == ownPid)
            continue;
        if (diagnosticRequested)
            return false;
        m_desktop.activateApplication(app.pid);
        Q_EMIT quitRequested(0);
        return true;
    }
    return false;
}

// Tuckaway's place is part of the file. The system lays a new item out only once the event
// loop has turned: the place is looked for from the next turn on.
void AppDelegate::startExportRun(const QString& path)
{
    later([this, path] {
        m_placeWait = std::make_unique<StatusItemPlaceWait>(
            *m_item, m_desktop, m_platform.time(), [this, path](bool placed) {
                if (!placed)
                    m_errors.write((text(StatusItemPlaceWait::unreadableNotice) + u'\n').toUtf8());
                exportDesktop(path, placed, [this](const std::optional<QString>& failure) {
                    if (failure)
                        m_errors.write((*failure + u'\n').toUtf8());
                    Q_EMIT quitRequested(failure ? 1 : 0);
                });
            });
    });
}

// The scan walks the desktop through a recording of the accessibility interface, off the
// main thread as every scan does; what it read becomes the scenario file.
void AppDelegate::exportDesktop(const QString& path, bool placed, ExportDone done)
{
    auto recording = std::make_shared<RecordingAccessibility>(m_platform.accessibility());
    auto desktop = std::make_shared<ExportedDesktop>(exportedDesktop(placed));
    QList<ScanApp> apps;
    for (const RunningApplication& running : std::as_const(desktop->applications))
        apps << ScanApp{running.pid, running.bundleIdentifier, running.localizedName};
    const TimeSource& time = m_platform.time();
    const QString version = m_platform.workspace().operatingSystemVersionString();
    const bool trusted = desktop->trusted;
    // Only what the walk read is wanted, not what it found.
    auto* walk = new WorkerThread<ScanResult>(
        [recording, apps, &time, version, trusted] {
            return trusted ? AXScanner::scan(apps, ScanEnvironment{*recording, time, version})
                           : ScanResult{};
        },
        this);
    connect(walk, &WorkerThreadBase::finished, this,
            [this, walk, recording, desktop, path, done = std::move(done)] {
                walk->deleteLater();
                const QByteArray json = ScenarioExport::write(*recording, *desktop);
                const std::optional<QString> limit = ScenarioExport::beyondLoaderLimits(json);
                done(limit ? std::optional(text(ScenarioExport::beyondLimitsNotice).arg(*limit))
                           : ScenarioExport::save(path, json));
            });
    walk->start();
}

// Everything but the menu-bar trees, which the scan reads. The applications are those a
// scan walks: every one but this one, in the system's order.
ExportedDesktop AppDelegate::exportedDesktop(bool placed) const
{
    const Workspace& workspace = m_platform.workspace();
    ExportedDesktop desktop;
    desktop.screens = m_desktop.screens();
    desktop.ownPid = workspace.currentProcessId();
    desktop.frontmost = workspace.frontmostApplication();
    if (placed)
        desktop.ownIcon = boundary();
    desktop.trusted = m_inspector.isAuthorized();
    desktop.frameworkAvailable = m_platform.visibilityBridge().isAvailable();
    const std::optional<QString> ownBundle = workspace.mainBundleIdentifier();
    for (const RunningApplication& running : workspace.runningApplications()) {
        if (running.pid != desktop.ownPid && running.bundleIdentifier != ownBundle)
            desktop.applications << running;
    }
    return desktop;
}

void AppDelegate::startDiagnosticRun(const QString& path)
{
    NativeVisibilityBridge& bridge = m_platform.visibilityBridge();
    QPointer<AppDelegate> self(this);
    DiagnosticRun::start(
        m_inspector, path, [&bridge] { return bridge.isAvailable(); }, m_errors,
        [self](bool written) {
            if (self)
                Q_EMIT self->quitRequested(written ? 0 : 1);
        });
}

void AppDelegate::createStatusItem()
{
    m_item =
        m_desktop.createStatusItem(Identity::statusItemLength, Identity::statusItemAutosaveName);
    QPointer<AppDelegate> self(this);
    m_item->setClickHandler([self](const StatusItemEvent& event) {
        if (self)
            self->clickStatusItem(event);
    });
}

// Each subscriber hears the values of the publication on a later turn, never inside the
// assignment that caused it. The hiding state and the message start with their current
// values; the language and the record with their changes only.
void AppDelegate::subscribe()
{
    const auto deliverHidingState = [this] {
        later([this, active = m_visibility.active(), pending = m_visibility.pending()] {
            hidingStateChanged(active, pending);
        });
    };
    connect(&m_visibility, &VisibilityController::activeChanged, this, deliverHidingState);
    connect(&m_visibility, &VisibilityController::pendingChanged, this, deliverHidingState);
    deliverHidingState();

    const auto deliverMessage = [this](const QString& message) {
        later([this, message] { visibilityMessageChanged(message); });
    };
    connect(&m_visibility, &VisibilityController::messageChanged, this, deliverMessage);
    deliverMessage(m_visibility.message());

    // At once, so that what a scan found out of sight is said before what follows from it.
    connect(&m_inspector, &Inspector::itemsChanged, this, &AppDelegate::checkSight);

    connect(&m_preferences, &Preferences::languageChanged, this,
            [this] { later([this] { languageChanged(); }); });
    connect(&m_preferences, &Preferences::dataChanged, this,
            [this](const SettingsData& data) { later([this, data] { dataChanged(data); }); });
}

void AppDelegate::observe()
{
    const auto onMainQueue = [this](auto signal, void (AppDelegate::*reaction)()) {
        connect(&m_desktop, signal, this, reaction, Qt::QueuedConnection);
    };
    onMainQueue(&DesktopServices::applicationLaunched, &AppDelegate::runningApplicationsChanged);
    onMainQueue(&DesktopServices::applicationTerminated, &AppDelegate::runningApplicationsChanged);
    onMainQueue(&DesktopServices::screensDidSleep, &AppDelegate::showAll);
    onMainQueue(&DesktopServices::screenParametersChanged, &AppDelegate::screenParametersChanged);
}

void AppDelegate::scheduleInteractionTimer()
{
    connect(this, &AppDelegate::interactionTimerFired, this, &AppDelegate::tick,
            Qt::QueuedConnection);
    m_interactionTimer =
        m_platform.time().createTimer([this] { Q_EMIT interactionTimerFired(QPrivateSignal()); });
    m_interactionTimer->start(interactionInterval, true);
}

// The record is read when the action runs, so a change made within the second counts.
void AppDelegate::scheduleStartAction(bool settingsRequested)
{
    m_startAction = m_platform.time().createTimer([this, settingsRequested] {
        const SettingsData& record = m_preferences.data();
        if (settingsRequested || record.showOnLaunch)
            openSettings(std::nullopt);
        else if (record.startCollapsed)
            collapse();
    });
    m_startAction->start(startActionDelay, false);
}

void AppDelegate::configureHotKey(const std::optional<HotKeySettings>& settings)
{
    QPointer<AppDelegate> self(this);
    m_preferences.setHotkeyStatus(m_hotKey.configure(settings, [self] {
        if (self)
            self->shortcutPressed();
    }));
}

void AppDelegate::applicationWillTerminate()
{
    if (m_control)
        m_control->stopListening();
    m_hotKey.stop();
    if (m_interactionTimer) {
        m_interactionTimer->stop();
        m_interactionTimer.reset();
    }
    m_visibility.restore();
}

bool AppDelegate::applicationShouldHandleReopen()
{
    openSettings(std::nullopt);
    return true;
}

void AppDelegate::hidingStateChanged(bool active, bool pending)
{
    updateGlyph(active, pending, std::nullopt);
    if (active) {
        m_expandedAt.reset();
        m_preferences.setNeedsApply(false);
        // A reveal that failed says why, also once the group is hidden again.
        m_preferences.setNotice(m_revealFailure.isEmpty() ? appliedNotice : m_revealFailure);
        m_revealFailure.clear();
        // The hidden items make room: what was out of sight is looked at again.
        if (!pending && !m_unseenIcons.isEmpty())
            m_inspector.scan();
    }
    writeUIReport();
}

// While settings are being applied, the controller's progress is the notice.
void AppDelegate::visibilityMessageChanged(const QString& message)
{
    if (!m_visibility.pending() && !m_visibility.active() &&
        m_preferences.notice() == applyingNotice)
        m_preferences.setNotice(message);
}

void AppDelegate::languageChanged()
{
    if (m_settingsWindow)
        m_settingsWindow->setWindowTitle(text(SettingsWindow::titleKey));
    updateGlyph(m_visibility.active(), m_visibility.pending(), std::nullopt);
    writeUIReport();
}

void AppDelegate::dataChanged(const SettingsData& data)
{
    updateGlyph(m_visibility.active(), m_visibility.pending(), data.symbol);
    configureHotKey(data.hotkey);
    writeUIReport();
}

void AppDelegate::runningApplicationsChanged()
{
    m_visibility.runningApplicationsChanged();
}

void AppDelegate::screenParametersChanged()
{
    m_visibility.restore();
    m_expandedAt.reset();
}

void AppDelegate::writeUIReport()
{
    if (!m_qaReportPath || !m_settingsWindow)
        return;
    const Rect frame = m_desktop.windowFrame(*m_settingsWindow);
    const std::optional<ScreenInfo> screen = screenHolding(frame);
    if (!screen)
        return;
    InterfaceReport report;
    report.path = m_desktop.applicationPath();
    report.window = frame;
    report.screen = screen->visibleFrame;
    report.language = m_preferences.language();
    report.symbol = m_preferences.data().symbol;
    report.collapsed = m_visibility.active();
    report.scanning = m_inspector.isScanning();
    report.trusted = m_inspector.isAuthorized();
    report.status = m_visibility.message();
    report.notice = m_preferences.notice();
    if (m_item && m_item->hasButton() && m_item->buttonWindowFrame()) {
        report.separatorWindow = m_item->buttonWindowFrame();
        report.separatorScreen = m_item->buttonFrameOnScreen();
    }
    report.write(*m_qaReportPath, m_item ? m_item->image() : QImage());
}

void AppDelegate::listenForControl()
{
    if (!m_control)
        return;
    const ControlServer::Started started = m_control->listen();
    const QString language = m_preferences.language();
    if (started.outcome == ControlServer::Outcome::Failed)
        m_errors.write((started.failure.in(language) + u'\n').toUtf8());
    else if (started.outcome == ControlServer::Outcome::OtherCopyServes)
        m_errors.write((text(otherCopyServes) + u'\n').toUtf8());
}

QString AppDelegate::text(const QString& spanish) const
{
    return L10n::text(spanish, m_preferences.language());
}

double AppDelegate::now() const
{
    return m_platform.time().now();
}

void AppDelegate::later(std::function<void()> job)
{
    QMetaObject::invokeMethod(this, std::move(job), Qt::QueuedConnection);
}

} // namespace tk
