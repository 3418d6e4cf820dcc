#include "inspection/Accessibility.h"
#include "inspection/Workspace.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimVisibilityFramework.h"
#include "platform/sim/VirtualTime.h"
#include "visibility/BoundaryPolicy.h"
#include "visibility/VisibilityController.h"

#include <QCoreApplication>
#include <QTest>

using namespace tk;

namespace {

using Behaviour = SimFrameworkBehaviour;
using Answer = SimFrameworkBehaviour::Answer;

struct Reply {
    bool arrived = false;
    NativeObjectPtr assertion;
    std::optional<Error> error;
};

// The default simulated desktop with a controller wired as the application wires it.
struct Desk {
    std::unique_ptr<SimPlatform> platform = SimPlatform::forTests();
    SimDesktop& desktop = platform->desktop();
    SimVisibilityFramework& framework = platform->visibilityFramework();
    VirtualTimeSource& time = dynamic_cast<VirtualTimeSource&>(platform->time());
    VisibilityController controller{
        platform->visibilityBridge(), platform->workspace(), platform->time(),
        [this] { return platform->accessibility().isProcessTrusted(); }};

    // Runs what the main thread has been handed, lets `seconds` pass, and runs what
    // that brought.
    void settle(double seconds = 0.0)
    {
        QCoreApplication::processEvents();
        time.advance(seconds);
        QCoreApplication::processEvents();
    }

    void setBehaviour(Answer answer, double delay = 0.0, bool present = true)
    {
        Behaviour behaviour;
        behaviour.present = present;
        behaviour.answer = answer;
        behaviour.errorDescription = QStringLiteral("The operation couldn’t be completed.");
        behaviour.exceptionName = QStringLiteral("NSInvalidArgumentException");
        behaviour.exceptionReason = QStringLiteral("bad configuration");
        behaviour.delaySeconds = delay;
        desktop.setFrameworkBehaviour(behaviour);
    }

    std::shared_ptr<Reply> request(const QStringList& allowed)
    {
        auto reply = std::make_shared<Reply>();
        framework.activate({0, 1}, allowed,
                           [reply](NativeObjectPtr assertion, std::optional<Error> error) {
                               reply->arrived = true;
                               reply->assertion = std::move(assertion);
                               reply->error = std::move(error);
                           });
        return reply;
    }

    QSet<qint32> visiblePids() const
    {
        QSet<qint32> pids;
        for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems())
            pids.insert(item.pid);
        return pids;
    }

    std::optional<qint32> pidOf(const QString& bundle) const
    {
        for (const SimApplication& app : desktop.applications()) {
            if (app.bundleIdentifier == bundle)
                return app.pid;
        }
        return std::nullopt;
    }

    QList<PositionedItem> positionedItems() const
    {
        QList<PositionedItem> items;
        for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems()) {
            const SimApplication* app = desktop.application(item.pid);
            if (!item.own && app && app->bundleIdentifier)
                items.append({*app->bundleIdentifier, item.frame});
        }
        return items;
    }
};

} // namespace

class TestSimVisibility : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hidesTheGroupLeftOfTheIconAndRestoresIt();
    void answersAsTheBehaviourSays_data();
    void answersAsTheBehaviourSays();
    void delayedAnswersComeInRequestOrder();
    void itemsStayHiddenWhileAnyAssertionForbidsThem();
    void noAssertionOutlivesRestoreAfterRacingRequests();
};

void TestSimVisibility::hidesTheGroupLeftOfTheIconAndRestoresIt()
{
    Desk desk;
    const QList<SimDesktop::BarItem> before = desk.desktop.visibleMenuBarItems();
    const std::optional<Rect> icon = desk.desktop.statusItemFrame();
    QVERIFY(icon);
    const QSet<QString> group = BoundaryPolicy::hidden(desk.positionedItems(), *icon);
    QVERIFY(group.size() >= 2);

    desk.controller.activate(group);
    QVERIFY(desk.controller.pending());
    desk.settle();
    QVERIFY(!desk.controller.active()); // the framework takes its time
    QCOMPARE(desk.desktop.visibleMenuBarItems().size(), before.size());
    desk.settle(0.05);

    QVERIFY(desk.controller.active());
    QCOMPARE(desk.controller.message(),
             QStringLiteral("Apps ocultas. Pulsa la flecha para mostrar todas."));
    const QSet<qint32> visible = desk.visiblePids();
    for (const QString& bundle : group) {
        const std::optional<qint32> pid = desk.pidOf(bundle);
        QVERIFY2(pid && !visible.contains(*pid), qPrintable(bundle));
        const auto state = desk.desktop.state()->applications.value(*pid);
        QVERIFY(state && !state->visible);
        for (const std::optional<Rect>& frame : state->barFrames)
            QVERIFY(!frame);
    }
    QVERIFY(desk.desktop.statusItemFrame());
    QVERIFY(visible.contains(*desk.pidOf(QStringLiteral("com.apple.controlcenter"))));
    QCOMPARE(desk.framework.liveAssertionCount(), 1);

    desk.controller.restore();
    QCOMPARE(desk.desktop.visibleMenuBarItems().size(), before.size());
    for (int i = 0; i < before.size(); ++i)
        QCOMPARE(desk.desktop.visibleMenuBarItems()[i].pid, before[i].pid);
    QCOMPARE(desk.framework.liveAssertionCount(), 0);
    QVERIFY(!desk.desktop.allowList());
}

void TestSimVisibility::answersAsTheBehaviourSays_data()
{
    QTest::addColumn<bool>("present");
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<bool>("answers");
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<QString>("description");

    const QString bridge = QStringLiteral("TKNativeVisibility");
    QTest::newRow("absent") << false << Answer::Success << true << false << bridge
                            << QStringLiteral("MenuBarClientCore is unavailable on this macOS");
    QTest::newRow("success") << true << Answer::Success << true << true << QString() << QString();
    QTest::newRow("error") << true << Answer::Error << true << false
                           << QStringLiteral("SimVisibilityFramework")
                           << QStringLiteral("The operation couldn’t be completed.");
    QTest::newRow("exception") << true << Answer::Exception << true << false << bridge
                               << QStringLiteral("NSInvalidArgumentException: bad configuration");
    QTest::newRow("none") << true << Answer::None << false << false << QString() << QString();
}

void TestSimVisibility::answersAsTheBehaviourSays()
{
    QFETCH(bool, present);
    QFETCH(Answer, answer);
    QFETCH(bool, answers);
    QFETCH(bool, succeeds);
    QFETCH(QString, domain);
    QFETCH(QString, description);

    Desk desk;
    desk.setBehaviour(answer, 0.0, present);
    QCOMPARE(desk.framework.isAvailable(), present);
    const auto reply = desk.request({QStringLiteral("com.apple.controlcenter")});
    QVERIFY(!reply->arrived); // never from inside the call
    desk.settle(60.0);

    QCOMPARE(reply->arrived, answers);
    QCOMPARE(bool(reply->assertion), succeeds);
    QCOMPARE(desk.framework.liveAssertionCount(), succeeds ? 1 : 0);
    QCOMPARE(bool(desk.desktop.allowList()), succeeds);
    if (answers && !succeeds) {
        QVERIFY(reply->error);
        QCOMPARE(reply->error->domain, domain);
        QCOMPARE(reply->error->code, 1);
        QCOMPARE(reply->error->description, description);
    } else {
        QVERIFY(!reply->error);
    }
}

void TestSimVisibility::delayedAnswersComeInRequestOrder()
{
    Desk desk;
    desk.setBehaviour(Answer::Success, 2.0);
    const auto first = desk.request({QStringLiteral("a")});
    desk.setBehaviour(Answer::Success, 0.0);
    const auto second = desk.request({QStringLiteral("b")});

    desk.settle(1.999);
    QVERIFY(!first->arrived);
    QVERIFY(!second->arrived);
    QVERIFY(!desk.desktop.allowList());
    desk.settle(0.001);
    QVERIFY(first->arrived && first->assertion);
    QVERIFY(second->arrived && second->assertion);
    QCOMPARE(desk.framework.liveAssertionCount(), 2);
}

void TestSimVisibility::itemsStayHiddenWhileAnyAssertionForbidsThem()
{
    Desk desk;
    desk.setBehaviour(Answer::Success);
    const QString both = QStringLiteral("com.harborsoft.Dockyard");
    const QString onlyFirst = QStringLiteral("com.hollowoak.Clipjar");
    const auto first = desk.request({both, onlyFirst});
    const auto second = desk.request({both});
    desk.settle();

    QCOMPARE(*desk.desktop.allowList(), QSet<QString>{both});
    desk.framework.invalidate(second->assertion);
    QCOMPARE(*desk.desktop.allowList(), (QSet<QString>{both, onlyFirst}));
    QVERIFY(desk.visiblePids().contains(*desk.pidOf(onlyFirst)));
    QVERIFY(!desk.visiblePids().contains(*desk.pidOf(QStringLiteral("com.brightfold.Lumen"))));
    // Ending what already ended, or what never was an assertion, changes nothing.
    desk.framework.invalidate(second->assertion);
    desk.framework.invalidate(nullptr);
    desk.framework.invalidate(std::make_shared<NativeObject>());
    QCOMPARE(desk.framework.liveAssertionCount(), 1);
    QCOMPARE(*desk.desktop.allowList(), (QSet<QString>{both, onlyFirst}));
    desk.framework.invalidate(first->assertion);
    QVERIFY(!desk.desktop.allowList());
    QVERIFY(desk.visiblePids().contains(*desk.pidOf(QStringLiteral("com.brightfold.Lumen"))));
}

void TestSimVisibility::noAssertionOutlivesRestoreAfterRacingRequests()
{
    Desk desk;
    desk.setBehaviour(Answer::Success, 0.5);
    desk.controller.activate({QStringLiteral("com.harborsoft.Dockyard")});
    desk.settle(0.5);
    QVERIFY(desk.controller.active());

    desk.desktop.launchApplication(
        SimApplication{0, QStringLiteral("org.example.New"), QStringLiteral("New"), 0.0, {}, true, {}});
    desk.controller.runningApplicationsChanged();
    desk.controller.activate({QStringLiteral("com.hollowoak.Clipjar")});
    desk.controller.runningApplicationsChanged();
    desk.settle(0.25);
    QVERIFY(desk.controller.pending());
    desk.controller.restore();
    desk.settle(6.0);
    desk.settle(6.0);

    QCOMPARE(desk.framework.activationRequestCount(), 3);
    QCOMPARE(desk.framework.liveAssertionCount(), 0);
    QVERIFY(!desk.desktop.allowList());
    QVERIFY(!desk.controller.active());
}

QTEST_GUILESS_MAIN(TestSimVisibility)
#include "tst_simvisibility.moc"
