#pragma once

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <optional>

class UserDefaults;

// Every text is written in Spanish and translated when shown.
namespace L10n {

inline const QString languageKey = QStringLiteral("interfaceLanguage");

const QHash<QString, QString>& english();
const QList<QPair<QString, QString>>& fragments(); // longest Spanish text first
QStringList supportedLanguages();                  // "en", "es"

QString initialLanguage(const UserDefaults& defaults);
QString initialLanguage(const UserDefaults& defaults, const QStringList& preferredLanguages);

// The store that `text` reads the language from when none is given.
void setStandardDefaults(const UserDefaults* defaults);

QString text(const QString& spanish, const std::optional<QString>& language = std::nullopt);

} // namespace L10n
