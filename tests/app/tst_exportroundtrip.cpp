// Desktops exported and replayed: the first scan reads the same items, the same report and the
// same boundary, and every decision is the same. Arbitrary desktops are fuzz_export's.
#include "ExportRoundTrip.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <cmath>
#include <limits>

using namespace tk;
using namespace Qt::StringLiterals;

class TestExportRoundTrip : public QObject {
    Q_OBJECT

private slots:
    void everyDesktopOfTheTestsReplaysAlike();
    void numbersAndTextsReadBackEqual_data();
    void numbersAndTextsReadBackEqual();
    void hangingAndTheFrameworkAsTheDesktopHadThem_data();
    void hangingAndTheFrameworkAsTheDesktopHadThem();
    void nothingBeyondTheLoadersLimits_data();
    void nothingBeyondTheLoadersLimits();
};

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
