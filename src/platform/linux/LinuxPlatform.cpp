#include "core/FileAccess.h"
#include "core/Time.h"
#include "core/UserDefaults.h"
#include "platform/linux/X11HotKeyService.h"
#include "platform/linux/XdgAutostart.h"
#include "platform/qt/QtFilePanels.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace tk {

namespace {

// Where the settings store keeps its file: Qt's place for the native format of the user's
// scope, "<configuration folder>/<organisation>/<application>.conf".
QString settingsFilePath()
{
    const QString organisation = QCoreApplication::organizationName();
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .filePath((organisation.isEmpty() ? QStringLiteral("Unknown Organization") : organisation) +
                  QLatin1Char('/') + QCoreApplication::applicationName() + QStringLiteral(".conf"));
}

// The store reads its file as it opens: a pipe there would block the start for ever.
std::optional<QString> unusableSettingsFile(const QString& path)
{
    if (const std::optional<QString> reason = FileAccess::notRegularFile(path))
        return QStringLiteral("%1: cannot be used as the settings file (%2)").arg(path, *reason);
    return std::nullopt;
}

} // namespace

PlatformOrError createPlatform(const PlatformOptions& options)
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    if (options.scenarioPath) {
        auto loaded = SimScenarioLoader::load(*options.scenarioPath);
        if (!loaded)
            return {nullptr, loaded.error().description};
        scenario = std::move(loaded).value();
    }
    if (const std::optional<QString> refusal = unusableSettingsFile(settingsFilePath()))
        return {nullptr, *refusal};
    SimPlatform::Services services;
    services.userDefaults = std::make_unique<SettingsUserDefaults>();
    services.time = std::make_unique<SystemTimeSource>();
    services.loginItems = std::make_unique<XdgAutostart>(XdgAutostart::defaultConfigHome(),
                                                         QCoreApplication::applicationFilePath());
    services.filePanels = std::make_unique<QtFilePanels>();
    services.hotKeys = X11HotKeyService::forApplication(); // off X: the simulated service
    return {std::make_unique<SimPlatform>(std::move(services), std::move(scenario)), QString()};
}

} // namespace tk
