#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimVisibilityFramework.h"
#include "platform/sim/VirtualTime.h"

#include <QCoreApplication>
#include <QTest>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

using Answer = SimFrameworkBehaviour::Answer;

const QString dockyard = u"com.harborsoft.Dockyard"_s;
const QString clipjar = u"com.hollowoak.Clipjar"_s;

// Exactly one of the two, once the framework has answered.
struct Reply {
    NativeObjectPtr assertion;
    std::optional<Error> error;
};

// The default simulated desktop and its visibility framework.
struct Desk {
    std::unique_ptr<SimPlatform> platform = SimPlatform::forTests();
    SimDesktop& desktop = platform->desktop();
    SimVisibilityFramework& framework = platform->visibilityFramework();
    VirtualTimeSource& time = dynamic_cast<VirtualTimeSource&>(platform->time());

    // Runs what the main thread was handed, lets `seconds` pass, and runs what that brought.
    void settle(double seconds = 0.0)
    {
        QCoreApplication::processEvents();
        time.advance(seconds);
        QCoreApplication::processEvents();
    }

    void setBehaviour(Answer answer, double delay = 0.0, bool present = true)
    {
        desktop.setFrameworkBehaviour({present, answer, u"The operation couldn’t be completed."_s,
                                       u"NSInvalidArgumentException"_s, u"bad configuration"_s,
                                       delay});
    }

    std::shared_ptr<Reply> request(const QStringList& allowed)
    {
        auto reply = std::make_shared<Reply>();
        framework.activate({0, 1}, allowed,
                           [reply](NativeObjectPtr assertion, std::optional<Error> error) {
                               reply->assertion = std::move(assertion);
                               reply->error = std::move(error);
                           });
        return reply;
    }
};

} // namespace

class TestSimVisibility : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answersAsTheBehaviourSays_data();
    void answersAsTheBehaviourSays();
    void inForceIsWhatEveryAssertionAllows();
};

void TestSimVisibility::answersAsTheBehaviourSays_data()
{
    QTest::addColumn<bool>("present");
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QString>("error"); // domain, code and description; none on success

    QTest::newRow("absent") << false << Answer::Success
                            << u"TKNativeVisibility 1: MenuBarClientCore is "
                               "unavailable on this macOS"_s;
    QTest::newRow("success") << true << Answer::Success << QString();
    QTest::newRow("error") << true << Answer::Error
                           << u"SimVisibilityFramework 1: The operation couldn’t "
                              "be completed."_s;
    QTest::newRow("exception") << true << Answer::Exception
                               << u"TKNativeVisibility 1: "
                                  "NSInvalidArgumentException: bad configuration"_s;
    QTest::newRow("none") << true << Answer::None << QString();
}

void TestSimVisibility::answersAsTheBehaviourSays()
{
    QFETCH(bool, present);
    QFETCH(Answer, answer);
    QFETCH(QString, error);
    const bool succeeds = answer != Answer::None && error.isEmpty();

    Desk desk;
    desk.setBehaviour(answer, 0.0, present);
    QCOMPARE(desk.framework.isAvailable(), present);
    const auto reply = desk.request({u"com.apple.controlcenter"_s});
    QVERIFY(!reply->assertion && !reply->error); // never from inside the call
    desk.settle(60.0);

    QCOMPARE(bool(reply->assertion), succeeds);
    QCOMPARE(desk.framework.liveAssertionCount(), succeeds ? 1 : 0);
    QCOMPARE(bool(desk.desktop.allowList()), succeeds);
    QString told;
    if (const std::optional<Error>& e = reply->error)
        told = u"%1 %2: %3"_s.arg(e->domain, QString::number(e->code), e->description);
    QCOMPARE(told, error);
}

// A later request with a shorter delay is answered with the earlier one, not before it.
void TestSimVisibility::inForceIsWhatEveryAssertionAllows()
{
    Desk desk;
    desk.setBehaviour(Answer::Success, 2.0);
    const auto first = desk.request({dockyard, clipjar});
    desk.setBehaviour(Answer::Success, 0.0);
    const auto second = desk.request({dockyard});
    desk.settle(1.999);
    QVERIFY(!second->assertion);
    QVERIFY(!desk.desktop.allowList());
    desk.settle(0.001);

    QCOMPARE(*desk.desktop.allowList(), QSet<QString>{dockyard});
    desk.framework.invalidate(second->assertion);
    QCOMPARE(*desk.desktop.allowList(), (QSet<QString>{dockyard, clipjar}));
    // Ending what already ended, or what never was an assertion, changes nothing.
    desk.framework.invalidate(second->assertion);
    desk.framework.invalidate(nullptr);
    desk.framework.invalidate(std::make_shared<NativeObject>());
    QCOMPARE(desk.framework.liveAssertionCount(), 1);
    desk.framework.invalidate(first->assertion);
    QVERIFY(!desk.desktop.allowList());
}

QTEST_GUILESS_MAIN(TestSimVisibility)
#include "tst_simvisibility.moc"
