#include "core/Identity.h"
#include "core/Time.h"
#include "core/UserDefaults.h"
#include "inspection/Accessibility.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "sim/ScenarioFixture.h"

#include <QSignalSpy>
#include <QTest>
#include <thread>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

// Right edge 1000 - 8 margin = 992. With place 1 the bar reads, right to left:
// 10.0 [982, 992], Tuckaway [952, 982], 10.1 [932, 952], 11.0 [892, 932], 12.0 [887, 892].
const QByteArray barScenario = R"({
    "screens": [{"frame": {"x": 0, "y": 0, "width": 1000, "height": 700}}],
    "tuckaway": {"pid": 50, "place": 1},
    "apps": [
        {"pid": 10, "bundle": "com.example.right", "items": [{"width": 10}, {"width": 20}]},
        {"pid": 11, "bundle": "com.example.left", "items": [{"width": 40}]},
        {"pid": 12, "name": "tool", "items": [{"width": 5}]}
    ]
})";

const QByteArray accessibilityScenario = R"({
    "apps": [
        {"pid": 20, "bundle": "com.example.slow", "responseDelay": 0.5, "items": [{"role": "AXMenuBarItem"}]},
        {"pid": 21, "bundle": "com.example.stuck", "responseDelay": 7, "items": [{"role": "AXMenuBarItem"}]},
        {"pid": 22, "bundle": "com.example.frames", "responseDelay": 0.05, "items": [
            {"role": "AXMenuBarItem"},
            {"role": "AXMenuBarItem", "frame": {"x": 1, "y": 2, "width": 3, "height": 4},
             "children": [{"role": "AXButton"}]},
            {"role": "AXMenuBarItem", "children": [{"role": "AXButton", "size": {"width": 5, "height": 6}}]}
        ]}
    ]
})";

// The same applications, the bar remembering places of its own: left, ghost (not running),
// the tool, Tuckaway, then what it leaves out, in launch order.
const QByteArray rememberedScenario = QByteArray(barScenario).replace(R"(, "place": 1},)", R"(},
    "remembered": [{"bundle": "com.example.left"}, {"bundle": "com.example.ghost", "item": 0},
                   {"pid": 12}, {"autosaveName": "Tuckaway.main"}],)");

// The bar right to left: "right.1" for com.example.right's second item, "pid:12.0" for an
// application without bundle identifier, "own" for Tuckaway's.
QStringList barNames(const SimDesktop& desktop)
{
    QStringList names;
    for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems()) {
        const SimApplication* app = desktop.application(item.pid);
        names << (item.own ? u"own"_s
                           : app->bundleIdentifier.value_or(u"pid:%1"_s.arg(item.pid))
                                     .remove(u"com.example."_s) +
                                 u'.' + QString::number(item.index));
    }
    return names;
}

// "quit PID" or "launch WHO N": N items of com.example.WHO, of process WHO when it
// is a number, of a fresh process without bundle identifier for "-".
void play(SimDesktop& desktop, const QString& step)
{
    const QStringList words = step.split(u' ');
    if (words.at(0) == u"quit") {
        QVERIFY(desktop.quitApplication(words.at(1).toInt()));
    } else {
        SimApplication app;
        bool process = false;
        app.pid = words.at(1).toInt(&process);
        if (!process && words.at(1) != u"-")
            app.bundleIdentifier = u"com.example."_s + words.at(1);
        app.items = QList<SimElement>(words.at(2).toInt());
        desktop.launchApplication(app);
    }
}

QList<double> barLefts(const SimDesktop& desktop)
{
    QList<double> lefts;
    for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems())
        lefts.append(item.frame.x);
    return lefts;
}

AXElementRef child(Accessibility& ax, const AXElementRef& parent, int index)
{
    return ax.attribute(parent, u"AXChildren"_s).elements.value(index);
}

AXElementRef extrasItem(Accessibility& ax, qint32 pid, int index)
{
    const AXElementRef bar = ax.attribute(ax.applicationElement(pid), u"AXExtrasMenuBar"_s).element;
    return child(ax, bar, index);
}

// One change of the desktop between two reads, by name.
void change(SimDesktop& desktop, const QString& name)
{
    if (name == u"untrusted")
        desktop.setTrusted(false);
    else if (name == u"quit")
        desktop.quitApplication(11);
    else if (name == u"no items")
        desktop.changeItems(11, {});
    else if (name == u"added")
        desktop.changeItems(11, desktop.application(11)->items + QList<SimElement>{{}});
    else if (name == u"dragged")
        desktop.moveStatusItem(850);
    else
        desktop.setAllowList(name == u"shown" ? std::nullopt
                                              : std::optional<QSet<QString>>(QSet<QString>{}));
}

} // namespace

class TestSimDesktop : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void laysOutRightToLeftWithoutHiddenItems();
    void placeIsClampedRememberedAndMovedByDragging();
    void givenFrameStandsUntilMoved();
    void launchedAndQuitApplications();
    void barRemembersWhereItemsStood_data();
    void barRemembersWhereItemsStood();
    void severalAttributesAreOneRoundTrip_data();
    void severalAttributesAreOneRoundTrip();
    void requestsAtOnceCostTheDesktopsCost();
    void itemsAnswerFromTheirTree();
    void requestsAnswerAsTheDesktopIsWhenTheyAreMade_data();
    void requestsAnswerAsTheDesktopIsWhenTheyAreMade();
    void readsOnAnotherThreadWhileTheBarChanges();
    void barFollowsThePrimaryScreen_data();
    void barFollowsThePrimaryScreen();
};

void TestSimDesktop::laysOutRightToLeftWithoutHiddenItems()
{
    SimDesktop desktop(scenario(barScenario));
    QSignalSpy changed(&desktop, &SimDesktop::menuBarChanged);
    QCOMPARE(barLefts(desktop), (QList<double>{982, 952, 932, 892, 887}));
    const auto items = desktop.visibleMenuBarItems();
    QVERIFY(items.at(1).own);
    QCOMPARE(items.at(2).pid, 10);
    QCOMPARE(desktop.statusItemFrame(), std::optional<Rect>(Rect{952, 0, 30, 24}));
    QCOMPARE(desktop.menuBarFrame(), (Rect{0, 0, 1000, 24}));
    QCOMPARE(desktop.toAccessibilitySpace(Rect{10, 600, 50, 20}), (Rect{10, 80, 50, 20}));
    QCOMPARE(desktop.toScreenSpace(Rect{10, 80, 50, 20}), (Rect{10, 600, 50, 20}));

    // Hiding the application right of Tuckaway moves Tuckaway right; the tool without
    // bundle identifier can never be allowed.
    desktop.setAllowList(QSet<QString>{u"com.example.left"_s, Identity::bundleIdentifier});
    QCOMPARE(barLefts(desktop), (QList<double>{962, 922}));
    QVERIFY(!desktop.isItemVisible(10, 0));
    QVERIFY(!desktop.isApplicationVisible(12));
    QCOMPARE(changed.size(), 1);
    desktop.setAllowList(QSet<QString>{u"com.example.right"_s});
    QVERIFY(!desktop.statusItemFrame());
    QCOMPARE(barLefts(desktop), (QList<double>{982, 962}));
    desktop.setAllowList(std::nullopt);
    QCOMPARE(desktop.visibleMenuBarItems().size(), 5);
}

void TestSimDesktop::placeIsClampedRememberedAndMovedByDragging()
{
    InMemoryUserDefaults defaults;
    SimDesktop(scenario(barScenario), &defaults).setStatusItemPlace(99);
    QCOMPARE(defaults.string(u"NSStatusItem Preferred Position Tuckaway.main"_s), u"4"_s);
    SimDesktop desktop(scenario(barScenario), &defaults);
    QCOMPARE(desktop.statusItemPlace(), 4);
    QCOMPARE(desktop.statusItemFrame()->x, 887.0);

    // Dropped at x 960: right of 10.0 (middle 987) and 10.1 (middle 972), left of the rest.
    desktop.moveStatusItem(960);
    QCOMPARE(desktop.statusItemPlace(), 2);
    desktop.moveStatusItem(2000);
    QCOMPARE(desktop.statusItemFrame()->x, 962.0);
    desktop.moveStatusItem(-5);
    QCOMPARE(desktop.statusItemPlace(), 4);
}

// A scenario's frame for Tuckaway's icon is where it stands, to the bit, while the bar lays
// the others out as though it stood leftmost; a drag lays it out again.
void TestSimDesktop::givenFrameStandsUntilMoved()
{
    QByteArray json = barScenario;
    json.replace(R"("place": 1)",
                 R"("frame": {"x": 950.75, "y": 0.5, "width": 30.25, "height": 23.5})");
    SimDesktop desktop(scenario(json));
    QCOMPARE(barLefts(desktop), (QList<double>{982, 962, 922, 917, 950.75}));
    QCOMPARE(desktop.statusItemFrame(), std::optional<Rect>(Rect{950.75, 0.5, 30.25, 23.5}));
    desktop.moveStatusItem(960);
    QCOMPARE(desktop.statusItemPlace(), 2);
    QCOMPARE(desktop.statusItemFrame(), std::optional<Rect>(Rect{932, 0, 30, 24}));
}

void TestSimDesktop::launchedAndQuitApplications()
{
    SimDesktop desktop(scenario(barScenario));
    SimApplication app;
    app.pid = 10; // taken: the desktop picks a fresh one
    app.bundleIdentifier = u"com.example.new"_s;
    app.items = {SimElement{}};
    QCOMPARE(desktop.launchApplication(app), 51);
    QCOMPARE(desktop.visibleMenuBarItems().last().pid, 51);

    QVERIFY(desktop.quitApplication(10));
    // Its items keep their places, and Tuckaway, which stood between them, stays there.
    QCOMPARE(desktop.statusItemFrame()->x, 962.0);
    QVERIFY(!desktop.quitApplication(10));
    QVERIFY(!desktop.quitApplication(desktop.ownPid()));
}

void TestSimDesktop::barRemembersWhereItemsStood_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("bar"); // right to left, afterwards
    const auto row = [](const char* name, const QByteArray& json, const QStringList& steps,
                        const QStringList& bar) { QTest::newRow(name) << json << steps << bar; };
    // Quits, launches and drags by bundle are played in remembered.script.
    row("without bundle identifier, the place goes with the process", barScenario,
        {u"quit 12"_s, u"launch new 1"_s, u"launch 12 1"_s, u"launch - 1"_s},
        {u"right.0"_s, u"own"_s, u"right.1"_s, u"left.0"_s, u"pid:12.0"_s, u"new.0"_s,
         u"pid:52.0"_s});
    QByteArray placed = rememberedScenario;
    placed.replace(R"(, {"autosaveName": "Tuckaway.main"})", "")
        .replace(R"("pid": 50)", R"("pid": 50, "place": 1)");
    row("Tuckaway at its place: left of the item, right of the one not running", placed,
        {u"launch ghost 1"_s},
        {u"left.0"_s, u"own"_s, u"ghost.0"_s, u"pid:12.0"_s, u"right.0"_s, u"right.1"_s});
}

void TestSimDesktop::barRemembersWhereItemsStood()
{
    QFETCH(QByteArray, json);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, bar);
    SimDesktop desktop(scenario(json));
    for (const QString& step : std::as_const(steps))
        play(desktop, step);
    QCOMPARE(barNames(desktop), bar);
}

// Asked at once, an element's attributes each keep their own answer, as asked one by one;
// the request is one round trip that costs the application's delay or the timeout, and one
// that is not answered fails every attribute.
void TestSimDesktop::severalAttributesAreOneRoundTrip_data()
{
    QTest::addColumn<qint32>("pid");
    QTest::addColumn<double>("timeout"); // 0: not set, the system's default
    QTest::addColumn<quint64>("answered");
    QTest::addColumn<double>("cost");
    QTest::newRow("answered") << 22 << 0.0 << quint64(1) << 0.05;
    QTest::newRow("slow") << 20 << 0.0 << quint64(1) << 0.5;
    QTest::newRow("slow, short timeout") << 20 << 0.08 << quint64(0) << 0.08;
    QTest::newRow("stuck") << 21 << 0.0 << quint64(0) << 6.0;
}

void TestSimDesktop::severalAttributesAreOneRoundTrip()
{
    QFETCH(qint32, pid);
    QFETCH(double, timeout);
    QFETCH(quint64, answered);
    QFETCH(double, cost);
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    SimAccessibility& ax = platform->simulatedAccessibility();
    const AXElementRef app = ax.applicationElement(pid);
    const QStringList names{u"AXRole"_s, u"AXTitle"_s, u"AXExtrasMenuBar"_s, u"AXSize"_s};
    QList<AXAttribute> one;
    for (const QString& name : names)
        one << ax.attribute(app, name);
    if (timeout > 0.0)
        ax.setMessagingTimeout(app, timeout);
    ax.resetRoundTrips();
    const double start = platform->time().now();
    const QList<AXAttribute> all = ax.attributes(app, names);
    QCOMPARE(platform->time().now() - start, cost);
    QCOMPARE(all.size(), names.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        const qint32 expected = answered ? one[i].error : AXResult::cannotComplete;
        QCOMPARE(all[i].error, expected);
        QCOMPARE(all[i].kind, answered ? one[i].kind : AXAttribute::Kind::Nothing);
    }
    const SimAccessibility::RoundTrips trips = ax.roundTrips();
    QCOMPARE(trips.requests, quint64(1));
    QCOMPARE(trips.answered, answered);
    QCOMPARE(trips.seconds, cost);
}

// At an application that answers at once, a request costs the desktop's cost per request.
void TestSimDesktop::requestsAtOnceCostTheDesktopsCost()
{
    SimScenario answersAtOnce = scenario(accessibilityScenario);
    answersAtOnce.requestCost = 0.003;
    answersAtOnce.applications[2].responseDelay = 0.0;
    auto platform = SimPlatform::forTests(std::move(answersAtOnce));
    SimAccessibility& ax = platform->simulatedAccessibility();
    const AXElementRef app = ax.applicationElement(22);
    ax.attributes(app, {u"AXRole"_s, u"AXExtrasMenuBar"_s});
    ax.attribute(app, u"AXTitle"_s);
    QCOMPARE(ax.roundTrips().requests, quint64(2));
    QCOMPARE(ax.roundTrips().seconds, 0.006);
    QCOMPARE(platform->time().now(), 0.006);
}

// Odd items are read end to end from the built-in desktop in tst_desktopscan; here, where a
// child's place and size come from, and what a gone or hidden application answers.
void TestSimDesktop::itemsAnswerFromTheirTree()
{
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    Accessibility& ax = platform->accessibility();
    SimDesktop& desktop = platform->desktop();
    QCOMPARE(ax.attribute(ax.applicationElement(999), u"AXExtrasMenuBar"_s).error,
             AXResult::cannotComplete);
    QCOMPARE(ax.attribute(ax.applicationElement(0), u"AXRole"_s).error, AXResult::illegalArgument);
    QCOMPARE(ax.attribute(nullptr, u"AXRole"_s).error, AXResult::illegalArgument);
    QCOMPARE(platform->time().now(), 0.0);

    // A given frame overrides the layout, and a child without its own takes its parent's.
    const AXElementRef given = child(ax, extrasItem(ax, 22, 1), 0);
    QCOMPARE(ax.attribute(given, u"AXPosition"_s).point, std::optional<QPointF>(QPointF(1, 2)));
    QCOMPARE(ax.attribute(given, u"AXSize"_s).size, std::optional<QSizeF>(QSizeF(3, 4)));
    const AXElementRef sized = child(ax, extrasItem(ax, 22, 2), 0);
    const auto bar = desktop.visibleMenuBarItems();
    const auto laidOut = std::find_if(bar.cbegin(), bar.cend(), [](const auto& barItem) {
        return barItem.pid == 22 && barItem.index == 2;
    });
    QCOMPARE(ax.attribute(sized, u"AXPosition"_s).point,
             std::optional(QPointF(laidOut->frame.x, 0)));
    QCOMPARE(ax.attribute(sized, u"AXSize"_s).size, std::optional<QSizeF>(QSizeF(5, 6)));

    // A hidden application's items, their children too, have no place on the bar.
    desktop.setAllowList(QSet<QString>{u"com.example.slow"_s});
    const AXElementRef item = extrasItem(ax, 22, 0);
    QCOMPARE(ax.attribute(item, u"AXPosition"_s).error, AXResult::noValue);
    const AXElementRef button = child(ax, extrasItem(ax, 22, 1), 0); // its parent's frame given
    QCOMPARE(ax.attribute(button, u"AXPosition"_s).error, AXResult::noValue);
    QCOMPARE(ax.attribute(button, u"AXSize"_s).error, AXResult::noValue);

    // An element made for a pid that no process has cannot be answered.
    desktop.quitApplication(22);
    QCOMPARE(ax.attribute(ax.applicationElement(22), u"AXRole"_s).error, AXResult::cannotComplete);

    // The system prompts only an application it does not trust yet.
    QVERIFY(ax.promptForTrust());
    desktop.setTrusted(false);
    QVERIFY(!ax.isProcessTrusted());
    QVERIFY(!ax.promptForTrust());
    QCOMPARE(desktop.trustPromptCount(), 1);
}

void TestSimDesktop::requestsAnswerAsTheDesktopIsWhenTheyAreMade_data()
{
    // What happens between two reads through the same elements: the first item of
    // com.example.left, at x 892 with Tuckaway right of it (hidden when the elements are
    // made, for the last row), and its extras menu bar.
    QTest::addColumn<QString>("changeName");
    QTest::addColumn<qint32>("error"); // of every request to the item
    QTest::addColumn<double>("x");
    QTest::addColumn<int>("barItems"); // -1: the bar cannot be read
    QTest::newRow("permission withdrawn") << u"untrusted"_s << AXResult::apiDisabled << 0.0 << -1;
    QTest::newRow("application quit") << u"quit"_s << AXResult::invalidUIElement << 0.0 << -1;
    QTest::newRow("its item taken away") << u"no items"_s << AXResult::invalidUIElement << 0.0 << 0;
    QTest::newRow("an item added") << u"added"_s << AXResult::success << 892.0 << 2;
    QTest::newRow("Tuckaway dragged left of it") << u"dragged"_s << AXResult::success << 922.0 << 1;
    QTest::newRow("hidden") << u"hidden"_s << AXResult::noValue << 0.0 << 1;
    QTest::newRow("shown again") << u"shown"_s << AXResult::success << 892.0 << 1;
}

void TestSimDesktop::requestsAnswerAsTheDesktopIsWhenTheyAreMade()
{
    QFETCH(QString, changeName);
    QFETCH(qint32, error);
    QFETCH(double, x);
    QFETCH(int, barItems);
    auto platform = SimPlatform::forTests(scenario(barScenario));
    Accessibility& ax = platform->accessibility();
    SimDesktop& desktop = platform->desktop();
    if (changeName == u"shown")
        desktop.setAllowList(QSet<QString>{});
    const AXElementRef bar = ax.attribute(ax.applicationElement(11), u"AXExtrasMenuBar"_s).element;
    const AXElementRef item = child(ax, bar, 0);
    QCOMPARE(ax.attribute(item, u"AXPosition"_s).point,
             changeName == u"shown" ? std::nullopt : std::optional(QPointF(892, 0)));

    change(desktop, changeName);

    const AXAttribute position = ax.attribute(item, u"AXPosition"_s);
    QCOMPARE(position.error, error);
    if (error == AXResult::success)
        QCOMPARE(position.point, std::optional(QPointF(x, 0)));
    const bool reachable = error == AXResult::success || error == AXResult::noValue;
    QCOMPARE(ax.actionNames(item).has_value(), reachable);
    const AXSettable settable = ax.isAttributeSettable(item, u"AXPosition"_s);
    QCOMPARE(settable.error, reachable ? AXResult::success : error);
    const AXAttribute children = ax.attribute(bar, u"AXChildren"_s);
    QCOMPARE(children.error == AXResult::success ? int(children.elements.size()) : -1, barItems);
}

// Run under ThreadSanitizer by scripts/tsan.sh.
void TestSimDesktop::readsOnAnotherThreadWhileTheBarChanges()
{
    auto platform = SimPlatform::forTests(scenario(barScenario));
    Accessibility& ax = platform->accessibility();
    std::thread reader([&] {
        for (int i = 0; i < 2000; ++i)
            ax.attribute(extrasItem(ax, 10, 1), u"AXPosition"_s);
    });
    for (int i = 0; i < 300; ++i) {
        platform->desktop().setAllowList(i % 2 ? std::nullopt
                                               : std::optional<QSet<QString>>(QSet<QString>{}));
        platform->desktop().setStatusItemPlace(i % 5);
    }
    reader.join();
}

void TestSimDesktop::barFollowsThePrimaryScreen_data()
{
    QTest::addColumn<QList<SimScreen>>("screens");
    QTest::addColumn<std::optional<Rect>>("icon"); // accessibility space
    QTest::addColumn<Rect>("iconOnScreen");        // screen space
    const auto screen = [](double x, double y, double width, double height) {
        return SimScreen{Rect{x, y, width, height}, Rect{x, y, width, height - 24}};
    };
    // Right edge 1400 - 8: 10.0 [1382, 1392], Tuckaway [1352, 1382].
    QTest::newRow("a wider primary")
        << QList{screen(0, 0, 1400, 900)} << std::optional(Rect{1352, 0, 30, 24})
        << Rect{1352, 876, 30, 24};
    // The primary is another screen, whose origin is the origin of both spaces.
    QTest::newRow("another primary, the first one left of it")
        << QList{screen(0, 0, 800, 500), screen(-1000, 100, 1000, 700)}
        << std::optional(Rect{752, 0, 30, 24}) << Rect{752, 476, 30, 24};
    QTest::newRow("no screen") << QList<SimScreen>() << std::optional<Rect>() << Rect();
}

// The bar lays out on the primary screen of the moment; without a screen no item stands
// anywhere, their frames cannot be read and a drag has nowhere to drop.
void TestSimDesktop::barFollowsThePrimaryScreen()
{
    QFETCH(QList<SimScreen>, screens);
    QFETCH(std::optional<Rect>, icon);
    QFETCH(Rect, iconOnScreen);
    auto platform = SimPlatform::forTests(scenario(barScenario));
    SimDesktop& desktop = platform->desktop();
    SimDesktopServices& services = platform->simulatedDesktopServices();
    QSignalSpy bar(&desktop, &SimDesktop::menuBarChanged);
    QSignalSpy told(&services, &DesktopServices::screenParametersChanged);
    services.changeScreens(screens);
    QCOMPARE(bar.size(), 1);
    QCOMPARE(told.size(), 1);
    QCOMPARE(services.screens().size(), screens.size());
    QCOMPARE(desktop.statusItemFrame(), icon);
    QCOMPARE(desktop.visibleMenuBarItems().isEmpty(), screens.isEmpty());
    if (icon)
        QCOMPARE(desktop.toScreenSpace(*icon), iconOnScreen);
    Accessibility& ax = platform->accessibility();
    QCOMPARE(ax.attribute(extrasItem(ax, 10, 0), u"AXPosition"_s).error,
             screens.isEmpty() ? AXResult::noValue : AXResult::success);
    desktop.moveStatusItem(0);
    QCOMPARE(desktop.statusItemPlace(), screens.isEmpty() ? 1 : 4);
    QCOMPARE(desktop.toAccessibilitySpace(desktop.toScreenSpace(Rect{1, 2, 3, 4})),
             (Rect{1, 2, 3, 4}));
}

QTEST_GUILESS_MAIN(TestSimDesktop)
#include "tst_simdesktop.moc"
