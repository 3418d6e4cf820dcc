#include "core/UserDefaults.h"
#include "l10n/L10n.h"
#include "l10n/L10nTable.h"

#include <QTest>
#include <QTextBoundaryFinder>
#include <array>
#include <latch>
#include <thread>

using namespace tk;

namespace {

const QString en = QStringLiteral("en");
const QString es = QStringLiteral("es");

qsizetype graphemes(const QString& value)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, value);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

} // namespace

class TestL10n : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Must stay first: it is the process's first use of both tables.
    void concurrentFirstUseSeesOneCompleteTable();
    void cleanup() { L10n::setStandardDefaults(nullptr); }
    void tableHoldsEveryRowUnderDistinctKeys();
    void translation_data();
    void translation();
    void fragmentsGoLongestFirstKeepingTableOrderOnTies();
    void languageChoice_data();
    void languageChoice();
    void textWithoutLanguageFollowsRegisteredStore();
};

void TestL10n::concurrentFirstUseSeesOneCompleteTable()
{
    constexpr int threadCount = 8;
    struct Seen {
        const void* table = nullptr;
        const void* ordered = nullptr;
        qsizetype rows = 0;
        QString shown;
    };
    std::array<Seen, threadCount> seen;
    std::latch start(threadCount);
    {
        std::array<std::thread, threadCount> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads[i] = std::thread([&, i] {
                start.arrive_and_wait();
                seen[i].shown = L10n::text(QStringLiteral("Mostrar todo y pausar ya"), en);
                seen[i].table = &L10n::english();
                seen[i].ordered = &L10n::fragments();
                seen[i].rows = L10n::fragments().size();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    for (const Seen& s : seen) {
        QCOMPARE(s.shown, QStringLiteral("Show all and pause ya"));
        QCOMPARE(s.table, seen[0].table);
        QCOMPARE(s.ordered, seen[0].ordered);
        QCOMPARE(s.rows, 133);
    }
}

void TestL10n::tableHoldsEveryRowUnderDistinctKeys()
{
    const auto rows = L10n::detail::tableRows();
    QCOMPARE(rows.size(), 133);
    QCOMPARE(L10n::english().size(), rows.size()); // fewer would mean a repeated key
    QCOMPARE(L10n::fragments().size(), rows.size());
    for (const auto& [spanish, english] : L10n::fragments())
        QCOMPARE(L10n::english().value(spanish), english);
}

void TestL10n::translation_data()
{
    QTest::addColumn<QString>("spanish");
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* spanish, const QString& language,
                        const char* expected) {
        QTest::newRow(name) << QString::fromUtf8(spanish) << language
                            << QString::fromUtf8(expected);
    };
    row("exact es", "Configuración aplicada.", es, "Configuración aplicada.");
    row("exact en", "Configuración aplicada.", en, "Settings applied.");
    row("capital EN is not English", "Configuración aplicada.", QStringLiteral("EN"),
        "Configuración aplicada.");
    row("other code", "Mostrar todo", QStringLiteral("fr"), "Mostrar todo");
    row("line feed kept",
        "El símbolo se adapta al modo claro y oscuro.\nLa app usa el icono turquesa B · Puntos.",
        en, "The symbol adapts to light and dark mode.\nThe app uses the turquoise B · Dots icon.");
    row("double blank and glyphs", "Flecha y dos puntos  ‹••", en, "Arrow and two dots  ‹••");
    row("leading blank", " segundos", en, " seconds");
    row("count", "12 elementos detectados", en, "12 items detected");
    row("system reason", "No se importó: The data couldn’t be read because it is missing.", en,
        "Import failed: The data couldn’t be read because it is missing.");
    row("longer key whole", "Mostrar todo y pausar durante la demo", en,
        "Show all and pause durante la demo");
    row("left group", "Ocultar grupo izquierdo (3)", en, "Hide left group (3)");
    row("group", "Ocultar grupo (3)", en, "Hide group (3)");
    row("every occurrence", "Fecha: hoy · Fecha: ayer", en, "Date: hoy · Date: ayer");
    row("shortcut failure",
        "No se pudo registrar el atajo (-9878). Puede estar ocupado; cambia la combinación o "
        "desactívalo.",
        en,
        "Could not register the shortcut (-9878). It may be in use; change the combination or "
        "disable it.");
    row("hot key off", "Atajo desactivado.", en, "Shortcut disabled.");
    row("hot key invalid", "Combinación no válida.", en, "Invalid key combination.");
    row("hot key registered", "Atajo registrado. No se solicita monitorización de entrada.", en,
        "Shortcut registered. Input Monitoring permission is not required.");
    row("hot key install", "No se pudo instalar el atajo (-108).", en,
        "Could not install the shortcut (-108).");
    row("no key", "com.example.weather-widget", en, "com.example.weather-widget");
    row("credit line", L10n::aboutCreditLine.toUtf8().constData(), en,
        "Developed by the Tuckaway team · November 2026");
}

void TestL10n::translation()
{
    QFETCH(QString, spanish);
    QFETCH(QString, language);
    QFETCH(QString, expected);
    QCOMPARE(L10n::text(spanish, language), expected);
}

void TestL10n::fragmentsGoLongestFirstKeepingTableOrderOnTies()
{
    const auto rows = L10n::detail::tableRows();
    const auto& ordered = L10n::fragments();
    for (qsizetype i = 1; i < ordered.size(); ++i) {
        const qsizetype before = graphemes(ordered[i - 1].first);
        const qsizetype here = graphemes(ordered[i].first);
        QVERIFY2(before >= here, qPrintable(ordered[i].first));
        if (before == here)
            QVERIFY(rows.indexOf(ordered[i - 1]) < rows.indexOf(ordered[i]));
    }
    QVERIFY(ordered.first().first.startsWith(QStringLiteral("Con todo visible")));
}

void TestL10n::languageChoice_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<QString>("expected");
    const QVariant french = QStringLiteral("fr");
    QTest::newRow("stored es over English system") << QVariant(es) << QStringList{"en-US"} << es;
    QTest::newRow("stored en over Spanish system") << QVariant(en) << QStringList{"es-ES"} << en;
    QTest::newRow("fr ignored, es-ES") << french << QStringList{"es-ES"} << es;
    QTest::newRow("fr ignored, es_ES") << french << QStringList{"es_ES"} << es;
    QTest::newRow("fr ignored, pt-BR") << french << QStringList{"pt-BR"} << en;
    QTest::newRow("fr ignored, empty") << french << QStringList{} << en;
    QTest::newRow("only first counts") << french << QStringList{"fr", "es"} << en;
    QTest::newRow("capital ES ignored")
        << QVariant(QStringLiteral("ES")) << QStringList{"en"} << en;
    QTest::newRow("non-string ignored") << QVariant(true) << QStringList{"es"} << es;
    QTest::newRow("nothing stored") << QVariant() << QStringList{"es-MX", "en"} << es;
}

void TestL10n::languageChoice()
{
    QFETCH(QVariant, stored);
    QFETCH(QStringList, preferred);
    QFETCH(QString, expected);
    InMemoryUserDefaults defaults;
    if (stored.isValid())
        defaults.setRaw(L10n::languageKey, stored);
    QCOMPARE(L10n::initialLanguage(defaults, preferred), expected);
}

void TestL10n::textWithoutLanguageFollowsRegisteredStore()
{
    const QString key = QStringLiteral("Mostrar todo");
    const InMemoryUserDefaults empty;
    QCOMPARE(L10n::text(key), L10n::text(key, L10n::initialLanguage(empty)));

    InMemoryUserDefaults defaults;
    L10n::setStandardDefaults(&defaults);
    defaults.setString(L10n::languageKey, en);
    QCOMPARE(L10n::text(key), QStringLiteral("Show all"));
    defaults.setString(L10n::languageKey, es);
    QCOMPARE(L10n::text(key), key);
    defaults.setString(L10n::languageKey, en);
    QCOMPARE(L10n::text(QStringLiteral("Versión 2")), QStringLiteral("Version 2"));
}

QTEST_GUILESS_MAIN(TestL10n)
#include "tst_l10n.moc"
