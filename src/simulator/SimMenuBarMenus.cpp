// The open menus drawn below the simulated menu bar: the menu of an item a press opened,
// and Tuckaway's own menu with its first submenu open.
#include "SimMenuBarScene.h"

#include "platform/sim/SimDesktop.h"
#include "simulator/SimMenuBarDrawing.h"
#include "simulator/SimulatorTexts.h"

#include <QPainter>
#include <algorithm>
#include <utility>

namespace tk {

using namespace Qt::StringLiterals;
using namespace SimMenuBarDrawing;

namespace {

const QColor selectionColour(0x0a, 0x84, 0xff);

// A drawn menu's measures, in points.
constexpr double menuRowHeight = 22.0;
constexpr double menuSeparatorHeight = 11.0;
constexpr double menuPadding = 5.0;
constexpr double menuInset = 14.0;
constexpr double menuIconSide = 16.0;
constexpr double menuMinimumWidth = 150.0;
constexpr double menuArrowRoom = 22.0;
constexpr double menuRoomBelow = 10.0; // desk below the deepest menu

using MenuRow = SimMenuBarScene::MenuRow;

double rowHeight(const MenuRow& row)
{
    return row.separator ? menuSeparatorHeight : menuRowHeight;
}

// In points.
QSizeF menuSize(const QList<MenuRow>& rows)
{
    const QFontMetricsF plain(barFont(1.0));
    const QFontMetricsF bold(barFont(1.0, true));
    const bool icons = std::any_of(rows.cbegin(), rows.cend(),
                                   [](const MenuRow& row) { return !row.icon.isNull(); });
    double width = 0.0;
    double height = 2 * menuPadding;
    for (const MenuRow& row : rows) {
        width = qMax(width, (row.heading ? bold : plain).horizontalAdvance(row.text));
        height += rowHeight(row);
    }
    width += 2 * menuInset + (icons ? menuIconSide + 6.0 : 0.0) + menuArrowRoom;
    return {qMax(width, menuMinimumWidth), height};
}

QList<MenuRow> rowsOf(const QList<MenuEntry>& entries)
{
    QList<MenuRow> rows;
    bool opened = false;
    for (const MenuEntry& entry : entries) {
        MenuRow row{entry.title, entry.icon, entry.isSeparator};
        row.opens = !entry.submenu.empty();
        row.highlighted = row.opens && !std::exchange(opened, true);
        rows.append(row);
    }
    return rows;
}

// The first submenu of `entries`, and how far below the menu's top its entry stands.
std::pair<QList<MenuEntry>, double> firstSubmenu(const QList<MenuEntry>& entries)
{
    double top = menuPadding;
    for (const MenuEntry& entry : entries) {
        if (!entry.submenu.empty())
            return {QList<MenuEntry>(entry.submenu.cbegin(), entry.submenu.cend()), top};
        top += entry.isSeparator ? menuSeparatorHeight : menuRowHeight;
    }
    return {{}, 0.0};
}

} // namespace

// The pressed item's menu: its application's name, then the item's children when it has any,
// else what any application's item menu offers.
void SimMenuBarScene::layOutItemMenu(const SimDesktop& desktop)
{
    const std::optional<SimPress> press = desktop.openItemMenu();
    const SimApplication* application = press ? desktop.application(press->pid) : nullptr;
    if (!application)
        return;
    ItemMenu menu{press->pid, press->item,
                  application->name.value_or(application->bundleIdentifier.value_or(press->title))};
    const SimElement element = application->items.value(press->item);
    for (const SimElement& child : element.children) {
        const QString title = textOf(child.title);
        menu.entries << (title.isEmpty() ? textOf(child.description) : title);
    }
    menu.entries.removeAll(QString());
    m_itemMenu = menu;
}

QList<MenuRow> SimMenuBarScene::itemMenuRows(const QString& language) const
{
    QList<MenuRow> rows{{m_itemMenu->application, {}, false, true}, {{}, {}, true}};
    QStringList entries = m_itemMenu->entries;
    if (entries.isEmpty())
        entries << SimulatorTexts::text(u"Abrir %1"_s, language).arg(m_itemMenu->application);
    for (const QString& entry : std::as_const(entries))
        rows.append({entry});
    rows.append({{}, {}, true});
    rows.append({SimulatorTexts::text(u"Salir de %1"_s, language).arg(m_itemMenu->application)});
    return rows;
}

// Points below the bar that the open menus reach.
double SimMenuBarScene::menusDepth() const
{
    double depth = 0.0;
    if (m_itemMenu)
        depth = menuSize(itemMenuRows(QString())).height();
    if (!m_ownMenu.isEmpty()) {
        depth = qMax(depth, menuSize(rowsOf(m_ownMenu)).height());
        const auto [submenu, top] = firstSubmenu(m_ownMenu);
        if (!submenu.isEmpty())
            depth = qMax(depth, top - menuPadding + menuSize(rowsOf(submenu)).height());
    }
    return depth > 0.0 ? depth + menuRoomBelow : 0.0;
}

void SimMenuBarScene::paintMenus(QPainter& painter, const Look& look) const
{
    if (m_strips.isEmpty())
        return;
    const QRectF primary = m_strips.first().area;
    const double top = m_strips.first().bar.bottom() + 1;
    // Left-aligned with what opened it, kept inside the primary screen.
    const auto placed = [&](const QRectF& under, const QList<MenuRow>& rows) {
        const double width = menuSize(rows).width() * m_scale;
        return QPointF(qMax(primary.left(), qMin(under.left(), primary.right() - width)), top);
    };
    if (m_itemMenu) {
        for (const Item& item : m_items) {
            if (item.pid == m_itemMenu->pid && item.index == m_itemMenu->index) {
                const QList<MenuRow> rows = itemMenuRows(look.language);
                paintMenu(painter, placed(item.rect, rows), rows, look);
            }
        }
    }
    const std::optional<QRectF> icon = ownItemRect();
    if (m_ownMenu.isEmpty() || !icon)
        return;
    const QList<MenuRow> rows = rowsOf(m_ownMenu);
    const QRectF menu = paintMenu(painter, placed(*icon, rows), rows, look);
    const auto [submenu, offset] = firstSubmenu(m_ownMenu);
    if (submenu.isEmpty())
        return;
    // Right of the menu, else left of it, as far as the picture reaches.
    const QList<MenuRow> subRows = rowsOf(submenu);
    const double width = menuSize(subRows).width() * m_scale;
    const double right = menu.right() - 2 * m_scale;
    const double x = right + width <= m_size.width() ? right : menu.left() - width + 2 * m_scale;
    paintMenu(painter, QPointF(x, menu.top() + (offset - menuPadding) * m_scale), subRows, look);
}

QRectF SimMenuBarScene::paintMenu(QPainter& painter, QPointF topLeft, const QList<MenuRow>& rows,
                                  const Look& look) const
{
    const Colours colours = coloursFor(look.dark);
    const double u = m_scale;
    const QRectF frame(topLeft, menuSize(rows) * u);
    const bool icons = std::any_of(rows.cbegin(), rows.cend(),
                                   [](const MenuRow& row) { return !row.icon.isNull(); });
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 50)); // its shadow
    painter.drawRoundedRect(frame.translated(0, 3 * u), 7 * u, 7 * u);
    painter.setPen(QPen(colours.menuLine, 1.0));
    painter.setBrush(colours.menu);
    painter.drawRoundedRect(frame, 7 * u, 7 * u);
    double y = frame.top() + menuPadding * u;
    for (const MenuRow& row : rows) {
        const QRectF line(frame.left() + menuPadding * u, y, frame.width() - 2 * menuPadding * u,
                          rowHeight(row) * u);
        y += line.height();
        if (row.separator) {
            painter.setPen(QPen(colours.menuLine, 1.0));
            painter.drawLine(QPointF(line.left() + 6 * u, line.center().y()),
                             QPointF(line.right() - 6 * u, line.center().y()));
            continue;
        }
        if (row.highlighted) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(selectionColour);
            painter.drawRoundedRect(line, 4 * u, 4 * u);
        }
        QRectF text = line.adjusted((menuInset - menuPadding) * u, 0, -menuArrowRoom * u, 0);
        if (icons) {
            const QRectF iconRect(text.left(), line.center().y() - menuIconSide * u / 2,
                                  menuIconSide * u, menuIconSide * u);
            if (!row.icon.isNull())
                painter.drawImage(iconRect, row.icon);
            text.setLeft(iconRect.right() + 6 * u);
        }
        painter.setPen(row.highlighted ? QColor(Qt::white) : colours.menuText);
        painter.setFont(barFont(m_scale, row.heading));
        painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, row.text);
        if (row.opens)
            painter.drawText(line.adjusted(0, 0, -8 * u, 0), Qt::AlignRight | Qt::AlignVCenter,
                             u"›"_s);
    }
    painter.restore();
    return frame;
}

} // namespace tk
