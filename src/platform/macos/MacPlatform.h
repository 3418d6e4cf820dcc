#pragma once

#include "app/Platform.h"

namespace tk {

// The Mac's own services. Only translation lives here; every rule is portable code.
class MacPlatform final : public Platform {
public:
    MacPlatform();
    ~MacPlatform() override;

    UserDefaults& userDefaults() override;
    TimeSource& time() override;
    LoginItemService& loginItems() override;
    FilePanels& filePanels() override;
    HotKeyService& hotKeys() override;
    NativeVisibilityBridge& visibilityBridge() override;
    DesktopServices& desktopServices() override;
    Accessibility& accessibility() override;
    Workspace& workspace() override;
    PrivacySettings& privacySettings() override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
