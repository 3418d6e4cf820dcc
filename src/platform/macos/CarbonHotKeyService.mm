#include "CarbonHotKeyService.h"

#include <Carbon/Carbon.h>
#include <map>

namespace tk {

namespace {

OSStatus hotKeyPressed(EventHandlerCallRef, EventRef event, void* userData)
{
    if (userData == nullptr)
        return eventNotHandledErr;
    // A copy: the handler may remove itself, and so destroy the stored one, while it runs.
    const HotKeyService::PressHandler handler =
        *static_cast<const HotKeyService::PressHandler*>(userData);

    std::optional<HotKeyService::HotKeyId> id;
    EventHotKeyID hotKeyID{};
    if (event != nullptr &&
        GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr,
                          sizeof(hotKeyID), nullptr, &hotKeyID) == noErr)
        id = HotKeyService::HotKeyId{hotKeyID.signature, hotKeyID.id};
    return handler(id);
}

} // namespace

struct CarbonHotKeyService::Private {
    // Carbon keeps a pointer to each handler as its user data; they live here until removed.
    std::map<EventHandlerRef, std::unique_ptr<PressHandler>> handlers;
};

CarbonHotKeyService::CarbonHotKeyService() : d(std::make_unique<Private>()) {}

CarbonHotKeyService::~CarbonHotKeyService()
{
    for (const auto& entry : d->handlers)
        RemoveEventHandler(entry.first);
}

HotKeyService::Answer<HotKeyService::HandlerRef>
CarbonHotKeyService::installPressHandler(PressHandler handler)
{
    auto stored = std::make_unique<PressHandler>(std::move(handler));
    const EventTypeSpec pressed{kEventClassKeyboard, kEventHotKeyPressed};
    EventHandlerRef ref = nullptr;
    const OSStatus status = InstallEventHandler(GetApplicationEventTarget(), hotKeyPressed, 1,
                                                &pressed, stored.get(), &ref);
    if (status != noErr)
        return {status, {}};
    d->handlers.emplace(ref, std::move(stored));
    return {noError, HandlerRef{reinterpret_cast<quintptr>(ref)}};
}

void CarbonHotKeyService::removePressHandler(HandlerRef ref)
{
    const auto handlerRef = reinterpret_cast<EventHandlerRef>(static_cast<quintptr>(ref));
    RemoveEventHandler(handlerRef);
    d->handlers.erase(handlerRef);
}

HotKeyService::Answer<HotKeyService::KeyRef>
CarbonHotKeyService::registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id)
{
    const EventHotKeyID hotKeyID{id.signature, id.number};
    EventHotKeyRef ref = nullptr;
    const OSStatus status =
        RegisterEventHotKey(keyCode, modifiers, hotKeyID, GetApplicationEventTarget(), 0, &ref);
    if (status != noErr)
        return {status, {}};
    return {noError, KeyRef{reinterpret_cast<quintptr>(ref)}};
}

void CarbonHotKeyService::unregisterHotKey(KeyRef ref)
{
    UnregisterEventHotKey(reinterpret_cast<EventHotKeyRef>(static_cast<quintptr>(ref)));
}

} // namespace tk
