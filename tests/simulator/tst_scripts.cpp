#include "simulator/SessionScript.h"

#include <QDir>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray errors;
};

Run runProgram(const QStringList& arguments, const QString& directory = QDir::currentPath())
{
    QProcess program;
    program.setWorkingDirectory(directory);
    program.start(QStringLiteral(TUCKAWAY_PROGRAM), arguments);
    if (!program.waitForFinished(120000))
        qFatal("the program did not end");
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

// Qt may warn before the program's own last word.
QString lastLine(const QByteArray& errors)
{
    return QString::fromUtf8(errors).trimmed().section(u'\n', -1);
}

QString script(const QString& name)
{
    return QDir(QStringLiteral(TUCKAWAY_SCRIPTS)).filePath(name);
}

QStringList scripted(const QString& name, const QString& scenario = u"bar.json"_s)
{
    return {u"--scenario"_s, script(scenario), u"--script"_s, script(name)};
}

} // namespace

class TestScripts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void scriptsThroughTheProgram_data();
    void scriptsThroughTheProgram();
    void sameScriptSameOutput();
    void builtInSessionSavesPictures();
    void exportedDesktopReplaysTheSameScan_data();
    void exportedDesktopReplaysTheSameScan();
    void exportReplacesOnlyARegularFile();
    void filesThatAreNotScripts_data();
    void filesThatAreNotScripts();
    void readerRefuses_data();
    void readerRefuses();
    void readerSpelling();
};

void TestScripts::scriptsThroughTheProgram_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("scenario");
    QTest::newRow("collapse cycle") << u"collapse.script"_s << 0 << QString() << QString();
    QTest::newRow("why each application stays or goes")
        << u"reasons.script"_s << 0 << QString() << u"reasons.json"_s;
    QTest::newRow("pointer, buttons, time") << u"interaction.script"_s << 0 << QString() << QString();
    QTest::newRow("the system around") << u"system.script"_s << 0 << QString() << QString();
    QTest::newRow("settings") << u"settings.script"_s << 0 << QString() << QString();
    QTest::newRow("failed expectation")
        << u"failing.script"_s << 1 << u"failing.script:6: expected state shown, got state hidden"_s << QString();
    QTest::newRow("unreadable line")
        << u"unreadable.script"_s << 2 << u"unreadable.script:4: unknown step \"jump\""_s << QString();
    QTest::newRow("step that cannot be done")
        << u"impossible.script"_s << 2
        << u"impossible.script:3: the open menu has no entry \"Abrir el Finder\""_s << QString();
}

void TestScripts::scriptsThroughTheProgram()
{
    QFETCH(QString, name);
    QFETCH(int, exitCode);
    QFETCH(QString, error);
    QFETCH(QString, scenario);
    const Run run = runProgram(scripted(name, scenario.isEmpty() ? u"bar.json"_s : scenario));
    if (run.exitCode != exitCode)
        qWarning().noquote() << run.out << run.errors;
    QCOMPARE(run.exitCode, exitCode);
    if (error.isEmpty())
        QVERIFY(!run.errors.contains(".script:"));
    else
        QCOMPARE(lastLine(run.errors).section(u'/', -1), error);
}

// Whatever the machine's load: scans run only while the session lets time settle.
void TestScripts::sameScriptSameOutput()
{
    const Run first = runProgram(scripted(u"collapse.script"_s));
    const Run second = runProgram(scripted(u"collapse.script"_s));
    QCOMPARE(first.exitCode, 0);
    QVERIFY(first.out.contains("Colapsado"));
    QCOMPARE(second.out, first.out);
}

// A run without a display and without a script plays the built-in one.
void TestScripts::builtInSessionSavesPictures()
{
    QTemporaryDir directory;
    const Run run = runProgram({}, directory.path());
    QCOMPARE(run.exitCode, 0);
    const QStringList pictures =
        QDir(directory.filePath(u"tuckaway-session"_s)).entryList({u"*.png"_s}, QDir::Files);
    QCOMPARE(pictures, (QStringList{u"menubar-1-before.png"_s, u"menubar-2-hidden.png"_s,
                                    u"menubar-3-after.png"_s}));
    QVERIFY(QImageReader(directory.filePath(u"tuckaway-session/menubar-2-hidden.png"_s))
                .size()
                .width() > 1500);
}

namespace {

// The report of a scan without the lines that name the moment and the system.
QStringList reportOf(const QStringList& arguments, const QString& path)
{
    const Run run = runProgram(arguments + QStringList{u"--diagnostic-report"_s, path});
    if (run.exitCode != 0)
        return {u"failed: "_s + QString::fromUtf8(run.errors)};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {u"unreadable: "_s + path};
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    lines.removeIf([](const QString& line) {
        return line.startsWith(u"Fecha: "_s) || line.startsWith(u"macOS "_s);
    });
    return lines;
}

// What a collapse decides, application by application.
QStringList decisionsOf(const QStringList& arguments, const QString& script)
{
    const Run run = runProgram(arguments + QStringList{u"--script"_s, script});
    QStringList lines;
    for (const QString& line : QString::fromUtf8(run.out).split(u'\n')) {
        if (line.contains(u"Motivo: "_s) || line.contains(u"Apps ocultas: "_s))
            lines << line.section(u"] "_s, 1);
    }
    return lines;
}

} // namespace

void TestScripts::exportedDesktopReplaysTheSameScan_data()
{
    QTest::addColumn<QStringList>("original");
    QTest::addColumn<QString>("decision");
    QTest::newRow("built-in desktop") << QStringList() << u"both-sides"_s;
    QTest::newRow("frames missing, other row, system items")
        << QStringList{u"--scenario"_s, script(u"reasons.json"_s)} << u"no-frame"_s;
    QTest::newRow("an application without bundle identifier")
        << QStringList{u"--scenario"_s, script(u"bar.json"_s)} << u"right"_s;
}

void TestScripts::exportedDesktopReplaysTheSameScan()
{
    QFETCH(QStringList, original);
    QFETCH(QString, decision);
    QTemporaryDir directory;
    const QString exported = directory.filePath(u"desktop.json"_s);
    const Run run = runProgram(original + QStringList{u"--export-scenario"_s, exported});
    QCOMPARE(run.exitCode, 0);
    QFile file(exported);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readLine().startsWith('{'));
    QVERIFY(file.readLine().contains("\"warning\": \"Menu-bar titles"));

    const QStringList replayed = {u"--scenario"_s, exported};
    const QStringList report = reportOf(original, directory.filePath(u"original.txt"_s));
    QVERIFY(report.size() > 4);
    QCOMPARE(reportOf(replayed, directory.filePath(u"replayed.txt"_s)), report);

    const QString collapse = directory.filePath(u"collapse.script"_s);
    QFile steps(collapse);
    QVERIFY(steps.open(QIODevice::WriteOnly) && steps.write("click\nwait 2\n") > 0);
    steps.close();
    const QStringList decisions = decisionsOf(original, collapse);
    QVERIFY(!decisions.filter(u' ' + decision).isEmpty());
    QCOMPARE(decisionsOf(replayed, collapse), decisions);
}

void TestScripts::exportReplacesOnlyARegularFile()
{
    QTemporaryDir directory;
    const QString taken = directory.filePath(u"taken"_s);
    QVERIFY(QDir().mkpath(taken + u"/inside"_s));
    const Run run = runProgram({u"--export-scenario"_s, taken});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(lastLine(run.errors).endsWith(u"is not a regular file; it is left as it is"_s));
    QVERIFY(QFileInfo(taken + u"/inside"_s).isDir());
}

void TestScripts::filesThatAreNotScripts_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << u"missing"_s << u"no such file"_s;
    QTest::newRow("directory") << u"directory"_s << u"not a regular file"_s;
    QTest::newRow("pipe") << u"pipe"_s << u"not a regular file"_s;
    QTest::newRow("huge") << u"huge"_s << u"the script is larger than 1048576 bytes"_s;
    QTest::newRow("binary") << u"binary"_s << u"the script is not UTF-8 text"_s;
}

void TestScripts::filesThatAreNotScripts()
{
    QFETCH(QString, kind);
    QFETCH(QString, reason);
    QTemporaryDir directory;
    const QString path = directory.filePath(kind);
    if (kind == u"directory")
        QVERIFY(QDir().mkpath(path));
    if (kind == u"pipe")
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    if (kind == u"huge" || kind == u"binary") {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(kind == u"huge" ? QByteArray(SessionScript::maximumSize + 1, '#')
                                   : QByteArray("click\n\xff\xfe\x00\x01", 10));
    }
    const Run run = runProgram({u"--script"_s, path});
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(lastLine(run.errors), path + u": "_s + reason);
}

void TestScripts::readerRefuses_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("reason");
    QTest::newRow("control character") << QByteArray("click\nwait\x01 1\n") << 2
                                       << u"the line holds a control character"_s;
    QTest::newRow("long line") << QByteArray("click\n") + QByteArray(5000, 'a') << 2
                               << u"the line is longer than 4096 characters"_s;
    QTest::newRow("open quote") << QByteArray("menu \"Mostrar todo\n") << 1
                                << u"the quoted text is not closed"_s;
    QTest::newRow("quote inside a word") << QByteArray("menu a\"b\"") << 1
                                         << u"a quote may only start a word"_s;
    QTest::newRow("unknown reason") << QByteArray("expect reason org.x Hidden") << 1
                                    << u"expect reason: the reason must be hidden|system|protected|own|right|both-sides|other-row|no-frame|no-boundary|none, not \"Hidden\""_s;
    QTest::newRow("absurd wait") << QByteArray("wait 1e300") << 1
                                 << u"wait: SECONDS must be a number from 0 to 3600"_s;
    QTest::newRow("negative wait") << QByteArray("wait -1") << 1
                                   << u"wait: SECONDS must be a number from 0 to 3600"_s;
    QTest::newRow("waits too long in all") << QByteArray("wait 3600\n").repeated(25) << 25
                                           << u"the script waits more than 86400 seconds in all"_s;
    QTest::newRow("too many steps") << QByteArray("click\n").repeated(10001) << 10001
                                    << u"the script has more than 10000 steps"_s;
    QTest::newRow("missing argument") << QByteArray("pointer 3") << 1
                                      << u"pointer: takes X Y, icon or away"_s;
    QTest::newRow("value out of the list") << QByteArray("set delay 7") << 1
                                           << u"set: delay must be 5|10|30|60, not \"7\""_s;
    QTest::newRow("closed with a section") << QByteArray("expect settings closed about") << 1
                                           << u"expect settings: a closed window has no section"_s;
    QTest::newRow("bad pid") << QByteArray("expect hidden pid:x") << 1
                             << u"expect hidden: \"pid:x\" is not pid: followed by a process number"_s;
}

void TestScripts::readerRefuses()
{
    QFETCH(QByteArray, text);
    QFETCH(int, line);
    QFETCH(QString, reason);
    const ScriptOrError read = SessionScript::read(text);
    QVERIFY(std::holds_alternative<ScriptError>(read));
    QCOMPARE(std::get<ScriptError>(read).line, line);
    QCOMPARE(std::get<ScriptError>(read).reason, reason);
}

void TestScripts::readerSpelling()
{
    const QByteArray text = "\xEF\xBB\xBF# comment\r\n  menu \"Mostrar todo y pausar\"  # why\r\n"
                            "\n\tset hiddenBundles \"\"\nexpect settings open 3\nwait 0.5\n";
    const ScriptOrError read = SessionScript::read(text);
    QVERIFY(std::holds_alternative<QList<ScriptStep>>(read));
    const QList<ScriptStep>& steps = std::get<QList<ScriptStep>>(read);
    QCOMPARE(steps.size(), 4);
    QCOMPARE(steps.at(0).line, 2);
    QCOMPARE(steps.at(0).text(), u"menu \"Mostrar todo y pausar\""_s);
    QCOMPARE(steps.at(1).text(), u"set hiddenBundles \"\""_s);
    QCOMPARE(steps.at(2).command, u"expect settings"_s);
    QVERIFY(steps.at(2).isExpectation());
    QCOMPARE(steps.at(3).line, 6);
}

QTEST_GUILESS_MAIN(TestScripts)
#include "tst_scripts.moc"
