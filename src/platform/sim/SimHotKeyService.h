#pragma once

#include "hotkey/HotKeyService.h"
#include "platform/sim/SimScenario.h"

#include <QList>
#include <QString>
#include <map>
#include <memory>

namespace tk {

// The simulated system's hot key service. Like the Mac's, it refuses a combination that this
// application already registered with `hotKeyExists`; a combination another application
// holds is shared, as hot keys registered without options are: a press reaches every holder,
// this application included, unless one holds it exclusively, which keeps it to itself.
//
// Off macOS with a display, the person's own keyboard comes through the host's service: it
// grabs each combination the simulated system lets this application register, and its
// presses are presses here, so that the other applications' holdings apply to them too.
class SimHotKeyService final : public HotKeyService {
public:
    explicit SimHotKeyService(std::unique_ptr<HotKeyService> host = nullptr);
    ~SimHotKeyService() override;

    struct Combination {
        quint32 keyCode = 0;
        quint32 modifiers = 0;

        friend bool operator==(const Combination&, const Combination&) = default;

        // The combination the settings record's names stand for; absent for unknown names.
        static std::optional<Combination> fromNames(const QString& key, const QString& modifiers);
    };

    struct Registration {
        Combination combination;
        HotKeyId id;
    };

    // The shortcuts other applications hold, in the order they registered them. Names
    // outside the settings record's ones stand for no combination this application could
    // ask for, and are left out.
    void setTakenShortcuts(const QList<SimShortcut>& taken);
    // The other applications a press of `combination` reaches, as the scenario lists them
    // (its place in the list and what it says of the holder): the exclusive holder alone,
    // or every holder.
    struct Holder {
        int place = 0; // in the scenario's list of taken shortcuts
        SimShortcut shortcut;
    };
    QList<Holder> holdersReached(Combination combination) const;

    // Every later installation of a press handler answers `status` (`noError`: succeeds).
    void setInstallStatus(Status status) { m_installStatus = status; }

    // The person presses a combination. When a hot key of this application matches and no
    // other application holds the combination exclusively, its press goes to the installed
    // handlers, newest first, until one handles it. Answers whether one did.
    bool press(Combination combination);

    QList<Registration> registrations() const;
    int handlerCount() const { return int(m_handlers.size()); }
    // Installations, removals, registrations and unregistrations so far, failed ones included.
    int operationCount() const { return m_operations; }

    Answer<HandlerRef> installPressHandler(PressHandler handler) override;
    void removePressHandler(HandlerRef ref) override;
    Answer<KeyRef> registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id) override;
    void unregisterHotKey(KeyRef ref) override;

private:
    struct Holding {
        Combination combination;
        Holder holder;
    };

    bool isRegistered(const Combination& combination) const;
    bool deliver(HotKeyId id); // a copy: a handler may unregister the hot key
    Status pressFromHost(const std::optional<HotKeyId>& id);

    std::unique_ptr<HotKeyService> m_host;
    std::optional<HandlerRef> m_hostHandler;
    std::map<quintptr, KeyRef> m_hostKeys; // the host's grab of each registration

    QList<Holding> m_taken;
    Status m_installStatus = noError;
    std::map<quintptr, PressHandler> m_handlers; // keyed by reference: installation order
    std::map<quintptr, Registration> m_hotKeys;
    quintptr m_nextRef = 1;
    int m_operations = 0;
};

} // namespace tk
