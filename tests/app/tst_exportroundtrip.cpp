// Random desktops within the loader's limits, exported and replayed: the first scan reads the
// same items, the same report and the same boundary, and every decision is the same.
#include "ExportRoundTrip.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>
#include <cmath>
#include <limits>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

constexpr int desktopsPerRun = 300;

class DesktopGenerator {
public:
    explicit DesktopGenerator(quint32 seed) : m_random(seed) {}

    QJsonObject desktop()
    {
        QJsonObject root{{u"screens"_s, screens()}, {u"trusted"_s, chance(0.9)}};
        m_icon = {fraction(200, m_primary.width - 40), 0, 30, 24};
        QJsonObject own{{u"pid"_s, 900}};
        if (chance(0.8))
            own.insert(u"frame"_s, rect(m_icon));
        else
            own.insert(u"place"_s, int(m_random.bounded(6)));
        root.insert(u"tuckaway"_s, own);
        QJsonArray apps;
        const int count = int(m_random.bounded(9));
        for (int i = 0; i < count; ++i)
            apps.append(application(i));
        root.insert(u"apps"_s, apps);
        if (count > 0 && chance(0.5))
            root.insert(u"frontmost"_s, 10 + int(m_random.bounded(count)));
        if (chance(0.2))
            root.insert(u"framework"_s, QJsonObject{{u"present"_s, false}});
        return root;
    }

private:
    bool chance(double p) { return m_random.generateDouble() < p; }
    // A number with a fractional part that decimal digits may not end.
    double fraction(double low, double high)
    {
        return low + m_random.generateDouble() * (high - low);
    }
    static QJsonObject rect(const Rect& r)
    {
        return {{u"x"_s, r.x}, {u"y"_s, r.y}, {u"width"_s, r.width}, {u"height"_s, r.height}};
    }

    QJsonArray screens()
    {
        m_primary = {0, 0, double(800 + m_random.bounded(2000)),
                     double(600 + m_random.bounded(1000))};
        QJsonObject primary{{u"frame"_s, rect(m_primary)}};
        if (chance(0.5))
            primary.insert(u"notch"_s, QJsonObject{{u"width"_s, fraction(100, 300)},
                                                   {u"height"_s, fraction(24, 40)}});
        QJsonArray list{primary};
        for (int i = int(m_random.bounded(3)); i > 0; --i)
            list.append(QJsonObject{{u"frame"_s, rect({fraction(-3000, 3000), fraction(-2000, 2000),
                                                       fraction(1, 16384), fraction(1, 16384)})}});
        return list;
    }

    QString text()
    {
        static const QStringList texts{u""_s,
                                       u"Wi-Fi"_s,
                                       u"\u0001\t\n\u007f"_s,
                                       u"caf\u00e9 \U0001F600"_s,
                                       u"\"quoted\" \\ back"_s,
                                       QString(QChar(0))};
        return texts.at(int(m_random.bounded(texts.size())));
    }

    // Where an item stands: laid out, given anywhere, touching Tuckaway's icon, in another
    // row, without extent or without a frame.
    void geometry(QJsonObject& item)
    {
        const double width = fraction(0, 40);
        switch (m_random.bounded(7)) {
        case 0:
            item.insert(u"width"_s, width);
            break;
        case 1:
            item.insert(u"frame"_s,
                        rect({fraction(-1'000'000, 1'000'000), fraction(-1, 1), width, 24}));
            break;
        case 2:
            item.insert(u"frame"_s, rect({m_icon.x - width, 0, width, 24}));
            break;
        case 3:
            item.insert(u"frame"_s, rect({m_icon.maxX(), 0, width, 24}));
            break;
        case 4:
            item.insert(u"frame"_s, rect({fraction(0, m_primary.width), 24, width, 22}));
            break;
        case 5:
            item.insert(u"frame"_s, rect({fraction(0, m_primary.width), 0, 0, 0}));
            break;
        default:
            item.insert(u"frame"_s, QJsonValue::Null);
            break;
        }
    }

    QJsonObject element(int depth)
    {
        QJsonObject item{{u"role"_s, u"AXMenuBarItem"_s}};
        if (chance(0.7))
            item.insert(u"title"_s, text());
        if (chance(0.3))
            item.insert(u"description"_s, text());
        geometry(item);
        if (chance(0.5))
            item.insert(u"actions"_s, QJsonArray{u"AXPress"_s});
        item.insert(u"positionSettable"_s, chance(0.5));
        QJsonArray children;
        for (int i = depth < 2 ? int(m_random.bounded(3)) : 0; i > 0; --i)
            children.append(element(depth + 1));
        if (!children.isEmpty())
            item.insert(u"children"_s, children);
        return item;
    }

    QJsonObject application(int index)
    {
        QJsonObject app{{u"pid"_s, 10 + index}};
        if (chance(0.8))
            app.insert(u"bundle"_s,
                       (chance(0.1) ? u"com.apple.item%1"_s : u"com.example.app%1"_s).arg(index));
        if (chance(0.8))
            app.insert(u"name"_s, text());
        if (chance(0.15))
            app.insert(u"answersBeforeHanging"_s, int(m_random.bounded(12)));
        QJsonArray items;
        for (int i = int(m_random.bounded(4)); i > 0; --i)
            items.append(element(0));
        app.insert(u"items"_s, items);
        QJsonArray menus;
        for (int i = chance(0.5) ? int(m_random.bounded(9)) : 0; i > 0; --i)
            menus.append(chance(0.5) ? QJsonValue(text())
                                     : QJsonObject{{u"width"_s, fraction(0, 400)}});
        if (!menus.isEmpty())
            app.insert(u"menus"_s, menus);
        return app;
    }

    QRandomGenerator m_random;
    Rect m_primary;
    Rect m_icon;
};

} // namespace

class TestExportRoundTrip : public QObject {
    Q_OBJECT

private slots:
    void randomDesktopsReplayAlike();
    void everyDesktopOfTheTestsReplaysAlike();
    void numbersAndTextsReadBackEqual_data();
    void numbersAndTextsReadBackEqual();
    void hangingAndTheFrameworkAsTheDesktopHadThem_data();
    void hangingAndTheFrameworkAsTheDesktopHadThem();
    void nothingBeyondTheLoadersLimits_data();
    void nothingBeyondTheLoadersLimits();
};

// A seed of its own each run, printed, so that a failure can be played again.
void TestExportRoundTrip::randomDesktopsReplayAlike()
{
    const quint32 seed = qEnvironmentVariableIsSet("TUCKAWAY_SEED")
                             ? quint32(qEnvironmentVariableIntValue("TUCKAWAY_SEED"))
                             : QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    DesktopGenerator generator(seed);
    for (int i = 0; i < desktopsPerRun; ++i) {
        const QByteArray json = QJsonDocument(generator.desktop()).toJson();
        Result<SimScenario> scenario = SimScenarioLoader::parse(json, u"generated.json"_s);
        QVERIFY2(scenario, qPrintable(scenario ? QString() : scenario.error().description));
        const roundtrip::Outcome outcome = roundtrip::exportAndReplay(scenario.value());
        QVERIFY2(outcome.refusal.isEmpty(),
                 qPrintable(outcome.refusal + u'\n' + QString::fromUtf8(json)));
        QVERIFY2(
            outcome.replayed == outcome.original,
            qPrintable(u"desktop %1 of seed %2:\n%3\n--- original:\n%4\n--- replayed:\n%5"_s.arg(i)
                           .arg(seed)
                           .arg(QString::fromUtf8(json), outcome.original.lines.join(u'\n'),
                                outcome.replayed.lines.join(u'\n'))));
    }
}

// The built-in desktop and every one the scripts play on.
void TestExportRoundTrip::everyDesktopOfTheTestsReplaysAlike()
{
    const QDir scripts(QStringLiteral(TUCKAWAY_SCRIPTS));
    QList<SimScenario> desktops{SimScenarioLoader::builtIn()};
    for (const QString& name : scripts.entryList({u"*.json"_s})) {
        QFile file(scripts.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        Result<SimScenario> scenario = SimScenarioLoader::parse(file.readAll(), name);
        QVERIFY2(scenario, qPrintable(name));
        desktops << std::move(scenario).value();
    }
    for (const SimScenario& desktop : std::as_const(desktops)) {
        const roundtrip::Outcome outcome = roundtrip::exportAndReplay(desktop);
        QVERIFY2(outcome.refusal.isEmpty(), qPrintable(outcome.refusal));
        QCOMPARE(outcome.replayed.lines, outcome.original.lines);
    }
}

// Written in the shortest form that reads back the same double, and read back so; a text
// whatever it holds.
void TestExportRoundTrip::numbersAndTextsReadBackEqual_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<QString>("title");
    QTest::newRow("a tenth") << 0.1 << u""_s;
    QTest::newRow("a sum that decimals do not end") << 0.1 + 0.2 << u"\u0000\u0001\t\n"_s;
    QTest::newRow("negative, all digits") << -123456.78901234567 << u"\\\"\u007f"_s;
    QTest::newRow("the lower bound") << -1'000'000.0 << u"caf\u00e9 \U0001F600"_s;
    QTest::newRow("the upper bound") << 1'000'000.0 << u"\u2028\u2029"_s;
    QTest::newRow("just within it") << std::nextafter(1'000'000.0, 0.0) << u" "_s;
    QTest::newRow("the smallest double") << std::numeric_limits<double>::denorm_min() << u"x"_s;
}

void TestExportRoundTrip::numbersAndTextsReadBackEqual()
{
    QFETCH(double, x);
    QFETCH(QString, title);
    SimScenario scenario;
    SimElement item;
    item.role = SimText::of(u"AXMenuBarItem"_s);
    item.title = SimText::of(title);
    item.positionSource = item.sizeSource = SimElement::Source::Given;
    item.position = QPointF(x, -x / 1e6);
    item.size = QSizeF(std::abs(x) / 1e3, 24);
    scenario.applications.append({2, u"com.example.one"_s, title, 0.0, std::nullopt, true, {item}});
    const roundtrip::Outcome outcome = roundtrip::exportAndReplay(scenario);
    QVERIFY2(outcome.refusal.isEmpty(), qPrintable(outcome.refusal));
    // Whole numbers as integers, others in the shortest digits that read back the same.
    const QByteArray written =
        x == std::trunc(x) ? QByteArray::number(qint64(x)) : shortestNumber(x).toUtf8();
    QVERIFY2(outcome.json.contains("\"x\": " + written + ",\n"), outcome.json);
    QCOMPARE(outcome.replayed.lines, outcome.original.lines);
    QVERIFY(outcome.original.lines.join(u'\n').contains(shortestNumber(x)));
}

// An application that stops answering mid-scan is written with the requests it answered,
// one that never answered or never stopped without them, nor one whose element timed out
// once and answered again; a missing framework as missing.
void TestExportRoundTrip::hangingAndTheFrameworkAsTheDesktopHadThem_data()
{
    QTest::addColumn<std::optional<qint64>>("answers");
    QTest::addColumn<bool>("framework");
    QTest::addColumn<QJsonValue>("written");
    QTest::addColumn<qint32>("settableError");
    const QJsonValue none(QJsonValue::Undefined);
    QTest::newRow("never stops") << std::optional<qint64>() << true << none << 0;
    QTest::newRow("never answers") << std::optional<qint64>(0) << true << none << 0;
    QTest::newRow("after one") << std::optional<qint64>(1) << false << QJsonValue(1) << 0;
    QTest::newRow("after eleven") << std::optional<qint64>(11) << false << QJsonValue(11) << 0;
    QTest::newRow("an element's timeout, then answers")
        << std::optional<qint64>() << true << none << AXResult::cannotComplete;
}

void TestExportRoundTrip::hangingAndTheFrameworkAsTheDesktopHadThem()
{
    QFETCH(std::optional<qint64>, answers);
    QFETCH(bool, framework);
    QFETCH(QJsonValue, written);
    QFETCH(qint32, settableError);
    SimScenario scenario;
    scenario.framework.present = framework;
    SimElement item;
    item.role = SimText::of(u"AXMenuBarItem"_s);
    item.children = {item, item};
    SimElement first = item;
    first.settableError = settableError;
    scenario.applications.append(
        {2, u"com.example.one"_s, std::nullopt, 0.0, answers, true, {first, item}});
    const roundtrip::Outcome outcome = roundtrip::exportAndReplay(scenario);
    const QJsonObject root = QJsonDocument::fromJson(outcome.json).object();
    const QJsonObject app = root.value(u"apps"_s).toArray().first().toObject();
    QCOMPARE(app.value(u"answersBeforeHanging"_s), written);
    QCOMPARE(root.value(u"framework"_s).toObject().value(u"present"_s).toBool(true), framework);
    QCOMPARE(outcome.replayed.lines, outcome.original.lines);
}

// Each bound, just beyond it: the check names it, and the loader agrees that the file would be
// refused; just within, neither objects.
void TestExportRoundTrip::nothingBeyondTheLoadersLimits_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("limit");
    const QByteArray screen = R"({"frame": {"x": 0, "y": 0, "width": 1000, "height": 700}})";
    const auto item = [](const QByteArray& geometry) {
        return R"({"apps": [{"pid": 2, "items": [{)" + geometry + "}]}]}";
    };
    QTest::newRow("16 screens") << "{\"screens\": [" + (screen + ',').repeated(15) + screen + "]}"
                                << QString();
    QTest::newRow("17 screens") << "{\"screens\": [" + (screen + ',').repeated(16) + screen + "]}"
                                << u"at most 16 screens"_s;
    QTest::newRow("a place at the bound")
        << item(R"("position": {"x": -1000000, "y": 0})") << QString();
    QTest::newRow("a place beyond it") << item(R"("position": {"x": -1000000.0000001, "y": 0})")
                                       << u"places within 1000000 points of the origin"_s;
    QTest::newRow("a place not finite") << item(R"("position": {"x": null, "y": 0})")
                                        << u"places within 1000000 points of the origin"_s;
    QTest::newRow("a side beyond it") << item(R"("size": {"width": 16384.5, "height": 24})")
                                      << u"sides from 0 and at most 16384 points"_s;
    QTest::newRow("Tuckaway's icon without width")
        << (R"({"screens": [)" + screen +
            R"(], "tuckaway": {"frame": {"x": 900, "y": 0, "width": 0, "height": 24}}})")
        << u"sides above 0 and at most 16384 points"_s;
    QTest::newRow("Tuckaway's icon right of every screen")
        << (R"({"screens": [)" + screen +
            R"(], "tuckaway": {"frame": {"x": 1000, "y": 0, "width": 30, "height": 24}}})")
        << u"Tuckaway's icon on a screen"_s;
    QTest::newRow("Tuckaway's icon at the screen's right edge")
        << (R"({"screens": [)" + screen +
            R"(], "tuckaway": {"frame": {"x": 970, "y": 0, "width": 30, "height": 24}}})")
        << QString();
}

void TestExportRoundTrip::nothingBeyondTheLoadersLimits()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, limit);
    QCOMPARE(ScenarioExport::beyondLoaderLimits(json).value_or(QString()), limit);
    QCOMPARE(bool(SimScenarioLoader::parse(json, u"e.json"_s)), limit.isEmpty());
}

QTEST_GUILESS_MAIN(TestExportRoundTrip)
#include "tst_exportroundtrip.moc"
