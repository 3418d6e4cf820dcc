#include "MacPlatform.h"

#include "core/Time.h"
#include "core/UserDefaults.h"
#include "platform/macos/CarbonHotKeyService.h"
#include "platform/macos/MacLoginItems.h"
#include "platform/qt/QtFilePanels.h"

struct MacPlatform::Private {
    SettingsUserDefaults userDefaults; // QSettings' native format: the app's defaults domain
    SystemTimeSource time;
    MacLoginItems loginItems;
    QtFilePanels filePanels; // QFileDialog shows the system's own panels on macOS
    CarbonHotKeyService hotKeys;
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

PlatformOrError createPlatform(const PlatformOptions&)
{
    return {std::make_unique<MacPlatform>(), QString()};
}
