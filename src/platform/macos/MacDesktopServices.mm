#include "MacDesktopServices.h"

#include "platform/macos/MacAppIcon.h"
#include "platform/macos/MacStatusItem.h"
#include "platform/macos/MacWorkspace.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>
#include <objc/runtime.h>
#include <unistd.h>
#include <QWidget>
#include <algorithm>
#include <functional>

// Answers the "reopen" Apple event, sent when the running application is opened again.
@interface TKReopenHandler : NSObject {
@public
    tk::DesktopServices* owner;
}
- (void)handleReopen:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation TKReopenHandler
- (void)handleReopen:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply
{
    (void)event;
    (void)reply;
    if (owner != nullptr)
        Q_EMIT owner->reopenRequested();
}
@end

// Observes the workspace's list of running applications, which changes for every
// application that starts or quits, menu-bar-only and background ones included; the
// workspace posts its launch and termination notifications for the others only.
@interface TKRunningApplicationsObserver : NSObject {
@public
    std::function<void()> changed;
}
@end

@implementation TKRunningApplicationsObserver
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context
{
    (void)keyPath;
    (void)object;
    (void)change;
    (void)context;
    // Read again on the main queue, where the list is handed over.
    dispatch_async(dispatch_get_main_queue(), ^{
      if (self->changed)
          self->changed();
    });
}
@end

namespace tk {

namespace {

NSString* const runningApplicationsKey = @"runningApplications";

Rect rectOf(NSRect rect)
{
    return Rect{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

// The notch is the gap between the screen's two unobscured top corners, which run from
// the screen's edges; a screen without one has neither. Only their extents are used, so
// that the corners' own origin does not matter.
std::optional<Rect> notchOf(NSScreen* screen)
{
    const NSRect left = screen.auxiliaryTopLeftArea;
    const NSRect right = screen.auxiliaryTopRightArea;
    if (NSIsEmptyRect(left) || NSIsEmptyRect(right))
        return std::nullopt;
    const NSRect frame = screen.frame;
    const double width = double(NSWidth(frame) - NSWidth(left) - NSWidth(right));
    const double height = std::max(double(NSHeight(left)), double(NSHeight(right)));
    if (width <= 0.0)
        return std::nullopt;
    return Rect{NSMinX(frame) + NSWidth(left), NSMaxY(frame) - height, width, height};
}

ScreenInfo screenInfo(NSScreen* screen)
{
    return {rectOf(screen.frame), rectOf(screen.visibleFrame), notchOf(screen)};
}

// The class of `view` made to accept the first mouse click: a subclass made once per view
// class, as the system does for observed objects, so that Qt's own view keeps all else.
Class acceptingFirstClick(Class viewClass)
{
    NSString* name = [NSStringFromClass(viewClass) stringByAppendingString:@"_TKFirstClick"];
    if (Class made = NSClassFromString(name))
        return made;
    Class subclass = objc_allocateClassPair(viewClass, name.UTF8String, 0);
    if (subclass == nil)
        return viewClass;
    const SEL selector = @selector(acceptsFirstMouse:);
    const char* types = method_getTypeEncoding(class_getInstanceMethod(viewClass, selector));
    class_addMethod(subclass, selector, imp_implementationWithBlock(^BOOL(id, NSEvent*) {
                      return YES;
                    }),
                    types);
    objc_registerClassPair(subclass);
    return subclass;
}

NSView* nativeView(const QWidget& window)
{
    // Creates the native window when it does not exist yet.
    const WId id = const_cast<QWidget&>(window).winId();
    return (__bridge NSView*)reinterpret_cast<void*>(id);
}

NSWindow* nativeWindow(const QWidget& window)
{
    return nativeView(window).window;
}

} // namespace

struct MacDesktopServices::Private {
    NSMutableArray* observers = [NSMutableArray array]; // tokens, with their centre
    NSMutableArray* centres = [NSMutableArray array];
    TKReopenHandler* reopen = [[TKReopenHandler alloc] init];
    TKRunningApplicationsObserver* running = [[TKRunningApplicationsObserver alloc] init];
};

MacDesktopServices::MacDesktopServices(QObject* parent)
    : DesktopServices(parent), d(std::make_unique<Private>())
{
    const auto observe = [this](NSNotificationCenter* centre, NSNotificationName name,
                                void (DesktopServices::*signal)()) {
        id token = [centre addObserverForName:name
                                       object:nil
                                        queue:NSOperationQueue.mainQueue
                                   usingBlock:^(NSNotification*) {
                                     (this->*signal)();
                                   }];
        [d->observers addObject:token];
        [d->centres addObject:centre];
    };
    observe(NSWorkspace.sharedWorkspace.notificationCenter, NSWorkspaceScreensDidSleepNotification,
            &DesktopServices::screensDidSleep);
    observe(NSNotificationCenter.defaultCenter, NSApplicationDidChangeScreenParametersNotification,
            &DesktopServices::screenParametersChanged);

    observeRunningApplications();

    // The application installs its own Apple event handlers as it finishes launching; ours
    // goes in now and again after that, so that it is the one in force.
    d->reopen->owner = this;
    TKReopenHandler* reopen = d->reopen;
    const auto installReopenHandler = ^{
      [[NSAppleEventManager sharedAppleEventManager] setEventHandler:reopen
                                                         andSelector:@selector(handleReopen:
                                                                             withReplyEvent:)
                                                       forEventClass:kCoreEventClass
                                                          andEventID:kAEReopenApplication];
    };
    installReopenHandler();
    id token = [NSNotificationCenter.defaultCenter
        addObserverForName:NSApplicationDidFinishLaunchingNotification
                    object:nil
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification*) {
                  installReopenHandler();
                }];
    [d->observers addObject:token];
    [d->centres addObject:NSNotificationCenter.defaultCenter];
}

// Every change of the list hands the whole list over; the first one is read now.
void MacDesktopServices::observeRunningApplications()
{
    d->running->changed = [this] { runningApplicationsSeen(MacWorkspace().runningApplications()); };
    d->running->changed();
    [NSWorkspace.sharedWorkspace addObserver:d->running
                                  forKeyPath:runningApplicationsKey
                                     options:0
                                     context:nullptr];
}

MacDesktopServices::~MacDesktopServices()
{
    [NSWorkspace.sharedWorkspace removeObserver:d->running forKeyPath:runningApplicationsKey];
    d->running->changed = nullptr;
    for (NSUInteger i = 0; i < d->observers.count; ++i)
        [d->centres[i] removeObserver:d->observers[i]];
    d->reopen->owner = nullptr;
    [[NSAppleEventManager sharedAppleEventManager]
        removeEventHandlerForEventClass:kCoreEventClass
                             andEventID:kAEReopenApplication];
}

void MacDesktopServices::becomeAccessory()
{
    [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
}

void MacDesktopServices::activateApplication(qint32 pid)
{
    [[NSRunningApplication runningApplicationWithProcessIdentifier:pid] activateWithOptions:0];
}

void MacDesktopServices::activateIgnoringOtherApps()
{
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
    [NSApp activateIgnoringOtherApps:YES];
#pragma clang diagnostic pop
}

QList<ScreenInfo> MacDesktopServices::screens() const
{
    QList<ScreenInfo> result;
    for (NSScreen* screen in NSScreen.screens)
        result.append(screenInfo(screen));
    return result;
}

std::optional<ScreenInfo> MacDesktopServices::mainScreen() const
{
    NSScreen* screen = NSScreen.mainScreen;
    if (screen == nil)
        return std::nullopt;
    return screenInfo(screen);
}

QPointF MacDesktopServices::pointerPosition() const
{
    const NSPoint location = NSEvent.mouseLocation;
    return {location.x, location.y};
}

bool MacDesktopServices::isAnyMouseButtonPressed() const
{
    return NSEvent.pressedMouseButtons != 0;
}

// A menu shows as a window at the pop-up menu level; one another process owns is open.
bool MacDesktopServices::isOtherMenuOpen() const
{
    const CFArrayRef windows =
        CGWindowListCopyWindowInfo(kCGWindowListOptionOnScreenOnly, kCGNullWindowID);
    if (windows == nullptr)
        return false;
    const int ownPid = int(getpid());
    const int menuLevel = int(CGWindowLevelForKey(kCGPopUpMenuWindowLevelKey));
    bool open = false;
    for (CFIndex index = 0; index < CFArrayGetCount(windows) && !open; ++index) {
        const auto info = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(windows, index));
        const auto layer = static_cast<CFNumberRef>(CFDictionaryGetValue(info, kCGWindowLayer));
        const auto owner =
            static_cast<CFNumberRef>(CFDictionaryGetValue(info, kCGWindowOwnerPID));
        int layerValue = 0;
        int ownerValue = 0;
        if (layer != nullptr && owner != nullptr &&
            CFNumberGetValue(layer, kCFNumberIntType, &layerValue) &&
            CFNumberGetValue(owner, kCFNumberIntType, &ownerValue))
            open = layerValue == menuLevel && ownerValue != ownPid;
    }
    CFRelease(windows);
    return open;
}

std::unique_ptr<StatusItem> MacDesktopServices::createStatusItem(double length,
                                                                 const QString& autosaveName)
{
    return std::make_unique<MacStatusItem>(length, autosaveName);
}

Rect MacDesktopServices::windowFrame(const QWidget& window) const
{
    NSWindow* native = nativeWindow(window);
    return native != nil ? rectOf(native.frame) : Rect::null();
}

void MacDesktopServices::bringToFront(QWidget& window)
{
    window.raise();
    window.activateWindow();
}

void MacDesktopServices::setWindowFrameOrigin(QWidget& window, const QPointF& origin)
{
    [nativeWindow(window) setFrameOrigin:NSMakePoint(origin.x(), origin.y())];
}

void MacDesktopServices::prepareSettingsWindow(QWidget& window)
{
    NSView* view = nativeView(window);
    view.window.restorable = NO;
    object_setClass(view, acceptingFirstClick(object_getClass(view)));
}

QString MacDesktopServices::applicationPath() const
{
    return QString::fromNSString(NSBundle.mainBundle.bundlePath);
}

QImage MacDesktopServices::bundleIcon(int pixelSize) const
{
    return MacAppIcon::bundleIcon(pixelSize);
}

// The icon the system shows for the running application, drawn at the size asked for.
QImage MacDesktopServices::applicationIcon(qint32 pid, int pixelSize) const
{
    if (pixelSize < 1)
        return {};
    @autoreleasepool {
        NSRunningApplication* application =
            [NSRunningApplication runningApplicationWithProcessIdentifier:pid_t(pid)];
        NSImage* icon = application.icon;
        if (icon == nil)
            return {};
        NSRect rect = NSMakeRect(0, 0, pixelSize, pixelSize);
        const CGImageRef image = [icon CGImageForProposedRect:&rect context:nil hints:nil];
        return image != nullptr ? MacAppIcon::rendered(image, pixelSize) : QImage();
    }
}

QString MacDesktopServices::bundleVersion() const
{
    @autoreleasepool {
        NSString* version =
            [NSBundle.mainBundle objectForInfoDictionaryKey:@"CFBundleShortVersionString"];
        if (![version isKindOfClass:[NSString class]])
            return QString();
        return QString::fromNSString(version);
    }
}

} // namespace tk
