#include "MacDesktopServices.h"

#include "platform/macos/MacAppIcon.h"
#include "platform/macos/MacStatusItem.h"

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>
#include <objc/runtime.h>
#include <QWidget>

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

namespace tk {

namespace {

Rect rectOf(NSRect rect)
{
    return Rect{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

ScreenInfo screenInfo(NSScreen* screen)
{
    return {rectOf(screen.frame), rectOf(screen.visibleFrame)};
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
    NSNotificationCenter* workspace = NSWorkspace.sharedWorkspace.notificationCenter;
    observe(workspace, NSWorkspaceDidLaunchApplicationNotification,
            &DesktopServices::applicationLaunched);
    observe(workspace, NSWorkspaceDidTerminateApplicationNotification,
            &DesktopServices::applicationTerminated);
    observe(workspace, NSWorkspaceScreensDidSleepNotification, &DesktopServices::screensDidSleep);
    observe(NSNotificationCenter.defaultCenter, NSApplicationDidChangeScreenParametersNotification,
            &DesktopServices::screenParametersChanged);

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

MacDesktopServices::~MacDesktopServices()
{
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
