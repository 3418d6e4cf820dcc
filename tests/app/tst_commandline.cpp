#include "app/CommandLine.h"

#include <QTest>

using namespace tk;

using Path = std::optional<QString>;

class TestCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
};

void TestCommandLine::parse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<Path>("diagnostic");
    QTest::addColumn<bool>("singleInstanceCheck");
    QTest::addColumn<Path>("uiReport");
    QTest::addColumn<bool>("settings");
    QTest::addColumn<Path>("scenario");
    const QString app = QStringLiteral("/Applications/Tuckaway.app/Contents/MacOS/Tuckaway");
    const auto p = [](const char* path) { return Path(QString::fromUtf8(path)); };
    const auto args = [&](std::initializer_list<const char*> rest) {
        QStringList list{app};
        for (const char* a : rest)
            list << QString::fromUtf8(a);
        return list;
    };

    QTest::newRow("nothing") << args({}) << Path() << true << Path() << false << Path();
    QTest::newRow("diagnostic with a path")
        << args({"--diagnostic-report", "/tmp/x.txt"}) << p("/tmp/x.txt") << false << Path()
        << false << Path();
    QTest::newRow("diagnostic last: ignored, but no single-instance check")
        << args({"--settings", "--diagnostic-report"}) << Path() << false << Path() << true
        << Path();
    QTest::newRow("first occurrence counts")
        << args({"--ui-report", "/a.json", "--ui-report", "/b.json"}) << Path() << true
        << p("/a.json") << false << Path();
    QTest::newRow("a later occurrence without value changes nothing")
        << args({"--scenario", "a.json", "--ui-report", "x", "--scenario"}) << Path() << true
        << p("x") << false << p("a.json");
    QTest::newRow("the next argument is the value, even a switch")
        << args({"--diagnostic-report", "--settings"}) << p("--settings") << false << Path() << true
        << Path();
    QTest::newRow("ui report last")
        << args({"--ui-report"}) << Path() << true << Path() << false << Path();
    QTest::newRow("every switch") << args({"--scenario", "desk.json", "--settings", "--ui-report",
                                           "ui.json", "--diagnostic-report", "d.txt"})
                                  << p("d.txt") << false << p("ui.json") << true << p("desk.json");
    QTest::newRow("empty value counts")
        << args({"--diagnostic-report", ""}) << p("") << false << Path() << false << Path();
    QTest::newRow("the program path is searched too")
        << QStringList{QStringLiteral("--settings")} << Path() << true << Path() << true << Path();
    QTest::newRow("near misses are not switches")
        << args({"--Settings", "-settings", "--ui-report=x"}) << Path() << true << Path() << false
        << Path();
}

void TestCommandLine::parse()
{
    QFETCH(QStringList, arguments);
    QFETCH(Path, diagnostic);
    QFETCH(bool, singleInstanceCheck);
    QFETCH(Path, uiReport);
    QFETCH(bool, settings);
    QFETCH(Path, scenario);

    const CommandLine line = CommandLine::parse(arguments);
    QCOMPARE(line.diagnosticReportPath, diagnostic);
    QCOMPARE(line.checksSingleInstance(), singleInstanceCheck);
    QCOMPARE(line.uiReportPath, uiReport);
    QCOMPARE(line.openSettings, settings);
    QCOMPARE(line.scenarioPath, scenario);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
