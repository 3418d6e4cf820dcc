#include "core/Time.h"
#include "inspection/Accessibility.h"
#include "inspection/Inspector.h"
#include "inspection/Workspace.h"

#include <QMutex>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <atomic>
#include <chrono>
#include <thread>

using namespace tk;

namespace {

class FakeWorkspace final : public Workspace {
public:
    QList<RunningApplication> apps;
    qint32 ownPid = 500;
    std::optional<QString> ownBundle = QStringLiteral("app.tuckaway.Tuckaway");

    QList<RunningApplication> runningApplications() const override { return apps; }
    qint32 currentProcessId() const override { return ownPid; }
    std::optional<QString> mainBundleIdentifier() const override { return ownBundle; }
    QString operatingSystemVersionString() const override { return QStringLiteral("Version 15"); }
};

ExternalItem externalItem(const QString& id)
{
    ExternalItem item;
    item.id = id;
    item.title = id;
    return item;
}

// A scanner that waits at a gate the test opens, and remembers what it was given.
struct GatedScanner {
    QSemaphore gate;
    std::atomic<int> calls{0};
    QMutex mutex;
    QList<QList<ScanApp>> received;
    ScanResult result{{externalItem(QStringLiteral("a")), externalItem(QStringLiteral("b"))},
                      QStringLiteral("informe")};

    Inspector::Scanner function()
    {
        return [this](const QList<ScanApp>& apps) {
            ++calls;
            {
                QMutexLocker lock(&mutex);
                received << apps;
            }
            gate.acquire();
            return result;
        };
    }
};

// Every application answers, slowly, with an extras menu bar of many items, so that a walk
// over a few of them lasts for seconds. Counts the requests that reach it.
class SlowAccessibility final : public Accessibility {
public:
    std::atomic<int> requests{0};

    AXElementRef applicationElement(qint32) override { return std::make_shared<AXElement>(); }
    void setMessagingTimeout(const AXElementRef&, double) override {}
    AXAttribute attribute(const AXElementRef&, const QString& name) override
    {
        answerSlowly();
        AXAttribute answer;
        if (name == QLatin1String("AXExtrasMenuBar")) {
            answer.kind = AXAttribute::Kind::Element;
            answer.element = std::make_shared<AXElement>();
        } else if (name == QLatin1String("AXChildren")) {
            answer.kind = AXAttribute::Kind::ElementList;
            for (int i = 0; i < 50; ++i)
                answer.elements << std::make_shared<AXElement>();
        } else {
            answer.error = AXResult::noValue;
        }
        return answer;
    }
    std::optional<QStringList> actionNames(const AXElementRef&) override
    {
        answerSlowly();
        return QStringList();
    }
    AXSettable isAttributeSettable(const AXElementRef&, const QString&) override
    {
        answerSlowly();
        return {};
    }
    bool isProcessTrusted() override { return true; }
    bool promptForTrust() override { return true; }

private:
    void answerSlowly()
    {
        ++requests;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
};

QStringList idsOf(const QList<ExternalItem>& items)
{
    QStringList ids;
    for (const ExternalItem& item : items)
        ids << item.id;
    return ids;
}

} // namespace

class TestInspector : public QObject {
    Q_OBJECT

private:
    FakeWorkspace workspace;
    std::unique_ptr<GatedScanner> scanner;
    bool authorized = true;
    std::unique_ptr<Inspector> inspector;
    QStringList log; // every publication, in order

    void observe()
    {
        connect(inspector.get(), &Inspector::itemsChanged, this, [this](const auto& items) {
            log << QStringLiteral("items:") + idsOf(items).join(QLatin1Char(','));
        });
        connect(inspector.get(), &Inspector::reportChanged, this,
                [this](const QString& report) { log << QStringLiteral("report:") + report; });
        connect(inspector.get(), &Inspector::isScanningChanged, this,
                [this](bool scanning) { log << QStringLiteral("scanning:%1").arg(scanning); });
    }

private Q_SLOTS:
    void init()
    {
        workspace = FakeWorkspace();
        authorized = true;
        scanner = std::make_unique<GatedScanner>();
        inspector = std::make_unique<Inspector>(
            scanner->function(), [this] { return authorized; }, workspace);
        log.clear();
        observe();
    }
    void cleanup()
    {
        scanner->gate.release(100); // never leave a walk waiting
        inspector.reset();
    }

    void withoutPermissionNothingRuns();
    void publishesItemsThenReportThenIdle();
    void overlappingScansShareOneWalk();
    void leavesOutThisProcessAndItsBundle_data();
    void leavesOutThisProcessAndItsBundle();
    void permissionWithdrawnDuringScan();
    void reportAssignableAndEveryAssignmentNotifies();
    void aScanStartedByAWaiterKeepsScanning();
    void destroyedWhileWalkRuns();
    void aScanAskedWhileItemsArePublishedJoinsTheWalk();
    void destroyedDuringADefaultWalkAbandonsIt();
};

void TestInspector::withoutPermissionNothingRuns()
{
    authorized = false;
    inspector->setReport(QStringLiteral("old"));
    log.clear();
    bool done = false;
    inspector->scan([&] { done = true; });

    QVERIFY(done);
    QCOMPARE(log, (QStringList{QStringLiteral("items:"),
                               QStringLiteral("report:") + Inspector::missingPermissionReport}));
    QVERIFY(!inspector->isScanning());
    QCOMPARE(scanner->calls.load(), 0);
}

void TestInspector::publishesItemsThenReportThenIdle()
{
    bool done = false;
    inspector->scan([&] {
        done = true;
        log << QStringLiteral("done");
    });
    QVERIFY(inspector->isScanning());
    QCOMPARE(log, QStringList{QStringLiteral("scanning:1")});
    scanner->gate.release();
    QTRY_VERIFY(done);

    QCOMPARE(log, (QStringList{QStringLiteral("scanning:1"), QStringLiteral("items:a,b"),
                               QStringLiteral("report:informe"), QStringLiteral("scanning:0"),
                               QStringLiteral("done")}));
    QCOMPARE(idsOf(inspector->items()), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
}

void TestInspector::overlappingScansShareOneWalk()
{
    int finished = 0;
    inspector->scan([&] {
        log << QStringLiteral("first");
        ++finished;
    });
    inspector->scan([&] {
        log << QStringLiteral("second");
        ++finished;
    });
    scanner->gate.release();
    QTRY_COMPARE(finished, 2);

    QCOMPARE(scanner->calls.load(), 1);
    const QStringList publication{QStringLiteral("items:a,b"), QStringLiteral("report:informe"),
                                  QStringLiteral("scanning:0")};
    QCOMPARE(log, QStringList{QStringLiteral("scanning:1")} + publication +
                      QStringList{QStringLiteral("first")} + publication +
                      QStringList{QStringLiteral("second")});

    inspector->scan([&] { ++finished; }); // idle again: a fresh walk
    scanner->gate.release();
    QTRY_COMPARE(finished, 3);
    QCOMPARE(scanner->calls.load(), 2);
}

void TestInspector::leavesOutThisProcessAndItsBundle_data()
{
    QTest::addColumn<std::optional<QString>>("ownBundle");
    QTest::addColumn<QList<qint32>>("scanned");
    QTest::newRow("bundled") << std::optional<QString>(QStringLiteral("app.tuckaway.Tuckaway"))
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
        {300, QStringLiteral("com.example.c"), QStringLiteral("C")},
        {500, ownBundle, QStringLiteral("Tuckaway")}, // this process
        {100, QStringLiteral("com.example.a"), std::nullopt},
        {600, QStringLiteral("app.tuckaway.Tuckaway"), QStringLiteral("Tuckaway")}, // a 2nd copy
        {400, std::nullopt, QStringLiteral("Sin identificador")},
    };
    bool done = false;
    inspector->scan([&] { done = true; });
    scanner->gate.release();
    QTRY_VERIFY(done);

    QCOMPARE(scanner->received.size(), 1);
    QList<qint32> pids;
    for (const ScanApp& app : scanner->received[0])
        pids << app.pid;
    QCOMPARE(pids, scanned);
    QCOMPARE(scanner->received[0][0],
             (ScanApp{300, QStringLiteral("com.example.c"), QStringLiteral("C")}));
}

void TestInspector::permissionWithdrawnDuringScan()
{
    bool firstDone = false;
    inspector->scan([&] { firstDone = true; });
    authorized = false;
    bool secondDone = false;
    inspector->scan([&] { secondDone = true; });

    QVERIFY(secondDone);
    QCOMPARE(inspector->report(), Inspector::missingPermissionReport);
    QVERIFY(inspector->items().isEmpty());
    QVERIFY(inspector->isScanning());

    scanner->gate.release();
    QTRY_VERIFY(firstDone);
    QCOMPARE(inspector->report(), QStringLiteral("informe"));
    QCOMPARE(inspector->items().size(), 2);
}

void TestInspector::reportAssignableAndEveryAssignmentNotifies()
{
    QSignalSpy spy(inspector.get(), &Inspector::reportChanged);
    inspector->setReport(QStringLiteral("x"));
    QVERIFY(inspector->setProperty("report", QStringLiteral("x")));
    QCOMPARE(spy.size(), 2);

    // A scan replaces the whole text, whatever was appended to it.
    inspector->setReport(inspector->report() + QStringLiteral("\nseparador"));
    bool done = false;
    inspector->scan([&] { done = true; });
    scanner->gate.release();
    QTRY_VERIFY(done);
    QCOMPARE(inspector->report(), QStringLiteral("informe"));
}

void TestInspector::aScanStartedByAWaiterKeepsScanning()
{
    bool secondDone = false, restartedDone = false;
    inspector->scan([&] { inspector->scan([&] { restartedDone = true; }); });
    inspector->scan([&] { secondDone = true; });
    scanner->gate.release();
    QTRY_VERIFY(secondDone);
    QVERIFY(inspector->isScanning()); // the walk the first waiter started is under way
    QVERIFY(!restartedDone);
    scanner->gate.release();
    QTRY_VERIFY(restartedDone);
    QVERIFY(!inspector->isScanning());
    QCOMPARE(scanner->calls.load(), 2);
}

void TestInspector::destroyedWhileWalkRuns()
{
    bool done = false;
    inspector->scan([&] { done = true; });
    QTRY_COMPARE(scanner->calls.load(), 1);
    scanner->gate.release();
    inspector.reset(); // waits for the walk; its answer goes nowhere
    QCoreApplication::processEvents();
    QTest::qWait(0);
    QVERIFY(!done);
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
    SlowAccessibility accessibility;
    SystemTimeSource time;
    for (qint32 pid = 1; pid <= 20; ++pid)
        workspace.apps << RunningApplication{pid, QStringLiteral("com.example.%1").arg(pid), {}};
    auto walking = std::make_unique<Inspector>(accessibility, workspace, time);
    bool done = false;
    walking->scan([&] { done = true; });
    QTRY_VERIFY(accessibility.requests.load() > 0);
    const int before = accessibility.requests.load();
    walking.reset();
    QVERIFY(accessibility.requests.load() <= before + 2); // those already on their way
    QVERIFY(!done);
}

QTEST_GUILESS_MAIN(TestInspector)
#include "tst_inspector.moc"
