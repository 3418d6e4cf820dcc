#pragma once

#include "app/Platform.h"

namespace tk {

class SimAccessibility;
class SimDesktop;
class SimDesktopServices;
class SimHotKeyService;
class SimLoginItems;
class SimPrivacySettings;
class SimVisibilityFramework;
class SimWorkspace;
struct SimScenario;
class VirtualTimeSource;

// The simulated macOS desktop with the services it is given: simulated ones in tests,
// the host's real ones (settings file, file dialogs, autostart) in the application.
class SimPlatform final : public Platform {
public:
    struct Services {
        std::unique_ptr<UserDefaults> userDefaults;
        std::unique_ptr<TimeSource> time;
        std::unique_ptr<LoginItemService> loginItems; // the host's own, behind the simulated one
        std::unique_ptr<FilePanels> filePanels;
        std::unique_ptr<HotKeyService> hotKeys; // the host's own, behind the simulated one
    };

    // On the built-in desktop, or on the one a scenario describes.
    explicit SimPlatform(Services services);
    SimPlatform(Services services, SimScenario scenario);
    ~SimPlatform() override;

    // Everything simulated: in-memory defaults, virtual time, simulated login items,
    // scripted file panels.
    static std::unique_ptr<SimPlatform> forTests();
    static std::unique_ptr<SimPlatform> forTests(SimScenario scenario);
    // The same for a run that must replay the same way each time (a scripted session).
    static std::unique_ptr<SimPlatform> replayable(SimScenario scenario);

    UserDefaults& userDefaults() override;
    TimeSource& time() override;
    LoginItemService& loginItems() override;
    FilePanels& filePanels() override;
    HotKeyService& hotKeys() override;
    Accessibility& accessibility() override;
    Workspace& workspace() override;
    NativeVisibilityBridge& visibilityBridge() override;
    DesktopServices& desktopServices() override;
    PrivacySettings& privacySettings() override;

    SimDesktop& desktop() { return *m_desktop; }
    SimAccessibility& simulatedAccessibility() { return *m_accessibility; }
    SimVisibilityFramework& visibilityFramework() { return *m_visibility; }
    SimDesktopServices& simulatedDesktopServices() { return *m_desktopServices; }
    SimPrivacySettings& simulatedPrivacySettings() { return *m_privacySettings; }

    SimHotKeyService& simulatedHotKeys() { return *m_simulatedHotKeys; }
    SimLoginItems& simulatedLoginItems();

private:
    Services m_services;
    SimHotKeyService* m_simulatedHotKeys = nullptr;
    SimLoginItems* m_simulatedLoginItems = nullptr;
    std::unique_ptr<SimDesktop> m_desktop;
    std::unique_ptr<SimAccessibility> m_accessibility;
    std::unique_ptr<SimWorkspace> m_workspace;
    std::unique_ptr<SimVisibilityFramework> m_visibility;
    std::unique_ptr<SimDesktopServices> m_desktopServices;
    std::unique_ptr<SimPrivacySettings> m_privacySettings;
};

} // namespace tk
