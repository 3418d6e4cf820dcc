#pragma once

#include "platform/Platform.h"

class VirtualTimeSource;

// The simulated macOS desktop with the services it is given: simulated ones in tests,
// the host's real ones (settings file, file dialogs, autostart) in the application.
class SimPlatform final : public Platform {
public:
    struct Services {
        std::unique_ptr<UserDefaults> userDefaults;
        std::unique_ptr<TimeSource> time;
        std::unique_ptr<LoginItemService> loginItems;
        std::unique_ptr<FilePanels> filePanels;
    };

    explicit SimPlatform(Services services);
    ~SimPlatform() override;

    // Everything simulated: in-memory defaults, virtual time, simulated login items,
    // scripted file panels.
    static std::unique_ptr<SimPlatform> forTests();

    UserDefaults& userDefaults() override;
    TimeSource& time() override;
    LoginItemService& loginItems() override;
    FilePanels& filePanels() override;

private:
    Services m_services;
};
