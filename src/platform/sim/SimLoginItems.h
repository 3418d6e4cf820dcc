#pragma once

#include "settings/LoginItemService.h"

namespace tk {

// The simulated system's login item registration. How it answers is part of the
// scenario: registration may need the person's approval, or fail with a description.
class SimLoginItems final : public LoginItemService {
public:
    struct Behaviour {
        bool requiresApproval = false;
        bool appFound = true; // false: the service cannot find the application at all
        std::optional<Error> registerFailure;
        std::optional<Error> unregisterFailure;
    };

    SimLoginItems() = default;
    explicit SimLoginItems(Behaviour behaviour) : m_behaviour(std::move(behaviour)) {}

    Status status() const override;
    std::optional<Error> registerApp() override;
    std::optional<Error> unregisterApp() override;

    Behaviour& behaviour() { return m_behaviour; }
    // The person approves a registration that waits for approval.
    void approve();

private:
    Behaviour m_behaviour;
    Status m_status = Status::NotRegistered;
};

} // namespace tk
