#include "core/Time.h"
#include "inspection/Inspector.h"
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
            "posición modificable=true; consulta=0; frame={{814, 0}, {28, 24}}\n"
            "Tallyclock / : acciones=[\"AXPress\"]; posición modificable=false; "
            "consulta=-25205; frame={{750, 0}, {64, 24}}\n"
            "Tinkertray / Tinkertray: acciones=[]; posición modificable=false; consulta=0; "
            "frame={{722, 0}, {28, 24}}\n"
            "Hushmic / Icono sin etiqueta: acciones=[\"AXPress\"]; posición modificable=false; "
            "consulta=0; frame=nil\n"
            "App / Tunnelwise: acciones=[\"AXPress\"]; posición modificable=false; consulta=0; "
            "frame={{664, 0}, {30, 24}}\n"
            "Detectados: 20. No se ha modificado ningún icono externo. La ausencia de "
            "resultados no demuestra ausencia de iconos."_s),
        qPrintable(report));

    // The unresponsive application cost one messaging timeout, nothing more.
    QCOMPARE(platform->time().now(), AXScanner::messagingTimeout);
}

// Each application answers the read of its extras menu bar and then hangs; every element
// read from it waits only the timeout the scanner set on that element.
void TestDesktopScan::applicationsThatHangMidScanCannotHoldItPastItsDeadline()
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    QList<ScanApp> apps;
    for (qint32 pid = 5000; pid < 5100; ++pid) {
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

QTEST_GUILESS_MAIN(TestDesktopScan)
#include "tst_desktopscan.moc"
