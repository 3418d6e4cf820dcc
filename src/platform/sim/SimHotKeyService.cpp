#include "SimHotKeyService.h"

#include "hotkey/GlobalHotKey.h"
#include "platform/sim/SimScenario.h"

#include <algorithm>

namespace tk {

std::optional<SimHotKeyService::Combination>
SimHotKeyService::Combination::fromNames(const QString& key, const QString& modifiers)
{
    const auto code = GlobalHotKey::keyCode(key);
    const auto mask = GlobalHotKey::modifierMask(modifiers);
    if (!code || !mask)
        return std::nullopt;
    return Combination{*code, *mask};
}

SimHotKeyService::SimHotKeyService(std::unique_ptr<HotKeyService> host) : m_host(std::move(host))
{
}

SimHotKeyService::~SimHotKeyService()
{
    if (!m_host)
        return;
    for (const auto& [ref, hostKey] : m_hostKeys)
        m_host->unregisterHotKey(hostKey);
    if (m_hostHandler)
        m_host->removePressHandler(*m_hostHandler);
}

void SimHotKeyService::setTakenShortcuts(const QList<SimShortcut>& taken)
{
    m_taken.clear();
    for (qsizetype i = 0; i < taken.size(); ++i) {
        const SimShortcut& shortcut = taken.at(i);
        if (const auto combination = Combination::fromNames(shortcut.key, shortcut.modifiers))
            m_taken.append({*combination, Holder{int(i), shortcut}});
    }
}

QList<SimHotKeyService::Holder> SimHotKeyService::holdersReached(Combination combination) const
{
    QList<Holder> holders;
    for (const Holding& held : m_taken) {
        if (held.combination != combination)
            continue;
        if (held.holder.shortcut.exclusive)
            return {held.holder};
        holders.append(held.holder);
    }
    return holders;
}

HotKeyService::Answer<HotKeyService::HandlerRef>
SimHotKeyService::installPressHandler(PressHandler handler)
{
    ++m_operations;
    if (m_installStatus != noError)
        return {m_installStatus, {}};
    if (m_host && !m_hostHandler) {
        const Answer<HandlerRef> host = m_host->installPressHandler(
            [this](const std::optional<HotKeyId>& id) { return pressFromHost(id); });
        if (host.status != noError)
            return {host.status, {}};
        m_hostHandler = host.ref;
    }
    const quintptr ref = m_nextRef++;
    m_handlers.emplace(ref, std::move(handler));
    return {noError, HandlerRef{ref}};
}

void SimHotKeyService::removePressHandler(HandlerRef ref)
{
    ++m_operations;
    m_handlers.erase(quintptr(ref));
}

HotKeyService::Answer<HotKeyService::KeyRef>
SimHotKeyService::registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id)
{
    ++m_operations;
    const Combination combination{keyCode, modifiers};
    if (isRegistered(combination))
        return {hotKeyExists, {}};
    for (const Holding& held : std::as_const(m_taken)) {
        if (held.combination == combination && held.holder.shortcut.registerStatus != noError)
            return {held.holder.shortcut.registerStatus, {}};
    }
    const quintptr ref = m_nextRef++;
    if (m_host) {
        const Answer<KeyRef> host = m_host->registerHotKey(keyCode, modifiers, id);
        if (host.status != noError)
            return {host.status, {}};
        m_hostKeys.emplace(ref, host.ref);
    }
    m_hotKeys.emplace(ref, Registration{combination, id});
    return {noError, KeyRef{ref}};
}

void SimHotKeyService::unregisterHotKey(KeyRef ref)
{
    ++m_operations;
    m_hotKeys.erase(quintptr(ref));
    if (const auto hostKey = m_hostKeys.find(quintptr(ref)); hostKey != m_hostKeys.end()) {
        m_host->unregisterHotKey(hostKey->second);
        m_hostKeys.erase(hostKey);
    }
}

bool SimHotKeyService::isRegistered(const Combination& combination) const
{
    return std::any_of(m_hotKeys.begin(), m_hotKeys.end(),
                       [&](const auto& entry) { return entry.second.combination == combination; });
}

bool SimHotKeyService::press(Combination combination)
{
    const QList<Holder> others = holdersReached(combination);
    if (others.size() == 1 && others.first().shortcut.exclusive)
        return false;
    const auto match = std::find_if(m_hotKeys.begin(), m_hotKeys.end(), [&](const auto& entry) {
        return entry.second.combination == combination;
    });
    return match != m_hotKeys.end() && deliver(match->second.id);
}

HotKeyService::Status SimHotKeyService::pressFromHost(const std::optional<HotKeyId>& id)
{
    const auto match = std::find_if(m_hotKeys.begin(), m_hotKeys.end(), [&](const auto& entry) {
        return id && entry.second.id == *id;
    });
    return match != m_hotKeys.end() && press(match->second.combination) ? noError
                                                                        : eventNotHandled;
}

bool SimHotKeyService::deliver(HotKeyId id)
{
    // Handlers may install or remove handlers while they run: walk a snapshot and skip
    // the ones removed meanwhile.
    const auto handlers = m_handlers;
    for (auto it = handlers.rbegin(); it != handlers.rend(); ++it) {
        if (m_handlers.count(it->first) && it->second(id) == noError)
            return true;
    }
    return false;
}

QList<SimHotKeyService::Registration> SimHotKeyService::registrations() const
{
    QList<Registration> result;
    for (const auto& entry : m_hotKeys)
        result.append(entry.second);
    return result;
}

} // namespace tk
