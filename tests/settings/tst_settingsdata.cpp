#include "settings/SettingsData.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace tk;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(SettingsData)

namespace {

template <class Change> SettingsData with(Change change)
{
    SettingsData record;
    change(record);
    return record;
}

const QByteArray defaultStored = SettingsData().encoded(SettingsData::Form::Stored);

QByteArray defaultObjectWith(const QString& key, const QJsonValue& value)
{
    QJsonObject object = QJsonDocument::fromJson(defaultStored).object();
    if (value.isUndefined())
        object.remove(key);
    else
        object.insert(key, value);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray defaultWithDelay(const char* literal)
{
    return QByteArray(defaultStored).replace("\"delay\":10", QByteArray("\"delay\":") + literal);
}

const QString emoji = u"\U0001F600"_s;    // beyond the BMP: a surrogate pair
const QString fullwidthA = u"\uFF21"_s;   // above the surrogate range
const QString decomposedE = u"e\u0301"_s; // one grapheme, two code units

} // namespace

class TestSettingsData : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void validationRules_data()
    {
        QTest::addColumn<SettingsData>("record");
        QTest::addColumn<bool>("valid");
        const auto row = [](const char* name, bool valid, auto change) {
            QTest::newRow(name) << with(change) << valid;
        };

        QTest::newRow("defaults") << SettingsData() << true;
        for (const qint64 delay : {5, 10, 30, 60})
            QTest::addRow("delay %lld", delay) << with([=](auto& r) { r.delay = delay; }) << true;
        for (const qint64 delay : {0, -10, 15})
            QTest::addRow("delay %lld", delay) << with([=](auto& r) { r.delay = delay; }) << false;
        row("version 2", false, [](auto& r) { r.version = 2; });
        row("other names", true, [](auto& r) {
            r.mode = u"manual"_s;
            r.symbol = u"single"_s;
            r.hotkey = HotKeySettings{false, u"Space"_s, u"controlShift"_s, u"showAll"_s};
        });
        row("symbol dots", true, [](auto& r) { r.symbol = u"dots"_s; });
        row("mode capitalised", false, [](auto& r) { r.mode = u"Boundary"_s; });
        row("symbol unknown", false, [](auto& r) { r.symbol = u"chevron"_s; });
        row("disabled hotkey, key K", false, [](auto& r) {
            r.hotkey = HotKeySettings{false, u"K"_s, u"controlOption"_s, u"toggle"_s};
        });
        row("hotkey modifiers unknown", false, [](auto& r) {
            r.hotkey = HotKeySettings{true, u"B"_s, u"command"_s, u"toggle"_s};
        });
        row("hotkey action unknown", false, [](auto& r) {
            r.hotkey = HotKeySettings{true, u"B"_s, u"controlOption"_s, u"hide"_s};
        });

        const QString id = u"com.example.same"_s;
        row("hidden 500", true, [&](auto& r) { r.hiddenBundles = QStringList(500, id); });
        row("hidden 501 same", false, [&](auto& r) { r.hiddenBundles = QStringList(501, id); });
        row("selected 1000", true, [&](auto& r) { r.selected = QStringList(1000, id); });
        row("selected 1001 same", false, [&](auto& r) { r.selected = QStringList(1001, id); });
        row("2048 ascii", true, [](auto& r) { r.hiddenBundles = {QString(2048, u'a')}; });
        row("2049 ascii", false, [](auto& r) { r.hiddenBundles = {QString(2049, u'a')}; });
        row("2048 decomposed", true, [](auto& r) { r.selected = {decomposedE.repeated(2048)}; });
        row("2049 decomposed", false, [](auto& r) { r.selected = {decomposedE.repeated(2049)}; });
        row("2048 astral", true, [](auto& r) { r.selected = {emoji.repeated(2048)}; });
        row("empty selected entry", false, [](auto& r) { r.selected = {QString(), u"a"_s}; });
    }

    void validationRules()
    {
        QFETCH(SettingsData, record);
        QFETCH(bool, valid);
        const auto result = record.validated();
        QCOMPARE(result.ok(), valid);
        if (valid) {
            // The lists are normalised (covered below); every other field is kept as it was.
            SettingsData expected = record;
            expected.hiddenBundles = result->hiddenBundles;
            expected.selected = result->selected;
            QCOMPARE(result.value(), expected);
        } else {
            QCOMPARE(result.error(),
                     (Error{u"Tuckaway"_s, 1,
                            u"El archivo contiene una versión u opciones incompatibles."_s}));
        }
    }

    // Repeated entries go. Bundles to hide are sorted by code point, not by locale or case; the
    // selected ones keep their order. A second pass changes nothing.
    void normalisation()
    {
        SettingsData record;
        record.hiddenBundles = {u"b"_s, u"a"_s, u"B"_s, u"ä"_s, u"b"_s, emoji, fullwidthA, u"z"_s};
        record.selected = {u"y"_s, u"x"_s, u"y"_s, u"z"_s};
        const auto once = record.validated();
        QVERIFY(once.ok());
        QCOMPARE(once->hiddenBundles,
                 QStringList({u"B"_s, u"a"_s, u"b"_s, u"z"_s, u"ä"_s, fullwidthA, emoji}));
        QCOMPARE(once->selected, QStringList({u"y"_s, u"x"_s, u"z"_s}));
        QCOMPARE(once->validated().value(), once.value());
    }

    // Indented, with the keys of every object sorted and every default written out; a record
    // without a shortcut has no "hotkey" key.
    void exportedFormIsSortedAndHoldsTheDefaults()
    {
        SettingsData record;
        record.hotkey = HotKeySettings();
        for (const SettingsData& exported : {record, SettingsData()}) {
            const QByteArray json = exported.encoded(SettingsData::Form::Exported);
            const QJsonObject object = QJsonDocument::fromJson(json).object();
            QCOMPARE(json, QJsonDocument(object).toJson(QJsonDocument::Indented));
            QCOMPARE(object.size(), exported.hotkey ? 12 : 11);
            QCOMPARE(object.value(u"selected"_s), QJsonValue(QJsonArray()));
        }
        QVERIFY(record.encoded(SettingsData::Form::Exported)
                    .contains("    \"hotkey\": {\n        \"action\": \"toggle\",\n"));
    }

    // Stored is one compact line; both forms read back as the same record, without validation.
    void encodingRoundTrips()
    {
        const SettingsData everything = with([](auto& r) {
            r.version = 7;
            r.mode = u"manual"_s;
            r.symbol = u"single"_s;
            r.showOnLaunch = r.startCollapsed = r.autoCollapse = r.hoverReveal = r.compact = true;
            r.delay = 9007199254740993; // not representable as a double
            r.hiddenBundles = {u"z"_s, u"z"_s, u"\"quoted\"\n"_s, emoji + decomposedE};
            r.selected = {u"com.example"_s};
            r.hotkey = HotKeySettings{false, u"Space"_s, u"controlShift"_s, u"showAll"_s};
        });
        const SettingsData extreme = with([](auto& r) { r.delay = INT64_MIN; });
        for (const SettingsData& record : {SettingsData(), everything, extreme}) {
            const QByteArray stored = record.encoded(SettingsData::Form::Stored);
            QVERIFY(!stored.contains('\n') && !stored.contains(": ") && !stored.contains("null"));
            QCOMPARE(SettingsData::decoded(stored).value(), record);
            QCOMPARE(SettingsData::decoded(record.encoded(SettingsData::Form::Exported)).value(),
                     record);
        }
    }

    void decodingFailures_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("description");
        QJsonObject hotkey{{u"enabled"_s, true}, {u"key"_s, u"M"_s}, {u"modifiers"_s, u"none"_s}};
        QJsonObject nullEnabled = hotkey;
        nullEnabled.insert(u"enabled"_s, QJsonValue::Null);
        const QList<std::tuple<QString, QJsonValue, QString>> wrongValues = {
            {u"compact"_s, QJsonValue::Undefined, u"\"compact\" is missing"_s},
            {u"delay"_s, u"10"_s, u"\"delay\" is not an integer"_s},
            {u"compact"_s, 0, u"\"compact\" is not a Boolean"_s},
            {u"mode"_s, 3, u"\"mode\" is not a string"_s},
            {u"hiddenBundles"_s, u"com.a"_s, u"\"hiddenBundles\" is not an array"_s},
            {u"hotkey"_s, u"M"_s, u"\"hotkey\" is not an object"_s},
            {u"hotkey"_s, hotkey, u"\"hotkey.action\" is missing"_s},
            {u"hotkey"_s, nullEnabled, u"\"hotkey.enabled\" is null"_s},
        };
        for (const auto& [key, value, problem] : wrongValues) {
            QTest::addRow("%s", qPrintable(problem))
                << defaultObjectWith(key, value) << u"The value for key %1."_s.arg(problem);
        }
        for (const char* delay : {"10.5", "9223372036854775808"}) {
            QTest::addRow("delay %s", delay)
                << defaultWithDelay(delay) << u"The value for key \"delay\" is not an integer."_s;
        }
        QTest::newRow("entry not a string")
            << defaultObjectWith(u"hiddenBundles"_s, QJsonArray{u"a"_s, u"b"_s, 7})
            << u"Entry 3 of key \"hiddenBundles\" is not a string."_s;

        const QString prefix = u"The data couldn't be read because "_s;
        QByteArray latin1 = defaultStored;
        const qsizetype badByte = latin1.indexOf("boundary") + 5;
        latin1[badByte] = '\xE4';
        QTest::newRow("not UTF-8") << latin1
                                   << prefix + u"it isn't valid UTF-8 (invalid UTF8 string at "
                                               u"offset %1)."_s.arg(badByte);
        QTest::newRow("array at top level") << QByteArray("[") + defaultStored + "]"
                                            << prefix + u"its top level is not a JSON object."_s;
        QByteArray deep = defaultStored;
        deep.insert(1, "\"nest\":" + QByteArray(100000, '[') + QByteArray(100000, ']') + ",");
        QTest::newRow("deeply nested") << deep
                                       << prefix + u"it isn't valid JSON (too deeply nested "
                                                   u"document at offset 1032)."_s;
    }

    void decodingFailures()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, description);
        const auto result = SettingsData::decoded(json);
        QVERIFY(!result.ok());
        QCOMPARE(result.error().description, description);
        QCOMPARE(result.error().domain, u"Tuckaway.JSON"_s);
    }

    // Decoding checks presence and types only: what it accepts still goes through validation.
    void decodingAcceptsIntegralNumbersAndOptionalKeys()
    {
        const QList<std::pair<const char*, qint64>> integral = {
            {"30.0", 30},
            {"6e1", 60},
            {"9223372036854775807", std::numeric_limits<qint64>::max()},
            {"-9223372036854775808", std::numeric_limits<qint64>::min()}};
        for (const auto& [literal, value] : integral)
            QCOMPARE(SettingsData::decoded(defaultWithDelay(literal)).value().delay, value);
        for (const auto& [key, value] : {std::pair(u"hotkey"_s, QJsonValue(QJsonValue::Null)),
                                         std::pair(u"theme"_s, QJsonValue(QJsonObject()))})
            QCOMPARE(SettingsData::decoded(defaultObjectWith(key, value)).value(), SettingsData());

        QJsonArray many;
        for (int i = 0; i < 200000; ++i)
            many.append(QString::number(i % 1000));
        const auto huge = SettingsData::decoded(defaultObjectWith(u"selected"_s, many));
        QCOMPARE(huge.value().selected.size(), 200000);
        QVERIFY(!huge->validated().ok());
    }
};

QTEST_GUILESS_MAIN(TestSettingsData)
#include "tst_settingsdata.moc"
