#include "app/AppDelegate.h"
#include "app/DesktopServices.h"
#include "app/SettingsWindow.h"
#include "app/StatusItem.h"
#include "app/StatusItemPlaceWait.h"
#include "inspection/Workspace.h"
#include "app/Platform.h"
#include "visibility/BoundaryPolicy.h"

#include <QPointer>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QString missingAccessibilityNotice =
    u"No se aplicó: falta Accesibilidad para esta copia. Autorízala en Permisos y diagnóstico."_s;
const QString nothingLeftNotice = u"No se detectaron apps ocultables a la izquierda. Usa "
                                  u"⌘-arrastrar para colocar el separador."_s;
const QString nothingSelectedNotice = u"Selecciona al menos una app en Organización."_s;
const QString shortcutShowAllNotice = u"Atajo ejecutado: mostrar todo y pausar."_s;

constexpr int organizationSection = 1;
constexpr int permissionsSection = 3;

// Left and bottom edges belong to the rectangle, right and top edges do not.
bool contains(const Rect& rect, const QPointF& point)
{
    return point.x() >= rect.minX() && point.x() < rect.maxX() && point.y() >= rect.minY() &&
           point.y() < rect.maxY();
}

// The top band of a screen, every edge included.
bool inMenuBarBand(const Rect& screen, const QPointF& point, double bandHeight)
{
    return point.x() >= screen.minX() && point.x() <= screen.maxX() &&
           point.y() >= screen.maxY() - bandHeight && point.y() <= screen.maxY();
}

} // namespace

void AppDelegate::clickStatusItem(const StatusItemEvent& event)
{
    if (event.opensMenu()) {
        showMenu();
        return;
    }
    toggleVisibility();
}

void AppDelegate::toggleVisibility()
{
    if (!m_visibility.active() && !m_visibility.pending()) {
        collapse();
        return;
    }
    expand();
}

void AppDelegate::expand()
{
    m_visibility.restore();
    m_expandedAt = now();
}

// The icons' positions are read afresh before every collapse; whatever raises the
// generation while the scan runs makes this collapse end without effect.
void AppDelegate::collapse()
{
    if (m_visibility.active() || m_visibility.pending())
        return;
    if (!m_inspector.isAuthorized()) {
        m_preferences.setNotice(missingAccessibilityNotice);
        openSettings(permissionsSection);
        return;
    }
    const qint64 generation = ++m_collapseGeneration;
    later([this, generation] {
        QPointer<AppDelegate> self(this);
        m_inspector.scan([self, generation] {
            if (self)
                self->finishCollapse(generation);
        });
    });
}

void AppDelegate::finishCollapse(qint64 generation)
{
    if (generation != m_collapseGeneration || m_visibility.active() || m_visibility.pending())
        return;
    const SettingsData record = m_preferences.data();
    QSet<QString> hidden;
    if (record.mode == u"manual"_s) {
        hidden = QSet<QString>(record.hiddenBundles.cbegin(), record.hiddenBundles.cend());
    } else {
        const std::optional<QSet<QString>> leftOfSeparator = boundaryHiddenSet();
        if (!leftOfSeparator) {
            m_preferences.setNotice(StatusItemPlaceWait::unreadableNotice);
            return;
        }
        hidden = *leftOfSeparator;
    }
    if (hidden.isEmpty()) {
        m_expandedAt.reset();
        m_preferences.setNotice(record.mode == u"boundary"_s ? nothingLeftNotice
                                                             : nothingSelectedNotice);
        openSettings(organizationSection);
        return;
    }
    m_preferences.setNotice(QString());
    if (!m_visibility.pending() && !m_visibility.active()) {
        m_hiddenGroup = hidden;
        m_hiddenIcons = HiddenIcons::of(m_inspector.items(), hidden);
        m_reveal.reset();
        m_visibility.activate(hidden);
    }
}

// The status item's button in accessibility space; nothing when its place cannot be read.
std::optional<Rect> AppDelegate::boundary() const
{
    if (!m_item || !m_item->hasButton() || !m_item->buttonWindowFrame())
        return std::nullopt;
    const QList<ScreenInfo> screens = m_desktop.screens();
    const std::optional<Rect> button = m_item->buttonFrameOnScreen();
    if (!button || screens.isEmpty())
        return std::nullopt;
    const double top = screens.first().frame.maxY();
    return Rect{button->minX(), top - button->maxY(), button->width, button->height};
}

// The boundary decides; its placement is added to the scan's report, and why each
// application stays or goes is published. Nothing when the button's place cannot be read.
std::optional<QSet<QString>> AppDelegate::boundaryHiddenSet()
{
    const std::optional<Rect> separator = boundary();
    if (!separator)
        return std::nullopt;
    m_inspector.setReport(m_inspector.report() + u"\nSeparador ventana="_s +
                          m_item->buttonWindowFrame().value_or(Rect()).text() + u"; botón="_s +
                          m_item->buttonFrameOnScreen().value_or(Rect()).text() + u"; AX="_s +
                          separator->text());

    QList<PositionedItem> items;
    for (const ExternalItem& item : m_inspector.items()) {
        if (item.bundleID)
            items.append({*item.bundleID, item.frame});
    }
    const std::optional<QString> own = m_platform.workspace().mainBundleIdentifier();
    m_decisions = BoundaryPolicy::decisions(items, *separator, own.value_or(QString()));
    Q_EMIT boundaryDecided();
    return BoundaryPolicy::hidden(items, *separator);
}

// After every published scan: the status line names the applications with an icon out of
// sight; once none is, the line it replaced comes back. The tooltip follows.
void AppDelegate::checkSight()
{
    const bool saidBefore = !m_unseenIcons.isEmpty() &&
                            m_visibility.message() == UnseenIcons::statusLine(m_unseenIcons);
    if (!saidBefore)
        m_messageBeforeSight = m_visibility.message();
    m_unseenIcons =
        UnseenIcons::of(m_inspector.items(), UnseenIcons::sightScreens(m_desktop.screens()),
                        m_inspector.frontMenus());
    if (!m_unseenIcons.isEmpty())
        m_visibility.announce(UnseenIcons::statusLine(m_unseenIcons));
    else if (saidBefore)
        m_visibility.announce(m_messageBeforeSight);
    updateGlyph(m_visibility.active(), m_visibility.pending(), std::nullopt);
    Q_EMIT sightChecked();
}

void AppDelegate::showAll()
{
    ++m_collapseGeneration;
    m_reveal.reset();
    m_preferences.setNotice(QString());
    m_visibility.restore();
    m_expandedAt.reset();
    writeUIReport();
}

void AppDelegate::refresh()
{
    showAll();
    later([this] {
        QPointer<AppDelegate> self(this);
        m_inspector.scan([self] {
            if (self)
                self->writeUIReport();
        });
    });
}

// The record of the moment of the press decides, not the one the shortcut was set up with.
void AppDelegate::shortcutPressed()
{
    const std::optional<HotKeySettings>& hotkey = m_preferences.data().hotkey;
    if (hotkey && hotkey->action == u"showAll"_s) {
        showAll();
        m_preferences.setNotice(shortcutShowAllNotice);
        return;
    }
    if (hotkey && hotkey->action == u"showHiddenIcon"_s) {
        showHiddenIconsMenu();
        return;
    }
    toggleVisibility();
}

// While a scan runs neither the hover nor the countdown is looked at; the countdown's
// start stays, so the time spent scanning counts.
void AppDelegate::tick()
{
    if (!m_item || !m_item->hasButton())
        return;
    const std::optional<Rect> frame = m_item->buttonWindowFrame();
    if (!frame || m_inspector.isScanning())
        return;
    const double current = now();
    const QPointF pointer = m_desktop.pointerPosition();
    if (m_preferences.data().hoverReveal && m_visibility.active() && contains(*frame, pointer)) {
        if (!m_hoverBegan)
            m_hoverBegan = current;
        if (current - *m_hoverBegan >= hoverRevealDelay) {
            m_visibility.restore();
            m_expandedAt = current;
            m_hoverBegan.reset();
        }
    } else {
        m_hoverBegan.reset();
    }
    runCountdown(current, pointer);
}

// Holding the countdown restarts it: the group collapses `delay` seconds after the last
// tick that found the pointer in a menu-bar band, the settings window open or a mouse
// button held.
void AppDelegate::runCountdown(double current, const QPointF& pointer)
{
    const SettingsData& record = m_preferences.data();
    // A revealed icon hides again once pressed, whether or not auto-collapse is on.
    const bool revealed = m_reveal && m_reveal->pressed;
    if ((!record.autoCollapse && !revealed) || m_visibility.active() || m_visibility.pending() ||
        !m_expandedAt || (m_reveal && !m_reveal->pressed))
        return;
    if (countdownHeld(pointer)) {
        m_expandedAt = current;
        return;
    }
    if (current - *m_expandedAt >= double(record.delay)) {
        m_expandedAt.reset();
        collapse();
    }
}

// The pointer in a menu-bar band, the settings window open, a mouse button held or another
// application's menu open (a revealed item's) hold the countdown.
bool AppDelegate::countdownHeld(const QPointF& pointer) const
{
    // Read through a const list: iterating the returned copy directly would detach it.
    const QList<ScreenInfo> screens = m_desktop.screens();
    for (const ScreenInfo& screen : screens) {
        if (inMenuBarBand(screen.frame, pointer, menuBarBandHeight))
            return true;
    }
    return (m_settingsWindow && m_settingsWindow->isVisible()) ||
           m_desktop.isAnyMouseButtonPressed() || (m_reveal && m_desktop.isOtherMenuOpen());
}

} // namespace tk
