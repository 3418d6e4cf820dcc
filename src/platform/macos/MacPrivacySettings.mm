#include "MacPrivacySettings.h"

#import <AppKit/AppKit.h>

namespace tk {

void MacPrivacySettings::openAccessibilityPane()
{
    @autoreleasepool {
        NSURL* pane = [NSURL
            URLWithString:
                @"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"];
        if (pane == nil)
            return;
        [[NSWorkspace sharedWorkspace] openURL:pane];
    }
}

} // namespace tk
