#include "app/AppDelegate.h"
#include "artwork/StatusGlyph.h"
#include "app/StatusItem.h"

#include <QPointer>

namespace tk {

using namespace Qt::StringLiterals;

namespace {
const QString nothingHiddenNotice = u"No hay iconos ocultos."_s;
} // namespace

// The picture follows the hiding state only; an outstanding request shows in the tooltip.
void AppDelegate::updateGlyph(bool collapsed, bool pending, const std::optional<QString>& style)
{
    if (!m_item || !m_item->hasButton())
        return;
    m_item->setImage(StatusGlyph::make(collapsed, style.value_or(m_preferences.data().symbol),
                                       StatusGlyph::defaultDevicePixelRatio,
                                       m_preferences.language()));
    if (pending)
        m_item->setToolTip(text(u"Aplicando…"_s));
    else if (collapsed)
        m_item->setToolTip(text(u"Mostrar iconos ocultos · clic derecho para configurar"_s));
    else if (m_unseenIcons.isEmpty())
        m_item->setToolTip(text(u"Ocultar grupo · clic derecho para configurar"_s));
    else
        m_item->setToolTip(text(u"Ocultar grupo · clic derecho para configurar"_s) + u'\n' +
                           text(UnseenIcons::statusLine(m_unseenIcons)));
}

// Built anew at every opening and held by the item only while open, so plain left clicks
// keep reaching `clickStatusItem`.
void AppDelegate::showMenu()
{
    if (!m_item || !m_item->hasButton())
        return;
    QPointer<AppDelegate> self(this);
    const auto call = [self](void (AppDelegate::*operation)()) {
        return [self, operation] {
            if (self)
                (self.data()->*operation)();
        };
    };
    const QString first = m_visibility.active() ? u"Mostrar iconos ocultos"_s : u"Ocultar grupo"_s;
    QList<MenuEntry> menu{
        {text(first), QString(), call(&AppDelegate::toggleVisibility)},
        {text(u"Mostrar todo y pausar"_s), QString(), call(&AppDelegate::showAll)},
        {text(u"Configuración…"_s), u","_s, call(&AppDelegate::openConfiguration)},
        MenuEntry::separator(),
        {text(u"Salir de Tuckaway"_s), u"q"_s,
         [self] {
             if (self)
                 Q_EMIT self->quitRequested(0);
         }},
    };
    // The icons of the hiding in force and those out of sight, after the entries of every menu.
    if ((m_visibility.active() && !m_hiddenIcons.isEmpty()) || !m_unseenIcons.isEmpty())
        menu.insert(3, MenuEntry::opening(text(hiddenIconsTitle), hiddenIconEntries()));
    m_item->popUpMenu(menu);
}

// The hidden icons' entries alone, at the icon. With nothing hidden there is nothing to
// choose: the whole menu opens instead, whose first entry hides the group, and the notice
// says why.
void AppDelegate::showHiddenIconsMenu()
{
    if (!m_item || !m_item->hasButton())
        return;
    if (!m_visibility.active() || m_hiddenIcons.isEmpty()) {
        m_preferences.setNotice(nothingHiddenNotice);
        showMenu();
        return;
    }
    const std::vector<MenuEntry> entries = hiddenIconEntries();
    m_item->popUpMenu(QList<MenuEntry>(entries.cbegin(), entries.cend()));
}

} // namespace tk
