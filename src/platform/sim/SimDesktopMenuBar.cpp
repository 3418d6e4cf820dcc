// The simulated desktop's menu bar: where its items and the frontmost application's menus
// stand, which of them the system draws, and the status item's place among the items.
#include "SimDesktop.h"

#include "core/UserDefaults.h"

namespace tk {

QList<SimDesktop::BarItem> SimDesktop::visibleMenuBarItems() const
{
    return m_layout.bar;
}

Rect SimDesktop::menuBarFrame() const
{
    if (m_scenario.screens.isEmpty())
        return Rect{};
    const SimScreen& primary = m_scenario.screens.first();
    return Rect{primary.frame.x, 0.0, primary.frame.width, barHeight(primary)};
}

double SimDesktop::barHeight(const SimScreen& screen)
{
    return screen.notch ? screen.notch->height() : menuBarHeight;
}

QList<Rect> SimDesktop::frontMenuFrames() const
{
    return m_frontmost ? m_layout.menus.value(*m_frontmost) : QList<Rect>();
}

// Left to right from the primary screen's left edge, each as wide as it is; a menu the
// scenario puts somewhere stands there, and the next one follows it.
QList<Rect> SimDesktop::menuLayout(const SimApplication& app) const
{
    QList<Rect> frames;
    if (m_scenario.screens.isEmpty())
        return frames;
    const Rect bar = menuBarFrame();
    double left = bar.x + menuBarLeftMargin;
    for (const SimMenu& menu : app.menus) {
        const Rect frame = menu.frame.value_or(Rect{left, bar.y, menu.width, bar.height});
        left = frame.maxX();
        frames.append(frame);
    }
    return frames;
}

// Right to left, the first item that would cross the notch and every one after it go under
// and beyond it; any item that would overlap the frontmost application's menus is not drawn.
void SimDesktop::markUnshown(Layout& layout) const
{
    if (m_scenario.screens.isEmpty())
        return;
    std::optional<Rect> notch;
    if (const std::optional<Rect> frame = m_scenario.screens.first().notchFrame())
        notch = toAccessibilitySpace(*frame);
    const QList<Rect> front = m_frontmost ? layout.menus.value(*m_frontmost) : QList<Rect>();
    std::optional<Rect> menus;
    for (const Rect& menu : front) {
        if (!menus) {
            menus = menu;
            continue;
        }
        const double left = qMin(menus->minX(), menu.minX());
        const double top = qMin(menus->minY(), menu.minY());
        menus = Rect{left, top, qMax(menus->maxX(), menu.maxX()) - left,
                     qMax(menus->maxY(), menu.maxY()) - top};
    }
    bool beyondNotch = false;
    for (BarItem& item : layout.bar) {
        const Rect& f = item.frame;
        beyondNotch = beyondNotch || (notch && f.minX() < notch->maxX() &&
                                      f.minY() < notch->maxY() && f.maxY() > notch->minY());
        const bool overMenus = menus && f.minX() < menus->maxX() && f.maxX() > menus->minX() &&
                               f.minY() < menus->maxY() && f.maxY() > menus->minY();
        item.shown = !beyondNotch && !overMenus;
    }
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

int SimDesktop::statusItemPlace() const
{
    const QHash<SimBarKey, QList<Slot>> running = runningSlots();
    int place = 0;
    for (const SimBarKey& key : m_order.keys()) {
        if (key == statusItemKey())
            break;
        place += int(running.value(key).size());
    }
    return place;
}

void SimDesktop::setStatusItemPlace(int place)
{
    m_scenario.statusItemFrame.reset();
    placeStatusItem(place);
    rememberStatusItemPlace();
    republish();
    emit menuBarChanged();
}

// Just left of the place-th item of a running application, counted from the right; items
// of applications not running that stand next to it stay left of the status item.
void SimDesktop::placeStatusItem(int place)
{
    const QHash<SimBarKey, QList<Slot>> running = runningSlots();
    const int wanted = qBound(0, place, barItemCount());
    std::optional<SimBarKey> neighbour;
    int passed = 0;
    for (const SimBarKey& key : m_order.keys()) {
        if (passed >= wanted)
            break;
        if (key == statusItemKey())
            continue;
        passed += int(running.value(key).size());
        neighbour = key;
    }
    m_order.placeLeftOf(statusItemKey(), neighbour);
}

void SimDesktop::rememberStatusItemPlace()
{
    if (m_defaults)
        m_defaults->setString(statusItemDefaultsKey(), QString::number(statusItemPlace()));
}

// The item lands just left of the leftmost visible item whose middle lies right of `x`;
// hidden items just left of the item it lands beside stay left of it.
void SimDesktop::moveStatusItem(double x)
{
    if (m_scenario.screens.isEmpty())
        return;
    const Layout& current = m_layout;
    const QHash<SimBarKey, QList<Slot>> running = runningSlots();
    std::optional<SimBarKey> neighbour;
    for (const SimBarKey& key : m_order.keys()) {
        if (key == statusItemKey())
            continue;
        for (const Slot& slot : running.value(key)) {
            const auto frame = current.frames.value(slot.app->pid).value(slot.index);
            if (frame && frame->midX() > x)
                neighbour = key;
        }
    }
    m_order.placeLeftOf(statusItemKey(), neighbour);
    m_scenario.statusItemFrame.reset();
    rememberStatusItemPlace();
    republish();
    emit menuBarChanged();
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

QHash<SimBarKey, QList<SimDesktop::Slot>> SimDesktop::runningSlots() const
{
    QHash<SimBarKey, QList<Slot>> running;
    for (const auto& app : m_running) {
        for (int i = 0; i < app->items.size(); ++i)
            running[keyOf(*app, i)].append({app.get(), i});
    }
    return running;
}

// Right to left from the primary screen's right edge, in the order the bar remembers: items
// of applications not running leave no gap, nor do hidden items; without a screen no item
// has a place. Tuckaway's icon stands where the scenario put it, when it did, until it is
// moved; it keeps its place in the row.
SimDesktop::Layout SimDesktop::computeLayout() const
{
    const QHash<SimBarKey, QList<Slot>> running = runningSlots();
    QList<Slot> order;
    for (const SimBarKey& key : m_order.keys())
        order.append(running.value(key));
    const SimApplication* own = application(ownPid());

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
        const bool fixed = slot.app == own && m_scenario.statusItemFrame;
        const Rect frame =
            fixed ? *m_scenario.statusItemFrame : Rect{right, bar.y, width, bar.height};
        frames[slot.index] = frame;
        result.bar.append({slot.app->pid, slot.index, frame, slot.app == own, true});
    }
    for (const auto& app : m_running) {
        if (!app->menus.isEmpty())
            result.menus.insert(app->pid, menuLayout(*app));
    }
    markUnshown(result);
    return result;
}

} // namespace tk
