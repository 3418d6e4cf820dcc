#include "SimLoginItems.h"

namespace tk {

LoginItemService::Status SimLoginItems::status() const
{
    return m_behaviour.appFound ? m_status : Status::NotFound;
}

std::optional<Error> SimLoginItems::registerApp()
{
    if (m_behaviour.registerFailure)
        return m_behaviour.registerFailure;
    if (!m_behaviour.appFound)
        return Error{QStringLiteral("SMAppServiceErrorDomain"), 3,
                     QStringLiteral("The application could not be found.")};
    // The system keeps the entry, switched off, and refuses to turn it on.
    if (m_behaviour.switchedOff) {
        m_status = Status::RequiresApproval;
        return Error{QStringLiteral("SMAppServiceErrorDomain"), 1,
                     QStringLiteral("Operation not permitted")};
    }
    // An approved registration stays approved when registered again.
    if (m_status != Status::Enabled)
        m_status = m_behaviour.requiresApproval ? Status::RequiresApproval : Status::Enabled;
    return std::nullopt;
}

std::optional<Error> SimLoginItems::unregisterApp()
{
    if (m_behaviour.unregisterFailure)
        return m_behaviour.unregisterFailure;
    if (m_status == Status::NotRegistered)
        return Error{QStringLiteral("SMAppServiceErrorDomain"), 2,
                     QStringLiteral("The application is not registered as a login item.")};
    m_status = Status::NotRegistered;
    return std::nullopt;
}

void SimLoginItems::approve()
{
    m_behaviour.switchedOff = false;
    if (m_status == Status::RequiresApproval)
        m_status = Status::Enabled;
}

void SimLoginItems::switchOff()
{
    m_behaviour.switchedOff = true;
    if (m_status == Status::Enabled)
        m_status = Status::RequiresApproval;
}

} // namespace tk
