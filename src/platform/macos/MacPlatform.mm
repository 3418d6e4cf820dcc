#include "MacPlatform.h"

#include "core/Time.h"
#include "platform/macos/CarbonHotKeyService.h"
#include "platform/macos/MacDesktopServices.h"
#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacLoginItems.h"
#include "platform/macos/MacPrivacySettings.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/MacVisibilityBridge.h"
#include "platform/macos/MacWorkspace.h"
#include "platform/qt/QtFilePanels.h"

namespace tk {

struct MacPlatform::Private {
    MacUserDefaults userDefaults;
    SystemTimeSource time;
    MacLoginItems loginItems;
    QtFilePanels filePanels; // QFileDialog shows the system's own panels on macOS
    CarbonHotKeyService hotKeys;
    MacVisibilityBridge visibility;
    MacDesktopServices desktop;
    MacAccessibility accessibility;
    MacWorkspace workspace;
    MacPrivacySettings privacySettings;
};

MacPlatform::MacPlatform() : d(std::make_unique<Private>()) {}

MacPlatform::~MacPlatform() = default;

UserDefaults& MacPlatform::userDefaults()
{
    return d->userDefaults;
}

TimeSource& MacPlatform::time()
{
    return d->time;
}

LoginItemService& MacPlatform::loginItems()
{
    return d->loginItems;
}

FilePanels& MacPlatform::filePanels()
{
    return d->filePanels;
}

HotKeyService& MacPlatform::hotKeys()
{
    return d->hotKeys;
}

NativeVisibilityBridge& MacPlatform::visibilityBridge()
{
    return d->visibility;
}

Accessibility& MacPlatform::accessibility()
{
    return d->accessibility;
}

Workspace& MacPlatform::workspace()
{
    return d->workspace;
}

DesktopServices& MacPlatform::desktopServices()
{
    return d->desktop;
}

PrivacySettings& MacPlatform::privacySettings()
{
    return d->privacySettings;
}

PlatformOrError createPlatform(const PlatformOptions&)
{
    return {std::make_unique<MacPlatform>(), QString()};
}

} // namespace tk
