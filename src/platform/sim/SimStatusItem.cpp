#include "SimStatusItem.h"

#include "platform/sim/SimDesktop.h"

namespace tk {

SimStatusItem::SimStatusItem(const SimDesktop& desktop, double length, QString autosaveName,
                             bool hasButton, int layoutTurns, QObject* parent)
    : QObject(parent), m_desktop(desktop), m_length(length),
      m_autosaveName(std::move(autosaveName)), m_hasButton(hasButton),
      m_turnsBeforeLayout(layoutTurns)
{
    if (m_turnsBeforeLayout > 0)
        QMetaObject::invokeMethod(this, &SimStatusItem::turn, Qt::QueuedConnection);
}

void SimStatusItem::turn()
{
    if (--m_turnsBeforeLayout > 0)
        QMetaObject::invokeMethod(this, &SimStatusItem::turn, Qt::QueuedConnection);
}

SimStatusItem::~SimStatusItem() = default;

void SimStatusItem::setImage(const GlyphImage& glyph)
{
    if (!m_hasButton)
        return;
    m_glyph = glyph;
    Q_EMIT appearanceChanged();
}

QImage SimStatusItem::image() const
{
    return m_glyph ? m_glyph->image : QImage();
}

void SimStatusItem::setToolTip(const QString& text)
{
    if (!m_hasButton)
        return;
    m_toolTip = text;
    Q_EMIT appearanceChanged();
}

void SimStatusItem::setClickHandler(ClickHandler handler)
{
    m_clickHandler = std::move(handler);
}

// The button fills its window, which stands where the desktop lays the item out.
std::optional<Rect> SimStatusItem::buttonWindowFrame() const
{
    if (!m_hasButton || m_turnsBeforeLayout != 0)
        return std::nullopt;
    const std::optional<Rect> frame = m_desktop.statusItemFrame();
    if (!frame)
        return std::nullopt;
    return m_desktop.toScreenSpace(*frame);
}

std::optional<Rect> SimStatusItem::buttonFrameOnScreen() const
{
    return buttonWindowFrame();
}

void SimStatusItem::popUpMenu(const QList<MenuEntry>& menu)
{
    if (!m_hasButton)
        return;
    m_openMenu = menu;
    ++m_menuCount;
    Q_EMIT menuPoppedUp();
}

void SimStatusItem::click(const StatusItemEvent& event)
{
    if (m_hasButton && m_clickHandler)
        m_clickHandler(event);
}

bool SimStatusItem::chooseMenuEntry(int index)
{
    return chooseMenuPath({index});
}

bool SimStatusItem::chooseMenuPath(const QList<int>& path)
{
    if (!m_openMenu || path.isEmpty())
        return false;
    std::vector<MenuEntry> level(m_openMenu->cbegin(), m_openMenu->cend());
    MenuEntry entry;
    for (const int index : path) {
        if (index < 0 || std::size_t(index) >= level.size())
            return false;
        entry = level.at(std::size_t(index));
        level = entry.submenu;
    }
    if (entry.isSeparator || !entry.action)
        return false;
    m_openMenu.reset();
    entry.action();
    return true;
}

} // namespace tk
