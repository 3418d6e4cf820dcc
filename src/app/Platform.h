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

// Hands out another platform's seams; a derived platform replaces the ones it names.
class ForwardingPlatform : public Platform {
public:
    explicit ForwardingPlatform(Platform& platform) : m_platform(platform) {}

    UserDefaults& userDefaults() override { return m_platform.userDefaults(); }
    TimeSource& time() override { return m_platform.time(); }
    LoginItemService& loginItems() override { return m_platform.loginItems(); }
    FilePanels& filePanels() override { return m_platform.filePanels(); }
    HotKeyService& hotKeys() override { return m_platform.hotKeys(); }
    Accessibility& accessibility() override { return m_platform.accessibility(); }
    Workspace& workspace() override { return m_platform.workspace(); }
    NativeVisibilityBridge& visibilityBridge() override { return m_platform.visibilityBridge(); }
    DesktopServices& desktopServices() override { return m_platform.desktopServices(); }
    PrivacySettings& privacySettings() override { return m_platform.privacySettings(); }

private:
    Platform& m_platform;
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
