// Tuckaway driven from outside through the program itself: a copy without a display serves
// control requests (a script's "serve" step) on the simulated desktop, and further runs of
// the program send it each control switch and address over the real socket. Every run gets
// a runtime folder of its own, so that no copy the person running the tests has is reached.
#include "ProgramRun.h"
#include "control/ControlEndpoint.h"
#include "l10n/L10n.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

const QString listening = u"Órdenes de control: escuchando en "_s;
const QString otherCopy = u"Órdenes de control: otra copia de Tuckaway las atiende."_s;

// The program's texts of its own in English; the running copy's in Spanish, as a script's are.
QProcessEnvironment environmentFor(const QString& runtimeFolder)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, runtimeFolder);
    environment.insert(u"LANGUAGE"_s, u"en"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    return environment;
}

ProgramRun runIn(const QString& runtimeFolder, const QStringList& arguments)
{
    return runProgram(arguments, {}, environmentFor(runtimeFolder));
}

// A copy on bar.json whose script serves control requests for a long while; the test ends it.
class ServingCopy {
public:
    ServingCopy(const QString& runtimeFolder, const QString& scriptFolder)
    {
        const QString path = QDir(scriptFolder).filePath(u"serve.script"_s);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write("serve 600\n");
        file.close();
        m_process.setProcessEnvironment(environmentFor(runtimeFolder));
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(TUCKAWAY_PROGRAM),
                        {u"--scenario"_s, script(u"bar.json"_s), u"--script"_s, path});
    }
    ~ServingCopy() { end(); }

    // Whether it prints a whole line that holds `text`; the time allowed is only a bound.
    bool printed(const QString& text)
    {
        const auto seen = [this, &text] {
            const qsizetype at = m_out.indexOf(text);
            return at >= 0 && m_out.indexOf(u'\n', at) >= 0;
        };
        const bool ended = !QTest::qWaitFor(
            [this, &seen] {
                m_out += QString::fromUtf8(m_process.readAll());
                return seen() || m_process.state() == QProcess::NotRunning;
            },
            60000);
        return !ended && seen();
    }
    // What it has printed so far.
    const QString& out()
    {
        m_out += QString::fromUtf8(m_process.readAll());
        return m_out;
    }
    // Killed as a crash would end it: its socket and lock stay behind.
    void end()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
    QString m_out;
};

QString english(const QString& spanish)
{
    return L10n::text(spanish, u"en"_s);
}

} // namespace

class TestAutomation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void controlOfTheRunningCopy_data();
    void controlOfTheRunningCopy();
    void misusedSwitchesSendNothing_data();
    void misusedSwitchesSendNothing();
    void noCopyRunning();
    void socketLeftByACrashIsReplaced();
    void twoCopiesStartedAtOnce();

private:
    QString socketPath() const;

    QTemporaryDir m_runtime;
    QTemporaryDir m_scripts;
    std::unique_ptr<ServingCopy> m_copy;
};

void TestAutomation::initTestCase()
{
    m_copy = std::make_unique<ServingCopy>(m_runtime.path(), m_scripts.path());
    QVERIFY2(m_copy->printed(listening + socketPath()), qPrintable(m_copy->out()));
}

void TestAutomation::cleanupTestCase()
{
    m_copy.reset();
}

QString TestAutomation::socketPath() const
{
    return QDir(m_runtime.path()).filePath(u"tuckaway-%1.control"_s.arg(::getuid()));
}

void TestAutomation::controlOfTheRunningCopy_data()
{
    // One row after another on the same running copy: what it is sent, and what it answers.
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<QString>("copyPrints"); // a line the running copy prints meanwhile
    const QString shown = u"{\"hidden\":[],\"message\":\"%1\",\"mode\":\"boundary\","
                          u"\"state\":\"shown\"}\n"_s;
    const auto row = [](const char* name, const QStringList& arguments, int exitCode,
                        const QString& out, const QString& errors = {},
                        const QString& copyPrints = {}) {
        QTest::newRow(name) << arguments << exitCode << out << errors << copyPrints;
    };
    row("status at first", {u"--status"_s}, 0,
        shown.arg(u"Ocultación experimental desactivada."_s));
    row("expand when shown does nothing", {u"--expand"_s}, 0, u"shown\n"_s);
    row("collapse", {u"--collapse"_s}, 0, u"hidden\n"_s);
    row("status while hidden", {u"--status"_s}, 0,
        u"{\"hidden\":[\"com.example.charlie\",\"com.example.bravo\",\"pid:14\"],\"message\":"
        u"\"Apps ocultas. Pulsa la flecha para mostrar todas.\",\"mode\":\"boundary\","
        u"\"state\":\"hidden\"}\n"_s);
    row("collapse when hidden does nothing", {u"--collapse"_s}, 0, u"hidden\n"_s);
    row("reveal one that stays visible: refused, in the interface language",
        {u"--reveal"_s, u"com.example.delta"_s}, 1, {}, u"No está oculta: com.example.delta\n"_s);
    // The hiding lifted, the item pressed: its own menu opens.
    row("reveal a hidden one", {u"--reveal"_s, u"com.example.bravo"_s}, 0, u"shown\n"_s, {},
        u"Menú del icono abierto: com.example.bravo B"_s);
    row("toggle", {u"--toggle"_s}, 0, u"hidden\n"_s);
    row("reveal one without bundle by address", {u"tuckaway://reveal?bundle=pid:14"_s}, 0,
        u"shown\n"_s, {}, u"Menú del icono abierto: pid:14 A"_s);
    row("collapse by address", {u"tuckaway://collapse"_s}, 0, u"hidden\n"_s);
    row("show all", {u"--show-all"_s}, 0, u"shown\n"_s);
    row("toggle by address, among arguments of the system's",
        {u"-psn_0_4711"_s, u"tuckaway://toggle"_s, u"--settings"_s}, 0, u"hidden\n"_s);
    row("expand", {u"--expand"_s}, 0, u"shown\n"_s);
    row("reveal when nothing is hidden", {u"tuckaway://reveal?bundle=com.example.bravo"_s}, 1, {},
        u"No está oculta: com.example.bravo\n"_s);
    row("status at last", {u"--status"_s}, 0,
        shown.arg(u"Restricción retirada; se ha solicitado restaurar todos los iconos."_s));
}

void TestAutomation::controlOfTheRunningCopy()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, out);
    QFETCH(QString, errors);
    QFETCH(QString, copyPrints);
    const ProgramRun run = runIn(m_runtime.path(), arguments);
    QCOMPARE(run.errors, errors);
    QCOMPARE(run.out, out);
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY(copyPrints.isEmpty() || m_copy->printed(copyPrints));
}

void TestAutomation::misusedSwitchesSendNothing_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("errors");
    QTest::newRow("reveal without bundle")
        << QStringList{u"--reveal"_s}
        << english(u"Tuckaway: --reveal necesita el identificador de bundle de una app oculta, "
                   u"por ejemplo --reveal com.example.app."_s);
}

// Exit 2 and the reason; the running copy hears of none of it. Each misuse is told apart in
// tst_commandline; they all leave the program alike.
void TestAutomation::misusedSwitchesSendNothing()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, errors);
    const qsizetype carriedOut = m_copy->out().count(u"Orden de control: "_s);
    const ProgramRun run = runIn(m_runtime.path(), arguments);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.errors, errors + u'\n');
    QVERIFY(run.out.isEmpty());
    // A status request is answered after whatever came before it, and carries nothing out.
    QCOMPARE(runIn(m_runtime.path(), {u"--status"_s}).exitCode, 0);
    QCOMPARE(m_copy->out().count(u"Orden de control: "_s), carriedOut);
}

// Nothing is started, and nothing is made: neither a folder nor a socket.
void TestAutomation::noCopyRunning()
{
    QTemporaryDir runtime;
    const ProgramRun run = runIn(runtime.path(), {u"--toggle"_s});
    QCOMPARE(run.exitCode, 3);
    QCOMPARE(run.errors, english(ControlEndpoint::notRunning) + u'\n');
    QVERIFY(run.out.isEmpty());
    QVERIFY(QDir(runtime.path()).isEmpty());
}

// A copy that crashed leaves its socket and its lock: no client gets through, and the next
// copy takes both over.
void TestAutomation::socketLeftByACrashIsReplaced()
{
    QTemporaryDir runtime;
    ServingCopy crashing(runtime.path(), m_scripts.path());
    QVERIFY(crashing.printed(listening));
    crashing.end();
    const QString socket = QDir(runtime.path()).filePath(u"tuckaway-%1.control"_s.arg(::getuid()));
    QVERIFY(QFileInfo::exists(socket));
    QVERIFY(QFileInfo::exists(socket + u".lock"_s));
    QCOMPARE(runIn(runtime.path(), {u"--status"_s}).exitCode, 3);
    ServingCopy next(runtime.path(), m_scripts.path());
    QVERIFY2(next.printed(listening + socket), qPrintable(next.out()));
    QCOMPARE(runIn(runtime.path(), {u"--collapse"_s}).out, u"hidden\n"_s);
    QVERIFY(next.printed(u"Orden de control: collapse"_s));
}

// Exactly one of them listens; the other says so, and the requests reach the one.
void TestAutomation::twoCopiesStartedAtOnce()
{
    QTemporaryDir runtime;
    ServingCopy first(runtime.path(), m_scripts.path());
    ServingCopy second(runtime.path(), m_scripts.path());
    QVERIFY(first.printed(u"Órdenes de control: "_s));
    QVERIFY(second.printed(u"Órdenes de control: "_s));
    QCOMPARE(int(first.out().contains(listening)) + int(second.out().contains(listening)), 1);
    QCOMPARE(int(first.out().contains(otherCopy)) + int(second.out().contains(otherCopy)), 1);
    QCOMPARE(runIn(runtime.path(), {u"--toggle"_s}).out, u"hidden\n"_s);
    ServingCopy& server = first.out().contains(listening) ? first : second;
    QVERIFY(server.printed(u"Orden de control: toggle"_s));
}

QTEST_GUILESS_MAIN(TestAutomation)
#include "tst_automation.moc"
