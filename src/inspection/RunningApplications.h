#pragma once

#include "inspection/Workspace.h"

#include <QList>

namespace tk {

// What happened between two looks at the running applications.
namespace RunningApplications {

struct Changes {
    QList<RunningApplication> launched;   // in the later list's order
    QList<RunningApplication> terminated; // in the earlier list's order
};

// Told apart by process identifier alone: an application that comes back under a new one
// (the system relaunches what it terminated on its own) has quit and started again.
Changes between(const QList<RunningApplication>& before, const QList<RunningApplication>& after);

} // namespace RunningApplications

} // namespace tk
