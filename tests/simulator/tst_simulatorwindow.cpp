#include "app/ShellFixture.h"
#include "simulator/SimMenuBarView.h"
#include "simulator/SimulatorPanel.h"
#include "simulator/SimulatorWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QDir>
#include <QMenu>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

// Right to left from 992: Echo [952, 992], Delta [912, 952], Tuckaway [882, 912], Charlie,
// Bravo, Alpha, each 40 wide. A second screen stands to the right of the first. The framework
// answers at once, and Alpha has a bundle identifier.
SimScenario barScenario()
{
    SimScenario bar =
        *SimScenarioLoader::load(QDir(QStringLiteral(TUCKAWAY_SCRIPTS)).filePath(u"bar.json"_s));
    bar.framework.delaySeconds = 0.0;
    bar.applications.last().bundleIdentifier = u"com.example.alpha"_s;
    return bar;
}

QStringList visibleNames(const SimDesktop& desktop)
{
    QStringList names;
    for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems())
        names << desktop.application(item.pid)->name.value_or(QString());
    return names;
}

// Whether one of the panel's labels reads `text`.
bool shows(const QWidget& panel, const QString& text)
{
    const QList<QLabel*> labels = panel.findChildren<QLabel*>();
    return std::any_of(labels.cbegin(), labels.cend(),
                       [&](const QLabel* label) { return label->text() == text; });
}

// The application launched on a desktop, with the simulator window in front of it.
struct Simulator {
    explicit Simulator(SimScenario world = barScenario()) : shell(std::move(world))
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
    SimulatorPanel& panel() const { return window->panel(); }
    QPoint onIcon() const { return view().scene().ownItemRect()->center().toPoint(); }
    bool hiding() const { return shell.visibility().active(); }

    void click()
    {
        QTest::mouseClick(&view(), Qt::LeftButton, {}, onIcon());
        shell.settled();
        shell.pass(0.25);
    }

    Shell shell;
    std::unique_ptr<SimulatorWindow> window;
};

} // namespace

class TestSimulatorWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void clickAndCommandDrag_data();
    void clickAndCommandDrag();
    void pointerAndButtonFollowTheMouse();
    void menuOpensAtTheIcon_data();
    void menuOpensAtTheIcon();
    void panelChangesTheDesktop();
    void panelStartsAgainWhatQuit();
    void builtInShortcutIsShared();
    void panelChangesTheScreens();
    void panelSwitchesTheLoginItem();
    void screenshots();
};

void TestSimulatorWindow::clickAndCommandDrag_data()
{
    QTest::addColumn<QString>("where"); // the icon is ⌘-dragged to
    QTest::addColumn<int>("place");
    QTest::addColumn<QString>("message"); // empty: no refusal
    QTest::newRow("no drag") << QString() << 2 << QString();
    QTest::newRow("between Bravo and Alpha") << u"bravo"_s << 4 << QString();
    QTest::newRow("desk below the bar") << u"desk"_s << 2 << u"no sale de la barra"_s;
    QTest::newRow("second screen's bar") << u"second"_s << 2 << u"pantalla principal"_s;
}

void TestSimulatorWindow::clickAndCommandDrag()
{
    QFETCH(QString, where);
    QFETCH(int, place);
    QFETCH(QString, message);
    Simulator sim;
    const SimMenuBarScene& scene = sim.view().scene();
    QPoint to;
    if (where == u"bravo"_s) {
        const auto bravo = std::find_if(scene.items().cbegin(), scene.items().cend(),
                                        [](const auto& item) { return item.title == u"B"_s; });
        to = QPointF(bravo->rect.left(), bravo->rect.center().y()).toPoint();
    } else if (where == u"desk"_s) {
        to = scene.strips().at(0).area.bottomLeft().toPoint() + QPoint(20, -3);
    } else if (where == u"second"_s) {
        to = scene.strips().at(1).bar.center().toPoint();
    }
    if (!where.isEmpty()) {
        QTest::mousePress(&sim.view(), Qt::LeftButton, Qt::ControlModifier, sim.onIcon());
        QTest::mouseMove(&sim.view(), to);
        QTest::mouseRelease(&sim.view(), Qt::LeftButton, Qt::ControlModifier, to);
        Shell::drain();
    }
    QCOMPARE(sim.shell.desktop.statusItemPlace(), place);
    QVERIFY(!sim.hiding() && !sim.shell.visibility().pending()); // the drag is not a click
    QVERIFY2(message.isEmpty() ? sim.panel().message().isEmpty()
                               : sim.panel().message().contains(message),
             qPrintable(sim.panel().message()));

    // The group left of the icon goes and comes back, and the drawing follows.
    sim.click();
    QVERIFY2(sim.hiding(), qPrintable(sim.shell.preferences().notice()));
    QCOMPARE(visibleNames(sim.shell.desktop).size(), place + 1);
    QCOMPARE(scene.items().size(), place + 1);
    sim.click();
    QCOMPARE(scene.items().size(), 6);
}

void TestSimulatorWindow::pointerAndButtonFollowTheMouse()
{
    Simulator sim;
    // Resting on the icon: the pointer is exactly where the status item stands.
    QTest::mouseMove(&sim.view(), sim.onIcon());
    const Rect icon = *sim.shell.item().buttonWindowFrame();
    QPointF pointer = sim.shell.services.pointerPosition();
    QVERIFY(pointer.x() >= icon.minX() && pointer.x() < icon.maxX() && pointer.y() >= icon.minY() &&
            pointer.y() < icon.maxY());

    const QRectF primary = sim.view().scene().strips().at(0).area;
    const double scale = sim.view().scene().scale();
    // Points below the top of the primary screen: on the bar, under it, under the band.
    for (const double depth : {10.0, 28.0, 36.0}) {
        QTest::mouseMove(
            &sim.view(),
            QPointF(primary.left() + 100 * scale, primary.top() + depth * scale).toPoint());
        pointer = sim.shell.services.pointerPosition();
        QVERIFY(qAbs(pointer.x() - 100) <= 1.0 / scale);
        QVERIFY(qAbs(pointer.y() - (600 - depth)) <= 1.0 / scale);
    }
    QTest::mousePress(&sim.view(), Qt::LeftButton, {}, QPoint(2, 2));
    QVERIFY(sim.shell.services.isAnyMouseButtonPressed());
    QTest::mouseRelease(&sim.view(), Qt::LeftButton, {}, QPoint(2, 2));
    QVERIFY(!sim.shell.services.isAnyMouseButtonPressed());
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&sim.view(), &leave);
    QCOMPARE(sim.shell.services.pointerPosition(), QPointF(500, 300)); // away from every bar
}

void TestSimulatorWindow::menuOpensAtTheIcon_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<bool>("choose"); // "Mostrar todo y pausar"; else closed without a choice
    QTest::newRow("right click") << Qt::RightButton << Qt::KeyboardModifiers() << true;
    QTest::newRow("option click") << Qt::LeftButton << Qt::KeyboardModifiers(Qt::AltModifier)
                                  << true;
    QTest::newRow("dismissed") << Qt::RightButton << Qt::KeyboardModifiers() << false;
}

void TestSimulatorWindow::menuOpensAtTheIcon()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(bool, choose);
    Simulator sim;
    sim.click();
    QTest::mouseClick(&sim.view(), button, modifiers, sim.onIcon());
    QMenu* menu = sim.window->openMenu();
    QVERIFY(menu && menu->isVisible());
    QVERIFY(sim.shell.item().openMenu());
    QVERIFY(sim.hiding()); // the menu changes nothing by itself

    QCOMPARE(menu->pos().y(), sim.view().menuAnchor()->y()); // under the icon
    QStringList titles;
    for (QAction* action : menu->actions())
        titles << action->text();
    QCOMPARE(titles, (QStringList{u"Mostrar iconos ocultos"_s, u"Mostrar todo y pausar"_s,
                                  u"Configuración…\t⌘,"_s, u"Iconos ocultos"_s, QString(),
                                  u"Salir de Tuckaway\t⌘Q"_s}));

    if (choose) {
        QTest::mouseClick(menu, Qt::LeftButton, {},
                          menu->actionGeometry(menu->actions().at(1)).center());
    } else {
        menu->hide();
    }
    sim.shell.settled();
    QTRY_VERIFY(!sim.shell.item().openMenu());
    QTRY_VERIFY(!sim.window->openMenu());
    QCOMPARE(sim.hiding(), !choose);
    if (choose)
        QVERIFY(!sim.shell.app->expandedAt()); // paused: no countdown

    sim.click(); // plain clicks still reach the application
    QCOMPARE(sim.hiding(), choose);
}

void TestSimulatorWindow::panelChangesTheDesktop()
{
    Simulator sim;
    SimulatorPanel& panel = sim.panel();
    SimDesktop& desktop = sim.shell.desktop;
    panel.setAccessibilityGranted(false);
    QVERIFY(!desktop.isTrusted());
    panel.setAccessibilityGranted(true);
    panel.setFrameworkMode(SimulatorPanel::FrameworkMode::Fails);
    QCOMPARE(desktop.frameworkBehaviour().answer, SimFrameworkBehaviour::Answer::Error);
    panel.setFrameworkMode(SimulatorPanel::FrameworkMode::Absent);
    QVERIFY(!desktop.frameworkBehaviour().present);
    panel.setFrameworkMode(SimulatorPanel::FrameworkMode::Answers);
    sim.click();
    QVERIFY(sim.hiding());

    panel.quitApplication(13);
    QVERIFY(!desktop.application(13));
    QVERIFY(panel.message().contains(u"Bravo"_s));
    panel.quitApplication(desktop.ownPid()); // only its own menu quits Tuckaway
    QVERIFY(desktop.application(desktop.ownPid()));
    QVERIFY(panel.message().contains(u"«Salir de Tuckaway»"_s));
    panel.bringToFront(12);
    QCOMPARE(desktop.frontmost(), 12);
    panel.bringToFront(desktop.ownPid());
    QCOMPARE(desktop.frontmost(), 12);
    QVERIFY(panel.message().contains(u"no tiene menús"_s));

    // A hundred new items cannot fit on a 1000-point bar; they stand off screen, in reach.
    const int before = int(desktop.applications().size());
    panel.launch(3, 80);
    sim.shell.settled();
    QCOMPARE(int(desktop.applications().size()), before + SimulatorPanel::maximumLaunch);
    QVERIFY(panel.message().contains(u"como mucho 50"_s));
    QVERIFY(visibleNames(desktop).contains(u"Quillnote 50"_s));
    QVERIFY(sim.view().scene().offScreenCount() > 0);
    QVERIFY(!panel.overflowWarning().isEmpty());
    QVERIFY(sim.hiding()); // still the same group, not what came after it

    // A second copy brings this one forward and leaves it the only icon.
    panel.launchSecondCopy();
    QCOMPARE(sim.shell.services.activatedApplications(), QList<qint32>{desktop.ownPid()});
    QCOMPARE(sim.shell.services.statusItemCount(), 1);
}

// On the built-in desktop, Weathervane stands right of Tuckaway: quit and started again from
// the panel's list, it stands there again, and a collapse leaves it alone.
void TestSimulatorWindow::panelStartsAgainWhatQuit()
{
    Simulator sim(SimScenarioLoader::builtIn());
    SimulatorPanel& panel = sim.panel();
    SimDesktop& desktop = sim.shell.desktop;
    const QStringList bar = visibleNames(desktop);
    QVERIFY(bar.indexOf(u"Weathervane"_s) < bar.indexOf(u"Tuckaway"_s));
    panel.quitApplication(1104);
    QVERIFY(!visibleNames(desktop).contains(u"Weathervane"_s));

    panel.launch(int(SimulatorPanel::catalogue().size()), 1); // the first that quit
    QCOMPARE(visibleNames(desktop), bar);
    sim.click();
    QVERIFY2(sim.hiding(), qPrintable(sim.shell.preferences().notice()));
    QVERIFY(visibleNames(desktop).contains(u"Weathervane"_s));
}

// The built-in desktop's taken combination: Tuckaway registers it all the same, and a press
// reaches both it and the application that holds it.
void TestSimulatorWindow::builtInShortcutIsShared()
{
    Simulator sim(SimScenarioLoader::builtIn());
    sim.shell.changeRecord([](SettingsData& record) {
        record.hotkey = HotKeySettings{true, u"B"_s, u"controlShift"_s, u"toggle"_s};
    });
    Shell::drain();
    QCOMPARE(sim.shell.preferences().hotkeyStatus(),
             u"Atajo registrado. No se solicita monitorización de entrada."_s);
    sim.panel().pressShortcut();
    sim.shell.settled();
    sim.shell.pass(0.25);
    QVERIFY(sim.hiding());
    QCOMPARE(sim.panel().message(), u"También ha respondido al atajo: Clipjar."_s);
    sim.shell.preferences().setLanguage(u"en"_s);
    Shell::drain();
    QCOMPARE(sim.panel().message(), u"Also answered the shortcut: Clipjar."_s);
}

// The panel's choice of screens: the bars drawn follow, and without a screen the picture says
// so and nothing can be clicked or dropped. What Tuckaway makes of it is screens.script's.
void TestSimulatorWindow::panelChangesTheScreens()
{
    Simulator sim(SimScenarioLoader::builtIn());
    SimulatorPanel& panel = sim.panel();
    const SimMenuBarScene& scene = sim.view().scene();
    panel.changeScreens(u"docked"_s);
    sim.shell.settled();
    QCOMPARE(scene.strips().size(), 2);
    QCOMPARE(scene.strips().at(0).frame, (Rect{0, 0, 1920, 1080}));
    QVERIFY(scene.ownItemRect()->intersects(scene.strips().at(0).bar));

    panel.changeScreens(u"none"_s);
    sim.shell.settled();
    QVERIFY(scene.strips().isEmpty() && !scene.ownItemRect());
    QVERIFY(!scene.toScreenSpace(QPointF(30, 30)) && !scene.dropX(QPointF(30, 30)));
    QVERIFY(!scene.render({}).isNull());
    QVERIFY(panel.message().startsWith(u"Ninguna pantalla: "_s));
    QTest::mouseClick(&sim.view(), Qt::LeftButton, {}, QPoint(30, 30)); // nowhere to click
    QVERIFY(!sim.hiding());

    panel.changeScreens(QString()); // as the scenario starts
    sim.click();
    QVERIFY(sim.hiding());
    QCOMPARE(scene.strips().at(0).frame, (Rect{0, 0, 1512, 982}));
}

// The person switches Tuckaway on and off in System Settings from the panel; Tuckaway's own
// switch shows what it read when it last registered, as on a Mac.
void TestSimulatorWindow::panelSwitchesTheLoginItem()
{
    Simulator sim(SimScenarioLoader::builtIn()); // registration there waits for approval
    SimulatorPanel& panel = sim.panel();
    const LoginItemService& loginItems = sim.shell.platform->loginItems();
    sim.shell.app->openSettings(std::nullopt);
    sim.shell.pass(0.25);
    auto* toggle = sim.shell.app->settingsWindow()->findChild<QCheckBox*>(u"loginToggle"_s);
    QVERIFY(toggle);
    toggle->click();
    QCOMPARE(loginItems.status(), LoginItemService::Status::RequiresApproval);
    QVERIFY(!toggle->isChecked());

    auto* systemSwitch = panel.findChild<QCheckBox*>(u"loginItemSwitch"_s);
    QVERIFY(systemSwitch && !systemSwitch->isChecked()); // waiting, as System Settings shows it
    systemSwitch->click(); // approved
    QCOMPARE(loginItems.status(), LoginItemService::Status::Enabled);
    QVERIFY(!toggle->isChecked());
    QVERIFY(shows(panel, u"Según el sistema: activado"_s));
    toggle->click(); // reads what the system now has
    QVERIFY(toggle->isChecked());

    panel.setLoginItemSwitchedOn(false);
    QCOMPARE(loginItems.status(), LoginItemService::Status::RequiresApproval);
    QVERIFY(toggle->isChecked());
    QVERIFY(shows(panel, u"Según el sistema: requiere aprobación"_s));
}

// The window in both languages, the panel with every control, for a person to look at.
void TestSimulatorWindow::screenshots()
{
    const QString folder =
        qEnvironmentVariable("TUCKAWAY_ARTIFACTS", QDir::tempPath()) + u"/simulator"_s;
    QVERIFY(QDir().mkpath(folder));
    for (const QString& language : {u"es"_s, u"en"_s}) {
        Simulator sim(SimScenarioLoader::builtIn());
        sim.shell.preferences().setLanguage(language);
        sim.window->resize(1500, 640);
        // An item menu that a reveal opened, drawn under its item; a click anywhere closes it.
        QVERIFY(sim.shell.collapsed());
        QVERIFY(sim.shell.app->revealHiddenApplication(u"com.hollowoak.Clipjar"_s));
        sim.shell.settled();
        const QString itemMenu = u"%1/window-%2-item-menu.png"_s.arg(folder, language);
        QVERIFY2(sim.window->grab().save(itemMenu), qPrintable(itemMenu));
        QTest::mouseClick(&sim.view(), Qt::LeftButton, {}, QPoint(2, 2));
        QVERIFY(!sim.shell.desktop.openItemMenu());
        sim.panel().changeScreens(u"docked"_s);
        sim.shell.settled();
        const QString docked = u"%1/window-%2-docked.png"_s.arg(folder, language);
        QVERIFY2(sim.window->grab().save(docked), qPrintable(docked));
        sim.panel().changeScreens(u"none"_s);
        sim.panel().setLoginItemSwitchedOn(false);
        sim.shell.settled();
        const QString none = u"%1/window-%2-no-screen.png"_s.arg(folder, language);
        QVERIFY2(sim.window->grab().save(none), qPrintable(none));
    }
}

QTEST_MAIN(TestSimulatorWindow)
#include "tst_simulatorwindow.moc"
