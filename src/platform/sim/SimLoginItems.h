#pragma once

#include "settings/LoginItemService.h"

namespace tk {

// The simulated system's login item registration. How it answers is part of the scenario:
// registration may need the person's approval, or fail with a description. As on a Mac, the
// person may switch Tuckaway off, or on again, in System Settings (General, Login Items) at
// any moment: switched off, a registration fails with "Operation not permitted" and waits
// for approval, and an enabled one waits for approval again.
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
    explicit SimLoginItems(Behaviour behaviour)
        : m_behaviour(std::move(behaviour)), m_status(m_behaviour.registration)
    {
    }

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
    Behaviour m_behaviour;
    Status m_status = Status::NotRegistered;
};

} // namespace tk
