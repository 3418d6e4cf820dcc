#pragma once

#include "core/Rect.h"

#include <QImage>
#include <QList>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

namespace tk {

struct GlyphImage;

// A press on the status item's button, with the modifier keys held at that moment.
struct StatusItemEvent {
    // `Other`: a press that came with another event or with none, as one made through
    // VoiceOver or another accessibility client does.
    enum class Kind { LeftMouseUp, RightMouseUp, Other };
    Kind kind = Kind::LeftMouseUp;
    bool option = false;
    bool command = false;
    bool control = false;
    bool shift = false;

    // A right mouse-up, or a left one with Option held; anything else is a plain click.
    bool opensMenu() const
    {
        return kind == Kind::RightMouseUp || (kind == Kind::LeftMouseUp && option);
    }
};

// One entry of a menu opened from the status item. A separator has no title and no action.
// An entry with a submenu opens it and has no action of its own.
struct MenuEntry {
    QString title;
    QString keyEquivalent; // with the platform's default modifier (Command); empty: none
    std::function<void()> action;
    bool isSeparator = false;
    std::vector<MenuEntry> submenu = {};
    QImage icon = {}; // shown before the title at menu size (its device pixel ratio); null: none

    static MenuEntry separator() { return {{}, {}, {}, true}; }
    static MenuEntry opening(const QString& title, std::vector<MenuEntry> entries)
    {
        return {title, {}, {}, false, std::move(entries)};
    }
};

// The application's own item in the system menu bar. The system may give it no button;
// then it shows nothing, sends nothing and has no place on screen. Main thread.
class StatusItem {
public:
    using ClickHandler = std::function<void(const StatusItemEvent&)>;

    virtual ~StatusItem() = default;

    virtual bool hasButton() const = 0;

    // The picture (template flag and accessibility description included) and the tooltip.
    virtual void setImage(const GlyphImage& glyph) = 0;
    virtual QImage image() const = 0; // null until an image is set
    virtual void setToolTip(const QString& text) = 0;

    // Called on every left and right mouse-up on the button and on every press made without
    // the mouse, never on mouse-down.
    virtual void setClickHandler(ClickHandler handler) = 0;

    // Screen space (origin at the bottom-left of the primary screen, y up). Nothing without
    // a button or without the window the button lies in.
    virtual std::optional<Rect> buttonWindowFrame() const = 0;
    // The button's bounds converted to its window's coordinates, then to the screen's.
    virtual std::optional<Rect> buttonFrameOnScreen() const = 0;

    // Opens `menu` from the button, placed and highlighted as the system does for a status
    // item's menu. The menu belongs to the item only while it is open, so that later plain
    // clicks still reach the click handler. An entry's action runs when it is chosen.
    virtual void popUpMenu(const QList<MenuEntry>& menu) = 0;
};

} // namespace tk
