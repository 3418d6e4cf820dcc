#include "inspection/Workspace.h"
#include "platform/sim/VirtualTime.h"
#include "visibility/NativeVisibilityBridge.h"
#include "visibility/VisibilityController.h"

#include <QTest>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

const QString own = u"zz.own"_s;
const QString orgA = u"org.a"_s;
const QString orgB = u"org.b"_s;
const QString orgC = u"org.c"_s;
const QString requesting = u"message=Solicitando ocultación…"_s;
const QString hidingNow = u"message=Apps ocultas. Pulsa la flecha para mostrar todas."_s;
const QString watchdogExpired =
    u"message=No se pudo mantener la ocultación: el mecanismo no respondió a tiempo."_s;
const QStringList asking{u"pending=true"_s, requesting};
const QStringList restoring{
    u"active=false"_s, u"pending=false"_s,
    u"message=Restricción retirada; se ha solicitado restaurar todos los iconos."_s};

class FakeAssertion final : public NativeObject {
public:
    explicit FakeAssertion(QString assertionName) : name(std::move(assertionName)) {}
    const QString name;
    int invalidations = 0;
};

// A controller's workspace and bridge; the bridge answers only when the test says so.
struct Rig final : NativeVisibilityBridge, Workspace {
    struct Call {
        QList<int> systemItems;
        QStringList bundles;
        Completion completion;
    };

    QStringList events;
    VirtualTimeSource time;
    bool trusted = true;
    bool available = true;
    QList<RunningApplication> running{{1, own, {}},
                                      {2, orgA, {}},
                                      {3, orgB, {}},
                                      {4, std::nullopt, {}},
                                      {5, u"com.apple.Siri"_s, {}}};
    std::optional<QString> mainBundle = own;
    QList<Call> calls;
    std::vector<std::shared_ptr<FakeAssertion>> handedOut;
    std::unique_ptr<VisibilityController> controller;

    Rig()
    {
        controller =
            std::make_unique<VisibilityController>(*this, *this, time, [this] { return trusted; });
        const auto flag = [this](const char* name) {
            return [this, name](bool on) {
                events << u"%1=%2"_s.arg(QLatin1String(name), on ? "true" : "false");
            };
        };
        QObject::connect(controller.get(), &VisibilityController::activeChanged, flag("active"));
        QObject::connect(controller.get(), &VisibilityController::pendingChanged, flag("pending"));
        QObject::connect(controller.get(), &VisibilityController::messageChanged,
                         [this](const QString& text) { events << u"message="_s + text; });
    }

    QList<RunningApplication> runningApplications() const override { return running; }
    qint32 currentProcessId() const override { return 1; }
    std::optional<QString> mainBundleIdentifier() const override { return mainBundle; }
    QString operatingSystemVersionString() const override { return {}; }

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
            events << u"invalidate "_s + assertion->name;
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
    void fail(int call) { calls[call].completion(nullptr, Error{u"Test"_s, 7, u"boom"_s}); }

    QStringList take() { return std::exchange(events, {}); }

    // Every assertion handed out was invalidated exactly once, or is the one held.
    bool accountedFor() const
    {
        int live = 0;
        for (const auto& assertion : handedOut) {
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

} // namespace

class TestVisibilityController : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusedRequestChangesOnlyTheMessage_data();
    void refusedRequestChangesOnlyTheMessage();
    void answersLaunchesAndRestores_data();
    void answersLaunchesAndRestores();
};

void TestVisibilityController::refusedRequestChangesOnlyTheMessage_data()
{
    QTest::addColumn<bool>("whileHiding");
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QSet<QString>>("hidden");
    QTest::addColumn<QString>("message");

    const QString needs = u"Se necesita Accesibilidad y el backend compatible con macOS 27."_s;
    const QString bundle = u"Ejecuta el bundle de la aplicación."_s;
    const QString select = u"Selecciona una app externa para la prueba."_s;
    const QSet<QString> some{orgA};
    const QSet<QString> onlyKept{u"com.apple.controlcenter"_s, u"com.apple.Spotlight"_s, own};

    for (const bool whileHiding : {false, true}) {
        const QByteArray when = whileHiding ? " while hiding" : " while idle";
        QTest::newRow("not trusted" + when) << whileHiding << u"trust"_s << some << needs;
        QTest::newRow("no backend" + when) << whileHiding << u"backend"_s << some << needs;
        QTest::newRow("no bundle" + when) << whileHiding << u"bundle"_s << some << bundle;
        QTest::newRow("empty bundle identifier" + when)
            << whileHiding << u"identifier"_s << some << bundle;
        QTest::newRow("only protected and own" + when)
            << whileHiding << QString() << onlyKept << select;
        QTest::newRow("nothing" + when) << whileHiding << QString() << QSet<QString>() << select;
    }
}

void TestVisibilityController::refusedRequestChangesOnlyTheMessage()
{
    QFETCH(bool, whileHiding);
    QFETCH(QString, missing);
    QFETCH(QSet<QString>, hidden);
    QFETCH(QString, message);

    Rig rig;
    if (whileHiding) {
        rig.controller->activate({orgA});
        rig.succeed(0);
        rig.take();
    }
    const auto before = rig.state();
    const qint64 generation = rig.controller->generation();
    const auto calls = rig.calls.size();
    rig.trusted = missing != u"trust";
    rig.available = missing != u"backend";
    if (missing == u"bundle")
        rig.mainBundle.reset();
    else if (missing == u"identifier")
        rig.mainBundle = QString();

    rig.controller->activate(hidden);

    QCOMPARE(rig.take(), QStringList{u"message="_s + message});
    QCOMPARE(rig.state(), before);
    QCOMPARE(rig.controller->generation(), generation);
    QCOMPARE(rig.calls.size(), calls);
    QVERIFY(rig.accountedFor());
}

void TestVisibilityController::answersLaunchesAndRestores_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<Rig::State>("state");

    // a: hide org.a (request 0); b: hide org.b instead; c: the running applications changed;
    // l: org.c launches, and c; tS: S seconds pass; r: restore(); d: the controller goes.
    // Request N answers: sN success with a fresh assertion, SN the last assertion again, fN an
    // error, eN neither, xN both an assertion and an error. Assertions are numbered in the
    // order they are handed out.
    const QStringList inForce{u"pending=false"_s, u"active=true"_s};
    const QStringList hid = inForce + QStringList{hidingNow};
    const QStringList answered{u"pending=false"_s};
    const QString failed = u"message=No se pudo ocultar: boom"_s;
    const auto ended = [](int assertion) { return QStringList{u"invalidate %1"_s.arg(assertion)}; };
    // The old assertion goes only once the new one is in force.
    const QStringList renewed = inForce + ended(0) + QStringList{hidingNow};

    QTest::newRow("success stops the watchdog") << "a t4.9 s0 t60" << asking + hid << hiding;
    QTest::newRow("watchdog at five seconds; a late success is ended")
        << "a t4.999 t0.001 s0" << asking + restoring + QStringList{watchdogExpired} + ended(0)
        << idle;
    QTest::newRow("error") << "a f0" << asking + answered + restoring + QStringList{failed} << idle;
    const QString noAnswer = u"message=No se pudo ocultar: sin respuesta válida"_s;
    QTest::newRow("neither") << "a e0" << asking + answered + restoring + QStringList{noAnswer}
                             << idle;
    QTest::newRow("both") << "a x0"
                          << asking + answered + ended(0) + restoring + QStringList{failed} << idle;
    QTest::newRow("renewal") << "a s0 c s1" << asking + hid + asking + renewed << hiding;
    QTest::newRow("launches while requesting: applied once, after success")
        << "a l l s0 s1" << asking + hid + asking + renewed << hiding;
    QTest::newRow("launch while hiding: re-requesting, the assertion kept")
        << "a s0 l" << asking + hid + asking << Rig::State{true, true};
    QTest::newRow("launch while re-requesting")
        << "a s0 c l s1 s2"
        << asking + hid + asking + renewed + asking + inForce + ended(1) + QStringList{hidingNow}
        << hiding;
    QTest::newRow("launch while re-requesting, then failure")
        << "a s0 c l f1"
        << asking + hid + asking + answered + ended(0) + restoring + QStringList{failed} << idle;
    QTest::newRow("launch while re-requesting, then watchdog")
        << "a s0 c l t5"
        << asking + hid + asking + ended(0) + restoring + QStringList{watchdogExpired} << idle;
    QTest::newRow("idle: launches ignored, every restore goes through every step")
        << "l r r" << restoring + restoring << idle;
    QTest::newRow("restore while re-requesting; a late success is ended")
        << "a s0 l l r s1" << asking + hid + asking + ended(0) + restoring + ended(1) << idle;

    QTest::newRow("superseded success before the newer answer")
        << "a b s0" << asking + asking + ended(0) << requestingState;
    QTest::newRow("superseded failure before the newer answer")
        << "a b f0" << asking + asking << requestingState;
    QTest::newRow("superseded success first")
        << "a b s0 s1" << asking + asking + ended(0) + hid << hiding;
    QTest::newRow("superseded success last")
        << "a b s1 s0" << asking + asking + hid + ended(1) << hiding;
    QTest::newRow("superseded failure last") << "a b s1 f0" << asking + asking + hid << hiding;

    QTest::newRow("success twice with the same assertion") << "a s0 S0" << asking + hid << hiding;
    QTest::newRow("success twice with different assertions")
        << "a s0 s0" << asking + hid + ended(1) << hiding;
    QTest::newRow("success, then failure") << "a s0 f0" << asking + hid << hiding;
    QTest::newRow("duplicate after restore")
        << "a s0 r S0" << asking + hid + ended(0) + restoring << idle;
    QTest::newRow("answers after the controller is gone")
        << "a d s0 S0 s0" << asking + ended(0) + ended(1) << idle;
}

void TestVisibilityController::answersLaunchesAndRestores()
{
    QFETCH(QString, script);
    QFETCH(QStringList, events);
    QFETCH(Rig::State, state);

    Rig rig;
    std::shared_ptr<FakeAssertion> last;
    for (const QString& step : script.split(u' ')) {
        const QChar op = step.front();
        const int call = step.mid(1).toInt();
        if (op == u'a' || op == u'b') {
            rig.controller->activate({op == u'a' ? orgA : orgB});
        } else if (op == u'l' || op == u'c') {
            if (op == u'l')
                rig.running.append({9, orgC, {}});
            rig.controller->runningApplicationsChanged();
        } else if (op == u't') {
            rig.time.advance(step.mid(1).toDouble());
        } else if (op == u's') {
            last = rig.succeed(call);
        } else if (op == u'S') {
            rig.calls[call].completion(last, std::nullopt);
        } else if (op == u'f') {
            rig.fail(call);
        } else if (op == u'e') {
            rig.calls[call].completion(nullptr, std::nullopt);
        } else if (op == u'x') {
            const Error error{u"Test"_s, 7, u"boom"_s};
            rig.calls[call].completion(rig.makeAssertion(), error);
        } else if (op == u'r') {
            rig.controller->restore();
        } else {
            rig.controller.reset();
        }
    }
    QCOMPARE(rig.take(), events);
    QVERIFY(rig.accountedFor());
    if (script.startsWith(u'a')) {
        // Every system item and every running application but org.a, sorted, each once.
        QList<int> systemItems;
        for (int item = 0; item < 64; ++item)
            systemItems << item;
        QCOMPARE(rig.calls[0].systemItems, systemItems);
        QCOMPARE(rig.calls[0].bundles,
                 (QStringList{u"com.apple.Siri"_s, u"com.apple.Spotlight"_s,
                              u"com.apple.controlcenter"_s, u"com.apple.loginwindow"_s,
                              u"com.apple.menuextra.clock"_s, u"com.apple.systemuiserver"_s, orgB,
                              own}));
    }
    if (!rig.controller)
        return;
    QCOMPARE(rig.state(), state);
    if (rig.controller->active()) {
        // The last request hid the target and kept every other running application.
        const QString target = script.contains(u'b') ? orgB : orgA;
        QCOMPARE(rig.controller->hiddenTargets(), QSet<QString>{target});
        QVERIFY(!rig.calls.last().bundles.contains(target));
        QCOMPARE(rig.calls.last().bundles.contains(orgC), script.contains(u'l'));
    } else if (!rig.controller->pending()) {
        QCOMPARE(rig.controller->hiddenTargets(), QSet<QString>());
        QCOMPARE(rig.time.activeTimerCount(), 0);
    }
    QVERIFY(!rig.controller->refreshNeeded());
    rig.controller->restore();
    QVERIFY(rig.accountedFor());
}

QTEST_GUILESS_MAIN(TestVisibilityController)
#include "tst_visibilitycontroller.moc"
