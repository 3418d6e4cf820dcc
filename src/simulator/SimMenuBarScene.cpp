#include "SimMenuBarScene.h"

#include "artwork/StatusGlyph.h"
#include "platform/sim/SimDesktop.h"
#include "simulator/SimMenuBarDrawing.h"
#include "simulator/SimulatorTexts.h"

#include <QLinearGradient>
#include <algorithm>
#include <QPainter>
#include <QPainterPath>

namespace tk {

using namespace Qt::StringLiterals;
using namespace SimMenuBarDrawing;

namespace {

const QColor surroundColour(0x26, 0x29, 0x2f);
const QColor labelColour(0xcf, 0xd3, 0xda);

// The bar's font, smaller where `text` would not fit `width`: a title never spills over.
QFont fittingFont(double scale, const QString& text, double width)
{
    QFont font = barFont(scale);
    const double needed = QFontMetricsF(font).horizontalAdvance(text);
    if (needed > width && needed > 0.0)
        font.setPixelSize(qMax(6, int(font.pixelSize() * width / needed)));
    return font;
}

} // namespace

namespace SimMenuBarDrawing {

Colours coloursFor(bool dark)
{
    if (dark)
        return {QColor(0x2c, 0x2c, 0x2e, 236), QColor(0xf2, 0xf2, 0xf7), QColor(255, 255, 255, 60),
                QColor(0x32, 0x32, 0x35, 248), QColor(0xf2, 0xf2, 0xf7), QColor(255, 255, 255, 46)};
    return {QColor(0xee, 0xee, 0xef, 236), QColor(0x1d, 0x1d, 0x1f), QColor(0, 0, 0, 46),
            QColor(0xf6, 0xf6, 0xf6, 250), QColor(0x1d, 0x1d, 0x1f), QColor(0, 0, 0, 40)};
}

QString textOf(const SimText& text)
{
    return text.kind == SimText::Kind::String ? text.string : QString();
}

QFont barFont(double scale, bool bold)
{
    QFont font;
    font.setPixelSize(qMax(7, qRound(13.0 * scale)));
    font.setBold(bold);
    return font;
}

} // namespace SimMenuBarDrawing

SimMenuBarScene::SimMenuBarScene(const SimDesktop& desktop, double scale, QList<MenuEntry> ownMenu)
    : m_scale(scale > 0.0 ? scale : 1.0), m_ownMenu(std::move(ownMenu))
{
    layOutItemMenu(desktop);
    layOutStrips(desktop);
    layOutItems(desktop);
    layOutMenus(desktop);
}

// Every strip starts at the same left edge, right of the off-screen zone if there is one.
void SimMenuBarScene::layOutStrips(const SimDesktop& desktop)
{
    double leftmost = 0.0; // points left of the primary screen that the bar's items reach
    const QList<SimScreen>& screens = desktop.screens();
    if (!screens.isEmpty()) {
        const double primaryLeft = screens.first().frame.minX();
        for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems())
            leftmost = qMax(leftmost, primaryLeft - item.frame.minX());
    }
    const double overflowWidth = leftmost > 0.0 ? (leftmost + overflowPadding) * m_scale : 0.0;
    const double left = margin + overflowWidth;
    double top = margin;
    double widest = 0.0;
    for (int i = 0; i < screens.size(); ++i) {
        Strip strip;
        strip.screen = i;
        strip.frame = screens.at(i).frame.standardized();
        const double width = qMax(0.0, strip.frame.width) * m_scale;
        strip.label = QRectF(left, top, qMax(width, 240.0), labelHeight);
        top += labelHeight;
        const double barHeight = SimDesktop::barHeight(screens.at(i));
        const double depth = i == 0 ? qMax(deskDepth, menusDepth()) : deskDepth;
        strip.area = QRectF(left, top, width, (barHeight + depth) * m_scale);
        strip.bar = QRectF(left, top, width, barHeight * m_scale);
        if (const std::optional<Rect> notch = screens.at(i).notchFrame())
            strip.notch = QRectF(left + (notch->x - strip.frame.x) * m_scale, top,
                                 notch->width * m_scale, notch->height * m_scale);
        top += strip.area.height() + margin;
        widest = qMax(widest, qMax(width, strip.label.width()));
        m_strips.append(strip);
    }
    if (overflowWidth > 0.0 && !m_strips.isEmpty())
        m_overflow = QRectF(margin, m_strips.first().area.top(), overflowWidth,
                            m_strips.first().area.height());
    if (screens.isEmpty()) { // room to say so, as high as one screen's strip
        widest = noScreenWidth;
        top += labelHeight + (SimDesktop::menuBarHeight + deskDepth) * m_scale + margin;
    }
    m_size = QSizeF(left + widest + margin, top);
}

void SimMenuBarScene::layOutItems(const SimDesktop& desktop)
{
    if (m_strips.isEmpty())
        return;
    const Rect primary = m_strips.first().frame;
    for (const SimDesktop::BarItem& barItem : desktop.visibleMenuBarItems()) {
        Item item;
        item.pid = barItem.pid;
        item.index = barItem.index;
        item.own = barItem.own;
        item.shown = barItem.shown;
        item.rect = toScene(barItem.frame);
        item.offScreen =
            barItem.frame.minX() < primary.minX() || barItem.frame.maxX() > primary.maxX();
        if (const SimApplication* app = desktop.application(barItem.pid)) {
            const SimElement& element = app->items.value(barItem.index);
            item.title = textOf(element.title);
            item.description = textOf(element.description);
            if (item.description.isEmpty())
                item.description = app->name.value_or(app->bundleIdentifier.value_or(QString()));
        }
        m_items.append(item);
    }
}

void SimMenuBarScene::layOutMenus(const SimDesktop& desktop)
{
    const std::optional<qint32> front = desktop.frontmost();
    const SimApplication* app = front ? desktop.application(*front) : nullptr;
    if (m_strips.isEmpty() || !app)
        return;
    const QList<Rect> frames = desktop.frontMenuFrames();
    for (qsizetype i = 0; i < frames.size() && i < app->menus.size(); ++i)
        m_menus.append({toScene(frames.at(i)), app->menus.at(i).title});
}

// Accessibility space has its origin at the primary screen's top-left, as the strip has.
QRectF SimMenuBarScene::toScene(const Rect& frame) const
{
    const Strip& primary = m_strips.first();
    const Rect r = frame.standardized();
    return QRectF(primary.area.left() + (r.x - primary.frame.minX()) * m_scale,
                  primary.area.top() + r.y * m_scale, r.width * m_scale, r.height * m_scale);
}

std::optional<QRectF> SimMenuBarScene::ownItemRect() const
{
    for (const Item& item : m_items) {
        if (item.own)
            return item.rect;
    }
    return std::nullopt;
}

int SimMenuBarScene::offScreenCount() const
{
    return int(std::count_if(m_items.cbegin(), m_items.cend(),
                             [](const Item& item) { return item.offScreen; }));
}

bool SimMenuBarScene::ownItemOffScreen() const
{
    return std::any_of(m_items.cbegin(), m_items.cend(),
                       [](const Item& item) { return item.own && item.offScreen; });
}

std::optional<QPointF> SimMenuBarScene::toScreenSpace(QPointF pos) const
{
    for (const Strip& strip : m_strips) {
        const QRectF& area = strip.area;
        if (pos.y() < area.top() || pos.y() >= area.bottom())
            continue;
        const double left =
            strip.screen == 0 && !m_overflow.isEmpty() ? m_overflow.left() : area.left();
        if (pos.x() < left || pos.x() >= area.right())
            return std::nullopt;
        return QPointF(strip.frame.minX() + (pos.x() - area.left()) / m_scale,
                       strip.frame.maxY() - (pos.y() - area.top()) / m_scale);
    }
    return std::nullopt;
}

std::optional<double> SimMenuBarScene::dropX(QPointF pos) const
{
    if (barAt(pos) != 0)
        return std::nullopt;
    const Strip& primary = m_strips.first();
    return primary.frame.minX() + (pos.x() - primary.area.left()) / m_scale;
}

std::optional<int> SimMenuBarScene::barAt(QPointF pos) const
{
    for (const Strip& strip : m_strips) {
        QRectF bar = strip.bar;
        if (strip.screen == 0 && !m_overflow.isEmpty())
            bar.setLeft(m_overflow.left());
        if (bar.contains(pos))
            return strip.screen;
    }
    return std::nullopt;
}

QImage SimMenuBarScene::render(const Look& look) const
{
    QImage image(m_size.toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, look);
    return image;
}

void SimMenuBarScene::paint(QPainter& painter, const Look& look) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(QRectF(QPointF(0, 0), m_size), surroundColour);
    if (!m_overflow.isEmpty())
        paintOverflow(painter, look);
    for (const Strip& strip : m_strips)
        paintStrip(painter, strip, look);
    paintAppMenus(painter, look);
    for (const Item& item : m_items) {
        if (!(item.own && look.dragAt) && (item.shown || item.own))
            paintItem(painter, item, look);
    }
    for (const Strip& strip : m_strips) {
        if (strip.notch)
            paintNotch(painter, *strip.notch);
    }
    paintMenus(painter, look);
    if (look.dragAt && ownItemRect()) {
        QRectF ghost = *ownItemRect();
        ghost.moveCenter(*look.dragAt);
        painter.setOpacity(0.75);
        painter.fillRect(ghost, coloursFor(look.dark).bar);
        paintGlyph(painter, ghost, look);
        painter.setOpacity(1.0);
    }
    if (m_strips.isEmpty()) {
        painter.setPen(labelColour);
        painter.drawText(
            QRectF(QPointF(0, 0), m_size), Qt::AlignCenter,
            SimulatorTexts::text(u"Este escritorio no tiene pantallas."_s, look.language));
    }
    painter.restore();
}

void SimMenuBarScene::paintStrip(QPainter& painter, const Strip& strip, const Look& look) const
{
    const QString size =
        shortestNumber(strip.frame.width) + u" × "_s + shortestNumber(strip.frame.height);
    const QString label =
        strip.screen == 0 ? SimulatorTexts::text(u"Pantalla %1 · principal · %2"_s, look.language)
                          : SimulatorTexts::text(u"Pantalla %1 · %2"_s, look.language);
    painter.setPen(labelColour);
    painter.setFont(QFont());
    painter.drawText(strip.label, Qt::AlignLeft | Qt::AlignVCenter,
                     label.arg(strip.screen + 1).arg(size));

    QLinearGradient desk(strip.area.topLeft(), strip.area.bottomRight());
    desk.setColorAt(0.0, QColor(0x3a, 0x6e, 0xa5));
    desk.setColorAt(1.0, QColor(0x6f, 0x5a, 0xa8));
    painter.fillRect(strip.area, desk);
    painter.fillRect(strip.bar, coloursFor(look.dark).bar);

    // The top 30 points count as the menu-bar band, whether or not a bar is shown there.
    const double band = strip.area.top() + 30.0 * m_scale;
    painter.setPen(QPen(QColor(255, 255, 255, 110), 1.0, Qt::DashLine));
    painter.drawLine(QPointF(strip.area.left(), band), QPointF(strip.area.right(), band));
}

// The frontmost application's menus where they stand: the Apple menu as its mark, the
// application's own menu in bold. Items the system leaves undrawn lie under them.
void SimMenuBarScene::paintAppMenus(QPainter& painter, const Look& look) const
{
    painter.save();
    painter.setPen(coloursFor(look.dark).barText);
    painter.setBrush(coloursFor(look.dark).barText);
    bool named = false;
    for (const Menu& menu : m_menus) {
        painter.setClipRect(menu.rect);
        if (menu.title == u"Apple"_s) {
            painter.drawEllipse(menu.rect.center(), 5 * m_scale, 5 * m_scale);
            continue;
        }
        painter.setFont(barFont(m_scale, !named));
        named = true;
        painter.drawText(menu.rect, Qt::AlignCenter, menu.title);
    }
    painter.restore();
}

// The camera housing: black, its lower corners rounded.
void SimMenuBarScene::paintNotch(QPainter& painter, const QRectF& notch) const
{
    const double radius = 8.0 * m_scale;
    QPainterPath path;
    path.moveTo(notch.topLeft());
    path.lineTo(notch.topRight());
    path.lineTo(notch.right(), notch.bottom() - radius);
    path.quadTo(notch.bottomRight(), QPointF(notch.right() - radius, notch.bottom()));
    path.lineTo(notch.left() + radius, notch.bottom());
    path.quadTo(notch.bottomLeft(), QPointF(notch.left(), notch.bottom() - radius));
    path.closeSubpath();
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    painter.drawPath(path);
    painter.restore();
}

void SimMenuBarScene::paintItem(QPainter& painter, const Item& item, const Look& look) const
{
    // Narrower than a pixel at this scale, nothing of it could show; laying out the text of
    // thousands of such items would take seconds.
    if (!item.own && item.rect.width() < 1.0)
        return;
    painter.save();
    painter.setClipRect(item.rect);
    if (item.offScreen)
        painter.setOpacity(0.6);
    if (!item.shown)
        painter.setOpacity(0.3);
    if (item.own) {
        if (look.ownHighlighted) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(coloursFor(look.dark).highlight);
            painter.drawRoundedRect(item.rect.adjusted(1, 2 * m_scale, -1, -2 * m_scale),
                                    4 * m_scale, 4 * m_scale);
        }
        paintGlyph(painter, item.rect, look);
        painter.restore();
        return;
    }
    // An item whose menu is open is highlighted, as a pressed one is on a Mac.
    if (m_itemMenu && m_itemMenu->pid == item.pid && m_itemMenu->index == item.index) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(coloursFor(look.dark).highlight);
        painter.drawRoundedRect(item.rect.adjusted(1, 2 * m_scale, -1, -2 * m_scale),
                                4 * m_scale, 4 * m_scale);
    }
    const QColor barTextColour = coloursFor(look.dark).barText;
    painter.setPen(barTextColour);
    const QFontMetricsF metrics(barFont(m_scale));
    const bool wideEnough =
        metrics.horizontalAdvance(item.description) + 8 * m_scale <= item.rect.width();
    if (!item.title.isEmpty() || (item.rect.width() >= 60 * m_scale && wideEnough)) {
        const QString text = item.title.isEmpty() ? item.description : item.title;
        painter.setFont(fittingFont(m_scale, text, item.rect.width() - 6 * m_scale));
        painter.drawText(item.rect, Qt::AlignCenter, text);
    } else {
        // No text to show: a simple icon marked with the first letter of what names it.
        const double side = 15 * m_scale;
        QRectF icon(0, 0, side, side);
        icon.moveCenter(item.rect.center());
        painter.setPen(QPen(barTextColour, qMax(1.0, 1.4 * m_scale)));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(icon, 3.5 * m_scale, 3.5 * m_scale);
        QFont font = barFont(m_scale * 0.72, true);
        painter.setFont(font);
        const QString initial = item.description.isEmpty() ? u"?"_s : item.description.left(1);
        painter.drawText(icon, Qt::AlignCenter, initial.toUpper());
    }
    painter.restore();
}

void SimMenuBarScene::paintGlyph(QPainter& painter, const QRectF& rect, const Look& look) const
{
    const QImage& glyph = look.glyph;
    if (glyph.isNull())
        return;
    QRectF target(0, 0, StatusGlyph::widthInPoints * m_scale,
                  StatusGlyph::heightInPoints * m_scale);
    target.moveCenter(rect.center());
    painter.drawImage(target, StatusGlyph::tinted(glyph, coloursFor(look.dark).barText));
}

void SimMenuBarScene::paintOverflow(QPainter& painter, const Look& look) const
{
    painter.save();
    painter.fillRect(m_overflow, QColor(0x3b, 0x3f, 0x46));
    painter.fillRect(m_overflow, QBrush(QColor(0x55, 0x5b, 0x64), Qt::BDiagPattern));
    QRectF bar = m_overflow;
    bar.setHeight(m_strips.first().bar.height());
    painter.fillRect(bar, QColor(0xc9, 0xcb, 0xcf, 200));
    painter.setPen(labelColour);
    painter.drawText(m_overflow.adjusted(4, 0, -4, -2), Qt::AlignBottom | Qt::AlignLeft,
                     SimulatorTexts::text(u"fuera de la pantalla"_s, look.language));
    painter.restore();
}

} // namespace tk
