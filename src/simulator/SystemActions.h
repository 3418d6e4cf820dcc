#pragma once

#include "settings/LoginItemService.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

class SimDesktop;
class SimPlatform;
struct Rect;
struct SimScreen;

// What a person or the system does that the simulated desktop has no control of its own
// for; shared by the simulator window's panel and scripted sessions.

// What the simulator says about something the system did: a Spanish text with %1…
// placeholders, and what fills them.
struct SystemNote {
    QString spanish;
    QStringList arguments;
};

// What a press of the global shortcut did.
struct ShortcutPress {
    bool handled = false; // a press handler of Tuckaway's took it
    // The other applications holding the combination that heard it: by the name the
    // scenario gives, else by their place in its list of taken shortcuts.
    QStringList others;
    bool exclusive = false; // one of them holds it exclusively, so Tuckaway heard nothing

    // What the panel and a session say when other applications heard the press.
    std::optional<SystemNote> note() const;
};

// Presses the global shortcut as registered; nothing happens when none is.
ShortcutPress pressShortcut(SimPlatform& platform);

// The screens of the list the scenario names, no screen for "none"; nothing for a name the
// scenario does not give.
std::optional<QList<SimScreen>> namedScreens(const SimDesktop& desktop, const QString& name);
// Screens with these frames, each with its menu bar at the top.
QList<SimScreen> screensOf(const QList<Rect>& frames);
// "1512 × 982 @ 0,0 · 1920 × 1080 @ 1512,-98", the primary first; empty for no screen.
QString describedScreens(const QList<SimScreen>& screens);

// The login item's status as the simulator says it, in Spanish.
QString loginItemStatusText(LoginItemService::Status status);

// Starts a second copy of Tuckaway while this one runs: another process on the same
// simulated desktop, whose launch looks for a running copy by its bundle identifier, as a
// second launch does on a Mac. When it finds this one it brings it forward and quits; a copy
// outside a bundle has no identifier to be found by, so the second copy launches beside it,
// and the simulator ends it at once. Answers what the panel and a session say of it.
SystemNote launchSecondCopy(SimPlatform& platform);

} // namespace tk
