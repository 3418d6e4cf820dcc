#pragma once

#include "control/ControlProtocol.h"

#include <QString>
#include <variant>

namespace tk {

struct ControlEndpoint;
using EndpointOrProblem = std::variant<ControlEndpoint, ControlText>;

// Where the running copy of this user listens: a local socket named for the user, with the
// lock that says which copy holds it, in a folder only this user can enter.
struct ControlEndpoint {
    static inline const QString notRunning =
        QStringLiteral("Tuckaway no está en marcha; no se ha iniciado.");

    QString folder;
    QString socketPath;
    QString lockPath;

    // The folder is $XDG_RUNTIME_DIR when that is set and private; otherwise a folder of its
    // own, mode 0700, in the temporary directory (on macOS that is already the user's own).
    // A server makes that folder (`create`), a client never does. Refused, with the reason,
    // when the folder is missing or is not this user's alone.
    static EndpointOrProblem locate(bool create);
    // The same rule over the folders given.
    static EndpointOrProblem locateIn(const QString& runtimeFolder, const QString& temporaryFolder,
                                      bool create);
    // Why `folder` is not one only this user can enter; nothing when it is.
    static std::optional<ControlText> privacyProblem(const QString& folder);
};

} // namespace tk
