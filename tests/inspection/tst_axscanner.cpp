#include "FakeAccessibility.h"
#include "inspection/AXScanner.h"
#include "platform/sim/VirtualTime.h"

#include <QTest>
#include <QTimeZone>

using namespace tk;

using fake::item;
using fake::node;

namespace {

const QString osVersion = QStringLiteral("Version 15.3 (Build 24D60)");
const QString closingTail =
    QStringLiteral(". No se ha modificado ningún icono externo. La "
                   "ausencia de resultados no demuestra ausencia de iconos.");
const QString partialLine = QStringLiteral("Exploración parcial: se alcanzó el límite de tiempo.");

ScanApp app(qint32 pid, std::optional<QString> bundle = std::nullopt,
            std::optional<QString> name = std::nullopt)
{
    return ScanApp{pid, std::move(bundle), std::move(name)};
}

QList<FakeElementPtr> items(int count)
{
    QList<FakeElementPtr> list;
    for (int i = 0; i < count; ++i)
        list << item(QStringLiteral("i%1").arg(i));
    return list;
}

QStringList ids(const ScanResult& result)
{
    QStringList list;
    for (const ExternalItem& i : result.items)
        list << i.id;
    return list;
}

} // namespace

class TestAXScanner : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<FakeAccessibility> ax;
    std::unique_ptr<VirtualTimeSource> vtime;
    ScanResult scan(const QList<ScanApp>& apps)
    {
        return AXScanner::scan(apps, ScanEnvironment{*ax, *vtime, osVersion});
    }

private Q_SLOTS:
    void init()
    {
        ax = std::make_unique<FakeAccessibility>();
        vtime = std::make_unique<VirtualTimeSource>();
    }
    void emptyListGivesFourLinesDatedInUtc();
    void knownDesktopGivesExactReportAndItems();
    void titleFallbacks_data();
    void titleFallbacks();
    void settableAnswer_data();
    void settableAnswer();
    void frameNeedsPointAndSizeValues_data();
    void frameNeedsPointAndSizeValues();
    void elementLimitPerApplication_data();
    void elementLimitPerApplication();
    void depthFirstToLevelTwoOnly();
    void unreadableChildrenEndTheBranch_data();
    void unreadableChildrenEndTheBranch();
    void equalIdsAreKept();
    void deadlineBetweenApplications_data();
    void deadlineBetweenApplications();
    void deadlineInsideLastWalkAddsNoPartialLine();
    void deadlineInsideEarlierWalkStopsBeforeNextApplication();
    void unresponsiveApplicationsCostOnlyTheirTimeouts();
    void actionListEscapes_data();
    void actionListEscapes();
};

void TestAXScanner::emptyListGivesFourLinesDatedInUtc()
{
    VirtualTimeSource zoned(QDateTime(QDate(2026, 3, 1), QTime(10, 30, 0), QTimeZone(3600)));
    zoned.advance(0.75);
    const ScanResult result = AXScanner::scan({}, ScanEnvironment{*ax, zoned, osVersion});
    QVERIFY(result.items.isEmpty());
    QCOMPARE(result.report.split(QLatin1Char('\n')),
             (QStringList{QStringLiteral("Fecha: 2026-03-01T09:30:00Z"),
                          QStringLiteral("macOS ") + osVersion,
                          QStringLiteral("Accessibility autorizado: sí"),
                          QStringLiteral("Detectados: 0") + closingTail}));
}

void TestAXScanner::knownDesktopGivesExactReportAndItems()
{
    auto clock = node(QStringLiteral("AXMenuBarItem"), QStringLiteral("12:30"), {}, 1200, 60);
    clock->actions = QStringList{QStringLiteral("AXPress")};
    auto wifi = node(QStringLiteral("AXMenuBarItem"), QString(), {}, 1100, 30);
    wifi->attributes.insert(QStringLiteral("AXDescription"), fake::string(QStringLiteral("Wi-Fi")));
    wifi->actions = QStringList{QStringLiteral("AXPress"), QStringLiteral("AXShowMenu")};
    wifi->positionSettable = {AXResult::attributeUnsupported, false};
    auto button =
        node(QStringLiteral("AXButton"), QStringLiteral("Botón \"uno\""), {}, -3.5, 22.25);
    auto menu = item(QStringLiteral("Menú"));
    menu->actions = QStringList{QStringLiteral("AX\\Raise")};
    auto group = node(QStringLiteral("AXGroup"), QStringLiteral("ignored"), {button});

    ax->addApplication(101, fake::extras({clock}));
    ax->addApplication(202, fake::extras({wifi}));
    ax->addApplication(303, nullptr);
    ax->addApplication(404, fake::extras({group, menu}));

    const ScanResult result =
        scan({app(101, QStringLiteral("com.example.clock"), QStringLiteral("Reloj")), app(202),
              app(303, QStringLiteral("com.example.nobar"), QStringLiteral("Sin barra")),
              app(404, QStringLiteral("com.example.nested"), QStringLiteral("Anidada"))});

    const QString expected = QStringLiteral(
        "Fecha: 2026-01-01T09:00:00Z\n"
        "macOS Version 15.3 (Build 24D60)\n"
        "Accessibility autorizado: sí\n"
        "Reloj / 12:30: acciones=[\"AXPress\"]; posición modificable=true; consulta=0; "
        "frame={{1200, 0}, {60, 24}}\n"
        "App / Wi-Fi: acciones=[\"AXPress\", \"AXShowMenu\"]; posición modificable=false; "
        "consulta=-25205; frame={{1100, 0}, {30, 24}}\n"
        "Anidada / Botón \"uno\": acciones=[]; posición modificable=true; consulta=0; "
        "frame={{-3.5, 0}, {22.25, 24}}\n"
        "Anidada / Menú: acciones=[\"AX\\\\Raise\"]; posición modificable=true; consulta=0; "
        "frame=nil\n"
        "Detectados: 4");
    QCOMPARE(result.report, expected + closingTail);

    QCOMPARE(ids(result),
             (QStringList{QStringLiteral("com.example.clock:extras.0:12:30"),
                          QStringLiteral("202:extras.0:Wi-Fi"),
                          QStringLiteral("com.example.nested:extras.0.0:Botón \"uno\""),
                          QStringLiteral("com.example.nested:extras.1:Menú")}));
    // The report is made from the items, so only what it does not show is checked on them.
    QCOMPARE(result.items[0].bundleID, std::optional<QString>(QStringLiteral("com.example.clock")));
    QCOMPARE(result.items[0].element.get(), clock.get());
    QVERIFY(!result.items[1].bundleID);
    QCOMPARE(ax->timeouts(), QList<double>(12, 0.08)); // every application and element read
}

void TestAXScanner::titleFallbacks_data()
{
    QTest::addColumn<std::optional<AXAttribute>>("title");
    QTest::addColumn<std::optional<AXAttribute>>("description");
    QTest::addColumn<QString>("expected");
    const auto s = [](const char* text) {
        return std::optional<AXAttribute>(fake::string(QString::fromUtf8(text)));
    };
    const std::optional<AXAttribute> none;
    QTest::newRow("title") << s("Batería") << s("ignored") << QStringLiteral("Batería");
    QTest::newRow("empty title, description") << s("") << s("Wi-Fi") << QStringLiteral("Wi-Fi");
    QTest::newRow("empty title, empty description") << s("") << s("") << QString();
    QTest::newRow("neither") << none << none << QStringLiteral("Icono sin etiqueta");
    QTest::newRow("empty title, no description")
        << s("") << none << QStringLiteral("Icono sin etiqueta");
    QTest::newRow("title not a string")
        << std::optional<AXAttribute>(fake::other()) << s("Sonido") << QStringLiteral("Sonido");
}

void TestAXScanner::titleFallbacks()
{
    QFETCH(std::optional<AXAttribute>, title);
    QFETCH(std::optional<AXAttribute>, description);
    QFETCH(QString, expected);
    auto element = node(QStringLiteral("AXMenuBarItem"));
    if (title)
        element->attributes.insert(QStringLiteral("AXTitle"), *title);
    if (description)
        element->attributes.insert(QStringLiteral("AXDescription"), *description);
    ax->addApplication(812, fake::extras({element}));

    const ScanResult result = scan({app(812)});
    QCOMPARE(result.items.size(), 1);
    QCOMPARE(result.items[0].title, expected);
    QCOMPARE(result.items[0].id, QStringLiteral("812:extras.0:") + expected);
    QVERIFY(result.report.contains(QStringLiteral("\nApp / ") + expected + QStringLiteral(": ")));
}

void TestAXScanner::settableAnswer_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("settable");
    QTest::addColumn<bool>("writable");
    QTest::addColumn<QString>("fragment");
    QTest::newRow("yes") << 0 << true << true << QStringLiteral("modificable=true; consulta=0;");
    QTest::newRow("no") << 0 << false << false << QStringLiteral("modificable=false; consulta=0;");
    QTest::newRow("failed") << int(AXResult::cannotComplete) << false << false
                            << QStringLiteral("modificable=false; consulta=-25204;");
    QTest::newRow("yes with a failure code")
        << int(AXResult::failure) << true << false
        << QStringLiteral("modificable=true; consulta=-25200;");
}

void TestAXScanner::settableAnswer()
{
    QFETCH(int, error);
    QFETCH(bool, settable);
    QFETCH(bool, writable);
    QFETCH(QString, fragment);
    auto element = item(QStringLiteral("x"));
    element->positionSettable = {error, settable};
    ax->addApplication(1, fake::extras({element}));

    const ScanResult result = scan({app(1)});
    QCOMPARE(result.items.size(), 1);
    QCOMPARE(result.items[0].positionWritable, writable);
    QVERIFY2(result.report.contains(fragment), qPrintable(result.report));
}

void TestAXScanner::frameNeedsPointAndSizeValues_data()
{
    QTest::addColumn<std::optional<AXAttribute>>("position");
    QTest::addColumn<std::optional<AXAttribute>>("size");
    QTest::addColumn<std::optional<Rect>>("expected");
    using A = std::optional<AXAttribute>;
    const A point = fake::point(-10.5, 3), size = fake::size(28, 22);
    AXAttribute unextractable = fake::point(0, 0);
    unextractable.point.reset();
    AXAttribute otherValue;
    otherValue.kind = AXAttribute::Kind::OtherValue;
    QTest::newRow("both") << point << size << std::optional<Rect>(Rect{-10.5, 3, 28, 22});
    QTest::newRow("no position") << A() << size << std::optional<Rect>();
    QTest::newRow("no size") << point << A() << std::optional<Rect>();
    QTest::newRow("position not a value") << A(fake::other()) << size << std::optional<Rect>();
    QTest::newRow("position of the size kind") << size << size << std::optional<Rect>();
    QTest::newRow("size of another kind") << point << A(otherValue) << std::optional<Rect>();
    QTest::newRow("point not extractable") << A(unextractable) << size << std::optional<Rect>();
    QTest::newRow("size read failed")
        << point << A(fake::failed(AXResult::cannotComplete)) << std::optional<Rect>();
}

void TestAXScanner::frameNeedsPointAndSizeValues()
{
    QFETCH(std::optional<AXAttribute>, position);
    QFETCH(std::optional<AXAttribute>, size);
    QFETCH(std::optional<Rect>, expected);
    auto element = item(QStringLiteral("x"));
    if (position)
        element->attributes.insert(QStringLiteral("AXPosition"), *position);
    if (size)
        element->attributes.insert(QStringLiteral("AXSize"), *size);
    QCOMPARE(AXScanner::frame(*ax, element), expected);
}

void TestAXScanner::elementLimitPerApplication_data()
{
    QTest::addColumn<int>("children");
    QTest::addColumn<int>("recorded");
    // The extras menu bar is the first of the 60 elements.
    QTest::newRow("59 children: 60 elements") << 59 << 59;
    QTest::newRow("60 children: the 61st element is not visited") << 60 << 59;
}

void TestAXScanner::elementLimitPerApplication()
{
    QFETCH(int, children);
    QFETCH(int, recorded);
    const QList<FakeElementPtr> first = items(children);
    const QList<FakeElementPtr> second = items(children);
    ax->addApplication(1, fake::extras(first));
    ax->addApplication(2, fake::extras(second));

    const ScanResult result = scan({app(1), app(2)});
    QCOMPARE(result.items.size(), 2 * recorded); // the count starts over for each application
    QCOMPARE(result.items[recorded - 1].id, QStringLiteral("1:extras.%1:i%1").arg(recorded - 1));
    if (children > recorded)
        QCOMPARE(ax->reads(first[recorded], QStringLiteral("AXRole")), 0);
}

void TestAXScanner::depthFirstToLevelTwoOnly()
{
    auto level3 = item(QStringLiteral("a00"));
    ax->addApplication(
        9, fake::extras({item(QStringLiteral("a"),
                              {item(QStringLiteral("a0"), {level3}), item(QStringLiteral("a1"))}),
                         item(QStringLiteral("b"))}));
    const ScanResult result = scan({app(9, QStringLiteral("d"))});
    QCOMPARE(ids(result),
             (QStringList{QStringLiteral("d:extras.0:a"), QStringLiteral("d:extras.0.0:a0"),
                          QStringLiteral("d:extras.0.1:a1"), QStringLiteral("d:extras.1:b")}));
    QCOMPARE(ax->reads(level3, QStringLiteral("AXRole")), 0);
}

void TestAXScanner::unreadableChildrenEndTheBranch_data()
{
    QTest::addColumn<AXAttribute>("children");
    AXAttribute failedRead = fake::failed(AXResult::cannotComplete);
    failedRead.kind = AXAttribute::Kind::ElementList; // a failed read never counts
    failedRead.elements << item(QStringLiteral("hidden"));
    QTest::newRow("not a list of elements") << fake::other();
    QTest::newRow("failed read") << failedRead;
    QTest::newRow("a single element") << fake::element(item(QStringLiteral("hidden")));
}

void TestAXScanner::unreadableChildrenEndTheBranch()
{
    QFETCH(AXAttribute, children);
    auto parent = item(QStringLiteral("parent"));
    parent->attributes.insert(QStringLiteral("AXChildren"), children);
    ax->addApplication(3, fake::extras({parent, item(QStringLiteral("next"))}));

    const ScanResult result = scan({app(3)});
    QCOMPARE(ids(result),
             (QStringList{QStringLiteral("3:extras.0:parent"), QStringLiteral("3:extras.1:next")}));
}

void TestAXScanner::equalIdsAreKept()
{
    ax->addApplication(10, fake::extras({item(QStringLiteral("Nube"))}));
    ax->addApplication(11, fake::extras({item(QStringLiteral("Nube"))}));
    const auto bundle = QStringLiteral("com.example.cloud");
    const ScanResult result = scan({app(10, bundle), app(11, bundle)});
    QCOMPARE(ids(result), QStringList(2, QStringLiteral("com.example.cloud:extras.0:Nube")));
    QVERIFY(result.items[0].element != result.items[1].element);
}

void TestAXScanner::deadlineBetweenApplications_data()
{
    QTest::addColumn<double>("firstCosts");
    QTest::addColumn<bool>("secondScanned");
    QTest::newRow("just before the deadline") << 11.999 << true;
    QTest::newRow("at the deadline") << 12.0 << false;
}

void TestAXScanner::deadlineBetweenApplications()
{
    QFETCH(double, firstCosts);
    QFETCH(bool, secondScanned);
    vtime->advance(100); // the deadline counts from the start of the scan
    ax->addApplication(1, nullptr);
    ax->addApplication(2, fake::extras({item(QStringLiteral("late"))}));
    ax->beforeRead = [&](const FakeElement&, const QString& name) {
        if (name == QLatin1String("AXExtrasMenuBar") && ax->applicationsAsked().size() == 1)
            vtime->elapse(firstCosts);
    };

    const ScanResult result = scan({app(1), app(2), app(3)});
    const QList<qint32> asked = secondScanned ? QList<qint32>{1, 2, 3} : QList<qint32>{1};
    QCOMPARE(ax->applicationsAsked(), asked);
    QCOMPARE(result.items.size(), secondScanned ? 1 : 0);
    const QStringList lines = result.report.split(QLatin1Char('\n'));
    QCOMPARE(lines.contains(partialLine), !secondScanned);
    if (!secondScanned)
        QCOMPARE(lines.at(lines.size() - 2), partialLine);
}

void TestAXScanner::deadlineInsideLastWalkAddsNoPartialLine()
{
    const QList<FakeElementPtr> children = items(10);
    ax->addApplication(1, fake::extras({item(QStringLiteral("early"))}));
    ax->addApplication(2, fake::extras(children));
    ax->beforeRead = [&](const FakeElement& e, const QString& name) {
        if (&e == children[3].get() && name == QLatin1String("AXRole"))
            vtime->elapse(12.0);
    };

    const ScanResult result = scan({app(1), app(2)});
    // The fourth child was already being visited when time ran out; the fifth is not.
    QCOMPARE(result.items.size(), 1 + 4);
    QCOMPARE(ax->reads(children[4], QStringLiteral("AXRole")), 0);
    QVERIFY(!result.report.contains(partialLine));
    QVERIFY(result.report.endsWith(QStringLiteral("Detectados: 5") + closingTail));
}

void TestAXScanner::deadlineInsideEarlierWalkStopsBeforeNextApplication()
{
    auto slow = item(QStringLiteral("slow"));
    ax->addApplication(1, fake::extras({slow, item(QStringLiteral("skipped"))}));
    ax->addApplication(2, fake::extras({item(QStringLiteral("never"))}));
    ax->beforeRead = [&](const FakeElement& e, const QString&) {
        if (&e == slow.get())
            vtime->elapse(3.0);
    };

    const ScanResult result = scan({app(1), app(2)});
    QCOMPARE(ids(result), QStringList{QStringLiteral("1:extras.0:slow")});
    QCOMPARE(ax->applicationsAsked(), QList<qint32>{1});
    const QStringList lines = result.report.split(QLatin1Char('\n'));
    QCOMPARE(lines.at(lines.size() - 2), partialLine);
}

void TestAXScanner::unresponsiveApplicationsCostOnlyTheirTimeouts()
{
    QList<ScanApp> apps;
    for (qint32 pid = 1; pid <= 400; ++pid)
        apps << app(pid); // none of them answers: every read runs into its timeout and fails
    ax->beforeRead = [&](const FakeElement&, const QString&) {
        vtime->elapse(AXScanner::messagingTimeout);
    };
    const double start = vtime->now();

    const ScanResult result = scan(apps);
    const double spent = vtime->now() - start;
    QVERIFY2(spent >= 12.0 && spent < 12.0 + 0.08 + 1e-9, qPrintable(QString::number(spent)));
    QVERIFY(qAbs(ax->applicationsAsked().size() - 150) <= 1);
    QVERIFY(result.items.isEmpty());
    QVERIFY(result.report.contains(QLatin1Char('\n') + partialLine + QLatin1Char('\n')));
}

void TestAXScanner::actionListEscapes_data()
{
    QTest::addColumn<QStringList>("actions");
    QTest::addColumn<QString>("expected");
    QTest::newRow("quote and backslash") << QStringList{QStringLiteral("say \"hi\"\\")}
                                         << QStringLiteral("[\"say \\\"hi\\\"\\\\\"]");
    QTest::newRow("control characters") << QStringList{QStringLiteral("a\nb\tc") + QChar(0x1b)}
                                        << QStringLiteral("[\"a\\nb\\tc\\u{1b}\"]");
    QTest::newRow("non-ASCII kept")
        << QStringList{QStringLiteral("Menú ⌘")} << QStringLiteral("[\"Menú ⌘\"]");
}

void TestAXScanner::actionListEscapes()
{
    QFETCH(QStringList, actions);
    QFETCH(QString, expected);
    QCOMPARE(AXScanner::actionListText(actions), expected);
}

QTEST_GUILESS_MAIN(TestAXScanner)
#include "tst_axscanner.moc"
