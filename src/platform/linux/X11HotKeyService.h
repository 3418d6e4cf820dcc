#pragma once

#include "hotkey/HotKeyService.h"

#include <memory>

struct xcb_connection_t;

namespace tk {

// Hot keys as passive key grabs on the root windows of an X display. The Mac's key codes
// become the keys that produce the same keysyms; Command becomes Mod4 (Super), Option Mod1
// (Alt). A grab another client already holds (BadAccess) is a taken combination. Presses
// come through Qt's native event filter, so on the main thread.
class X11HotKeyService final : public HotKeyService {
public:
    // `connection` must stay open for the lifetime of the service; presses are seen only
    // when it is the connection Qt reads its events from.
    explicit X11HotKeyService(xcb_connection_t* connection);
    ~X11HotKeyService() override;

    // The service on the running application's own X connection; null when the application
    // is not shown on an X display.
    static std::unique_ptr<X11HotKeyService> forApplication();

    Answer<HandlerRef> installPressHandler(PressHandler handler) override;
    void removePressHandler(HandlerRef ref) override;
    Answer<KeyRef> registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id) override;
    void unregisterHotKey(KeyRef ref) override;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
