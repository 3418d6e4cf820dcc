#include "DesktopServices.h"

#include "inspection/RunningApplications.h"

#include <utility>

namespace tk {

DesktopServices::~DesktopServices() = default;

void DesktopServices::runningApplicationsSeen(const QList<RunningApplication>& running)
{
    const std::optional<QList<RunningApplication>> before = std::exchange(m_running, running);
    if (!before)
        return;
    const RunningApplications::Changes changes = RunningApplications::between(*before, running);
    for (qsizetype i = 0; i < changes.launched.size(); ++i)
        Q_EMIT applicationLaunched();
    for (qsizetype i = 0; i < changes.terminated.size(); ++i)
        Q_EMIT applicationTerminated();
}

} // namespace tk
