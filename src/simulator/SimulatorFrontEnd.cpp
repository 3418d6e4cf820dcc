#include "SimulatorFrontEnd.h"

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/FrontEnd.h"
#include "app/Platform.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "simulator/HeadlessSession.h"
#include "simulator/SimulatorWindow.h"

#include <QGuiApplication>
#include <QTextStream>
#include <cstdio>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

bool drawsOffscreen()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    return platform == "offscreen" || platform == "minimal";
}

} // namespace

bool SimulatorFrontEnd::hasDisplay()
{
    const QString platform = QGuiApplication::platformName();
    return platform != u"offscreen"_s && platform != u"minimal"_s;
}

SimulatorFrontEnd::SimulatorFrontEnd(Platform& platform, AppDelegate& app,
                                     const CommandLine& commandLine, QObject* parent)
    : QObject(parent)
{
    auto* simulated = dynamic_cast<SimPlatform*>(&platform);
    if (!simulated)
        return;
    if (!commandLine.scriptPath && hasDisplay()) {
        simulated->simulatedDesktopServices().placeWindowsOnHostScreens(true);
        m_window = std::make_unique<SimulatorWindow>(*simulated, app);
        connect(m_window.get(), &SimulatorWindow::closed, &app,
                [&app] { Q_EMIT app.quitRequested(0); });
        m_window->show();
        return;
    }
    m_out = std::make_unique<QTextStream>(stdout);
    m_errors = std::make_unique<QTextStream>(stderr);
    m_session = std::make_unique<HeadlessSession>(*simulated, app, *m_out, *m_errors);
    connect(m_session.get(), &HeadlessSession::finished, &app,
            [&app](int exitCode) { Q_EMIT app.quitRequested(exitCode); });
    if (!commandLine.scriptPath) {
        m_session->start(HeadlessSession::builtInName, HeadlessSession::builtInScript());
        return;
    }
    const QString& path = *commandLine.scriptPath;
    std::variant<QByteArray, QString> script = HeadlessSession::readScriptFile(path);
    if (const auto* reason = std::get_if<QString>(&script)) {
        *m_errors << path << u": "_s << *reason << Qt::endl;
        Q_EMIT app.quitRequested(2);
        return;
    }
    // A script's lines are the same on every machine: it starts in the language of its keys.
    app.preferences().setLanguage(u"es"_s);
    m_session->start(path, std::get<QByteArray>(script));
}

SimulatorFrontEnd::~SimulatorFrontEnd() = default;

void FrontEnd::prepare(const CommandLine& commandLine, PlatformOptions& options)
{
    // Without a display the simulated desktop is drawn offscreen, and the run is a session.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") &&
        (commandLine.scriptPath || (!qEnvironmentVariableIsSet("DISPLAY") &&
                                    !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // A session replays the same way each time: virtual time, settings kept in memory.
    options.replayable = commandLine.scriptPath || drawsOffscreen();
}

std::unique_ptr<QObject> FrontEnd::show(Platform& platform, AppDelegate& app,
                                        const CommandLine& commandLine)
{
    return std::make_unique<SimulatorFrontEnd>(platform, app, commandLine);
}

} // namespace tk
