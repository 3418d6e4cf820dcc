#include "SimDesktop.h"

#include "core/Identity.h"
#include "core/UserDefaults.h"

#include <limits>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// The same application started again: by bundle identifier, by name without one.
bool sameApplication(const SimApplication& a, const SimApplication& b)
{
    if (a.bundleIdentifier || b.bundleIdentifier)
        return a.bundleIdentifier == b.bundleIdentifier;
    return a.name == b.name;
}

} // namespace

bool SimProcess::answers()
{
    qint64 left = m_answersLeft.load();
    while (left > 0 && !m_answersLeft.compare_exchange_weak(left, left - 1)) {
    }
    return left != 0;
}

QString SimDesktop::statusItemDefaultsKey()
{
    return u"NSStatusItem Preferred Position "_s + Identity::statusItemAutosaveName;
}

SimBarKey SimDesktop::statusItemKey()
{
    return SimBarKey::autosave(Identity::statusItemAutosaveName);
}

// The bar remembers the scenario's places, then every running item it leaves out, in launch
// order; Tuckaway's stands at the place the user defaults remember, else the scenario's.
SimDesktop::SimDesktop(SimScenario scenario, UserDefaults* defaults, QObject* parent)
    : QObject(parent), m_scenario(std::move(scenario)), m_defaults(defaults),
      m_frontmost(m_scenario.frontmost), m_order(m_scenario.remembered),
      m_trusted(m_scenario.trusted)
{
    for (SimApplication& app : m_scenario.applications)
        start(std::make_shared<const SimApplication>(std::move(app)));
    m_scenario.applications.clear();
    addOwnApplication();
    for (const auto& app : m_running) {
        if (app->pid != ownPid())
            rememberItems(*app);
    }
    if (m_frontmost && !otherApplication(*m_frontmost))
        m_frontmost.reset();
    if (!m_order.contains(statusItemKey()))
        placeStatusItem(m_scenario.statusItemPlace);
    if (m_defaults) {
        bool ok = false;
        const int remembered =
            m_defaults->string(statusItemDefaultsKey()).value_or(QString()).toInt(&ok);
        if (ok && remembered >= 0) {
            placeStatusItem(remembered);
            m_scenario.statusItemFrame.reset();
        }
    }
    republish();
}

SimDesktop::~SimDesktop() = default;

// This process and its status item, which the layout puts at its remembered place.
void SimDesktop::addOwnApplication()
{
    SimElement item;
    item.role = SimText::of(u"AXMenuBarItem"_s);
    item.description = SimText::of(Identity::name);
    item.width = Identity::statusItemLength;
    item.actions = QStringList{u"AXPress"_s};
    // A scenario built by hand may give this process a pid that another one already has.
    if (application(m_scenario.ownPid))
        m_scenario.ownPid = freshPid();
    SimApplication own;
    own.pid = m_scenario.ownPid;
    own.bundleIdentifier = m_scenario.ownBundleIdentifier;
    own.name = Identity::name;
    own.items = {item};
    start(std::make_shared<const SimApplication>(std::move(own)));
}

void SimDesktop::start(std::shared_ptr<const SimApplication> application)
{
    m_highestPid = qMax(m_highestPid, application->pid);
    m_processes.insert(application->pid,
                       std::make_shared<SimProcess>(application->answersBeforeHanging));
    m_running.append(std::move(application));
}

// Items the bar has never seen join it at its left end, in the application's order.
void SimDesktop::rememberItems(const SimApplication& app)
{
    for (int i = 0; i < app.items.size(); ++i)
        m_order.remember(keyOf(app, i));
}

SimBarKey SimDesktop::keyOf(const SimApplication& app, int index) const
{
    if (app.pid == ownPid())
        return statusItemKey();
    return SimBarKey::of(app, index);
}

QList<SimApplication> SimDesktop::applications() const
{
    QList<SimApplication> result;
    result.reserve(m_running.size());
    for (const auto& app : m_running)
        result.append(*app);
    return result;
}

const SimApplication* SimDesktop::application(qint32 pid) const
{
    for (const auto& app : m_running) {
        if (app->pid == pid)
            return app.get();
    }
    return nullptr;
}

void SimDesktop::setScreens(QList<SimScreen> screens)
{
    m_scenario.screens = std::move(screens);
    republish();
    emit screensChanged();
    emit menuBarChanged();
}

void SimDesktop::setTrusted(bool trusted)
{
    m_trusted = trusted;
    emit trustChanged(trusted);
}

void SimDesktop::noteTrustPrompt()
{
    ++m_trustPrompts;
    emit trustPromptRequested();
}

void SimDesktop::setFrameworkBehaviour(const SimFrameworkBehaviour& behaviour)
{
    m_scenario.framework = behaviour;
    emit frameworkBehaviourChanged();
}

qint32 SimDesktop::launchApplication(SimApplication application)
{
    if (application.pid <= 0 || this->application(application.pid))
        application.pid = freshPid();
    const qint32 pid = application.pid;
    m_quit.removeIf([&](const auto& app) { return sameApplication(*app, application); });
    start(std::make_shared<const SimApplication>(std::move(application)));
    rememberItems(*m_running.constLast());
    republish();
    emit applicationLaunched(pid);
    emit menuBarChanged();
    return pid;
}

bool SimDesktop::quitApplication(qint32 pid)
{
    if (pid == ownPid())
        return false;
    const auto app = std::find_if(m_running.cbegin(), m_running.cend(),
                                  [pid](const auto& running) { return running->pid == pid; });
    if (app == m_running.cend())
        return false;
    const std::shared_ptr<const SimApplication> quit = *app;
    m_running.erase(app);
    m_processes.remove(pid);
    m_quit.removeIf([&](const auto& earlier) { return sameApplication(*earlier, *quit); });
    m_quit.append(quit);
    if (m_frontmost == pid)
        m_frontmost.reset();
    closeMenuOf(pid);
    republish();
    emit applicationTerminated(pid);
    emit menuBarChanged();
    return true;
}

bool SimDesktop::changeItems(qint32 pid, QList<SimElement> items)
{
    const std::optional<qsizetype> index = otherApplication(pid);
    if (!index)
        return false;
    SimApplication changed = *m_running.at(*index);
    changed.items = std::move(items);
    m_running[*index] = std::make_shared<const SimApplication>(std::move(changed));
    rememberItems(*m_running.at(*index));
    republish();
    emit menuBarChanged();
    return true;
}

bool SimDesktop::setHung(qint32 pid, bool hung)
{
    if (!otherApplication(pid))
        return false;
    SimProcess& process = *m_processes.value(pid);
    hung ? process.hang() : process.recover();
    return true;
}

std::optional<qsizetype> SimDesktop::otherApplication(qint32 pid) const
{
    for (qsizetype i = 0; i < m_running.size(); ++i) {
        if (m_running.at(i)->pid == pid && pid != ownPid())
            return i;
    }
    return std::nullopt;
}

QList<SimApplication> SimDesktop::quitApplications() const
{
    QList<SimApplication> result;
    for (const auto& app : m_quit)
        result.append(*app);
    return result;
}

// Above every pid a process has had, as a system that counts up does; the lowest free one
// once the top is reached.
qint32 SimDesktop::freshPid() const
{
    if (m_highestPid < std::numeric_limits<qint32>::max())
        return m_highestPid + 1;
    qint32 pid = 1;
    while (application(pid))
        ++pid;
    return pid;
}

void SimDesktop::setAllowList(std::optional<QSet<QString>> allowedBundles)
{
    m_allowList = std::move(allowedBundles);
    republish();
    emit menuBarChanged();
}

bool SimDesktop::isApplicationVisible(qint32 pid) const
{
    const SimApplication* app = application(pid);
    return app && allows(*app);
}

bool SimDesktop::allows(const SimApplication& app) const
{
    if (!m_allowList)
        return true;
    return app.bundleIdentifier && m_allowList->contains(*app.bundleIdentifier);
}

bool SimDesktop::isItemVisible(qint32 pid, int index) const
{
    const SimApplication* app = application(pid);
    return app && index >= 0 && index < app->items.size() && isApplicationVisible(pid);
}

bool SimDesktop::setFrontmost(std::optional<qint32> pid)
{
    if (pid && !otherApplication(*pid))
        return false;
    m_frontmost = pid;
    republish();
    emit menuBarChanged();
    return true;
}

void SimDesktop::republish()
{
    m_layout = computeLayout();
    const Layout& current = m_layout;
    auto world = std::make_shared<SimWorldState>();
    for (const auto& app : m_running) {
        auto state = std::make_shared<SimApplicationState>();
        state->application = app;
        state->process = m_processes.value(app->pid);
        state->visible = allows(*app);
        state->barFrames = current.frames.value(app->pid);
        state->barFrames.resize(app->items.size());
        state->menuFrames = current.menus.value(app->pid);
        world->applications.insert(app->pid, std::move(state));
    }
    std::atomic_store(&m_state, std::shared_ptr<const SimWorldState>(std::move(world)));
}

} // namespace tk

namespace tk {

void SimDesktop::notePress(const SimPress& press)
{
    const bool opens = press.acted && (press.action == "AXPress"_L1 || press.action == "AXShowMenu"_L1);
    {
        const QMutexLocker lock(&m_pressMutex);
        m_presses.append(press);
        if (opens)
            m_openItemMenu = press;
    }
    if (opens)
        emit itemMenuChanged();
}

QList<SimPress> SimDesktop::presses() const
{
    const QMutexLocker lock(&m_pressMutex);
    return m_presses;
}

std::optional<SimPress> SimDesktop::openItemMenu() const
{
    const QMutexLocker lock(&m_pressMutex);
    return m_openItemMenu;
}

void SimDesktop::closeItemMenu()
{
    closeMenuOf(0);
}

// Closes the open item menu when it is `pid`'s (any application's for 0).
void SimDesktop::closeMenuOf(qint32 pid)
{
    {
        const QMutexLocker lock(&m_pressMutex);
        if (!m_openItemMenu || (pid != 0 && m_openItemMenu->pid != pid))
            return;
        m_openItemMenu.reset();
    }
    emit itemMenuChanged();
}

} // namespace tk
