#pragma once

#include "settings/LoginItemService.h"

namespace tk {

// Launch at login through the ServiceManagement registration of the main application.
class MacLoginItems final : public LoginItemService {
public:
    Status status() const override;
    std::optional<Error> registerApp() override;
    std::optional<Error> unregisterApp() override;
};

} // namespace tk
