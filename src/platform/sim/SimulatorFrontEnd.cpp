#include "SimulatorFrontEnd.h"

#include "app/AppDelegate.h"
#include "platform/sim/HeadlessSession.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimulatorWindow.h"

#include <QGuiApplication>
#include <QTextStream>
#include <cstdio>

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
