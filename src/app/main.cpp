#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/FrontEnd.h"
#include "app/Platform.h"
#include "control/ControlClient.h"

#include <QApplication>
#include <QFile>
#include <QLoggingCategory>
#include <cstdio>
#include <memory>

using namespace tk;

namespace {

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

// Qt's own notes on how it runs here (a platform that cannot raise windows, a missing
// runtime folder) are no concern of the person using Tuckaway and stay off standard error;
// QT_LOGGING_RULES brings them back for a developer. Critical messages still show.
void quietenToolkitNotes()
{
    QLoggingCategory::setFilterRules(
        QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
}

// A diagnostic run scans, writes its file and quits without showing anything, so it
// needs no windowing plugin at all. Every other run may show the settings window.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv,
                                                  const CommandLine& commandLine,
                                                  PlatformOptions& options)
{
    if (commandLine.diagnosticReportPath)
        return std::make_unique<QCoreApplication>(argc, argv);
    FrontEnd::prepare(commandLine, options);
    auto application = std::make_unique<QApplication>(argc, argv);
    // Closing the settings window only hides it; the application lives in the menu bar.
    QApplication::setQuitOnLastWindowClosed(false);
    return application;
}

// A control switch or address goes to the running copy; this launch starts nothing.
int sendToRunningCopy(int& argc, char** argv, const CommandLine& commandLine)
{
    const QCoreApplication application(argc, argv);
    quietenToolkitNotes();
    QFile out;
    QFile errors;
    if (!out.open(stdout, QIODevice::WriteOnly | QIODevice::Unbuffered) ||
        !errors.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered))
        return ControlClient::exitRefused;
    if (commandLine.controlMisuse) {
        errors.write((commandLine.controlMisuse->in(std::nullopt) + QLatin1Char('\n')).toUtf8());
        return ControlClient::exitMisused;
    }
    return ControlClient::send(*commandLine.controlRequest, out, errors);
}

} // namespace

int main(int argc, char** argv)
{
    const QStringList arguments = argumentsOf(argc, argv);
    const CommandLine commandLine = CommandLine::parse(arguments);
    if (const std::optional<QString> conflict = commandLine.conflict()) {
        std::fputs(qPrintable(*conflict + QLatin1Char('\n')), stderr);
        return 2;
    }
    if (commandLine.controlRequest || commandLine.controlMisuse)
        return sendToRunningCopy(argc, argv, commandLine);
    quietenToolkitNotes();
    PlatformOptions options;
    options.scenarioPath = commandLine.scenarioPath;
    const auto application = makeApplication(argc, argv, commandLine, options);

    QFile errors;
    if (!errors.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered))
        return 1;
    PlatformOrError created = createPlatform(options);
    if (!created.platform) {
        errors.write((created.error + QLatin1Char('\n')).toUtf8());
        return 1;
    }

    AppDelegate delegate(*created.platform, errors);
    int exitCode = 0;
    // Asked for on a later turn, so that a request made during the launch reaches exec().
    QObject::connect(
        &delegate, &AppDelegate::quitRequested, application.get(),
        [&exitCode](int code) {
            exitCode = code;
            QCoreApplication::quit();
        },
        Qt::QueuedConnection);
    QObject::connect(application.get(), &QCoreApplication::aboutToQuit, &delegate,
                     &AppDelegate::applicationWillTerminate);
    std::unique_ptr<QObject> frontEnd;
    if (delegate.applicationDidFinishLaunching(commandLine) ==
        AppDelegate::LaunchOutcome::Running) {
        // A session that replays the same way each time opens the control interface only
        // while its script says so.
        if (!options.replayable)
            delegate.listenForControl();
        frontEnd = FrontEnd::show(*created.platform, delegate, commandLine);
    }
    application->exec();
    return exitCode;
}
