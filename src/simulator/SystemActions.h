#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

class SimPlatform;

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

// Starts a second copy of Tuckaway while this one runs: another process on the same
// simulated desktop, whose launch finds this copy, brings it forward and quits, as a second
// launch does on a Mac. True when it handed over.
bool launchSecondCopy(SimPlatform& platform);

} // namespace tk
