#pragma once

#include "settings/LoginItemService.h"

#include <QString>

namespace tk {

// Launch at login through an XDG autostart entry: a .desktop file in the user's
// autostart folder, written atomically on register and removed on unregister. It counts as
// enabled only while it starts this executable and no other tool has switched it off.
class XdgAutostart final : public LoginItemService {
public:
    // `configHome` is $XDG_CONFIG_HOME (or ~/.config); `executable` is what the entry runs.
    XdgAutostart(QString configHome, QString executable);
    // The current user's folder and this process's executable.
    static QString defaultConfigHome();

    Status status() const override;
    std::optional<Error> registerApp() override;
    std::optional<Error> unregisterApp() override;

    QString entryPath() const;

private:
    QString m_configHome;
    QString m_executable;
};

} // namespace tk
