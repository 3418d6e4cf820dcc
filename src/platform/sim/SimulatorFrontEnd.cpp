#include "SimulatorFrontEnd.h"

#include "app/AppDelegate.h"
#include "app/FrontEnd.h"
#include "platform/sim/HeadlessSession.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimulatorWindow.h"

#include <QGuiApplication>
#include <QTextStream>
#include <cstdio>

namespace tk {

using namespace Qt::StringLiterals;

bool SimulatorFrontEnd::hasDisplay()
{
    const QString platform = QGuiApplication::platformName();
    return platform != u"offscreen"_s && platform != u"minimal"_s;
}

SimulatorFrontEnd::SimulatorFrontEnd(Platform& platform, AppDelegate& app, QObject* parent)
    : QObject(parent)
{
    auto* simulated = dynamic_cast<SimPlatform*>(&platform);
    if (!simulated)
        return;
    if (hasDisplay()) {
        m_window = std::make_unique<SimulatorWindow>(*simulated, app);
        connect(m_window.get(), &SimulatorWindow::closed, &app,
                [&app] { Q_EMIT app.quitRequested(0); });
        m_window->show();
        return;
    }
    m_out = std::make_unique<QTextStream>(stdout);
    m_session = std::make_unique<HeadlessSession>(*simulated, app, *m_out,
                                                  HeadlessSession::defaultPictureDirectory());
    connect(m_session.get(), &HeadlessSession::finished, &app,
            [&app](int exitCode) { Q_EMIT app.quitRequested(exitCode); });
    m_session->start();
}

SimulatorFrontEnd::~SimulatorFrontEnd() = default;

void FrontEnd::prepare()
{
    // Without a display the simulated desktop is drawn offscreen, and the run is a session.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && !qEnvironmentVariableIsSet("DISPLAY") &&
        !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

std::unique_ptr<QObject> FrontEnd::show(Platform& platform, AppDelegate& app, const CommandLine&)
{
    return std::make_unique<SimulatorFrontEnd>(platform, app);
}

} // namespace tk
