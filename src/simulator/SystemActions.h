#pragma once

namespace tk {

class SimPlatform;

// What a person or the system does that the simulated desktop has no control of its own
// for; shared by the simulator window's panel and scripted sessions.

// Presses the global shortcut as registered; nothing happens when none is. True when a
// press handler took it.
bool pressShortcut(SimPlatform& platform);

// Starts a second copy of Tuckaway while this one runs: another process on the same
// simulated desktop, whose launch finds this copy, brings it forward and quits, as a second
// launch does on a Mac. True when it handed over.
bool launchSecondCopy(SimPlatform& platform);

} // namespace tk
