#include "app/ShellFixture.h"
#include "simulator/SimMenuBarView.h"
#include "simulator/SimulatorPanel.h"
#include "simulator/SimulatorWindow.h"

#include <QApplication>
#include <QDir>
#include <QMenu>
#include <QScreen>
#include <QTemporaryDir>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

// Right to left from 992: Echo [952, 992], Delta [912, 952], Tuckaway [882, 912], Charlie,
// Bravo, Alpha, each 40 wide. A second screen stands to the right of the first.
const QByteArray barScenario = R"({
    "screens": [{"frame": {"x": 0, "y": 0, "width": 1000, "height": 600}},
                {"frame": {"x": 1000, "y": 0, "width": 800, "height": 600}}],
    "tuckaway": {"pid": 50, "place": 2},
    "framework": {"present": true, "answer": "success"},
    "apps": [
        {"pid": 10, "bundle": "com.example.echo", "name": "Echo", "items": [{"role": "AXMenuBarItem", "title": "E", "width": 40, "actions": ["AXPress"]}]},
        {"pid": 11, "bundle": "com.example.delta", "name": "Delta", "items": [{"role": "AXMenuBarItem", "title": "D", "width": 40, "actions": ["AXPress"]}]},
        {"pid": 12, "bundle": "com.example.charlie", "name": "Charlie", "items": [{"role": "AXMenuBarItem", "title": "C", "width": 40, "actions": ["AXPress"]}]},
        {"pid": 13, "bundle": "com.example.bravo", "name": "Bravo", "items": [{"role": "AXMenuBarItem", "title": "B", "width": 40, "actions": ["AXPress"]}]},
        {"pid": 14, "bundle": "com.example.alpha", "name": "Alpha", "items": [{"role": "AXMenuBarItem", "title": "A", "width": 40, "actions": ["AXPress"]}]}
    ]
})";

SimScenario scenario(const QByteArray& json)
{
    auto result = SimScenarioLoader::parse(json, u"test.json"_s);
    if (!result)
        qFatal("%s", qPrintable(result.error().description));
    return *result;
}

// The bar of a screen far too narrow for its items, with Tuckaway's icon pushed off it.
SimScenario narrowScreen()
{
    SimScenario narrow = scenario(barScenario);
    narrow.screens = {SimScreen{Rect{0, 0, 150, 400}, Rect{0, 0, 150, 376}}};
    narrow.statusItemPlace = 5;
    return narrow;
}

QStringList visibleNames(const SimDesktop& desktop)
{
    QStringList names;
    for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems())
        names << desktop.application(item.pid)->name.value_or(QString());
    return names;
}

const SimMenuBarScene::Item* sceneItem(const SimMenuBarScene& scene, const QString& title)
{
    for (const SimMenuBarScene::Item& item : scene.items()) {
        if (item.title == title)
            return &item;
    }
    return nullptr;
}

bool inAnyBand(const SimDesktop& desktop, QPointF pointer)
{
    return std::any_of(desktop.screens().cbegin(), desktop.screens().cend(),
                       [&](const SimScreen& screen) {
                           const Rect& f = screen.frame;
                           return pointer.x() >= f.minX() && pointer.x() <= f.maxX() &&
                                  pointer.y() >= f.maxY() - 30 && pointer.y() <= f.maxY();
                       });
}

// The application launched on a desktop, with the simulator window in front of it.
struct Simulator {
    explicit Simulator(SimScenario world = scenario(barScenario)) : shell(std::move(world))
    {
        if (!shell.launched())
            qFatal("the application did not launch");
        window = std::make_unique<SimulatorWindow>(*shell.platform, *shell.app);
        window->resize(780, 460);
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get()))
            qFatal("the simulator window was not shown");
        Shell::drain();
    }

    SimMenuBarView& view() const { return window->menuBarView(); }
    QPoint onIcon() const { return view().scene().ownItemRect()->center().toPoint(); }

    void click(Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(&view(), button, modifiers, onIcon());
        shell.settled();
        shell.pass(0.25);
    }

    void commandDrag(QPoint to)
    {
        QTest::mousePress(&view(), Qt::LeftButton, Qt::ControlModifier, onIcon());
        QTest::mouseMove(&view(), to);
        QTest::mouseRelease(&view(), Qt::LeftButton, Qt::ControlModifier, to);
        Shell::drain();
    }

    Shell shell;
    std::unique_ptr<SimulatorWindow> window;
};

} // namespace

class TestSimulatorWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void clickHidesTheLeftGroupAndShowsItAgain();
    void commandDragMovesTheBoundary();
    void dropsOffThePrimaryBarAreRefused_data();
    void dropsOffThePrimaryBarAreRefused();
    void pointerFollowsTheMouse_data();
    void pointerFollowsTheMouse();
    void hoverRevealsAndHeldButtonCounts();
    void menuOpensAtTheIcon_data();
    void menuOpensAtTheIcon();
    void menuClosedWithoutChoiceIsDismissed();
    void settingsWindowOnTheHostScreen();
    void panelChangesTheDesktop();
    void quittingTuckawayFromThePanelIsRefused();
    void fiftyApplicationsAtOnce();
    void iconPushedOffANarrowScreenStaysReachable();
    void screenshots();
};

void TestSimulatorWindow::clickHidesTheLeftGroupAndShowsItAgain()
{
    Simulator sim;
    const QStringList all = visibleNames(sim.shell.desktop);
    QCOMPARE(all, (QStringList{u"Echo"_s, u"Delta"_s, u"Tuckaway"_s, u"Charlie"_s, u"Bravo"_s,
                               u"Alpha"_s}));

    sim.click();
    QVERIFY2(sim.shell.visibility().active(), qPrintable(sim.shell.preferences().notice()));
    QCOMPARE(visibleNames(sim.shell.desktop), (QStringList{u"Echo"_s, u"Delta"_s, u"Tuckaway"_s}));
    QCOMPARE(sim.view().scene().items().size(), 3); // the drawing follows

    sim.click();
    QVERIFY(!sim.shell.visibility().active());
    QCOMPARE(visibleNames(sim.shell.desktop), all);
    QCOMPARE(sim.view().scene().items().size(), 6);
}

void TestSimulatorWindow::commandDragMovesTheBoundary()
{
    Simulator sim;
    // Between Bravo and Alpha: Alpha alone stands left of the icon afterwards.
    const QRectF bravo = sceneItem(sim.view().scene(), u"B"_s)->rect;
    sim.commandDrag(QPointF(bravo.left(), bravo.center().y()).toPoint());
    QCOMPARE(sim.shell.desktop.statusItemPlace(), 4);
    QVERIFY(!sim.shell.visibility().active() && !sim.shell.visibility().pending());
    QCOMPARE(sim.shell.item().menuCount(), 0); // the drag is not a click

    sim.click();
    QCOMPARE(visibleNames(sim.shell.desktop),
             (QStringList{u"Echo"_s, u"Delta"_s, u"Charlie"_s, u"Bravo"_s, u"Tuckaway"_s}));
}

void TestSimulatorWindow::dropsOffThePrimaryBarAreRefused_data()
{
    QTest::addColumn<QString>("where");
    QTest::addColumn<QString>("message");
    QTest::newRow("desk below the bar") << u"desk"_s << u"no sale de la barra"_s;
    QTest::newRow("outside the window") << u"outside"_s << u"no sale de la barra"_s;
    QTest::newRow("second screen's bar") << u"second"_s << u"pantalla principal"_s;
}

void TestSimulatorWindow::dropsOffThePrimaryBarAreRefused()
{
    QFETCH(QString, where);
    QFETCH(QString, message);
    Simulator sim;
    const SimMenuBarScene& scene = sim.view().scene();
    QPoint to(-40, -40);
    if (where == u"desk"_s)
        to = scene.strips().at(0).area.bottomLeft().toPoint() + QPoint(20, -3);
    else if (where == u"second"_s)
        to = scene.strips().at(1).bar.center().toPoint();
    sim.commandDrag(to);
    QCOMPARE(sim.shell.desktop.statusItemPlace(), 2);
    QVERIFY2(sim.window->panel().message().contains(message),
             qPrintable(sim.window->panel().message()));
    QVERIFY(sim.view().scene().ownItemRect()); // back in its place, drawn
}

void TestSimulatorWindow::pointerFollowsTheMouse_data()
{
    QTest::addColumn<double>("depth"); // points below the top of the primary screen
    QTest::addColumn<bool>("inBand");
    QTest::newRow("on the bar") << 10.0 << true;
    QTest::newRow("under the bar, in the band") << 28.0 << true;
    QTest::newRow("under the band") << 36.0 << false;
}

void TestSimulatorWindow::pointerFollowsTheMouse()
{
    QFETCH(double, depth);
    QFETCH(bool, inBand);
    Simulator sim;
    const SimMenuBarScene::Strip& primary = sim.view().scene().strips().at(0);
    const double scale = sim.view().scene().scale();
    const QPointF at(primary.area.left() + 100 * scale, primary.area.top() + depth * scale);
    QTest::mouseMove(&sim.view(), at.toPoint());
    const QPointF pointer = sim.shell.services.pointerPosition();
    QCOMPARE(inAnyBand(sim.shell.desktop, pointer), inBand);
    QVERIFY(qAbs(pointer.x() - 100) <= 1.0 / scale);

    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&sim.view(), &leave);
    QVERIFY(!inAnyBand(sim.shell.desktop, sim.shell.services.pointerPosition()));
}

void TestSimulatorWindow::hoverRevealsAndHeldButtonCounts()
{
    Simulator sim;
    sim.shell.changeRecord([](SettingsData& record) { record.hoverReveal = true; });
    sim.shell.settled();
    sim.click();
    QVERIFY(sim.shell.visibility().active());

    // Resting on the icon: the pointer is exactly where the status item stands.
    QTest::mouseMove(&sim.view(), sim.onIcon());
    const Rect icon = *sim.shell.item().buttonWindowFrame();
    const QPointF pointer = sim.shell.services.pointerPosition();
    QVERIFY(pointer.x() >= icon.minX() && pointer.x() < icon.maxX());
    QVERIFY(pointer.y() >= icon.minY() && pointer.y() < icon.maxY());
    sim.shell.pass(1.0);
    QVERIFY(!sim.shell.visibility().active());

    QTest::mousePress(&sim.view(), Qt::LeftButton, {}, QPoint(2, 2));
    QVERIFY(sim.shell.services.isAnyMouseButtonPressed());
    QTest::mouseRelease(&sim.view(), Qt::LeftButton, {}, QPoint(2, 2));
    QVERIFY(!sim.shell.services.isAnyMouseButtonPressed());
}

void TestSimulatorWindow::menuOpensAtTheIcon_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::newRow("right click") << Qt::RightButton << Qt::KeyboardModifiers();
    QTest::newRow("option click") << Qt::LeftButton << Qt::KeyboardModifiers(Qt::AltModifier);
}

void TestSimulatorWindow::menuOpensAtTheIcon()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    Simulator sim;
    sim.click();
    QVERIFY(sim.shell.visibility().active());

    QTest::mouseClick(&sim.view(), button, modifiers, sim.onIcon());
    QMenu* menu = sim.window->openMenu();
    QVERIFY(menu && menu->isVisible());
    // Under the icon's left edge, unless that would run past the display's right edge.
    const QPoint anchor = *sim.view().menuAnchor();
    const QRect display = sim.window->screen()->geometry();
    QCOMPARE(menu->pos().y(), anchor.y());
    QCOMPARE(menu->pos().x(), qMin(anchor.x(), display.right() + 1 - menu->width()));
    QVERIFY(sim.shell.visibility().active()); // the menu changes nothing by itself
    QStringList titles;
    for (QAction* action : menu->actions())
        titles << action->text();
    QCOMPARE(titles, (QStringList{u"Mostrar iconos ocultos"_s, u"Mostrar todo y pausar"_s,
                                  u"Configuración…\t⌘,"_s, QString(), u"Salir de Tuckaway\t⌘Q"_s}));

    QTest::mouseClick(menu, Qt::LeftButton, {},
                      menu->actionGeometry(menu->actions().at(1)).center());
    sim.shell.settled();
    QVERIFY(!sim.shell.visibility().active());
    QVERIFY(!sim.shell.app->expandedAt()); // paused: no countdown
    QVERIFY(!sim.shell.item().openMenu());
    QTRY_VERIFY(!sim.window->openMenu());
}

void TestSimulatorWindow::menuClosedWithoutChoiceIsDismissed()
{
    Simulator sim;
    QTest::mouseClick(&sim.view(), Qt::RightButton, {}, sim.onIcon());
    QVERIFY(sim.window->openMenu());
    QVERIFY(sim.shell.item().openMenu());
    sim.window->openMenu()->hide();
    QTRY_VERIFY(!sim.shell.item().openMenu());
    QVERIFY(!sim.window->openMenu());
    sim.click(); // plain clicks still reach the application
    QVERIFY(sim.shell.visibility().active());
}

// Shown on a display, the settings window is centred on the real screen, not on the
// simulated ones, and the interface report describes where it really is.
void TestSimulatorWindow::settingsWindowOnTheHostScreen()
{
    Shell shell(scenario(barScenario));
    QTemporaryDir folder;
    const QString report = folder.filePath(u"ui.json"_s);
    QVERIFY(shell.launched({u"--ui-report"_s, report}));
    shell.services.placeWindowsOnHostScreens(true);
    shell.app->openSettings(std::nullopt);
    shell.settled();
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect window = shell.app->settingsWindow()->frameGeometry();
    QVERIFY(qAbs(window.left() - std::max(area.left(), area.center().x() - window.width() / 2)) <= 1);
    QVERIFY(window.bottom() <= area.bottom());
    QFile written(report);
    QVERIFY(written.open(QIODevice::ReadOnly));
    const QByteArray text = written.readAll();
    QVERIFY2(text.contains(QByteArray::number(area.width())), text.constData());
    QVERIFY2(!text.contains("1000"), text.constData()); // the simulated screen's width
}

void TestSimulatorWindow::panelChangesTheDesktop()
{
    Simulator sim;
    SimulatorPanel& panel = sim.window->panel();
    panel.setAccessibilityGranted(false);
    QVERIFY(!sim.shell.desktop.isTrusted());
    sim.click();
    QVERIFY(!sim.shell.visibility().active());
    QVERIFY(sim.shell.preferences().notice().startsWith(u"No se aplicó: falta Accesibilidad"_s));
    panel.setAccessibilityGranted(true);

    panel.setFrameworkMode(SimulatorPanel::FrameworkMode::Fails);
    QCOMPARE(sim.shell.desktop.frameworkBehaviour().answer, SimFrameworkBehaviour::Answer::Error);
    sim.click();
    QVERIFY(!sim.shell.visibility().active());
    QCOMPARE(visibleNames(sim.shell.desktop).size(), 6);

    panel.setFrameworkMode(SimulatorPanel::FrameworkMode::Absent);
    QVERIFY(!sim.shell.desktop.frameworkBehaviour().present);
    panel.setFrameworkMode(SimulatorPanel::FrameworkMode::Answers);
    sim.click();
    QVERIFY(sim.shell.visibility().active());

    const qint32 bravo = 13;
    panel.quitApplication(bravo);
    QVERIFY(!sim.shell.desktop.application(bravo));
    QVERIFY(panel.message().contains(u"Bravo"_s));
    panel.launch(0, 1);
    sim.shell.settled();
    QVERIFY(visibleNames(sim.shell.desktop).contains(u"Beacon"_s)); // launched after the hiding

    // What the system does around the application.
    panel.sleepScreens();
    sim.shell.settled();
    QVERIFY(!sim.shell.visibility().active());
    panel.pressShortcut();
    QVERIFY(panel.message().contains(u"atajo"_s));
    panel.launchSecondCopy();
    QCOMPARE(sim.shell.services.activatedApplications(), QList<qint32>{sim.shell.desktop.ownPid()});
    QCOMPARE(sim.shell.services.statusItemCount(), 1);
    panel.reopen();
    sim.shell.settled();
    QVERIFY(sim.shell.app->settingsWindow() && sim.shell.app->settingsWindow()->isVisible());
}

void TestSimulatorWindow::quittingTuckawayFromThePanelIsRefused()
{
    Simulator sim;
    sim.click();
    sim.window->panel().quitApplication(sim.shell.desktop.ownPid());
    QVERIFY(sim.shell.desktop.application(sim.shell.desktop.ownPid()));
    QVERIFY(sim.window->panel().message().contains(u"«Salir de Tuckaway»"_s));
    QCOMPARE(sim.shell.quits->size(), 0);
    QVERIFY(sim.shell.visibility().active());
}

void TestSimulatorWindow::fiftyApplicationsAtOnce()
{
    Simulator sim;
    sim.click();
    const int before = int(sim.shell.desktop.applications().size());
    sim.window->panel().launch(3, 80);
    sim.shell.settled();
    sim.shell.pass(0.5);
    QCOMPARE(int(sim.shell.desktop.applications().size()), before + SimulatorPanel::maximumLaunch);
    QVERIFY(sim.window->panel().message().contains(u"como mucho 50"_s));
    QVERIFY(sim.shell.visibility().active()); // still hiding the same group
    QVERIFY(!visibleNames(sim.shell.desktop).contains(u"Alpha"_s));
    QVERIFY(visibleNames(sim.shell.desktop).contains(u"Quillnote 50"_s));
    // A hundred new items cannot fit on a 1000-point bar; they stand off screen, in reach.
    QVERIFY(sim.view().scene().offScreenCount() > 0);
    QVERIFY(!sim.window->panel().overflowWarning().isEmpty());
    sim.click();
    QVERIFY(!sim.shell.visibility().active());
    QVERIFY(visibleNames(sim.shell.desktop).contains(u"Alpha"_s));
}

void TestSimulatorWindow::iconPushedOffANarrowScreenStaysReachable()
{
    Simulator sim(narrowScreen());
    const SimMenuBarScene& scene = sim.view().scene();
    QVERIFY(scene.ownItemOffScreen());
    QVERIFY(scene.overflowArea().contains(*scene.ownItemRect()));
    QVERIFY(sim.window->panel().overflowWarning().contains(u"Tuckaway"_s));

    // Still clickable where it is drawn: every application stands right of it.
    sim.click();
    QCOMPARE(sim.shell.preferences().notice(),
             u"No se detectaron apps ocultables a la izquierda. Usa ⌘-arrastrar para colocar "
             "el separador."_s);

    sim.window->panel().bringIconBack();
    QCOMPARE(sim.shell.desktop.statusItemPlace(), 0);
    QVERIFY(!sim.view().scene().ownItemOffScreen());
    QVERIFY(!sim.window->panel().overflowWarning().contains(u"Tuckaway"_s));
}

// For a person to look at: the window in both languages, collapsed.
void TestSimulatorWindow::screenshots()
{
    const QString folder = qEnvironmentVariable("TUCKAWAY_ARTIFACTS");
    if (folder.isEmpty())
        QSKIP("TUCKAWAY_ARTIFACTS names no folder");
    QDir().mkpath(folder);
    for (const QString& language : {u"es"_s, u"en"_s}) {
        Simulator sim(SimScenarioLoader::builtIn());
        sim.shell.preferences().setLanguage(language);
        sim.window->resize(1560, 640);
        sim.click();
        Shell::drain();
        QVERIFY(sim.window->grab().save(
            QDir(folder).filePath(u"simulator-window-%1.png"_s.arg(language))));
    }
}

QTEST_MAIN(TestSimulatorWindow)
#include "tst_simulatorwindow.moc"
