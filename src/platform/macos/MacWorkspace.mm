#include "MacWorkspace.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

namespace tk {

namespace {

std::optional<QString> optionalString(NSString* string)
{
    return string ? std::optional<QString>(QString::fromNSString(string)) : std::nullopt;
}

} // namespace

QList<RunningApplication> MacWorkspace::runningApplications() const
{
    QList<RunningApplication> apps;
    @autoreleasepool {
        for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
            apps << RunningApplication{app.processIdentifier, optionalString(app.bundleIdentifier),
                                       optionalString(app.localizedName)};
        }
    }
    return apps;
}

qint32 MacWorkspace::currentProcessId() const
{
    return NSProcessInfo.processInfo.processIdentifier;
}

std::optional<QString> MacWorkspace::mainBundleIdentifier() const
{
    @autoreleasepool {
        return optionalString(NSBundle.mainBundle.bundleIdentifier);
    }
}

QString MacWorkspace::operatingSystemVersionString() const
{
    @autoreleasepool {
        return QString::fromNSString(NSProcessInfo.processInfo.operatingSystemVersionString);
    }
}

std::optional<qint32> MacWorkspace::frontmostApplication() const
{
    @autoreleasepool {
        NSRunningApplication* front = NSWorkspace.sharedWorkspace.frontmostApplication;
        return front ? std::optional<qint32>(front.processIdentifier) : std::nullopt;
    }
}

} // namespace tk
