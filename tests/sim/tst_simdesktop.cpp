#include "core/Identity.h"
#include "core/Time.h"
#include "core/UserDefaults.h"
#include "inspection/Accessibility.h"
#include "inspection/Workspace.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"

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
        {"pid": 22, "bundle": "com.example.odd", "responseDelay": 0.05, "items": [
            {"role": 7, "title": ["x"], "position": null, "actions": ["AXPress", 1], "settableError": -25205},
            {"role": "AXMenuBarItem", "size": null, "positionSettable": true, "actions": ["AXPress"]},
            {"role": "AXMenuBarItem", "frame": {"x": 1, "y": 2, "width": 3, "height": 4},
             "children": [{"role": "AXButton"}]},
            {"role": "AXMenuBarItem", "children": [{"role": "AXButton", "size": {"width": 5, "height": 6}}]}
        ]},
        {"pid": 23, "bundle": "com.example.plain", "extrasMenuBar": false}
    ]
})";

SimScenario scenario(const QByteArray& json)
{
    auto result = SimScenarioLoader::parse(json, u"test.json"_s);
    if (!result)
        qFatal("%s", qPrintable(result.error().description));
    return *result;
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

} // namespace

class TestSimDesktop : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void laysOutRightToLeftWithTuckawayAtItsPlace();
    void hiddenItemsLeaveTheBar();
    void placeIsClampedRememberedAndMovedByDragging();
    void launchedAndQuitApplications();
    void requestsCostTheDelayOrTheTimeout_data();
    void requestsCostTheDelayOrTheTimeout();
    void itemsAnswerFromTheirTree();
    void unreachableProcessesFailAtOnce();
    void hiddenApplicationsLoseTheirFrames();
    void trustAndItsPrompt();
    void readsOnAnotherThreadWhileTheBarChanges();
    void workspaceListsApplicationsInLaunchOrder();
};

void TestSimDesktop::laysOutRightToLeftWithTuckawayAtItsPlace()
{
    SimDesktop desktop(scenario(barScenario));
    QCOMPARE(barLefts(desktop), (QList<double>{982, 952, 932, 892, 887}));
    const auto items = desktop.visibleMenuBarItems();
    QVERIFY(items.at(1).own);
    QCOMPARE(items.at(2).pid, 10);
    QCOMPARE(items.at(2).index, 1);
    QCOMPARE(desktop.statusItemFrame(), std::optional<Rect>(Rect{952, 0, 30, 24}));
    QCOMPARE(desktop.menuBarFrame(), (Rect{0, 0, 1000, 24}));
    QCOMPARE(desktop.toAccessibilitySpace(Rect{10, 600, 50, 20}), (Rect{10, 80, 50, 20}));
    QCOMPARE(desktop.toScreenSpace(Rect{10, 80, 50, 20}), (Rect{10, 600, 50, 20}));
}

void TestSimDesktop::hiddenItemsLeaveTheBar()
{
    SimDesktop desktop(scenario(barScenario));
    QSignalSpy changed(&desktop, &SimDesktop::menuBarChanged);
    const QString own = Identity::bundleIdentifier;

    // Hiding the application right of Tuckaway moves Tuckaway right; the tool without
    // bundle identifier can never be allowed.
    desktop.setAllowList(QSet<QString>{u"com.example.left"_s, own});
    QCOMPARE(barLefts(desktop), (QList<double>{962, 922}));
    QVERIFY(!desktop.isItemVisible(10, 0));
    QVERIFY(!desktop.isApplicationVisible(12));
    QVERIFY(desktop.isItemVisible(11, 0));
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
    {
        SimDesktop desktop(scenario(barScenario), &defaults);
        desktop.setStatusItemPlace(99);
        QCOMPARE(desktop.statusItemPlace(), 4);
        QCOMPARE(defaults.string(u"NSStatusItem Preferred Position Tuckaway.main"_s), u"4"_s);
    }
    SimDesktop desktop(scenario(barScenario), &defaults);
    QCOMPARE(desktop.statusItemPlace(), 4);
    QCOMPARE(desktop.statusItemFrame()->x, 887.0);

    // Dropped at x 960: right of 10.0 (middle 987) and 10.1 (middle 972), left of the rest.
    desktop.moveStatusItem(960);
    QCOMPARE(desktop.statusItemPlace(), 2);
    QCOMPARE(desktop.statusItemFrame()->x, 932.0);
    desktop.moveStatusItem(2000);
    QCOMPARE(desktop.statusItemFrame()->x, 962.0);
    desktop.moveStatusItem(-5);
    QCOMPARE(desktop.statusItemPlace(), 4);
}

void TestSimDesktop::launchedAndQuitApplications()
{
    SimDesktop desktop(scenario(barScenario));
    QSignalSpy launched(&desktop, &SimDesktop::applicationLaunched);
    QSignalSpy terminated(&desktop, &SimDesktop::applicationTerminated);

    SimApplication app;
    app.pid = 10; // taken: the desktop picks a fresh one
    app.bundleIdentifier = u"com.example.new"_s;
    app.items = {SimElement{}};
    const qint32 pid = desktop.launchApplication(app);
    QCOMPARE(pid, 51);
    QCOMPARE(launched.takeFirst().value(0).toInt(), 51);
    QCOMPARE(desktop.visibleMenuBarItems().last().pid, 51);

    QVERIFY(desktop.quitApplication(10));
    QCOMPARE(terminated.takeFirst().value(0).toInt(), 10);
    // Still after one item: now the first item of the next application.
    QCOMPARE(desktop.statusItemFrame()->x, 922.0);
    QVERIFY(!desktop.quitApplication(10));
    QVERIFY(!desktop.quitApplication(desktop.ownPid()));
    QVERIFY(terminated.isEmpty());
}

void TestSimDesktop::requestsCostTheDelayOrTheTimeout_data()
{
    QTest::addColumn<qint32>("pid");
    QTest::addColumn<double>("timeout"); // 0: not set, the system's default
    QTest::addColumn<qint32>("error");
    QTest::addColumn<double>("cost");
    QTest::newRow("slow, short timeout") << 20 << 0.08 << AXResult::cannotComplete << 0.08;
    QTest::newRow("slow, default timeout") << 20 << 0.0 << AXResult::success << 0.5;
    QTest::newRow("stuck, default timeout") << 21 << 0.0 << AXResult::cannotComplete << 6.0;
    QTest::newRow("fast, short timeout") << 22 << 0.08 << AXResult::success << 0.05;
}

void TestSimDesktop::requestsCostTheDelayOrTheTimeout()
{
    QFETCH(qint32, pid);
    QFETCH(double, timeout);
    QFETCH(qint32, error);
    QFETCH(double, cost);
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    Accessibility& ax = platform->accessibility();
    const AXElementRef app = ax.applicationElement(pid);
    if (timeout > 0.0)
        ax.setMessagingTimeout(app, timeout);
    const double start = platform->time().now();
    const AXAttribute bar = ax.attribute(app, u"AXExtrasMenuBar"_s);
    QCOMPARE(bar.error, error);
    QCOMPARE(bar.kind, error ? AXAttribute::Kind::Nothing : AXAttribute::Kind::Element);
    QCOMPARE(platform->time().now() - start, cost);

    // Elements read through the application element keep its timeout.
    if (!error) {
        const double before = platform->time().now();
        QCOMPARE(ax.attribute(child(ax, bar.element, 0), u"AXRole"_s).error, AXResult::success);
        QCOMPARE(platform->time().now() - before, 2 * cost);
    } else {
        QVERIFY(!ax.actionNames(app));
        QCOMPARE(ax.isAttributeSettable(app, u"AXPosition"_s).error, AXResult::cannotComplete);
    }
}

void TestSimDesktop::itemsAnswerFromTheirTree()
{
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    Accessibility& ax = platform->accessibility();
    const SimDesktop& desktop = platform->desktop();
    const auto layoutFrame = [&](int index) {
        for (const auto& item : desktop.visibleMenuBarItems()) {
            if (item.pid == 22 && item.index == index)
                return item.frame;
        }
        return Rect::null();
    };

    const AXElementRef odd = extrasItem(ax, 22, 0);
    QCOMPARE(ax.attribute(odd, u"AXRole"_s).kind, AXAttribute::Kind::Other);
    QCOMPARE(ax.attribute(odd, u"AXDescription"_s).error, AXResult::noValue);
    QCOMPARE(ax.attribute(odd, u"AXPosition"_s).error, AXResult::noValue);
    QCOMPARE(ax.attribute(odd, u"AXSize"_s).size, std::optional<QSizeF>(QSizeF(24, 24)));
    QCOMPARE(ax.attribute(odd, u"AXFrame"_s).error, AXResult::attributeUnsupported);
    QVERIFY(!ax.actionNames(odd));
    QCOMPARE(ax.isAttributeSettable(odd, u"AXPosition"_s).error, -25205);

    const AXElementRef sizeless = extrasItem(ax, 22, 1);
    const AXAttribute position = ax.attribute(sizeless, u"AXPosition"_s);
    QCOMPARE(position.kind, AXAttribute::Kind::PointValue);
    QCOMPARE(position.point, std::optional<QPointF>(QPointF(layoutFrame(1).x, 0)));
    QCOMPARE(ax.attribute(sizeless, u"AXSize"_s).error, AXResult::noValue);
    QCOMPARE(ax.isAttributeSettable(sizeless, u"AXPosition"_s).settable, true);
    QCOMPARE(ax.isAttributeSettable(sizeless, u"AXSize"_s).settable, false);
    QCOMPARE(ax.actionNames(sizeless), std::optional<QStringList>(QStringList{u"AXPress"_s}));

    // A given frame overrides the layout, and a child without its own takes its parent's.
    const AXElementRef given = child(ax, extrasItem(ax, 22, 2), 0);
    QCOMPARE(ax.attribute(given, u"AXRole"_s).string, u"AXButton"_s);
    QCOMPARE(ax.attribute(given, u"AXPosition"_s).point, std::optional<QPointF>(QPointF(1, 2)));
    QCOMPARE(ax.attribute(given, u"AXSize"_s).size, std::optional<QSizeF>(QSizeF(3, 4)));
    const AXElementRef sized = child(ax, extrasItem(ax, 22, 3), 0);
    QCOMPARE(ax.attribute(sized, u"AXPosition"_s).point,
             std::optional<QPointF>(QPointF(layoutFrame(3).x, 0)));
    QCOMPARE(ax.attribute(sized, u"AXSize"_s).size, std::optional<QSizeF>(QSizeF(5, 6)));
    QCOMPARE(ax.attribute(sized, u"AXChildren"_s).elements.size(), 0);

    QCOMPARE(ax.attribute(ax.applicationElement(23), u"AXExtrasMenuBar"_s).error,
             AXResult::noValue);
}

void TestSimDesktop::unreachableProcessesFailAtOnce()
{
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    Accessibility& ax = platform->accessibility();
    QCOMPARE(ax.attribute(ax.applicationElement(999), u"AXExtrasMenuBar"_s).error,
             AXResult::cannotComplete);
    QCOMPARE(ax.attribute(ax.applicationElement(0), u"AXRole"_s).error, AXResult::illegalArgument);
    QCOMPARE(ax.attribute(nullptr, u"AXRole"_s).error, AXResult::illegalArgument);
    QCOMPARE(platform->time().now(), 0.0);

    // An element outlives its process and keeps answering from what it captured.
    const AXElementRef item = extrasItem(ax, 22, 1);
    platform->desktop().quitApplication(22);
    QCOMPARE(ax.attribute(item, u"AXRole"_s).string, u"AXMenuBarItem"_s);
    QCOMPARE(ax.attribute(ax.applicationElement(22), u"AXRole"_s).error, AXResult::cannotComplete);
}

void TestSimDesktop::hiddenApplicationsLoseTheirFrames()
{
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    Accessibility& ax = platform->accessibility();
    SimDesktop& desktop = platform->desktop();
    desktop.setAllowList(QSet<QString>{u"com.example.slow"_s});

    const AXElementRef item = extrasItem(ax, 22, 1);
    QCOMPARE(ax.attribute(item, u"AXPosition"_s).error, AXResult::noValue);
    QCOMPARE(ax.attribute(item, u"AXRole"_s).string, u"AXMenuBarItem"_s);
    for (int index : {2, 3}) {
        const AXElementRef button = child(ax, extrasItem(ax, 22, index), 0);
        QCOMPARE(ax.attribute(button, u"AXPosition"_s).error, AXResult::noValue);
        QCOMPARE(ax.attribute(button, u"AXSize"_s).error, AXResult::noValue);
    }

    desktop.setAllowList(std::nullopt);
    QCOMPARE(ax.attribute(item, u"AXPosition"_s).error, AXResult::noValue); // captured before
    QCOMPARE(ax.attribute(extrasItem(ax, 22, 1), u"AXPosition"_s).error, AXResult::success);
}

void TestSimDesktop::trustAndItsPrompt()
{
    auto platform = SimPlatform::forTests(scenario(accessibilityScenario));
    Accessibility& ax = platform->accessibility();
    SimDesktop& desktop = platform->desktop();
    QSignalSpy prompts(&desktop, &SimDesktop::trustPromptRequested);
    desktop.setTrusted(false);
    QVERIFY(!ax.isProcessTrusted());
    QVERIFY(!ax.promptForTrust());
    QCOMPARE(prompts.size(), 1);
    desktop.setTrusted(true);
    QVERIFY(ax.promptForTrust());
    QCOMPARE(prompts.size(), 1);
}

void TestSimDesktop::readsOnAnotherThreadWhileTheBarChanges()
{
    auto platform = SimPlatform::forTests(scenario(barScenario));
    Accessibility& ax = platform->accessibility();
    SimDesktop& desktop = platform->desktop();
    int answered = 0;
    int refused = 0;
    std::thread reader([&] {
        for (int i = 0; i < 2000; ++i) {
            const AXAttribute position = ax.attribute(extrasItem(ax, 10, 1), u"AXPosition"_s);
            (position.point ? answered : refused) += 1;
        }
    });
    for (int i = 0; i < 300; ++i) {
        desktop.setAllowList(i % 2 ? std::nullopt : std::optional<QSet<QString>>(QSet<QString>{}));
        desktop.setStatusItemPlace(i % 5);
    }
    reader.join();
    QCOMPARE(answered + refused, 2000);
}

void TestSimDesktop::workspaceListsApplicationsInLaunchOrder()
{
    auto platform = SimPlatform::forTests(scenario(barScenario));
    const Workspace& workspace = platform->workspace();
    QList<qint32> pids;
    for (const RunningApplication& app : workspace.runningApplications())
        pids.append(app.pid);
    QCOMPARE(pids, (QList<qint32>{10, 11, 12, 50}));
    const RunningApplication tool = workspace.runningApplications().at(2);
    QVERIFY(!tool.bundleIdentifier);
    QCOMPARE(tool.localizedName, u"tool"_s);
    QCOMPARE(workspace.runningApplications().last().bundleIdentifier, Identity::bundleIdentifier);
    QCOMPARE(workspace.currentProcessId(), 50);
}

QTEST_GUILESS_MAIN(TestSimDesktop)
#include "tst_simdesktop.moc"
