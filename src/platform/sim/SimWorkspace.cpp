#include "SimWorkspace.h"

#include "platform/sim/SimDesktop.h"

namespace tk {

QList<RunningApplication> SimWorkspace::runningApplications() const
{
    QList<RunningApplication> result;
    for (const SimApplication& app : m_desktop.applications())
        result.append({app.pid, app.bundleIdentifier, app.name});
    return result;
}

qint32 SimWorkspace::currentProcessId() const
{
    return m_processId.value_or(m_desktop.ownPid());
}

std::optional<QString> SimWorkspace::mainBundleIdentifier() const
{
    return m_desktop.ownBundleIdentifier();
}

QString SimWorkspace::operatingSystemVersionString() const
{
    return m_desktop.operatingSystemVersion();
}

std::optional<qint32> SimWorkspace::frontmostApplication() const
{
    return m_desktop.frontmost();
}

} // namespace tk
