#include "core/FileAccess.h"
#include "core/Rect.h"
#include "core/UserDefaults.h"
#include "platform/sim/VirtualTime.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <limits>
#include <sys/stat.h>

using namespace tk;

class TestCore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void typedReadsRefuseOtherTypes();
    void settingsFileKeepsEveryTypeAcrossReopening_data();
    void settingsFileKeepsEveryTypeAcrossReopening();
    void settingsFileThatCannotBeUsedIsKept();
    void virtualTimersFireInDueOrderAndExactlyOnTime();
    void repeatingTimerRestartedFromItsOwnHandler();
    void rectTextAndStandardisation();
    void fileAccessTouchesOnlyRegularFiles_data();
    void fileAccessTouchesOnlyRegularFiles();
};

void TestCore::typedReadsRefuseOtherTypes()
{
    InMemoryUserDefaults defaults;
    defaults.setString(QStringLiteral("s"), QStringLiteral("true"));
    defaults.setBytes(QStringLiteral("b"), QByteArray("{}"));
    defaults.setRaw(QStringLiteral("mixed"), QVariantList{QStringLiteral("a"), 3});

    QVERIFY(!defaults.bytes(QStringLiteral("s")));
    QVERIFY(!defaults.boolean(QStringLiteral("s")));
    QVERIFY(!defaults.string(QStringLiteral("b")));
    QVERIFY(!defaults.stringList(QStringLiteral("mixed")));
    QVERIFY(!defaults.boolean(QStringLiteral("missing")));
    QCOMPARE(defaults.bytes(QStringLiteral("b")), std::optional<QByteArray>("{}"));
}

void TestCore::settingsFileKeepsEveryTypeAcrossReopening_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::newRow("empty") << QStringList{};
    QTest::newRow("one") << QStringList{QStringLiteral("com.example.one")};
    QTest::newRow("several") << QStringList{QStringLiteral("b"), QStringLiteral("a, c")};
}

// Each store reads the file afresh, as a new process does.
void TestCore::settingsFileKeepsEveryTypeAcrossReopening()
{
    QFETCH(QStringList, list);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Tuckaway/settings.json"));
    const QByteArray json = QByteArrayLiteral("{\"mode\":\"manual\",\"\xc3\xa9\":[1]}\n\0\xff");
    {
        FileUserDefaults defaults(path);
        QVERIFY(defaults.problem().isEmpty());
        defaults.setBytes(QStringLiteral("settings.v1"), json);
        defaults.setString(QStringLiteral("interfaceLanguage"), QStringLiteral("es"));
        defaults.setStringList(QStringLiteral("hiddenBundles"), list);
        defaults.setBoolean(QStringLiteral("compact"), false);
    }
    const FileUserDefaults reopened(path);
    QCOMPARE(reopened.bytes(QStringLiteral("settings.v1")), std::optional<QByteArray>(json));
    QCOMPARE(reopened.string(QStringLiteral("interfaceLanguage")),
             std::optional<QString>(QStringLiteral("es")));
    QCOMPARE(reopened.stringList(QStringLiteral("hiddenBundles")),
             std::optional<QStringList>(list));
    QCOMPARE(reopened.boolean(QStringLiteral("compact")), std::optional<bool>(false));
    QVERIFY(!reopened.string(QStringLiteral("compact")));
}

// A file that is not ours is never lost: kept aside, or left alone when it is no file.
void TestCore::settingsFileThatCannotBeUsedIsKept()
{
    QTemporaryDir dir;
    const QString damaged = dir.filePath(QStringLiteral("damaged.json"));
    QFile file(damaged);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("interfaceLanguage=es\n");
    file.close();
    {
        FileUserDefaults defaults(damaged);
        QVERIFY(defaults.problem().contains(damaged));
        defaults.setString(QStringLiteral("interfaceLanguage"), QStringLiteral("en"));
    }
    QFile aside(damaged + QStringLiteral(".unreadable"));
    QVERIFY(aside.open(QIODevice::ReadOnly));
    QCOMPARE(aside.readAll(), QByteArray("interfaceLanguage=es\n"));
    QCOMPARE(FileUserDefaults(damaged).string(QStringLiteral("interfaceLanguage")),
             std::optional<QString>(QStringLiteral("en")));

    const QString pipe = dir.filePath(QStringLiteral("pipe.json"));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    FileUserDefaults defaults(pipe);
    QVERIFY(defaults.problem().contains(pipe));
    defaults.setBoolean(QStringLiteral("compact"), true);
    QCOMPARE(defaults.boolean(QStringLiteral("compact")), std::optional<bool>(true));
    QVERIFY(!QFileInfo(pipe).isFile());
}

void TestCore::virtualTimersFireInDueOrderAndExactlyOnTime()
{
    VirtualTimeSource time;
    QStringList fired;
    auto late =
        time.createTimer([&] { fired << QStringLiteral("late@") + QString::number(time.now()); });
    auto early =
        time.createTimer([&] { fired << QStringLiteral("early@") + QString::number(time.now()); });
    late->start(5.0, false);
    early->start(1.0, false);

    time.advance(4.999);
    QCOMPARE(fired, QStringList{QStringLiteral("early@1")});
    time.advance(0.001);
    QCOMPARE(fired, (QStringList{QStringLiteral("early@1"), QStringLiteral("late@5")}));
    QVERIFY(!late->isActive());

    late->start(1.0, false);
    late.reset(); // a destroyed timer never fires
    time.advance(10);
    QCOMPARE(fired.size(), 2);
}

void TestCore::repeatingTimerRestartedFromItsOwnHandler()
{
    VirtualTimeSource time;
    int ticks = 0;
    std::unique_ptr<Timer> timer;
    timer = time.createTimer([&] {
        if (++ticks == 3)
            timer->stop();
    });
    timer->start(0.25, true);
    time.advance(10);
    QCOMPARE(ticks, 3);
    QCOMPARE(time.activeTimerCount(), 0);
}

void TestCore::rectTextAndStandardisation()
{
    QCOMPARE((Rect{0, 0, 100, 22}.text()), QStringLiteral("{{0, 0}, {100, 22}}"));
    QCOMPARE((Rect{1512.5, -0.0, 0.1, 1e21}.text()), QStringLiteral("{{1512.5, 0}, {0.1, 1e+21}}"));
    const Rect flipped = Rect{10, 10, -4, -6}.standardized();
    QCOMPARE(flipped, (Rect{6, 4, 4, 6}));
    QCOMPARE((Rect{10, 10, -4, -6}.maxX()), 10.0);
    QVERIFY(Rect::null().isNull() && Rect::null().isEmpty() && !Rect::null().isFinite());
    const double inf = std::numeric_limits<double>::infinity();
    QVERIFY((Rect{inf, 0, 5, 5}.isNull()) && (Rect{0, inf, 5, 5}.isNull()));
    QVERIFY(!(Rect{-inf, 0, 5, 5}.isNull()));
    QVERIFY(Rect::infinite().isInfinite());
    QVERIFY(!(Rect{0, std::numeric_limits<double>::quiet_NaN(), 1, 1}.isFinite()));
}

void TestCore::fileAccessTouchesOnlyRegularFiles_data()
{
    QTest::addColumn<QString>("before"); // what stands at the path
    QTest::addColumn<bool>("readable");
    QTest::addColumn<bool>("writable");
    QTest::newRow("nothing") << QStringLiteral("nothing") << false << true;
    QTest::newRow("small file") << QStringLiteral("small") << true << true;
    QTest::newRow("file past the limit") << QStringLiteral("large") << false << true;
    QTest::newRow("folder") << QStringLiteral("folder") << false << false;
    QTest::newRow("named pipe without writer") << QStringLiteral("pipe") << false << false;
}

void TestCore::fileAccessTouchesOnlyRegularFiles()
{
    QFETCH(QString, before);
    QFETCH(bool, readable);
    QFETCH(bool, writable);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("target"));
    QFile file(path);
    if (before == QLatin1String("small") || before == QLatin1String("large")) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(before == QLatin1String("small") ? 10 : 11, 'x'));
        file.close();
    } else if (before == QLatin1String("folder")) {
        QVERIFY(QDir().mkdir(path));
    } else if (before == QLatin1String("pipe")) {
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    }

    const Result<QByteArray> read = FileAccess::readRegularFile(path, 10);
    QCOMPARE(read.ok(), readable);
    QVERIFY(read.ok() || !read.error().description.isEmpty());
    const std::optional<QString> failure = FileAccess::writeAtomically(path, "new");
    QCOMPARE(!failure, writable);
    if (writable) {
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("new"));
    } else {
        QVERIFY(!failure->isEmpty());
        const QFileInfo left(path);
        QVERIFY(left.exists() && !left.isFile()); // still the folder or the pipe
    }
}

QTEST_GUILESS_MAIN(TestCore)
#include "tst_core.moc"
