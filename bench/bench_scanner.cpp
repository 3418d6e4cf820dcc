#include "inspection/AXScanner.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"
#include "platform/sim/VirtualTime.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

using namespace tk;

namespace {

// An extras menu bar whose tree goes past both limits: more than 60 elements, and a
// level below the deepest one visited.
SimApplication applicationAtTheLimits(qint32 pid)
{
    SimApplication app;
    app.pid = pid;
    app.bundleIdentifier = QStringLiteral("com.example.app%1").arg(pid);
    app.name = QStringLiteral("App %1").arg(pid);
    for (int i = 0; i < 20; ++i) {
        SimElement item;
        item.role = SimText::of(QStringLiteral("AXMenuBarItem"));
        item.title = SimText::of(QStringLiteral("Item %1").arg(i));
        item.actions = QStringList{QStringLiteral("AXPress"), QStringLiteral("AXShowMenu")};
        item.positionSettable = true;
        for (int j = 0; j < 4; ++j) {
            SimElement child;
            child.role = SimText::of(QStringLiteral("AXButton"));
            child.description = SimText::of(QStringLiteral("Button %1").arg(j));
            SimElement tooDeep;
            tooDeep.role = SimText::of(QStringLiteral("AXButton"));
            child.children << tooDeep;
            item.children << child;
        }
        app.items << item;
    }
    return app;
}

SimScenario largeDesktop(int applications)
{
    SimScenario scenario = SimScenarioLoader::builtIn();
    scenario.applications.clear();
    for (int i = 0; i < applications; ++i)
        scenario.applications << applicationAtTheLimits(1000 + i);
    return scenario;
}

void scanLargeDesktop(benchmark::State& state)
{
    const int applications = static_cast<int>(state.range(0));
    const std::unique_ptr<SimPlatform> platform = SimPlatform::forTests(largeDesktop(applications));
    QList<ScanApp> apps;
    for (const SimApplication& app : platform->desktop().applications()) {
        if (app.pid != platform->desktop().ownPid())
            apps << ScanApp{app.pid, app.bundleIdentifier, app.name};
    }
    const ScanEnvironment environment{platform->accessibility(), platform->time(),
                                      platform->desktop().operatingSystemVersion()};
    qsizetype items = 0;
    for (auto _ : state) {
        const ScanResult result = AXScanner::scan(apps, environment);
        items = result.items.size();
        benchmark::DoNotOptimize(result.report.data());
    }
    // Every application offers more than the limit, so each one costs exactly 60 visits.
    const double elements = double(apps.size()) * AXScanner::elementsPerApplication;
    state.counters["items"] = double(items);
    state.counters["elements"] = elements;
    state.counters["perElement"] =
        benchmark::Counter(elements * double(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(scanLargeDesktop)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
