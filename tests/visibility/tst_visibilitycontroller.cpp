#include "inspection/Workspace.h"
#include "platform/sim/VirtualTime.h"
#include "visibility/NativeVisibilityBridge.h"
#include "visibility/VisibilityController.h"

#include <QTest>

using namespace tk;

namespace {

const QString own = QStringLiteral("zz.own");
const QString requesting = QStringLiteral("message=Solicitando ocultación…");
const QString hidingNow =
    QStringLiteral("message=Apps ocultas. Pulsa la flecha para mostrar todas.");
const QString restored =
    QStringLiteral("message=Restricción retirada; se ha solicitado restaurar todos los iconos.");
const QString watchdogExpired = QStringLiteral(
    "message=No se pudo mantener la ocultación: el mecanismo no respondió a tiempo.");

class FakeAssertion final : public NativeObject {
public:
    explicit FakeAssertion(QString assertionName) : name(std::move(assertionName)) {}
    const QString name;
    int invalidations = 0;
};

class FakeWorkspace final : public Workspace {
public:
    QList<RunningApplication> running;
    std::optional<QString> mainBundle = own;

    QList<RunningApplication> runningApplications() const override { return running; }
    qint32 currentProcessId() const override { return 1; }
    std::optional<QString> mainBundleIdentifier() const override { return mainBundle; }
    QString operatingSystemVersionString() const override { return {}; }
};

// Keeps every request and answers only when the test says so, which stands for the
// bridge's later turn of the main thread.
class ScriptedBridge final : public NativeVisibilityBridge {
public:
    struct Call {
        QList<int> systemItems;
        QStringList bundles;
        Completion completion;
    };

    explicit ScriptedBridge(QStringList& events) : m_events(events) {}

    bool available = true;
    QList<Call> calls;
    std::vector<std::shared_ptr<FakeAssertion>> handedOut;

    bool isAvailable() override { return available; }
    void activate(const QList<int>& systemItems, const QStringList& bundles,
                  Completion completion) override
    {
        calls.append({systemItems, bundles, std::move(completion)});
    }
    void invalidate(const NativeObjectPtr& object) override
    {
        if (const auto assertion = std::dynamic_pointer_cast<FakeAssertion>(object)) {
            ++assertion->invalidations;
            m_events << QStringLiteral("invalidate ") + assertion->name;
        }
    }

    std::shared_ptr<FakeAssertion> makeAssertion()
    {
        auto assertion = std::make_shared<FakeAssertion>(QString::number(handedOut.size()));
        handedOut.push_back(assertion);
        return assertion;
    }
    std::shared_ptr<FakeAssertion> succeed(int call)
    {
        auto assertion = makeAssertion();
        calls[call].completion(assertion, std::nullopt);
        return assertion;
    }
    void fail(int call, const QString& description = QStringLiteral("boom"))
    {
        calls[call].completion(nullptr, Error{QStringLiteral("Test"), 7, description});
    }

private:
    QStringList& m_events;
};

RunningApplication app(qint32 pid, std::optional<QString> bundle)
{
    return {pid, std::move(bundle), std::nullopt};
}

struct Rig {
    QStringList events;
    VirtualTimeSource time;
    FakeWorkspace workspace;
    ScriptedBridge bridge{events};
    bool trusted = true;
    std::unique_ptr<VisibilityController> controller;

    Rig()
    {
        workspace.running = {app(1, own), app(2, QStringLiteral("org.a")),
                             app(3, QStringLiteral("org.b")), app(4, std::nullopt)};
        controller = std::make_unique<VisibilityController>(bridge, workspace, time,
                                                            [this] { return trusted; });
        const auto flag = [this](const char* name) {
            return [this, name](bool on) {
                events << QStringLiteral("%1=%2").arg(QLatin1String(name), on ? "true" : "false");
            };
        };
        QObject::connect(controller.get(), &VisibilityController::activeChanged, flag("active"));
        QObject::connect(controller.get(), &VisibilityController::pendingChanged, flag("pending"));
        QObject::connect(
            controller.get(), &VisibilityController::messageChanged,
            [this](const QString& text) { events << QStringLiteral("message=") + text; });
    }

    QStringList take() { return std::exchange(events, {}); }

    // Hiding org.a with assertion "0", events cleared.
    std::shared_ptr<FakeAssertion> hide()
    {
        controller->activate({QStringLiteral("org.a")});
        auto assertion = bridge.succeed(int(bridge.calls.size()) - 1);
        take();
        return assertion;
    }

    // Every assertion handed out was invalidated exactly once, or is the one held.
    bool accountedFor() const
    {
        int live = 0;
        for (const auto& assertion : bridge.handedOut) {
            if (assertion->invalidations > 1)
                return false;
            live += assertion->invalidations == 0 ? 1 : 0;
        }
        return live == (controller && controller->active() ? 1 : 0);
    }

    using State = std::pair<bool, bool>;
    State state() const { return {controller->active(), controller->pending()}; }
};

const Rig::State idle{false, false};
const Rig::State requestingState{false, true};
const Rig::State hiding{true, false};
const Rig::State reRequesting{true, true};

} // namespace

class TestVisibilityController : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusedRequestChangesOnlyTheMessage_data();
    void refusedRequestChangesOnlyTheMessage();
    void requestCarriesTargetsAllowListAndSystemItems();
    void acceptedSuccessHidesAndStopsTheWatchdog();
    void acceptedFailureRestoresThenExplains_data();
    void acceptedFailureRestoresThenExplains();
    void watchdogExpiresAtFiveSecondsAndLateSuccessIsDropped();
    void secondActivationSupersedesTheFirst_data();
    void secondActivationSupersedesTheFirst();
    void reRequestReleasesOldAssertionOnlyAfterNewOneIsInForce();
    void launchWhilePendingReappliesOnceAfterSuccessOnly_data();
    void launchWhilePendingReappliesOnceAfterSuccessOnly();
    void idleControllerAndRestoreGoingThroughEveryStep();
    void lateAndDuplicateAnswersLeakNothing_data();
    void lateAndDuplicateAnswersLeakNothing();
    void answerAfterTheControllerIsGoneIsInvalidated();
};

void TestVisibilityController::refusedRequestChangesOnlyTheMessage_data()
{
    QTest::addColumn<bool>("whileHiding");
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<bool>("available");
    QTest::addColumn<bool>("hasBundle");
    QTest::addColumn<QSet<QString>>("hidden");
    QTest::addColumn<QString>("message");

    const QString needs =
        QStringLiteral("Se necesita Accesibilidad y el backend compatible con macOS 27.");
    const QString bundle = QStringLiteral("Ejecuta el bundle de la aplicación.");
    const QString select = QStringLiteral("Selecciona una app externa para la prueba.");
    const QSet<QString> some{QStringLiteral("org.a")};
    const QSet<QString> onlyKept{QStringLiteral("com.apple.controlcenter"),
                                 QStringLiteral("com.apple.Spotlight"), own};

    for (const bool whileHiding : {false, true}) {
        const QByteArray when = whileHiding ? " while hiding" : " while idle";
        QTest::newRow("not trusted" + when)
            << whileHiding << false << true << true << some << needs;
        QTest::newRow("no backend" + when) << whileHiding << true << false << true << some << needs;
        QTest::newRow("no bundle" + when) << whileHiding << true << true << false << some << bundle;
        QTest::newRow("only protected and own" + when)
            << whileHiding << true << true << true << onlyKept << select;
        QTest::newRow("nothing" + when)
            << whileHiding << true << true << true << QSet<QString>() << select;
    }
}

void TestVisibilityController::refusedRequestChangesOnlyTheMessage()
{
    QFETCH(bool, whileHiding);
    QFETCH(bool, trusted);
    QFETCH(bool, available);
    QFETCH(bool, hasBundle);
    QFETCH(QSet<QString>, hidden);
    QFETCH(QString, message);

    Rig rig;
    if (whileHiding)
        rig.hide();
    const auto before = rig.state();
    const qint64 generation = rig.controller->generation();
    const QSet<QString> targets = rig.controller->hiddenTargets();
    const auto calls = rig.bridge.calls.size();
    rig.trusted = trusted;
    rig.bridge.available = available;
    if (!hasBundle)
        rig.workspace.mainBundle.reset();

    rig.controller->activate(hidden);

    QCOMPARE(rig.take(), QStringList{QStringLiteral("message=") + message});
    QCOMPARE(rig.state(), before);
    QCOMPARE(rig.controller->generation(), generation);
    QCOMPARE(rig.controller->hiddenTargets(), targets);
    QCOMPARE(rig.bridge.calls.size(), calls);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::requestCarriesTargetsAllowListAndSystemItems()
{
    Rig rig;
    rig.workspace.running.append(app(5, QStringLiteral("com.apple.Siri")));

    rig.controller->activate({QStringLiteral("org.a"), QStringLiteral("com.apple.controlcenter"),
                              own, QStringLiteral("org.gone")});

    QCOMPARE(rig.take(), (QStringList{QStringLiteral("pending=true"), requesting}));
    QCOMPARE(rig.state(), requestingState);
    QCOMPARE(rig.controller->generation(), 1);
    QCOMPARE(rig.controller->hiddenTargets(),
             (QSet<QString>{QStringLiteral("org.a"), QStringLiteral("org.gone")}));
    QCOMPARE(rig.bridge.calls.size(), 1);
    QList<int> systemItems;
    for (int i = 0; i < 64; ++i)
        systemItems << i;
    QCOMPARE(rig.bridge.calls[0].systemItems, systemItems);
    QCOMPARE(rig.bridge.calls[0].bundles,
             (QStringList{
                 QStringLiteral("com.apple.Siri"), QStringLiteral("com.apple.Spotlight"),
                 QStringLiteral("com.apple.controlcenter"), QStringLiteral("com.apple.loginwindow"),
                 QStringLiteral("com.apple.menuextra.clock"),
                 QStringLiteral("com.apple.systemuiserver"), QStringLiteral("org.b"), own}));
}

void TestVisibilityController::acceptedSuccessHidesAndStopsTheWatchdog()
{
    Rig rig;
    rig.controller->activate({QStringLiteral("org.a")});
    rig.take();
    rig.time.advance(4.9);
    rig.bridge.succeed(0);

    QCOMPARE(rig.take(), (QStringList{QStringLiteral("pending=false"),
                                      QStringLiteral("active=true"), hidingNow}));
    QCOMPARE(rig.time.activeTimerCount(), 0);
    rig.time.advance(60.0);
    QCOMPARE(rig.take(), QStringList());
    QCOMPARE(rig.state(), hiding);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::acceptedFailureRestoresThenExplains_data()
{
    QTest::addColumn<bool>("withAssertion");
    QTest::addColumn<bool>("withError");
    QTest::addColumn<QString>("message");

    QTest::newRow("error") << false << true << QStringLiteral("No se pudo ocultar: boom");
    QTest::newRow("neither") << false << false
                             << QStringLiteral("No se pudo ocultar: sin respuesta válida");
    QTest::newRow("both") << true << true << QStringLiteral("No se pudo ocultar: boom");
}

void TestVisibilityController::acceptedFailureRestoresThenExplains()
{
    QFETCH(bool, withAssertion);
    QFETCH(bool, withError);
    QFETCH(QString, message);

    Rig rig;
    rig.controller->activate({QStringLiteral("org.a")});
    rig.take();
    NativeObjectPtr assertion = withAssertion ? rig.bridge.makeAssertion() : nullptr;
    std::optional<Error> error;
    if (withError)
        error = Error{QStringLiteral("Test"), 7, QStringLiteral("boom")};
    rig.bridge.calls[0].completion(assertion, error);

    QStringList expected{QStringLiteral("pending=false")};
    if (withAssertion)
        expected << QStringLiteral("invalidate 0");
    expected << QStringLiteral("active=false") << QStringLiteral("pending=false") << restored
             << QStringLiteral("message=") + message;
    QCOMPARE(rig.take(), expected);
    QCOMPARE(rig.state(), idle);
    QCOMPARE(rig.controller->hiddenTargets(), QSet<QString>());
    rig.time.advance(10.0);
    QCOMPARE(rig.take(), QStringList());
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::watchdogExpiresAtFiveSecondsAndLateSuccessIsDropped()
{
    Rig rig;
    rig.controller->activate({QStringLiteral("org.a")});
    rig.take();
    rig.time.advance(4.999);
    QCOMPARE(rig.take(), QStringList());
    rig.time.advance(0.001);
    QCOMPARE(rig.take(), (QStringList{QStringLiteral("active=false"),
                                      QStringLiteral("pending=false"), restored, watchdogExpired}));
    QCOMPARE(rig.controller->generation(), 2);

    rig.bridge.succeed(0);
    QCOMPARE(rig.take(), QStringList{QStringLiteral("invalidate 0")});
    QCOMPARE(rig.state(), idle);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::secondActivationSupersedesTheFirst_data()
{
    QTest::addColumn<bool>("firstAnswersFirst");
    QTest::addColumn<bool>("firstSucceeds");

    QTest::newRow("first's success arrives first") << true << true;
    QTest::newRow("first's success arrives last") << false << true;
    QTest::newRow("first's failure arrives first") << true << false;
    QTest::newRow("first's failure arrives last") << false << false;
}

void TestVisibilityController::secondActivationSupersedesTheFirst()
{
    QFETCH(bool, firstAnswersFirst);
    QFETCH(bool, firstSucceeds);

    Rig rig;
    rig.controller->activate({QStringLiteral("org.a")});
    rig.controller->activate({QStringLiteral("org.b")});
    rig.take();
    const auto answerFirst = [&] {
        if (firstSucceeds)
            rig.bridge.succeed(0);
        else
            rig.bridge.fail(0);
    };

    if (firstAnswersFirst) {
        answerFirst();
        QCOMPARE(rig.take(),
                 firstSucceeds ? QStringList{QStringLiteral("invalidate 0")} : QStringList());
        QCOMPARE(rig.state(), requestingState);
    }
    const auto second = rig.bridge.succeed(1);
    QCOMPARE(rig.state(), hiding);
    QCOMPARE(rig.controller->hiddenTargets(), QSet<QString>{QStringLiteral("org.b")});
    if (!firstAnswersFirst) {
        rig.take();
        answerFirst();
        QCOMPARE(rig.take(),
                 firstSucceeds ? QStringList{QStringLiteral("invalidate 1")} : QStringList());
        QCOMPARE(rig.state(), hiding);
    }
    QCOMPARE(second->invalidations, 0);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::reRequestReleasesOldAssertionOnlyAfterNewOneIsInForce()
{
    Rig rig;
    const auto first = rig.hide();
    rig.workspace.running.append(app(9, QStringLiteral("org.c")));

    rig.controller->runningApplicationsChanged();
    QCOMPARE(rig.take(), (QStringList{QStringLiteral("pending=true"), requesting}));
    QCOMPARE(rig.state(), reRequesting);
    QCOMPARE(rig.bridge.calls.size(), 2);
    QVERIFY(rig.bridge.calls[1].bundles.contains(QStringLiteral("org.c")));
    QVERIFY(!rig.bridge.calls[1].bundles.contains(QStringLiteral("org.a")));
    QCOMPARE(first->invalidations, 0);

    rig.bridge.succeed(1);
    QCOMPARE(rig.take(),
             (QStringList{QStringLiteral("pending=false"), QStringLiteral("active=true"),
                          QStringLiteral("invalidate 0"), hidingNow}));
    QCOMPARE(rig.state(), hiding);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::launchWhilePendingReappliesOnceAfterSuccessOnly_data()
{
    QTest::addColumn<bool>("whileHiding");
    QTest::addColumn<int>("outcome"); // 0 success, 1 failure, 2 watchdog

    for (const bool whileHiding : {false, true}) {
        const QByteArray from = whileHiding ? "re-requesting, " : "requesting, ";
        QTest::newRow(from + "success") << whileHiding << 0;
        QTest::newRow(from + "failure") << whileHiding << 1;
        QTest::newRow(from + "watchdog") << whileHiding << 2;
    }
}

void TestVisibilityController::launchWhilePendingReappliesOnceAfterSuccessOnly()
{
    QFETCH(bool, whileHiding);
    QFETCH(int, outcome);

    Rig rig;
    if (whileHiding) {
        rig.hide();
        rig.controller->runningApplicationsChanged();
    } else {
        rig.controller->activate({QStringLiteral("org.a")});
    }
    const int pendingCall = int(rig.bridge.calls.size()) - 1;
    rig.workspace.running.append(app(9, QStringLiteral("org.c")));
    rig.controller->runningApplicationsChanged();
    rig.controller->runningApplicationsChanged();
    QVERIFY(rig.controller->refreshNeeded());
    QCOMPARE(rig.bridge.calls.size(), pendingCall + 1);

    if (outcome == 0)
        rig.bridge.succeed(pendingCall);
    else if (outcome == 1)
        rig.bridge.fail(pendingCall);
    else
        rig.time.advance(5.0);

    QVERIFY(!rig.controller->refreshNeeded());
    if (outcome == 0) {
        QCOMPARE(rig.bridge.calls.size(), pendingCall + 2);
        QCOMPARE(rig.state(), reRequesting);
        QVERIFY(rig.bridge.calls.last().bundles.contains(QStringLiteral("org.c")));
        rig.bridge.succeed(pendingCall + 1);
        QCOMPARE(rig.state(), hiding);
        QCOMPARE(rig.bridge.calls.size(), pendingCall + 2);
    } else {
        QCOMPARE(rig.bridge.calls.size(), pendingCall + 1);
        QCOMPARE(rig.state(), idle);
        QCOMPARE(rig.take().last(), outcome == 2
                                        ? watchdogExpired
                                        : QStringLiteral("message=No se pudo ocultar: boom"));
    }
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::idleControllerAndRestoreGoingThroughEveryStep()
{
    Rig rig;
    QCOMPARE(rig.controller->message(), QStringLiteral("Ocultación experimental desactivada."));
    rig.controller->runningApplicationsChanged();
    QCOMPARE(rig.take(), QStringList());
    QVERIFY(rig.bridge.calls.isEmpty());
    for (qint64 generation = 1; generation <= 2; ++generation) {
        rig.controller->restore();
        QCOMPARE(rig.take(), (QStringList{QStringLiteral("active=false"),
                                          QStringLiteral("pending=false"), restored}));
        QCOMPARE(rig.controller->generation(), generation);
    }

    const auto held = rig.hide();
    rig.controller->runningApplicationsChanged();
    rig.controller->runningApplicationsChanged();
    rig.controller->restore();
    QCOMPARE(
        rig.take(),
        (QStringList{QStringLiteral("pending=true"), requesting, QStringLiteral("invalidate 0"),
                     QStringLiteral("active=false"), QStringLiteral("pending=false"), restored}));
    QCOMPARE(rig.controller->hiddenTargets(), QSet<QString>());
    QVERIFY(!rig.controller->refreshNeeded());
    QCOMPARE(rig.time.activeTimerCount(), 0);
    rig.bridge.succeed(1);
    QCOMPARE(rig.state(), idle);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::lateAndDuplicateAnswersLeakNothing_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<Rig::State>("state");

    // s: the request succeeds with a fresh assertion, S: it answers again with the
    // assertion it gave last, f: it fails, r: restore().
    QTest::newRow("success twice with the same assertion") << "sS" << hiding;
    QTest::newRow("success twice with different assertions") << "ss" << hiding;
    QTest::newRow("failure, then success") << "fs" << idle;
    QTest::newRow("success, then failure") << "sf" << hiding;
    QTest::newRow("success after restore") << "rs" << idle;
    QTest::newRow("duplicate after restore") << "srS" << idle;
    QTest::newRow("never answered, then restore") << "r" << idle;
}

void TestVisibilityController::lateAndDuplicateAnswersLeakNothing()
{
    QFETCH(QString, script);
    QFETCH(Rig::State, state);

    Rig rig;
    rig.controller->activate({QStringLiteral("org.a")});
    std::shared_ptr<FakeAssertion> last;
    for (const QChar step : script) {
        if (step == u's')
            last = rig.bridge.succeed(0);
        else if (step == u'S')
            rig.bridge.calls[0].completion(last, std::nullopt);
        else if (step == u'f')
            rig.bridge.fail(0);
        else
            rig.controller->restore();
    }
    QCOMPARE(rig.state(), state);
    QVERIFY(rig.accountedFor());
    rig.controller->restore();
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::answerAfterTheControllerIsGoneIsInvalidated()
{
    Rig rig;
    rig.controller->activate({QStringLiteral("org.a")});
    rig.controller.reset();
    const auto assertion = rig.bridge.succeed(0);
    rig.bridge.calls[0].completion(assertion, std::nullopt);
    QCOMPARE(assertion->invalidations, 1);
    const auto another = rig.bridge.succeed(0);
    QCOMPARE(another->invalidations, 1);
}

QTEST_GUILESS_MAIN(TestVisibilityController)
#include "tst_visibilitycontroller.moc"
