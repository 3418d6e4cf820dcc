#include "inspection/AXScanner.h"
#include "platform/sim/VirtualTime.h"

#include <QHash>
#include <QTest>
#include <QTimeZone>
#include <functional>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

// Accessibility trees written as literals, for exact control over what every read answers.
class FakeElement final : public AXElement {
public:
    QHash<QString, AXAttribute> attributes;
    std::optional<QStringList> actions;
    AXSettable positionSettable{AXResult::success, true};
};
using FakeElementPtr = std::shared_ptr<FakeElement>;

AXAttribute of(AXAttribute::Kind kind, qint32 error = AXResult::success)
{
    AXAttribute a;
    a.kind = kind;
    a.error = error;
    return a;
}

AXAttribute string(const QString& value)
{
    AXAttribute a = of(AXAttribute::Kind::String);
    a.string = value;
    return a;
}

AXAttribute element(AXElementRef value)
{
    AXAttribute a = of(AXAttribute::Kind::Element);
    a.element = std::move(value);
    return a;
}

// A node with a role, a title and children; a frame when `width` is positive.
FakeElementPtr node(const QString& role, const QString& title = {},
                    const QList<FakeElementPtr>& children = {}, double x = 0, double width = 0)
{
    auto e = std::make_shared<FakeElement>();
    e->attributes.insert(u"AXRole"_s, string(role));
    if (!title.isNull())
        e->attributes.insert(u"AXTitle"_s, string(title));
    if (width > 0) {
        AXAttribute position = of(AXAttribute::Kind::PointValue);
        position.point = QPointF(x, 0);
        AXAttribute size = of(AXAttribute::Kind::SizeValue);
        size.size = QSizeF(width, 24);
        e->attributes.insert(u"AXPosition"_s, position);
        e->attributes.insert(u"AXSize"_s, size);
    }
    if (!children.isEmpty()) {
        AXAttribute list = of(AXAttribute::Kind::ElementList);
        for (const FakeElementPtr& child : children)
            list.elements << child;
        e->attributes.insert(u"AXChildren"_s, list);
    }
    return e;
}

FakeElementPtr item(const QString& title)
{
    return node(u"AXMenuBarItem"_s, title);
}

FakeElementPtr extras(const QList<FakeElementPtr>& children)
{
    return node(u"AXMenuBar"_s, QString(), children);
}

// Counts the reads, so that tests can tell what was never asked.
class FakeAccessibility final : public Accessibility {
public:
    // Runs before every read of an attribute; tests use it to let virtual time pass.
    std::function<void(const FakeElement&, const QString&)> beforeRead;
    QList<qint32> applicationsAsked;

    void addApplication(qint32 pid, const FakeElementPtr& extrasMenuBar)
    {
        auto app = std::make_shared<FakeElement>();
        if (extrasMenuBar)
            app->attributes.insert(u"AXExtrasMenuBar"_s, element(extrasMenuBar));
        m_applications.insert(pid, app);
    }

    AXElementRef applicationElement(qint32 pid) override
    {
        applicationsAsked << pid;
        return m_applications.value(pid);
    }
    void setMessagingTimeout(const AXElementRef&, double) override {}
    AXAttribute attribute(const AXElementRef& element, const QString& name) override
    {
        const auto& e = static_cast<const FakeElement&>(*element);
        if (beforeRead)
            beforeRead(e, name);
        ++m_reads[qMakePair(&e, name)];
        return e.attributes.value(name, of(AXAttribute::Kind::Nothing, AXResult::noValue));
    }
    std::optional<QStringList> actionNames(const AXElementRef& element) override
    {
        return static_cast<const FakeElement&>(*element).actions;
    }
    AXSettable isAttributeSettable(const AXElementRef& element, const QString&) override
    {
        return static_cast<const FakeElement&>(*element).positionSettable;
    }
    qint32 performAction(const AXElementRef&, const QString&) override
    {
        return AXResult::actionUnsupported;
    }
    bool isProcessTrusted() override { return true; }
    bool promptForTrust() override { return true; }

    int reads(const FakeElementPtr& element, const QString& name = u"AXRole"_s) const
    {
        return m_reads.value(qMakePair(element.get(), name));
    }

private:
    QHash<qint32, FakeElementPtr> m_applications;
    QHash<QPair<const FakeElement*, QString>, int> m_reads;
};

const QString osVersion = u"Version 15.3 (Build 24D60)"_s;
const QString closingTail = u". No se ha modificado ningún icono externo. La "
                            "ausencia de resultados no demuestra ausencia de iconos."_s;
const QString partialLine = u"Exploración parcial: se alcanzó el límite de tiempo."_s;

const QList<ScanApp> twoApplications{{1, {}, {}}, {2, {}, {}}};

QList<FakeElementPtr> items(int count)
{
    QList<FakeElementPtr> list;
    for (int i = 0; i < count; ++i)
        list << item(u"i%1"_s.arg(i));
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
        // A clock an hour east of UTC, a fraction of a second past the minute.
        vtime = std::make_unique<VirtualTimeSource>(
            QDateTime(QDate(2026, 3, 1), QTime(10, 30, 0), QTimeZone(3600)));
        vtime->advance(0.75);
    }
    void knownDesktopGivesExactReportAndItems();
    void frameNeedsPointAndSizeValues_data();
    void frameNeedsPointAndSizeValues();
    void elementLimitPerApplication();
    void deadline_data();
    void deadline();
};

void TestAXScanner::knownDesktopGivesExactReportAndItems()
{
    auto clock = node(u"AXMenuBarItem"_s, u"12:30"_s, {}, 1200, 60);
    clock->actions = QStringList{u"AXPress"_s};
    auto wifi = node(u"AXMenuBarItem"_s, u""_s, {}, 1100, 30);
    wifi->attributes.insert(u"AXDescription"_s, string(u"Wi-Fi"_s));
    wifi->actions = QStringList{u"AXPress"_s, u"AXShowMenu"_s};
    wifi->positionSettable = {AXResult::attributeUnsupported, false};
    auto button = node(u"AXButton"_s, u"Botón \"uno\""_s, {}, -3.5, 22.25);
    auto menu = item(u"Menú"_s);
    const QString controls = u"\"a\"\n\tb\r"_s + QChar(0x1b) + QChar(0) + QChar(0x7f);
    menu->actions = QStringList{u"AX\\Raise ⌘"_s, controls};
    menu->positionSettable = {AXResult::failure, true}; // settable, but the query failed
    auto group = node(u"AXGroup"_s, u"ignored"_s, {button});
    // Children that do not read as a list of elements end the branch.
    AXAttribute failedList = of(AXAttribute::Kind::ElementList, AXResult::cannotComplete);
    failedList.elements << item(u"hidden"_s);
    clock->attributes.insert(u"AXChildren"_s, failedList);
    wifi->attributes.insert(u"AXChildren"_s, of(AXAttribute::Kind::Other));
    menu->attributes.insert(u"AXChildren"_s, element(item(u"hidden"_s)));

    ax->addApplication(101, extras({clock}));
    ax->addApplication(202, extras({wifi}));
    ax->addApplication(303, nullptr);
    ax->addApplication(404, extras({group, menu}));

    const ScanResult result = scan({{101, u"com.example.clock"_s, u"Reloj"_s},
                                    {202, {}, {}},
                                    {303, u"com.example.nobar"_s, u"Sin barra"_s},
                                    {404, u"com.example.nested"_s, u"Anidada"_s}});

    const QString expected =
        u"Fecha: 2026-03-01T09:30:00Z\n"
        "macOS Version 15.3 (Build 24D60)\n"
        "Accessibility autorizado: sí\n"
        "Reloj / 12:30: acciones=[\"AXPress\"]; posición modificable=true; consulta=0; "
        "frame={{1200, 0}, {60, 24}}\n"
        "App / Wi-Fi: acciones=[\"AXPress\", \"AXShowMenu\"]; posición modificable=false; "
        "consulta=-25205; frame={{1100, 0}, {30, 24}}\n"
        "Anidada / Botón \"uno\": acciones=[]; posición modificable=true; consulta=0; "
        "frame={{-3.5, 0}, {22.25, 24}}\n"
        "Anidada / Menú: acciones=[\"AX\\\\Raise ⌘\", \"\\\"a\\\"\\n\\tb\\r\\u{1b}\\0\\u{7f}\"]; "
        "posición modificable=true; consulta=-25200; frame=nil\n"
        "Detectados: 4"_s;
    QCOMPARE(result.report, expected + closingTail);

    QStringList ids;
    QList<bool> writable; // not in the report
    for (const ExternalItem& found : result.items) {
        ids << found.id;
        writable << found.positionWritable;
    }
    QCOMPARE(ids, (QStringList{u"com.example.clock:extras.0:12:30"_s, u"202:extras.0:Wi-Fi"_s,
                               u"com.example.nested:extras.0.0:Botón \"uno\""_s,
                               u"com.example.nested:extras.1:Menú"_s}));
    QCOMPARE(writable, (QList<bool>{true, false, true, false}));
    QCOMPARE(result.items[0].bundleID, std::optional<QString>(u"com.example.clock"_s));
    QCOMPARE(result.items[0].element.get(), clock.get());
    QVERIFY(!result.items[1].bundleID);

    // Texts far longer than a usual line come out whole.
    const QString longTitle = u"Título largo "_s.repeated(80);
    ax->addApplication(505, extras({node(u"AXMenuBarItem"_s, longTitle, {}, 10, 20)}));
    const ScanResult longer = scan({{505, u"com.example.long"_s, u"Larga"_s}});
    QCOMPARE(longer.items.size(), 1);
    QCOMPARE(longer.items[0].id, u"com.example.long:extras.0:"_s + longTitle);
    QVERIFY(longer.report.contains(u"\nLarga / "_s + longTitle +
                                   u": acciones=[]; posición modificable=true; consulta=0; "
                                   "frame={{10, 0}, {20, 24}}\n"_s));
}

void TestAXScanner::frameNeedsPointAndSizeValues_data()
{
    QTest::addColumn<AXAttribute>("position");
    QTest::addColumn<AXAttribute>("size");
    QTest::addColumn<std::optional<Rect>>("expected");
    using Kind = AXAttribute::Kind;
    AXAttribute point = of(Kind::PointValue);
    const AXAttribute pointless = point;
    point.point = QPointF(-10.5, 3);
    AXAttribute size = of(Kind::SizeValue);
    size.size = QSizeF(28, 22);
    // The answers turned down carry a point or a size all the same.
    AXAttribute sizeKind = point, otherKind = size, failedPoint = point, failedSize = size;
    sizeKind.kind = Kind::SizeValue;
    otherKind.kind = Kind::OtherValue;
    failedPoint.error = failedSize.error = AXResult::cannotComplete;
    const std::optional<Rect> none;
    QTest::newRow("both") << point << size << std::optional<Rect>(Rect{-10.5, 3, 28, 22});
    QTest::newRow("position read failed") << failedPoint << size << none;
    QTest::newRow("size read failed") << point << failedSize << none;
    QTest::newRow("position of the size kind") << sizeKind << size << none;
    QTest::newRow("size of another kind") << point << otherKind << none;
    QTest::newRow("point not extractable") << pointless << size << none;
}

void TestAXScanner::frameNeedsPointAndSizeValues()
{
    QFETCH(AXAttribute, position);
    QFETCH(AXAttribute, size);
    QFETCH(std::optional<Rect>, expected);
    auto element = item(u"x"_s);
    element->attributes.insert(u"AXPosition"_s, position);
    element->attributes.insert(u"AXSize"_s, size);
    QCOMPARE(AXScanner::frame(*ax, element), expected);
}

// 60 elements per application, the extras menu bar first; the count starts over for each.
void TestAXScanner::elementLimitPerApplication()
{
    const QList<FakeElementPtr> first = items(60);
    ax->addApplication(1, extras(first));
    ax->addApplication(2, extras(items(60)));

    const ScanResult result = scan(twoApplications);
    QCOMPARE(result.items.size(), 2 * 59);
    QCOMPARE(ax->reads(first[59]), 0);
}

// Time passes as one item's role is read. Past the scan's 12 seconds that item is recorded and
// nothing after it is read; an application left unscanned makes it partial.
void TestAXScanner::deadline_data()
{
    QTest::addColumn<int>("slowApplication");
    QTest::addColumn<int>("slowChild");
    QTest::addColumn<double>("cost");
    QTest::addColumn<int>("recorded");
    QTest::newRow("just before the deadline") << 1 << 1 << 11.999 << 12;
    QTest::newRow("at the deadline, before the next application") << 1 << 1 << 12.0 << 2;
    QTest::newRow("at the deadline, in the last application") << 2 << 3 << 12.0 << 6;
}

void TestAXScanner::deadline()
{
    QFETCH(int, slowApplication);
    QFETCH(int, slowChild);
    QFETCH(double, cost);
    QFETCH(int, recorded);
    const QList<QList<FakeElementPtr>> children{items(2), items(10)};
    ax->addApplication(1, extras(children[0]));
    ax->addApplication(2, extras(children[1]));
    const FakeElementPtr slow = children[slowApplication - 1][slowChild];
    const FakeElementPtr next = children[1][slowChild + 1]; // in the scan's order, after `slow`
    ax->beforeRead = [&](const FakeElement& e, const QString& name) {
        if (&e == slow.get() && name == QLatin1String("AXRole"))
            vtime->elapse(cost);
    };

    const ScanResult result = scan(twoApplications);
    QCOMPARE(result.items.size(), recorded);
    QCOMPARE(ax->reads(next), cost < 12.0 ? 1 : 0);
    const bool partial = slowApplication == 1 && cost >= 12.0;
    QCOMPARE(ax->applicationsAsked, (partial ? QList<qint32>{1} : QList<qint32>{1, 2}));
    const QStringList lines = result.report.split(QLatin1Char('\n'));
    QCOMPARE(lines.at(lines.size() - 2) == partialLine, partial);
    QCOMPARE(lines.last(), u"Detectados: %1"_s.arg(recorded) + closingTail);
}

QTEST_GUILESS_MAIN(TestAXScanner)
#include "tst_axscanner.moc"
