#pragma once

#include <QStringList>
#include <memory>
#include <optional>

namespace tk {

class Accessibility;
class DesktopServices;
class FilePanels;
class HotKeyService;
class LoginItemService;
class NativeVisibilityBridge;
class PrivacySettings;
class TimeSource;
class UserDefaults;
class Workspace;

// Hands out the seams of the platform chosen at start: the Mac's own services on
// macOS, the simulated desktop (with Linux's real services where it has them)
// everywhere else.
class Platform {
public:
    virtual ~Platform() = default;

    virtual UserDefaults& userDefaults() = 0;
    virtual TimeSource& time() = 0;
    virtual LoginItemService& loginItems() = 0;
    virtual FilePanels& filePanels() = 0;
    virtual HotKeyService& hotKeys() = 0;
    virtual Accessibility& accessibility() = 0;
    virtual Workspace& workspace() = 0;
    virtual NativeVisibilityBridge& visibilityBridge() = 0;
    virtual DesktopServices& desktopServices() = 0;
    virtual PrivacySettings& privacySettings() = 0;
};

// Start-up choices that reach the platform. `scenarioPath`, when given (even empty), names
// a simulated desktop to load instead of the built-in one; it means nothing on macOS.
// `replayable` asks for a run that goes the same way each time: virtual time, settings kept
// in memory and every service simulated (a scripted session); it means nothing on macOS.
struct PlatformOptions {
    std::optional<QString> scenarioPath;
    bool replayable = false;
};

// Builds the platform of this build. Fails with a message a person can act on (for
// example a scenario file that cannot be used).
struct PlatformOrError {
    std::unique_ptr<Platform> platform;
    QString error;
};
PlatformOrError createPlatform(const PlatformOptions& options);

} // namespace tk
