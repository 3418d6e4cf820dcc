#include "ShellFixture.h"
#include "artwork/StatusGlyph.h"
#include "core/Identity.h"
#include "app/StatusItemPlaceWait.h"
#include "diagnostics/InterfaceReport.h"
#include "inspection/Workspace.h"
#include "platform/sim/ScriptedFilePanels.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QTemporaryDir>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

SimScenario withAnotherCopy()
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    SimApplication copy;
    copy.pid = 7001;
    copy.bundleIdentifier = Identity::bundleIdentifier;
    copy.hasExtrasMenuBar = false;
    scenario.applications.append(copy);
    return scenario;
}

QJsonObject readReport(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

class TestAppDelegate : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void launchSequence();
    void startAction_data();
    void startAction();
    void launchOutcome_data();
    void launchOutcome();
    void session();
    void menuBarOnlyApplicationWhileHidden();
    void settledWindow_data();
    void settledWindow();
    void exportReadsThePlaceOnceLaidOut_data();
    void exportReadsThePlaceOnceLaidOut();
    void settingsWindowAndReport();
    void exportFromTheSettingsWindow();
    void outsideABundle();
};

void TestAppDelegate::launchSequence()
{
    Shell shell;
    QSignalSpy scanning(&shell.app->inspector(), &Inspector::isScanningChanged);
    QCOMPARE(shell.launch(), AppDelegate::LaunchOutcome::Running);
    QVERIFY(shell.services.isAccessory());
    QCOMPARE(shell.item().autosaveName(), u"Tuckaway.main"_s);
    // The first glyph comes with the first delivery, on a later turn; so does the scan.
    QVERIFY(!shell.item().glyph());
    QCOMPARE(scanning.count(), 0);
    QCOMPARE(shell.preferences().hotkeyStatus(), u"Atajo desactivado."_s);
    QCOMPARE(shell.time.activeTimerCount(), 2); // the interaction timer and the start action

    QVERIFY(shell.settled());
    QCOMPARE(shell.item().image(), StatusGlyph::make(false, u"dotsChevron"_s).image);
    // The first scan finds the icons that the laptop's notch keeps out of sight.
    QCOMPARE(shell.item().toolTip(), u"Ocultar grupo · clic derecho para configurar\n4 iconos no "
                                     u"se ven: Lumen, Tallyclock, Tinkertray, App"_s);
    QVERIFY(scanning.count() >= 2);
    shell.pass(1.0);
    QVERIFY(!shell.app->settingsWindow());
    QVERIFY(!shell.visibility().pending() && !shell.visibility().active());
    QCOMPARE(shell.time.activeTimerCount(), 1);

    // A change of language reaches the item on a later turn too.
    shell.preferences().setLanguage(u"en"_s);
    QVERIFY(shell.item().toolTip().startsWith(u"Ocultar grupo · clic derecho para configurar\n"_s));
    shell.drain();
    QCOMPARE(shell.item().toolTip(), u"Hide group · right-click for settings\n4 icons cannot be "
                                     u"seen: Lumen, Tallyclock, Tinkertray, App"_s);
}

// A second after launch; the record is read then, so a change made within that second counts.
void TestAppDelegate::startAction_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("showOnLaunch");
    QTest::addColumn<bool>("changedAfterLaunch");
    QTest::addColumn<bool>("opensSettings"); // otherwise it collapses
    QTest::newRow("--settings wins over start collapsed")
        << QStringList{u"--settings"_s} << false << false << true;
    QTest::newRow("show on launch wins over start collapsed")
        << QStringList() << true << false << true;
    QTest::newRow("start collapsed") << QStringList() << false << false << false;
    QTest::newRow("start collapsed, set after launch") << QStringList() << false << true << false;
}

void TestAppDelegate::startAction()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, showOnLaunch);
    QFETCH(bool, changedAfterLaunch);
    QFETCH(bool, opensSettings);
    Shell shell;
    const auto change = [&](SettingsData& record) {
        record.showOnLaunch = showOnLaunch;
        record.startCollapsed = true;
    };
    if (!changedAfterLaunch) {
        SettingsData record;
        change(record);
        shell.platform->userDefaults().setBytes(Preferences::recordKey,
                                                record.encoded(SettingsData::Form::Stored));
        shell.restart();
    }
    QVERIFY(shell.launched(arguments));
    if (changedAfterLaunch)
        shell.changeRecord(change);

    shell.pass(0.75);
    QVERIFY(!shell.app->settingsWindow());
    QCOMPARE(shell.app->collapseGeneration(), 0);
    shell.pass(0.25);
    QCOMPARE(shell.app->settingsWindow() && shell.app->settingsWindow()->isVisible(),
             opensSettings);
    shell.pass(0.25);
    QCOMPARE(shell.visibility().active(), !opensSettings);
}

// Another copy runs: hand over to it, unless a diagnostic report is asked for.
void TestAppDelegate::launchOutcome_data()
{
    QTest::addColumn<QStringList>("arguments"); // DIR: a new empty folder
    QTest::addColumn<AppDelegate::LaunchOutcome>("outcome");
    QTest::addColumn<int>("exitCode"); // -1: keeps running
    QTest::newRow("hands over") << QStringList() << AppDelegate::LaunchOutcome::HandedOver << 0;
    QTest::newRow("diagnostic report") << QStringList{u"--ui-report"_s, u"DIR/ui.json"_s,
                                                      u"--diagnostic-report"_s, u"DIR/diag.txt"_s}
                                       << AppDelegate::LaunchOutcome::DiagnosticRun << 0;
    QTest::newRow("diagnostic report unwritable")
        << QStringList{u"--diagnostic-report"_s, u"DIR/missing/diag.txt"_s}
        << AppDelegate::LaunchOutcome::DiagnosticRun << 1;
    QTest::newRow("diagnostic switch last: a second full copy")
        << QStringList{u"--diagnostic-report"_s} << AppDelegate::LaunchOutcome::Running << -1;
}

void TestAppDelegate::launchOutcome()
{
    QFETCH(QStringList, arguments);
    QFETCH(AppDelegate::LaunchOutcome, outcome);
    QFETCH(int, exitCode);
    QTemporaryDir folder;
    arguments.replaceInStrings(u"DIR"_s, folder.path());
    Shell shell(withAnotherCopy());
    QCOMPARE(shell.launch(arguments), outcome);
    const bool handedOver = outcome == AppDelegate::LaunchOutcome::HandedOver;
    QCOMPARE(shell.services.activatedApplications(),
             handedOver ? QList<qint32>{7001} : QList<qint32>());
    QCOMPARE(shell.services.statusItemCount(), exitCode < 0 ? 1 : 0);
    if (exitCode >= 0) {
        QTRY_COMPARE(shell.quits->count(), 1);
        QCOMPARE(shell.quits->first().first().toInt(), exitCode);
        QCOMPARE(shell.time.activeTimerCount(), 0);
    }
    QCOMPARE(QFile::exists(folder.filePath(u"diag.txt"_s)), !handedOver && exitCode == 0);
    QVERIFY(!QFile::exists(folder.filePath(u"ui.json"_s)));
    QCOMPARE(QString::fromUtf8(shell.errors.data()).startsWith(u"Error al guardar diagnóstico: "_s),
             exitCode == 1);
    QVERIFY(shell.settled());
    QCOMPARE(shell.quits->count(), exitCode < 0 ? 0 : 1);
}

// The system's notifications; quitting ends the hiding, the shortcut and every timer.
void TestAppDelegate::session()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.pass(1.0); // the start action is over
    shell.changeRecord([](SettingsData& record) { record.hotkey = HotKeySettings(); });
    QVERIFY(shell.collapsed());
    QVERIFY(!shell.hotKeys.registrations().isEmpty());

    // Screen parameters: shown again, no countdown, the generation and notice stay.
    const qint64 generation = shell.app->collapseGeneration();
    shell.services.changeScreenParameters();
    shell.drain();
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.app->expandedAt());
    QCOMPARE(shell.app->collapseGeneration(), generation);
    QCOMPARE(shell.preferences().notice(), u"Configuración aplicada."_s);

    // "Salir de Tuckaway" asks the application to end; the quit sequence follows. While hidden,
    // the hidden icons' submenu stands before it.
    QVERIFY(shell.collapsed());
    shell.click(StatusItemEvent::Kind::RightMouseUp);
    QVERIFY(shell.item().chooseMenuEntry(5));
    QCOMPARE(*shell.quits, QList<QVariantList>{{0}});
    shell.app->applicationWillTerminate();
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.desktop.allowList());
    QCOMPARE(shell.platform->visibilityFramework().liveAssertionCount(), 0);
    QVERIFY(shell.hotKeys.registrations().isEmpty());
    QCOMPARE(shell.time.activeTimerCount(), 0);
}

// An application with nothing but a menu-bar item starts while the group is hidden: the
// assertion is renewed with it allowed, so its icon shows, and while the renewed request is
// out the tooltip says so; when it quits, renewed without it.
void TestAppDelegate::menuBarOnlyApplicationWhileHidden()
{
    Shell shell;
    QVERIFY(shell.launched());
    QVERIFY(shell.collapsed());
    const SimVisibilityFramework& framework = shell.platform->visibilityFramework();
    const int requests = framework.activationRequestCount();
    SimApplication agent;
    agent.bundleIdentifier = u"com.example.Agent"_s;
    agent.items = {SimElement{}};
    const qint32 pid = shell.desktop.launchApplication(agent);
    shell.drain();
    QVERIFY(shell.visibility().active() && shell.visibility().pending());
    QCOMPARE(shell.item().toolTip(), u"Aplicando…"_s);
    shell.pass(1.0);
    QCOMPARE(framework.activationRequestCount(), requests + 1);
    QVERIFY(shell.visibility().active());
    QVERIFY(shell.desktop.allowList()->contains(u"com.example.Agent"_s));
    QVERIFY(shell.desktop.isItemVisible(pid, 0));

    QVERIFY(shell.desktop.quitApplication(pid));
    shell.pass(1.0);
    QCOMPARE(framework.activationRequestCount(), requests + 2);
    QVERIFY(shell.visibility().active());
    QVERIFY(!shell.desktop.allowList()->contains(u"com.example.Agent"_s));
}

// The item's window is in place once it crosses the top edge of a screen: below it in a menu
// bar that shows, above it in one that hides itself. Before that it stands anywhere, or nowhere.
void TestAppDelegate::settledWindow_data()
{
    QTest::addColumn<Rect>("window");
    QTest::addColumn<bool>("settled");
    QTest::newRow("in the menu bar") << Rect{1200, 958, 30, 24} << true;
    QTest::newRow("above a hidden menu bar") << Rect{1200, 982, 30, 24} << true;
    QTest::newRow("on the second screen") << Rect{1600, 576, 30, 24} << true;
    QTest::newRow("left at the origin") << Rect{0, 0, 30, 24} << false;
    QTest::newRow("just below the top") << Rect{1200, 957, 30, 24} << false;
    QTest::newRow("above a screen, clear of it") << Rect{1200, 983, 30, 24} << false;
    QTest::newRow("beside every screen") << Rect{-40, 958, 30, 24} << false;
    QTest::newRow("no width") << Rect{1200, 958, 0, 24} << false;
    QTest::newRow("the null rectangle") << Rect::null() << false;
}

void TestAppDelegate::settledWindow()
{
    QFETCH(Rect, window);
    QFETCH(bool, settled);
    const QList<ScreenInfo> screens = {{Rect{0, 0, 1512, 982}, Rect{0, 0, 1512, 958}},
                                       {Rect{1512, 0, 800, 600}, Rect{1512, 0, 800, 576}}};
    QCOMPARE(StatusItemPlaceWait::isSettled(window, screens), settled);
}

// The export reads Tuckaway's frame once the system has laid the item out, and waits no more
// than a second for it; without it the file has no frame, and standard error says why.
void TestAppDelegate::exportReadsThePlaceOnceLaidOut_data()
{
    QTest::addColumn<int>("layoutTurns"); // negative: never laid out
    QTest::addColumn<bool>("placed");
    QTest::addColumn<bool>("inset"); // the button inset in its window: its frame is written
    QTest::newRow("laid out at once") << 0 << true << false;
    QTest::newRow("after the first turn, as on a Mac") << 1 << true << false;
    QTest::newRow("never") << -1 << false << false;
    QTest::newRow("the button inset in its window") << 1 << true << true;
}

void TestAppDelegate::exportReadsThePlaceOnceLaidOut()
{
    QFETCH(int, layoutTurns);
    QFETCH(bool, placed);
    QFETCH(bool, inset);
    QTemporaryDir folder;
    const QString path = folder.filePath(u"desktop.json"_s);
    Shell shell(SimScenarioLoader::builtIn(), inset);
    shell.services.setStatusItemLayoutTurns(layoutTurns);
    QCOMPARE(shell.launch({u"--export-scenario"_s, path}), AppDelegate::LaunchOutcome::ExportRun);
    // Until the scan has ended, or the wait has given up. The scan lets virtual time pass on
    // its own thread, so the steps count the wait's time.
    int steps = 0;
    while (shell.quits->isEmpty() && shell.errors.data().isEmpty() && steps < 40) {
        Shell::drain();
        shell.time.advance(StatusItemPlaceWait::pollInterval);
        ++steps;
        QTest::qWait(1);
    }
    QVERIFY(placed || steps == 20); // a second
    QTRY_COMPARE(shell.quits->count(), 1);
    QCOMPARE(shell.quits->first().first().toInt(), 0);
    const QJsonObject tuckaway = readReport(path).value(u"tuckaway"_s).toObject();
    const Rect icon = shell.desktop.statusItemFrame().value_or(Rect());
    const Rect button =
        inset ? Rect{icon.x + 2, icon.y + 1, icon.width - 4, icon.height - 2} : icon;
    const QJsonObject frame = tuckaway.value(u"frame"_s).toObject();
    QCOMPARE(frame.isEmpty(), !placed);
    QVERIFY(!placed || (frame.value(u"x"_s).toDouble() == button.x &&
                        frame.value(u"y"_s).toDouble() == button.y &&
                        frame.value(u"width"_s).toDouble() == button.width &&
                        frame.value(u"height"_s).toDouble() == button.height));
    QVERIFY(!tuckaway.contains(u"place"_s));
    QCOMPARE(QString::fromUtf8(shell.errors.data()),
             placed ? QString() : u"Aún no se puede leer la posición del separador.\n"_s);
}

// Centred in the visible frame of the screen under the pointer, else of the status item's
// screen; a larger window keeps its left and bottom edges on the area's. The interface report
// follows it once opened.
void TestAppDelegate::settingsWindowAndReport()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"ui.json"_s);
    const QString picture = folder.filePath(InterfaceReport::imageFileName);
    Shell shell(withSmallSecondScreen(), true);
    QVERIFY(shell.launched({u"--ui-report"_s, path}));
    QVERIFY(!QFile::exists(path)); // nothing before the window has been opened

    shell.preferences().setSection(2);
    shell.click(StatusItemEvent::Kind::RightMouseUp);
    QVERIFY(shell.item().chooseMenuEntry(2)); // "Configuración…"
    shell.drain();
    SettingsWindow* window = shell.app->settingsWindow();
    QVERIFY(window && window->isVisible());
    QCOMPARE(shell.preferences().section(), 2);
    QCOMPARE(shell.services.selfActivationCount(), 1);
    const Rect frame = shell.services.windowFrame(*window);
    const Rect primary = shell.services.screens().at(0).visibleFrame;
    QCOMPARE(frame.midX(), primary.midX());
    QCOMPARE(frame.midY(), primary.midY());

    const Rect button = *shell.item().buttonWindowFrame();
    QJsonObject expected{{u"centerErrorX"_s, 0.0},
                         {u"centerErrorY"_s, 0.0},
                         {u"collapsed"_s, false},
                         {u"language"_s, u"es"_s},
                         {u"notice"_s, QString()},
                         {u"scanning"_s, false},
                         {u"path"_s, QCoreApplication::applicationFilePath()},
                         {u"screen"_s, primary.text()},
                         {u"separatorScreen"_s, buttonInWindow(button).text()},
                         {u"window"_s, frame.text()},
                         {u"separatorWindow"_s, button.text()},
                         {u"status"_s, shell.visibility().message()},
                         {u"symbol"_s, u"dotsChevron"_s},
                         {u"trusted"_s, true}};
    QCOMPARE(readReport(path), expected);

    // Hidden: rewritten with the state and the collapsed picture.
    QVERIFY(shell.collapsed());
    QJsonObject report = readReport(path);
    QCOMPARE(report.value(u"collapsed"_s).toBool(false), true);
    QCOMPARE(report.value(u"notice"_s).toString(), u"Configuración aplicada."_s);
    QImage glyph = StatusGlyph::make(true, u"dotsChevron"_s).image;
    glyph.setDevicePixelRatio(1);
    QCOMPARE(QImage(picture).convertToFormat(QImage::Format_ARGB32),
             glyph.convertToFormat(QImage::Format_ARGB32));

    // Moved right and down (Qt's y grows downwards), then closed: that ends the countdown.
    shell.click();
    QVERIFY(shell.app->expandedAt());
    window->move(window->pos() + QPoint(40, 30));
    report = readReport(path);
    QCOMPARE(report.value(u"centerErrorX"_s).toDouble(), 40.0);
    QCOMPARE(report.value(u"centerErrorY"_s).toDouble(), -30.0);
    QVERIFY(window->close());
    QVERIFY(!shell.app->expandedAt());

    // Opening the application again shows the same window, centred again.
    shell.services.reopen();
    shell.drain();
    QCOMPARE(shell.app->settingsWindow(), window);
    QVERIFY(window->isVisible());
    QCOMPARE(shell.services.windowFrame(*window), frame);

    // The left edge of a screen belongs to it.
    const Rect second = shell.services.screens().at(1).visibleFrame;
    shell.services.setPointerPosition({second.minX(), 300});
    shell.app->openSettings(std::nullopt);
    shell.drain();
    QCOMPARE(shell.services.windowFrame(*window).minX(), second.minX());
    QCOMPARE(shell.services.windowFrame(*window).minY(), second.minY());

    window->resize(500, 400);
    QCOMPARE(window->size(), QSize(820, 560));
    QCOMPARE(window->windowTitle(), u"Configuración de Tuckaway"_s);
    shell.preferences().setLanguage(u"en"_s);
    shell.drain();
    QCOMPARE(window->windowTitle(), u"Tuckaway Settings"_s);
}

// Run outside an application bundle, this copy has no bundle identifier: it looks for a
// running copy by the built-in one (unbundled.script plays the copy alone).
void TestAppDelegate::outsideABundle()
{
    SimScenario scenario = withAnotherCopy();
    scenario.ownBundleIdentifier.reset();
    Shell shell(std::move(scenario));
    QCOMPARE(shell.platform->workspace().mainBundleIdentifier(), std::nullopt);
    QCOMPARE(shell.launch(), AppDelegate::LaunchOutcome::HandedOver);
    QCOMPARE(shell.services.activatedApplications(), QList<qint32>{7001});
}

// The warning first (declined: no panel), then the panel, the scan with the button waiting,
// and a file the loader reads back; a place that cannot be written is said in its words.
void TestAppDelegate::exportFromTheSettingsWindow()
{
    QTemporaryDir folder;
    Shell shell;
    QVERIFY(shell.launched());
    shell.preferences().setSection(3);
    shell.click(StatusItemEvent::Kind::RightMouseUp);
    QVERIFY(shell.item().chooseMenuEntry(2)); // "Configuración…"
    shell.drain();
    auto* button = shell.app->settingsWindow()->findChild<QPushButton*>(u"exportDesktopButton"_s);
    QVERIFY(button && button->isEnabled());
    auto& panels = static_cast<ScriptedFilePanels&>(shell.platform->filePanels());
    button->click();
    QCOMPARE(panels.warnings().size(), 1);
    QVERIFY(panels.proposedNames().isEmpty());

    for (const QString& name : {u"menubar.json"_s, QString()}) {
        panels.chooseNext(true);
        panels.answerNext(folder.filePath(name));
        button->click();
        QVERIFY(!button->isEnabled());
        QTRY_VERIFY(button->isEnabled());
        QVERIFY(name.isEmpty() || shell.preferences().notice() == u"Escritorio exportado."_s);
    }
    QCOMPARE(panels.proposedNames(), QStringList(2, u"tuckaway-menubar.json"_s));
    QFile file(folder.filePath(u"menubar.json"_s));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(SimScenarioLoader::parse(file.readAll(), file.fileName()));
    const QString notice = L10n::text(shell.preferences().notice(), u"en"_s);
    QVERIFY2(notice.startsWith(u"The desktop could not be exported: "_s + folder.path() + u' '),
             qPrintable(notice));
}

QTEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
