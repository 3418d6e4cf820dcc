#pragma once

#include "app/StatusItem.h"
#include "core/Rect.h"

#include <QImage>
#include <QList>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <optional>

class QPainter;

namespace tk {

class SimDesktop;

// The simulated screens' menu bars as a picture: one strip per screen, stacked, each its bar
// (as tall as its notch, which is drawn) and the top of its desktop, all at one scale. Only
// the primary screen's bar holds items and the frontmost application's menus; items the
// layout pushes past its left edge stand in an "off screen" zone left of it, so that none is
// ever out of reach. Items the system does not draw (under or beyond the notch, over the
// menus) are left out, but for Tuckaway's own, drawn faintly so that it can be dragged back.
// Positions are in the picture's pixels. Open menus are drawn below the bar, the primary
// screen's desk deepening to hold them: an application's item menu that a press opened, under
// its item, and Tuckaway's own menu when one is given, under its icon, with its first submenu
// open as when the pointer rests on that entry.
class SimMenuBarScene {
public:
    static constexpr double deskDepth = 40.0; // points of desktop below each bar
    static constexpr double margin = 12.0;    // pixels around everything
    static constexpr double labelHeight = 22.0;
    static constexpr double overflowPadding = 16.0; // points left of the leftmost item
    static constexpr double noScreenWidth = 400.0;  // pixels, when there is no screen to draw

    struct Strip {
        int screen = 0;
        Rect frame;  // screen space
        QRectF area; // the bar and the desk below it
        QRectF bar;
        QRectF label;
        std::optional<QRectF> notch;
    };

    struct Item {
        qint32 pid = 0;
        int index = 0;
        bool own = false;
        bool offScreen = false; // not wholly inside the primary screen
        bool shown = true;      // not under the notch or over the frontmost application's menus
        QRectF rect;
        QString title;       // the item's title when it has a text one
        QString description; // what names it otherwise
    };

    // What changes from one drawing to the next without changing the layout.
    // One of the frontmost application's menus, on the primary screen's bar.
    struct Menu {
        QRectF rect;
        QString title;
    };

    struct Look {
        QString language;
        QImage glyph; // the status item's image as the application set it; null: none yet
        bool ownHighlighted = false;
        std::optional<QPointF> dragAt; // Tuckaway's icon follows the pointer there
        bool dark = false;             // the system's dark appearance
    };

    // One line of a drawn menu.
    struct MenuRow {
        QString text = {};
        QImage icon = {};
        bool separator = false;
        bool heading = false; // the application's name, in bold, at the top
        bool opens = false;   // a submenu
        bool highlighted = false;
    };

    SimMenuBarScene(const SimDesktop& desktop, double scale, QList<MenuEntry> ownMenu = {});

    double scale() const { return m_scale; }
    QSizeF size() const { return m_size; }
    const QList<Strip>& strips() const { return m_strips; }
    const QList<Item>& items() const { return m_items; } // the primary bar's, right to left
    std::optional<QRectF> ownItemRect() const;
    QRectF overflowArea() const { return m_overflow; }
    int offScreenCount() const;
    bool ownItemOffScreen() const;

    // The screen-space point drawn at `pos`; the primary strip reaches into the off-screen
    // zone. Nothing where no screen is drawn.
    std::optional<QPointF> toScreenSpace(QPointF pos) const;
    // The accessibility x a drop at `pos` means when `pos` lies on the primary screen's bar,
    // its off-screen zone included.
    std::optional<double> dropX(QPointF pos) const;
    // Whether `pos` lies on the bar of any screen, and on which.
    std::optional<int> barAt(QPointF pos) const;

    void paint(QPainter& painter, const Look& look) const;
    QImage render(const Look& look) const;

private:
    void layOutStrips(const SimDesktop& desktop);
    void layOutItems(const SimDesktop& desktop);
    void layOutMenus(const SimDesktop& desktop);
    QRectF toScene(const Rect& accessibilityFrame) const;
    void paintStrip(QPainter& painter, const Strip& strip, const Look& look) const;
    void paintAppMenus(QPainter& painter, const Look& look) const;
    void paintNotch(QPainter& painter, const QRectF& notch) const;
    void paintItem(QPainter& painter, const Item& item, const Look& look) const;
    void paintGlyph(QPainter& painter, const QRectF& rect, const Look& look) const;
    void paintOverflow(QPainter& painter, const Look& look) const;
    void layOutItemMenu(const SimDesktop& desktop);
    double menusDepth() const;
    void paintMenus(QPainter& painter, const Look& look) const;
    QRectF paintMenu(QPainter& painter, QPointF topLeft, const QList<MenuRow>& rows,
                     const Look& look) const;
    QList<MenuRow> itemMenuRows(const QString& language) const;

    struct ItemMenu {
        qint32 pid = 0;
        int index = 0;
        QString application = {};
        QStringList entries = {}; // the item's children, when it has any
    };

    double m_scale;
    QSizeF m_size;
    QList<Strip> m_strips;
    QList<Item> m_items;
    QList<Menu> m_menus;
    QRectF m_overflow;
    std::optional<ItemMenu> m_itemMenu;
    QList<MenuEntry> m_ownMenu;
};

} // namespace tk
