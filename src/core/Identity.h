#pragma once

#include <QString>

namespace tk {

// Who this application is to the system.
namespace Identity {

inline const QString bundleIdentifier = QStringLiteral("app.tuckaway.Tuckaway");
inline const QString name = QStringLiteral("Tuckaway");
inline const QString version = QStringLiteral(TUCKAWAY_VERSION);

} // namespace Identity

} // namespace tk
