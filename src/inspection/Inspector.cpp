#include "Inspector.h"

#include "inspection/Accessibility.h"
#include "inspection/Workspace.h"

#include "core/WorkerThread.h"

#include <QPointer>
#include <algorithm>
#include <vector>

namespace tk {

namespace {

// The accessibility interface as one walk of the default scanner sees it: once the walk is
// abandoned, every request to another process fails at once, as one that timed out does,
// so the walk runs to its end without waiting for anybody.
class AbandonableAccessibility final : public Accessibility {
public:
    AbandonableAccessibility(Accessibility& accessibility, const std::atomic<bool>& abandoned)
        : m_accessibility(accessibility), m_abandoned(abandoned)
    {
    }

    AXElementRef applicationElement(qint32 pid) override
    {
        return m_accessibility.applicationElement(pid);
    }
    void setMessagingTimeout(const AXElementRef& element, double seconds) override
    {
        m_accessibility.setMessagingTimeout(element, seconds);
    }
    AXAttribute attribute(const AXElementRef& element, const QString& name) override
    {
        if (!m_abandoned.load())
            return m_accessibility.attribute(element, name);
        AXAttribute unanswered;
        unanswered.error = AXResult::cannotComplete;
        return unanswered;
    }
    QList<AXAttribute> attributes(const AXElementRef& element, const QStringList& names) override
    {
        if (!m_abandoned.load())
            return m_accessibility.attributes(element, names);
        AXAttribute unanswered;
        unanswered.error = AXResult::cannotComplete;
        return QList<AXAttribute>(names.size(), unanswered);
    }
    std::optional<QStringList> actionNames(const AXElementRef& element) override
    {
        return m_abandoned.load() ? std::nullopt : m_accessibility.actionNames(element);
    }
    AXSettable isAttributeSettable(const AXElementRef& element, const QString& name) override
    {
        if (m_abandoned.load())
            return {AXResult::cannotComplete, false};
        return m_accessibility.isAttributeSettable(element, name);
    }
    qint32 performAction(const AXElementRef& element, const QString& name) override
    {
        return m_abandoned.load() ? AXResult::cannotComplete
                                  : m_accessibility.performAction(element, name);
    }
    bool isProcessTrusted() override { return m_accessibility.isProcessTrusted(); }
    bool promptForTrust() override { return m_accessibility.promptForTrust(); }

private:
    Accessibility& m_accessibility;
    const std::atomic<bool>& m_abandoned;
};

} // namespace

struct Inspector::Task {
    WorkerThread<ScanResult>* walk = nullptr; // a child of the inspector
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
          Scanner(), [&accessibility] { return accessibility.isProcessTrusted(); }, workspace,
          parent)
{
    m_scanner = [&accessibility, &time, version = workspace.operatingSystemVersionString(),
                 abandoned = m_abandoned](const QList<ScanApp>& apps) {
        AbandonableAccessibility walkAccessibility(accessibility, *abandoned);
        return AXScanner::scan(apps, ScanEnvironment{walkAccessibility, time, version});
    };
    m_presser = [&accessibility, &time, version = workspace.operatingSystemVersionString(),
                 abandoned = m_abandoned](const ScanApp& app, const QString& path) {
        AbandonableAccessibility walkAccessibility(accessibility, *abandoned);
        return ItemPress::scanAndPress(app, path,
                                       ScanEnvironment{walkAccessibility, time, version});
    };
}

Inspector::~Inspector()
{
    m_abandoned->store(true);
    if (m_task)
        m_task->walk->join();
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
        m_frontMenus.reset();
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

void Inspector::pressItem(qint32 pid, const QString& path, std::function<void(PressOutcome)> done)
{
    const QList<RunningApplication> applications = m_workspace.runningApplications();
    const auto running =
        std::find_if(applications.cbegin(), applications.cend(),
                     [pid](const RunningApplication& app) { return app.pid == pid; });
    if (!isAuthorized() || running == applications.cend() || !m_presser) {
        done({!isAuthorized()                    ? PressOutcome::Kind::NoPermission
              : running == applications.cend() ? PressOutcome::Kind::Quit
                                                 : PressOutcome::Kind::NotOnScreen});
        return;
    }
    const ScanApp app{running->pid, running->bundleIdentifier, running->localizedName};
    auto* walk = new WorkerThread<PressOutcome>(
        [presser = m_presser, app, path] { return presser(app, path); }, this);
    // A press is a scan of one application: it shows as scanning, as any walk does.
    connect(walk, &WorkerThreadBase::finished, this, [this, walk, done = std::move(done)] {
        walk->deleteLater();
        --m_pressing;
        setIsScanning(m_task != nullptr || m_pressing > 0);
        done(walk->takeResult());
    });
    ++m_pressing;
    walk->start(QThread::HighPriority);
    setIsScanning(true);
}

QList<ScanApp> Inspector::applicationsToScan() const
{
    const qint32 ownProcess = m_workspace.currentProcessId();
    const std::optional<QString> ownBundle = m_workspace.mainBundleIdentifier();
    const std::optional<qint32> front = m_workspace.frontmostApplication();
    QList<ScanApp> apps;
    for (const RunningApplication& running : m_workspace.runningApplications()) {
        // Two applications without a bundle identifier count as the same bundle.
        if (running.pid == ownProcess || running.bundleIdentifier == ownBundle)
            continue;
        apps << ScanApp{running.pid, running.bundleIdentifier, running.localizedName,
                        running.pid == front};
    }
    return apps;
}

void Inspector::startTask(QList<ScanApp> apps)
{
    auto* walk = new WorkerThread<ScanResult>(
        [scanner = m_scanner, apps = std::move(apps)] { return scanner(apps); }, this);
    // The walk is ours, so an answer that arrives after the inspector is gone goes nowhere.
    connect(walk, &WorkerThreadBase::finished, this, [this, walk] {
        walk->deleteLater();
        finish(walk->takeResult());
    });
    m_task = std::make_unique<Task>();
    m_task->walk = walk;
    // A person waits for the walk.
    walk->start(QThread::HighPriority);
    setIsScanning(true);
}

// The first publication is items, report, the walk let go, then not scanning; a caller that
// asks for a scan while items or report are published joins this walk and is served with
// it. Every later caller of the walk publishes the same result again as it resumes.
void Inspector::finish(const ScanResult& result)
{
    const QPointer<Inspector> self(this);
    if (!publish(result, self))
        return;
    const std::vector<std::function<void()>> waiters = std::move(m_task->waiters);
    m_task.reset();
    setIsScanning(m_pressing > 0);
    for (std::size_t i = 0; i < waiters.size() && self; ++i) {
        if (i > 0 && !publish(result, self))
            return;
        if (i > 0 && !m_task) // an earlier caller may already have started the next walk
            setIsScanning(m_pressing > 0);
        if (self && waiters[i])
            waiters[i]();
    }
}

// Items, then report; false when an observer has destroyed this inspector meanwhile.
bool Inspector::publish(const ScanResult& result, const QPointer<Inspector>& self)
{
    m_frontMenus = result.frontMenus;
    setItems(result.items);
    if (!self)
        return false;
    setReport(result.report);
    return !self.isNull();
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
