#include "app/CommandLine.h"

#include <QTest>

using namespace tk;

using namespace Qt::StringLiterals;

class TestCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
};

void TestCommandLine::parse_data()
{
    QTest::addColumn<QStringList>("arguments"); // after the program path
    // Diagnostic report (path, asked for), UI report, settings, scenario, script, export.
    QTest::addColumn<CommandLine>("expected");
    const QString x = u"/tmp/x.txt"_s;
    const QString settings = u"--settings"_s;
    const QString diagnostic = u"--diagnostic-report"_s;

    QTest::newRow("diagnostic with a path")
        << QStringList{diagnostic, x} << CommandLine{x, true, {}, false, {}, {}, {}};
    QTest::newRow("diagnostic last: ignored, but no single-instance check")
        << QStringList{settings, diagnostic} << CommandLine{{}, true, {}, true, {}, {}, {}};
    QTest::newRow("first occurrence counts")
        << QStringList{u"--ui-report"_s, u"/a.json"_s, u"--ui-report"_s, u"/b.json"_s}
        << CommandLine{{}, false, u"/a.json"_s, false, {}, {}, {}};
    QTest::newRow("a later occurrence without value changes nothing")
        << QStringList{u"--scenario"_s, u"a.json"_s, u"--script"_s, u"s"_s, u"--scenario"_s}
        << CommandLine{{}, false, {}, false, u"a.json"_s, u"s"_s, {}};
    QTest::newRow("the next argument is the value, even a switch")
        << QStringList{diagnostic, settings} << CommandLine{settings, true, {}, true, {}, {}, {}};
    QTest::newRow("export, empty value counts")
        << QStringList{u"--export-scenario"_s, QString()}
        << CommandLine{{}, false, {}, false, {}, {}, QString()};
    QTest::newRow("a diagnostic run and a session")
        << QStringList{u"--script"_s, u"s"_s, diagnostic, x}
        << CommandLine{x, true, {}, false, {}, u"s"_s, {}};
    QTest::newRow("near misses are not switches")
        << QStringList{u"--Settings"_s, u"-settings"_s, u"--ui-report=x"_s} << CommandLine{};
}

void TestCommandLine::parse()
{
    QFETCH(QStringList, arguments);
    QFETCH(CommandLine, expected);
    const QString program = u"/Applications/Tuckaway.app/Contents/MacOS/Tuckaway"_s;
    const CommandLine line = CommandLine::parse(QStringList{program} + arguments);
    QCOMPARE(line, expected);
    QCOMPARE(line.checksSingleInstance(), !arguments.contains(u"--diagnostic-report"_s) &&
                                              !arguments.contains(u"--export-scenario"_s));
    // A diagnostic run, an export run and a session are each a run of their own.
    const int runs = int(expected.diagnosticReportPath.has_value()) +
                     int(expected.exportScenarioPath.has_value()) +
                     int(expected.scriptPath.has_value());
    QCOMPARE(line.conflict().has_value(), runs > 1);
    // The program path is searched too.
    QCOMPARE(CommandLine::parse(arguments).openSettings, arguments.contains(u"--settings"_s));
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
