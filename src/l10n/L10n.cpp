#include "l10n/L10n.h"

#include "core/UserDefaults.h"
#include "l10n/L10nTable.h"

#include <QLocale>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <atomic>
#include <vector>

namespace tk {

namespace L10n {
namespace {

std::atomic<const UserDefaults*> standardDefaults{nullptr};

bool isSupported(const QString& language)
{
    return language == u"en" || language == u"es";
}

// Only the most preferred language counts: Spanish second after French still means English.
QString languageFromPreferred(const QStringList& preferredLanguages)
{
    const bool spanishFirst =
        !preferredLanguages.isEmpty() && preferredLanguages.first().startsWith(u"es");
    return spanishFirst ? QStringLiteral("es") : QStringLiteral("en");
}

QStringList systemPreferredLanguages()
{
    return QLocale::system().uiLanguages();
}

QString currentLanguage()
{
    const UserDefaults* defaults = standardDefaults.load(std::memory_order_acquire);
    return defaults ? initialLanguage(*defaults)
                    : languageFromPreferred(systemPreferredLanguages());
}

// Length as the user sees it, so that a key with a combining accent is not ranked longer than
// the same key written precomposed.
qsizetype graphemeCount(const QString& value)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, value);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QHash<QString, QString> buildEnglish()
{
    const QList<QPair<QString, QString>> rows = detail::tableRows();
    QHash<QString, QString> table;
    table.reserve(rows.size());
    for (const auto& [spanish, englishText] : rows)
        table.insert(spanish, englishText);
    return table;
}

// Built from the rows rather than from the hash so that keys of equal length keep one
// order from run to run.
QList<QPair<QString, QString>> buildFragments()
{
    struct Ranked {
        qsizetype length;
        QPair<QString, QString> pair;
    };
    std::vector<Ranked> ranked;
    for (const auto& pair : detail::tableRows())
        ranked.push_back({graphemeCount(pair.first), pair});
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const Ranked& a, const Ranked& b) { return a.length > b.length; });
    QList<QPair<QString, QString>> ordered;
    ordered.reserve(qsizetype(ranked.size()));
    for (const Ranked& entry : ranked)
        ordered.append(entry.pair);
    return ordered;
}

// Longer keys go first so that a key containing a shorter one ("Mostrar todo y pausar",
// "Mostrar todo") is replaced whole before the shorter one could split it.
QString translateFragments(QString assembled)
{
    for (const auto& [spanish, englishText] : fragments())
        assembled.replace(spanish, englishText);
    return assembled;
}

} // namespace

// Function-local statics: the language guarantees a single, complete initialisation even when
// several threads arrive first at once.
const QHash<QString, QString>& english()
{
    static const QHash<QString, QString> table = buildEnglish();
    return table;
}

const QList<QPair<QString, QString>>& fragments()
{
    static const QList<QPair<QString, QString>> ordered = buildFragments();
    return ordered;
}

QStringList supportedLanguages()
{
    return {QStringLiteral("en"), QStringLiteral("es")};
}

QString initialLanguage(const UserDefaults& defaults)
{
    return initialLanguage(defaults, systemPreferredLanguages());
}

QString initialLanguage(const UserDefaults& defaults, const QStringList& preferredLanguages)
{
    const std::optional<QString> stored = defaults.string(languageKey);
    if (stored && isSupported(*stored))
        return *stored;
    return languageFromPreferred(preferredLanguages);
}

void setStandardDefaults(const UserDefaults* defaults)
{
    standardDefaults.store(defaults, std::memory_order_release);
}

QString text(const QString& spanish, const std::optional<QString>& language)
{
    if ((language ? *language : currentLanguage()) != u"en")
        return spanish;
    const QHash<QString, QString>& table = english();
    const auto exact = table.constFind(spanish);
    if (exact != table.cend())
        return *exact;
    return translateFragments(spanish);
}

} // namespace L10n

} // namespace tk
