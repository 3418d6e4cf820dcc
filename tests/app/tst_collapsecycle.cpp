#include "ShellFixture.h"
#include "app/UnseenIcons.h"
#include "artwork/StatusGlyph.h"

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

bool showsItemsOf(const SimDesktop& desktop, const QString& bundle)
{
    for (const SimApplication& app : desktop.applications()) {
        if (app.bundleIdentifier == bundle)
            return desktop.isApplicationVisible(app.pid);
    }
    return false;
}

void enableCountdown(Shell& shell)
{
    shell.changeRecord([](SettingsData& record) {
        record.autoCollapse = true;
        record.delay = 5;
    });
}

} // namespace

class TestCollapseCycle : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneClickTraced();
    void clickInEachState_data();
    void clickInEachState();
    void menuOrClick_data();
    void menuOrClick();
    void revealDropsCollapseAndCountdown_data();
    void revealDropsCollapseAndCountdown();
    void collapseRefused_data();
    void collapseRefused();
    void hoverReveal();
    void countdown_data();
    void countdown();
    void applySettingsNotices();
    void unseenIconsCountedAndNamed();
};

// A left click on the default desktop in boundary mode, from the click to the notice. The menu
// (right click or option-click) changes nothing else and does not stay with the item.
void TestCollapseCycle::oneClickTraced()
{
    Shell shell(withSmallSecondScreen(), true);
    QVERIFY(shell.launched());
    shell.preferences().setNeedsApply(true);
    const auto menu = [&shell](StatusItemEvent::Kind kind, bool option) {
        shell.click(kind, option);
        QStringList entries; // title|key
        for (const MenuEntry& entry : shell.item().openMenu().value_or(QList<MenuEntry>()))
            entries << entry.title + u'|' + (entry.isSeparator ? u"-"_s : entry.keyEquivalent);
        return entries;
    };
    // The laptop's notch keeps icons out of sight: they can be reached from the menu.
    QCOMPARE(menu(StatusItemEvent::Kind::RightMouseUp, false),
             (QStringList{u"Ocultar grupo|"_s, u"Mostrar todo y pausar|"_s, u"Configuración…|,"_s,
                          u"Iconos ocultos|"_s, u"|-"_s, u"Salir de Tuckaway|q"_s}));
    shell.click();
    QCOMPARE(shell.item().menuCount(), 1);
    QCOMPARE(shell.app->collapseGeneration(), 1);
    QVERIFY(shell.settled());

    // The boundary: the button's frame on screen, down from the primary screen's top.
    const Rect window = *shell.item().buttonWindowFrame();
    const QString line = u"\nSeparador ventana="_s + window.text() + u"; botón="_s +
                         buttonInWindow(window).text() + u"; AX="_s +
                         buttonInWindow(*shell.desktop.statusItemFrame()).text();
    QVERIFY2(shell.app->inspector().report().endsWith(line),
             qPrintable(shell.app->inspector().report().right(200)));

    // The request is out: the glyph still shows the group, the tooltip says it is coming.
    QVERIFY(shell.visibility().pending());
    QCOMPARE(shell.item().toolTip(), u"Aplicando…"_s);
    QCOMPARE(shell.item().image(), StatusGlyph::make(false, u"dotsChevron"_s).image);

    shell.pass(0.25);
    QVERIFY(shell.visibility().active());
    QCOMPARE(shell.item().image(), StatusGlyph::make(true, u"dotsChevron"_s).image);
    QCOMPARE(shell.item().toolTip(), u"Mostrar iconos ocultos · clic derecho para configurar"_s);
    QVERIFY(!shell.preferences().needsApply());
    QCOMPARE(shell.preferences().notice(), u"Configuración aplicada."_s);
    QVERIFY(!showsItemsOf(shell.desktop, u"com.hollowoak.Clipjar"_s));        // left of the icon
    QVERIFY(showsItemsOf(shell.desktop, u"com.driftwoodlabs.Weathervane"_s)); // right of it

    shell.preferences().setLanguage(u"en"_s);
    QCOMPARE(menu(StatusItemEvent::Kind::LeftMouseUp, true),
             (QStringList{u"Show hidden icons|"_s, u"Show all and pause|"_s, u"Settings…|,"_s,
                          u"Hidden icons|"_s, u"|-"_s, u"Quit Tuckaway|q"_s}));
    QVERIFY(shell.visibility().active());
}

void TestCollapseCycle::clickInEachState_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("collapses"); // otherwise it restores and starts the countdown
    QTest::newRow("shown") << u"shown"_s << true;
    QTest::newRow("collapse under way") << u"scanning"_s << true;
    QTest::newRow("requesting") << u"requesting"_s << false;
    QTest::newRow("hidden") << u"hidden"_s << false;
}

void TestCollapseCycle::clickInEachState()
{
    QFETCH(QString, state);
    QFETCH(bool, collapses);
    Shell shell;
    QVERIFY(shell.launched());
    if (state == u"scanning"_s) {
        shell.click();
    } else if (state == u"requesting"_s) {
        SimFrameworkBehaviour slowly = shell.desktop.frameworkBehaviour();
        slowly.delaySeconds = 3.0;
        shell.desktop.setFrameworkBehaviour(slowly);
        QVERIFY(!shell.collapsed() && shell.visibility().pending());
    } else if (state == u"hidden"_s) {
        QVERIFY(shell.collapsed());
        shell.click(); // shown, which starts the countdown; hidden again, which ends it
        QVERIFY(shell.collapsed() && !shell.app->expandedAt());
    }
    const qint64 generation = shell.app->collapseGeneration();

    shell.click();
    QCOMPARE(shell.app->collapseGeneration(), generation + (collapses ? 1 : 0));
    if (collapses) {
        // One request, even with two collapses under way.
        QVERIFY(shell.settled());
        shell.pass(0.25);
        QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 1);
    } else {
        QVERIFY(!shell.visibility().active() && !shell.visibility().pending());
        QCOMPARE(shell.app->expandedAt(), std::optional<double>(shell.time.now()));
    }
}

// Only a right mouse-up and an Option-held left one open the menu. A press without the mouse
// (VoiceOver presses with Control and Option held) is a plain click.
void TestCollapseCycle::menuOrClick_data()
{
    using Kind = StatusItemEvent::Kind;
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<bool>("option");
    QTest::addColumn<bool>("control");
    QTest::addColumn<bool>("opensMenu");
    QTest::newRow("left") << Kind::LeftMouseUp << false << false << false;
    QTest::newRow("Option-left") << Kind::LeftMouseUp << true << false << true;
    QTest::newRow("Control-left") << Kind::LeftMouseUp << false << true << false;
    QTest::newRow("right") << Kind::RightMouseUp << false << false << true;
    QTest::newRow("Option-right") << Kind::RightMouseUp << true << false << true;
    QTest::newRow("accessibility press") << Kind::Other << false << false << false;
    QTest::newRow("press with Control-Option held") << Kind::Other << true << true << false;
}

void TestCollapseCycle::menuOrClick()
{
    QFETCH(StatusItemEvent::Kind, kind);
    QFETCH(bool, option);
    QFETCH(bool, control);
    QFETCH(bool, opensMenu);
    Shell shell;
    QVERIFY(shell.launched());
    StatusItemEvent press;
    press.kind = kind;
    press.option = option;
    press.control = control;
    shell.item().click(press);
    QCOMPARE(shell.item().menuCount(), opensMenu ? 1 : 0);
    QCOMPARE(shell.app->collapseGeneration(), opensMenu ? 0 : 1);
}

// Whatever shows all drops a collapse that waits for its scan, and the countdown of a reveal.
void TestCollapseCycle::revealDropsCollapseAndCountdown_data()
{
    QTest::addColumn<QString>("reveal");
    QTest::newRow("Mostrar todo y pausar") << u"showAll"_s;
    QTest::newRow("settings") << u"settings"_s;
    QTest::newRow("screens sleep") << u"sleep"_s;
}

void TestCollapseCycle::revealDropsCollapseAndCountdown()
{
    QFETCH(QString, reveal);
    Shell shell;
    QVERIFY(shell.launched());
    enableCountdown(shell);
    QVERIFY(shell.collapsed());
    shell.click();
    const int requests = shell.platform->visibilityFramework().activationRequestCount();
    shell.click();
    if (reveal == u"showAll"_s) {
        shell.click(StatusItemEvent::Kind::RightMouseUp);
        QVERIFY(shell.item().chooseMenuEntry(1));
    } else if (reveal == u"settings"_s) {
        shell.app->openSettings(std::nullopt);
    } else {
        shell.services.sleepScreens();
    }
    shell.pass(30.0);
    QVERIFY(!shell.visibility().active() && !shell.visibility().pending());
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), requests);
}

// Nothing to hide or no boundary: the notice says why; settings open where it helps. Nothing
// ticked, no Accessibility and no screen are played in settings.script, system.script and
// screens.script.
void TestCollapseCycle::collapseRefused_data()
{
    QTest::addColumn<bool>("button");
    QTest::addColumn<QString>("notice");
    QTest::addColumn<int>("section"); // 0: settings stay closed
    QTest::addColumn<int>("generation");
    QTest::newRow("boundary, icon leftmost")
        << true
        << u"No se detectaron apps ocultables a la izquierda. Usa ⌘-arrastrar para colocar el "
           u"separador."_s
        << 1 << 2;
    QTest::newRow("status item without button")
        << false << u"Aún no se puede leer la posición del separador."_s << 0 << 1;
}

void TestCollapseCycle::collapseRefused()
{
    QFETCH(bool, button);
    QFETCH(QString, notice);
    QFETCH(int, section);
    QFETCH(int, generation);
    Shell shell;
    shell.services.setStatusItemsGetButtons(button);
    QVERIFY(shell.launched());
    shell.desktop.setStatusItemPlace(10000);
    shell.drain();

    shell.app->toggleVisibility();
    QVERIFY(shell.settled());
    QCOMPARE(shell.preferences().notice(), notice);
    QCOMPARE(shell.preferences().section(), section);
    QCOMPARE(shell.app->settingsWindow() && shell.app->settingsWindow()->isVisible(), section > 0);
    QCOMPARE(shell.app->collapseGeneration(), generation);
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 0);
}

void TestCollapseCycle::hoverReveal()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) { record.hoverReveal = true; });
    QVERIFY(shell.collapsed());

    // While a scan runs, a tick does not look.
    shell.services.setPointerPosition(shell.onIcon());
    shell.app->inspector().scan();
    QVERIFY(shell.app->inspector().isScanning());
    shell.app->tick();
    QVERIFY(!shell.app->hoverBegan());
    QVERIFY(shell.settled());

    // Left early, the hover is forgotten; the right edge of the icon is outside it.
    shell.pass(0.5);
    shell.services.setPointerPosition({10, 500});
    shell.pass(0.25);
    QVERIFY(!shell.app->hoverBegan());
    const Rect icon = *shell.item().buttonWindowFrame();
    shell.services.setPointerPosition({icon.maxX(), icon.midY()});
    shell.pass(1.0);
    QVERIFY(shell.visibility().active());

    shell.services.setPointerPosition(shell.onIcon());
    shell.pass(0.25); // first seen
    const std::optional<double> began = shell.app->hoverBegan();
    QVERIFY(began);
    shell.pass(0.5); // 0.5 s since the first sight
    QVERIFY(shell.visibility().active());
    shell.pass(0.25); // 0.75 s: the first tick past 0.6 s
    QVERIFY(!shell.visibility().active());
    QCOMPARE(shell.app->expandedAt(), std::optional<double>(*began + 0.75));
}

// Revealed by a click, the group collapses five seconds after the reveal or the last tick that
// held the countdown. The menu-bar band is the top 30 points of every screen, edges included.
void TestCollapseCycle::countdown_data()
{
    QTest::addColumn<QString>("hold");
    QTest::addColumn<QPointF>("pointer");
    QTest::addColumn<bool>("held");
    const QPointF away(700, 500);
    QTest::newRow("on the icon") << u"icon"_s << away << true;
    QTest::newRow("band: bottom-left corner, first screen") << QString() << QPointF(0, 952) << true;
    QTest::newRow("band: top-right corner, second screen")
        << QString() << QPointF(3432, 982) << true;
    QTest::newRow("half a point below the band") << QString() << QPointF(0, 951.5) << false;
    QTest::newRow("mouse button held") << u"button"_s << away << true;
}

void TestCollapseCycle::countdown()
{
    QFETCH(QString, hold);
    QFETCH(QPointF, pointer);
    QFETCH(bool, held);
    Shell shell;
    QVERIFY(shell.launched());
    enableCountdown(shell);
    QVERIFY(shell.collapsed());
    shell.services.setPointerPosition(hold == u"icon"_s ? shell.onIcon() : pointer);
    shell.click();
    shell.services.setMouseButtonPressed(hold == u"button"_s);
    const qint64 generation = shell.app->collapseGeneration();

    if (held) {
        shell.pass(12.0);
        QCOMPARE(shell.app->expandedAt(), std::optional<double>(shell.time.now()));
        shell.services.setPointerPosition({700, 500});
        shell.services.setMouseButtonPressed(false);
    }
    shell.pass(4.75);
    QCOMPARE(shell.app->collapseGeneration(), generation);
    shell.pass(0.25);
    QCOMPARE(shell.app->collapseGeneration(), generation + 1);
    QVERIFY(!shell.app->expandedAt());
}

// Apply restores first; the restore's message is the notice until the collapse has scanned.
void TestCollapseCycle::applySettingsNotices()
{
    Shell shell;
    QVERIFY(shell.launched());
    QSignalSpy notices(&shell.preferences(), &Preferences::noticeChanged);
    shell.app->applySettings();
    QVERIFY(shell.settled());
    shell.pass(0.25);
    QVERIFY(shell.visibility().active());
    QStringList seen;
    for (const QList<QVariant>& notice : notices) {
        if (seen.isEmpty() || seen.last() != notice.first().toString())
            seen << notice.first().toString();
    }
    QCOMPARE(seen, (QStringList{QString(), u"Aplicando configuración…"_s,
                                u"Restricción retirada; se ha solicitado restaurar todos los "
                                u"iconos."_s,
                                QString(), u"Configuración aplicada."_s}));
}

QTEST_MAIN(TestCollapseCycle)
// Every item counts, each application is named once; one item is said in the singular.
void TestCollapseCycle::unseenIconsCountedAndNamed()
{
    const auto at = [](const QString& bundle, const QString& name, const QString& path, double x) {
        ExternalItem item;
        item.id = bundle + u':' + path + u":t"_s;
        item.bundleID = bundle;
        item.app = name;
        item.frame = Rect{x, 0, 20, 32};
        return item;
    };
    const QList<SightPolicy::Screen> screens = UnseenIcons::sightScreens(
        {{Rect{0, 0, 1512, 982}, Rect{0, 74, 1512, 876}, Rect{663.5, 950, 185, 32}}});
    const QList<ExternalItem> items{at(u"com.a"_s, u"Alpha"_s, u"extras.0"_s, 700),
                                    at(u"com.a"_s, u"Alpha"_s, u"extras.0.1"_s, 700),
                                    at(u"com.a"_s, u"Alpha"_s, u"extras.1"_s, 600),
                                    at(u"com.b"_s, u"Beta"_s, u"extras.0"_s, 900)};
    const QList<UnseenIcon> unseen = UnseenIcons::of(items, screens, std::nullopt);
    QCOMPARE(UnseenIcons::statusLine(unseen), u"2 iconos no se ven: Alpha"_s);
    QCOMPARE(UnseenIcons::statusLine(unseen.mid(1)), u"1 icono no se ve: Alpha"_s);
    QCOMPARE(L10n::text(UnseenIcons::statusLine(unseen.mid(1)), u"en"_s),
             u"1 icon cannot be seen: Alpha"_s);
}

#include "tst_collapsecycle.moc"
