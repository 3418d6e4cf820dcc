#include "SimPlatform.h"

#include "core/UserDefaults.h"
#include "platform/sim/ScriptedFilePanels.h"
#include "platform/sim/SimLoginItems.h"
#include "platform/sim/VirtualTime.h"

SimPlatform::SimPlatform(Services services) : m_services(std::move(services)) {}

SimPlatform::~SimPlatform() = default;

std::unique_ptr<SimPlatform> SimPlatform::forTests()
{
    Services services;
    services.userDefaults = std::make_unique<InMemoryUserDefaults>();
    services.time = std::make_unique<VirtualTimeSource>();
    services.loginItems = std::make_unique<SimLoginItems>();
    services.filePanels = std::make_unique<ScriptedFilePanels>();
    return std::make_unique<SimPlatform>(std::move(services));
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

FilePanels& SimPlatform::filePanels()
{
    return *m_services.filePanels;
}
