#pragma once

#include "hotkey/HotKeyService.h"

#include <memory>

namespace tk {

// Hot keys through the Carbon event manager, on the application's own event target. Its
// presses arrive through the main event loop, so on the main thread.
class CarbonHotKeyService final : public HotKeyService {
public:
    CarbonHotKeyService();
    ~CarbonHotKeyService() override;

    Answer<HandlerRef> installPressHandler(PressHandler handler) override;
    void removePressHandler(HandlerRef ref) override;
    Answer<KeyRef> registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id) override;
    void unregisterHotKey(KeyRef ref) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
