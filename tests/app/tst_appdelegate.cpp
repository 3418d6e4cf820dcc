#include "ShellFixture.h"
#include "app/StatusGlyph.h"
#include "core/Identity.h"
#include "diagnostics/InterfaceReport.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

const QString registered = u"Atajo registrado. No se solicita monitorización de entrada."_s;
const QString disabled = u"Atajo desactivado."_s;

SimScenario withAnotherCopy(qint32 pid)
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    SimApplication copy;
    copy.pid = pid;
    copy.bundleIdentifier = Identity::bundleIdentifier;
    copy.name = Identity::name;
    copy.hasExtrasMenuBar = false;
    scenario.applications.append(copy);
    return scenario;
}

HotKeySettings shortcut(const QString& key, const QString& modifiers, const QString& action)
{
    HotKeySettings settings;
    settings.key = key;
    settings.modifiers = modifiers;
    settings.action = action;
    return settings;
}

QJsonObject readReport(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

// Screenshots for a person to look at, in the build's artefacts folder.
void saveArtefact(const QImage& image, const QString& name)
{
    const QString folder = qEnvironmentVariable("TUCKAWAY_ARTIFACTS");
    if (folder.isEmpty() || !QDir().mkpath(folder))
        return;
    image.save(QDir(folder).filePath(name));
}

} // namespace

class TestAppDelegate : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void launchSequence();
    void startAction_data();
    void startAction();
    void startActionReadsTheRecordWhenItRuns();
    void uiReportSwitch_data();
    void uiReportSwitch();
    void diagnosticRun_data();
    void diagnosticRun();
    void singleInstance_data();
    void singleInstance();
    void subscriptionsDeliverLater();
    void shortcutRegistersOnceForEqualSettings();
    void shortcutRetriedAfterFailure();
    void shortcutPresses();
    void workspaceNotifications();
    void quitRestores();
    void reopenOpensSettings();
    void settingsWindow();
    void settingsWindowOnPointerScreen();
    void interfaceReport();
    void interfaceReportUnwritable();
};

void TestAppDelegate::launchSequence()
{
    Shell shell;
    // Creating the application object shows, registers and schedules nothing.
    QCOMPARE(shell.services.statusItemCount(), 0);
    QCOMPARE(shell.time.activeTimerCount(), 0);
    QCOMPARE(shell.hotKeys.operationCount(), 0);
    QSignalSpy scanning(&shell.app->inspector(), &Inspector::isScanningChanged);
    QCOMPARE(shell.launch(), AppDelegate::LaunchOutcome::Running);
    QVERIFY(shell.services.isAccessory());
    QCOMPARE(shell.services.statusItemCount(), 1);
    QCOMPARE(shell.item().length(), 30.0);
    QCOMPARE(shell.item().autosaveName(), u"Tuckaway.main"_s);
    // The first glyph comes with the first delivery, on a later turn; so does the scan.
    QVERIFY(!shell.item().glyph());
    QCOMPARE(scanning.count(), 0);
    QCOMPARE(shell.preferences().hotkeyStatus(), disabled);
    QCOMPARE(shell.time.activeTimerCount(), 2); // the interaction timer and the start action

    QVERIFY(shell.settled());
    QCOMPARE(shell.item().image(), StatusGlyph::make(false, u"dotsChevron"_s).image);
    QCOMPARE(shell.item().toolTip(), u"Ocultar grupo · clic derecho para configurar"_s);
    QVERIFY(scanning.count() >= 2);
    QVERIFY(!shell.app->inspector().items().isEmpty());

    shell.pass(1.0);
    QVERIFY(!shell.app->settingsWindow());
    QVERIFY(!shell.visibility().pending() && !shell.visibility().active());
    QCOMPARE(shell.time.activeTimerCount(), 1);
}

void TestAppDelegate::startAction_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("showOnLaunch");
    QTest::addColumn<bool>("startCollapsed");
    QTest::addColumn<bool>("opensSettings");
    QTest::addColumn<bool>("collapses");
    QTest::newRow("nothing") << QStringList() << false << false << false << false;
    QTest::newRow("--settings") << QStringList{u"--settings"_s} << false << false << true << false;
    QTest::newRow("--settings wins over start collapsed")
        << QStringList{u"--settings"_s} << false << true << true << false;
    QTest::newRow("show on launch") << QStringList() << true << false << true << false;
    QTest::newRow("show on launch wins over start collapsed")
        << QStringList() << true << true << true << false;
    QTest::newRow("start collapsed") << QStringList() << false << true << false << true;
}

void TestAppDelegate::startAction()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, showOnLaunch);
    QFETCH(bool, startCollapsed);
    QFETCH(bool, opensSettings);
    QFETCH(bool, collapses);
    Shell shell;
    SettingsData record;
    record.showOnLaunch = showOnLaunch;
    record.startCollapsed = startCollapsed;
    shell.platform->userDefaults().setBytes(Preferences::recordKey,
                                            record.encoded(SettingsData::Form::Stored));
    shell.restart();
    QVERIFY(shell.launched(arguments));

    shell.pass(0.75);
    QVERIFY(!shell.app->settingsWindow());
    QCOMPARE(shell.app->collapseGeneration(), 0);
    shell.pass(0.25);
    QCOMPARE(shell.app->settingsWindow() && shell.app->settingsWindow()->isVisible(),
             opensSettings);
    shell.pass(0.25);
    QCOMPARE(shell.visibility().active(), collapses);
}

void TestAppDelegate::startActionReadsTheRecordWhenItRuns()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) { record.startCollapsed = true; });
    shell.pass(1.25);
    QVERIFY(shell.visibility().active());
}

void TestAppDelegate::uiReportSwitch_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("path"); // empty: none
    QTest::newRow("with a path") << QStringList{u"--ui-report"_s, u"/tmp/ui.json"_s}
                                 << u"/tmp/ui.json"_s;
    QTest::newRow("last argument") << QStringList{u"--settings"_s, u"--ui-report"_s} << QString();
}

void TestAppDelegate::uiReportSwitch()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, path);
    Shell shell;
    QCOMPARE(shell.launch(arguments), AppDelegate::LaunchOutcome::Running);
    QCOMPARE(shell.app->qaReportPath(), path.isEmpty() ? std::nullopt : std::optional(path));
    QVERIFY(shell.settled());
}

void TestAppDelegate::diagnosticRun_data()
{
    QTest::addColumn<bool>("writable");
    QTest::newRow("written") << true;
    QTest::newRow("unwritable path") << false;
}

void TestAppDelegate::diagnosticRun()
{
    QFETCH(bool, writable);
    QTemporaryDir folder;
    const QString path = folder.filePath(writable ? u"diag.txt"_s : u"missing/diag.txt"_s);
    const QString uiReport = folder.filePath(u"ui.json"_s);
    Shell shell(withAnotherCopy(7001));
    QCOMPARE(shell.launch({u"--ui-report"_s, uiReport, u"--diagnostic-report"_s, path}),
             AppDelegate::LaunchOutcome::DiagnosticRun);
    // The running copy is left alone, and nothing of the application appears.
    QVERIFY(shell.services.activatedApplications().isEmpty());
    QCOMPARE(shell.services.statusItemCount(), 0);
    QTRY_COMPARE(shell.quits->count(), 1);
    QCOMPARE(shell.quits->first().first().toInt(), writable ? 0 : 1);
    QCOMPARE(QFile::exists(path), writable);
    QVERIFY(!QFile::exists(uiReport));
    const QString errors = QString::fromUtf8(shell.errors.data());
    QCOMPARE(errors.startsWith(u"Error al guardar diagnóstico: "_s), !writable);
    QCOMPARE(shell.time.activeTimerCount(), 0);
}

void TestAppDelegate::singleInstance_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("outcome");
    QTest::newRow("hands over") << QStringList() << int(AppDelegate::LaunchOutcome::HandedOver);
    QTest::newRow("diagnostic report as last argument: a second full copy")
        << QStringList{u"--diagnostic-report"_s} << int(AppDelegate::LaunchOutcome::Running);
}

void TestAppDelegate::singleInstance()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, outcome);
    Shell shell(withAnotherCopy(7001));
    QCOMPARE(int(shell.launch(arguments)), outcome);
    if (outcome == int(AppDelegate::LaunchOutcome::HandedOver)) {
        QCOMPARE(shell.services.activatedApplications(), QList<qint32>{7001});
        QCOMPARE(shell.services.statusItemCount(), 0);
        QCOMPARE(shell.quits->count(), 1);
        QCOMPARE(shell.time.activeTimerCount(), 0);
    } else {
        QVERIFY(shell.services.activatedApplications().isEmpty());
        QCOMPARE(shell.services.statusItemCount(), 1);
        QCOMPARE(shell.quits->count(), 0);
    }
    QVERIFY(shell.settled());
}

void TestAppDelegate::subscriptionsDeliverLater()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.preferences().setLanguage(u"en"_s);
    QCOMPARE(shell.item().toolTip(), u"Ocultar grupo · clic derecho para configurar"_s);
    shell.drain();
    QCOMPARE(shell.item().toolTip(), u"Hide group · right-click for settings"_s);

    shell.changeRecord([](SettingsData& record) { record.symbol = u"single"_s; });
    QCOMPARE(shell.item().image(), StatusGlyph::make(false, u"dotsChevron"_s).image);
    shell.drain();
    QCOMPARE(shell.item().image(), StatusGlyph::make(false, u"single"_s).image);
}

void TestAppDelegate::shortcutRegistersOnceForEqualSettings()
{
    Shell shell;
    QVERIFY(shell.launched());
    QSignalSpy statuses(&shell.preferences(), &Preferences::hotkeyStatusChanged);
    shell.changeRecord([](SettingsData& record) {
        record.hotkey = shortcut(u"M"_s, u"controlOptionCommand"_s, u"toggle"_s);
    });
    shell.drain();
    QCOMPARE(shell.preferences().hotkeyStatus(), registered);
    QCOMPARE(shell.hotKeys.registrations().size(), 1);
    const int operations = shell.hotKeys.operationCount();

    // The same record again: the status line is assigned again, nothing is re-registered.
    shell.changeRecord([](SettingsData&) {});
    shell.drain();
    QCOMPARE(statuses.count(), 2);
    QCOMPARE(shell.preferences().hotkeyStatus(), registered);
    QCOMPARE(shell.hotKeys.operationCount(), operations);

    shell.changeRecord([](SettingsData& record) { record.hotkey->enabled = false; });
    shell.drain();
    QCOMPARE(shell.preferences().hotkeyStatus(), disabled);
    QVERIFY(shell.hotKeys.registrations().isEmpty());
}

void TestAppDelegate::shortcutRetriedAfterFailure()
{
    Shell shell;
    QVERIFY(shell.launched());
    // Taken by another application on the default desktop.
    shell.changeRecord([](SettingsData& record) {
        record.hotkey = shortcut(u"B"_s, u"controlShift"_s, u"toggle"_s);
    });
    shell.drain();
    QCOMPARE(shell.preferences().hotkeyStatus(),
             u"No se pudo registrar el atajo (-9878). Puede estar ocupado; cambia la combinación "
             u"o desactívalo."_s);
    const int operations = shell.hotKeys.operationCount();
    shell.changeRecord([](SettingsData&) {});
    shell.drain();
    QVERIFY(shell.hotKeys.operationCount() > operations);
    QVERIFY(shell.hotKeys.registrations().isEmpty());
}

void TestAppDelegate::shortcutPresses()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) {
        record.hotkey = shortcut(u"Space"_s, u"controlOption"_s, u"toggle"_s);
    });
    shell.drain();
    const auto combination =
        *SimHotKeyService::Combination::fromNames(u"Space"_s, u"controlOption"_s);

    QVERIFY(shell.hotKeys.press(combination)); // toggle, like a left click
    QCOMPARE(shell.app->collapseGeneration(), 1);
    QVERIFY(shell.settled());
    shell.pass(0.25);
    QVERIFY(shell.visibility().active());

    shell.changeRecord([](SettingsData& record) { record.hotkey->action = u"showAll"_s; });
    shell.drain();
    QVERIFY(shell.hotKeys.press(combination));
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.app->expandedAt());
    QCOMPARE(shell.preferences().notice(), u"Atajo ejecutado: mostrar todo y pausar."_s);
}

void TestAppDelegate::workspaceNotifications()
{
    Shell shell;
    QVERIFY(shell.launched());
    QVERIFY(shell.collapsed());

    // A new application is hidden along: the assertion is renewed with it.
    const int requests = shell.platform->visibilityFramework().activationRequestCount();
    SimApplication newcomer;
    newcomer.bundleIdentifier = u"com.example.Newcomer"_s;
    shell.desktop.launchApplication(newcomer);
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), requests);
    shell.drain();
    shell.pass(0.25);
    QVERIFY(shell.platform->visibilityFramework().activationRequestCount() > requests);
    QVERIFY(shell.visibility().active());

    // Screen parameters: shown again, no countdown, the generation and notice stay.
    const qint64 generation = shell.app->collapseGeneration();
    shell.preferences().setNotice(u"Configuración aplicada."_s);
    shell.services.changeScreenParameters();
    shell.drain();
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.app->expandedAt());
    QCOMPARE(shell.app->collapseGeneration(), generation);
    QCOMPARE(shell.preferences().notice(), u"Configuración aplicada."_s);

    // Screens asleep: show all and pause.
    QVERIFY(shell.collapsed());
    shell.services.sleepScreens();
    shell.drain();
    QVERIFY(!shell.visibility().active());
    QCOMPARE(shell.preferences().notice(), QString());
    QVERIFY(shell.app->collapseGeneration() > generation);
}

void TestAppDelegate::quitRestores()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) {
        record.hotkey = shortcut(u"M"_s, u"controlOptionCommand"_s, u"toggle"_s);
    });
    shell.pass(1.0); // the start action is over
    QVERIFY(shell.collapsed());
    QVERIFY(shell.desktop.allowList());

    // "Salir de Tuckaway" asks the application to end; the quit sequence follows.
    shell.click(StatusItemEvent::Kind::RightMouseUp);
    QVERIFY(shell.item().chooseMenuEntry(4));
    QCOMPARE(shell.quits->count(), 1);
    QCOMPARE(shell.quits->first().first().toInt(), 0);
    shell.app->applicationWillTerminate();
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.desktop.allowList());
    QCOMPARE(shell.platform->visibilityFramework().liveAssertionCount(), 0);
    QVERIFY(shell.hotKeys.registrations().isEmpty());
    QCOMPARE(shell.hotKeys.handlerCount(), 0);
    QCOMPARE(shell.time.activeTimerCount(), 0);
}

void TestAppDelegate::reopenOpensSettings()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.services.reopen();
    QVERIFY(shell.app->settingsWindow());
    QVERIFY(shell.app->settingsWindow()->isVisible());
    QVERIFY(shell.app->applicationShouldHandleReopen());
}

void TestAppDelegate::settingsWindow()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.preferences().setSection(2);
    shell.app->openConfiguration();
    shell.drain();
    SettingsWindow* window = shell.app->settingsWindow();
    QVERIFY(window && window->isVisible());
    QCOMPARE(window->size(), QSize(860, 620));
    QCOMPARE(window->minimumSize(), QSize(820, 560));
    QCOMPARE(shell.preferences().section(), 2);
    QCOMPARE(shell.services.selfActivationCount(), 1);
    QCOMPARE(shell.app->collapseGeneration(), 1);

    const Rect visible = shell.services.screens().first().visibleFrame;
    const Rect frame = shell.services.windowFrame(*window);
    QCOMPARE(frame.midX(), visible.midX());
    QCOMPARE(frame.midY(), visible.midY());
    saveArtefact(window->grab().toImage(), u"settings-window.png"_s);

    // Closing hides and ends the countdown; the next opening shows the same window again,
    // centred again after it was moved.
    shell.click();
    QVERIFY(shell.settled());
    shell.pass(0.25);
    shell.click();
    QVERIFY(shell.app->expandedAt());
    window->move(10, 10);
    QVERIFY(window->close());
    QVERIFY(!window->isVisible());
    QVERIFY(!shell.app->expandedAt());
    shell.app->openSettings(3);
    shell.drain();
    QCOMPARE(shell.app->settingsWindow(), window);
    QVERIFY(window->isVisible());
    QCOMPARE(shell.preferences().section(), 3);
    QCOMPARE(shell.services.windowFrame(*window), frame);

    // It cannot be made smaller than its minimum.
    window->resize(500, 400);
    QCOMPARE(window->size(), QSize(820, 560));

    QCOMPARE(window->windowTitle(), u"Configuración de Tuckaway"_s);
    shell.preferences().setLanguage(u"en"_s);
    shell.drain();
    QCOMPARE(window->windowTitle(), u"Tuckaway Settings"_s);
}

void TestAppDelegate::settingsWindowOnPointerScreen()
{
    Shell shell;
    QVERIFY(shell.launched());
    const ScreenInfo second = shell.services.screens().at(1);
    // The left edge of a screen belongs to it.
    shell.services.setPointerPosition({second.frame.minX(), second.frame.midY()});
    shell.app->openSettings(std::nullopt);
    shell.drain();
    const Rect frame = shell.services.windowFrame(*shell.app->settingsWindow());
    QCOMPARE(frame.midX(), second.visibleFrame.midX());
    QCOMPARE(frame.midY(), second.visibleFrame.midY());

    // Off every screen: the screen of the status item.
    shell.services.setPointerPosition({-500, -500});
    shell.app->openSettings(std::nullopt);
    shell.drain();
    const Rect again = shell.services.windowFrame(*shell.app->settingsWindow());
    QCOMPARE(again.midX(), shell.services.screens().first().visibleFrame.midX());
}

void TestAppDelegate::interfaceReport()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"ui.json"_s);
    const QString picture = folder.filePath(InterfaceReport::imageFileName);
    Shell shell;
    QVERIFY(shell.launched({u"--ui-report"_s, path}));

    // Nothing before the settings window has ever been opened.
    shell.changeRecord([](SettingsData& record) { record.symbol = u"dots"_s; });
    shell.drain();
    QVERIFY(!QFile::exists(path));

    shell.app->openSettings(std::nullopt);
    shell.drain();
    QJsonObject report = readReport(path);
    QCOMPARE(report.keys(), (QStringList{u"centerErrorX"_s, u"centerErrorY"_s, u"collapsed"_s,
                                         u"language"_s, u"notice"_s, u"path"_s, u"scanning"_s,
                                         u"screen"_s, u"separatorScreen"_s, u"separatorWindow"_s,
                                         u"status"_s, u"symbol"_s, u"trusted"_s, u"window"_s}));
    QCOMPARE(report.value(u"centerErrorX"_s).toDouble(-1), 0.0);
    QCOMPARE(report.value(u"centerErrorY"_s).toDouble(-1), 0.0);
    const ScreenInfo primary = shell.services.screens().first();
    QCOMPARE(report.value(u"screen"_s).toString(), primary.visibleFrame.text());
    QCOMPARE(report.value(u"window"_s).toString(),
             shell.services.windowFrame(*shell.app->settingsWindow()).text());
    QCOMPARE(report.value(u"separatorWindow"_s).toString(),
             shell.item().buttonWindowFrame()->text());
    QCOMPARE(report.value(u"separatorScreen"_s).toString(),
             shell.item().buttonFrameOnScreen()->text());
    QCOMPARE(report.value(u"symbol"_s).toString(), u"dots"_s);
    QCOMPARE(report.value(u"language"_s).toString(), u"es"_s);
    QCOMPARE(report.value(u"collapsed"_s).toBool(true), false);
    QCOMPARE(report.value(u"trusted"_s).toBool(false), true);
    QImage png(picture);
    QCOMPARE(png.size(), StatusGlyph::make(false, u"dots"_s).image.size());

    // Moved: new window and centring values.
    shell.app->settingsWindow()->move(shell.app->settingsWindow()->pos() + QPoint(40, 0));
    report = readReport(path);
    QCOMPARE(report.value(u"centerErrorX"_s).toDouble(), 40.0);
    QCOMPARE(report.value(u"centerErrorY"_s).toDouble(), 0.0);

    // Hidden: rewritten with the state and the collapsed picture.
    shell.app->settingsWindow()->hide();
    QVERIFY(shell.collapsed());
    report = readReport(path);
    QCOMPARE(report.value(u"collapsed"_s).toBool(false), true);
    QCOMPARE(report.value(u"notice"_s).toString(), u"Configuración aplicada."_s);
    QImage expected = StatusGlyph::make(true, u"dots"_s).image;
    expected.setDevicePixelRatio(1);
    QCOMPARE(QImage(picture).convertToFormat(QImage::Format_ARGB32),
             expected.convertToFormat(QImage::Format_ARGB32));
}

void TestAppDelegate::interfaceReportUnwritable()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"missing/ui.json"_s);
    Shell shell;
    QVERIFY(shell.launched({u"--ui-report"_s, path}));
    shell.app->openSettings(std::nullopt);
    shell.drain();
    shell.app->showAll();
    QVERIFY(!QFile::exists(path));
    QVERIFY(!QFile::exists(folder.filePath(u"missing/"_s + InterfaceReport::imageFileName)));
}

QTEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
