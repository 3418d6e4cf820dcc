#include "app/CommandLine.h"
#include "diagnostics/DiagnosticRun.h"
#include "inspection/Inspector.h"
#include "platform/Platform.h"
#include "visibility/NativeVisibilityBridge.h"

#include <QFile>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLine commandLine = CommandLine::parse(arguments);
    if (!commandLine.diagnosticReportPath) {
        std::fputs("Tuckaway: the application shell is not built yet; "
                   "run with --diagnostic-report PATH for the scan report.\n",
                   stdout);
        return 0;
    }
    // The diagnostic run shows nothing, so it needs no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QFile errors;
    if (!errors.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered))
        return 1;
    PlatformOrError created = createPlatform({commandLine.scenarioPath.value_or(QString())});
    if (!created.platform) {
        errors.write((created.error + QLatin1Char('\n')).toUtf8());
        return 1;
    }
    Platform& platform = *created.platform;
    Inspector inspector(platform.accessibility(), platform.workspace(), platform.time());
    int exitCode = 0;
    DiagnosticRun::start(
        inspector, *commandLine.diagnosticReportPath,
        [&platform] { return platform.visibilityBridge().isAvailable(); }, errors,
        [&exitCode](bool written) {
            exitCode = written ? 0 : 1;
            // Queued: a run that ends before the event loop starts must still end it.
            QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                      Qt::QueuedConnection);
        });
    application.exec();
    return exitCode;
}
