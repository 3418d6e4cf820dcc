#pragma once

#include <QString>

namespace tk {

// Who this application is to the system.
namespace Identity {

inline const QString bundleIdentifier = QStringLiteral("app.tuckaway.Tuckaway");
inline const QString name = QStringLiteral("Tuckaway");
inline const QString version = QStringLiteral(TUCKAWAY_VERSION);

// Tuckaway's own status item: its fixed length in points, and the name under which the
// system remembers its place in the menu bar.
constexpr double statusItemLength = 30.0;
inline const QString statusItemAutosaveName = QStringLiteral("Tuckaway.main");

} // namespace Identity

} // namespace tk
