#include "ProgramRun.h"
#include "simulator/SessionScript.h"

#include <QDir>
#include <QImageReader>
#include <QTemporaryDir>
#include <QTest>

using namespace tk;

using namespace Qt::StringLiterals;

namespace {

// What the program makes of a desktop: the report of a scan without the lines that name the
// moment and the system, then what a collapse decides, application by application.
QStringList seenOn(const QStringList& desktop, const QTemporaryDir& directory)
{
    const QString report = directory.filePath(u"report.txt"_s);
    QStringList lines = {runProgram(desktop + QStringList{u"--diagnostic-report"_s, report}).errors};
    QFile file(report);
    if (file.open(QIODevice::ReadOnly))
        lines += QString::fromUtf8(file.readAll()).split(u'\n');
    QFile collapse(directory.filePath(u"collapse.script"_s));
    if (collapse.open(QIODevice::WriteOnly))
        collapse.write("click\nwait 2\n");
    collapse.close();
    const ProgramRun run = runProgram(desktop + QStringList{u"--script"_s, collapse.fileName()});
    for (const QString& line : run.out.split(u'\n')) {
        if (line.contains(u"Motivo: "_s) || line.contains(u"Apps ocultas: "_s))
            lines << line.section(u"] "_s, 1);
    }
    lines.removeIf([](const QString& line) {
        return line.startsWith(u"Fecha: "_s) || line.startsWith(u"macOS "_s);
    });
    return lines;
}

} // namespace

class TestScripts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void scriptsThroughTheProgram_data();
    void scriptsThroughTheProgram();
    void builtInSessionSavesPictures();
    void exportedDesktopReplaysTheSameScan_data();
    void exportedDesktopReplaysTheSameScan();
    void oneRunAtATime();
    void readerRefuses_data();
    void readerRefuses();
    void readerSpelling();
    void readerCorners_data();
    void readerCorners();
    void expectationsFailOnAnswersCloseToTheRightOnes_data();
    void expectationsFailOnAnswersCloseToTheRightOnes();
};

void TestScripts::scriptsThroughTheProgram_data()
{
    // A script under scripts/, or a file of that name made by the test, played on bar.json
    // unless another desktop is named. The error is the last line the program writes there.
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("option"); // what the program is asked to do with the file
    QTest::addColumn<QString>("scenario");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QStringList>("printed"); // lines the session prints, times left out
    const auto row = [](const char* name, const QString& file, int exitCode,
                        const QString& error = {}, const QString& scenario = u"bar.json"_s,
                        const QString& option = u"--script"_s) {
        QTest::newRow(name) << file << option << scenario << exitCode << error << QStringList();
    };
    // A script that plays to its end and prints what the simulated system did.
    const auto shows = [](const char* name, const QString& file, const QString& scenario,
                          const QStringList& printed) {
        QTest::newRow(name) << file << u"--script"_s << scenario << 0 << QString() << printed;
    };
    row("collapse cycle", u"collapse.script"_s, 0);
    row("why each application stays or goes", u"reasons.script"_s, 0, {}, u"reasons.json"_s);
    row("pointer, buttons, time", u"interaction.script"_s, 0);
    row("the system around", u"system.script"_s, 0);
    row("settings", u"settings.script"_s, 0);
    row("the bar remembers where each icon stood", u"remembered.script"_s, 0, {},
        u"remembered.json"_s);
    row("what a scan meets on its way", u"midscan.script"_s, 0);
    row("one hidden icon reached, refused, gone", u"reveal.script"_s, 0, {}, u"reveal.json"_s);
    row("icons under the notch and over the menus, seen again once hidden", u"notch.script"_s, 0,
        {}, u"notch.json"_s);
    shows("screens changing", u"screens.script"_s, u"system.json"_s,
          {u"Pantallas: 800 × 600 @ 0,0 · 1000 × 600 @ -1000,0"_s, u"Pantallas: ninguna"_s,
           u"Aviso: Aún no se puede leer la posición del separador."_s,
           u"Pantallas: 1200 × 800 @ 0,0 · 800 × 600 @ 1200,0"_s});
    shows("launch at login changed in System Settings", u"login.script"_s, u"system.json"_s,
          {u"Inicio de sesión según el sistema: requiere aprobación"_s,
           u"Aviso: Operation not permitted"_s,
           u"Inicio de sesión según el sistema: activado"_s});
    shows("outside an application bundle", u"unbundled.script"_s, u"unbundled.json"_s,
          {u"Estado: Ejecuta el bundle de la aplicación."_s,
           u"Otra copia de Tuckaway no ha encontrado esta, que no tiene identificador de "
           u"bundle, y se ha abierto a su lado; el escritorio simulado la cierra enseguida."_s});
    row("screens the desktop does not name", u"screens.script"_s, 2,
        u"screens.script:6: the scenario names no list of screens \"external\""_s);
    shows("a shortcut others hold", u"shortcut.script"_s, u"system.json"_s,
          {u"También ha respondido al atajo: Clipjar, takenShortcuts[1]."_s,
           u"Atajo: Atajo registrado. No se solicita monitorización de entrada."_s});
    row("failed expectation", u"failing.script"_s, 1,
        u"failing.script:6: expected state shown, got state hidden"_s);
    row("unreadable line", u"unreadable.script"_s, 2,
        u"unreadable.script:4: unknown step \"jump\""_s);
    row("step that cannot be done", u"impossible.script"_s, 2,
        u"impossible.script:3: the open menu has no entry \"Abrir el Finder\""_s);
    row("steps after quitting", u"afterquit.script"_s, 2,
        u"afterquit.script:5: Tuckaway has quit; no step can run after it"_s);
    row("missing", u"missing"_s, 2, u"missing: no such file"_s);
    row("directory", u"directory"_s, 2, u"directory: not a regular file"_s);
    row("huge", u"huge"_s, 2, u"huge: the script is larger than 1048576 bytes"_s);
    row("binary", u"binary"_s, 2, u"binary: the script is not UTF-8 text"_s);
    row("export onto a directory", u"directory"_s, 1,
        u"directory exists and is not a regular file; it is left as it is"_s, u"bar.json"_s,
        u"--export-scenario"_s);
}

// Whatever the machine's load, the same session writes the same lines: scans run only while
// the session lets time settle. What cannot be used is left as it is.
void TestScripts::scriptsThroughTheProgram()
{
    QFETCH(QString, name);
    QFETCH(QString, option);
    QFETCH(QString, scenario);
    QFETCH(int, exitCode);
    QFETCH(QString, error);
    QFETCH(QStringList, printed);
    QTemporaryDir directory;
    const QString path = name.endsWith(u".script"_s) ? script(name) : directory.filePath(name);
    if (name == u"directory")
        QVERIFY(QDir().mkpath(path + u"/inside"_s));
    if (name == u"huge" || name == u"binary") {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(name == u"huge" ? QByteArray(SessionScript::maximumSize + 1, '#')
                                   : QByteArray("click\n\xff\xfe\x00\x01", 10));
    }
    const QStringList arguments = {u"--scenario"_s, script(scenario), option, path};
    const ProgramRun run = runProgram(arguments);
    QVERIFY2(run.exitCode == exitCode, qPrintable(run.out + run.errors));
    if (error.isEmpty())
        QVERIFY(!run.errors.contains(u".script:"_s));
    else // the program's own last word, after whatever Qt may warn
        QCOMPARE(run.errors.trimmed().section(u'\n', -1),
                 path.left(path.lastIndexOf(u'/') + 1) + error);
    if (exitCode == 0)
        QCOMPARE(runProgram(arguments).out, run.out);
    QStringList lines = run.out.split(u'\n');
    for (QString& line : lines)
        line = line.section(u"] "_s, 1);
    for (const QString& line : std::as_const(printed))
        QVERIFY2(lines.contains(line), qPrintable(line + u"\n\n"_s + run.out));
    QVERIFY(name != u"directory" || QFileInfo(path + u"/inside"_s).isDir());
}

// A run without a display and without a script plays the built-in one.
void TestScripts::builtInSessionSavesPictures()
{
    QTemporaryDir directory;
    QCOMPARE(runProgram({}, directory.path()).exitCode, 0);
    const QDir pictures(directory.filePath(u"tuckaway-session"_s));
    QCOMPARE(pictures.entryList({u"*.png"_s}, QDir::Files),
             (QStringList{u"menubar-1-before.png"_s, u"menubar-2-hidden.png"_s,
                          u"menubar-3-after.png"_s}));
    QVERIFY(QImageReader(pictures.filePath(u"menubar-2-hidden.png"_s)).size().width() > 1500);
}

void TestScripts::exportedDesktopReplaysTheSameScan_data()
{
    QTest::addColumn<QStringList>("original");
    QTest::addColumn<QString>("decision");
    QTest::newRow("built-in desktop") << QStringList() << u"both-sides"_s;
    QTest::newRow("frames missing, other row, system items")
        << QStringList{u"--scenario"_s, script(u"reasons.json"_s)} << u"no-frame"_s;
    QTest::newRow("icons in the order the bar remembers, not the launch order")
        << QStringList{u"--scenario"_s, script(u"remembered.json"_s)} << u"both-sides"_s;
    QTest::newRow("an icon ending exactly at Tuckaway's left edge, fractions, odd texts")
        << QStringList{u"--scenario"_s, script(u"edge.json"_s)} << u"hidden"_s;
}

void TestScripts::exportedDesktopReplaysTheSameScan()
{
    QFETCH(QStringList, original);
    QFETCH(QString, decision);
    QTemporaryDir directory;
    const QString exported = directory.filePath(u"desktop.json"_s);
    QCOMPARE(runProgram(original + QStringList{u"--export-scenario"_s, exported}).exitCode, 0);
    QFile file(exported);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains("\"warning\": \"Menu-bar titles"));

    const QStringList seen = seenOn(original, directory);
    QVERIFY2(!seen.filter(u"Motivo: "_s).filter(u' ' + decision).isEmpty(),
             qPrintable(seen.join(u'\n')));
    QVERIFY(!seen.filter(u"Detectados: "_s).isEmpty()); // the report was written
    QCOMPARE(seenOn({u"--scenario"_s, exported}, directory), seen);
}

void TestScripts::oneRunAtATime()
{
    QTemporaryDir directory;
    const QString report = directory.filePath(u"informe.txt"_s);
    const ProgramRun run = runProgram({u"--export-scenario"_s, directory.filePath(u"e.json"_s),
                                u"--script"_s, script(u"collapse.script"_s),
                                u"--diagnostic-report"_s, report});
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.errors, u"Tuckaway: --diagnostic-report, --export-scenario and --script cannot "
                         u"be given together: each is a run of its own. Nothing was run.\n"_s);
    QVERIFY(run.out.isEmpty());
    QVERIFY(QDir(directory.path()).isEmpty());
}

void TestScripts::readerRefuses_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const QByteArray& text, int line, const QString& reason) {
        QTest::newRow(name) << text << line << reason;
    };
    row("control character", "click\nwait\x01 1\n", 2, u"the line holds a control character"_s);
    row("long line", "click\n" + QByteArray(5000, 'a'), 2,
        u"the line is longer than 4096 characters"_s);
    row("open quote", "click\n\nmenu \"Mostrar todo\n", 3, u"the quoted text is not closed"_s);
    row("unknown reason", "expect reason org.x Hidden", 1,
        u"expect reason: the reason must be hidden|system|protected|own|right|both-sides|"
        "other-row|no-frame|no-boundary|none, not \"Hidden\""_s);
    row("negative wait", "wait -1", 1, u"wait: SECONDS must be a number from 0 to 3600"_s);
    row("waits too long in all", QByteArray("wait 3600\n").repeated(25), 25,
        u"the script waits more than 86400 seconds in all"_s);
    row("serving counts as waiting", QByteArray("serve 3600\nwait 3600\n").repeated(13), 25,
        u"the script waits more than 86400 seconds in all"_s);
    row("too many steps", QByteArray("click\n").repeated(10001), 10001,
        u"the script has more than 10000 steps"_s);
    row("value out of the list", "set delay 7", 1, u"set: delay must be 5|10|30|60, not \"7\""_s);
    row("appearance of a picture", "picture a.png dusk", 1,
        u"picture: draws the screens light or dark, not \"dusk\""_s);
    row("drag beyond the coordinates", "drag -99999999", 1,
        u"drag: X must be a number between -1e+06 and 1e+06"_s);
    row("drag by a word", "drag left", 1, u"drag: X must be a number between -1e+06 and 1e+06"_s);
    row("permission at no application", "permission off at", 1,
        u"permission: takes on|off, or on|off at APP"_s);
    row("screens: nothing said", "screens", 1,
        u"screens: takes sleep, change, none, the name of a list of screens or the screens"_s);
    row("screens: a name in capitals", "click\nscreens Docked", 2,
        u"screens: \"Docked\" is none of sleep, change, none, the name of a list of screens, "
        u"WIDTHxHEIGHT or WIDTHxHEIGHT@X,Y"_s);
    row("screens: a flat one", "screens 800x600 1000x0@800,0", 1,
        u"screens: a screen's width and height must be above 0 and at most 16384"_s);
    row("screens: far away", "screens 800x600@2000000,0", 1,
        u"screens: X and Y must be numbers between -1000000 and 1000000"_s);
    row("screens: seventeen", "screens" + QByteArray(" 9x9").repeated(17), 1,
        u"screens: at most 16 screens"_s);
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

// After a collapse on bar.json, each kind of expectation given an answer one step from the
// right one: the session ends with exit code 1 at that line, never passes it.
void TestScripts::expectationsFailOnAnswersCloseToTheRightOnes_data()
{
    QTest::addColumn<QByteArray>("expectation");
    QTest::newRow("hidden, one missing")
        << QByteArray("expect hidden com.example.charlie com.example.bravo");
    QTest::newRow("hidden, one too many") << QByteArray(
        "expect hidden com.example.charlie com.example.bravo pid:14 com.example.delta");
    QTest::newRow("hidden, none") << QByteArray("expect hidden");
    QTest::newRow("state, the one before") << QByteArray("expect state requesting");
    QTest::newRow("reason, its neighbour's")
        << QByteArray("expect reason com.example.delta hidden");
    QTest::newRow("notice without its full stop")
        << QByteArray("expect notice \"Configuración aplicada\"");
    QTest::newRow("message, one letter off")
        << QByteArray("expect message \"Apps ocultas. Pulsa la flecha para mostrar todos.\"");
    QTest::newRow("settings open while closed") << QByteArray("expect settings open");
    QTest::newRow("tooltip without its last word") << QByteArray(
        "expect tooltip \"Mostrar iconos ocultos · clic derecho para\"");
    QTest::newRow("login switch on while off") << QByteArray("expect login on");
    QTest::newRow("login item, the status after approval")
        << QByteArray("expect login-item enabled");
    QTest::newRow("pressed before any press") << QByteArray("expect pressed com.example.bravo");
    QTest::newRow("a menu open while none is") << QByteArray("expect menu-open com.example.bravo");
    QTest::newRow("out of sight while all are seen") << QByteArray("expect unseen com.example.bravo");
}

void TestScripts::expectationsFailOnAnswersCloseToTheRightOnes()
{
    QFETCH(QByteArray, expectation);
    QTemporaryDir directory;
    QFile file(directory.filePath(u"close.script"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("click\nwait 1\n" + expectation + "\n");
    file.close();
    const ProgramRun run =
        runProgram({u"--scenario"_s, script(u"bar.json"_s), u"--script"_s, file.fileName()});
    QVERIFY2(run.exitCode == 1, qPrintable(run.out + run.errors));
    QVERIFY2(run.errors.trimmed()
                 .section(u'\n', -1)
                 .startsWith(file.fileName() + u":3: expected"_s),
             qPrintable(run.errors));
}

// The line reader at the corners of its grammar: a "#" in quotes is text, quotes hold blanks
// and nothing.
void TestScripts::readerCorners_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("arguments"); // of the only step
    QTest::newRow("a # in quotes")
        << QByteArray("\nexpect notice \"a # b\"") << QStringList{u"a # b"_s};
    QTest::newRow("a comment right after quotes")
        << QByteArray("expect notice \"a\"# b\n") << QStringList{u"a"_s};
    QTest::newRow("empty quotes") << QByteArray("expect notice \"\"") << QStringList{QString()};
    QTest::newRow("blanks kept in quotes")
        << QByteArray("expect notice \"  two  \"\t") << QStringList{u"  two  "_s};
}

void TestScripts::readerCorners()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, arguments);
    const ScriptOrError read = SessionScript::read(text);
    QVERIFY(std::holds_alternative<QList<ScriptStep>>(read));
    const QList<ScriptStep>& steps = std::get<QList<ScriptStep>>(read);
    QCOMPARE(steps.size(), 1);
    QCOMPARE(steps.first().command, u"expect notice"_s);
    QCOMPARE(steps.first().arguments, arguments);
    QCOMPARE(steps.first().quoted, QList<bool>{true});
}

QTEST_GUILESS_MAIN(TestScripts)
#include "tst_scripts.moc"
