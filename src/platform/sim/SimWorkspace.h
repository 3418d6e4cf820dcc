#pragma once

#include "inspection/Workspace.h"

namespace tk {

class SimDesktop;

// What the simulated system says about its running applications and this process.
class SimWorkspace final : public Workspace {
public:
    // `processId`: this process, when it is not the desktop's own copy of Tuckaway.
    explicit SimWorkspace(const SimDesktop& desktop, std::optional<qint32> processId = {})
        : m_desktop(desktop), m_processId(processId)
    {
    }

    QList<RunningApplication> runningApplications() const override;
    qint32 currentProcessId() const override;
    std::optional<QString> mainBundleIdentifier() const override;
    QString operatingSystemVersionString() const override;
    std::optional<qint32> frontmostApplication() const override;

private:
    const SimDesktop& m_desktop;
    std::optional<qint32> m_processId;
};

} // namespace tk
