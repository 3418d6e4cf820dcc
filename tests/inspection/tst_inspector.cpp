#include "core/Time.h"
#include "inspection/Accessibility.h"
#include "inspection/Inspector.h"
#include "inspection/Workspace.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"

#include <QElapsedTimer>
#include <QCoreApplication>
#include <QSemaphore>
#include <QThread>
#include <QTest>
#include <atomic>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

class FakeWorkspace final : public Workspace {
public:
    QList<RunningApplication> apps;
    std::optional<QString> ownBundle = u"app.tuckaway.Tuckaway"_s;

    QList<RunningApplication> runningApplications() const override { return apps; }
    qint32 currentProcessId() const override { return 500; }
    std::optional<QString> mainBundleIdentifier() const override { return ownBundle; }
    QString operatingSystemVersionString() const override { return u"Version 15"_s; }
};

// A scanner that waits at a gate the test opens, and remembers what it was given.
struct GatedScanner {
    QSemaphore gate;
    std::atomic<int> calls{0};
    QList<QList<ScanApp>> received;
    QThread::Priority priority = QThread::InheritPriority;

    Inspector::Scanner function()
    {
        return [this](const QList<ScanApp>& apps) {
            received << apps;
            priority = QThread::currentThread() == QCoreApplication::instance()->thread()
                           ? QThread::InheritPriority
                           : QThread::currentThread()->priority();
            ++calls; // after what the test reads once it sees the count
            gate.acquire();
            return ScanResult{QList<ExternalItem>(2), u"informe"_s};
        };
    }
};

} // namespace

class TestInspector : public QObject {
    Q_OBJECT

private:
    FakeWorkspace workspace;
    std::unique_ptr<GatedScanner> scanner;
    bool authorized = true;
    std::unique_ptr<Inspector> inspector;
    QStringList log; // every publication, in order

private Q_SLOTS:
    void init()
    {
        workspace = FakeWorkspace();
        authorized = true;
        scanner = std::make_unique<GatedScanner>();
        inspector = std::make_unique<Inspector>(
            scanner->function(), [this] { return authorized; }, workspace);
        log.clear();
        connect(inspector.get(), &Inspector::itemsChanged, this,
                [this](const auto& items) { log << u"items:%1"_s.arg(items.size()); });
        connect(inspector.get(), &Inspector::reportChanged, this,
                [this](const QString& report) { log << u"report:"_s + report; });
        connect(inspector.get(), &Inspector::isScanningChanged, this,
                [this](bool scanning) { log << u"scanning:%1"_s.arg(scanning); });
    }
    void cleanup()
    {
        scanner->gate.release(100); // never leave a walk waiting
        inspector.reset();
    }

    void overlappingScansShareOneWalk();
    void leavesOutThisProcessAndItsBundle_data();
    void leavesOutThisProcessAndItsBundle();
    void aScanAskedWhileItemsArePublishedJoinsTheWalk();
    void destroyedDuringADefaultWalkAbandonsIt();
};

void TestInspector::overlappingScansShareOneWalk()
{
    int finished = 0;
    const auto waiter = [&](const char* name) {
        return [&, name] {
            log << QString::fromLatin1(name);
            ++finished;
        };
    };
    // Every assignment of the report notifies, also of an equal text.
    inspector->setReport(u"old"_s);
    QVERIFY(inspector->setProperty("report", u"old"_s));
    // The first caller asks for the next walk as it is served.
    inspector->scan([&] {
        waiter("first")();
        inspector->scan(waiter("next"));
    });
    inspector->scan(waiter("second"));
    // Without permission, a request is answered at once; the walk under way goes on.
    authorized = false;
    inspector->scan(waiter("refused"));
    authorized = true;
    scanner->gate.release();
    QTRY_COMPARE(finished, 3);

    // Items, report, idle; each later caller gets the result again and sees the next walk.
    const QStringList refused{u"items:0"_s, u"report:"_s + Inspector::missingPermissionReport,
                              u"refused"_s};
    const QStringList publication{u"items:2"_s, u"report:informe"_s};
    QCOMPARE(log, (QStringList{u"report:old"_s, u"report:old"_s, u"scanning:1"_s} + refused +
                   publication + QStringList{u"scanning:0"_s, u"first"_s, u"scanning:1"_s} +
                   publication + QStringList{u"second"_s}));
    QTRY_COMPARE(scanner->calls.load(), 2);
    QCOMPARE(scanner->priority, QThread::HighPriority); // a person waits for the walk
    scanner->gate.release();
    QTRY_COMPARE(finished, 4);
    QVERIFY(!inspector->isScanning());

    // Idle, without permission: nothing starts.
    log.clear();
    authorized = false;
    inspector->scan(waiter("refused"));
    QCOMPARE(log, refused);
    QCOMPARE(scanner->calls.load(), 2);
}

void TestInspector::leavesOutThisProcessAndItsBundle_data()
{
    QTest::addColumn<std::optional<QString>>("ownBundle");
    QTest::addColumn<QList<qint32>>("scanned");
    QTest::newRow("bundled") << std::optional<QString>(u"app.tuckaway.Tuckaway"_s)
                             << QList<qint32>{300, 100, 400};
    // Two absent identifiers count as the same bundle.
    QTest::newRow("without bundle") << std::optional<QString>() << QList<qint32>{300, 100, 600};
}

void TestInspector::leavesOutThisProcessAndItsBundle()
{
    QFETCH(std::optional<QString>, ownBundle);
    QFETCH(QList<qint32>, scanned);
    workspace.ownBundle = ownBundle;
    workspace.apps = {
        {300, u"com.example.c"_s, u"C"_s},
        {500, ownBundle, u"Tuckaway"_s}, // this process
        {100, u"com.example.a"_s, std::nullopt},
        {600, u"app.tuckaway.Tuckaway"_s, u"Tuckaway"_s}, // a 2nd copy
        {400, std::nullopt, u"Sin identificador"_s},
    };
    inspector->scan();
    QTRY_COMPARE(scanner->calls.load(), 1);

    QList<qint32> pids;
    for (const ScanApp& app : scanner->received[0])
        pids << app.pid;
    QCOMPARE(pids, scanned);
}

void TestInspector::aScanAskedWhileItemsArePublishedJoinsTheWalk()
{
    std::optional<bool> scanningWhenPublished;
    bool joinedDone = false;
    connect(inspector.get(), &Inspector::itemsChanged, this, [&] {
        if (scanningWhenPublished)
            return;
        scanningWhenPublished = inspector->isScanning();
        inspector->scan([&] { joinedDone = true; });
    });
    bool done = false;
    inspector->scan([&] { done = true; });
    scanner->gate.release();
    QTRY_VERIFY(done && joinedDone);
    QCOMPARE(scanningWhenPublished, std::optional<bool>(true));
    QCOMPARE(scanner->calls.load(), 1);
    QVERIFY(!inspector->isScanning());
}

// Quitting destroys the inspector: it must not wait for the rest of a long walk.
void TestInspector::destroyedDuringADefaultWalkAbandonsIt()
{
    // Each request costs 5 ms of real time: the walk over every element takes 12 s.
    SimScenario scenario;
    for (qint32 pid = 101; pid <= 120; ++pid) {
        SimApplication application;
        application.pid = pid;
        application.responseDelay = 0.005;
        application.items = QList<SimElement>(100);
        scenario.applications << application;
        workspace.apps << RunningApplication{pid, u"com.example.%1"_s.arg(pid), {}};
    }
    SimDesktop desktop(scenario);
    SystemTimeSource time;
    SimAccessibility accessibility(desktop, time);
    auto walking = std::make_unique<Inspector>(accessibility, workspace, time);
    bool done = false;
    walking->scan([&] { done = true; });
    QTest::qWait(100);
    QElapsedTimer destruction;
    destruction.start();
    walking.reset();
    QVERIFY2(destruction.elapsed() < 3000, qPrintable(QString::number(destruction.elapsed())));
    QVERIFY(!done);
}

QTEST_GUILESS_MAIN(TestInspector)
#include "tst_inspector.moc"
