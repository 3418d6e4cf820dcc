#pragma once

#include "core/Identity.h"
#include "core/Rect.h"
#include "core/Result.h"
#include "core/ScenarioLimits.h"
#include "platform/sim/SimLoginItems.h"

#include <QHashFunctions>
#include <QList>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

// How the simulated visibility framework behaves when asked for an assertion.
struct SimFrameworkBehaviour {
    bool present = true;
    enum class Answer { Success, Error, Exception, None } answer = Answer::Success;
    QString errorDescription;
    QString exceptionName;
    QString exceptionReason;
    double delaySeconds = 0.0;
};

// A text attribute as an application answers it: not at all, with a string, or with a
// value of another type (which a reader must not take for a string).
struct SimText {
    enum class Kind { Absent, String, OtherType };
    Kind kind = Kind::Absent;
    QString string;

    static SimText of(const QString& text) { return {Kind::String, text}; }
};

// One accessibility element below an application's extras menu bar.
struct SimElement {
    // Where a position or size answer comes from. `Layout`: the menu bar's layout for an
    // item of the bar, the parent's frame for an element below one.
    enum class Source { Layout, Given, Missing };

    SimText role;
    SimText title;
    SimText description;
    Source positionSource = Source::Layout;
    QPointF position; // accessibility space, when given
    Source sizeSource = Source::Layout;
    QSizeF size;         // when given
    double width = 24.0; // its extent in the menu bar when the layout places it
    std::optional<QStringList> actions = QStringList(); // nothing: the names cannot be read
    bool positionSettable = false;
    qint32 settableError = 0; // the settable query's result code; non-zero means it failed
    // What a press (any of its actions) answers; non-zero: it is refused and does nothing.
    qint32 pressResult = 0;
    // Seconds the application takes to act on a press; longer than the messaging timeout,
    // the press fails with -25204 yet the application acts on it all the same.
    double pressDelay = 0.0;
    QList<SimElement> children;
};

// One menu of an application's menu bar ("AXMenuBar"): laid out left to right from the
// primary screen's left edge by its width, or standing exactly at `frame` (accessibility
// space) when the scenario gives one.
struct SimMenu {
    QString title;
    double width = 0.0;
    std::optional<Rect> frame;

    // The width a title takes in the bar when the scenario gives none.
    static double widthOf(const QString& title) { return 16.0 + 8.0 * double(title.size()); }
};

// A running application as the simulated system knows it.
struct SimApplication {
    qint32 pid = 0;
    std::optional<QString> bundleIdentifier;
    std::optional<QString> name;
    double responseDelay = 0.0; // seconds each accessibility request takes to answer
    // After this many accessibility requests, counted from its launch, the application stops
    // answering (a process that hangs, mid-scan or between scans) and stays so, scan after
    // scan; nothing: it never does.
    std::optional<qint64> answersBeforeHanging;
    bool hasExtrasMenuBar = true;
    QList<SimElement> items; // the extras menu bar's children, in bar order from the right
    // The menus its menu bar shows while it is the frontmost application, left to right.
    QList<SimMenu> menus = {};
};

// A menu-bar item as the system remembers where it stood: by its application's bundle
// identifier and its index among that application's items, by process for an application
// without bundle identifier, and Tuckaway's own by its autosave name.
struct SimBarKey {
    enum class Kind { Bundle, Process, Autosave };
    Kind kind = Kind::Bundle;
    QString name; // the bundle identifier, or the autosave name
    qint32 pid = 0;
    int index = 0;

    static SimBarKey of(const SimApplication& app, int index);
    static SimBarKey autosave(const QString& name) { return {Kind::Autosave, name, 0, 0}; }
    friend bool operator==(const SimBarKey&, const SimBarKey&) = default;
};

inline size_t qHash(const SimBarKey& key, size_t seed = 0)
{
    return qHashMulti(seed, int(key.kind), key.name, key.pid, key.index);
}

// Screen space: origin at the bottom-left of the primary screen, y up.
struct SimScreen {
    Rect frame;
    Rect visibleFrame;
    // The camera housing centred at the top of the screen; its menu bar is as tall as it.
    std::optional<QSizeF> notch = std::nullopt;

    // Screen space; nothing without a notch.
    std::optional<Rect> notchFrame() const
    {
        if (!notch)
            return std::nullopt;
        const Rect f = frame.standardized();
        return Rect{f.x + (f.width - notch->width()) / 2.0, f.maxY() - notch->height(),
                    notch->width(), notch->height()};
    }

    friend bool operator==(const SimScreen&, const SimScreen&) = default;
};

// Screens the desktop can change to, named in the scenario. The list may be empty: a Mac
// briefly has no screen at all while its displays are reconfigured.
struct SimScreenSet {
    QString name;
    QList<SimScreen> screens; // the first is the primary screen

    friend bool operator==(const SimScreenSet&, const SimScreenSet&) = default;
};

// A shortcut another application already holds, named as the settings record names it.
// As on a Mac, a holder does not keep this application from registering the same
// combination (hot keys registered without options are shared: every holder hears a press),
// unless the scenario says what that registration answers.
struct SimShortcut {
    QString key;       // "M", "B", "Space"
    QString modifiers; // "controlOptionCommand", "controlOption", "controlShift"
    // The holding application's name, when the file gives one.
    std::optional<QString> holder;
    // Held exclusively: a press reaches the holder alone.
    bool exclusive = false;
    // What this application's registration of the combination answers while it is held:
    // 0, success, as the Mac answers a registration without options; any other status
    // stands for a registration the system refuses.
    qint32 registerStatus = 0;

    friend bool operator==(const SimShortcut&, const SimShortcut&) = default;
};

// A whole simulated desktop as a scenario file describes it.
struct SimScenario {
    // The first is the primary screen; a laptop's built-in display unless a file says otherwise.
    QList<SimScreen> screens{SimScreen{Rect{0, 0, 1512, 982}, Rect{0, 0, 1512, 958}}};
    QList<SimApplication> applications; // in launch order, this application's process excluded
    QList<SimScreenSet> screenSets;     // by name
    bool trusted = true;
    SimFrameworkBehaviour framework;
    QList<SimShortcut> takenShortcuts;
    SimLoginItems::Behaviour loginItem;
    QString operatingSystemVersion = QStringLiteral("Version 27.0 (Build 27A100)");
    // Seconds one accessibility round trip takes at an application that answers at once;
    // an application's own `responseDelay`, when longer, replaces it.
    double requestCost = 0.0002;
    qint32 ownPid = 1;
    // This copy's main bundle identifier; nothing for a run outside an application bundle.
    std::optional<QString> ownBundleIdentifier = Identity::bundleIdentifier;
    // Tuckaway's status item stands left of this many items of the bar (counted from the
    // right, hidden ones included) unless the user defaults remember another place.
    int statusItemPlace = 0;
    // Accessibility space: Tuckaway's icon stands exactly there, whatever its place, until it
    // is moved; nothing: the bar lays it out at its place.
    std::optional<Rect> statusItemFrame;
    // Where the menu bar remembers items stood, right to left, applications not running
    // included. Items of running applications it leaves out follow in launch order, as items
    // the bar has never seen; Tuckaway's, when left out, stands at `statusItemPlace`.
    QList<SimBarKey> remembered;
    // The application whose menus the menu bar shows; nothing: none has any.
    std::optional<qint32> frontmost;
};

// Reads scenario files. Scenarios are nested JSON (children are held, not referenced),
// so a cyclic tree cannot be written; sizes are bounded instead. Every key is optional
// except an application's "pid"; unknown and repeated keys are refused so that a
// misspelling or a slip shows. Places, sizes and delays are bounded (`SimJsonReader::Range`).
//   { "osVersion": "...", "trusted": true, "requestCost": 0.0002,
//     "screens": [{"frame": {"x","y","width","height"}, "visibleFrame": {...},
//                  "notch": {"width", "height"}}],
//     "frontmost": 812,
//     "screenSets": {"laptop": [screen, ...], "docked": [...]},
//     "tuckaway": {"pid": 900, "place": 3, "bundle": "app.tuckaway.Tuckaway" or null}
//                 or {"pid": 900, "frame": {"x","y","width","height"}, "bundle": ...},
//     "framework": {"present": true, "answer": "success|error|exception|none",
//                   "errorDescription", "exceptionName", "exceptionReason", "delay": 0.1},
//     "takenShortcuts": [{"key": "M", "modifiers": "controlOptionCommand", "holder": "Name",
//                         "exclusive": false, "registerStatus": 0}],
//     "loginItem": {"requiresApproval", "appFound", "registerError", "unregisterError"},
//     "apps": [{"pid": 812, "bundle": "...", "name": "...", "responseDelay": 0.5,
//               "answersBeforeHanging": 40, "extrasMenuBar": true, "items": [element, ...],
//               "menus": ["File", {"title": "Edit", "width": 40}, {"title", "frame"}]}],
//     "remembered": [{"bundle": "...", "item": 0}, {"pid": 1933},
//                    {"autosaveName": "Tuckaway.main"}] }
// An element: "role", "title", "description" (absent, or any JSON value: only a string
// reads as text), "frame" or "position" / "size" (null: the attribute cannot be read),
// "width" in the bar, "actions", "positionSettable", "settableError", "pressResult",
// "pressDelay", "children".
namespace SimScenarioLoader {

constexpr qint64 maximumFileBytes = ScenarioLimits::maximumFileBytes;
constexpr int maximumElements = ScenarioLimits::maximumElements;
constexpr int maximumDepth = ScenarioLimits::maximumDepth;
constexpr int maximumScreens = ScenarioLimits::maximumScreens;
constexpr double longestMenuBar = ScenarioLimits::longestMenuBar;
constexpr int maximumScreenSets = 16;
// Names no screen set takes: "none" is always the empty list, and "sleep" and "change" are
// the system's other screen events.
inline const QStringList reservedScreenSetNames{QStringLiteral("none"), QStringLiteral("sleep"),
                                                QStringLiteral("change")};
constexpr int maximumTakenShortcuts = 64;

// Fails with "<file>: <place>: <reason>", e.g.
// "scenario.json: apps[3].items[0].frame.width: must not be negative".
Result<SimScenario> load(const QString& path);
Result<SimScenario> parse(const QByteArray& json, const QString& fileName);

// The desktop a run without a scenario shows; built into the binary.
SimScenario builtIn();

} // namespace SimScenarioLoader

} // namespace tk
