#include "SimMenuBarView.h"

#include "app/StatusItem.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimStatusItem.h"
#include "ui/ViewStyle.h"

#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace tk {

using namespace Qt::StringLiterals;

SimMenuBarView::SimMenuBarView(SimDesktop& desktop, SimDesktopServices& services, QWidget* parent)
    : QWidget(parent), m_desktop(desktop), m_services(services), m_scene(desktop, 1.0)
{
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(&m_desktop, &SimDesktop::screensChanged, this, [this] {
        if (m_fitPixels)
            fitWidth(*m_fitPixels);
    });
    connect(&m_desktop, &SimDesktop::menuBarChanged, this, &SimMenuBarView::rebuild);
    // A press opens an item's menu on the thread of the scan that made it.
    connect(&m_desktop, &SimDesktop::itemMenuChanged, this, &SimMenuBarView::rebuild,
            Qt::QueuedConnection);
    rebuild();
}

SimMenuBarView::~SimMenuBarView() = default;

// The primary screen's bar, where the items stand, decides; wider screens may scroll.
void SimMenuBarView::fitWidth(int pixels)
{
    m_fitPixels = pixels;
    const QList<SimScreen>& screens = m_desktop.screens();
    const double primary = screens.isEmpty() ? 0.0 : screens.first().frame.standardized().width;
    const double room = pixels - 2 * SimMenuBarScene::margin;
    const double scale = primary > 0.0 ? qBound(minimumScale, room / primary, 1.0) : 1.0;
    if (scale == m_scale)
        return;
    m_scale = scale;
    rebuild();
}

void SimMenuBarView::setLanguage(const QString& language)
{
    m_language = language;
    update();
}

void SimMenuBarView::setMenuOpen(bool open)
{
    m_menuOpen = open;
    update();
}

std::optional<QPoint> SimMenuBarView::menuAnchor() const
{
    const std::optional<QRectF> icon = m_scene.ownItemRect();
    if (!icon)
        return std::nullopt;
    return mapToGlobal(QPointF(icon->left(), icon->bottom()).toPoint());
}

// The status item is created by the application's launch, after the desktop exists.
void SimMenuBarView::rebuild()
{
    if (SimStatusItem* item = statusItem(); item && item != m_connectedItem) {
        m_connectedItem = item;
        connect(item, &SimStatusItem::appearanceChanged, this, qOverload<>(&QWidget::update));
    }
    m_scene = SimMenuBarScene(m_desktop, m_scale);
    setFixedSize(m_scene.size().toSize());
    update();
    Q_EMIT sceneChanged();
}

SimStatusItem* SimMenuBarView::statusItem() const
{
    return m_services.statusItem();
}

bool SimMenuBarView::onIcon(QPointF pos) const
{
    const std::optional<QRectF> icon = m_scene.ownItemRect();
    return icon && icon->contains(pos);
}

void SimMenuBarView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    SimMenuBarScene::Look look;
    look.language = m_language;
    if (SimStatusItem* item = statusItem())
        look.glyph = item->image();
    look.ownHighlighted = m_menuOpen || (m_press && m_press->onIcon && !m_press->commandDrag);
    look.dragAt = m_dragAt;
    look.dark = ViewStyle::isDark(palette());
    m_scene.paint(painter, look);
}

void SimMenuBarView::movePointer(QPointF pos)
{
    if (const std::optional<QPointF> point = m_scene.toScreenSpace(pos))
        m_services.setPointerPosition(*point);
    else
        pointerAway();
}

void SimMenuBarView::pointerAway()
{
    const QList<SimScreen>& screens = m_desktop.screens();
    const Rect primary = screens.isEmpty() ? Rect{} : screens.first().frame;
    m_services.setPointerPosition({primary.midX(), primary.midY()});
}

void SimMenuBarView::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF pos = event->position();
    movePointer(pos);
    if (m_press && m_press->commandDrag &&
        (m_dragAt || (pos - m_press->at).manhattanLength() >= QApplication::startDragDistance())) {
        m_dragAt = pos;
        update();
    }
}

void SimMenuBarView::mousePressEvent(QMouseEvent* event)
{
    const QPointF pos = event->position();
    movePointer(pos);
    m_services.setMouseButtonPressed(true);
    m_desktop.closeItemMenu(); // a click anywhere closes an application's item menu
    if (m_press)
        return; // a second button during a press changes nothing but the held buttons
    Press press;
    press.button = event->button();
    press.at = pos;
    press.onIcon = onIcon(pos);
    // The system keeps ⌘-presses on a status item for moving it; the item never sees them.
    press.commandDrag = press.onIcon && press.button == Qt::LeftButton &&
                        event->modifiers().testFlag(Qt::ControlModifier);
    m_press = press;
    update();
}

void SimMenuBarView::mouseReleaseEvent(QMouseEvent* event)
{
    const QPointF pos = event->position();
    movePointer(pos);
    m_services.setMouseButtonPressed(event->buttons() != Qt::NoButton);
    if (!m_press || event->button() != m_press->button)
        return;
    const Press press = *m_press;
    m_press.reset();
    if (press.commandDrag) {
        if (m_dragAt)
            drop(pos);
    } else if (press.onIcon && onIcon(pos)) {
        deliverClick(*event);
    }
    update();
}

void SimMenuBarView::deliverClick(const QMouseEvent& event)
{
    SimStatusItem* item = statusItem();
    if (!item || (event.button() != Qt::LeftButton && event.button() != Qt::RightButton))
        return;
    StatusItemEvent click;
    click.kind = event.button() == Qt::RightButton ? StatusItemEvent::Kind::RightMouseUp
                                                   : StatusItemEvent::Kind::LeftMouseUp;
    const Qt::KeyboardModifiers modifiers = event.modifiers();
    click.option = modifiers.testFlag(Qt::AltModifier);
    click.command = modifiers.testFlag(Qt::ControlModifier);
    click.control = modifiers.testFlag(Qt::MetaModifier);
    click.shift = modifiers.testFlag(Qt::ShiftModifier);
    item->click(click);
}

// Only the primary screen's bar holds items; anywhere else the icon springs back.
void SimMenuBarView::drop(QPointF pos)
{
    m_dragAt.reset();
    if (const std::optional<double> x = m_scene.dropX(pos)) {
        m_desktop.moveStatusItem(*x);
        return;
    }
    if (m_scene.barAt(pos))
        Q_EMIT dropRefused(u"Suelta el icono en la barra de la pantalla principal: es la que "
                           "muestra los iconos. Ha vuelto a su sitio."_s);
    else
        Q_EMIT dropRefused(u"El icono de Tuckaway no sale de la barra de menús: ha vuelto a su "
                           "sitio."_s);
}

void SimMenuBarView::leaveEvent(QEvent* event)
{
    pointerAway();
    QWidget::leaveEvent(event);
}

bool SimMenuBarView::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    SimStatusItem* item = statusItem();
    const std::optional<QRectF> icon = m_scene.ownItemRect();
    if (item && icon && icon->contains(help->pos()) && !item->toolTip().isEmpty())
        QToolTip::showText(help->globalPos(), item->toolTip(), this, icon->toRect());
    else
        QToolTip::hideText();
    return true;
}

} // namespace tk
