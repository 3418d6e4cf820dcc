#include "core/Time.h"
#include "inspection/Inspector.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QTest>

using namespace tk;

// The scanner and the inspector on the built-in simulated desktop, through the default
// scanner and permission check.
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
    QCOMPARE(ids, (QStringList{
                      QStringLiteral("com.apple.controlcenter:extras.0:Clock"),
                      QStringLiteral("com.apple.controlcenter:extras.1:Control Center"),
                      QStringLiteral("com.apple.controlcenter:extras.2:82 %"),
                      QStringLiteral("com.apple.controlcenter:extras.3:Wi-Fi"),
                      QStringLiteral("com.apple.Siri:extras.0:Siri"),
                      QStringLiteral("com.apple.Spotlight:extras.0:Spotlight"),
                      QStringLiteral("com.apple.TextInputMenuAgent:extras.0:U.S."),
                      QStringLiteral("com.driftwoodlabs.Weathervane:extras.0:12°"),
                      QStringLiteral("com.harborsoft.Dockyard:extras.0:CPU 14%"),
                      QStringLiteral("com.harborsoft.Dockyard:extras.1:↓ 2 MB/s"),
                      QStringLiteral("com.hollowoak.Clipjar:extras.0:Clipjar"),
                      QStringLiteral("com.fernpixel.NimbusSync:extras.0:Nimbus Sync"),
                      QStringLiteral("com.fernpixel.NimbusSync:extras.0.0:Pause syncing"),
                      QStringLiteral("com.fernpixel.NimbusSync:extras.0.1:Open the Nimbus folder"),
                      QStringLiteral("1933:extras.0:sw"),
                      QStringLiteral("com.brightfold.Lumen:extras.0:Brightness"),
                      QStringLiteral("com.quietbyte.Tallyclock:extras.0:"),
                      QStringLiteral("com.oddsprocket.Tinkertray:extras.0.0:Tinkertray"),
                      QStringLiteral("com.cobaltreed.Hushmic:extras.0:Icono sin etiqueta"),
                      QStringLiteral("com.tunnelwise.Client:extras.0:Tunnelwise"),
                  }));

    const QStringList lines = inspector.report().split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), ids.size() + 4);
    QCOMPARE(lines.mid(0, 3), (QStringList{QStringLiteral("Fecha: 2026-01-01T09:00:00Z"),
                                           QStringLiteral("macOS Version 27.0 (Build 27A100)"),
                                           QStringLiteral("Accessibility autorizado: sí")}));
    QVERIFY(lines.last().startsWith(QStringLiteral("Detectados: 20. ")));
    const auto lineOf = [&](const QString& start) {
        for (const QString& line : lines) {
            if (line.startsWith(start))
                return line;
        }
        return QString();
    };
    QVERIFY(lineOf(QStringLiteral("Lumen / Brightness: acciones=[\"AXPress\", \"AXIncrement\", "
                                  "\"AXDecrement\"]; posición modificable=true; consulta=0; "
                                  "frame={{"))
                .endsWith(QStringLiteral(", 0}, {28, 24}}")));
    QVERIFY(
        lineOf(QStringLiteral("Tallyclock / : ")).contains(QStringLiteral("; consulta=-25205;")));
    QVERIFY(lineOf(QStringLiteral("Tinkertray / Tinkertray: acciones=[]; ")).size() > 0);
    QVERIFY(lineOf(QStringLiteral("Hushmic / Icono sin etiqueta: "))
                .endsWith(QStringLiteral("frame=nil")));
    QVERIFY(lineOf(QStringLiteral("App / Tunnelwise: ")).size() > 0);

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
