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
    // Nothing here shows a window yet, so no display is needed.
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
    if (!commandLine.diagnosticReportPath) {
        // Until the application shell exists, a plain run shows what Tuckaway sees.
        inspector.scan([&] {
            const QString text =
                DiagnosticRun::text(inspector.report(), platform.visibilityBridge().isAvailable());
            std::fputs((text + QStringLiteral("\n\nTuckaway: the menu-bar application "
                                                        "itself is not built yet; this was a scan "
                                                        "of the simulated desktop.\n"))
                           .toUtf8()
                           .constData(),
                       stdout);
            QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                      Qt::QueuedConnection);
        });
        application.exec();
        return 0;
    }
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
