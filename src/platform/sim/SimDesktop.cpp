#include "SimDesktop.h"

#include "core/Identity.h"
#include "core/UserDefaults.h"

#include <limits>

namespace tk {

using namespace Qt::StringLiterals;

QString SimDesktop::statusItemDefaultsKey()
{
    return u"NSStatusItem Preferred Position "_s + Identity::statusItemAutosaveName;
}

SimDesktop::SimDesktop(SimScenario scenario, UserDefaults* defaults, QObject* parent)
    : QObject(parent), m_scenario(std::move(scenario)), m_defaults(defaults),
      m_place(m_scenario.statusItemPlace), m_trusted(m_scenario.trusted)
{
    for (SimApplication& app : m_scenario.applications)
        m_running.append(std::make_shared<const SimApplication>(std::move(app)));
    m_scenario.applications.clear();
    addOwnApplication();
    if (m_defaults) {
        bool ok = false;
        const int remembered =
            m_defaults->string(statusItemDefaultsKey()).value_or(QString()).toInt(&ok);
        if (ok && remembered >= 0)
            m_place = remembered;
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
    m_running.append(std::make_shared<const SimApplication>(std::move(own)));
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
    m_running.append(std::make_shared<const SimApplication>(std::move(application)));
    republish();
    emit applicationLaunched(pid);
    emit menuBarChanged();
    return pid;
}

bool SimDesktop::quitApplication(qint32 pid)
{
    if (pid == ownPid())
        return false;
    const auto removed = m_running.removeIf([pid](const auto& app) { return app->pid == pid; });
    if (removed == 0)
        return false;
    republish();
    emit applicationTerminated(pid);
    emit menuBarChanged();
    return true;
}

// The next pid above every running one; the lowest free one once the top is reached.
qint32 SimDesktop::freshPid() const
{
    qint32 highest = 0;
    for (const auto& app : m_running)
        highest = qMax(highest, app->pid);
    if (highest < std::numeric_limits<qint32>::max())
        return highest + 1;
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

QList<SimDesktop::BarItem> SimDesktop::visibleMenuBarItems() const
{
    return m_layout.bar;
}

Rect SimDesktop::menuBarFrame() const
{
    if (m_scenario.screens.isEmpty())
        return Rect{};
    const Rect primary = m_scenario.screens.first().frame;
    return Rect{primary.x, 0.0, primary.width, menuBarHeight};
}

int SimDesktop::barItemCount() const
{
    int count = 0;
    for (const auto& app : m_running) {
        if (app->pid != ownPid())
            count += int(app->items.size());
    }
    return count;
}

void SimDesktop::setStatusItemPlace(int place)
{
    m_place = qBound(0, place, barItemCount());
    if (m_defaults)
        m_defaults->setString(statusItemDefaultsKey(), QString::number(m_place));
    republish();
    emit menuBarChanged();
}

// The item lands right of every visible item whose middle lies left of `x`; hidden items
// just left of the item it lands beside stay left of it.
void SimDesktop::moveStatusItem(double x)
{
    if (m_scenario.screens.isEmpty())
        return;
    const Layout& current = m_layout;
    int place = 0;
    int fullIndex = 0;
    for (const auto& app : m_running) {
        if (app->pid == ownPid())
            continue;
        for (int i = 0; i < app->items.size(); ++i, ++fullIndex) {
            const auto frame = current.frames.value(app->pid).value(i);
            if (frame && frame->midX() > x)
                place = fullIndex + 1;
        }
    }
    setStatusItemPlace(place);
}

std::optional<Rect> SimDesktop::statusItemFrame() const
{
    const auto own = m_layout.frames.constFind(ownPid());
    if (own == m_layout.frames.cend() || own->isEmpty())
        return std::nullopt;
    return own->first();
}

Rect SimDesktop::toAccessibilitySpace(const Rect& screenRect) const
{
    const Rect r = screenRect.standardized();
    const double top = m_scenario.screens.value(0).frame.maxY();
    return Rect{r.x, top - (r.y + r.height), r.width, r.height};
}

Rect SimDesktop::toScreenSpace(const Rect& accessibilityRect) const
{
    const Rect r = accessibilityRect.standardized();
    const double top = m_scenario.screens.value(0).frame.maxY();
    return Rect{r.x, top - (r.y + r.height), r.width, r.height};
}

// Right to left from the primary screen's right edge: every application's items in launch
// order, this process's item inserted after `m_place` of them. Hidden items leave no gap;
// without a screen no item has a place.
SimDesktop::Layout SimDesktop::computeLayout() const
{
    struct Slot {
        const SimApplication* app;
        int index;
    };
    QList<Slot> order;
    const SimApplication* own = nullptr;
    for (const auto& app : m_running) {
        if (app->pid == ownPid()) {
            own = app.get();
            continue;
        }
        for (int i = 0; i < app->items.size(); ++i)
            order.append({app.get(), i});
    }
    const qsizetype place = qBound(qsizetype(0), qsizetype(m_place), order.size());
    for (int i = own ? int(own->items.size()) - 1 : -1; i >= 0; --i)
        order.insert(place, {own, i});

    Layout result;
    const Rect bar = menuBarFrame();
    double right = bar.x + bar.width - menuBarRightMargin;
    for (const Slot& slot : std::as_const(order)) {
        auto& frames = result.frames[slot.app->pid];
        frames.resize(slot.app->items.size());
        if (m_scenario.screens.isEmpty())
            continue;
        if (!allows(*slot.app))
            continue;
        const double width = slot.app->items.at(slot.index).width;
        right -= width;
        const Rect frame{right, bar.y, width, bar.height};
        frames[slot.index] = frame;
        result.bar.append({slot.app->pid, slot.index, frame, slot.app == own});
    }
    return result;
}

void SimDesktop::republish()
{
    m_layout = computeLayout();
    const Layout& current = m_layout;
    auto world = std::make_shared<SimWorldState>();
    for (const auto& app : m_running) {
        auto state = std::make_shared<SimApplicationState>();
        state->application = app;
        state->visible = allows(*app);
        state->barFrames = current.frames.value(app->pid);
        state->barFrames.resize(app->items.size());
        world->applications.insert(app->pid, std::move(state));
    }
    std::atomic_store(&m_state, std::shared_ptr<const SimWorldState>(std::move(world)));
}

} // namespace tk
