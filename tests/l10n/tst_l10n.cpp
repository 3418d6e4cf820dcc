#include "core/UserDefaults.h"
#include "l10n/L10n.h"
#include "l10n/L10nTable.h"

#include <QTest>
#include <array>
#include <latch>
#include <thread>

using namespace tk;
using namespace Qt::StringLiterals;

namespace {

const QString en = u"en"_s;
const QString es = u"es"_s;

} // namespace

class TestL10n : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Must stay first: it is the process's first use of both tables.
    void concurrentFirstUseSeesOneCompleteTable()
    {
        constexpr int threadCount = 8;
        std::array<std::pair<QString, const void*>, threadCount> seen;
        std::latch start(threadCount);
        std::array<std::thread, threadCount> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads[i] = std::thread([&, i] {
                start.arrive_and_wait();
                seen[i] = {L10n::text(u"Mostrar todo y pausar ya"_s, en), &L10n::english()};
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        for (const auto& [shown, table] : seen) {
            QCOMPARE(shown, u"Show all and pause ya"_s);
            QCOMPARE(table, seen[0].second);
        }
    }

    void cleanup() { L10n::setStandardDefaults(nullptr); }

    // Fewer entries than rows would mean a repeated key. Equal lengths keep the table's order.
    void tablesHoldEveryRowLongestFirst()
    {
        const auto rows = L10n::detail::tableRows();
        const auto& ordered = L10n::fragments();
        QCOMPARE(L10n::english().size(), rows.size());
        QCOMPARE(ordered.size(), rows.size());
        for (qsizetype i = 0; i < ordered.size(); ++i) {
            QCOMPARE(L10n::english().value(ordered[i].first), ordered[i].second);
            if (i == 0)
                continue;
            const qsizetype before = ordered[i - 1].first.size(); // no key has a combining mark
            const qsizetype here = ordered[i].first.size();
            QVERIFY2(before >= here, qPrintable(ordered[i].first));
            if (before == here)
                QVERIFY(rows.indexOf(ordered[i - 1]) < rows.indexOf(ordered[i]));
        }
    }

    // Only "en" translates: a key whole, else every key inside the text, longest first.
    void translation()
    {
        const QList<std::tuple<const char*, QString, const char*>> cases = {
            {"Configuración aplicada.", es, "Configuración aplicada."},
            {"Configuración aplicada.", en, "Settings applied."},
            {"Configuración aplicada.", u"EN"_s, "Configuración aplicada."},
            {"Mostrar todo", u"fr"_s, "Mostrar todo"},
            {"12 elementos detectados", en, "12 items detected"},
            {"Mostrar todo y pausar durante la demo", en, "Show all and pause durante la demo"},
            {"Ocultar grupo izquierdo (3)", en, "Hide left group (3)"},
            {"Fecha: hoy · Fecha: ayer", en, "Date: hoy · Date: ayer"},
            {"com.example.weather-widget", en, "com.example.weather-widget"},
        };
        for (const auto& [spanish, language, expected] : cases)
            QCOMPARE(L10n::text(QString::fromUtf8(spanish), language), QString::fromUtf8(expected));
    }

    // The stored "en" or "es", otherwise the first preferred language decides.
    void languageChoice()
    {
        const QVariant french = u"fr"_s;
        const QList<std::tuple<QVariant, QStringList, QString>> cases = {
            {es, {u"en-US"_s}, es},
            {en, {u"es-ES"_s}, en},
            {french, {}, en},
            {french, {u"fr"_s, u"es"_s}, en},
            {u"ES"_s, {u"en"_s}, en},
            {true, {u"es"_s}, es},
            {QVariant(), {u"es-MX"_s, u"en"_s}, es},
        };
        for (const auto& [stored, preferred, expected] : cases) {
            InMemoryUserDefaults defaults;
            if (stored.isValid())
                defaults.setRaw(L10n::languageKey, stored);
            QCOMPARE(L10n::initialLanguage(defaults, preferred), expected);
        }
    }

    void textWithoutLanguageFollowsRegisteredStore()
    {
        const QString key = u"Mostrar todo"_s;
        InMemoryUserDefaults defaults;
        L10n::setStandardDefaults(&defaults);
        defaults.setString(L10n::languageKey, en);
        QCOMPARE(L10n::text(key), u"Show all"_s);
        defaults.setString(L10n::languageKey, es);
        QCOMPARE(L10n::text(key), key);
    }
};

QTEST_GUILESS_MAIN(TestL10n)
#include "tst_l10n.moc"
