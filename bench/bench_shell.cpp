// The application's recurring work: one interaction tick in steady state, the status item's
// place, the timer's hand-off to the main thread, translation of a report and of a key, the
// boundary rule over a crowded menu bar, and reaching one hidden icon from its entry.
#include "WidgetBench.h"
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/StatusItem.h"
#include "inspection/ItemPress.h"
#include "platform/sim/SimAccessibility.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"
#include "platform/sim/VirtualTime.h"
#include "visibility/BoundaryPolicy.h"

#include <QBuffer>
#include <benchmark/benchmark.h>

using namespace tk;

namespace {

// The application launched on the built-in desktop, on virtual time.
class LaunchedShell {
public:
    LaunchedShell()
        : m_platform(SimPlatform::forTests(SimScenarioLoader::builtIn())),
          m_time(dynamic_cast<VirtualTimeSource&>(m_platform->time()))
    {
        m_errors.open(QIODevice::ReadWrite);
        m_app = std::make_unique<AppDelegate>(*m_platform, m_errors);
        m_app->applicationDidFinishLaunching(CommandLine::parse({QStringLiteral("tuckaway")}));
    }

    AppDelegate& app() { return *m_app; }

protected:
    // What the main thread has been handed is run, until no scan is under way.
    void settle()
    {
        for (int i = 0; i < 4 || m_app->inspector().isScanning(); ++i)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    void pass(double seconds)
    {
        m_time.advance(seconds);
        settle();
    }

    std::unique_ptr<SimPlatform> m_platform;
    VirtualTimeSource& m_time;
    QBuffer m_errors;
    std::unique_ptr<AppDelegate> m_app;
};

// A group collapsed and shown again, so that the auto-collapse countdown runs (60 s: it
// never ends during a measurement).
class RunningShell : public LaunchedShell {
public:
    RunningShell()
    {
        settle();
        SettingsData record = m_app->preferences().data();
        record.autoCollapse = true;
        record.delay = 60;
        m_app->preferences().setData(record);
        passTick();
        m_app->toggleVisibility();
        passTick();
        m_app->toggleVisibility();
        passTick();
        if (!m_app->expandedAt())
            qFatal("the countdown does not run");
    }

    StatusItem& item() { return *m_app->statusItem(); }

    // The pointer in the menu-bar band, away from every icon: the countdown starts over at
    // every tick, so ticks can pass forever in the same state.
    void holdCountdown()
    {
        const Rect primary = m_platform->desktop().screens().first().frame;
        m_platform->simulatedDesktopServices().setPointerPosition(
            {primary.minX() + 5, primary.maxY() - 5});
    }

    // One interaction tick as the timer delivers it: time passes, the main thread runs it.
    void passTick() { pass(AppDelegate::interactionInterval); }
};

RunningShell& shell()
{
    static RunningShell running;
    return running;
}

void tickInController(benchmark::State& state)
{
    AppDelegate& app = shell().app();
    const bench::AllocationMeter meter;
    for (auto _ : state)
        app.tick();
    state.counters["allocs"] = meter.perIteration(state.iterations());
    state.SetLabel("target: 0 allocs");
}

void statusItemFrame(benchmark::State& state)
{
    StatusItem& item = shell().item();
    const bench::AllocationMeter meter;
    for (auto _ : state)
        benchmark::DoNotOptimize(item.buttonWindowFrame());
    state.counters["allocs"] = meter.perIteration(state.iterations());
    state.SetLabel("target: 0 allocs");
}

void tickThroughTimer(benchmark::State& state)
{
    shell().holdCountdown();
    const bench::AllocationMeter meter;
    for (auto _ : state)
        shell().passTick();
    state.counters["allocs"] = meter.perIteration(state.iterations());
    state.SetLabel("timer, hand-off to the main thread and tick");
}

// The diagnostic report of a scan that found 100 items, as the English interface shows it.
QString hundredItemReport()
{
    QString report = QStringLiteral("Fecha: 2026-01-01T09:00:00Z\nmacOS 15.1\n"
                                    "Accessibility autorizado: sí");
    for (int i = 0; i < 100; ++i) {
        report += QStringLiteral("\nApp %1 / Item %2: acciones=[\"AXPress\", \"AXShowMenu\"]; "
                                 "posición modificable=true; consulta=0; "
                                 "frame={{%3, 0}, {24, 24}}")
                      .arg(i / 4)
                      .arg(i % 4)
                      .arg(1400 - 24 * i);
    }
    report += QStringLiteral("\nDetectados: 100. No se ha modificado ningún icono externo. La "
                             "ausencia de resultados no demuestra ausencia de iconos.");
    return report;
}

void translateReport(benchmark::State& state)
{
    const QString report = hundredItemReport();
    const QString english = QStringLiteral("en");
    for (auto _ : state)
        benchmark::DoNotOptimize(L10n::text(report, english).data());
    state.SetLabel("target: <= 0.5 ms");
}

const QString exactKey = QStringLiteral("Mostrar todo y pausar");

void translateKey(benchmark::State& state)
{
    const QString english = QStringLiteral("en");
    const bench::AllocationMeter meter;
    for (auto _ : state)
        benchmark::DoNotOptimize(L10n::text(exactKey, english).data());
    state.counters["allocs"] = meter.perIteration(state.iterations());
}

// 1,000 items of 250 applications along a wide bar, the boundary in the middle.
QList<PositionedItem> crowdedBar()
{
    QList<PositionedItem> items;
    for (int i = 0; i < 1000; ++i) {
        items.append({QStringLiteral("com.example.app%1").arg(i / 4),
                      Rect{double(i) * 24.0, 0.0, 24.0, 24.0}});
    }
    return items;
}

const Rect middleBoundary{12000.0, 0.0, 30.0, 24.0};

void boundaryPolicy(benchmark::State& state)
{
    const QList<PositionedItem> items = crowdedBar();
    for (auto _ : state)
        benchmark::DoNotOptimize(BoundaryPolicy::hidden(items, middleBoundary));
}

// The built-in desktop's group hidden, ready for one of its icons to be reached.
class HiddenShell : public LaunchedShell {
public:
    HiddenShell() { hide(); }

    // The item's menu closed, the group hidden again at once.
    void hide()
    {
        m_platform->desktop().closeItemMenu();
        if (!m_app->visibility().active())
            m_app->toggleVisibility();
        for (int i = 0; i < 100 && !m_app->visibility().active(); ++i)
            pass(AppDelegate::interactionInterval);
        if (m_app->hiddenIcons().isEmpty())
            qFatal("nothing is hidden");
    }

    // From choosing the entry of the first hidden icon to its press.
    void reveal()
    {
        m_app->revealHiddenIcon(m_app->hiddenIcons().first());
        while (m_app->isRevealUnderWay())
            pass(0.0);
    }

    // Every application scanned, as a collapse does.
    void scanAll()
    {
        m_app->inspector().scan();
        pass(0.0);
    }

    SimAccessibility& accessibility() { return m_platform->simulatedAccessibility(); }

    // What the press's thread does, here: its application scanned, its item pressed.
    void pressDirectly()
    {
        const HiddenIcon& icon = m_app->hiddenIcons().first();
        for (const RunningApplication& app : m_platform->workspace().runningApplications()) {
            if (icon.pid != 0 ? app.pid == icon.pid : app.bundleIdentifier == icon.bundle)
                (void)ItemPress::scanAndPress({app.pid, app.bundleIdentifier, app.localizedName},
                                              icon.path, environment());
        }
    }

    // What a collapse's walk does, here: every other application scanned.
    void scanDirectly()
    {
        QList<ScanApp> apps;
        const qint32 own = m_platform->workspace().currentProcessId();
        for (const RunningApplication& app : m_platform->workspace().runningApplications()) {
            if (app.pid != own)
                apps.append({app.pid, app.bundleIdentifier, app.localizedName});
        }
        (void)AXScanner::scan(apps, environment());
    }

private:
    ScanEnvironment environment() { return {accessibility(), m_time, QString()}; }
};

HiddenShell& hiddenShell()
{
    static HiddenShell hidden;
    return hidden;
}

// The round trips to applications of one reveal, against a whole scan's: the reveal scans
// the one application concerned.
void revealOneIcon(benchmark::State& state)
{
    HiddenShell& shell = hiddenShell();
    quint64 requests = 0;
    for (auto _ : state) {
        shell.accessibility().resetRoundTrips();
        shell.reveal();
        requests += shell.accessibility().roundTrips().requests;
        state.PauseTiming();
        shell.hide();
        state.ResumeTiming();
    }
    shell.accessibility().resetRoundTrips();
    shell.scanAll();
    state.counters["roundTrips"] =
        double(requests) / double(std::max<std::int64_t>(state.iterations(), 1));
    state.counters["scanRoundTrips"] = double(shell.accessibility().roundTrips().requests);
    state.SetLabel("target: one application's round trips, not the whole scan's");
}

// The main thread's part, from the choice until the press has been answered; then, counted
// on this thread, the press's own part (the scan of its one application and the press)
// beside a scan of every application, as a collapse makes.
void countRevealInstructions()
{
    HiddenShell& shell = hiddenShell();
    shell.reveal(); // caches and first-use tables filled outside the count
    shell.hide();
    CALLGRIND_ZERO_STATS;
    shell.reveal();
    CALLGRIND_DUMP_STATS_AT("reveal-one-icon/1");
    bench::countInstructions("reveal-scan-and-press", 10, [&] { shell.pressDirectly(); });
    bench::countInstructions("scan-whole-desktop", 10, [&] { shell.scanDirectly(); });
    shell.hide();
}

void countInstructions()
{
    AppDelegate& app = shell().app();
    bench::countInstructions("tick-controller", 1000, [&] { app.tick(); });
    StatusItem& item = shell().item();
    bench::countInstructions("status-item-frame", 1000, [&] { (void)item.buttonWindowFrame(); });
    shell().holdCountdown();
    bench::countInstructions("tick-through-timer", 200, [] { shell().passTick(); });
    const QString report = hundredItemReport();
    const QString english = QStringLiteral("en");
    bench::countInstructions("l10n-report", 20, [&] { (void)L10n::text(report, english); });
    bench::countInstructions("l10n-key", 1000, [&] { (void)L10n::text(exactKey, english); });
    const QList<PositionedItem> items = crowdedBar();
    bench::countInstructions("boundary-1000", 20,
                             [&] { (void)BoundaryPolicy::hidden(items, middleBoundary); });
    countRevealInstructions();
}

} // namespace

BENCHMARK(tickInController);
BENCHMARK(statusItemFrame);
BENCHMARK(tickThroughTimer);
BENCHMARK(translateReport)->Unit(benchmark::kMicrosecond);
BENCHMARK(translateKey);
BENCHMARK(boundaryPolicy)->Unit(benchmark::kMicrosecond);
BENCHMARK(revealOneIcon)->Unit(benchmark::kMicrosecond)->Iterations(20);

int main(int argc, char** argv)
{
    return bench::runWithWindows(argc, argv, [] { countInstructions(); });
}
