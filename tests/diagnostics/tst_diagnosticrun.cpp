#include "diagnostics/DiagnosticRun.h"
#include "inspection/Inspector.h"
#include "inspection/Workspace.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

class EmptyWorkspace final : public Workspace {
public:
    QList<RunningApplication> runningApplications() const override { return {}; }
    qint32 currentProcessId() const override { return 1; }
    std::optional<QString> mainBundleIdentifier() const override { return std::nullopt; }
    QString operatingSystemVersionString() const override { return QString(); }
};

const QString scanReport = u"Fecha: 2026-01-01T09:00:00Z\nmacOS 15\nDetectados: 0"_s;

// The built application; empty where it would run on the real desktop (a Mac).
const QString program = QStringLiteral(TUCKAWAY_BINARY);

struct Exit {
    int code = -1;
    QByteArray output;
    QString errors;
};

// Runs the program with its settings in `configHome`, not the user's.
Exit runProgram(const QString& configHome, const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, configHome);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(60000))
        return {};
    return {process.exitCode(), process.readAllStandardOutput(),
            QString::fromUtf8(process.readAllStandardError())};
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestDiagnosticRun : public QObject {
    Q_OBJECT

private:
    EmptyWorkspace workspace;

private Q_SLOTS:
    void writesTheReportThenTheBackendLine_data();
    void writesTheReportThenTheBackendLine();
    void commandLineRunWritesTheFileAndQuits();
};

void TestDiagnosticRun::writesTheReportThenTheBackendLine_data()
{
    QTest::addColumn<QString>("name"); // in a fresh folder; "pipe" is made a named pipe first
    QTest::addColumn<bool>("backend");
    QTest::addColumn<bool>("authorized");
    QTest::addColumn<bool>("written");
    QTest::newRow("available") << u"diagnóstico.txt"_s << true << true << true;
    QTest::newRow("unavailable") << u"diagnóstico.txt"_s << false << true << true;
    QTest::newRow("without permission") << u"x.txt"_s << true << false << true;
    QTest::newRow("inside a missing directory") << u"missing/x.txt"_s << false << true << false;
    QTest::newRow("a directory") << u"."_s << false << true << false;
    QTest::newRow("a named pipe") << u"pipe"_s << false << true << false;
}

void TestDiagnosticRun::writesTheReportThenTheBackendLine()
{
    QFETCH(QString, name);
    QFETCH(bool, backend);
    QFETCH(bool, authorized);
    QFETCH(bool, written);
    QTemporaryDir dir;
    const QString path = dir.filePath(name);
    if (written) { // a longer file there is replaced whole
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write(QByteArray(10000, 'z')) > 0);
    }
    QVERIFY(name != u"pipe" || ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);

    Inspector inspector(
        [](const QList<ScanApp>&) {
            return ScanResult{{}, scanReport};
        },
        [authorized] { return authorized; }, workspace);
    QByteArray errorBytes;
    QBuffer errorDevice(&errorBytes);
    errorDevice.open(QIODevice::WriteOnly);
    bool started = false;
    std::optional<bool> scanningWhenAsked; // of the backend, once `start` returned
    const auto askBackend = [&] {
        if (started)
            scanningWhenAsked = inspector.isScanning();
        return backend;
    };
    std::optional<bool> outcome;
    DiagnosticRun::start(inspector, path, askBackend, errorDevice,
                         [&](bool done) { outcome = done; });
    started = true;
    QTRY_VERIFY(outcome.has_value());

    QCOMPARE(*outcome, written);
    const QString errors = QString::fromUtf8(errorBytes);
    if (!written) {
        QVERIFY(!QFileInfo(path).isFile()); // a folder or a pipe is left as it was
        QVERIFY2(errors.startsWith(u"Error al guardar diagnóstico: "_s), qPrintable(errors));
        QVERIFY2(errors.size() > DiagnosticRun::failurePrefix.size() + 1, "the reason is missing");
        QCOMPARE(errors.indexOf(QLatin1Char('\n')), errors.size() - 1);
        return;
    }
    QCOMPARE(errors, QString());
    const QString expected = (authorized ? scanReport : Inspector::missingPermissionReport) +
                             u"\nBackend privado disponible: "_s +
                             (backend ? u"true"_s : u"false"_s);
    QCOMPARE(QString::fromUtf8(readAll(path)), expected);
    // The backend is asked once the scan has ended, not before it has even started.
    if (authorized)
        QCOMPARE(scanningWhenAsked, std::optional<bool>(false));
}

// A settings file that is a pipe neither blocks the start nor is touched; the run keeps its
// settings for itself, writes the report, and nothing else, and quits.
void TestDiagnosticRun::commandLineRunWritesTheFileAndQuits()
{
    if (program.isEmpty())
        QSKIP("the program runs on the real desktop");
    QTemporaryDir dir;
    const QString settings = dir.filePath(u"Tuckaway/settings.json"_s);
    QVERIFY(QDir().mkpath(QFileInfo(settings).path()));
    QVERIFY(::mkfifo(QFile::encodeName(settings).constData(), 0600) == 0);
    const QString path = dir.filePath(u"informe.txt"_s);
    const Exit exit = runProgram(
        dir.path(), {u"--ui-report"_s, dir.filePath(u"ui.json"_s), u"--diagnostic-report"_s, path});
    QCOMPARE(exit.code, 0);
    QCOMPARE(exit.output, QByteArray());
    QCOMPARE(exit.errors, u"Tuckaway: "_s + settings +
                              u": not a regular file; settings are kept for this "
                              "run only.\n"_s);
    QVERIFY(!QFileInfo(settings).isFile());

    const QString text = QString::fromUtf8(readAll(path));
    QVERIFY2(text.startsWith(u"Fecha: "_s), qPrintable(text));
    QVERIFY2(text.contains(QRegularExpression(u"\nBackend privado disponible: (true|false)$"_s)),
             qPrintable(text));
    QVERIFY(!QFile::exists(dir.filePath(u"ui.json"_s)));
}

QTEST_GUILESS_MAIN(TestDiagnosticRun)
#include "tst_diagnosticrun.moc"
