#pragma once

#include "inspection/Workspace.h"

namespace tk {

class SimDesktop;

// What the simulated system says about its running applications and this process.
class SimWorkspace final : public Workspace {
public:
    explicit SimWorkspace(const SimDesktop& desktop) : m_desktop(desktop) {}

    QList<RunningApplication> runningApplications() const override;
    qint32 currentProcessId() const override;
    std::optional<QString> mainBundleIdentifier() const override;
    QString operatingSystemVersionString() const override;

private:
    const SimDesktop& m_desktop;
};

} // namespace tk
