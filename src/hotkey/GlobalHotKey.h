#pragma once

#include "hotkey/HotKeyService.h"
#include "hotkey/HotKeySettings.h"

#include <QString>
#include <functional>
#include <optional>

namespace tk {

// The one system-wide shortcut: registers the settings record's shortcut with the hot key
// service, calls the action on every press and describes the outcome in a Spanish status
// line (translated only when shown).
//
// The service must outlive this object; destroying it removes the registration first, so the
// service never calls into a dead instance.
class GlobalHotKey {
public:
    using Action = std::function<void()>;

    // What presses carry: the four characters "TKWY" read as a big-endian number, and 1.
    static constexpr HotKeyService::HotKeyId identifier{0x544B5759, 1};

    explicit GlobalHotKey(HotKeyService& service);
    ~GlobalHotKey();
    GlobalHotKey(const GlobalHotKey&) = delete;
    GlobalHotKey& operator=(const GlobalHotKey&) = delete;

    // Applies the settings (absent: no shortcut) and returns the status line, also kept in
    // `status()`. The action is replaced in every case; settings equal to the last ones
    // change nothing else.
    QString configure(const std::optional<HotKeySettings>& settings, Action action);

    // Removes the registration and the handler and forgets the settings; the status line
    // and the action stay.
    void stop();

    const QString& status() const { return m_status; }
    const std::optional<HotKeySettings>& settings() const { return m_settings; }
    bool isRegistered() const { return m_keyRef.has_value(); }

    // The registration values of the settings' names; absent for a name outside the
    // allowed ones.
    static std::optional<quint32> keyCode(const QString& key);
    static std::optional<quint32> modifierMask(const QString& modifiers);
    static bool isKnownAction(const QString& action);

private:
    QString registerShortcut(const HotKeySettings& settings);
    HotKeyService::Status handlePress(const std::optional<HotKeyService::HotKeyId>& id);

    HotKeyService& m_service;
    std::optional<HotKeyService::KeyRef> m_keyRef;
    std::optional<HotKeyService::HandlerRef> m_handlerRef;
    std::optional<HotKeySettings> m_settings;
    Action m_action;
    QString m_status;
};

} // namespace tk
