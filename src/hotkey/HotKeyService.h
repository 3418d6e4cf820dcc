#pragma once

#include <QtGlobal>
#include <functional>
#include <optional>

namespace tk {

// The system's hot key service as the shortcut needs it. It speaks the Mac's vocabulary
// (virtual key codes of the ANSI layout, the event manager's modifier masks, status codes
// where 0 is success), so the Mac's own service is a plain translation and every other
// platform maps these values to its own.
//
// Presses are delivered on the main thread, and the press handler is called synchronously;
// a handler may remove itself or register anew while it runs.
class HotKeyService {
public:
    using Status = qint32;

    // Status codes of the Mac's event manager that the service answers with.
    static constexpr Status noError = 0;
    static constexpr Status eventNotHandled = -9874;
    static constexpr Status hotKeyExists = -9878;  // the combination is taken
    static constexpr Status hotKeyInvalid = -9879; // the combination cannot be expressed

    // Virtual key codes (ANSI layout).
    static constexpr quint32 keyCodeB = 0x0B;
    static constexpr quint32 keyCodeM = 0x2E;
    static constexpr quint32 keyCodeSpace = 0x31;

    // Modifier masks.
    static constexpr quint32 commandMask = 0x0100;
    static constexpr quint32 shiftMask = 0x0200;
    static constexpr quint32 optionMask = 0x0800;
    static constexpr quint32 controlMask = 0x1000;

    // What a press carries back: the signature and number given at registration.
    struct HotKeyId {
        quint32 signature = 0;
        quint32 number = 0;

        friend bool operator==(const HotKeyId&, const HotKeyId&) = default;
    };

    // Called for every press of a hot key of this application, with the identifier read out
    // of the press (absent when it cannot be read). Answers `noError` when it handled the
    // press, `eventNotHandled` to pass it on.
    using PressHandler = std::function<Status(const std::optional<HotKeyId>& id)>;

    enum class HandlerRef : quintptr {};
    enum class KeyRef : quintptr {};

    // A reference is meaningful only when the status is `noError`.
    template <class Ref> struct Answer {
        Status status = noError;
        Ref ref{};
    };

    virtual ~HotKeyService() = default;

    virtual Answer<HandlerRef> installPressHandler(PressHandler handler) = 0;
    virtual void removePressHandler(HandlerRef ref) = 0;
    virtual Answer<KeyRef> registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id) = 0;
    virtual void unregisterHotKey(KeyRef ref) = 0;
};

} // namespace tk
