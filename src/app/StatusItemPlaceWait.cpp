#include "StatusItemPlaceWait.h"

#include "app/DesktopServices.h"
#include "app/StatusItem.h"
#include "core/Time.h"

#include <algorithm>

namespace tk {

bool StatusItemPlaceWait::isSettled(const Rect& windowFrame, const QList<ScreenInfo>& screens)
{
    if (!windowFrame.isFinite() || windowFrame.isEmpty())
        return false;
    return std::any_of(screens.cbegin(), screens.cend(), [&windowFrame](const ScreenInfo& screen) {
        const Rect& bounds = screen.frame;
        return windowFrame.maxX() > bounds.minX() && windowFrame.minX() < bounds.maxX() &&
               windowFrame.minY() <= bounds.maxY() && windowFrame.maxY() >= bounds.maxY();
    });
}

StatusItemPlaceWait::StatusItemPlaceWait(const StatusItem& item, const DesktopServices& desktop,
                                         TimeSource& time, std::function<void(bool placed)> done)
    : m_item(item), m_desktop(desktop), m_done(std::move(done)),
      m_timer(time.createTimer([this] { look(); }))
{
    if (isPlaced())
        m_done(true);
    else
        m_timer->start(pollInterval, true);
}

StatusItemPlaceWait::~StatusItemPlaceWait() = default;

bool StatusItemPlaceWait::isPlaced() const
{
    const std::optional<Rect> frame = m_item.buttonWindowFrame();
    return frame && isSettled(*frame, m_desktop.screens());
}

void StatusItemPlaceWait::look()
{
    const bool placed = isPlaced();
    if (!placed && ++m_looks < pollLimit)
        return;
    m_timer->stop();
    m_done(placed);
}

} // namespace tk
