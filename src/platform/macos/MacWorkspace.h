#pragma once

#include "inspection/Workspace.h"

namespace tk {

// NSWorkspace, NSProcessInfo and the main bundle, as they answer.
class MacWorkspace final : public Workspace {
public:
    QList<RunningApplication> runningApplications() const override;
    qint32 currentProcessId() const override;
    std::optional<QString> mainBundleIdentifier() const override;
    QString operatingSystemVersionString() const override;
    std::optional<qint32> frontmostApplication() const override;
};

} // namespace tk
