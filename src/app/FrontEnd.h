#pragma once

#include <QObject>
#include <memory>

namespace tk {

class AppDelegate;
class Platform;
struct CommandLine;
struct PlatformOptions;

// How a run shows itself besides its status item, decided by the platform chosen at
// build: on macOS the system's own menu bar is all there is; elsewhere the simulated
// desktop shows itself in a window, or runs a session where there is no display.
namespace FrontEnd {

// Before the application object exists: picks what Qt draws on (for example offscreen
// where there is no display) and what the platform is built for. A diagnostic run never
// gets here: it shows nothing.
void prepare(const CommandLine& commandLine, PlatformOptions& options);

// After a launch that left the application running. What it answers lives as long as the
// run; nothing when the platform shows nothing more.
std::unique_ptr<QObject> show(Platform& platform, AppDelegate& app, const CommandLine& commandLine);

} // namespace FrontEnd

} // namespace tk
