#include "ShellFixture.h"
#include "app/StatusGlyph.h"

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

const QString clipjar = u"com.hollowoak.Clipjar"_s;             // left of the icon
const QString weathervane = u"com.driftwoodlabs.Weathervane"_s; // right of it
const QString dockyard = u"com.harborsoft.Dockyard"_s;          // on both sides

const QString appliedNotice = u"Configuración aplicada."_s;

std::optional<qint32> pidOf(const SimDesktop& desktop, const QString& bundle)
{
    for (const SimApplication& app : desktop.applications()) {
        if (app.bundleIdentifier == bundle)
            return app.pid;
    }
    return std::nullopt;
}

bool showsItemsOf(const SimDesktop& desktop, const QString& bundle)
{
    const auto pid = pidOf(desktop, bundle);
    return pid && desktop.isApplicationVisible(*pid);
}

// The framework takes its time, so that a request stays outstanding.
void answerSlowly(SimDesktop& desktop, double seconds)
{
    SimFrameworkBehaviour behaviour = desktop.frameworkBehaviour();
    behaviour.delaySeconds = seconds;
    desktop.setFrameworkBehaviour(behaviour);
}

} // namespace

class TestCollapseCycle : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneClickTraced();
    void clickInEachState_data();
    void clickInEachState();
    void secondClickWhileScanningRequestsOnce();
    void revealDuringScanDropsTheCollapse_data();
    void revealDuringScanDropsTheCollapse();
    void menuClicksChangeNothingElse_data();
    void menuClicksChangeNothingElse();
    void menuEntries_data();
    void menuEntries();
    void nothingToHide_data();
    void nothingToHide();
    void missingAccessibilityOpensPermissions();
    void unreadableSeparator_data();
    void unreadableSeparator();
    void boundaryLineJoinsTheReport();
    void hoverReveal();
    void hoverLeftEarlyIsCancelled();
    void countdownCollapsesAfterDelay();
    void countdownHeld_data();
    void countdownHeld();
    void showAllPauses();
    void tickDuringScanChangesNothing();
    void glyphFollowsStyleAndState_data();
    void glyphFollowsStyleAndState();
    void applySettingsNotices();
};

// A left click on the default desktop in boundary mode, from the click to the notice.
void TestCollapseCycle::oneClickTraced()
{
    Shell shell;
    QVERIFY(shell.launched());
    QVERIFY(showsItemsOf(shell.desktop, clipjar));
    QSignalSpy pendingSpy(&shell.visibility(), &VisibilityController::pendingChanged);

    shell.click();
    QCOMPARE(shell.app->collapseGeneration(), 1);
    QVERIFY(shell.settled());

    // The request is out: the glyph still shows the group, the tooltip says it is coming.
    QVERIFY(shell.visibility().pending());
    QCOMPARE(shell.item().toolTip(), u"Aplicando…"_s);
    QCOMPARE(shell.item().image(), StatusGlyph::make(false, u"dotsChevron"_s).image);
    QCOMPARE(shell.preferences().notice(), QString());
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 1);

    shell.pass(0.25);
    QVERIFY(shell.visibility().active());
    QVERIFY(!shell.visibility().pending());
    QCOMPARE(shell.visibility().message(), u"Apps ocultas. Pulsa la flecha para mostrar todas."_s);
    QCOMPARE(shell.item().image(), StatusGlyph::make(true, u"dotsChevron"_s).image);
    QCOMPARE(shell.item().toolTip(), u"Mostrar iconos ocultos · clic derecho para configurar"_s);
    QVERIFY(!shell.preferences().needsApply());
    QCOMPARE(shell.preferences().notice(), appliedNotice);
    QVERIFY(!shell.app->expandedAt());

    QVERIFY(!showsItemsOf(shell.desktop, clipjar));
    QVERIFY(showsItemsOf(shell.desktop, weathervane));
    QVERIFY(showsItemsOf(shell.desktop, dockyard));
    QVERIFY(showsItemsOf(shell.desktop, u"com.apple.controlcenter"_s));
    QVERIFY(shell.item().buttonWindowFrame());

    // The next click shows everything and starts the countdown.
    shell.click();
    QVERIFY(!shell.visibility().active());
    QCOMPARE(shell.app->expandedAt(), std::optional<double>(shell.time.now()));
    shell.drain();
    QVERIFY(showsItemsOf(shell.desktop, clipjar));
}

void TestCollapseCycle::clickInEachState_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("collapses"); // otherwise it restores and starts the countdown
    QTest::newRow("shown") << u"shown"_s << true;
    QTest::newRow("scanning") << u"scanning"_s << true;
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
        answerSlowly(shell.desktop, 3.0);
        shell.click();
        QVERIFY(shell.settled());
        QVERIFY(shell.visibility().pending());
    } else if (state == u"hidden"_s) {
        QVERIFY(shell.collapsed());
    }
    const qint64 generation = shell.app->collapseGeneration();

    shell.click();
    if (collapses) {
        QCOMPARE(shell.app->collapseGeneration(), generation + 1);
        QVERIFY(!shell.app->expandedAt());
    } else {
        QCOMPARE(shell.app->collapseGeneration(), generation);
        QVERIFY(!shell.visibility().active());
        QVERIFY(!shell.visibility().pending());
        QCOMPARE(shell.app->expandedAt(), std::optional<double>(shell.time.now()));
    }
}

void TestCollapseCycle::secondClickWhileScanningRequestsOnce()
{
    Shell shell;
    QVERIFY(shell.launched());
    HeldScans held;
    shell.click();
    shell.drain();
    QVERIFY(shell.app->inspector().isScanning());
    shell.click();
    shell.drain();
    QCOMPARE(shell.app->collapseGeneration(), 2);
    held.release();
    QVERIFY(shell.settled());
    shell.pass(0.25);
    QVERIFY(shell.visibility().active());
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 1);
}

void TestCollapseCycle::revealDuringScanDropsTheCollapse_data()
{
    QTest::addColumn<QString>("reveal");
    QTest::newRow("show all") << u"showAll"_s;
    QTest::newRow("settings") << u"settings"_s;
    QTest::newRow("screens sleep") << u"sleep"_s;
}

void TestCollapseCycle::revealDuringScanDropsTheCollapse()
{
    QFETCH(QString, reveal);
    Shell shell;
    QVERIFY(shell.launched());
    shell.click();
    if (reveal == u"showAll"_s)
        shell.app->showAll();
    else if (reveal == u"settings"_s)
        shell.app->openSettings(std::nullopt);
    else
        shell.services.sleepScreens();
    QVERIFY(shell.settled());
    shell.pass(0.5);
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.visibility().pending());
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 0);
    QVERIFY(showsItemsOf(shell.desktop, clipjar));
}

void TestCollapseCycle::menuClicksChangeNothingElse_data()
{
    QTest::addColumn<bool>("right");
    QTest::addColumn<bool>("option");
    QTest::newRow("right click") << true << false;
    QTest::newRow("option-click") << false << true;
    QTest::newRow("right click with option") << true << true;
}

void TestCollapseCycle::menuClicksChangeNothingElse()
{
    QFETCH(bool, right);
    QFETCH(bool, option);
    Shell shell;
    QVERIFY(shell.launched());
    shell.click(right ? StatusItemEvent::Kind::RightMouseUp : StatusItemEvent::Kind::LeftMouseUp,
                option);
    shell.drain();
    QCOMPARE(shell.item().menuCount(), 1);
    QCOMPARE(shell.app->collapseGeneration(), 0);
    QVERIFY(!shell.app->inspector().isScanning());
    QVERIFY(!shell.visibility().pending());
    QVERIFY(!shell.app->settingsWindow());

    // The menu is not attached: the next plain click toggles as before.
    shell.click();
    QCOMPARE(shell.app->collapseGeneration(), 1);
}

void TestCollapseCycle::menuEntries_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<bool>("hidden");
    QTest::addColumn<QStringList>("titles");
    QTest::newRow("es shown") << u"es"_s << false
                              << QStringList{u"Ocultar grupo"_s, u"Mostrar todo y pausar"_s,
                                             u"Configuración…"_s, QString(),
                                             u"Salir de Tuckaway"_s};
    QTest::newRow("es hidden") << u"es"_s << true
                               << QStringList{u"Mostrar iconos ocultos"_s,
                                              u"Mostrar todo y pausar"_s, u"Configuración…"_s,
                                              QString(), u"Salir de Tuckaway"_s};
    QTest::newRow("en shown") << u"en"_s << false
                              << QStringList{u"Hide group"_s, u"Show all and pause"_s,
                                             u"Settings…"_s, QString(), u"Quit Tuckaway"_s};
    QTest::newRow("en hidden") << u"en"_s << true
                               << QStringList{u"Show hidden icons"_s, u"Show all and pause"_s,
                                              u"Settings…"_s, QString(), u"Quit Tuckaway"_s};
}

void TestCollapseCycle::menuEntries()
{
    QFETCH(QString, language);
    QFETCH(bool, hidden);
    QFETCH(QStringList, titles);
    Shell shell;
    QVERIFY(shell.launched());
    shell.preferences().setLanguage(language);
    if (hidden)
        QVERIFY(shell.collapsed());
    shell.click(StatusItemEvent::Kind::RightMouseUp);
    QVERIFY(shell.item().openMenu());
    const QList<MenuEntry> menu = *shell.item().openMenu();
    QStringList shown;
    for (const MenuEntry& entry : menu)
        shown << entry.title;
    QCOMPARE(shown, titles);
    QVERIFY(menu.at(3).isSeparator);
    QCOMPARE(menu.at(0).keyEquivalent, QString());
    QCOMPARE(menu.at(1).keyEquivalent, QString());
    QCOMPARE(menu.at(2).keyEquivalent, u","_s);
    QCOMPARE(menu.at(4).keyEquivalent, u"q"_s);
}

void TestCollapseCycle::nothingToHide_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("notice");
    QTest::newRow("manual, nothing ticked")
        << u"manual"_s << u"Selecciona al menos una app en Organización."_s;
    QTest::newRow("boundary, icon leftmost")
        << u"boundary"_s
        << u"No se detectaron apps ocultables a la izquierda. Usa ⌘-arrastrar para colocar el "
           u"separador."_s;
}

void TestCollapseCycle::nothingToHide()
{
    QFETCH(QString, mode);
    QFETCH(QString, notice);
    Shell shell;
    QVERIFY(shell.launched());
    shell.desktop.setStatusItemPlace(10000);
    shell.changeRecord([&](SettingsData& record) { record.mode = mode; });
    shell.drain();
    shell.preferences().setSection(4);

    shell.app->collapse();
    QVERIFY(shell.settled());
    QCOMPARE(shell.preferences().notice(), notice);
    QCOMPARE(shell.preferences().section(), 1);
    QVERIFY(shell.app->settingsWindow() && shell.app->settingsWindow()->isVisible());
    QVERIFY(!shell.app->expandedAt());
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 0);
}

void TestCollapseCycle::missingAccessibilityOpensPermissions()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.desktop.setTrusted(false);
    shell.click();
    QCOMPARE(shell.preferences().notice(),
             u"No se aplicó: falta Accesibilidad para esta copia. Autorízala en Permisos y "
             u"diagnóstico."_s);
    QCOMPARE(shell.preferences().section(), 3);
    QVERIFY(shell.app->settingsWindow()->isVisible());
    // Only the opening raised the generation: no collapse was started.
    QCOMPARE(shell.app->collapseGeneration(), 1);
    shell.drain();
    QVERIFY(!shell.app->inspector().isScanning());
}

void TestCollapseCycle::unreadableSeparator_data()
{
    QTest::addColumn<bool>("noButton");
    QTest::addColumn<bool>("noScreens");
    QTest::newRow("status item without button") << true << false;
    QTest::newRow("no screens") << false << true;
}

void TestCollapseCycle::unreadableSeparator()
{
    QFETCH(bool, noButton);
    QFETCH(bool, noScreens);
    SimScenario scenario = SimScenarioLoader::builtIn();
    if (noScreens)
        scenario.screens.clear();
    Shell shell(scenario);
    shell.services.setStatusItemsGetButtons(!noButton);
    QVERIFY(shell.launched());
    shell.app->toggleVisibility();
    QVERIFY(shell.settled());
    QCOMPARE(shell.preferences().notice(), u"Aún no se puede leer la posición del separador."_s);
    QVERIFY(!shell.app->settingsWindow());
    QCOMPARE(shell.platform->visibilityFramework().activationRequestCount(), 0);
    shell.pass(1.0); // ticks find nothing to look at
    if (noButton) {
        QCOMPARE(shell.item().image(), QImage());
        shell.click(StatusItemEvent::Kind::RightMouseUp);
        QCOMPARE(shell.item().menuCount(), 0);
    }
}

void TestCollapseCycle::boundaryLineJoinsTheReport()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.click();
    QVERIFY(shell.settled());
    const Rect window = *shell.item().buttonWindowFrame();
    const Rect ax = *shell.desktop.statusItemFrame();
    const QString line = u"\nSeparador ventana="_s + window.text() + u"; botón="_s + window.text() +
                         u"; AX="_s + ax.text();
    QVERIFY2(shell.app->inspector().report().endsWith(line),
             qPrintable(shell.app->inspector().report().right(200)));
    QCOMPARE(ax.y, 0.0);
}

void TestCollapseCycle::hoverReveal()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) { record.hoverReveal = true; });
    QVERIFY(shell.collapsed());

    shell.services.setPointerPosition(shell.onIcon());
    shell.pass(0.25); // first seen
    const std::optional<double> began = shell.app->hoverBegan();
    QVERIFY(began);
    shell.pass(0.25);
    QVERIFY(shell.visibility().active());
    shell.pass(0.25); // 0.5 s since the first sight
    QVERIFY(shell.visibility().active());
    shell.pass(0.25); // 0.75 s: the first tick past 0.6 s
    QVERIFY(!shell.visibility().active());
    QVERIFY(!shell.app->hoverBegan());
    QCOMPARE(shell.app->expandedAt(), std::optional<double>(*began + 0.75));
}

void TestCollapseCycle::hoverLeftEarlyIsCancelled()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) { record.hoverReveal = true; });
    QVERIFY(shell.collapsed());

    shell.services.setPointerPosition(shell.onIcon());
    shell.pass(0.5);
    shell.services.setPointerPosition({10, 500});
    shell.pass(0.25);
    QVERIFY(!shell.app->hoverBegan());
    shell.services.setPointerPosition(shell.onIcon());
    shell.pass(0.5); // a new hover starts over
    QVERIFY(shell.visibility().active());

    // The right edge of the icon is outside it.
    const Rect icon = *shell.item().buttonWindowFrame();
    shell.services.setPointerPosition({icon.maxX(), icon.midY()});
    shell.pass(1.0);
    QVERIFY(shell.visibility().active());
}

void TestCollapseCycle::countdownCollapsesAfterDelay()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) {
        record.autoCollapse = true;
        record.delay = 5;
    });
    QVERIFY(shell.collapsed());
    const qint64 generation = shell.app->collapseGeneration();

    // Revealed while the pointer is on the icon, in the menu bar: the countdown waits.
    shell.services.setPointerPosition(shell.onIcon());
    shell.click();
    shell.pass(10.0);
    QCOMPARE(shell.app->collapseGeneration(), generation);

    shell.services.setPointerPosition({700, 500});
    shell.pass(4.75);
    QCOMPARE(shell.app->collapseGeneration(), generation);
    shell.pass(0.25);
    QCOMPARE(shell.app->collapseGeneration(), generation + 1);
    QVERIFY(!shell.app->expandedAt());
    shell.pass(0.25);
    QVERIFY(shell.visibility().active());
}

void TestCollapseCycle::countdownHeld_data()
{
    QTest::addColumn<QString>("hold");
    QTest::newRow("pointer in the top band of the second screen") << u"band"_s;
    QTest::newRow("settings window open") << u"window"_s;
    QTest::newRow("mouse button held") << u"button"_s;
}

void TestCollapseCycle::countdownHeld()
{
    QFETCH(QString, hold);
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) {
        record.autoCollapse = true;
        record.delay = 5;
    });
    QVERIFY(shell.collapsed());
    shell.services.setPointerPosition({700, 500});
    shell.click();

    if (hold == u"band"_s) {
        const Rect second = shell.services.screens().at(1).frame;
        shell.services.setPointerPosition({second.midX(), second.maxY() - 30});
    } else if (hold == u"window"_s) {
        shell.app->openSettings(std::nullopt);
        shell.services.setPointerPosition({700, 500});
    } else {
        shell.services.setMouseButtonPressed(true);
    }
    const qint64 held = shell.app->collapseGeneration();
    shell.pass(12.0);
    QCOMPARE(shell.app->collapseGeneration(), held);
    QCOMPARE(shell.app->expandedAt(), std::optional<double>(shell.time.now()));

    // Released: the group collapses the delay after the last holding tick.
    if (hold == u"band"_s)
        shell.services.setPointerPosition({700, 500});
    else if (hold == u"window"_s)
        shell.app->settingsWindow()->hide();
    else
        shell.services.setMouseButtonPressed(false);
    shell.pass(4.75);
    QCOMPARE(shell.app->collapseGeneration(), held);
    shell.pass(0.25);
    QCOMPARE(shell.app->collapseGeneration(), held + 1);
}

void TestCollapseCycle::showAllPauses()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) {
        record.autoCollapse = true;
        record.delay = 5;
    });
    QVERIFY(shell.collapsed());
    shell.services.setPointerPosition({700, 500});
    shell.click(StatusItemEvent::Kind::RightMouseUp);
    QVERIFY(shell.item().chooseMenuEntry(1)); // "Mostrar todo y pausar"
    QVERIFY(!shell.visibility().active());
    const qint64 generation = shell.app->collapseGeneration();
    shell.pass(30.0);
    QCOMPARE(shell.app->collapseGeneration(), generation);
    QVERIFY(!shell.visibility().active());
    QCOMPARE(shell.preferences().notice(), QString());
}

void TestCollapseCycle::tickDuringScanChangesNothing()
{
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([](SettingsData& record) {
        record.autoCollapse = true;
        record.hoverReveal = true;
    });
    QVERIFY(shell.collapsed());
    shell.services.setPointerPosition({700, 500});
    shell.click(); // revealed: the countdown starts
    const std::optional<double> expandedAt = shell.app->expandedAt();
    QVERIFY(expandedAt);

    shell.app->inspector().scan();
    QVERIFY(shell.app->inspector().isScanning());
    shell.services.setPointerPosition(shell.onIcon()); // would hold the countdown
    shell.app->tick();
    QCOMPARE(shell.app->expandedAt(), expandedAt);
    QVERIFY(!shell.app->hoverBegan());
    QVERIFY(shell.settled());
}

void TestCollapseCycle::glyphFollowsStyleAndState_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<bool>("hidden");
    for (const QString& style : {u"dotsChevron"_s, u"dots"_s, u"single"_s}) {
        QTest::addRow("%s shown", qPrintable(style)) << style << false;
        QTest::addRow("%s hidden", qPrintable(style)) << style << true;
    }
}

void TestCollapseCycle::glyphFollowsStyleAndState()
{
    QFETCH(QString, style);
    QFETCH(bool, hidden);
    Shell shell;
    QVERIFY(shell.launched());
    shell.changeRecord([&](SettingsData& record) { record.symbol = style; });
    shell.drain();
    if (hidden)
        QVERIFY(shell.collapsed());
    const GlyphImage expected = StatusGlyph::make(hidden, style);
    QVERIFY(shell.item().glyph());
    QCOMPARE(shell.item().glyph()->image, expected.image);
    QVERIFY(shell.item().glyph()->isTemplate);
    QCOMPARE(shell.item().glyph()->accessibilityDescription,
             hidden ? u"Mostrar iconos ocultos"_s : u"Ocultar grupo izquierdo"_s);

    // The language changes the description and the tooltip at once, not the picture.
    shell.preferences().setLanguage(u"en"_s);
    shell.drain();
    QCOMPARE(shell.item().glyph()->image, expected.image);
    QCOMPARE(shell.item().glyph()->accessibilityDescription,
             hidden ? u"Show hidden icons"_s : u"Hide left group"_s);
    QCOMPARE(shell.item().toolTip(), hidden ? u"Show hidden icons · right-click for settings"_s
                                            : u"Hide group · right-click for settings"_s);
}

// Apply shows everything first; the restore's message stands in for the notice while the
// collapse scans, then the notice empties and finally reads "applied".
void TestCollapseCycle::applySettingsNotices()
{
    Shell shell;
    QVERIFY(shell.launched());
    QSignalSpy notices(&shell.preferences(), &Preferences::noticeChanged);
    HeldScans held;
    shell.app->applySettings();
    QCOMPARE(shell.preferences().notice(), u"Aplicando configuración…"_s);
    shell.drain();
    QVERIFY(shell.app->inspector().isScanning());
    QCOMPARE(shell.preferences().notice(),
             u"Restricción retirada; se ha solicitado restaurar todos los iconos."_s);
    held.release();
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
                                QString(), appliedNotice}));
}

QTEST_MAIN(TestCollapseCycle)
#include "tst_collapsecycle.moc"
