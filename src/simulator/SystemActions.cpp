#include "SystemActions.h"

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimHotKeyService.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimWorkspace.h"

#include <QBuffer>
#include <QCoreApplication>

#include <algorithm>

namespace tk {

namespace {

// The running copy's desktop and services, seen from another process.
class SecondCopyPlatform final : public ForwardingPlatform {
public:
    SecondCopyPlatform(SimPlatform& platform, qint32 pid)
        : ForwardingPlatform(platform), m_workspace(platform.desktop(), pid)
    {
    }

    Workspace& workspace() override { return m_workspace; }

private:
    SimWorkspace m_workspace;
};

qint32 unusedPid(const SimDesktop& desktop)
{
    qint32 pid = desktop.ownPid();
    for (const SimApplication& app : desktop.applications())
        pid = std::max(pid, app.pid);
    return pid + 1;
}

} // namespace

bool pressShortcut(SimPlatform& platform)
{
    SimHotKeyService* hotKeys = platform.simulatedHotKeys();
    bool handled = false;
    if (hotKeys) {
        for (const SimHotKeyService::Registration& registration : hotKeys->registrations())
            handled = hotKeys->press(registration.combination) || handled;
    }
    return handled;
}

bool launchSecondCopy(SimPlatform& platform)
{
    SecondCopyPlatform copy(platform, unusedPid(platform.desktop()));
    QBuffer errors;
    errors.open(QIODevice::WriteOnly);
    AppDelegate second(copy, errors);
    const QStringList arguments{QCoreApplication::applicationFilePath()};
    return second.applicationDidFinishLaunching(CommandLine::parse(arguments)) ==
           AppDelegate::LaunchOutcome::HandedOver;
}

} // namespace tk
