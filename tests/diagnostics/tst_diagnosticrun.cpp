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

namespace {

class EmptyWorkspace final : public Workspace {
public:
    QList<RunningApplication> runningApplications() const override { return {}; }
    qint32 currentProcessId() const override { return 1; }
    std::optional<QString> mainBundleIdentifier() const override { return std::nullopt; }
    QString operatingSystemVersionString() const override { return QString(); }
};

const QString scanReport = QStringLiteral("Fecha: 2026-01-01T09:00:00Z\nmacOS 15\nDetectados: 0");

// A process of the built application whose settings live in `configHome`, not the user's.
// Empty where the program runs on the real desktop (a Mac): what it reads there is not a
// test's to arrange.
const QString program = QStringLiteral(TUCKAWAY_BINARY);

void startApplication(QProcess& process, const QString& configHome, const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
}

bool makePipe(const QString& path)
{
    return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

struct Outcome {
    std::optional<bool> written;
    QByteArray errors;
};

} // namespace

class TestDiagnosticRun : public QObject {
    Q_OBJECT

private:
    EmptyWorkspace workspace;
    bool authorized = true;

    Outcome run(const QString& path, bool backend, Inspector* inspector = nullptr)
    {
        Inspector own(
            [](const QList<ScanApp>&) {
                return ScanResult{{}, scanReport};
            },
            [this] { return authorized; }, workspace);
        Inspector& used = inspector ? *inspector : own;
        Outcome outcome;
        QBuffer errors(&outcome.errors);
        errors.open(QIODevice::WriteOnly);
        DiagnosticRun::start(
            used, path, [&] { return backend; }, errors,
            [&](bool written) { outcome.written = written; });
        if (!QTest::qWaitFor([&] { return outcome.written.has_value(); }))
            qFatal("the diagnostic run never finished");
        return outcome;
    }

private Q_SLOTS:
    void writesReportThenBackendLine_data();
    void writesReportThenBackendLine();
    void replacesAnExistingFileWhole();
    void withoutPermissionWritesTheMissingPermissionText();
    void backendIsAskedAfterTheScan();
    void unwritablePathGivesTheFailureLine_data();
    void unwritablePathGivesTheFailureLine();
    void commandLineRunWritesTheFileAndQuits();
    void commandLineRunReportsAFailedWrite();
    void commandLineRunPassesOverASettingsFileThatIsAPipe();
};

void TestDiagnosticRun::writesReportThenBackendLine_data()
{
    QTest::addColumn<bool>("backend");
    QTest::newRow("available") << true;
    QTest::newRow("unavailable") << false;
}

void TestDiagnosticRun::writesReportThenBackendLine()
{
    QFETCH(bool, backend);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("diagnóstico.txt"));
    const Outcome outcome = run(path, backend);

    QCOMPARE(outcome.written, std::optional<bool>(true));
    QVERIFY(outcome.errors.isEmpty());
    const QString expected = scanReport + QStringLiteral("\nBackend privado disponible: ") +
                             (backend ? QStringLiteral("true") : QStringLiteral("false"));
    QCOMPARE(readAll(path), expected.toUtf8());
}

void TestDiagnosticRun::replacesAnExistingFileWhole()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("x.txt"));
    QFile old(path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(10000, 'z'));
    old.close();

    QCOMPARE(run(path, false).written, std::optional<bool>(true));
    QCOMPARE(readAll(path), DiagnosticRun::text(scanReport, false).toUtf8());
}

void TestDiagnosticRun::withoutPermissionWritesTheMissingPermissionText()
{
    authorized = false;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("x.txt"));
    QCOMPARE(run(path, true).written, std::optional<bool>(true));
    QCOMPARE(QString::fromUtf8(readAll(path)),
             Inspector::missingPermissionReport +
                 QStringLiteral("\nBackend privado disponible: true"));
}

void TestDiagnosticRun::backendIsAskedAfterTheScan()
{
    Inspector inspector(
        [](const QList<ScanApp>&) {
            return ScanResult{{}, scanReport};
        },
        [] { return true; }, workspace);
    QTemporaryDir dir;
    std::optional<bool> scanningWhenAsked;
    std::optional<bool> written;
    QBuffer errors;
    errors.open(QIODevice::WriteOnly);
    DiagnosticRun::start(
        inspector, dir.filePath(QStringLiteral("x.txt")),
        [&] {
            scanningWhenAsked = inspector.isScanning();
            return false;
        },
        errors, [&](bool ok) { written = ok; });
    QVERIFY(!scanningWhenAsked); // not before the scan has even started
    QTRY_VERIFY(written.has_value());
    QCOMPARE(scanningWhenAsked, std::optional<bool>(false));
}

void TestDiagnosticRun::unwritablePathGivesTheFailureLine_data()
{
    QTest::addColumn<QString>("relativePath");
    QTest::newRow("inside a missing directory") << QStringLiteral("missing/x.txt");
    QTest::newRow("a directory") << QStringLiteral(".");
    QTest::newRow("a named pipe") << QStringLiteral("pipe");
}

void TestDiagnosticRun::unwritablePathGivesTheFailureLine()
{
    QFETCH(QString, relativePath);
    QTemporaryDir dir;
    const QString path = dir.filePath(relativePath);
    QVERIFY(relativePath != QLatin1String("pipe") || makePipe(path));
    const Outcome outcome = run(path, false);
    QVERIFY(!QFileInfo(path).isFile()); // a folder or a pipe is left as it was

    QCOMPARE(outcome.written, std::optional<bool>(false));
    const QString line = QString::fromUtf8(outcome.errors);
    QVERIFY2(line.startsWith(QStringLiteral("Error al guardar diagnóstico: ")), qPrintable(line));
    QVERIFY2(line.size() > DiagnosticRun::failurePrefix.size() + 1, "the reason is missing");
    QCOMPARE(line.indexOf(QLatin1Char('\n')), line.size() - 1);
}

void TestDiagnosticRun::commandLineRunWritesTheFileAndQuits()
{
    if (program.isEmpty())
        QSKIP("the program runs on the real desktop");
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("informe.txt"));
    QProcess process;
    startApplication(process, dir.path(),
                     {QStringLiteral("--ui-report"), dir.filePath(QStringLiteral("ui.json")),
                      QStringLiteral("--diagnostic-report"), path});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
    QCOMPARE(process.readAllStandardError(), QByteArray());

    const QString text = QString::fromUtf8(readAll(path));
    QVERIFY2(text.startsWith(QStringLiteral("Fecha: ")), qPrintable(text));
    QVERIFY2(text.contains(
                 QRegularExpression(QStringLiteral("\nBackend privado disponible: (true|false)$"))),
             qPrintable(text));
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("ui.json"))));
}

void TestDiagnosticRun::commandLineRunReportsAFailedWrite()
{
    if (program.isEmpty())
        QSKIP("the program runs on the real desktop");
    QTemporaryDir dir;
    QProcess process;
    startApplication(
        process, dir.path(),
        {QStringLiteral("--diagnostic-report"), dir.filePath(QStringLiteral("no/x.txt"))});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 1);
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
    const QString errors = QString::fromUtf8(process.readAllStandardError());
    QVERIFY2(errors.contains(QRegularExpression(
                 QStringLiteral("(^|\n)Error al guardar diagnóstico: [^\n]+\n$"))),
             qPrintable(errors));
}

// The settings are read as the application starts: a pipe there must not block the start,
// and is left as it is; the run goes on with settings kept for this run only.
void TestDiagnosticRun::commandLineRunPassesOverASettingsFileThatIsAPipe()
{
    if (program.isEmpty())
        QSKIP("the program runs on the real desktop");
    QTemporaryDir dir;
    const QString settings = dir.filePath(QStringLiteral("Tuckaway/settings.json"));
    QVERIFY(QDir().mkpath(QFileInfo(settings).path()) && makePipe(settings));
    QProcess process;
    startApplication(
        process, dir.path(),
        {QStringLiteral("--diagnostic-report"), dir.filePath(QStringLiteral("x.txt"))});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 0);
    const QString errors = QString::fromUtf8(process.readAllStandardError());
    QCOMPARE(errors, QStringLiteral("Tuckaway: ") + settings +
                         QStringLiteral(": not a regular file; settings are kept for this run "
                                        "only.\n"));
    QVERIFY(QFile::exists(dir.filePath(QStringLiteral("x.txt"))));
    QVERIFY(!QFileInfo(settings).isFile());
}

QTEST_GUILESS_MAIN(TestDiagnosticRun)
#include "tst_diagnosticrun.moc"
