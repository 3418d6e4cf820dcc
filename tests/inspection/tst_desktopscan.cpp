#include "core/Time.h"
#include "inspection/Inspector.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QTest>

using namespace tk;
using namespace Qt::StringLiterals;

// The default scanner and permission check on the built-in simulated desktop.
class TestDesktopScan : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void scansTheBuiltInDesktop();
    void applicationsThatHangMidScanCannotHoldItPastItsDeadline();
    void aHungApplicationStaysHungUntilItRecovers();
    void permissionWithdrawnMidWalkFailsTheRestOfIt();
};

void TestDesktopScan::scansTheBuiltInDesktop()
{
    const std::unique_ptr<SimPlatform> platform = SimPlatform::forTests();
    Inspector inspector(platform->accessibility(), platform->workspace(), platform->time());
    bool done = false;
    inspector.scan([&] { done = true; });
    QTRY_VERIFY(done);

    QStringList ids;
    for (const ExternalItem& item : inspector.items())
        ids << item.id;
    // Not there: Tuckaway itself, the application without an extras menu bar, the one that
    // does not answer within the messaging timeout, and anything three levels down.
    QCOMPARE(ids, (QStringList{u"com.apple.controlcenter:extras.0:Clock"_s,
                               u"com.apple.controlcenter:extras.1:Control Center"_s,
                               u"com.apple.controlcenter:extras.2:82 %"_s,
                               u"com.apple.controlcenter:extras.3:Wi-Fi"_s,
                               u"com.apple.Siri:extras.0:Siri"_s,
                               u"com.apple.Spotlight:extras.0:Spotlight"_s,
                               u"com.apple.TextInputMenuAgent:extras.0:U.S."_s,
                               u"com.driftwoodlabs.Weathervane:extras.0:12°"_s,
                               u"com.harborsoft.Dockyard:extras.0:CPU 14%"_s,
                               u"com.harborsoft.Dockyard:extras.1:↓ 2 MB/s"_s,
                               u"com.hollowoak.Clipjar:extras.0:Clipjar"_s,
                               u"com.fernpixel.NimbusSync:extras.0:Nimbus Sync"_s,
                               u"com.fernpixel.NimbusSync:extras.0.0:Pause syncing"_s,
                               u"com.fernpixel.NimbusSync:extras.0.1:Open the Nimbus folder"_s,
                               u"1933:extras.0:sw"_s,
                               u"com.brightfold.Lumen:extras.0:Brightness"_s,
                               u"com.quietbyte.Tallyclock:extras.0:"_s,
                               u"com.oddsprocket.Tinkertray:extras.0.0:Tinkertray"_s,
                               u"com.cobaltreed.Hushmic:extras.0:Icono sin etiqueta"_s,
                               u"com.tunnelwise.Client:extras.0:Tunnelwise"_s}));

    const QString report = inspector.report();
    QCOMPARE(report.count(u'\n'), ids.size() + 3);
    QVERIFY(report.contains(u"\nmacOS Version 27.0 (Build 27A100)\n"));
    // How the simulated applications answer: actions, the settable query, frames.
    QVERIFY2(
        report.endsWith(
            u"\nLumen / Brightness: acciones=[\"AXPress\", \"AXIncrement\", \"AXDecrement\"]; "
            "posición modificable=true; consulta=0; frame={{814, 0}, {28, 32}}\n"
            "Tallyclock / : acciones=[\"AXPress\"]; posición modificable=false; "
            "consulta=-25205; frame={{750, 0}, {64, 32}}\n"
            "Tinkertray / Tinkertray: acciones=[]; posición modificable=false; consulta=0; "
            "frame={{722, 0}, {28, 32}}\n"
            "Hushmic / Icono sin etiqueta: acciones=[\"AXPress\"]; posición modificable=false; "
            "consulta=0; frame=nil\n"
            "App / Tunnelwise: acciones=[\"AXPress\"]; posición modificable=false; consulta=0; "
            "frame={{664, 0}, {30, 32}}\n"
            "Detectados: 20. No se ha modificado ningún icono externo. La ausencia de "
            "resultados no demuestra ausencia de iconos."_s),
        qPrintable(report));

    // The unresponsive application cost one messaging timeout; every other request its round
    // trip.
    const SimAccessibility::RoundTrips trips = platform->simulatedAccessibility().roundTrips();
    QCOMPARE(trips.requests - trips.answered, quint64(1));
    QCOMPARE(platform->time().now(),
             AXScanner::messagingTimeout + double(trips.answered) * SimScenario().requestCost);
}

// Each application answers the read of its extras menu bar and then hangs; every element
// read from it waits only the timeout the scanner set on that element.
void TestDesktopScan::applicationsThatHangMidScanCannotHoldItPastItsDeadline()
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    QList<ScanApp> apps;
    for (qint32 pid = 5000; pid < 5200; ++pid) {
        SimApplication app;
        app.pid = pid;
        app.answersBeforeHanging = pid < 5002 ? 0 : 1; // the first two never answer
        app.items = {SimElement{}};
        scenario.applications.append(app);
        apps.append({pid, std::nullopt, std::nullopt});
    }
    const std::unique_ptr<SimPlatform> platform = SimPlatform::forTests(std::move(scenario));
    const double start = platform->time().now();

    const ScanResult result =
        AXScanner::scan(apps, {platform->accessibility(), platform->time(), QString()});
    const double overrun = platform->time().now() - start - AXScanner::timeLimit;
    QVERIFY2(overrun >= 0 && overrun <= AXScanner::messagingTimeout + 1e-9,
             qPrintable(QString::number(overrun)));
    QVERIFY(result.items.isEmpty());
}

// The walk is stopped before it asks the second application's item for its actions, and
// the permission goes: that item and everything after it meet -25211; what was read stays.
void TestDesktopScan::permissionWithdrawnMidWalkFailsTheRestOfIt()
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    scenario.applications.clear();
    for (const qint32 pid : {8001, 8002, 8003}) {
        SimApplication app;
        app.pid = pid;
        app.name = u"App %1"_s.arg(pid);
        app.items = {SimElement{}};
        app.items[0].role = SimText::of(u"AXMenuBarItem"_s);
        app.items[0].title = SimText::of(u"item"_s);
        app.items[0].actions = QStringList{u"AXPress"_s};
        scenario.applications.append(app);
    }
    const std::unique_ptr<SimPlatform> platform = SimPlatform::forTests(std::move(scenario));
    SimAccessibility& accessibility = platform->simulatedAccessibility();
    // Its application element, its bar, its item (role, title, frame and children at once),
    // then its actions.
    accessibility.holdAnswersWhen(
        [requests = 0](qint32 pid) mutable { return pid == 8002 && ++requests == 5; });
    Inspector inspector(accessibility, platform->workspace(), platform->time());
    bool done = false;
    inspector.scan([&] { done = true; });
    QVERIFY(accessibility.waitForHeldWalk(std::chrono::seconds(30)));
    platform->desktop().setTrusted(false);
    accessibility.holdAnswers(false);
    QTRY_VERIFY(done);

    QCOMPARE(inspector.items().size(), 2);
    const ExternalItem& cut = inspector.items().at(1);
    QCOMPARE(cut.title, u"item"_s);
    QVERIFY(cut.actions.isEmpty() && !cut.positionWritable && cut.frame);
    const QStringList lines = inspector.report().split(u'\n');
    QCOMPARE(lines.at(2), u"Accessibility autorizado: sí"_s);
    QCOMPARE(lines.at(3), u"App 8001 / item: acciones=[\"AXPress\"]; posición modificable=false; "
                          u"consulta=0; frame={{1480, 0}, {24, 32}}"_s);
    QCOMPARE(lines.at(4), u"App 8002 / item: acciones=[]; posición modificable=false; "
                          u"consulta=-25211; frame={{1456, 0}, {24, 32}}"_s);
    QVERIFY(lines.at(5).startsWith(u"Detectados: 2."_s));
}

// The first application answers one whole scan (five requests for its one item) and hangs;
// every later scan pays one messaging timeout for it and finds nothing, until it recovers.
void TestDesktopScan::aHungApplicationStaysHungUntilItRecovers()
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    scenario.applications.clear();
    SimElement item;
    item.role = SimText::of(u"AXMenuBarItem"_s);
    item.title = SimText::of(u"item"_s);
    QList<ScanApp> apps;
    for (const qint32 pid : {7001, 7002}) {
        SimApplication app;
        app.pid = pid;
        app.answersBeforeHanging = pid == 7001 ? std::optional<qint64>(5) : std::nullopt;
        app.items = {item};
        scenario.applications.append(app);
        apps.append({pid, std::nullopt, std::nullopt});
    }
    const std::unique_ptr<SimPlatform> platform = SimPlatform::forTests(std::move(scenario));
    SimDesktop& desktop = platform->desktop();
    const auto scanned = [&] {
        QStringList ids;
        for (const ExternalItem& found :
             AXScanner::scan(apps, {platform->accessibility(), platform->time(), QString()}).items)
            ids << found.id;
        return ids;
    };
    QCOMPARE(scanned(), (QStringList{u"7001:extras.0:item"_s, u"7002:extras.0:item"_s}));
    for (int i = 1; i <= 2; ++i) {
        const double before = platform->time().now();
        QCOMPARE(scanned(), QStringList{u"7002:extras.0:item"_s});
        QCOMPARE(platform->time().now() - before,
                 AXScanner::messagingTimeout + 5 * SimScenario().requestCost);
    }
    QVERIFY(desktop.setHung(7002, true));
    QVERIFY(desktop.setHung(7001, false));
    QVERIFY(!desktop.setHung(desktop.ownPid(), true));
    QCOMPARE(scanned(), QStringList{u"7001:extras.0:item"_s});
}

QTEST_GUILESS_MAIN(TestDesktopScan)
#include "tst_desktopscan.moc"
