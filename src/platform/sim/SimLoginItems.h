#pragma once

#include "settings/LoginItemService.h"

#include <memory>

namespace tk {

// The simulated system's login item registration. How it answers is part of the scenario:
// registration may need the person's approval, or fail with a description. As on a Mac, the
// person may switch Tuckaway off, or on again, in System Settings (General, Login Items) at
// any moment: switched off, a registration fails with "Operation not permitted" and waits
// for approval, and an enabled one waits for approval again.
//
// Off macOS with a display, an enabled login item is kept in the host's own autostart entry,
// so that Tuckaway really opens at login: the entry is written when the simulated system
// enables the item and removed when it stops being enabled, and the status at launch is
// the entry's (the person's switch in System Settings still applies to it).
class SimLoginItems final : public LoginItemService {
public:
    struct Behaviour {
        bool requiresApproval = false;
        bool appFound = true;     // false: the service cannot find the application at all
        bool switchedOff = false; // by the person, in System Settings
        // The registration at launch: NotRegistered, RequiresApproval or Enabled.
        Status registration = Status::NotRegistered;
        std::optional<Error> registerFailure;
        std::optional<Error> unregisterFailure;
    };

    SimLoginItems() = default;
    explicit SimLoginItems(Behaviour behaviour, std::unique_ptr<LoginItemService> host = nullptr);
    ~SimLoginItems() override;

    Status status() const override;
    std::optional<Error> registerApp() override;
    std::optional<Error> unregisterApp() override;

    Behaviour& behaviour() { return m_behaviour; }
    bool switchedOff() const { return m_behaviour.switchedOff; }
    // The person switches Tuckaway on in System Settings, approving a registration that
    // waits for it.
    void approve();
    // The person switches Tuckaway off in System Settings.
    void switchOff();

private:
    // The simulated status becomes `status`, and the host's entry follows it.
    std::optional<Error> become(Status status);

    Behaviour m_behaviour;
    std::unique_ptr<LoginItemService> m_host;
    Status m_status = Status::NotRegistered;
};

} // namespace tk
