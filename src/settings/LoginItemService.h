#pragma once

#include "core/Result.h"

#include <optional>

namespace tk {

// The system's launch-at-login registration of this application.
class LoginItemService {
public:
    enum class Status { Enabled, RequiresApproval, NotRegistered, NotFound };

    virtual ~LoginItemService() = default;
    virtual Status status() const = 0;
    // Each answers nothing on success, the platform's error otherwise.
    virtual std::optional<Error> registerApp() = 0;
    virtual std::optional<Error> unregisterApp() = 0;
};

} // namespace tk
