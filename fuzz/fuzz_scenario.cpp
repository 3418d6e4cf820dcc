// The scenario loader on untrusted files: it never crashes, names the file in every
// error, and a scenario it accepts makes a desktop that lays out and scans, on its first
// screens and on every list of screens it names.
#include "FuzzSupport.h"
#include "inspection/AXScanner.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

using namespace tk;

namespace {

const QString fileName = QStringLiteral("fuzz.json");

void scanDesktop(SimPlatform& platform)
{
    QList<ScanApp> apps;
    for (const SimApplication& app : platform.desktop().applications())
        apps.append(ScanApp{app.pid, app.bundleIdentifier, app.name});
    const ScanEnvironment environment{platform.accessibility(), platform.time(),
                                      platform.desktop().operatingSystemVersion()};
    const ScanResult result = AXScanner::scan(apps, environment);
    fuzz::check(result.items.size() <= apps.size() * AXScanner::elementsPerApplication,
                "a scan reads at most its limit per application");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::ensureApplication();
    auto scenario = SimScenarioLoader::parse(fuzz::bytes(data, size), fileName);
    if (!scenario) {
        fuzz::check(scenario.error().description.startsWith(fileName + QStringLiteral(": ")),
                    "every loader error names the file");
        return 0;
    }
    const std::unique_ptr<SimPlatform> platform = SimPlatform::forTests(std::move(scenario).value());
    SimDesktop& desktop = platform->desktop();
    fuzz::check(desktop.application(desktop.ownPid()) != nullptr, "this process runs");
    for (const SimDesktop::BarItem& item : desktop.visibleMenuBarItems())
        fuzz::check(item.frame.width >= 0, "no item has a negative width");
    qsizetype items = 0;
    for (const SimApplication& app : desktop.applications())
        items += app.items.size();
    fuzz::check(desktop.visibleMenuBarItems().size() == items,
                "whatever the bar remembers, every running item stands in it once");
    scanDesktop(*platform);
    // Every list of screens the desktop can change to lays out and scans, even an empty one.
    for (const SimScreenSet& set : desktop.screenSets()) {
        platform->simulatedDesktopServices().changeScreens(set.screens);
        fuzz::check(desktop.visibleMenuBarItems().isEmpty() == set.screens.isEmpty(),
                    "items stand in a bar exactly while there is a screen");
        scanDesktop(*platform);
    }
    return 0;
}
