#include "core/Time.h"
#include "core/UserDefaults.h"
#include "platform/linux/X11HotKeyService.h"
#include "platform/linux/XdgAutostart.h"
#include "platform/qt/QtFilePanels.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QCoreApplication>
#include <cstdio>

namespace tk {

PlatformOrError createPlatform(const PlatformOptions& options)
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    if (options.scenarioPath) {
        auto loaded = SimScenarioLoader::load(*options.scenarioPath);
        if (!loaded)
            return {nullptr, loaded.error().description};
        scenario = std::move(loaded).value();
    }
    if (options.replayable)
        return {SimPlatform::replayable(std::move(scenario)), QString()};
    SimPlatform::Services services;
    const auto tell = [](const QString& problem) {
        std::fprintf(stderr, "Tuckaway: %s\n", qPrintable(problem));
    };
    services.userDefaults = std::make_unique<FileUserDefaults>(FileUserDefaults::standardPath(), tell);
    services.time = std::make_unique<SystemTimeSource>();
    // Behind the simulated login items and hot keys: the host's autostart entry and, on X,
    // its keyboard grab.
    services.loginItems = std::make_unique<XdgAutostart>(XdgAutostart::defaultConfigHome(),
                                                         QCoreApplication::applicationFilePath());
    services.filePanels = std::make_unique<QtFilePanels>();
    services.hotKeys = X11HotKeyService::forApplication(); // off X: the simulated one alone
    return {std::make_unique<SimPlatform>(std::move(services), std::move(scenario)), QString()};
}

} // namespace tk
