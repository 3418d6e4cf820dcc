#include "core/Time.h"
#include "core/UserDefaults.h"
#include "platform/linux/XdgAutostart.h"
#include "platform/qt/QtFilePanels.h"
#include "platform/sim/SimPlatform.h"

#include <QCoreApplication>

PlatformOrError createPlatform(const PlatformOptions& options)
{
    Q_UNUSED(options);
    SimPlatform::Services services;
    services.userDefaults = std::make_unique<SettingsUserDefaults>();
    services.time = std::make_unique<SystemTimeSource>();
    services.loginItems = std::make_unique<XdgAutostart>(XdgAutostart::defaultConfigHome(),
                                                         QCoreApplication::applicationFilePath());
    services.filePanels = std::make_unique<QtFilePanels>();
    return {std::make_unique<SimPlatform>(std::move(services)), QString()};
}
