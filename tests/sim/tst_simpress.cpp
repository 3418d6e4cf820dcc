#include "ScenarioFixture.h"

#include "inspection/Accessibility.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/VirtualTime.h"

#include <QSignalSpy>
#include <QTest>

using namespace tk;
using namespace Qt::StringLiterals;

// Presses on the simulated applications' items: what each answers, what it records and
// which item's menu is open afterwards.
class TestSimPress : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pressesAnItem_data();
    void pressesAnItem();
    void theNextClickOrAQuitClosesTheMenu();
};

namespace {

// One application (pid 7, "com.example.Clip") with one item described by `item`, and a
// second one (pid 8) whose item opens its menu on a press.
QByteArray desktop(const QByteArray& item)
{
    return R"({"apps": [{"pid": 7, "bundle": "com.example.Clip", "items": [{"title": "Other"}, )" +
           item + R"(]}, {"pid": 8, "bundle": "com.example.Vpn", "items": [)"
                  R"({"title": "Vpn", "actions": ["AXPress"]}]}]})";
}

AXElementRef itemElement(Accessibility& accessibility, qint32 pid, int index)
{
    const AXAttribute bar = accessibility.attribute(accessibility.applicationElement(pid),
                                                    u"AXExtrasMenuBar"_s);
    return accessibility.attribute(bar.element, u"AXChildren"_s).elements.value(index);
}

} // namespace

void TestSimPress::pressesAnItem_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<qint32>("result");
    QTest::addColumn<QString>("recorded"); // "title action result acted", empty: nothing
    QTest::addColumn<bool>("menuOpens");
    QTest::addColumn<double>("seconds"); // what the press cost

    const QByteArray press = R"({"title": "Clip", "actions": ["AXPress", "AXShowMenu", "AXIncrement"])";
    QTest::newRow("press") << press + "}" << u"AXPress"_s << true << AXResult::success
                           << u"Clip AXPress 0 1"_s << true << 0.0;
    QTest::newRow("show menu") << press + "}" << u"AXShowMenu"_s << true << AXResult::success
                               << u"Clip AXShowMenu 0 1"_s << true << 0.0;
    QTest::newRow("another action") << press + "}" << u"AXIncrement"_s << true
                                    << AXResult::success << u"Clip AXIncrement 0 1"_s << false
                                    << 0.0;
    QTest::newRow("not listed") << press + "}" << u"AXCancel"_s << true
                                << AXResult::actionUnsupported << QString() << false << 0.0;
    QTest::newRow("names that cannot be read") << QByteArray(R"({"title": "Clip", "actions": [1]})")
                                               << u"AXPress"_s << true << AXResult::success
                                               << u"Clip AXPress 0 1"_s << true << 0.0;
    QTest::newRow("refused") << press + R"(, "pressResult": -25204})" << u"AXPress"_s << true
                             << AXResult::cannotComplete << u"Clip AXPress -25204 0"_s << false
                             << 0.0;
    QTest::newRow("late, in time") << press + R"(, "pressDelay": 2})" << u"AXPress"_s << true
                                   << AXResult::success << u"Clip AXPress 0 1"_s << true << 2.0;
    // Past the messaging timeout the caller hears nothing, yet the application acts.
    QTest::newRow("late, past the timeout")
        << press + R"(, "pressDelay": 60})" << u"AXPress"_s << true << AXResult::cannotComplete
        << u"Clip AXPress -25204 1"_s << true << SimAccessibility::defaultMessagingTimeout;
    QTest::newRow("by its description")
        << QByteArray(R"({"description": "Clipboard", "actions": ["AXPress"]})") << u"AXPress"_s
        << true << AXResult::success << u"Clipboard AXPress 0 1"_s << true << 0.0;
    QTest::newRow("not trusted") << press + "}" << u"AXPress"_s << false << AXResult::apiDisabled
                                 << QString() << false << 0.0;
}

void TestSimPress::pressesAnItem()
{
    QFETCH(QByteArray, item);
    QFETCH(QString, action);
    QFETCH(bool, trusted);
    QFETCH(qint32, result);
    QFETCH(QString, recorded);
    QFETCH(bool, menuOpens);
    QFETCH(double, seconds);

    SimDesktop simDesktop(scenario(desktop(item)));
    VirtualTimeSource time;
    SimAccessibility accessibility(simDesktop, time);
    const AXElementRef element = itemElement(accessibility, 7, 1);
    QVERIFY(element);
    simDesktop.setTrusted(trusted);
    const double before = time.now();

    QCOMPARE(accessibility.performAction(element, action), result);
    // Reaching the application is a round trip of its own.
    QCOMPARE(time.now() - before, seconds + (trusted ? SimScenario().requestCost : 0.0));
    QStringList presses;
    for (const SimPress& press : simDesktop.presses()) {
        QCOMPARE(press.pid, 7);
        QCOMPARE(press.bundle, u"com.example.Clip"_s);
        QCOMPARE(press.item, 1);
        presses << u"%1 %2 %3 %4"_s.arg(press.title, press.action).arg(press.result).arg(
            int(press.acted));
    }
    QCOMPARE(presses.join(u'\n'), recorded);
    QCOMPARE(simDesktop.openItemMenu().has_value(), menuOpens);
}

void TestSimPress::theNextClickOrAQuitClosesTheMenu()
{
    SimDesktop simDesktop(scenario(desktop(R"({"title": "Clip", "actions": ["AXPress"]})")));
    VirtualTimeSource time;
    SimAccessibility accessibility(simDesktop, time);
    QSignalSpy changes(&simDesktop, &SimDesktop::itemMenuChanged);
    const AXElementRef clip = itemElement(accessibility, 7, 1);
    const AXElementRef vpn = itemElement(accessibility, 8, 0);

    QCOMPARE(accessibility.performAction(clip, u"AXPress"_s), AXResult::success);
    QCOMPARE(accessibility.performAction(vpn, u"AXPress"_s), AXResult::success);
    QCOMPARE(simDesktop.openItemMenu()->bundle, u"com.example.Vpn"_s); // one menu at a time
    simDesktop.closeItemMenu();
    QVERIFY(!simDesktop.openItemMenu());
    simDesktop.closeItemMenu(); // nothing open: nothing changes
    QCOMPARE(changes.size(), 3);

    QCOMPARE(accessibility.performAction(clip, u"AXPress"_s), AXResult::success);
    QVERIFY(simDesktop.quitApplication(8)); // another application's quit leaves it open
    QVERIFY(simDesktop.openItemMenu());
    QVERIFY(simDesktop.quitApplication(7));
    QVERIFY(!simDesktop.openItemMenu());
    // An element of a quit application cannot be pressed, and nothing is recorded.
    QCOMPARE(accessibility.performAction(clip, u"AXPress"_s), AXResult::invalidUIElement);
    QCOMPARE(simDesktop.presses().size(), 3);
}

QTEST_GUILESS_MAIN(TestSimPress)
#include "tst_simpress.moc"
