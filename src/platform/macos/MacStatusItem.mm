#include "MacStatusItem.h"

#include "artwork/StatusGlyph.h"

#import <AppKit/AppKit.h>

// The button's target: reads the event being handled, if any, and hands it on as a press.
@interface TKStatusItemTarget : NSObject {
@public
    tk::StatusItem::ClickHandler handler;
    __weak NSStatusItem* item;
}
- (void)buttonClicked:(id)sender;
@end

namespace {

// A mouse-up of either button with its modifier keys; any other event, or none, is `Other`.
tk::StatusItemEvent pressOf(NSEvent* event)
{
    tk::StatusItemEvent press;
    press.kind = tk::StatusItemEvent::Kind::Other;
    if (event == nil)
        return press;
    if (event.type == NSEventTypeLeftMouseUp)
        press.kind = tk::StatusItemEvent::Kind::LeftMouseUp;
    else if (event.type == NSEventTypeRightMouseUp)
        press.kind = tk::StatusItemEvent::Kind::RightMouseUp;
    const NSEventModifierFlags flags = event.modifierFlags;
    press.option = (flags & NSEventModifierFlagOption) != 0;
    press.command = (flags & NSEventModifierFlagCommand) != 0;
    press.control = (flags & NSEventModifierFlagControl) != 0;
    press.shift = (flags & NSEventModifierFlagShift) != 0;
    return press;
}

} // namespace

@implementation TKStatusItemTarget
- (void)buttonClicked:(id)sender
{
    (void)sender;
    // While the item holds a menu, the button is opening it: that is no press of ours.
    if (!handler || item.menu != nil)
        return;
    // A copy: the handler may be replaced while it runs.
    const tk::StatusItem::ClickHandler current = handler;
    current(pressOf(NSApp.currentEvent));
}
@end

// The target of a shown menu's entries, whose tag is their index, and the menu's delegate,
// which takes the menu back from the item once it has closed.
@interface TKMenuTarget : NSObject <NSMenuDelegate> {
@public
    QList<std::function<void()>> actions;
    __weak NSStatusItem* item;
}
- (void)entryChosen:(NSMenuItem*)sender;
@end

@implementation TKMenuTarget
- (void)entryChosen:(NSMenuItem*)sender
{
    const NSInteger index = sender.tag;
    if (index < 0 || index >= actions.size() || !actions.at(index))
        return;
    const std::function<void()> action = actions.at(index);
    action();
}

- (void)menuDidClose:(NSMenu*)menu
{
    if (item.menu == menu)
        item.menu = nil;
}
@end

namespace tk {

namespace {

// `icon` at the size in points its device pixel ratio gives it.
NSImage* imageOf(const QImage& icon)
{
    CGImageRef cgImage = icon.toCGImage();
    if (cgImage == nullptr)
        return nil;
    const qreal ratio = icon.devicePixelRatio() > 0 ? icon.devicePixelRatio() : 1;
    NSImage* image =
        [[NSImage alloc] initWithCGImage:cgImage
                                    size:NSMakeSize(icon.width() / ratio, icon.height() / ratio)];
    CGImageRelease(cgImage);
    return image;
}

// Adds `entries` to `menu`, submenus included; a chosen entry runs the action `target`
// keeps under the entry's tag.
template <typename Entries>
void addEntries(NSMenu* menu, const Entries& entries, TKMenuTarget* target)
{
    for (const MenuEntry& entry : entries) {
        if (entry.isSeparator) {
            [menu addItem:[NSMenuItem separatorItem]];
            continue;
        }
        NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:entry.title.toNSString()
                                                      action:@selector(entryChosen:)
                                               keyEquivalent:entry.keyEquivalent.toNSString()];
        if (!entry.icon.isNull())
            item.image = imageOf(entry.icon);
        if (!entry.submenu.empty()) {
            NSMenu* submenu = [[NSMenu alloc] initWithTitle:entry.title.toNSString()];
            addEntries(submenu, entry.submenu, target);
            item.action = nil;
            item.submenu = submenu;
        } else {
            item.target = target;
            item.tag = NSInteger(target->actions.size());
            target->actions.append(entry.action);
        }
        [menu addItem:item];
    }
}

Rect rectOf(NSRect rect)
{
    return Rect{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

NSImage* nativeImage(const GlyphImage& glyph)
{
    NSImage* image = imageOf(glyph.image);
    if (image == nil)
        return nil;
    [image setTemplate:glyph.isTemplate];
    image.accessibilityDescription = glyph.accessibilityDescription.toNSString();
    return image;
}

} // namespace

struct MacStatusItem::Private {
    NSStatusItem* item = nil;
    TKStatusItemTarget* target = nil;
    TKMenuTarget* menuTarget = nil; // the entries' target lives as long as its menu may act
    QImage image;
};

MacStatusItem::MacStatusItem(double length, const QString& autosaveName)
    : d(std::make_unique<Private>())
{
    d->item = [[NSStatusBar systemStatusBar] statusItemWithLength:length];
    d->item.autosaveName = autosaveName.toNSString();
    d->target = [[TKStatusItemTarget alloc] init];
    d->target->item = d->item;
    if (NSStatusBarButton* button = d->item.button) {
        button.target = d->target;
        button.action = @selector(buttonClicked:);
        [button sendActionOn:NSEventMaskLeftMouseUp | NSEventMaskRightMouseUp];
    }
}

MacStatusItem::~MacStatusItem()
{
    [[NSStatusBar systemStatusBar] removeStatusItem:d->item];
}

bool MacStatusItem::hasButton() const
{
    return d->item.button != nil;
}

void MacStatusItem::setImage(const GlyphImage& glyph)
{
    NSStatusBarButton* button = d->item.button;
    if (button == nil)
        return;
    button.image = nativeImage(glyph);
    d->image = button.image != nil ? glyph.image : QImage();
}

QImage MacStatusItem::image() const
{
    return d->item.button.image != nil ? d->image : QImage();
}

void MacStatusItem::setToolTip(const QString& text)
{
    d->item.button.toolTip = text.toNSString();
}

void MacStatusItem::setClickHandler(ClickHandler handler)
{
    d->target->handler = std::move(handler);
}

std::optional<Rect> MacStatusItem::buttonWindowFrame() const
{
    NSStatusBarButton* button = d->item.button;
    if (button == nil || button.window == nil)
        return std::nullopt;
    return rectOf(button.window.frame);
}

std::optional<Rect> MacStatusItem::buttonFrameOnScreen() const
{
    NSStatusBarButton* button = d->item.button;
    if (button == nil || button.window == nil)
        return std::nullopt;
    const NSRect inWindow = [button convertRect:button.bounds toView:nil];
    return rectOf([button.window convertRectToScreen:inWindow]);
}

// The item is given the menu and its button opens it, so that the system places the menu
// and highlights the button as for any status item's menu; the delegate takes it back.
void MacStatusItem::popUpMenu(const QList<MenuEntry>& entries)
{
    NSStatusBarButton* button = d->item.button;
    if (button == nil)
        return;
    NSMenu* menu = [[NSMenu alloc] initWithTitle:@""];
    TKMenuTarget* target = [[TKMenuTarget alloc] init];
    addEntries(menu, entries, target);
    target->item = d->item;
    menu.delegate = target;
    d->menuTarget = target;
    d->item.menu = menu;
    [button performClick:nil];
}

} // namespace tk
