#pragma once

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

class UserDefaults;

// Every text is written in Spanish and translated when shown.
namespace L10n {

inline const QString languageKey = QStringLiteral("interfaceLanguage");

// The About section's credit and rights lines; keys of the table like every other text.
inline const QString aboutCreditLine =
    QStringLiteral("Desarrollado por el equipo de Tuckaway · noviembre de 2026");
inline const QString aboutRightsLine =
    QStringLiteral("© 2026 Tuckaway. Todos los derechos reservados.");

// Both tables are built once, on first use, and only read afterwards; concurrent first uses
// see one finished table.
const QHash<QString, QString>& english();
const QList<QPair<QString, QString>>& fragments(); // longest Spanish text first
QStringList supportedLanguages();                  // "en", "es"

// The stored "en" or "es" when there is one, otherwise "es" if the first preferred language
// is a Spanish one, otherwise "en".
QString initialLanguage(const UserDefaults& defaults);
QString initialLanguage(const UserDefaults& defaults, const QStringList& preferredLanguages);

// The store that `text` reads the language from when none is given. Without one, the
// system's preferred languages decide alone.
void setStandardDefaults(const UserDefaults* defaults);

// Unchanged unless the language is exactly "en"; then the English text of a key, or, for a
// text assembled from keys and other parts, every key in it replaced, longest key first.
QString text(const QString& spanish, const std::optional<QString>& language = std::nullopt);

} // namespace L10n

} // namespace tk
