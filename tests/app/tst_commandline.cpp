#include "app/CommandLine.h"

#include <QTest>

using namespace tk;

using namespace Qt::StringLiterals;

class TestCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void control_data();
    void control();
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
        << QStringList{diagnostic, x} << CommandLine{x, true, {}, false, {}, {}, {}, {}, {}};
    QTest::newRow("diagnostic last: ignored, but no single-instance check")
        << QStringList{settings, diagnostic} << CommandLine{{}, true, {}, true, {}, {}, {}, {}, {}};
    QTest::newRow("first occurrence counts")
        << QStringList{u"--ui-report"_s, u"/a.json"_s, u"--ui-report"_s, u"/b.json"_s}
        << CommandLine{{}, false, u"/a.json"_s, false, {}, {}, {}, {}, {}};
    QTest::newRow("a later occurrence without value changes nothing")
        << QStringList{u"--scenario"_s, u"a.json"_s, u"--script"_s, u"s"_s, u"--scenario"_s}
        << CommandLine{{}, false, {}, false, u"a.json"_s, u"s"_s, {}, {}, {}};
    QTest::newRow("the next argument is the value, even a switch")
        << QStringList{diagnostic, settings}
        << CommandLine{settings, true, {}, true, {}, {}, {}, {}, {}};
    QTest::newRow("export, empty value counts")
        << QStringList{u"--export-scenario"_s, QString()}
        << CommandLine{{}, false, {}, false, {}, {}, QString(), {}, {}};
    QTest::newRow("a diagnostic run and a session")
        << QStringList{u"--script"_s, u"s"_s, diagnostic, x}
        << CommandLine{x, true, {}, false, {}, u"s"_s, {}, {}, {}};
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

void TestCommandLine::control_data()
{
    QTest::addColumn<QStringList>("arguments"); // after the program path
    QTest::addColumn<std::optional<ControlRequest>>("request");
    QTest::addColumn<QString>("misuse"); // words of the Spanish sentence; empty for none
    const auto sent = [](const char* name, const QStringList& arguments, ControlCommand command,
                         const QString& application = {}) {
        QTest::newRow(name) << arguments << std::optional(ControlRequest{command, application})
                            << QString();
    };
    const auto refused = [](const char* name, const QStringList& arguments, const QString& why) {
        QTest::newRow(name) << arguments << std::optional<ControlRequest>() << why;
    };
    sent("each switch", {u"--show-all"_s}, ControlCommand::ShowAll);
    sent("other arguments stay ignored", {u"-psn_0_4711"_s, u"--status"_s, u"--settings"_s},
         ControlCommand::Status);
    sent("a switch given twice counts once", {u"--collapse"_s, u"--collapse"_s},
         ControlCommand::Collapse);
    sent("reveal a bundle", {u"--reveal"_s, u"com.hollowoak.Clipjar"_s}, ControlCommand::Reveal,
         u"com.hollowoak.Clipjar"_s);
    sent("reveal an application without bundle", {u"--reveal"_s, u"pid:1933"_s},
         ControlCommand::Reveal, u"pid:1933"_s);
    sent("address", {u"tuckaway://expand"_s}, ControlCommand::Expand);
    sent("address in capitals, trailing slash", {u"TUCKAWAY://Toggle/"_s}, ControlCommand::Toggle);
    sent("address to reveal, escaped", {u"tuckaway://reveal?bundle=com.x%2Dy"_s},
         ControlCommand::Reveal, u"com.x-y"_s);
    refused("reveal without bundle", {u"--reveal"_s}, u"--reveal necesita"_s);
    refused("reveal empty", {u"--reveal"_s, QString()}, u"--reveal necesita"_s);
    refused("reveal followed by a switch", {u"--reveal"_s, u"--settings"_s},
            u"--reveal necesita"_s);
    refused("two switches", {u"--toggle"_s, u"--expand"_s},
            u"--toggle y --expand no se pueden dar juntas"_s);
    refused("a switch and an address", {u"tuckaway://collapse"_s, u"--status"_s},
            u"tuckaway://collapse y --status no se pueden dar juntas"_s);
    refused("with a session", {u"--status"_s, u"--script"_s, u"s"_s},
            u"--status no se puede combinar con --script"_s);
    refused("with a diagnostic run", {u"--diagnostic-report"_s, u"/tmp/x"_s, u"--expand"_s},
            u"--expand no se puede combinar con --diagnostic-report"_s);
    for (const char* address : {"tuckaway://status", "tuckaway://reveal?bundle=",
                                "tuckaway://toggle?bundle=x", "tuckaway:toggle",
                                "tuckaway://reveal?bundle=a&bundle=b", "tuckaway://toggle/settings"})
        refused(address, {QString::fromLatin1(address)},
                u"no entiende la dirección "_s + QString::fromLatin1(address));
}

void TestCommandLine::control()
{
    QFETCH(QStringList, arguments);
    QFETCH(std::optional<ControlRequest>, request);
    QFETCH(QString, misuse);
    const CommandLine line = CommandLine::parse(QStringList{u"/usr/bin/tuckaway"_s} + arguments);
    QCOMPARE(line.controlRequest, request);
    QCOMPARE(line.controlMisuse.has_value(), !misuse.isEmpty());
    if (line.controlMisuse)
        QVERIFY2(line.controlMisuse->in(u"es"_s).contains(misuse),
                 qPrintable(line.controlMisuse->in(u"es"_s)));
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
