#include "SimPlatform.h"

#include "core/UserDefaults.h"
#include "platform/sim/ScriptedFilePanels.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimHotKeyService.h"
#include "platform/sim/SimLoginItems.h"
#include "platform/sim/SimPrivacySettings.h"
#include "platform/sim/SimVisibilityFramework.h"
#include "platform/sim/SimWorkspace.h"
#include "platform/sim/VirtualTime.h"

namespace tk {

SimPlatform::SimPlatform(Services services)
    : SimPlatform(std::move(services), SimScenarioLoader::builtIn())
{
}

SimPlatform::SimPlatform(Services services, SimScenario scenario) : m_services(std::move(services))
{
    auto simulated = std::make_unique<SimHotKeyService>(std::move(m_services.hotKeys));
    m_simulatedHotKeys = simulated.get();
    m_services.hotKeys = std::move(simulated);
    auto loginItems = std::make_unique<SimLoginItems>(scenario.loginItem,
                                                      std::move(m_services.loginItems));
    m_simulatedLoginItems = loginItems.get();
    m_services.loginItems = std::move(loginItems);
    m_desktop = std::make_unique<SimDesktop>(std::move(scenario), m_services.userDefaults.get());
    m_simulatedHotKeys->setTakenShortcuts(m_desktop->takenShortcuts());
    m_accessibility = std::make_unique<SimAccessibility>(*m_desktop, *m_services.time);
    m_workspace = std::make_unique<SimWorkspace>(*m_desktop);
    m_visibility = std::make_unique<SimVisibilityFramework>(*m_desktop, *m_services.time);
    m_desktopServices = std::make_unique<SimDesktopServices>(*m_desktop);
    m_privacySettings = std::make_unique<SimPrivacySettings>(*m_desktop);
}

SimPlatform::~SimPlatform() = default;

std::unique_ptr<SimPlatform> SimPlatform::forTests()
{
    return forTests(SimScenarioLoader::builtIn());
}

std::unique_ptr<SimPlatform> SimPlatform::forTests(SimScenario scenario)
{
    return replayable(std::move(scenario));
}

std::unique_ptr<SimPlatform> SimPlatform::replayable(SimScenario scenario)
{
    Services services;
    services.userDefaults = std::make_unique<InMemoryUserDefaults>();
    services.time = std::make_unique<VirtualTimeSource>();
    services.filePanels = std::make_unique<ScriptedFilePanels>();
    return std::make_unique<SimPlatform>(std::move(services), std::move(scenario));
}

UserDefaults& SimPlatform::userDefaults()
{
    return *m_services.userDefaults;
}

TimeSource& SimPlatform::time()
{
    return *m_services.time;
}

LoginItemService& SimPlatform::loginItems()
{
    return *m_services.loginItems;
}

SimLoginItems& SimPlatform::simulatedLoginItems()
{
    return *m_simulatedLoginItems;
}

FilePanels& SimPlatform::filePanels()
{
    return *m_services.filePanels;
}

HotKeyService& SimPlatform::hotKeys()
{
    return *m_services.hotKeys;
}

Accessibility& SimPlatform::accessibility()
{
    return *m_accessibility;
}

Workspace& SimPlatform::workspace()
{
    return *m_workspace;
}

NativeVisibilityBridge& SimPlatform::visibilityBridge()
{
    return *m_visibility;
}

DesktopServices& SimPlatform::desktopServices()
{
    return *m_desktopServices;
}

PrivacySettings& SimPlatform::privacySettings()
{
    return *m_privacySettings;
}

} // namespace tk
