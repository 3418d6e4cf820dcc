#pragma once

// One simulated desktop through an export and back: what the first scan and the boundary's
// decisions see on the desktop, and on the scenario its export writes.
#include "app/ScenarioExport.h"
#include "app/UnseenIcons.h"
#include "core/Identity.h"
#include "inspection/AXScanner.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"
#include "visibility/BoundaryPolicy.h"
#include "visibility/NativeVisibilityBridge.h"

#include <QStringList>

namespace tk::roundtrip {

using namespace Qt::StringLiterals;

// The report but its date and system lines, every item as read, every decision.
struct Seen {
    QStringList lines;

    friend bool operator==(const Seen&, const Seen&) = default;
};

inline QList<ScanApp> scannedApplications(SimPlatform& platform)
{
    QList<ScanApp> apps;
    const std::optional<qint32> front = platform.workspace().frontmostApplication();
    for (const RunningApplication& running : platform.workspace().runningApplications()) {
        if (running.pid != platform.desktop().ownPid())
            apps << ScanApp{running.pid, running.bundleIdentifier, running.localizedName,
                            running.pid == front};
    }
    return apps;
}

inline ScanResult scan(SimPlatform& platform, Accessibility& accessibility)
{
    return AXScanner::scan(scannedApplications(platform),
                           ScanEnvironment{accessibility, platform.time(),
                                           platform.desktop().operatingSystemVersion()});
}

inline QString itemLine(const ExternalItem& item)
{
    return item.id + u" ["_s + item.actions.join(u',') +
           (item.positionWritable ? u"] w "_s : u"] - "_s) +
           (item.frame ? item.frame->text() : u"none"_s);
}

inline Seen seen(SimPlatform& platform, const ScanResult& result, const std::optional<Rect>& icon)
{
    Seen seen;
    // The system's version may itself run over several lines.
    const qsizetype systemLines = platform.desktop().operatingSystemVersion().count(u'\n') + 1;
    seen.lines = result.report.split(u'\n').mid(1 + systemLines);
    QList<PositionedItem> positioned;
    for (const ExternalItem& item : result.items) {
        seen.lines << itemLine(item);
        if (item.bundleID)
            positioned.append({*item.bundleID, item.frame});
    }
    seen.lines << u"menus "_s + (result.frontMenus ? result.frontMenus->text() : u"none"_s);
    const QList<SightPolicy::Screen> screens =
        UnseenIcons::sightScreens(platform.desktopServices().screens());
    for (const UnseenIcon& unseen : UnseenIcons::of(result.items, screens, result.frontMenus))
        seen.lines << u"unseen "_s + unseen.application + u' ' +
                          SightPolicy::reasonWord(unseen.reason);
    seen.lines << u"boundary "_s + (icon ? icon->text() : u"none"_s);
    for (const BoundaryPolicy::Decision& decision : BoundaryPolicy::decisions(
             positioned, icon.value_or(Rect::null()), Identity::bundleIdentifier))
        seen.lines << decision.bundle + u' ' + BoundaryPolicy::reasonWord(decision.reason);
    seen.lines << u"trusted %1, framework %2"_s.arg(platform.desktop().isTrusted())
                      .arg(platform.visibilityBridge().isAvailable());
    return seen;
}

// Everything but the trees, which the recording holds, as the export run gathers it.
inline ExportedDesktop exportedDesktop(SimPlatform& platform)
{
    ExportedDesktop desktop;
    desktop.screens = platform.desktopServices().screens();
    desktop.ownPid = platform.desktop().ownPid();
    desktop.frontmost = platform.workspace().frontmostApplication();
    desktop.ownIcon = platform.desktop().statusItemFrame();
    desktop.trusted = platform.desktop().isTrusted();
    desktop.frameworkAvailable = platform.visibilityBridge().isAvailable();
    for (const RunningApplication& running : platform.workspace().runningApplications()) {
        if (running.pid != desktop.ownPid)
            desktop.applications << running;
    }
    return desktop;
}

struct Outcome {
    Seen original;
    Seen replayed;
    QByteArray json;
    QString refusal; // why the loader refused the export, when it did
};

inline Outcome exportAndReplay(const SimScenario& scenario)
{
    Outcome outcome;
    const std::unique_ptr<SimPlatform> original = SimPlatform::forTests(scenario);
    RecordingAccessibility recording(original->accessibility());
    const ScanResult first = scan(*original, recording);
    const ExportedDesktop desktop = exportedDesktop(*original);
    outcome.original = seen(*original, first, desktop.ownIcon);
    outcome.json = ScenarioExport::write(recording, desktop);
    Result<SimScenario> loaded = SimScenarioLoader::parse(outcome.json, u"export.json"_s);
    if (!loaded) {
        outcome.refusal = loaded.error().description;
        return outcome;
    }
    const std::unique_ptr<SimPlatform> replay = SimPlatform::forTests(std::move(loaded).value());
    outcome.replayed =
        seen(*replay, scan(*replay, replay->accessibility()), replay->desktop().statusItemFrame());
    return outcome;
}

} // namespace tk::roundtrip
