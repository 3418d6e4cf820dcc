#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace tk {

struct RunningApplication {
    qint32 pid = 0;
    std::optional<QString> bundleIdentifier;
    std::optional<QString> localizedName;
};

// What the system says about running applications and this process. Main thread.
class Workspace {
public:
    virtual ~Workspace() = default;

    // In the platform's own order.
    virtual QList<RunningApplication> runningApplications() const = 0;
    virtual qint32 currentProcessId() const = 0;
    virtual std::optional<QString> mainBundleIdentifier() const = 0;
    // As the platform words it, e.g. "Version 27.0 (Build 27A100)".
    virtual QString operatingSystemVersionString() const = 0;
    // The application whose menus the menu bar shows; nothing when none is known.
    virtual std::optional<qint32> frontmostApplication() const { return std::nullopt; }
};

} // namespace tk
