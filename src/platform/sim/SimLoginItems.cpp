#include "SimLoginItems.h"

namespace tk {

SimLoginItems::SimLoginItems(Behaviour behaviour, std::unique_ptr<LoginItemService> host)
    : m_behaviour(std::move(behaviour)), m_host(std::move(host)),
      m_status(m_behaviour.registration)
{
    if (!m_host)
        return;
    const bool entered = m_host->status() == Status::Enabled;
    m_status = !entered                ? Status::NotRegistered
               : m_behaviour.switchedOff ? Status::RequiresApproval
                                         : Status::Enabled;
}

SimLoginItems::~SimLoginItems() = default;

LoginItemService::Status SimLoginItems::status() const
{
    if (!m_behaviour.appFound || (m_host && m_host->status() == Status::NotFound))
        return Status::NotFound;
    return m_status;
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
    if (m_status == Status::Enabled)
        return m_host ? m_host->registerApp() : std::nullopt;
    return become(m_behaviour.requiresApproval ? Status::RequiresApproval : Status::Enabled);
}

std::optional<Error> SimLoginItems::unregisterApp()
{
    if (m_behaviour.unregisterFailure)
        return m_behaviour.unregisterFailure;
    if (m_status == Status::NotRegistered)
        return Error{QStringLiteral("SMAppServiceErrorDomain"), 2,
                     QStringLiteral("The application is not registered as a login item.")};
    return become(Status::NotRegistered);
}

// The person's switch changes what the system has, not Tuckaway's switch: a failure of the
// host's entry shows in the status Tuckaway reads next.
void SimLoginItems::approve()
{
    m_behaviour.switchedOff = false;
    if (m_status == Status::RequiresApproval)
        become(Status::Enabled);
}

void SimLoginItems::switchOff()
{
    m_behaviour.switchedOff = true;
    if (m_status == Status::Enabled)
        become(Status::RequiresApproval);
}

std::optional<Error> SimLoginItems::become(Status status)
{
    const bool wasEnabled = m_status == Status::Enabled;
    const bool enabled = status == Status::Enabled;
    if (m_host && enabled != wasEnabled) {
        if (auto error = enabled ? m_host->registerApp() : m_host->unregisterApp())
            return error;
    }
    m_status = status;
    return std::nullopt;
}

} // namespace tk
