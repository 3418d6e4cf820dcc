#include "RunningApplications.h"

#include <QSet>

namespace tk {

namespace {

QSet<qint32> processIdentifiers(const QList<RunningApplication>& applications)
{
    QSet<qint32> pids;
    for (const RunningApplication& application : applications)
        pids.insert(application.pid);
    return pids;
}

// The applications of `applications` whose process identifier `others` lacks, each once.
QList<RunningApplication> missingFrom(const QList<RunningApplication>& applications,
                                      const QSet<qint32>& others)
{
    QList<RunningApplication> missing;
    QSet<qint32> seen;
    for (const RunningApplication& application : applications) {
        if (!others.contains(application.pid) && !seen.contains(application.pid)) {
            seen.insert(application.pid);
            missing.append(application);
        }
    }
    return missing;
}

} // namespace

RunningApplications::Changes RunningApplications::between(const QList<RunningApplication>& before,
                                                          const QList<RunningApplication>& after)
{
    return {missingFrom(after, processIdentifiers(before)),
            missingFrom(before, processIdentifiers(after))};
}

} // namespace tk
