#include "Inspector.h"

#include "inspection/Workspace.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <vector>

namespace tk {

struct Inspector::Task {
    QFutureWatcher<ScanResult>* walk = nullptr; // a child of the inspector
    std::vector<std::function<void()>> waiters;
};

Inspector::Inspector(Scanner scanner, AuthorizationCheck authorizationCheck,
                     const Workspace& workspace, QObject* parent)
    : QObject(parent), m_scanner(std::move(scanner)),
      m_authorizationCheck(std::move(authorizationCheck)), m_workspace(workspace)
{
}

Inspector::Inspector(Accessibility& accessibility, const Workspace& workspace,
                     const TimeSource& time, QObject* parent)
    : Inspector(
          [&accessibility, &time,
           version = workspace.operatingSystemVersionString()](const QList<ScanApp>& apps) {
              return AXScanner::scan(apps, ScanEnvironment{accessibility, time, version});
          },
          [&accessibility] { return accessibility.isProcessTrusted(); }, workspace, parent)
{
}

Inspector::~Inspector()
{
    if (m_task)
        m_task->walk->waitForFinished();
}

void Inspector::setReport(const QString& report)
{
    m_report = report;
    Q_EMIT reportChanged(m_report);
}

bool Inspector::isAuthorized() const
{
    return m_authorizationCheck();
}

void Inspector::scan(std::function<void()> done)
{
    if (!isAuthorized()) {
        setItems({});
        setReport(missingPermissionReport);
        if (done)
            done();
        return;
    }
    if (!m_task)
        startTask(applicationsToScan());
    m_task->waiters.push_back(std::move(done));
}

QList<ScanApp> Inspector::applicationsToScan() const
{
    const qint32 ownProcess = m_workspace.currentProcessId();
    const std::optional<QString> ownBundle = m_workspace.mainBundleIdentifier();
    QList<ScanApp> apps;
    for (const RunningApplication& running : m_workspace.runningApplications()) {
        // Two applications without a bundle identifier count as the same bundle.
        if (running.pid == ownProcess || running.bundleIdentifier == ownBundle)
            continue;
        apps << ScanApp{running.pid, running.bundleIdentifier, running.localizedName};
    }
    return apps;
}

void Inspector::startTask(QList<ScanApp> apps)
{
    auto* walk = new QFutureWatcher<ScanResult>(this);
    // The watcher is ours, so an answer that arrives after the inspector is gone goes nowhere.
    connect(walk, &QFutureWatcherBase::finished, this, [this, walk] {
        walk->deleteLater();
        finish(walk->result());
    });
    m_task = std::make_unique<Task>();
    m_task->walk = walk;
    walk->setFuture(
        QtConcurrent::run(QThreadPool::globalInstance(),
                          [scanner = m_scanner, apps = std::move(apps)] { return scanner(apps); }));
    setIsScanning(true);
}

void Inspector::finish(const ScanResult& result)
{
    const std::vector<std::function<void()>> waiters = std::move(m_task->waiters);
    m_task.reset();
    const QPointer<Inspector> self(this);
    for (const std::function<void()>& done : waiters) {
        if (!self)
            return;
        setItems(result.items);
        setReport(result.report);
        if (!m_task) // an earlier caller may already have started the next walk
            setIsScanning(false);
        if (done)
            done();
    }
}

void Inspector::setItems(const QList<ExternalItem>& items)
{
    m_items = items;
    Q_EMIT itemsChanged(m_items);
}

void Inspector::setIsScanning(bool scanning)
{
    m_isScanning = scanning;
    Q_EMIT isScanningChanged(m_isScanning);
}

} // namespace tk
