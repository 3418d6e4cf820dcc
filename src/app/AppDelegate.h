#pragma once

#include "app/HiddenIcons.h"
#include "app/UnseenIcons.h"
#include "core/Rect.h"
#include "hotkey/GlobalHotKey.h"
#include "inspection/Inspector.h"
#include "settings/Preferences.h"
#include "visibility/BoundaryPolicy.h"
#include "visibility/VisibilityController.h"

#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

class QIODevice;
class QWidget;

namespace tk {

class AppControl;
class DesktopServices;
class Platform;
struct ExportedDesktop;

class SettingsWindow;
struct CommandLine;
class StatusItem;
class StatusItemPlaceWait;
class Timer;
struct ScreenInfo;
struct StatusItemEvent;
struct MenuEntry;

// The application controller: owns every long-lived object, runs the launch, the collapse
// cycle, the status item's look and menu, the settings window and the interface report.
// Main thread only. Nothing is torn down before the process ends; destroying it (tests do)
// drops every subscription, timer and pending job with it.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    enum class LaunchOutcome {
        Running,       // the application runs until it is told to quit
        HandedOver,    // another copy runs: it was brought forward and this one quits
        DiagnosticRun, // the diagnostic report is written, then the application quits
        ExportRun,     // the scenario file is written, then the application quits
    };

    static constexpr double interactionInterval = 0.25;
    static constexpr double startActionDelay = 1.0;
    static constexpr double hoverRevealDelay = 0.6;
    static constexpr double menuBarBandHeight = 30.0;
    // How long a revealed item is waited for in the bar, and how often it is looked for.
    static constexpr double revealWait = 2.0;
    static constexpr double revealRetryInterval = 0.1;
    static inline const QString hiddenIconsTitle = QStringLiteral("Iconos ocultos");

    // `errors` receives the diagnostic run's failure line.
    AppDelegate(Platform& platform, QIODevice& errors, QObject* parent = nullptr);
    ~AppDelegate() override;

    // The launch sequence over the switches of the process arguments.
    LaunchOutcome applicationDidFinishLaunching(const CommandLine& commandLine);
    // The quit sequence: the shortcut unregistered, the timer stopped, every icon shown.
    void applicationWillTerminate();
    // The user opened the running application again: the settings window opens.
    bool applicationShouldHandleReopen();

    // The collapse cycle.
    void clickStatusItem(const StatusItemEvent& event);
    void toggleVisibility();
    void collapse();
    // Lifts the hiding, and the auto-collapse countdown starts.
    void expand();
    void showAll();
    void refresh();
    void tick();
    void shortcutPressed();

    // Reaching one hidden icon: the hiding is lifted, the item is found again by a scan of
    // its application alone and pressed, so that its own menu opens; the group hides again
    // by the countdown, counted from when that menu closes. Failures are said in a notice
    // and hide the group at once. `revealHiddenApplication` reveals the first item of the
    // application (its bundle identifier, or "pid:N" for one without); false (nothing done)
    // when it is not among the hidden ones. `done` hears once of the press (an empty text) or
    // of the failure's notice; nothing when a click or another reveal ends the reveal first.
    using RevealDone = std::function<void(const QString& failure)>;
    bool revealHiddenApplication(const QString& application, RevealDone done = {});
    void revealHiddenIcon(const HiddenIcon& icon, RevealDone done = {});
    // The icons of the hiding in force, right to left; empty while nothing is hidden.
    const QList<HiddenIcon>& hiddenIcons() const { return m_hiddenIcons; }
    bool isRevealing() const { return m_reveal.has_value(); }
    // A reveal waits for its item to come back to the bar, or for the press.
    bool isRevealUnderWay() const { return m_reveal && !m_reveal->pressed; }

    // The status item's look and menu.
    void updateGlyph(bool collapsed, bool pending, const std::optional<QString>& style);
    void showMenu();
    // The "Iconos ocultos" submenu's entries as a menu of their own, at the icon.
    void showHiddenIconsMenu();

    // The settings window.
    void openSettings(std::optional<int> section);
    void openConfiguration() { openSettings(std::nullopt); }
    void center(QWidget& window, const std::optional<ScreenInfo>& screen);
    void applySettings();

    void writeUIReport();

    // The control interface starts listening for this user's clients; a failure is said on
    // the error stream. Only a launch that left the application running has one.
    void listenForControl();
    AppControl* control() const { return m_control.get(); }

    Inspector& inspector() { return m_inspector; }
    Preferences& preferences() { return m_preferences; }
    VisibilityController& visibility() { return m_visibility; }
    GlobalHotKey& hotKey() { return m_hotKey; }
    StatusItem* statusItem() const { return m_item.get(); }
    SettingsWindow* settingsWindow() const { return m_settingsWindow.get(); }
    std::optional<double> expandedAt() const { return m_expandedAt; }
    std::optional<double> hoverBegan() const { return m_hoverBegan; }
    qint64 collapseGeneration() const { return m_collapseGeneration; }
    std::optional<QString> qaReportPath() const { return m_qaReportPath; }
    // The items of the latest scan that stand where they cannot be seen.
    const QList<UnseenIcon>& unseenIcons() const { return m_unseenIcons; }
    // Why each application of the latest collapse in "boundary" mode was hidden or stayed.
    const QList<BoundaryPolicy::Decision>& boundaryDecisions() const { return m_decisions; }

Q_SIGNALS:
    // The application should end with this exit code; the quit sequence follows.
    void quitRequested(int exitCode);
    // A collapse in "boundary" mode has decided; `boundaryDecisions` holds why.
    void boundaryDecided();
    // A scan has been published and `unseenIcons` says what it found out of sight.
    void sightChecked();
    // The interaction timer fired: `tick` runs on a later turn of the main thread. A queued
    // connection carries it, which costs one posted event and nothing else per tick.
    void interactionTimerFired(QPrivateSignal);

private:
    // Launch steps.
    bool handOverToRunningCopy(bool diagnosticRequested);
    void startDiagnosticRun(const QString& path);
    void startExportRun(const QString& path);
    using ExportDone = std::function<void(std::optional<QString> failure)>;
    void exportDesktop(const QString& path, bool placed, ExportDone done);
    ExportedDesktop exportedDesktop(bool placed) const;
    void createStatusItem();
    void subscribe();
    void observe();
    void scheduleInteractionTimer();
    void scheduleStartAction(bool settingsRequested);
    void configureHotKey(const std::optional<HotKeySettings>& settings);

    // Reactions.
    void hidingStateChanged(bool active, bool pending);
    void visibilityMessageChanged(const QString& message);
    void languageChanged();
    void dataChanged(const SettingsData& data);
    void runningApplicationsChanged();
    void screenParametersChanged();
    void checkSight();

    // Collapse cycle steps.
    void finishCollapse(qint64 generation);
    std::optional<Rect> boundary() const;
    std::optional<QSet<QString>> boundaryHiddenSet();
    void runCountdown(double now, const QPointF& pointer);
    bool countdownHeld(const QPointF& pointer) const;

    // Reveal steps.
    void attemptReveal(qint64 generation);
    void revealAnswered(qint64 generation, const PressOutcome& outcome);
    void failReveal(const QString& notice);
    std::vector<MenuEntry> hiddenIconEntries();

    std::optional<ScreenInfo> screenUnderPointer() const;
    std::optional<ScreenInfo> screenHolding(const Rect& frame) const;
    void createSettingsWindow();
    QString text(const QString& spanish) const;
    double now() const;
    // Runs `job` on a later turn of the main thread, unless this object is gone by then.
    void later(std::function<void()> job);

    Platform& m_platform;
    DesktopServices& m_desktop;
    QIODevice& m_errors;

    Inspector m_inspector;
    Preferences m_preferences;
    VisibilityController m_visibility;
    GlobalHotKey m_hotKey;
    std::unique_ptr<StatusItem> m_item;
    std::unique_ptr<SettingsWindow> m_settingsWindow;
    QList<BoundaryPolicy::Decision> m_decisions;
    QList<UnseenIcon> m_unseenIcons;
    QString m_messageBeforeSight; // the status line that naming them replaced
    std::unique_ptr<Timer> m_interactionTimer;
    std::unique_ptr<Timer> m_startAction;
    std::unique_ptr<StatusItemPlaceWait> m_placeWait;
    std::optional<double> m_expandedAt;
    std::optional<double> m_hoverBegan;
    qint64 m_collapseGeneration = 0;
    std::optional<QString> m_qaReportPath;

    struct Reveal {
        HiddenIcon icon;
        QSet<QString> group; // hidden again afterwards
        double deadline = 0; // for the item to stand in the bar again
        bool pressed = false;
        RevealDone done = {};
    };
    QList<HiddenIcon> m_hiddenIcons;
    QSet<QString> m_hiddenGroup; // what the hiding in force hides
    std::optional<Reveal> m_reveal;
    qint64 m_revealGeneration = 0;
    QString m_revealFailure; // the notice that stays once the group is hidden again
    std::unique_ptr<Timer> m_revealRetry;
    std::unique_ptr<AppControl> m_control; // first to go: it calls on everything above
};

} // namespace tk
