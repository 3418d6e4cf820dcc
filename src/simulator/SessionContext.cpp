#include "SessionContext.h"

#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/VirtualTime.h"

namespace tk {

using namespace Qt::StringLiterals;

SessionContext::SessionContext(SimPlatform& simulated, AppDelegate& application,
                               QTextStream& output, QTextStream& errorOutput, QString directory)
    : platform(simulated), app(application), out(output), errors(errorOutput),
      time(dynamic_cast<VirtualTimeSource*>(&simulated.time())),
      pictureDirectory(std::move(directory))
{
}

QStringList SessionContext::hiddenApplications() const
{
    const SimDesktop& desktop = platform.desktop();
    QStringList hidden;
    for (const SimApplication& application : desktop.applications()) {
        if (!application.items.isEmpty() && !desktop.isApplicationVisible(application.pid))
            hidden << applicationId(application);
    }
    return hidden;
}

QString applicationId(const SimApplication& app)
{
    return app.bundleIdentifier.value_or(u"pid:"_s + QString::number(app.pid));
}

QString listed(const QStringList& applications)
{
    return applications.isEmpty() ? u"nothing"_s : applications.join(u' ');
}

std::optional<qint32> runningPid(SimPlatform& platform, const QString& application)
{
    const SimDesktop& desktop = platform.desktop();
    for (const SimApplication& app : desktop.applications()) {
        if (applicationId(app) == application && app.pid != desktop.ownPid())
            return app.pid;
    }
    return std::nullopt;
}

} // namespace tk
