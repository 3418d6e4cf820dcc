#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "platform/Platform.h"
#ifndef Q_OS_MACOS
#include "platform/sim/SimulatorFrontEnd.h"
#endif

#include <QApplication>
#include <QFile>
#include <QGuiApplication>
#include <cstdio>
#include <memory>

namespace {

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

bool hasDisplay()
{
#ifdef Q_OS_MACOS
    return true;
#else
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsSet("DISPLAY") ||
           qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
#endif
}

// A diagnostic run scans, writes its file and quits without showing anything,
// so it needs no display. Every other run may show the settings window; without
// a display it is drawn off screen and the simulated desktop runs all the same.
std::unique_ptr<QGuiApplication> makeApplication(int& argc, char** argv, bool diagnostic)
{
    if (diagnostic || !hasDisplay())
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (diagnostic)
        return std::make_unique<QGuiApplication>(argc, argv);
    return std::make_unique<QApplication>(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    const QStringList arguments = argumentsOf(argc, argv);
    const CommandLine commandLine = CommandLine::parse(arguments);
    const auto application =
        makeApplication(argc, argv, commandLine.diagnosticReportPath.has_value());
    // Closing the settings window only hides it; the application lives in the
    // menu bar.
    QGuiApplication::setQuitOnLastWindowClosed(false);

    QFile errors;
    if (!errors.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered))
        return 1;
    PlatformOrError created = createPlatform({commandLine.scenarioPath.value_or(QString())});
    if (!created.platform) {
        errors.write((created.error + QLatin1Char('\n')).toUtf8());
        return 1;
    }

    AppDelegate delegate(*created.platform, errors);
    int exitCode = 0;
    // Asked for on a later turn, so that a request made during the launch reaches
    // exec().
    QObject::connect(
        &delegate, &AppDelegate::quitRequested, application.get(),
        [&exitCode](int code) {
            exitCode = code;
            QCoreApplication::quit();
        },
        Qt::QueuedConnection);
    QObject::connect(application.get(), &QCoreApplication::aboutToQuit, &delegate,
                     &AppDelegate::applicationWillTerminate);
    const AppDelegate::LaunchOutcome outcome = delegate.applicationDidFinishLaunching(arguments);
#ifndef Q_OS_MACOS
    // Off macOS the simulated desktop shows itself: in its window, or in a scripted session.
    std::unique_ptr<SimulatorFrontEnd> simulator;
    if (outcome == AppDelegate::LaunchOutcome::Running)
        simulator = std::make_unique<SimulatorFrontEnd>(*created.platform, delegate);
#endif
    application->exec();
    return exitCode;
}
